#pragma once

#include "RawImage.h"

#include "zeblib2image/Image.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace vorn
{
class CProgress;

// An image of object indices: 0 is background, 1 .. n are the objects in
// ascending order of their labels, in the narrowest of 8, 16 and 32 bits that
// holds n. Work and memory per object depend on n, not on the labels.
struct LabelImage
{
    int width = 0, height = 0, depth = 0;
    const TOLX::IImage::CType* type = &TOLX::IMAGE_GREY_8;
    PixelBuffer pixels;
    std::size_t objects = 0;
    // Index i stands for labels[i - 1]; empty when every index is its own
    // label (labels 1 .. n, as labelling programs write them).
    std::vector<std::int64_t> labels;

    // The pixels as an image (a view of `pixels`).
    TOLX::CImage View() const;
};

// The label of the object at position i (index i + 1) of a label table as
// LabelImage keeps it.
inline std::int64_t LabelAt(const std::vector<std::int64_t>& labels, std::size_t i)
{
    return labels.empty() ? std::int64_t(i + 1) : labels[i];
}

// Replaces every label of the image by its index, in place, and gives back
// the memory the narrower indices free. Labels are the integers 0 to 2^63 - 1
// in any sample type; a negative, fractional or larger value is a CToolError
// naming the first such pixel and its value. Time is linear in the
// pixels, plus n log n for sorting the labels. A chunk of a larger image
// names its pixels there: `origin` is where its first pixel lies, and
// `dimension` that image's (0: the chunk's own).
LabelImage IndexLabels(RawImage raw, CProgress& progress, const std::array<int, 3>& origin = {}, int dimension = 0);

// Labels the connected components of the non-zero pixels instead: pixels are
// neighbours when they differ by at most one in each coordinate and in at most
// `connectivity` coordinates (1: faces only, the dimension: all neighbours).
// Components are numbered 1 .. n in the order of their first pixel, x fastest.
// Needs 4 bytes per pixel beside the image while it works.
LabelImage LabelComponents(RawImage raw, int connectivity, CProgress& progress);
} // namespace vorn
