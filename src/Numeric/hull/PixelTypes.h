#pragma once

// Which pixel element an image type holds for the hull's image members, and
// how a requested grey value becomes a pixel value. The members differ on
// purpose, and each names its rule here instead of spelling out its own
// ladder of types:
// - loading by colour saturates grey values beyond the element's range,
// - loading within a box truncates them to the element's width,
// - both loaders take binary images (foreground or background) with the
//   colours 0 and 1 only,
// - painting refuses grey values beyond the range, treats a binary
//   foreground image as 8-bit grey and does not paint binary background.
// Internal header; not stable API.

#include "zeblib2image/Image.h"

#include <cstddef>
#include <cstdint>

namespace TOLX
{
namespace Impl
{
enum class EnPixelWidth
{
    NONE, // a type the member does not handle
    BITS_8,
    BITS_16,
    BITS_32
};

enum class EnColourPolicy
{
    SATURATE, // beyond the range: the largest value
    TRUNCATE, // the low bits of the element's width
    BINARY,   // 0 and 1 only
    IN_RANGE  // the element's range only
};

struct CPixelRule
{
    EnPixelWidth width;
    EnColourPolicy policy;
};

// The loaders' rule: binary images as 8 bits under BINARY, grey images
// under greyPolicy.
inline CPixelRule LoaderRule(const IImage::CType& type, EnColourPolicy greyPolicy)
{
    if (type == IMAGE_BINARY_FG || type == IMAGE_BINARY_BG)
        return {EnPixelWidth::BITS_8, EnColourPolicy::BINARY};
    if (type == IMAGE_GREY_8)
        return {EnPixelWidth::BITS_8, greyPolicy};
    if (type == IMAGE_GREY_16)
        return {EnPixelWidth::BITS_16, greyPolicy};
    if (type == IMAGE_GREY_32)
        return {EnPixelWidth::BITS_32, greyPolicy};
    return {EnPixelWidth::NONE, greyPolicy};
}

inline CPixelRule PainterRule(const IImage::CType& type)
{
    if (type == IMAGE_BINARY_FG || type == IMAGE_GREY_8)
        return {EnPixelWidth::BITS_8, EnColourPolicy::IN_RANGE};
    if (type == IMAGE_GREY_16)
        return {EnPixelWidth::BITS_16, EnColourPolicy::IN_RANGE};
    if (type == IMAGE_GREY_32)
        return {EnPixelWidth::BITS_32, EnColourPolicy::IN_RANGE};
    return {EnPixelWidth::NONE, EnColourPolicy::IN_RANGE};
}

// 0, 1, 2 for 8, 16, 32 bits.
inline std::size_t WidthIndex(EnPixelWidth width)
{
    return width == EnPixelWidth::BITS_8 ? 0 : width == EnPixelWidth::BITS_16 ? 1 : 2;
}

// value := colour as a pixel under the rule; false when the rule refuses it.
inline bool PixelValue(CPixelRule rule, std::size_t colour, std::uint32_t& value)
{
    const unsigned bits = 8u << WidthIndex(rule.width);
    const std::uint64_t largest = (std::uint64_t{1} << bits) - 1;
    switch (rule.policy)
    {
    case EnColourPolicy::SATURATE:
        value = static_cast<std::uint32_t>(colour < largest ? colour : largest);
        return true;
    case EnColourPolicy::TRUNCATE:
        value = static_cast<std::uint32_t>(colour & largest);
        return true;
    case EnColourPolicy::BINARY:
        value = static_cast<std::uint32_t>(colour);
        return colour <= 1;
    case EnColourPolicy::IN_RANGE:
        value = static_cast<std::uint32_t>(colour);
        return colour <= largest;
    }
    return false;
}

// visit(Pixel{}) with the element type of the width (8, 16 or 32 bits
// unsigned); the one place where a width becomes a type.
template <class Visit>
decltype(auto) WithPixelType(EnPixelWidth width, Visit&& visit)
{
    switch (width)
    {
    case EnPixelWidth::BITS_16:
        return visit(std::uint16_t{});
    case EnPixelWidth::BITS_32:
        return visit(std::uint32_t{});
    default:
        return visit(std::uint8_t{});
    }
}
} // namespace Impl
} // namespace TOLX
