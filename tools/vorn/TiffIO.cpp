#include "TiffIO.h"

#include "LabelImage.h"
#include "MemoryBudget.h"
#include "OutputFile.h"
#include "PixelAccess.h"
#include "Progress.h"
#include "Quote.h"
#include "ToolError.h"

#ifdef VORN_HAVE_TIFF
#include <tiffio.h>

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <stdexcept>
#include <vector>

#include <unistd.h>
#endif

namespace vorn
{
#ifndef VORN_HAVE_TIFF

bool TiffAvailable() { return false; }

namespace
{
[[noreturn]] void NoTiff(const std::string& path)
{
    throw CToolError(QuotedName(path) + ": TIFF files need libtiff, and this vorn was built without it "
                                        "(install libtiff-dev and rebuild); without a file vorn analyses its built-in sample");
}
} // namespace

void RequireTiff(const std::string& path) { NoTiff(path); }
RawImage ReadTiff(CInputFile file, const StackChoice&, const ImageMemoryLimit&, CProgress&) { NoTiff(file.Path()); }
void WriteTiff(const std::string& path, const TOLX::CImage&, const LabelEncoding&, CProgress&) { NoTiff(path); }

#else

bool TiffAvailable() { return true; }

void RequireTiff(const std::string&) {}

namespace
{
constexpr std::uint64_t LARGEST = std::numeric_limits<std::uint64_t>::max();

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
    LastLibraryError() = buffer;
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
    return detail.empty() ? message : message + " (libtiff: " + Quoted(detail, 200) + ")";
}

struct TiffCloser
{
    void operator()(TIFF* tif) const { TIFFClose(tif); }
};
using TiffHandle = std::unique_ptr<TIFF, TiffCloser>;

struct OptionsFreer
{
    void operator()(TIFFOpenOptions* options) const { TIFFOpenOptionsFree(options); }
};

std::uint64_t Product(std::uint64_t a, std::uint64_t b)
{
    std::uint64_t product;
    return __builtin_mul_overflow(a, b, &product) ? LARGEST : product;
}

std::uint64_t Sum(std::uint64_t a, std::uint64_t b) { return a > LARGEST - b ? LARGEST : a + b; }

std::uint64_t CeilDivide(std::uint64_t a, std::uint64_t b) { return a / b + (a % b != 0); }

// A compression vorn reads, with the most bytes that one stored byte can
// decode to. Others are refused: JPEG and the like are not for labels, and
// LZMA or ZSTD streams expand without a useful bound.
struct Compression
{
    std::uint16_t code;
    const char* name;
    std::uint64_t largestRatio;
};

const Compression* FindCompression(std::uint16_t code)
{
    static const Compression known[] = {
        {COMPRESSION_NONE, "uncompressed", 1},
        // A run of 128 copies of one byte takes two bytes.
        {COMPRESSION_PACKBITS, "PackBits", 64},
        // A 258-byte match at distance 1 takes two bits with the shortest codes.
        {COMPRESSION_ADOBE_DEFLATE, "deflate", 1032},
        {COMPRESSION_DEFLATE, "deflate", 1032},
        // Every code takes at least 9 bits and stands for at most 4096 bytes.
        {COMPRESSION_LZW, "LZW", 4096 * 8 / 9 + 1},
    };
    for (const Compression& compression : known)
        if (compression.code == code)
            return &compression;
    return nullptr;
}

// One page: its pixels, how they are stored, and what reading it takes. The
// page is cut into blocks, strips of whole rows or tiles, across x down; every
// block decodes to blockWidth x blockHeight pixels except a short last strip.
struct Page
{
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint16_t bits = 0;
    std::uint16_t format = SAMPLEFORMAT_UINT;
    bool tiled = false;
    std::uint32_t blockWidth = 0;
    std::uint32_t blockHeight = 0;
    std::uint64_t across = 0;
    std::uint64_t down = 0;
    std::uint64_t bytes = 0;     // of the decoded pixels
    std::uint64_t ratio = 0;     // the largest its compression allows
    std::uint64_t workBytes = 0; // buffers beside the image while it is read

