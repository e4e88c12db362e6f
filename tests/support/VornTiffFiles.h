#pragma once

// TIFF files for the vorn tool's tests, written and read with libtiff directly
// so that the tool's own reader and writer are checked against an independent
// use of the library.

#include <tiffio.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

namespace vorntest
{
struct RawPage
{
    std::uint32_t width = 0, height = 0;
    std::uint16_t bits = 8, samples = 1, format = SAMPLEFORMAT_UINT, compression = COMPRESSION_NONE; // bits per sample
    std::uint32_t rowsPerStrip = 1, tile = 0; // tile: its edge, 0 for strips
    std::vector<std::uint8_t> bytes;
    std::string description;                  // ImageDescription; empty: none
    std::array<float, 2> resolution{0, 0};    // XResolution, YResolution; 0: none
    std::uint16_t resolutionUnit = RESUNIT_NONE;

    std::size_t RowBytes() const { return (std::size_t{width} * samples * bits + 7) / 8; }
};

// A page of width x height pixels of `bits` per sample, stored as the other
// arguments say; every sample of pixel (x, y) is value(x, y) cut to its width,
// in the host's byte order as libtiff takes it. Pixels of less than a byte are
// left 0.
inline RawPage MakePage(std::uint32_t width, std::uint32_t height, int bits, const std::function<std::uint64_t(int, int)>& value,
                        std::uint16_t samples = 1, std::uint16_t format = SAMPLEFORMAT_UINT,
                        std::uint16_t compression = COMPRESSION_NONE, std::uint32_t rowsPerStrip = 1, std::uint32_t tile = 0)
{
    RawPage page{width, height, std::uint16_t(bits), samples, format, compression, rowsPerStrip, tile, {}, {}, {}, RESUNIT_NONE};
    const std::size_t size = page.bits / 8, count = std::size_t{width} * height * samples;
    page.bytes.assign(page.RowBytes() * height, 0);
    for (std::size_t i = 0; size && i < count; ++i)
    {
        const std::uint64_t v = value(int(i / samples % width), int(i / samples / width));
        for (std::size_t b = 0; b < size; ++b)
            page.bytes[i * size + b] = std::uint8_t(v >> 8 * (HOST_BIGENDIAN ? size - 1 - b : b));
    }
    return page;
}

// The bits of a float or double, for MakePage.
inline std::uint64_t FloatBits(float value)
{
    std::uint32_t bits;
    std::memcpy(&bits, &value, 4);
    return bits;
}

inline bool WriteRawTiff(const std::string& path, const std::vector<RawPage>& pages)
{
    TIFF* tif = TIFFOpen(path.c_str(), "w");
    bool ok = tif != nullptr;
    for (std::size_t p = 0; ok && p < pages.size(); ++p)
    {
        const RawPage& page = pages[p];
        // libtiff takes the 16-bit fields as int, which a 32-bit value passes as.
        const std::uint32_t fields[][2] = {
            {TIFFTAG_IMAGEWIDTH, page.width}, {TIFFTAG_IMAGELENGTH, page.height}, {TIFFTAG_BITSPERSAMPLE, page.bits},
            {TIFFTAG_SAMPLESPERPIXEL, page.samples}, {TIFFTAG_SAMPLEFORMAT, page.format},
            {TIFFTAG_PHOTOMETRIC, std::uint32_t(page.samples == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK)},
            {TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG}, {TIFFTAG_COMPRESSION, page.compression},
            // Tiles, or strips (the tag set twice).
            {std::uint32_t(page.tile ? TIFFTAG_TILEWIDTH : TIFFTAG_ROWSPERSTRIP), page.tile ? page.tile : page.rowsPerStrip},
            {std::uint32_t(page.tile ? TIFFTAG_TILELENGTH : TIFFTAG_ROWSPERSTRIP), page.tile ? page.tile : page.rowsPerStrip}};
        for (const auto& field : fields)
            TIFFSetField(tif, field[0], field[1]);
        if (!page.description.empty())
            TIFFSetField(tif, TIFFTAG_IMAGEDESCRIPTION, page.description.c_str());
        if (page.resolution[0] > 0)
        {
            TIFFSetField(tif, TIFFTAG_XRESOLUTION, double(page.resolution[0]));
            TIFFSetField(tif, TIFFTAG_YRESOLUTION, double(page.resolution[1]));
            TIFFSetField(tif, TIFFTAG_RESOLUTIONUNIT, page.resolutionUnit);
        }
        const std::size_t rowBytes = page.RowBytes(), pixel = page.bits * page.samples / 8, edge = page.tile;
        std::vector<std::uint8_t> block(edge ? edge * edge * pixel : rowBytes);
        for (std::uint32_t y0 = 0; y0 < page.height; y0 += edge ? edge : 1)
            for (std::uint32_t x0 = 0; x0 < page.width; x0 += edge ? edge : page.width)
            {
                // A row, or a tile cut at the page's edges and filled with 0.
                std::fill(block.begin(), block.end(), 0);
                for (std::uint32_t r = 0; r < (edge ? edge : 1) && y0 + r < page.height; ++r)
                    std::memcpy(&block[r * edge * pixel], &page.bytes[(y0 + r) * rowBytes + x0 * pixel],
                                edge ? std::min<std::size_t>(edge, page.width - x0) * pixel : rowBytes);
                ok = ok && (edge ? TIFFWriteTile(tif, block.data(), x0, y0, 0, 0)
                                 : TIFFWriteScanline(tif, block.data(), y0, 0)) >= 0;
            }
        ok = ok && TIFFWriteDirectory(tif);
    }
    if (tif)
        TIFFClose(tif);
    return ok;
}

// Every page of a stripped file, read scanline by scanline.
inline std::vector<RawPage> ReadRawTiff(const std::string& path)
{
    std::vector<RawPage> pages;
    TIFF* tif = TIFFOpen(path.c_str(), "r");
    for (bool more = tif != nullptr; more; more = TIFFReadDirectory(tif))
    {
        RawPage page;
        TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &page.width);
        TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &page.height);
        TIFFGetFieldDefaulted(tif, TIFFTAG_BITSPERSAMPLE, &page.bits);
        TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLESPERPIXEL, &page.samples);
        TIFFGetFieldDefaulted(tif, TIFFTAG_SAMPLEFORMAT, &page.format);
        page.bytes.resize(page.RowBytes() * page.height);
        for (std::uint32_t y = 0; y < page.height; ++y)
            TIFFReadScanline(tif, &page.bytes[y * page.RowBytes()], y, 0);
        pages.push_back(std::move(page));
    }
    if (tif)
        TIFFClose(tif);
    return pages;
}

