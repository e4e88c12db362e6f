#include "TiffIO.h"

#include "Progress.h"
#include "ToolError.h"

#ifdef VORN_HAVE_TIFF
#include <tiffio.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>
#include <vector>
#endif

namespace vorn
{
#ifndef VORN_HAVE_TIFF

bool TiffAvailable() { return false; }

namespace
{
[[noreturn]] void NoTiff(const std::string& path)
{
    throw CToolError(path + ": TIFF files need libtiff, and this vorn was built without it "
                            "(install libtiff-dev and rebuild); without a file vorn analyses its built-in sample");
}
} // namespace

void RequireTiff(const std::string& path) { NoTiff(path); }
TOLX::CImage ReadTiff(const std::string& path, CProgress&) { NoTiff(path); }
void WriteTiff(const std::string& path, const TOLX::CImage&, CProgress&) { NoTiff(path); }

#else

bool TiffAvailable() { return true; }

void RequireTiff(const std::string&) {}

namespace
{
// libtiff reports through process-wide handlers that print to standard error.
// The tool wants one line per failure, so warnings are dropped and the last
// error text is kept to be quoted in that line.
std::string& LastLibraryError()
{
    static std::string text;
    return text;
}

void KeepError(const char*, const char* format, va_list arguments)
{
    char buffer[512];
    std::vsnprintf(buffer, sizeof buffer, format, arguments);
    std::string& text = LastLibraryError();
    text = buffer;
    std::replace(text.begin(), text.end(), '\n', ' ');
}

void QuietLibrary()
{
    TIFFSetWarningHandler(nullptr);
    TIFFSetErrorHandler(KeepError);
    LastLibraryError().clear();
}

std::string WithLibraryError(const std::string& message)
{
    const std::string& detail = LastLibraryError();
    return detail.empty() ? message : message + " (" + detail + ")";
}

struct TiffCloser
{
    void operator()(TIFF* tif) const { TIFFClose(tif); }
};
using TiffHandle = std::unique_ptr<TIFF, TiffCloser>;

struct PageGeometry
{
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint16_t bits = 0;
};

// Checks the current page and returns its size and pixel width.
PageGeometry ReadGeometry(TIFF* tif, const std::string& where)
{
    PageGeometry page;
    std::uint16_t samples = 1;
    std::uint16_t format = SAMPLEFORMAT_UINT;
    if (!TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &page.width) || !TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &page.height))
        throw CToolError(WithLibraryError(where + "has no image size"));
    TIFFGetFieldDefaulted(tif, TIFFTAG_BITSPERSAMPLE, &page.bits);
    TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLEFORMAT, &format);
    const std::string wanted = "; vorn reads one 8-, 16- or 32-bit unsigned integer per pixel";
    if (samples != 1)
        throw CToolError(where + "has " + std::to_string(samples) + " samples per pixel (RGB or colour)" + wanted);
    if (format == SAMPLEFORMAT_IEEEFP)
        throw CToolError(where + "has floating-point pixels" + wanted);
    if (format != SAMPLEFORMAT_UINT)
        throw CToolError(where + "has signed or complex pixels" + wanted);
    if (page.bits != 8 && page.bits != 16 && page.bits != 32)
        throw CToolError(where + "has " + std::to_string(page.bits) + "-bit pixels" + wanted);
    if (page.width == 0 || page.height == 0)
        throw CToolError(where + "has no pixels");
    if (page.width > INT32_MAX || page.height > INT32_MAX)
        throw CToolError(where + "is too large");
    return page;
}

std::string PageName(const std::string& path, std::size_t page) { return path + ": page " + std::to_string(page + 1) + " "; }

