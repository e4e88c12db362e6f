#!/usr/bin/python3
"""Label files for the `vorn analyze` benchmarks beside scikit-image, and the
scikit-image side of them.

    /usr/bin/python3 bench/vorn_files.py write DIR     # DIR/small2d.tif, DIR/balls3d.tif
    /usr/bin/python3 bench/vorn_files.py time FILE full|moments

small2d.tif: 2048 x 2048 int32 (what skimage.measure.label writes), 262,144
objects of 3 x 3 pixels on a 4-pixel grid, labels 1 .. 262,144 shuffled with
a fixed seed so that label order is not raster order.
balls3d.tif: 512^3 uint16, 1,000 balls on a 10 x 10 x 10 grid (the volume of
bench/skimage_moments.py).

`time` reads the file with tifffile and times regionprops (CPU seconds) with
what `vorn analyze` reports: `moments` asks for area, centroid, central
moments, inertia tensor eigenvalues and axis lengths; `full` also for the
convex hull (convex area and solidity).
"""

import os
import sys
import time

import numpy as np
import tifffile
from skimage.measure import regionprops

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
from skimage_moments import make_volume  # noqa: E402


def small_objects():
    side, step = 2048, 4
    count = (side // step) ** 2
    labels = np.random.default_rng(15).permutation(count).astype(np.int32) + 1
    grid = labels.reshape(side // step, side // step)
    image = np.zeros((side, side), np.int32)
    for dy in range(3):
        for dx in range(3):
            image[dy::step, dx::step] = grid
    return image


def measure(path, full):
    image = tifffile.imread(path)
    start = time.process_time()
    count = 0
    for region in regionprops(image):
        values = [region.area, region.centroid, region.moments_central, region.inertia_tensor_eigvals,
                  region.major_axis_length, region.minor_axis_length]
        if full:
            values += [region.area_convex, region.solidity]
        count += len(values) > 0
    return count, time.process_time() - start


def main():
    if len(sys.argv) == 3 and sys.argv[1] == "write":
        tifffile.imwrite(os.path.join(sys.argv[2], "small2d.tif"), small_objects())
        tifffile.imwrite(os.path.join(sys.argv[2], "balls3d.tif"), make_volume(512))
    elif len(sys.argv) == 4 and sys.argv[1] == "time":
        count, seconds = measure(sys.argv[2], sys.argv[3] == "full")
        print(f"{sys.argv[2]} {sys.argv[3]}: {count} regions, {seconds:.2f} s CPU")
    else:
        sys.exit(__doc__)


if __name__ == "__main__":
    main()
