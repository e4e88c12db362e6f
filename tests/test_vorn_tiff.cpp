// The vorn tool's TIFF reader and writer, checked against files written and
// read with libtiff directly.

#include "CaptureStderr.h"
#include "MemoryBudget.h"
#include "Progress.h"
#include "TiffIO.h"
#include "VornTool.h"
#include "VornTiffFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <tuple>

using vorntest::MakePage;
using vorntest::RawPage;

namespace
{
class VornTiff : public vorntest::VornFilesTest
{
protected:
    TOLX::CImage Read(const std::string& path)
    {
        return *vorn::ReadTiff(vorn::CInputFile::Open(path), {std::uint64_t{1} << 40, "the test's limit"}, m_progress);
    }

    vorn::CProgress m_progress{stderr, false, std::chrono::milliseconds(0)};
};

// A pixel value that uses the whole width of the type and differs between
// neighbours, rows and pages.
std::uint64_t Pattern(int x, int y, int z, int bits)
{
    const std::uint64_t v = std::uint64_t(x) * 2654435761u + std::uint64_t(y) * 40503u + std::uint64_t(z) * 977u + 3;
    return v & ((std::uint64_t{1} << bits) - 1);
}

std::vector<RawPage> PatternPages(int bits, std::uint32_t width, std::uint32_t height, int depth)
{
    std::vector<RawPage> pages;
    for (int z = 0; z < depth; ++z)
        pages.push_back(MakePage(bits, width, height, [z, bits](int x, int y) { return Pattern(x, y, z, bits); }));
    return pages;
}
} // namespace

// Every pixel type as a page or a stack, in strips whose last one is short or
// in tiles that are partial at both edges, uncompressed and compressed, is
// read pixel by pixel, and the tool's own writing of it (several strips per
// page) reads back with libtiff as the same pages.
TEST_F(VornTiff, ReadsEachPixelTypeLayoutAndCompressionAndWritesItBack)
{
    const std::tuple<int, int, std::uint16_t, std::uint32_t> cases[] = {// bits, pages, compression, tile edge
        {8, 1, COMPRESSION_NONE, 0},       {16, 5, COMPRESSION_NONE, 0},  {32, 1, COMPRESSION_NONE, 0},
        {8, 5, COMPRESSION_PACKBITS, 0},   {16, 1, COMPRESSION_LZW, 0},   {32, 3, COMPRESSION_ADOBE_DEFLATE, 0},
        {16, 3, COMPRESSION_ADOBE_DEFLATE, 16}, {32, 3, COMPRESSION_NONE, 16}};
    const TOLX::IImage::CType* types[] = {&TOLX::IMAGE_GREY_8, &TOLX::IMAGE_GREY_16, nullptr, &TOLX::IMAGE_GREY_32};
    for (const auto& [bits, depth, compression, tile] : cases)
    {
        SCOPED_TRACE(std::to_string(bits) + "-bit, compression " + std::to_string(compression) + ", tile " +
                     std::to_string(tile));
        std::vector<RawPage> pages = PatternPages(bits, 40, 300, depth);
        for (RawPage& page : pages)
            std::tie(page.compression, page.tile, page.rowsPerStrip) = std::make_tuple(compression, tile, 7);
        ASSERT_TRUE(vorntest::WriteRawTiff(Path("p.tif"), pages));
        const TOLX::CImage image = Read(Path("p.tif"));
        EXPECT_TRUE(image.Type() == *types[bits / 8 - 1]);
        ASSERT_EQ(std::make_tuple(image.Width(), image.Height(), image.Depth()), std::make_tuple(40, 300, depth));
        int wrong = 0;
        for (int i = 0; i < 40 * 300 * depth; ++i)
            wrong += image.GetPixel(i % 40, i / 40 % 300, i / 12000) != Pattern(i % 40, i / 40 % 300, i / 12000, bits);
        EXPECT_EQ(wrong, 0);

        vorn::WriteTiff(Path("w.tif"), image, m_progress);
        const std::vector<RawPage> written = vorntest::ReadRawTiff(Path("w.tif"));
        ASSERT_EQ(written.size(), std::size_t(depth));
        for (std::size_t z = 0; z < written.size(); ++z)
        {
            const RawPage& page = written[z];
            EXPECT_EQ(std::make_tuple(page.width, page.height, page.bits, page.samples, page.format),
                      std::make_tuple(40u, 300u, std::uint16_t(bits), std::uint16_t(1), std::uint16_t(SAMPLEFORMAT_UINT)));
            EXPECT_TRUE(page.bytes == pages[z].bytes) << "page " << z;
        }
    }

    // Zeros compress about as far as deflate can go: 4 MiB in one strip of a
    // few KiB must still be within the ratio the reader allows.
    RawPage zeros = MakePage(8, 4096, 1024, [](int, int) { return 0; });
    zeros.compression = COMPRESSION_ADOBE_DEFLATE;
    zeros.rowsPerStrip = 1024;
    ASSERT_TRUE(vorntest::WriteRawTiff(Path("zeros.tif"), {zeros}));
    const TOLX::CImage image = Read(Path("zeros.tif"));
    ASSERT_EQ(image.Width() * image.Height() * image.Depth(), 4096 * 1024);
    EXPECT_EQ(std::count(image.Data(), image.Data() + 4096 * 1024, 0), 4096 * 1024);
}

