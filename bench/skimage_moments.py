#!/usr/bin/python3
"""Per-label moments with scikit-image's regionprops, for comparison with
bench_moment (BM_ObjectMoment_Accumulate + BM_ObjectMoment_ComputeAndValueMap).

Builds the same label volume as bench/bench_moment.cpp (integer arithmetic
only, same generator), then times regionprops with the quantities our
per-label pipeline produces: mass, centroid, second-order central moments,
inertia tensor and its eigenvalues.

    /usr/bin/python3 bench/skimage_moments.py [side] [repetitions]
"""

import sys
import time

import numpy as np
from skimage.measure import regionprops

GRID = 10


class Lcg:
    def __init__(self):
        self.state = 20160203

    def next(self):
        self.state = (self.state * 1664525 + 1013904223) & 0xFFFFFFFF
        return self.state >> 16


def make_volume(side):
    labels = np.zeros((side, side, side), dtype=np.uint16)  # indexed [z, y, x]
    cell = side // GRID
    random = Lcg()
    label = 0
    for k in range(GRID):
        for j in range(GRID):
            for i in range(GRID):
                label += 1
                centre = [c * cell + cell // 2 + random.next() % (cell // 4 + 1) - cell // 8 for c in (i, j, k)]
                r = cell * 3 // 10 + random.next() % (cell // 8 + 1)
                lo = [max(0, c - r) for c in centre]
                hi = [min(side - 1, c + r) + 1 for c in centre]
                z, y, x = np.ogrid[lo[2]:hi[2], lo[1]:hi[1], lo[0]:hi[0]]
                inside = (x - centre[0]) ** 2 + (y - centre[1]) ** 2 + (z - centre[2]) ** 2 <= r * r
                labels[lo[2]:hi[2], lo[1]:hi[1], lo[0]:hi[0]][inside] = label
    return labels


def moments_of_all_labels(labels):
    results = []
    for region in regionprops(labels):
        results.append((region.area, region.centroid, region.moments_central[:3, :3, :3],
                        region.inertia_tensor, region.inertia_tensor_eigvals))
    return results


def main():
    side = int(sys.argv[1]) if len(sys.argv) > 1 else 256
    repetitions = int(sys.argv[2]) if len(sys.argv) > 2 else 3
    labels = make_volume(side)
    print(f"side {side}: labelled voxels {int(np.count_nonzero(labels))}, labels {int(labels.max())}")
    times = []
    for _ in range(repetitions):
        start = time.process_time()
        results = moments_of_all_labels(labels)
        times.append(time.process_time() - start)
    print(f"regionprops moments of {len(results)} labels: median CPU time {sorted(times)[len(times) // 2] * 1e3:.0f} ms"
          f" over {repetitions} runs")


if __name__ == "__main__":
    main()