// Reads the current page into `out`, rows of rowBytes one after the other.
void ReadPage(TIFF* tif, const PageGeometry& page, std::uint8_t* out, const std::string& where)
{
    const std::size_t rowBytes = std::size_t{page.width} * (page.bits / 8);
    const std::string failure = where + "cannot be read: the file is truncated or corrupt";
    if (!TIFFIsTiled(tif))
    {
        std::uint32_t rowsPerStrip = 0;
        TIFFGetFieldDefaulted(tif, TIFFTAG_ROWSPERSTRIP, &rowsPerStrip);
        rowsPerStrip = std::min(rowsPerStrip, page.height);
        if (rowsPerStrip == 0)
            throw CToolError(WithLibraryError(failure));
        const std::uint32_t strips = (page.height + rowsPerStrip - 1) / rowsPerStrip;
        if (TIFFNumberOfStrips(tif) < strips)
            throw CToolError(WithLibraryError(failure));
        for (std::uint32_t strip = 0; strip < strips; ++strip)
        {
            const std::uint32_t rows = std::min(rowsPerStrip, page.height - strip * rowsPerStrip);
            const tmsize_t wanted = static_cast<tmsize_t>(rows * rowBytes);
            if (TIFFReadEncodedStrip(tif, strip, out + strip * rowsPerStrip * rowBytes, wanted) != wanted)
                throw CToolError(WithLibraryError(failure));
        }
        return;
    }
    std::uint32_t tileWidth = 0;
    std::uint32_t tileHeight = 0;
    TIFFGetField(tif, TIFFTAG_TILEWIDTH, &tileWidth);
    TIFFGetField(tif, TIFFTAG_TILELENGTH, &tileHeight);
    const tmsize_t tileBytes = TIFFTileSize(tif);
    if (tileWidth == 0 || tileHeight == 0 || tileBytes <= 0)
        throw CToolError(WithLibraryError(failure));
    std::vector<std::uint8_t> tile(static_cast<std::size_t>(tileBytes));
    const std::size_t pixelBytes = page.bits / 8;
    for (std::uint32_t y0 = 0; y0 < page.height; y0 += tileHeight)
        for (std::uint32_t x0 = 0; x0 < page.width; x0 += tileWidth)
        {
            if (TIFFReadTile(tif, tile.data(), x0, y0, 0, 0) != tileBytes)
                throw CToolError(WithLibraryError(failure));
            const std::uint32_t rows = std::min(tileHeight, page.height - y0);
            const std::size_t bytes = std::min(tileWidth, page.width - x0) * pixelBytes;
            for (std::uint32_t r = 0; r < rows; ++r)
                std::memcpy(out + (y0 + r) * rowBytes + x0 * pixelBytes, tile.data() + r * tileWidth * pixelBytes, bytes);
        }
}

const TOLX::IImage::CType& TypeOfBits(std::uint16_t bits)
{
    return bits == 8 ? TOLX::IMAGE_GREY_8 : bits == 16 ? TOLX::IMAGE_GREY_16 : TOLX::IMAGE_GREY_32;
}
} // namespace

TOLX::CImage ReadTiff(const std::string& path, CProgress& progress)
{
    QuietLibrary();
    if (std::FILE* probe = std::fopen(path.c_str(), "rb"))
        std::fclose(probe);
    else
        throw CToolError(path + ": cannot open: " + std::strerror(errno));
    TiffHandle tif(TIFFOpen(path.c_str(), "r"));
    if (!tif)
        throw CToolError(WithLibraryError(path + ": not a readable TIFF file"));

    // First walk the pages to learn the depth and to refuse mixed stacks before
    // allocating the volume.
    const PageGeometry first = ReadGeometry(tif.get(), PageName(path, 0));
    std::size_t pages = 1;
    for (; TIFFReadDirectory(tif.get()); ++pages)
    {
        const std::string where = PageName(path, pages);
        const PageGeometry page = ReadGeometry(tif.get(), where);
        if (page.width != first.width || page.height != first.height)
            throw CToolError(where + "is " + std::to_string(page.width) + "x" + std::to_string(page.height) + ", page 1 is " +
                             std::to_string(first.width) + "x" + std::to_string(first.height) +
                             "; all pages of a stack must have one size");
        if (page.bits != first.bits)
            throw CToolError(where + "has " + std::to_string(page.bits) + "-bit pixels, page 1 has " +
                             std::to_string(first.bits) + "-bit pixels; all pages of a stack must have one pixel type");
    }
    if (!LastLibraryError().empty())
        throw CToolError(WithLibraryError(PageName(path, pages) + "cannot be read: the file is truncated or corrupt"));
    if (pages > INT32_MAX)
        throw CToolError(path + ": too many pages");

    const int width = static_cast<int>(first.width);
    const int height = static_cast<int>(first.height);
    const int depth = static_cast<int>(pages);
    try
    {
        TOLX::CImage image(TypeOfBits(first.bits), TOLX::CSize(width, height, depth));
        const std::int64_t pageStep = image.Step().Z();
        CProgressPass pass(progress, "reading", depth);
        // Back to the first page once, then forward page by page: setting each
        // directory by number would walk the chain from the start every time.
        if (!TIFFSetDirectory(tif.get(), 0))
            throw CToolError(WithLibraryError(PageName(path, 0) + "cannot be read: the file is truncated or corrupt"));
        for (int z = 0; z < depth; ++z)
        {
            const std::string where = PageName(path, static_cast<std::size_t>(z));
            if (z > 0 && !TIFFReadDirectory(tif.get()))
                throw CToolError(WithLibraryError(where + "cannot be read: the file is truncated or corrupt"));
            ReadPage(tif.get(), first, image.Data() + z * pageStep, where);
            pass.Advance(z + 1);
        }
        return image;
    }
    catch (const std::bad_alloc&)
    {
        throw CToolError(path + ": not enough memory for a " + std::to_string(width) + "x" + std::to_string(height) + "x" +
                         std::to_string(depth) + " image");
    }
}

