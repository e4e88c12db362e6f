"""vorn.regionprops against `vorn analyze --csv` (every column, bit for bit)
and against scikit-image's regionprops, on images scikit-image ships."""

import csv
import os
import subprocess
import sys

import numpy as np
import pytest
import skimage.data
import skimage.filters
import skimage.measure
import skimage.morphology
import tifffile

import vorn


def coins():
    image = skimage.data.coins()
    return skimage.measure.label(image > skimage.filters.threshold_otsu(image))


def blobs():
    # Without the smallest pieces: scikit-image 0.19 fails ("math domain
    # error") on the minor axis of needles whose -l1 + l2 + l3 rounds below 0.
    blobs = skimage.data.binary_blobs(length=32, n_dim=3, seed=1, volume_fraction=0.1)
    return skimage.measure.label(skimage.morphology.remove_small_objects(blobs, 20))


def tool_csv(labels, spacing, tmp_path):
    """The tool's table of the same labels written as a TIFF; spacing in the
    array's axis order, which the tool takes as x, y(, z)."""
    path = tmp_path / "labels.tif"
    tifffile.imwrite(path, labels)
    command = [os.environ["VORN_TOOL"], "analyze", "--csv", "--spacing", ",".join(map(repr, spacing[::-1])), str(path)]
    rows = list(csv.reader(subprocess.run(command, check=True, capture_output=True, text=True).stdout.splitlines()))
    names = [name.split(" [")[0] for name in rows[0]]
    return {name: [row[c] for row in rows[1:]] for c, name in enumerate(names)}


@pytest.mark.parametrize("labels, spacing", [(coins(), (0.5, 0.25)), (blobs(), (2.0, 0.5, 0.75))])
def test_every_column_equals_the_tool(labels, spacing, tmp_path):
    expected = tool_csv(labels, spacing, tmp_path)
    vorn.seed(1)  # the hulls' start simplices drawn as in the tool's fresh process
    table = vorn.regionprops(labels, spacing=spacing)
    assert list(table.keys()) == list(expected.keys())
    for name, cells in expected.items():
        values = np.asarray(table[name])
        if name in ("label", "pixels"):
            assert values.dtype == np.int64 and values.tolist() == [int(cell) for cell in cells], name
        else:
            wanted = [float(cell) if cell else np.nan for cell in cells]
            np.testing.assert_array_equal(values, wanted, err_msg=name)
    if labels.ndim == 2:  # lines and points among the coins, without a hull
        assert np.isnan(table["planes"]).any()


@pytest.mark.parametrize("labels", [coins(), blobs()])
def test_moments_equal_scikit_image(labels):
    table = vorn.regionprops(labels, hull=False)
    regions = skimage.measure.regionprops(labels)
    axes = "zyx"[3 - labels.ndim:]
    expected = {"label": [r.label for r in regions], "area" if labels.ndim == 2 else "volume": [r.area for r in regions],
                "major_axis": [r.major_axis_length for r in regions],
                "minor_axis": [r.minor_axis_length for r in regions]}
    for k, axis in enumerate(axes):
        expected["centroid_" + axis] = [r.centroid[k] for r in regions]
        expected[f"inertia_{k + 1}"] = [r.inertia_tensor_eigvals[k] for r in regions]
    if labels.ndim == 2:
        expected["eccentricity"] = [r.eccentricity for r in regions]
    assert "planes" not in table
    for name, values in expected.items():
        np.testing.assert_allclose(table[name], values, rtol=1e-9, atol=1e-12, err_msg=name)


DTYPES = [np.bool_, np.int8, np.uint8, np.int16, np.uint16, np.int32, np.uint32, np.int64, np.uint64, ">i4", "<u8"]


@pytest.mark.parametrize("dtype", DTYPES)
def test_every_integer_dtype_gives_the_same_table(dtype, monkeypatch):
    labels = np.zeros((6, 9), np.int64)
    labels[1:4, 2:7] = 1
    labels[5, 0:3] = 1 if dtype == np.bool_ else 7
    monkeypatch.setitem(sys.modules, "pandas", None)  # the dict of columns without pandas
    expected = vorn.regionprops(labels)
    table = vorn.regionprops(np.asfortranarray(labels.astype(dtype)))
    assert isinstance(table, dict) and table.keys() == expected.keys()
    for name in expected:
        np.testing.assert_array_equal(table[name], expected[name], err_msg=name)
    if np.dtype(dtype).kind == "i":
        labels[4, 8] = -1
        with pytest.raises(vorn.Error, match=r"^pixel \(8, 4\) holds -1; labels are integers from 0 to"):
            vorn.regionprops(labels.astype(dtype))


@pytest.mark.parametrize("labels, spacing, message", [
    (np.zeros(5, np.int32), None, "labels: expected a 2-D or 3-D array, got 1-D"),
    (np.zeros((2, 2), np.float32), None, "labels: expected an integer or bool array, got dtype float32"),
    (np.zeros((0, 2), np.int32), None, "labels: axis 0 has 0 pixels"),
    (np.zeros((2, 2, 2), np.int32), (1.0, 1.0), "spacing: expected 3 positive finite numbers"),
    (np.zeros((2, 2), np.int32), (1.0, 0.0), "spacing: expected 2 positive finite numbers"),
])
def test_bad_arguments(labels, spacing, message):
    with pytest.raises(ValueError, match="^" + message.replace("(", r"\(")):
        vorn.regionprops(labels, spacing=spacing)


@pytest.mark.parametrize("hull", [True, False])
def test_background_only_gives_empty_columns(hull):
    table = vorn.regionprops(np.zeros((4, 4, 4), np.uint8), hull=hull)
    assert len(table["label"]) == 0 and ("convex_volume" in table) == hull
