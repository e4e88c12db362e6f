#pragma once

#include "zeblib2core/Types.h"
#include "zeblib2image/ZebImageExport.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace TOLX
{
class ZEBIMAGE_API CSize
{
public:
    CSize(int width, int height, int depth) : m_width(width), m_height(height), m_depth(depth) {}
    ~CSize();
    int Width() const noexcept { return m_width; }
    int Height() const noexcept { return m_height; }
    int Depth() const noexcept { return m_depth; }

private:
    int m_width;
    int m_height;
    int m_depth;
};

// A position or a step in x, y and z (image strides are in bytes).
class ZEBIMAGE_API CPos
{
public:
    CPos(int64 x, int64 y, int64 z) : m_x(x), m_y(y), m_z(z) {}
    CPos(const CPos&) = default;
    CPos& operator=(const CPos&) = default;
    ~CPos();
    int64 X() const noexcept { return m_x; }
    int64 Y() const noexcept { return m_y; }
    int64 Z() const noexcept { return m_z; }

private:
    int64 m_x;
    int64 m_y;
    int64 m_z;
};

class ZEBIMAGE_API IImage
{
public:
    // A pixel type: its name and the bytes one pixel takes.
    class ZEBIMAGE_API CType
    {
    public:
        CType(int id, const char* name, int bytesPerPixel) : m_id(id), m_name(name), m_bytes(bytesPerPixel) {}
        std::string ToString() const { return m_name; }
        int BytesPerPixel() const noexcept { return m_bytes; }
        bool operator==(const CType& other) const noexcept { return m_id == other.m_id; }
        bool operator!=(const CType& other) const noexcept { return m_id != other.m_id; }

    private:
        int m_id;
        const char* m_name;
        int m_bytes;
    };

    virtual ~IImage();
    virtual const CType& Type() const = 0;
    virtual CSize Size() const = 0;
};

ZEBIMAGE_API extern const IImage::CType IMAGE_BINARY_FG;
ZEBIMAGE_API extern const IImage::CType IMAGE_BINARY_BG;
ZEBIMAGE_API extern const IImage::CType IMAGE_GREY_8;
ZEBIMAGE_API extern const IImage::CType IMAGE_GREY_16;
ZEBIMAGE_API extern const IImage::CType IMAGE_GREY_32;
ZEBIMAGE_API extern const IImage::CType IMAGE_FLOAT_32;

// A zero-filled, owning pixel buffer laid out x fastest, then y, then z; or
// a view of pixels someone else owns.
class ZEBIMAGE_API CImage : public IImage
{
public:
    // A size whose bytes do not fit in memory's address range is refused
    // with std::length_error, as the buffer's container refuses it.
    CImage(const IImage::CType& type, const CSize& size);
    // A view: the pixels of type at data + x step.X() + y step.Y() + z step.Z()
    // for the coordinates of size, owned by the caller, who keeps them alive
    // and guarantees that they exist. Copies of a view are views of the same
    // pixels.
    CImage(const IImage::CType& type, const CSize& size, std::uint8_t* data, const CPos& step);
    CImage(const CImage& other);
    CImage& operator=(const CImage& other);
    ~CImage() override;

    const CType& Type() const override { return m_type; }
    CSize Size() const override { return CSize(m_width, m_height, m_depth); }
    int Width() const noexcept { return m_width; }
    int Height() const noexcept { return m_height; }
    int Depth() const noexcept { return m_depth; }

    // A float image answers with the bits of its value.
    std::uint64_t GetPixel(int x, int y, int z) const;
    void SetPixel(int x, int y, int z, std::uint64_t value);

    std::uint8_t* Data() noexcept { return m_data; }
    const std::uint8_t* Data() const noexcept { return m_data; }
    // Byte strides in x, y and z.
    CPos Step() const { return m_step; }

private:
    std::int64_t Offset(int x, int y, int z) const;

    CType m_type;
    int m_width;
    int m_height;
    int m_depth;
    CPos m_step;
    std::vector<std::uint8_t> m_pixels; // empty for a view
    std::uint8_t* m_data;
};
} // namespace TOLX