void WriteTiff(const std::string& path, const TOLX::CImage& image, CProgress& progress)
{
    QuietLibrary();
    const std::uint16_t bits = static_cast<std::uint16_t>(8 * image.Type().BytesPerPixel());
    const std::size_t rowBytes = std::size_t{static_cast<std::uint32_t>(image.Width())} * (bits / 8);
    const std::size_t totalBytes = rowBytes * static_cast<std::size_t>(image.Height()) * static_cast<std::size_t>(image.Depth());
    // Classic TIFF addresses at most 4 GiB; larger stacks need BigTIFF.
    const bool big = totalBytes > (std::size_t{3} << 30);
    TiffHandle tif(TIFFOpen(path.c_str(), big ? "w8" : "w"));
    if (!tif)
        throw CToolError(WithLibraryError(path + ": cannot be written"));
    const std::int64_t pageStep = image.Step().Z();
    CProgressPass pass(progress, "writing", image.Depth());
    for (int z = 0; z < image.Depth(); ++z)
    {
        TIFF* t = tif.get();
        TIFFSetField(t, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(image.Width()));
        TIFFSetField(t, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(image.Height()));
        TIFFSetField(t, TIFFTAG_BITSPERSAMPLE, bits);
        TIFFSetField(t, TIFFTAG_SAMPLESPERPIXEL, std::uint16_t{1});
        TIFFSetField(t, TIFFTAG_SAMPLEFORMAT, std::uint16_t{SAMPLEFORMAT_UINT});
        TIFFSetField(t, TIFFTAG_PHOTOMETRIC, std::uint16_t{PHOTOMETRIC_MINISBLACK});
        TIFFSetField(t, TIFFTAG_PLANARCONFIG, std::uint16_t{PLANARCONFIG_CONTIG});
        TIFFSetField(t, TIFFTAG_COMPRESSION, std::uint16_t{COMPRESSION_NONE});
        if (image.Depth() > 1)
        {
            TIFFSetField(t, TIFFTAG_SUBFILETYPE, std::uint32_t{FILETYPE_PAGE});
            TIFFSetField(t, TIFFTAG_PAGENUMBER, static_cast<std::uint16_t>(z), static_cast<std::uint16_t>(image.Depth()));
        }
        const std::uint32_t rowsPerStrip = TIFFDefaultStripSize(t, 0);
        TIFFSetField(t, TIFFTAG_ROWSPERSTRIP, rowsPerStrip);
        const std::uint8_t* slice = image.Data() + z * pageStep;
        std::vector<std::uint8_t> strip(rowsPerStrip * rowBytes);
        const std::uint32_t height = static_cast<std::uint32_t>(image.Height());
        for (std::uint32_t row = 0, index = 0; row < height; row += rowsPerStrip, ++index)
        {
            const std::size_t bytes = std::min(rowsPerStrip, height - row) * rowBytes;
            std::memcpy(strip.data(), slice + row * rowBytes, bytes);
            if (TIFFWriteEncodedStrip(t, index, strip.data(), static_cast<tmsize_t>(bytes)) < 0)
                throw CToolError(WithLibraryError(path + ": cannot be written"));
        }
        if (!TIFFWriteDirectory(t))
            throw CToolError(WithLibraryError(path + ": cannot be written"));
        pass.Advance(z + 1);
    }
    // Closing flushes the last bytes; a full disk shows up here.
    TIFF* t = tif.release();
    TIFFFlush(t);
    const bool failed = !LastLibraryError().empty();
    TIFFClose(t);
    if (failed)
        throw CToolError(WithLibraryError(path + ": cannot be written"));
}
#endif
} // namespace vorn
