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
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint16_t bits = 8;
    std::uint16_t samples = 1;
    std::uint16_t format = SAMPLEFORMAT_UINT;
    std::uint16_t compression = COMPRESSION_NONE;
    std::uint32_t rowsPerStrip = 1;
    std::uint32_t tile = 0; // tile edge; 0 for strips
    std::vector<std::uint8_t> bytes;
    std::string description;                  // ImageDescription; empty: none
    std::array<float, 2> resolution{0, 0};    // XResolution, YResolution; 0: none
    std::uint16_t resolutionUnit = RESUNIT_NONE;

    std::size_t RowBytes() const { return (std::size_t{width} * samples * bits + 7) / 8; }
};

// A single-channel page of 8-, 16-, 32- or 64-bit pixels whose pixel (x, y)
// holds the low bytes of value(x, y) (of the host's byte order, little-endian).
inline RawPage MakePage(int bits, std::uint32_t width, std::uint32_t height,
                        const std::function<std::uint64_t(int, int)>& value,
                        std::uint16_t format = SAMPLEFORMAT_UINT)
{
    RawPage page;
    page.width = width;
    page.height = height;
    page.bits = std::uint16_t(bits);
    page.format = format;
    const std::size_t size = bits / 8;
    page.bytes.resize(std::size_t{width} * height * size);
    for (std::size_t i = 0; i < std::size_t{width} * height; ++i)
    {
        const std::uint64_t v = value(int(i % width), int(i / width));
        std::memcpy(&page.bytes[i * size], &v, size);
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
    if (!tif)
        return false;
    bool ok = true;
    for (const RawPage& page : pages)
    {
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
        const std::size_t rowBytes = page.RowBytes(), pixel = page.bits / 8, edge = page.tile; // tiles: whole bytes
        if (edge)
        {
            std::vector<std::uint8_t> tile(edge * edge * pixel);
            for (std::uint32_t y0 = 0; y0 < page.height; y0 += page.tile)
                for (std::uint32_t x0 = 0; x0 < page.width; x0 += page.tile)
                {
                    std::fill(tile.begin(), tile.end(), 0);
                    for (std::uint32_t r = 0; r < edge && y0 + r < page.height; ++r)
                        std::memcpy(&tile[r * edge * pixel], &page.bytes[(y0 + r) * rowBytes + x0 * pixel],
                                    std::min<std::size_t>(edge, page.width - x0) * pixel);
                    ok = ok && TIFFWriteTile(tif, tile.data(), x0, y0, 0, 0) >= 0;
                }
        }
        else
        {
            std::vector<std::uint8_t> row(rowBytes);
            for (std::uint32_t y = 0; y < page.height; ++y)
            {
                std::memcpy(row.data(), &page.bytes[y * rowBytes], rowBytes);
                ok = ok && TIFFWriteScanline(tif, row.data(), y, 0) >= 0;
            }
        }
        ok = ok && TIFFWriteDirectory(tif);
    }
    TIFFClose(tif);
    return ok;
}

// Every page of a stripped single-channel file, read scanline by scanline.
inline std::vector<RawPage> ReadRawTiff(const std::string& path)
{
    std::vector<RawPage> pages;
    TIFF* tif = TIFFOpen(path.c_str(), "r");
    if (!tif)
        return pages;
    do
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
    } while (TIFFReadDirectory(tif));
    TIFFClose(tif);
    return pages;
}

// A page of a hand-made file, for what no well-behaved writer produces:
// declared sizes that the data cannot fill, data shared between pages.
struct HandPage
{
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::uint16_t bits = 8;
    std::uint16_t compression = COMPRESSION_NONE;
    std::uint32_t rowsPerStrip = 0; // 0: no such tag, one strip
    std::vector<std::pair<std::uint32_t, std::uint32_t>> strips; // offset into the file and byte count
};

// PackBits data of `bytes` zeros (a multiple of 128): runs of 128 in two bytes.
inline std::string ZeroRuns(std::size_t bytes)
{
    std::string runs;
    for (std::size_t i = 0; i < bytes / 128; ++i)
        runs += std::string("\x81\0", 2);
    return runs;
}

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
        const std::uint32_t strips = std::uint32_t(page.strips.size());
        std::vector<std::array<std::uint32_t, 3>> entries = {// tag, type (3 short, 4 long), value
            {256, 4, page.width}, {257, 4, page.height}, {258, 3, page.bits}, {259, 3, page.compression},
            {262, 3, PHOTOMETRIC_MINISBLACK}, {273, 4, page.strips[0].first}, {277, 3, 1},
            {278, 4, page.rowsPerStrip}, {279, 4, page.strips[0].second}};
        if (!page.rowsPerStrip)
            entries.erase(entries.begin() + 7);
        const std::size_t directory = file.size(), lists = directory + 2 + 12 * entries.size() + 4;
        file.resize(lists + (strips > 1 ? 8 * strips : 0));
        put(link, std::uint32_t(directory), 4);
        put(directory, std::uint32_t(entries.size()), 2);
        for (std::size_t i = 0; i < entries.size(); ++i)
        {
            const std::size_t at = directory + 2 + 12 * i;
            const bool list = strips > 1 && (entries[i][0] == 273 || entries[i][0] == 279);
            put(at, entries[i][0], 2);
            put(at + 2, entries[i][1], 2);
            put(at + 4, list ? strips : 1, 4);
            put(at + 8, list ? std::uint32_t(lists + (entries[i][0] == 279 ? 4 * strips : 0)) : entries[i][2],
                entries[i][1] == 3 ? 2 : 4);
        }
        for (std::uint32_t s = 0; strips > 1 && s < strips; ++s)
        {
            put(lists + 4 * s, page.strips[s].first, 4);
            put(lists + 4 * (strips + s), page.strips[s].second, 4);
        }
        link = lists - 4;
    }
    return file;
}
} // namespace vorntest
