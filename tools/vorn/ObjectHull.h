#pragma once

#include "Analysis.h"

namespace vorn
{
// Builds the convex hull of one labelled object of `image` (all pixels equal to
// `label`, all inside `box`) in the image's dimension, counts the pixels it
// paints and, with paintInto, paints them there in the label. `scratch` is an
// all-zero 8-bit image of the same size; it is all zero again on return.
HullReport HullOfObject(const TOLX::CImage& image, int dimension, std::int64_t label, const LabelBox& box,
                        TOLX::CImage& scratch, TOLX::CImage* paintInto);
} // namespace vorn
