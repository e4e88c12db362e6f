"""vorn: convex hulls and moments of the VornNumeric library, on NumPy arrays.

ConvexHull(points)   the convex hull of n points in d-space (d >= 2)
Moment(dimension)    moments up to second order of a weighted 2-D/3-D point set
regionprops(labels)  the quantities of every object of a 2-D/3-D label array
vorn.dask.regionprops(labels)
                     the same for a Dask array, chunk by chunk (import vorn.dask;
                     needs Dask)
seed(value)          re-seeds the random draw of hull start simplices
Error, Location      the library's failures: its exact message, and where

help(vorn.ConvexHull) and help(vorn.Moment) explain every attribute,
help(vorn.regionprops) every column.
"""

from ._errors import Error, Location
from ._regionprops import regionprops
from ._vorn import ConvexHull, Moment, seed

__all__ = ["ConvexHull", "Error", "Location", "Moment", "regionprops", "seed"]
