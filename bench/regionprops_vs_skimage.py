#!/usr/bin/python3
"""vorn.regionprops beside skimage.measure.regionprops on the same array, in
one process, one run each (CPU seconds of this process).

    PYTHONPATH=build/<preset>/python /usr/bin/python3 bench/regionprops_vs_skimage.py moments|full

The array is small2d.tif of bench/vorn_files.py, built in memory: 2048 x 2048
int32, 262,144 objects of 3 x 3 pixels. scikit-image is asked for what vorn
gives: `moments` is area, centroid, inertia-tensor eigenvalues, axis lengths
and eccentricity (vorn with hull=False); `full` adds the convex hull
(area_convex, solidity; vorn with hull=True).
"""

import os
import sys
import time

from skimage.measure import regionprops

import vorn

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from vorn_files import small_objects  # noqa: E402


def skimage_table(labels, full):
    rows = []
    for region in regionprops(labels):
        row = [region.label, region.area, region.centroid, region.inertia_tensor_eigvals,
               region.major_axis_length, region.minor_axis_length, region.eccentricity]
        if full:
            row += [region.area_convex, region.solidity]
        rows.append(row)
    return rows


def cpu(call):
    start = time.process_time()
    result = call()
    return result, time.process_time() - start


def main():
    if len(sys.argv) != 2 or sys.argv[1] not in ("moments", "full"):
        sys.exit(__doc__)
    full = sys.argv[1] == "full"
    labels = small_objects()
    table, ours = cpu(lambda: vorn.regionprops(labels, hull=full))
    rows, theirs = cpu(lambda: skimage_table(labels, full))
    assert len(rows) == len(table["label"])
    print(f"{sys.argv[1]}: {len(rows)} objects; vorn.regionprops {ours:.2f} s CPU, "
          f"skimage.measure.regionprops {theirs:.2f} s CPU, ratio {ours / theirs:.3f}")


if __name__ == "__main__":
    main()
