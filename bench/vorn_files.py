#!/usr/bin/python3
"""Label files for the `vorn analyze` benchmarks beside scikit-image, and the
scikit-image side of them.

    /usr/bin/python3 bench/vorn_files.py write DIR     # DIR/small2d.tif, DIR/balls3d.tif
    /usr/bin/python3 bench/vorn_files.py time FILE full|moments
    /usr/bin/python3 bench/vorn_files.py check VORN    # VORN: the built tool

small2d.tif: 2048 x 2048 int32 (what skimage.measure.label writes), 262,144
objects of 3 x 3 pixels on a 4-pixel grid, labels 1 .. 262,144 shuffled with
a fixed seed so that label order is not raster order.
balls3d.tif: 512^3 uint16, 1,000 balls on a 10 x 10 x 10 grid (the volume of
bench/skimage_moments.py).

`time` reads the file with tifffile and times regionprops (CPU seconds) with
what `vorn analyze` reports: `moments` asks for area, centroid, central
moments, inertia tensor eigenvalues and axis lengths; `full` also for the
convex hull (convex area and solidity).

`check` writes a few 2-D and 3-D shapes in signed and unsigned labels, runs
`VORN analyze --json` on them and compares its moments with regionprops',
printing the largest relative difference (and exiting 1 above 1e-9).
"""

import json
import os
import subprocess
import sys
import tempfile
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


def shapes():
    plane = np.zeros((60, 80), np.int32)
    y, x = np.mgrid[:60, :80]
    plane[((x - 20) / 12) ** 2 + ((y - 20) / 6) ** 2 <= 1] = 7
    plane[abs(x - 55) + abs(y - 35) <= 10] = 300
    plane[45:55, 5:30] = 12
    plane[(y - x // 3 == 5) & (x > 30)] = 40  # a thin slanted line
    volume = np.zeros((30, 40, 50), np.uint16)
    z, y, x = np.mgrid[:30, :40, :50]
    volume[((x - 15) / 10) ** 2 + ((y - 15) / 6) ** 2 + ((z - 12) / 4) ** 2 <= 1] = 3
    volume[5:20, 25:35, 30:45] = 9
    volume[(x + y + z < 12) & (x > 30)] = 11
    return plane, volume


def check(vorn):
    worst = 0.0
    with tempfile.TemporaryDirectory() as directory:
        for image in shapes():
            path = os.path.join(directory, "shape.tif")
            tifffile.imwrite(path, image)
            report = json.loads(subprocess.run([vorn, "analyze", "--json", path], check=True,
                                               capture_output=True, text=True).stdout)
            for region, mine in zip(regionprops(image), report["objects"]):
                theirs = [region.label, region.area, *region.centroid[::-1], *region.inertia_tensor_eigvals,
                          region.major_axis_length, region.minor_axis_length]
                ours = [mine["label"], mine["pixels"], *mine["centroid"], *mine["inertia_eigenvalues"],
                        mine["major_axis"], mine["minor_axis"]]
                if image.ndim == 2:
                    theirs.append(region.eccentricity)
                    ours.append(mine["eccentricity"])
                for a, b in zip(theirs, ours):
                    worst = max(worst, abs(a - b) / max(1.0, abs(a)))
    print(f"largest relative difference from regionprops: {worst:.3g}")
    return worst <= 1e-9


def main():
    if len(sys.argv) == 3 and sys.argv[1] == "write":
        tifffile.imwrite(os.path.join(sys.argv[2], "small2d.tif"), small_objects())
        tifffile.imwrite(os.path.join(sys.argv[2], "balls3d.tif"), make_volume(512))
    elif len(sys.argv) == 3 and sys.argv[1] == "check":
        sys.exit(0 if check(sys.argv[2]) else 1)
    elif len(sys.argv) == 4 and sys.argv[1] == "time":
        count, seconds = measure(sys.argv[2], sys.argv[3] == "full")
        print(f"{sys.argv[2]} {sys.argv[3]}: {count} regions, {seconds:.2f} s CPU")
    else:
        sys.exit(__doc__)


if __name__ == "__main__":
    main()
