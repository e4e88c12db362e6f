"""vorn.dask.regionprops: vorn.regionprops for label volumes in chunks, on any Dask scheduler."""

from __future__ import annotations

from typing import TYPE_CHECKING, Dict, List, Optional, Sequence, Union

import dask
import dask.array as da
import numpy as np
import numpy.typing as npt

from . import _vorn
from ._regionprops import _as_frame, _spacing_xyz

if TYPE_CHECKING:
    import pandas


def regionprops(labels: Union[da.Array, npt.ArrayLike], spacing: Optional[Sequence[float]] = None,
                hull: bool = True) -> Union[Dict[str, np.ndarray], pandas.DataFrame]:
    """vorn.regionprops(labels, spacing, hull) computed chunk by chunk.

    labels       a 2-D or 3-D Dask array (or anything dask.array.asarray
                 takes) of any integer dtype or bool, 0 background.
    spacing      as for vorn.regionprops: per array axis, (dz, dy, dx).
    hull         False leaves out the hulls and their columns.

    Returns the table of vorn.regionprops on the whole array: the same
    columns, one row per object in ascending label order, objects that span
    chunk borders counted once.

    How: one task per chunk computes the chunk's partial results, label by
    label and in the whole array's coordinates: the ten moment sums, the box,
    and either the object's hull, when the object lies inside the chunk, or
    its row-end pixels there (the first and last pixel of each row; reduced
    to the corners of their hull if they grow beyond 16,384). Merge tasks
    join neighbouring parts, two along each axis at a time: they add the
    sums, widen the boxes and build the hull of every object that the merged
    box now holds whole, so the hulls are built where the work is spread. No
    task holds more than one chunk plus per-object data, so a volume far
    larger than any worker's memory is analysed.

    Results against vorn.regionprops on the same array in memory: pixel
    counts and the hulls' plane and corner counts equal; every moment column
    bit-identical while every sum is an exact integer (below 2^53, which
    every object of a volume up to 1024^3 pixels stays); convex_area or
    convex_volume and solidity within about 1e-12 relative (the hull is
    built from other points, in another order, on another thread).

    The graph runs on the current scheduler: a dask.distributed Client when
    one is active, else Dask's default. A bad label raises vorn.Error naming
    the pixel in the whole array's coordinates.
    """
    labels = da.asarray(labels)
    if labels.ndim not in (2, 3):
        raise ValueError(f"labels: expected a 2-D or 3-D array, got {labels.ndim}-D")
    if labels.dtype.kind not in "iub":
        raise ValueError(f"labels: expected an integer or bool array, got dtype {labels.dtype}")
    spacing_xyz = _spacing_xyz(spacing, labels.ndim)
    # As in memory, a 3-D array of one plane is analysed as 2-D.
    dimension = 3 if labels.ndim == 3 and labels.shape[0] > 1 else 2
    starts = [np.cumsum((0,) + chunks[:-1]) for chunks in labels.chunks]
    blocks = labels.to_delayed()
    chunk = dask.delayed(_chunk, pure=True)
    parts = {}
    size = [int(n) for n in labels.shape[::-1]] + [1] * (3 - labels.ndim)
    for index in np.ndindex(*blocks.shape):
        origin = [int(starts[axis][index[axis]]) for axis in reversed(range(labels.ndim))]
        parts[index] = chunk(blocks[index], origin + [0] * (3 - labels.ndim), size, dimension, bool(hull))
    # Neighbouring chunks merge, two along each axis at a time, so that each
    # merge covers a box and finishes the hulls of the objects inside it.
    merge = dask.delayed(_merge, pure=True)
    while len(parts) > 1:
        groups: Dict[tuple, list] = {}
        for index, part in parts.items():
            groups.setdefault(tuple(i // 2 for i in index), []).append(part)
        parts = {index: merge(group) if len(group) > 1 else group[0] for index, group in groups.items()}
    (whole,) = parts.values()
    table = dask.delayed(_table, pure=True)(whole, spacing_xyz)
    return _as_frame(table.compute())


# The extension's functions, in functions of a module that workers import:
# extension functions themselves cannot be pickled.
def _chunk(block: np.ndarray, origin: List[int], size: List[int], dimension: int, hull: bool) -> dict:
    return _vorn._chunk_partials(block, origin, size, dimension, hull)


def _merge(parts: List[dict]) -> dict:
    return _vorn._merge_partials(parts)


def _table(whole: dict, spacing_xyz: List[float]) -> Dict[str, np.ndarray]:
    return _vorn._partials_table(whole, spacing_xyz)
