#pragma once

#include "zeblib2image/Image.h"

#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>

namespace vorn
{
// Pixel buffers are bytes; copying through memcpy reads and writes wider pixels
// without breaking the aliasing rules, and compiles to one plain load or store.
template <class T>
inline T LoadPixel(const std::uint8_t* at)
{
    T value;
    std::memcpy(&value, at, sizeof value);
    return value;
}

template <class T>
inline void StorePixel(std::uint8_t* at, T value)
{
    std::memcpy(at, &value, sizeof value);
}

// Calls visit(T{}) with the unsigned element type of a label image's pixels.
template <class Visitor>
decltype(auto) WithPixelType(const TOLX::IImage::CType& type, Visitor&& visit)
{
    if (type == TOLX::IMAGE_GREY_8 || type == TOLX::IMAGE_BINARY_FG)
        return visit(std::uint8_t{});
    if (type == TOLX::IMAGE_GREY_16)
        return visit(std::uint16_t{});
    if (type == TOLX::IMAGE_GREY_32)
        return visit(std::uint32_t{});
    throw std::invalid_argument("images of type " + type.ToString() + " hold no labels");
}
} // namespace vorn
