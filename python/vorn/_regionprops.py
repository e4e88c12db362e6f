"""vorn.regionprops: the table of `vorn analyze --csv` from a NumPy label array."""

from __future__ import annotations

from typing import TYPE_CHECKING, Dict, List, Optional, Sequence, Union

import numpy as np
import numpy.typing as npt

from . import _vorn

if TYPE_CHECKING:
    import pandas


def regionprops(labels: npt.ArrayLike, spacing: Optional[Sequence[float]] = None,
                hull: bool = True) -> Union[Dict[str, np.ndarray], pandas.DataFrame]:
    """The quantities of every object of a 2-D or 3-D label array, one row per object.

    labels  a 2-D or 3-D array of any integer dtype (signed or unsigned, 8 to
            64 bits) or bool; 0 is background, every other value an object.
            A negative label raises vorn.Error (a ValueError) with the tool's
            message, which names the pixel as (x, y[, z]) = labels[(z,) y, x].
            The labels are copied once into the analysis's own buffer, which
            it rewrites in place into compact object indices; the array itself
            is not changed.
    spacing the size of a pixel along each array axis, in the array's axis
            order as scikit-image gives it: (dy, dx) or (dz, dy, dx). Default
            1 along every axis. Every position, length, area and volume is in
            the unit of the spacing.
    hull    False leaves out the hulls and their columns (moments only).

    Axes: x is the array's last axis (the fastest-varying one), y the one
    before, z the first of a 3-D array; centroid_x is thus scikit-image's
    centroid[-1].

    Returns a pandas.DataFrame when pandas can be imported, else a dict of
    1-D NumPy arrays, one per column, in this order (the columns and names of
    `vorn analyze --csv`, without the unit brackets). Rows are the objects in
    ascending label order. Each object is the set of its pixel centres, with
    the spacing applied; C is their covariance (divided by the pixel count).

      label            int64: the object's label
      pixels           int64: its pixel count
      area / volume    pixels times the pixel's area (2-D) or volume (3-D)
      centroid_x, centroid_y(, centroid_z)
                       the mean of the pixel centres
      inertia_1, inertia_2(, inertia_3)
                       the eigenvalues, largest first, of scikit-image's
                       inertia tensor: diagonal trace(C) - C_ii,
                       off-diagonal -C_ij (in 2-D, C's own eigenvalues);
                       scikit-image's inertia_tensor_eigvals
      major_axis, minor_axis
                       scikit-image's axis lengths: 2-D 4 sqrt(l1) and
                       4 sqrt(l2); 3-D sqrt(10 (l1 + l2 - l3)) and
                       sqrt(10 (-l1 + l2 + l3)), l the inertia values
      eccentricity     2-D only: sqrt(1 - l2 / l1), in [0, 1)
      axis_x, axis_y(, axis_z)
                       the unit direction of largest variance (its first
                       non-zero component positive)
    and unless hull=False (float64, NaN for an object whose pixels span less
    than the array's dimension, a point, a line or a flat piece):
      planes           the distinct facet planes of the hull of the centres
      corners          the hull's extreme points (points inside an edge or
                       a face are not corners)
      convex_area / convex_volume
                       the area or volume of the hull of the pixels as unit
                       squares or cubes (the hull of the centres grown by
                       one pixel), scaled by the spacing; a filled box gives
                       its pixel count
      solidity         area (volume) / convex_area (convex_volume)
      painted_solidity pixels / the pixels whose centre lies in the hull of
                       the centres: 1 for any digitally convex shape

    The hulls start from a random simplex (vorn.seed): the hulls do not
    depend on it, but the last bits of convex_area / convex_volume do; seed
    the calling thread first to get the same bits again. The analysis runs
    without the GIL.
    """
    labels = np.asarray(labels)
    table = _vorn._regionprops(labels, _spacing_xyz(spacing, labels.ndim), bool(hull))
    return _as_frame(table)


def _spacing_xyz(spacing: Optional[Sequence[float]], ndim: int) -> List[float]:
    """The spacing checked, given in array-axis order, returned in x, y, z order."""
    if spacing is None:
        spacing = (1.0,) * ndim
    spacing = np.asarray(spacing, dtype=np.float64)
    if spacing.shape != (ndim,) or not np.all(np.isfinite(spacing) & (spacing > 0)):
        raise ValueError(f"spacing: expected {ndim} positive finite numbers, one per array axis")
    return spacing[::-1].tolist()


def _as_frame(table: Dict[str, np.ndarray]) -> Union[Dict[str, np.ndarray], pandas.DataFrame]:
    """The table as a pandas.DataFrame when pandas can be imported."""
    try:
        import pandas
    except ImportError:
        return table
    return pandas.DataFrame(table)
