#!/usr/bin/python3
"""Writes points uniform in the unit ball to a text file, one point per line
with round-trip precision, or runs SciPy's side of the `vorn hull` comparison
on such a file: np.loadtxt, then ConvexHull (Qhull), printing the counts.

    /usr/bin/python3 bench/scipy_hull.py write FILE [count] [dimension]
    /usr/bin/python3 bench/scipy_hull.py hull FILE
"""

import sys

import numpy as np


def write(path, count, dimension):
    rng = np.random.default_rng(7)
    points = rng.normal(size=(count, dimension))
    points /= np.linalg.norm(points, axis=1)[:, None]
    points *= rng.random(count)[:, None] ** (1.0 / dimension)
    np.savetxt(path, points, fmt="%.17g")


def hull(path):
    from scipy.spatial import ConvexHull

    result = ConvexHull(np.loadtxt(path))
    print(len(result.simplices), "simplices,", len(result.vertices), "vertices")


if __name__ == "__main__":
    if sys.argv[1] == "write":
        write(sys.argv[2], int(sys.argv[3]) if len(sys.argv) > 3 else 10**6,
              int(sys.argv[4]) if len(sys.argv) > 4 else 3)
    else:
        hull(sys.argv[2])
