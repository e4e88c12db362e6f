#pragma once

// The hull's image work, row by row, for 2-D and 3-D images of 8-, 16- and
// 32-bit unsigned pixels: loading the outermost object pixels of every row
// as points (all that the convex hull of a row needs), and painting the
// pixels of every row whose centres the hull holds. Callers have checked
// the pixel type, the colour and the dimension (2 or 3) and raised their
// messages; nothing here throws of its own. Pixels are only ever read or
// written inside the image, whatever box a caller passes. Internal header;
// not stable API.

#include "Numeric/ConvexHullComputer.h"
#include "Numeric/hull/PixelTypes.h"

#include <cstddef>
#include <cstdint>
#include <list>

namespace TOLX
{
namespace Impl
{
// Which pixels belong to the object: the non-zero ones, or those equal to
// a colour.
struct CObjectPixels
{
    bool nonZero;
    std::uint32_t colour;
};

// Appends, for every row of the image (d = 2: slice 0 as (x, y); d = 3:
// every slice), its first object pixel and then its last one when that lies
// further right; returns their bounding box (minima above the maxima when
// there are none).
CConvexHullComputer::CBox LoadImageRows(const CImage& image, std::size_t dim, EnPixelWidth width,
                                        CObjectPixels object, std::list<CMatrix<double>>& points);

// The same in colour mode within slices z0 .. z1-1 and rows y0 .. y1-1 (any
// of x1, y1, z1 being 0 means the whole image; d = 2 scans slice z0 once):
// the first pixel is searched from x0 towards the image width, the last
// from x1-1 back towards the first.
void LoadImageBoxRows(const CImage& image, std::size_t dim, EnPixelWidth width, std::uint32_t colour, int x0, int y0,
                      int z0, int x1, int y1, int z1, std::list<CMatrix<double>>& points);

// Sets every pixel of the box (inclusive; d = 2: slice 0) whose centre the
// hull's equations hold within eps to value. Equation rows of another shape
// than 1-by-d (which only a caller can make) are tested probe by probe with
// isInside, which raises their messages where that order meets them.
void PaintHullRows(CImage& image, const CConvexHullComputer& hull, std::size_t dim, CConvexHullComputer::CBox box,
                   EnPixelWidth width, std::uint32_t value);
} // namespace Impl
} // namespace TOLX
