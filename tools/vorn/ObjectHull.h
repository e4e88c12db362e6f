#pragma once

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

// Paints the hull of `facets` planes (laid out as HullOfObject appends them)
// into `view` in the label, every pixel whose centre is inside.
void PaintHull(TOLX::CImage& view, int dimension, std::int64_t label, const double* planes, std::size_t facets);
} // namespace vorn
