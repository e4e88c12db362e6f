#pragma once

#include "zeblib2image/Image.h"

#include <cstdint>
#include <vector>

namespace vorn
{
// What the overlay shows of one object besides its pixels, in pixel
// coordinates (pixel centres at integers; x, y of a 3-D object).
struct OverlayObject
{
    std::int64_t label = 0;
    double centre[2] = {};
    double axis[2] = {};   // the main axis's direction in the x-y plane (not necessarily unit)
    double halfLength = 0; // the main axis drawn from centre - halfLength axis to centre + halfLength axis
};

struct OverlayPicture
{
    int width = 0, height = 0;
    std::vector<std::uint8_t> rgb; // rows top to bottom, three bytes a pixel
};

// The largest picture drawn: larger images are reduced by an integer factor.
constexpr std::int64_t MAX_OVERLAY_PIXELS = std::int64_t{1} << 25;

// Draws what was measured over an image of object indices (0 background,
// k for objects[k - 1]; 8-, 16- or 32-bit pixels; a 3-D image shown as its
// maximum projection along z, which shows the largest label of each column):
// every object in its own colour, the outline of its hull (the convex hull of
// its pixel centres, projected onto x-y) in white, its main axis in yellow, and
// its label beside it wherever the text fits in the picture without covering
// another label. Small images are enlarged by an integer factor up to 8 so
// that outlines and labels stay readable.
OverlayPicture DrawOverlay(const TOLX::CImage& indices, const std::vector<OverlayObject>& objects);
} // namespace vorn
