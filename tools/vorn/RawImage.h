#pragma once

#include "StackLayout.h"

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>

namespace vorn
{
enum class EnSampleKind
{
    UNSIGNED,
    SIGNED,
    FLOAT
};

struct CFreePixels
{
    void operator()(std::uint8_t* pixels) const { std::free(pixels); }
};
// malloc'ed, so that a buffer converted in place to narrower pixels can give
// back its end with realloc.
using PixelBuffer = std::unique_ptr<std::uint8_t, CFreePixels>;

// Pixels as a file stores them, x fastest, then y, then z, each of `bytes`
// bytes in the machine's byte order (a 1-bit page takes one byte per pixel).
struct RawImage
{
    int width = 0, height = 0, depth = 0;
    EnSampleKind kind = EnSampleKind::UNSIGNED;
    int bytes = 1;
    int fileBits = 8; // as stored: 1 for a bilevel page
    PixelBuffer pixels;
    Calibration calibration;
    std::string selection; // which channel and frame of a hyperstack, or empty

    std::uint64_t PixelCount() const
    {
        return std::uint64_t(width) * std::uint64_t(height) * std::uint64_t(depth);
    }
};

// Allocates `bytes` bytes; std::bad_alloc when there are not so many.
PixelBuffer AllocatePixels(std::uint64_t bytes);
} // namespace vorn