    // Stored bytes of `pixels` pixels of a row; bilevel pixels are packed 8 to a byte.
    std::uint64_t BytesFor(std::uint64_t pixels) const { return CeilDivide(Product(pixels, bits), 8); }
    std::uint64_t RowBytes() const { return BytesFor(width); }
    std::uint64_t BlockBytes() const { return Product(blockHeight, BytesFor(blockWidth)); }
    // A pixel in memory: a bilevel one takes a byte.
    std::uint64_t MemoryBytes() const { return bits == 1 ? 1 : bits / 8; }
    std::uint64_t ImageBytes() const { return Product(Product(width, height), MemoryBytes()); }
    // What block i decodes to: a whole tile, or the rows of a strip.
    std::uint64_t DecodedBytes(std::uint64_t i) const
    {
        return tiled ? BlockBytes() : Product(std::min<std::uint64_t>(blockHeight, height - i * blockHeight), RowBytes());
    }
};

std::string PageName(const std::string& path, std::uint64_t page)
{
    return QuotedName(path) + ": page " + std::to_string(page + 1) + " ";
}

[[noreturn]] void Corrupt(const std::string& where, const std::string& detail = "")
{
    throw CToolError(WithLibraryError(where + "cannot be read: the file is truncated or corrupt" +
                                      (detail.empty() ? "" : " (" + detail + ")")));
}

// "16-bit signed", "32-bit floating-point" and the like.
std::string PixelTypeName(const Page& page)
{
    const std::uint16_t format = page.format;
    return std::to_string(page.bits) + "-bit " +
           (format == SAMPLEFORMAT_IEEEFP ? "floating-point"
            : format == SAMPLEFORMAT_INT  ? "signed"
            : format == SAMPLEFORMAT_UINT ? "unsigned"
                                          : "complex or untyped");
}

// Reads the size and pixel type of the current page and refuses what is no
// label image.
void ReadGeometry(TIFF* tif, const std::string& where, Page& page)
{
    std::uint16_t samples = 1;
    if (!TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &page.width) || !TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &page.height))
        throw CToolError(WithLibraryError(where + "has no image size"));
    TIFFGetFieldDefaulted(tif, TIFFTAG_BITSPERSAMPLE, &page.bits);
    TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &samples);
    TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLEFORMAT, &page.format);
    const std::string wanted = "; vorn reads one integer (1 to 64 bits) or floating-point (32 or 64 bits) sample per pixel";
    if (samples != 1)
        throw CToolError(where + "has " + std::to_string(samples) + " samples per pixel (RGB or colour)" + wanted);
    const std::uint16_t b = page.bits;
    const bool integer = b == 8 || b == 16 || b == 32 || b == 64;
    const bool known = page.format == SAMPLEFORMAT_UINT ? integer || b == 1
                       : page.format == SAMPLEFORMAT_INT  ? integer
                       : page.format == SAMPLEFORMAT_IEEEFP && (b == 32 || b == 64);
    if (!known)
        throw CToolError(where + "has " + PixelTypeName(page) + " pixels" + wanted);
    if (page.width == 0 || page.height == 0)
        throw CToolError(where + "has no pixels");
    if (page.width > INT32_MAX || page.height > INT32_MAX)
        throw CToolError(where + "is " + std::to_string(page.width) + "x" + std::to_string(page.height) +
                         ", larger than vorn's images can be");
}