// What is no label image, what cannot be read and what declares more than its
// data can fill or the memory limit allows: one line naming the file and the
// page, thrown before the image is allocated, with libtiff silent.
TEST_F(VornTiff, RefusesBadFilesInOneQuietLine)
{
    RawPage grey = MakePage(8, 6, 4, [](int x, int) { return x; });
    RawPage floats = MakePage(32, 6, 4, [](int, int) { return 0x3f800000u; });
    floats.format = SAMPLEFORMAT_IEEEFP;
    RawPage rgb = grey;
    rgb.samples = 3;
    rgb.bytes.resize(rgb.bytes.size() * 3);
    RawPage signedPixels = MakePage(16, 6, 4, [](int, int) { return 1; });
    signedPixels.format = SAMPLEFORMAT_INT;
    RawPage bilevel = grey;
    bilevel.bits = 1;
    bilevel.bytes.assign(4, 0x80);
    const std::pair<std::string, std::vector<RawPage>> written[] = {
        {"float", {floats}}, {"rgb", {rgb}}, {"signed", {signedPixels}}, {"bilevel", {bilevel}},
        {"wider", {grey, grey, MakePage(8, 7, 4, [](int, int) { return 1; })}},
        {"deeper", {grey, MakePage(16, 6, 4, [](int, int) { return 1; })}},
        {"cut", PatternPages(16, 64, 64, 2)}};
    for (const auto& [name, pages] : written)
        ASSERT_TRUE(vorntest::WriteRawTiff(Path(name), pages));
    std::filesystem::resize_file(Path("cut"), std::filesystem::file_size(Path("cut")) - 4000); // in page 2
    std::ofstream(Path("text")) << "this is not an image\n";

    using vorntest::HandPage;
    // 4096 x 4096 zeros (16 MiB) in 256 KiB that every page of a long stack
    // shares.
    const std::string runs = vorntest::ZeroRuns(4096 * 4096);
    const HandPage packed{4096, 4096, 8, COMPRESSION_PACKBITS, 0, {{8, std::uint32_t(runs.size())}}};
    const HandPage huge16{1073807362u, 2147352580u, 16, COMPRESSION_NONE, 0, {{8, 64}}};
    const std::tuple<std::string, std::vector<HandPage>, std::string> made[] = {
        {"huge16", {huge16, huge16, huge16, huge16}, std::string(64, '\0')},
        // 100 bytes cannot inflate to 900 MB, whatever they hold.
        {"inflate", {{30000, 30000, 8, COMPRESSION_ADOBE_DEFLATE, 0, {{8, 100}}}}, std::string(100, 'x')},
        // Uncompressed strips that lie in the file but are too short.
        {"strips", {packed, {4096, 4096, 8, COMPRESSION_NONE, 2048, {{8, 1000}, {8, 1000}}}}, runs},
        {"stack", std::vector<HandPage>(100000, packed), runs},
        {"runs", {packed}, runs}};
    for (const auto& [name, pages, data] : made)
        std::ofstream(Path(name), std::ios::binary) << vorntest::HandMadeTiff(pages, data);
    // Without a tight limit the stack's pages pass one by one, but a file can
    // hold no more than 64 times its size in PackBits pages.
    const std::string lastPage = std::to_string(std::filesystem::file_size(Path("stack")) * 64 / (4096 * 4096) + 1);

    const std::string wanted = "; vorn reads one 8-, 16- or 32-bit unsigned integer per pixel";
    const std::string corrupt = " cannot be read: the file is truncated or corrupt";
    struct Case
    {
        std::string name, message;
        bool whole = true; // else libtiff's detail may follow
    };
    const Case cases[] = {
        {"float", "page 1 has floating-point pixels" + wanted},
        {"rgb", "page 1 has 3 samples per pixel (RGB or colour)" + wanted},
        {"signed", "page 1 has signed or complex pixels" + wanted},
        {"bilevel", "page 1 has 1-bit pixels" + wanted},
        {"wider", "page 3 is 7x4, page 1 is 6x4; all pages of a stack must have one size"},
        {"deeper", "page 2 has 16-bit pixels, page 1 has 8-bit pixels; all pages of a stack must have one pixel type"},
        {"text", "not a readable TIFF file", false},
        {"cut", "page 2" + corrupt, false},
        {"huge16", "page 1" + corrupt, false},
        {"inflate", "page 1" + corrupt, false},
        {"strips", "page 2" + corrupt, false},
        {"stack", "page " + lastPage + corrupt, false},
    };
    for (const Case& c : cases)
    {
        std::string message = "no error";
        const std::string printed = vorntest::CaptureStandardError([&] {
            try
            {
                Read(Path(c.name));
            }
            catch (const vorn::CToolError& error)
            {
                message = error.what();
            }
        });
        const std::string expected = "'" + Path(c.name) + "': " + c.message;
        EXPECT_EQ(c.whole ? message : message.substr(0, expected.size()), expected);
        EXPECT_EQ(message.find('\n'), std::string::npos) << message;
        EXPECT_EQ(printed, "") << c.name;
    }
    // The shared data itself is a valid page.
    const TOLX::CImage image = Read(Path("runs"));
    EXPECT_EQ(std::count(image.Data(), image.Data() + 4096 * 4096, 0), 4096 * 4096);
}
