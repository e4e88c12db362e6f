#pragma once

#include "AffineSpan.h"
#include "Analysis.h"

#include <string>
#include <vector>

namespace vorn
{
// The pixels of `box` in `image`, as an image of the box's size that shares
// them. An object's coordinates in the view of its box are small wherever the
// box lies, which keeps the hull's absolute tolerance (1e-12) meaningful: at
// coordinates of 1e4 and more, the rounding of a facet equation reaches it.
TOLX::CImage BoxView(TOLX::CImage& image, const LabelBox& box);

// The hull of the object `label` of `view` (the view of the object's box), in
// the view's coordinates. An object whose pixels span less than the
// dimension, which the row-end pixels decide exactly, gets no hull and the
// state POINT, LINE or FLAT; a hull the library cannot build gets FAILED and
// its message in `problem`. With `planes`, the hull's facet planes are
// appended to it, `dimension` + 1 numbers each: the unit outward normal, then
// the offset (normal . x <= offset inside).
HullReport HullOfObject(const TOLX::CImage& view, int dimension, std::int64_t label, std::vector<double>* planes,
                        std::string& problem);

// The first and the last pixel of every row of the object `label` of `view`
// (one for a row of one pixel), rows in order: points whose hull is the hull
// of all the object's pixels.
std::vector<CAffineSpan::Point> RowEnds(const TOLX::CImage& view, std::int64_t label);

// The hull of integer points (in a frame where they are small, as in a box
// view) whose box has the size `size`, as HullOfObject measures it; with
// `corners`, the hull's extreme points are stored there.
HullReport HullOfPoints(const std::vector<CAffineSpan::Point>& points, int dimension, const std::array<int, 3>& size,
                        std::string& problem, std::vector<std::array<double, 3>>* corners);

// Paints the hull of `facets` planes (laid out as HullOfObject appends them)
// into `view` in the label, every pixel whose centre is inside.
void PaintHull(TOLX::CImage& view, int dimension, std::int64_t label, const double* planes, std::size_t facets);
} // namespace vorn