// Checks the current page before anything is allocated for it: every block
// must lie inside the file and hold enough bytes to decode to its pixels with
// the page's compression at its largest possible ratio.
Page CheckPage(TIFF* tif, const std::string& where, std::uint64_t fileSize)
{
    Page page;
    ReadGeometry(tif, where, page);
    std::uint16_t code = COMPRESSION_NONE;
    TIFFGetFieldDefaulted(tif, TIFFTAG_COMPRESSION, &code);
    const Compression* compression = FindCompression(code);
    if (!compression)
        throw CToolError(where + "is compressed with method " + std::to_string(code) +
                         ", which vorn does not read (it reads uncompressed, LZW, deflate and PackBits pages)");
    const std::uint64_t ratio = page.ratio = compression->largestRatio;
    page.bytes = Product(page.height, page.RowBytes());
    page.tiled = TIFFIsTiled(tif);
    if (page.tiled)
    {
        TIFFGetField(tif, TIFFTAG_TILEWIDTH, &page.blockWidth);
        TIFFGetField(tif, TIFFTAG_TILELENGTH, &page.blockHeight);
    }
    else
    {
        std::uint32_t rowsPerStrip = 0;
        TIFFGetFieldDefaulted(tif, TIFFTAG_ROWSPERSTRIP, &rowsPerStrip);
        page.blockWidth = page.width;
        page.blockHeight = std::min(rowsPerStrip, page.height);
    }
    if (page.blockWidth == 0 || page.blockHeight == 0)
        Corrupt(where, std::string(page.tiled ? "tiles" : "strips") + " of no size");
    // Tiles are copied into the image row by row, byte by byte: bilevel tiles
    // must start at whole bytes (the format asks for multiples of 16 anyway).
    if (page.tiled && page.bits == 1 && page.blockWidth % 8 != 0)
        Corrupt(where, "bilevel tiles " + std::to_string(page.blockWidth) + " pixels wide, not a multiple of 8");
    page.across = CeilDivide(page.width, page.blockWidth);
    page.down = CeilDivide(page.height, page.blockHeight);
    const std::string blockKind = page.tiled ? "tile" : "strip";
    const std::uint64_t blocks = page.across * page.down;
    const std::uint64_t listed = page.tiled ? TIFFNumberOfTiles(tif) : TIFFNumberOfStrips(tif);
    if (listed < blocks)
        Corrupt(where, "the file lists " + std::to_string(listed) + " " + blockKind + "s, the page needs " +
                           std::to_string(blocks));
    std::uint64_t largestStored = 0;
    for (std::uint64_t i = 0; i < blocks; ++i)
    {
        int error = 0;
        const std::uint32_t index = static_cast<std::uint32_t>(i);
        const std::uint64_t offset = TIFFGetStrileOffsetWithErr(tif, index, &error);
        const std::uint64_t stored = TIFFGetStrileByteCountWithErr(tif, index, &error);
        if (error || stored > fileSize || offset > fileSize - stored)
            Corrupt(where, blockKind + " " + std::to_string(i + 1) + " lies beyond the end of the file");
        const std::uint64_t decoded = page.DecodedBytes(i);
        if (decoded > Product(stored, ratio))
            Corrupt(where, blockKind + " " + std::to_string(i + 1) + " has " + std::to_string(stored) + " bytes of " +
                               compression->name + " data, which cannot give the " + std::to_string(decoded) +
                               " bytes of its pixels");
        largestStored = std::max(largestStored, stored);
    }
    // libtiff decodes a tile whole, into a buffer of the tool's, and reads
    // compressed data into a buffer of its own; uncompressed strips go
    // straight into the image.
    page.workBytes = Sum(page.tiled ? page.BlockBytes() : 0, ratio > 1 ? largestStored : 0);
    return page;
}

// Reads the current page into `out`, rows of RowBytes() one after the other.
void ReadPage(TIFF* tif, const Page& page, std::uint8_t* out, const std::string& where)
{
    const std::uint64_t rowBytes = page.RowBytes();
    if (!page.tiled)
    {
        for (std::uint32_t strip = 0; strip < page.down; ++strip)
        {
            const tmsize_t bytes = static_cast<tmsize_t>(page.DecodedBytes(strip));
            if (TIFFReadEncodedStrip(tif, strip, out + std::uint64_t{strip} * page.blockHeight * rowBytes, bytes) != bytes)
                Corrupt(where);
        }
        return;
    }
    const tmsize_t tileBytes = static_cast<tmsize_t>(page.BlockBytes());
    std::vector<std::uint8_t> tile(static_cast<std::size_t>(tileBytes));
    const std::uint64_t tileRowBytes = page.BytesFor(page.blockWidth);
    for (std::uint64_t ty = 0; ty < page.down; ++ty)
        for (std::uint64_t tx = 0; tx < page.across; ++tx)
        {
            const std::uint32_t index = static_cast<std::uint32_t>(ty * page.across + tx);
            if (TIFFReadEncodedTile(tif, index, tile.data(), tileBytes) != tileBytes)
                Corrupt(where);
            const std::uint64_t x0 = tx * page.blockWidth, y0 = ty * page.blockHeight;
            const std::uint64_t rows = std::min<std::uint64_t>(page.blockHeight, page.height - y0);
            // Bilevel tiles start at whole bytes (CheckPage refuses other widths).
            const std::uint64_t bytes = page.BytesFor(std::min<std::uint64_t>(page.blockWidth, page.width - x0));
            for (std::uint64_t r = 0; r < rows; ++r)
                std::memcpy(out + (y0 + r) * rowBytes + page.BytesFor(x0), tile.data() + r * tileRowBytes, bytes);
        }
}