// A page of a hand-made file, for what no well-behaved writer produces:
// declared sizes that the data cannot fill, data shared between pages.
struct HandPage
{
    std::uint32_t width = 0, height = 0;
    std::uint16_t bits = 8, compression = COMPRESSION_NONE;
    std::uint32_t rowsPerStrip = 0; // 0: no such tag, one strip
    std::vector<std::pair<std::uint32_t, std::uint32_t>> strips; // offset into the file and byte count
};

// 4096 x 4096 zeros (16 MiB) as PackBits runs of 128 in two bytes each, 256
// KiB that any number of pages can share when they are put at offset 8.
inline std::string ZeroRuns()
{
    std::string runs;
    for (int i = 0; i < 4096 * 4096 / 128; ++i)
        runs += std::string("\x81\0", 2);
    return runs;
}
inline const HandPage ZERO_RUNS_PAGE{4096, 4096, 8, COMPRESSION_PACKBITS, 0, {{8, 4096 * 4096 / 64}}};

// A little-endian classic TIFF: the header, `data` from offset 8 on, then one
// directory per page with its strip lists after it.
inline std::string HandMadeTiff(const std::vector<HandPage>& pages, const std::string& data)
{
    std::string file = std::string("II*\0", 4) + std::string(4, '\0') + data;
    const auto put = [&file](std::size_t at, std::uint32_t value, int bytes) {
        for (int i = 0; i < bytes; ++i)
            file[at + i] = char(value >> (8 * i));
    };
    std::size_t link = 4; // where the offset of the next directory goes
    for (const HandPage& page : pages)
    {
        // Several strips are listed after the directory, offsets then byte
        // counts; one strip's values are in their entries.
        const std::uint32_t n = std::uint32_t(page.strips.size()), directory = std::uint32_t(file.size()),
                            lists = directory + 2 + 12 * (page.rowsPerStrip ? 9 : 8) + 4;
        std::vector<std::array<std::uint32_t, 4>> entries = {// tag, type (3 short, 4 long), count, value
            {256, 4, 1, page.width}, {257, 4, 1, page.height}, {258, 3, 1, page.bits}, {259, 3, 1, page.compression},
            {262, 3, 1, PHOTOMETRIC_MINISBLACK}, {273, 4, n, n > 1 ? lists : page.strips[0].first}, {277, 3, 1, 1},
            {278, 4, 1, page.rowsPerStrip}, {279, 4, n, n > 1 ? lists + 4 * n : page.strips[0].second}};
        if (!page.rowsPerStrip)
            entries.erase(entries.begin() + 7);
        file.resize(lists + (n > 1 ? 8 * n : 0));
        put(link, directory, 4);
        put(directory, std::uint32_t(entries.size()), 2);
        for (std::size_t i = 0; i < entries.size(); ++i)
        {
            put(directory + 2 + 12 * i, entries[i][0] | entries[i][1] << 16, 4);
            put(directory + 6 + 12 * i, entries[i][2], 4);
            put(directory + 10 + 12 * i, entries[i][3], entries[i][1] == 3 ? 2 : 4);
        }
        for (std::uint32_t s = 0; n > 1 && s < n; ++s)
            put(lists + 4 * s, page.strips[s].first, 4), put(lists + 4 * (n + s), page.strips[s].second, 4);
        link = lists - 4;
    }
    return file;
}
} // namespace vorntest
