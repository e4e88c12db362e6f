#include "zeblib2image/Image.h"

#include "zeblib2core/Throw.h"

#include <cstring>
#include <stdexcept>
#include <vector>

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

namespace
{
// The byte strides of a dense buffer, x fastest. Every product is checked:
// a size whose bytes (or whose slice's bytes, for a depth of 0) exceed what
// the buffer's container can hold is refused as the container refuses it,
// so no buffer is ever smaller than the image it holds.
CPos DenseSteps(const IImage::CType& type, int width, int height, int depth, std::size_t& total)
{
    if (width < 0 || height < 0 || depth < 0)
        TOLX_THROW("TOLX::CImage::CImage", __LINE__, "Image size %1x%2x%3 is negative", width, height, depth);
    const std::size_t limit = std::vector<std::uint8_t>().max_size();
    std::size_t row = 0;
    std::size_t slice = 0;
    if (__builtin_mul_overflow(static_cast<std::size_t>(type.BytesPerPixel()), static_cast<std::size_t>(width), &row) ||
        __builtin_mul_overflow(row, static_cast<std::size_t>(height), &slice) ||
        __builtin_mul_overflow(slice, static_cast<std::size_t>(depth), &total) || slice > limit || total > limit)
        throw std::length_error("vector<T> too long");
    return CPos(type.BytesPerPixel(), static_cast<int64>(row), static_cast<int64>(slice));
}
} // namespace

CImage::CImage(const IImage::CType& type, const CSize& size)
    : m_type(type), m_width(size.Width()), m_height(size.Height()), m_depth(size.Depth()), m_step(0, 0, 0)
{
    std::size_t total = 0;
    m_step = DenseSteps(type, m_width, m_height, m_depth, total);
    m_pixels.assign(total, 0);
    m_data = m_pixels.data();
}

CImage::CImage(const IImage::CType& type, const CSize& size, std::uint8_t* data, const CPos& step)
    : m_type(type), m_width(size.Width()), m_height(size.Height()), m_depth(size.Depth()), m_step(step), m_data(data)
{
    if (m_width < 0 || m_height < 0 || m_depth < 0)
        TOLX_THROW("TOLX::CImage::CImage", __LINE__, "Image size %1x%2x%3 is negative", m_width, m_height, m_depth);
}

CImage::CImage(const CImage& other)
    : IImage(other), m_type(other.m_type), m_width(other.m_width), m_height(other.m_height), m_depth(other.m_depth),
      m_step(other.m_step), m_pixels(other.m_pixels),
      m_data(other.m_pixels.empty() ? other.m_data : m_pixels.data())
{
}

CImage& CImage::operator=(const CImage& other)
{
    if (this != &other)
    {
        m_type = other.m_type;
        m_width = other.m_width;
        m_height = other.m_height;
        m_depth = other.m_depth;
        m_step = other.m_step;
        m_pixels = other.m_pixels;
        m_data = other.m_pixels.empty() ? other.m_data : m_pixels.data();
    }
    return *this;
}

CImage::~CImage() = default;

std::int64_t CImage::Offset(int x, int y, int z) const
{
    if (x < 0 || y < 0 || z < 0 || x >= m_width || y >= m_height || z >= m_depth)
        TOLX_THROW("TOLX::CImage::Offset", __LINE__, "Pixel (%1,%2,%3) is outside the %4x%5x%6 image", x, y, z,
                   m_width, m_height, m_depth);
    return z * m_step.Z() + y * m_step.Y() + x * m_step.X();
}

std::uint64_t CImage::GetPixel(int x, int y, int z) const
{
    const std::uint8_t* pixel = m_data + Offset(x, y, z);
    switch (m_type.BytesPerPixel())
    {
    case 1: return *pixel;
    case 2: { std::uint16_t v; std::memcpy(&v, pixel, 2); return v; }
    default: { std::uint32_t v; std::memcpy(&v, pixel, 4); return v; }
    }
}

void CImage::SetPixel(int x, int y, int z, std::uint64_t value)
{
    std::uint8_t* pixel = m_data + Offset(x, y, z);
    switch (m_type.BytesPerPixel())
    {
    case 1: *pixel = static_cast<std::uint8_t>(value); break;
    case 2: { const auto v = static_cast<std::uint16_t>(value); std::memcpy(pixel, &v, 2); break; }
    default: { const auto v = static_cast<std::uint32_t>(value); std::memcpy(pixel, &v, 4); break; }
    }
}
} // namespace TOLX