CToolError NoMemory(const std::string& path, const Page& page, std::uint64_t depth)
{
    return CToolError(QuotedName(path) + ": not enough memory for a " + std::to_string(page.width) + "x" +
                      std::to_string(page.height) + "x" + std::to_string(depth) + " image");
}

std::string Plural(std::int64_t count, const char* noun)
{
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string Description(TIFF* tif)
{
    const char* text = nullptr;
    return TIFFGetField(tif, TIFFTAG_IMAGEDESCRIPTION, &text) && text ? text : "";
}

// The calibration of the first page: its description's, else that of its
// resolution tags when their unit is a length (a stack's slices are then
// taken to be as far apart as its pixels are wide).
Calibration CalibrationOf(TIFF* tif, const StackLayout& layout)
{
    float resolution[2] = {0, 0};
    std::uint16_t unit = RESUNIT_INCH;
    const bool tagged = TIFFGetField(tif, TIFFTAG_XRESOLUTION, &resolution[0]) &&
                        TIFFGetField(tif, TIFFTAG_YRESOLUTION, &resolution[1]) && resolution[0] > 0 &&
                        resolution[1] > 0 && std::isfinite(resolution[0]) && std::isfinite(resolution[1]);
    TIFFGetFieldDefaulted(tif, TIFFTAG_RESOLUTIONUNIT, &unit);
    Calibration calibration = layout.calibration;
    if (layout.calibrated && layout.format == "OME-TIFF")
        return calibration;
    if (layout.calibrated && tagged) // ImageJ keeps pixels per unit in the tags
        calibration.spacing[0] = 1.0 / resolution[0], calibration.spacing[1] = 1.0 / resolution[1];
    if (layout.calibrated || !tagged || (unit != RESUNIT_INCH && unit != RESUNIT_CENTIMETER))
        return calibration;
    calibration.spacing[0] = calibration.spacing[2] = 1.0 / resolution[0];
    calibration.spacing[1] = 1.0 / resolution[1];
    calibration.unit = unit == RESUNIT_INCH ? "inch" : "cm";
    calibration.origin = "TIFF resolution";
    return calibration;
}

// The 0-based channel and frame to read, checked against the layout.
std::pair<std::int64_t, std::int64_t> ChooseChannelAndFrame(const StackLayout& layout, const StackChoice& choice,
                                                           const std::string& path)
{
    const std::string name = QuotedName(path) + ": " + (layout.format.empty() ? "the file" : "the " + layout.format);
    const auto pick = [&](std::int64_t chosen, std::int64_t count, const char* option, const char* noun) {
        if (chosen > count)
            throw CToolError(name + " has " + Plural(count, noun) + "; " + option + " " + std::to_string(chosen) +
                                 " is not one of them",
                             CToolError::USAGE);
        return chosen > 0 ? chosen - 1 : 0;
    };
    std::string missing;
    if (layout.channels > 1 && choice.channel == 0)
        missing = "--channel C (1 to " + std::to_string(layout.channels) + ")";
    if (layout.frames > 1 && choice.frame == 0)
        missing += (missing.empty() ? "" : " and ") + std::string("--frame T (1 to ") + std::to_string(layout.frames) + ")";
    if (!missing.empty())
        throw CToolError(name + " has " + Plural(layout.channels, "channel") + ", " + Plural(layout.slices, "slice") +
                             " and " + Plural(layout.frames, "frame") + "; choose one with " + missing,
                         CToolError::USAGE);
    return {pick(choice.channel, layout.channels, "--channel", "channel"),
            pick(choice.frame, layout.frames, "--frame", "frame")};
}

// True when the page (0-based) is a slice of the chosen channel and frame;
// pages beyond the layout (other images of an OME file) are not.
bool IsChosen(const StackLayout& layout, std::uint64_t page, std::int64_t channel, std::int64_t frame)
{
    if (layout.format.empty())
        return true;
    std::int64_t coordinates[3] = {0, 0, 0}; // c, z, t
    std::uint64_t rest = page;
    for (const char axis : layout.order)
    {
        const int i = axis == 'C' ? 0 : axis == 'Z' ? 1 : 2;
        const std::int64_t size = i == 0 ? layout.channels : i == 1 ? layout.slices : layout.frames;
        coordinates[i] = std::int64_t(rest % std::uint64_t(size));
        rest /= std::uint64_t(size);
    }
    return rest == 0 && coordinates[0] == channel && coordinates[2] == frame;
}

// Unpacks bilevel rows, most significant bit first, to a byte per pixel.
void UnpackBits(const std::vector<std::uint8_t>& packed, const Page& page, std::uint8_t* out)
{
    for (std::uint64_t y = 0; y < page.height; ++y)
        for (std::uint64_t x = 0; x < page.width; ++x)
            out[y * page.width + x] = (packed[y * page.RowBytes() + x / 8] >> (7 - x % 8)) & 1;
}

EnSampleKind KindOf(std::uint16_t format)
{
    return format == SAMPLEFORMAT_IEEEFP ? EnSampleKind::FLOAT
           : format == SAMPLEFORMAT_INT  ? EnSampleKind::SIGNED
                                         : EnSampleKind::UNSIGNED;
}

// Opens the file for libtiff, which never allocates more in one piece than the
// image may take (its strip and tag arrays come from the file's counts).
TiffHandle OpenForReading(CInputFile& file, const ImageMemoryLimit& limit)
{
    const std::unique_ptr<TIFFOpenOptions, OptionsFreer> options(TIFFOpenOptionsAlloc());
    if (!options)
        throw std::bad_alloc();
    // Its own bookkeeping needs a little even when the image may take nothing.
    const std::uint64_t largest = std::max<std::uint64_t>(limit.bytes, std::uint64_t{8} << 20);
    TIFFOpenOptionsSetMaxSingleMemAlloc(
        options.get(), static_cast<tmsize_t>(std::min<std::uint64_t>(largest, std::numeric_limits<tmsize_t>::max())));
    // "m": read(), not a memory map, whose pages would count twice and which a
    // file cut short meanwhile turns into SIGBUS; "c": strips as stored.
    TiffHandle tif(TIFFFdOpenExt(file.Descriptor(), file.Path().c_str(), "rmc", options.get()));
    if (!tif)
        throw CToolError(WithLibraryError(QuotedName(file.Path()) + ": not a readable TIFF file"));
    file.Release(); // closed with the handle
    return tif;
}
} // namespace

