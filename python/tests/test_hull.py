"""vorn.ConvexHull against SciPy's hull (Qhull), against the same hull built by
a plain C++ caller (bit for bit), and its masks against hand-derived ones."""

import os
import subprocess

import numpy as np
import pytest
from scipy.spatial import ConvexHull as QhullHull

import vorn


def sorted_rows(rows):
    return rows[np.lexsort(rows.T[::-1])]


@pytest.mark.parametrize("d, n", [(2, 200), (3, 300), (4, 120)])
def test_matches_qhull_on_random_points(d, n):
    points = np.random.default_rng(d).random((n, d))
    hull, qhull = vorn.ConvexHull(points), QhullHull(points)
    assert sorted(hull.vertices) == sorted(qhull.vertices)
    assert hull.equations.shape == qhull.equations.shape
    assert np.allclose(sorted_rows(hull.equations), sorted_rows(qhull.equations), rtol=0, atol=1e-9)
    assert sorted(map(sorted, hull.simplices.tolist())) == sorted(map(sorted, qhull.simplices.tolist()))
    if d == 2:  # the same cycle, counter-clockwise as Qhull gives it
        start = list(hull.vertices).index(qhull.vertices[0])
        assert list(np.roll(hull.vertices, -start)) == list(qhull.vertices)
    else:
        assert list(hull.vertices) == sorted(hull.vertices)


@pytest.mark.parametrize("d, n", [(2, 50), (3, 200), (5, 40)])
def test_equations_are_the_library_bits(d, n):
    points = np.random.default_rng(10 + d).normal(size=(n, d))
    text = f"{d}\n" + "".join(" ".join(map(repr, p)) + "\n" for p in points.tolist())
    reference = subprocess.run([os.environ["VORN_HULL_REFERENCE"]], input=text, capture_output=True,
                               text=True, check=True).stdout.split("\n")[:-1]
    vorn.seed(1)  # the reference draws its start simplex from a fresh thread's seed
    rows = vorn.ConvexHull(points).equations
    assert [" ".join(v.hex() for v in (*row[:-1], -row[-1])) for row in rows.tolist()] == \
        [" ".join(float.fromhex(v).hex() for v in line.split()) for line in reference]


def test_contains_uses_the_absolute_tolerance():
    cube = vorn.ConvexHull(np.array(np.meshgrid([0, 1], [0, 1], [0, 1])).reshape(3, -1).T)
    probes = [[0.5, 0.5, 0.5], [1, 1, 0], [1 + 1e-13, 0.5, 0.5], [1 + 1e-11, 0.5, 0.5], [0.5, -1e-11, 0.5]]
    assert cube.contains(probes).tolist() == [True, True, True, False, False]


def test_paint_maps_array_axes_to_point_coordinates():
    # The box [1, 3] x [0, 1] x [2, 4]: pixel (p0, p1, p2) is mask[p0, p1, p2].
    box = vorn.ConvexHull(np.array(np.meshgrid([1, 3], [0, 1], [2, 4])).reshape(3, -1).T).paint((5, 4, 6))
    expected = np.zeros((5, 4, 6), bool)
    expected[1:4, 0:2, 2:5] = True
    assert np.array_equal(box, expected)
    # The triangle x/4 + y/2 <= 1: the pixels with x + 2 y <= 4.
    x, y = np.indices((6, 3))
    assert np.array_equal(vorn.ConvexHull([[0, 0], [4, 0], [0, 2]]).paint((6, 3)), x + 2 * y <= 4)


def test_paint_agrees_with_qhull_planes_away_from_them():
    points = np.random.default_rng(7).random((40, 3)) * [18, 12, 9] + 1
    mask = vorn.ConvexHull(points).paint((21, 14, 11))
    grid = np.indices(mask.shape).reshape(3, -1).T
    planes = QhullHull(points).equations
    margin = (grid @ planes[:, :3].T + planes[:, 3]).max(axis=1)
    clear = np.abs(margin) > 1e-9
    assert clear.sum() > 0.99 * len(grid)
    assert np.array_equal(mask.reshape(-1)[clear], margin[clear] <= 0)
