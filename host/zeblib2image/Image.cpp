#include "zeblib2image/Image.h"

#include "zeblib2core/Throw.h"

#include <cstring>

namespace TOLX
{
const IImage::CType IMAGE_BINARY_FG(1, "BINARY_FG", 1);
const IImage::CType IMAGE_BINARY_BG(2, "BINARY_BG", 1);
const IImage::CType IMAGE_GREY_8(3, "GREY_8", 1);
const IImage::CType IMAGE_GREY_16(4, "GREY_16", 2);
const IImage::CType IMAGE_GREY_32(5, "GREY_32", 4);
const IImage::CType IMAGE_FLOAT_32(6, "FLOAT_32", 4);

CSize::~CSize() = default;
CPos::~CPos() = default;
IImage::~IImage() = default;

CImage::CImage(const IImage::CType& type, const CSize& size)
    : m_type(type), m_width(size.Width()), m_height(size.Height()), m_depth(size.Depth())
{
    if (m_width < 0 || m_height < 0 || m_depth < 0)
        TOLX_THROW("TOLX::CImage::CImage", __LINE__, "Image size %1x%2x%3 is negative", m_width, m_height, m_depth);
    m_pixels.assign(static_cast<std::size_t>(m_width) * static_cast<std::size_t>(m_height) *
                        static_cast<std::size_t>(m_depth) * static_cast<std::size_t>(m_type.BytesPerPixel()),
                    0);
}

CImage::~CImage() = default;

CPos CImage::Step() const
{
    const int64 bytes = m_type.BytesPerPixel();
    return CPos(bytes, bytes * m_width, bytes * m_width * m_height);
}

std::size_t CImage::Offset(int x, int y, int z) const
{
    if (x < 0 || y < 0 || z < 0 || x >= m_width || y >= m_height || z >= m_depth)
        TOLX_THROW("TOLX::CImage::Offset", __LINE__, "Pixel (%1,%2,%3) is outside the %4x%5x%6 image", x, y, z,
                   m_width, m_height, m_depth);
    return ((static_cast<std::size_t>(z) * static_cast<std::size_t>(m_height) + static_cast<std::size_t>(y)) *
                static_cast<std::size_t>(m_width) +
            static_cast<std::size_t>(x)) *
           static_cast<std::size_t>(m_type.BytesPerPixel());
}

std::uint64_t CImage::GetPixel(int x, int y, int z) const
{
    const std::uint8_t* pixel = m_pixels.data() + Offset(x, y, z);
    switch (m_type.BytesPerPixel())
    {
    case 1: return *pixel;
    case 2: { std::uint16_t v; std::memcpy(&v, pixel, 2); return v; }
    default: { std::uint32_t v; std::memcpy(&v, pixel, 4); return v; }
    }
}

void CImage::SetPixel(int x, int y, int z, std::uint64_t value)
{
    std::uint8_t* pixel = m_pixels.data() + Offset(x, y, z);
    switch (m_type.BytesPerPixel())
    {
    case 1: *pixel = static_cast<std::uint8_t>(value); break;
    case 2: { const auto v = static_cast<std::uint16_t>(value); std::memcpy(pixel, &v, 2); break; }
    default: { const auto v = static_cast<std::uint32_t>(value); std::memcpy(pixel, &v, 4); break; }
    }
}
} // namespace TOLX