RawImage ReadTiff(CInputFile file, const StackChoice& choice, const ImageMemoryLimit& limit, CProgress& progress)
{
    QuietLibrary();
    const std::string path = file.Path();
    const std::uint64_t fileSize = file.Size();
    const TiffHandle tif = OpenForReading(file, limit);

    // The description of the first page says which pages are the slices to
    // read; they are known before the walk, so that the memory check counts
    // only them.
    const Page first = CheckPage(tif.get(), PageName(path, 0), fileSize);
    StackLayout layout = ParseDescription(Description(tif.get()), QuotedName(path) + ": its description ");
    if (layout.slices == 0 && layout.channels * layout.frames > 1)
        throw CToolError(QuotedName(path) + ": the " + layout.format + " declares " +
                         Plural(layout.channels, "channel") + " and " + Plural(layout.frames, "frame") +
                         " but neither images= nor slices=");
    if (layout.slices == 0)
        layout.format.clear();
    const auto [channel, frame] = ChooseChannelAndFrame(layout, choice, path);
    RawImage raw;
    raw.calibration = CalibrationOf(tif.get(), layout);
    if (layout.channels * layout.frames > 1)
        raw.selection = "channel " + std::to_string(channel + 1) + " of " + std::to_string(layout.channels) +
                        ", frame " + std::to_string(frame + 1) + " of " + std::to_string(layout.frames);

    // Walk the pages to learn the depth and to refuse a mixed stack, or one
    // that memory could not hold, before allocating the volume.
    std::uint64_t pages = 1;
    std::uint64_t chosen = IsChosen(layout, 0, channel, frame);
    std::uint64_t workBytes = first.workBytes + (first.bits == 1 ? first.bytes : 0);
    std::uint64_t ratio = first.ratio;
    for (;; ++pages)
    {
        const std::string where = PageName(path, pages - 1);
        if (pages > INT32_MAX)
            throw CToolError(where + "is one more than vorn's images can have");
        // Pages may share their data, so each one passing its own check does
        // not bound the whole; the file as a whole must be able to hold them.
        const std::uint64_t storedBytes = Product(first.bytes, pages);
        if (storedBytes > Product(fileSize, ratio))
            Corrupt(where, "the file's " + ShowBytes(fileSize) + " cannot give the " + ShowBytes(storedBytes) +
                               " of pixels of " + std::to_string(pages) + " pages");
        const std::uint64_t needed = Sum(Product(first.ImageBytes(), chosen), workBytes);
        if (needed > limit.bytes)
            throw CToolError(where + "brings the image to " + ShowBytes(needed) + ", more than the " +
                             ShowBytes(limit.bytes) + " that " + limit.origin + " leaves for it");
        LastLibraryError().clear();
        if (!TIFFReadDirectory(tif.get()))
            break;
        const std::string next = PageName(path, pages);
        const Page page = CheckPage(tif.get(), next, fileSize);
        if (page.width != first.width || page.height != first.height)
            throw CToolError(next + "is " + std::to_string(page.width) + "x" + std::to_string(page.height) +
                             ", page 1 is " + std::to_string(first.width) + "x" + std::to_string(first.height) +
                             "; all pages of a stack must have one size");
        if (page.bits != first.bits || page.format != first.format)
            throw CToolError(next + "has " + PixelTypeName(page) + " pixels, page 1 has " + PixelTypeName(first) +
                             " pixels; all pages of a stack must have one pixel type");
        workBytes = std::max(workBytes, page.workBytes + (page.bits == 1 ? page.bytes : 0));
        ratio = std::max(ratio, page.ratio);
        chosen += IsChosen(layout, pages, channel, frame);
    }
    if (!LastLibraryError().empty())
        Corrupt(PageName(path, pages));
    const std::int64_t declared = layout.channels * layout.slices * layout.frames;
    if (!layout.format.empty() && std::int64_t(pages) < declared)
        throw CToolError(QuotedName(path) + ": the " + layout.format + " declares " + std::to_string(declared) +
                         " images (" + Plural(layout.channels, "channel") + " x " + Plural(layout.slices, "slice") +
                         " x " + Plural(layout.frames, "frame") + "), the file has " + Plural(pages, "page"));

    raw.width = static_cast<int>(first.width);
    raw.height = static_cast<int>(first.height);
    raw.depth = static_cast<int>(chosen);
    raw.kind = KindOf(first.format);
    raw.fileBits = first.bits;
    raw.bytes = static_cast<int>(first.MemoryBytes());
    try
    {
        raw.pixels = AllocatePixels(Product(first.ImageBytes(), chosen));
        std::vector<std::uint8_t> packed(first.bits == 1 ? first.bytes : 0);
        CProgressPass pass(progress, "reading", raw.depth);
        // Back to the first page once, then forward page by page: setting each
        // directory by number would walk the chain from the start every time.
        if (!TIFFSetDirectory(tif.get(), 0))
            Corrupt(PageName(path, 0));
        std::uint64_t current = 0;
        for (int z = 0; z < raw.depth; ++z)
        {
            const std::uint64_t wanted = layout.format.empty() ? std::uint64_t(z) : layout.PageOf(channel, z, frame);
            for (; current < wanted; ++current)
                if (!TIFFReadDirectory(tif.get()))
                    Corrupt(PageName(path, current + 1));
            const std::string where = PageName(path, current);
            // The file is read a second time: it may have changed meanwhile.
            const Page page = CheckPage(tif.get(), where, fileSize);
            if (page.width != first.width || page.height != first.height || page.bits != first.bits ||
                page.format != first.format || page.workBytes > workBytes)
                throw CToolError(where + "changed while vorn was reading the file");
            std::uint8_t* slice = raw.pixels.get() + std::uint64_t(z) * first.ImageBytes();
            if (first.bits == 1)
            {
                ReadPage(tif.get(), page, packed.data(), where);
                UnpackBits(packed, page, slice);
            }
            else
                ReadPage(tif.get(), page, slice, where);
            pass.Advance(z + 1);
        }
        return raw;
    }
    catch (const std::bad_alloc&)
    {
        throw NoMemory(path, first, chosen);
    }
    catch (const std::length_error&)
    {
        throw NoMemory(path, first, chosen);
    }
}

