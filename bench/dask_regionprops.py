#!/usr/bin/python3
"""vorn.dask.regionprops on a local cluster beside vorn.regionprops in memory,
on the same uint16 label volume, one run each.

    PYTHONPATH=build/release/python /usr/bin/python3 bench/dask_regionprops.py [SIZE [CHUNK [WORKERS]]]

Defaults: a 1024^3 volume in 128^3 chunks on 2 worker processes (one thread
each, bound to 127.0.0.1). The volume is a grid of balls, one per cell of
100^3 pixels, radius 20 to 45, labelled by cell (the count of objects that
cross chunk borders is printed). Its chunks are computed where they are
needed, on the workers; in memory the whole volume is built first.

Printed: wall-clock seconds of the Dask run (building the chunks included,
and the building alone as a separate figure), each worker's peak resident
memory (ru_maxrss) after the run and its memory before, and for the
in-memory run, in a child process of its own, the seconds of
vorn.regionprops and that process's peak resident memory, the volume
included. The two tables are then compared column by column.
"""

import json
import resource
import subprocess
import sys
import time

import dask.array as da
import numpy as np

CELL = 100


def balls(size, chunk):
    """The label volume as a Dask array: ball i in cell i of a grid."""
    axis = da.arange(size, chunks=chunk, dtype=np.int32)
    z, y, x = axis[:, None, None], axis[None, :, None], axis[None, None, :]
    cells = -(-size // CELL)
    label = (z // CELL * cells + y // CELL) * cells + x // CELL
    radius = 20 + (label * 7919) % 26
    inside = (z % CELL - CELL // 2) ** 2 + (y % CELL - CELL // 2) ** 2 + (x % CELL - CELL // 2) ** 2 <= radius ** 2
    return da.where(inside, label + 1, 0).astype(np.uint16)


def crossing(size, chunk):
    """How many balls cross a chunk border."""
    cells = -(-size // CELL)
    label = np.arange(cells ** 3)
    radius = 20 + (label * 7919) % 26
    centre = np.stack(np.unravel_index(label, (cells,) * 3)) * CELL + CELL // 2
    low, high = np.maximum(centre - radius, 0), np.minimum(centre + radius, size - 1)
    present = np.all(low <= high, axis=0)
    return int(np.sum(present & np.any(low // chunk != high // chunk, axis=0)))


def peak_mb():
    return resource.getrusage(resource.RUSAGE_SELF).ru_maxrss / 1024


def rss_mb():
    with open("/proc/self/statm") as statm:
        return int(statm.read().split()[1]) * resource.getpagesize() / 2 ** 20


def in_memory(size, chunk):
    """Child process: the volume in memory, then vorn.regionprops."""
    import vorn
    volume = balls(size, chunk).compute(scheduler="threads")
    start = time.perf_counter()
    table = vorn.regionprops(volume)
    seconds = time.perf_counter() - start
    np.savez("/tmp/vorn-bench-in-memory.npz", **{name: np.asarray(table[name]) for name in table})
    print(json.dumps({"seconds": seconds, "peak_mb": peak_mb(), "objects": len(table["label"])}))


def on_cluster(size, chunk, workers):
    import distributed
    import vorn.dask
    volume = balls(size, chunk)
    with distributed.LocalCluster(n_workers=workers, threads_per_worker=1, processes=True, host="127.0.0.1",
                                  dashboard_address=None) as cluster, distributed.Client(cluster) as client:
        start = time.perf_counter()
        volume.sum().compute()
        building = time.perf_counter() - start
        client.restart()
        before = client.run(rss_mb)
        start = time.perf_counter()
        table = vorn.dask.regionprops(volume)
        seconds = time.perf_counter() - start
        peaks = client.run(peak_mb)
        limit = next(iter(cluster.scheduler_info["workers"].values()))["memory_limit"] / 2 ** 20
    return table, seconds, building, before, peaks, limit


def main():
    if sys.argv[1:2] == ["--in-memory"]:
        return in_memory(int(sys.argv[2]), int(sys.argv[3]))
    size, chunk, workers = [int(a) for a in sys.argv[1:]] + [1024, 128, 2][len(sys.argv) - 1:]
    print(f"{size}^3 uint16 ({size ** 3 * 2 / 2 ** 20:.0f} MB) in {chunk}^3 chunks, {workers} workers")
    table, seconds, building, before, peaks, limit = on_cluster(size, chunk, workers)
    print(f"dask: {seconds:.1f} s (building the chunks alone: {building:.1f} s), "
          f"{len(table['label'])} objects ({crossing(size, chunk)} across chunk borders), "
          f"memory limit {limit:.0f} MB per worker")
    for address, peak in peaks.items():
        print(f"  worker {address}: peak {peak:.0f} MB (before the run {before[address]:.0f} MB)")
    child = subprocess.run([sys.executable, __file__, "--in-memory", str(size), str(chunk)],
                           check=True, capture_output=True, text=True)
    result = json.loads(child.stdout)
    print(f"in memory: vorn.regionprops {result['seconds']:.1f} s, peak {result['peak_mb']:.0f} MB")
    expected = np.load("/tmp/vorn-bench-in-memory.npz")
    for name in expected.files:
        got = np.asarray(table[name])
        same = np.array_equal(got, expected[name], equal_nan=True)
        if not same:
            worst = np.nanmax(np.abs(got - expected[name]) / np.abs(expected[name]))
            print(f"  {name}: largest relative difference {worst:.1e}")
    print("every other column equal bit for bit")


if __name__ == "__main__":
    main()
