"""vorn.dask.regionprops against vorn.regionprops on the same labels in memory:
on the synchronous scheduler for chunk layouts and failures, and on a cluster
of two worker processes for a volume larger than a worker's memory limit."""

import numpy as np
import pytest

dask = pytest.importorskip("dask")
distributed = pytest.importorskip("distributed")
import dask.array as da

import vorn
import vorn.dask

# Moments, counts and hull counts must be equal bit for bit; the convex
# measures come from a hull built of other points in another order.
ROUNDED = ("convex_area", "convex_volume", "solidity")


def balls(shape, chunks, cell=24):
    """Balls of radius 5 .. 11, one in every cell of a grid, labelled by cell."""
    axes = [da.arange(n, chunks=c, dtype=np.int32) for n, c in zip(shape, chunks)]
    grid = [a.reshape([-1 if k == i else 1 for k in range(len(shape))]) for i, a in enumerate(axes)]
    label = 0
    for g, n in zip(grid, shape):
        label = label * (n // cell + 1) + g // cell
    radius = 5 + label % 7
    inside = sum((g % cell - min(cell // 2, (n - 1) // 2)) ** 2 for g, n in zip(grid, shape)) <= radius ** 2
    return da.where(inside, label + 1, 0).astype(np.uint16)


def assert_same_table(got, expected):
    assert list(got.keys()) == list(expected.keys())
    for name in expected:
        if name in ROUNDED:
            np.testing.assert_allclose(got[name], expected[name], rtol=1e-12, err_msg=name)
        else:
            np.testing.assert_array_equal(got[name], expected[name], err_msg=name)


def with_flat_and_line(volume):
    volume = volume.copy()
    volume[1, 3:40, 2:50] = 900  # flat across chunks: no hull
    volume[5:30, 7, 9] = 901     # a line
    return volume


@pytest.mark.parametrize("shape, chunks, hull", [
    ((70, 90), (16, 25), True),
    ((1, 70, 90), (1, 33, 40), True),  # one plane: analysed as 2-D
    ((40, 50, 60), (13, 17, 64), True),
    ((40, 50, 60), (40, 9, 11), False),
])
def test_chunked_table_equals_the_table_in_memory(shape, chunks, hull):
    labels = balls(shape, chunks).compute()
    if len(shape) == 3 and shape[0] > 1:
        labels = with_flat_and_line(labels)
    expected = vorn.regionprops(labels, hull=hull)
    with dask.config.set(scheduler="synchronous"):
        got = vorn.dask.regionprops(da.from_array(labels, chunks=chunks), hull=hull)
    assert_same_table(got, expected)
    assert ("planes" in got) == hull and len(got["label"]) > 4


def test_merging_in_any_order_gives_the_same_partial_results():
    labels = with_flat_and_line(balls((30, 40, 50), (30, 40, 50)).compute())
    parts = [vorn._vorn._chunk_partials(labels[:, :, x:x + 10], [x, 0, 0], [50, 40, 30], 3, True)
             for x in range(0, 50, 10)]
    forward, backward = vorn._vorn._merge_partials(parts), vorn._vorn._merge_partials(parts[::-1])
    for name in ("labels", "sums", "boxes"):
        np.testing.assert_array_equal(forward[name], backward[name], err_msg=name)


def test_failures_name_the_pixel_in_the_whole_array():
    labels = np.zeros((6, 8, 10), np.int32)
    labels[4, 5, 7] = -3
    with pytest.raises(vorn.Error, match=r"^pixel \(7, 5, 4\) holds -3; labels are integers"):
        vorn.dask.regionprops(da.from_array(labels, chunks=(3, 3, 3)))
    for bad, message in [(np.zeros(5, np.uint8), "expected a 2-D or 3-D array, got 1-D"),
                         (np.zeros((4, 4)), "expected an integer or bool array, got dtype float64")]:
        with pytest.raises(ValueError, match=message):
            vorn.dask.regionprops(bad)
    part = vorn._vorn._chunk_partials(np.ones((2, 2), np.uint8), [0, 0, 0], [4, 2, 1], 2, True)
    part["points"] = part["points"] + 5
    with pytest.raises(ValueError, match="point 0 lies outside its object's box"):
        vorn._vorn._merge_partials([part])


def test_cluster_of_two_workers_analyses_a_volume_larger_than_each_ones_memory():
    limit = 200 * 2 ** 20
    volume = balls((256, 512, 1024), (64, 128, 128), cell=48)
    assert volume.nbytes > limit
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True, host="127.0.0.1",
                                  memory_limit=limit, dashboard_address=None) as cluster, \
            distributed.Client(cluster):
        got = vorn.dask.regionprops(volume, spacing=(2.0, 1.0, 0.5))
        assert all(info["memory_limit"] == limit for info in cluster.scheduler_info["workers"].values())
    expected = vorn.regionprops(volume.compute(scheduler="threads"), spacing=(2.0, 1.0, 0.5))
    assert_same_table(got, expected)