namespace
{
std::uint16_t FormatOf(EnSampleKind kind)
{
    return kind == EnSampleKind::FLOAT ? SAMPLEFORMAT_IEEEFP
           : kind == EnSampleKind::SIGNED ? SAMPLEFORMAT_INT
                                          : SAMPLEFORMAT_UINT;
}

template <class T>
void Store(std::uint8_t* at, std::int64_t label)
{
    StorePixel<T>(at, static_cast<T>(label));
}

// Row y of slice z of an index image as the labels its indices stand for.
void EncodeRow(const TOLX::CImage& image, int y, int z, const LabelEncoding& encoding, std::uint8_t* out)
{
    using Store_t = void (*)(std::uint8_t*, std::int64_t);
    const bool isFloat = encoding.kind == EnSampleKind::FLOAT;
    const Store_t store = isFloat ? (encoding.bytes == 4 ? Store<float> : Store<double>)
                          : encoding.bytes == 1 ? Store<std::uint8_t>
                          : encoding.bytes == 2 ? Store<std::uint16_t>
                          : encoding.bytes == 4 ? Store<std::uint32_t>
                                                : Store<std::uint64_t>;
    const std::uint8_t* row = image.Data() + z * image.Step().Z() + y * image.Step().Y();
    WithPixelType(image.Type(), [&](auto element) {
        using T = decltype(element);
        for (int x = 0; x < image.Width(); ++x)
        {
            const T index = LoadPixel<T>(row + x * sizeof(T));
            store(out + std::size_t(x) * encoding.bytes, index ? LabelAt(*encoding.labels, index - 1) : 0);
        }
    });
}
} // namespace

void WriteTiff(const std::string& path, const TOLX::CImage& image, const LabelEncoding& encoding, CProgress& progress)
{
    QuietLibrary();
    const std::uint16_t bits = static_cast<std::uint16_t>(8 * encoding.bytes);
    const std::size_t rowBytes = std::size_t{static_cast<std::uint32_t>(image.Width())} * encoding.bytes;
    const std::size_t totalBytes = rowBytes * static_cast<std::size_t>(image.Height()) * static_cast<std::size_t>(image.Depth());
    // Classic TIFF addresses at most 4 GiB; larger stacks need BigTIFF.
    const bool big = totalBytes > (std::size_t{3} << 30);
    COutputFile output(path);
    const std::string failure = QuotedName(path) + ": cannot be written";
    // libtiff closes the descriptor it is given; the output keeps its own to
    // flush the file to the disk before renaming it.
    const int descriptor = dup(output.Descriptor());
    TiffHandle tif(descriptor < 0 ? nullptr : TIFFFdOpen(descriptor, path.c_str(), big ? "w8" : "w"));
    if (!tif)
    {
        if (descriptor >= 0)
            close(descriptor);
        throw CToolError(WithLibraryError(failure));
    }
    CProgressPass pass(progress, "writing", image.Depth());
    for (int z = 0; z < image.Depth(); ++z)
    {
        TIFF* t = tif.get();
        TIFFSetField(t, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(image.Width()));
        TIFFSetField(t, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(image.Height()));
        TIFFSetField(t, TIFFTAG_BITSPERSAMPLE, bits);
        TIFFSetField(t, TIFFTAG_SAMPLESPERPIXEL, std::uint16_t{1});
        TIFFSetField(t, TIFFTAG_SAMPLEFORMAT, FormatOf(encoding.kind));
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
        std::vector<std::uint8_t> strip(rowsPerStrip * rowBytes);
        const std::uint32_t height = static_cast<std::uint32_t>(image.Height());
        for (std::uint32_t row = 0, index = 0; row < height; row += rowsPerStrip, ++index)
        {
            const std::uint32_t rows = std::min(rowsPerStrip, height - row);
            for (std::uint32_t r = 0; r < rows; ++r)
                EncodeRow(image, int(row + r), z, encoding, strip.data() + r * rowBytes);
            const std::size_t bytes = rows * rowBytes;
            if (TIFFWriteEncodedStrip(t, index, strip.data(), static_cast<tmsize_t>(bytes)) < 0)
                throw CToolError(WithLibraryError(failure));
        }
        if (!TIFFWriteDirectory(t))
            throw CToolError(WithLibraryError(failure));
        pass.Advance(z + 1);
    }
    // Closing flushes the last bytes; a full disk shows up here.
    TIFF* t = tif.release();
    TIFFFlush(t);
    const bool failed = !LastLibraryError().empty();
    TIFFClose(t);
    if (failed)
        throw CToolError(WithLibraryError(failure));
    output.Commit();
}
#endif
} // namespace vorn
