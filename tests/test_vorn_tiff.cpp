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
    vorn::RawImage Read(const std::string& name)
    {
        return vorn::ReadTiff(vorn::CInputFile::Open(Path(name)), {}, {std::uint64_t{1} << 40, "the test's limit"}, m_progress);
    }

    vorn::CProgress m_progress{stderr, false, std::chrono::milliseconds(0)};
};

// Pages whose pixel values use the whole width of the type and differ between
// neighbours, rows and pages, laid out as MakePage's further arguments say.
template <class... Layout>
std::vector<RawPage> PatternPages(int depth, std::uint32_t width, std::uint32_t height, int bits, Layout... layout)
{
    std::vector<RawPage> pages;
    for (std::uint64_t z = 0; z < std::uint64_t(depth); ++z)
        pages.push_back(MakePage(
            width, height, bits, [z](int x, int y) { return x * 2654435761u + y * 40503u + z * 977u + 3; }, layout...));
    return pages;
}
} // namespace

// Every pixel type as a page or a stack, in strips whose last one is short or
// in tiles that are partial at both edges, uncompressed and compressed, is
// read byte for byte, and the tool's own writing of it (several strips per
// page) reads back with libtiff as the same pages, of the same pixel type.
TEST_F(VornTiff, ReadsEachPixelTypeLayoutAndCompressionAndWritesItBack)
{
    const std::tuple<int, int, std::uint16_t, std::uint32_t> cases[] = {// bits, pages, compression, tile edge
        {8, 1, COMPRESSION_NONE, 0},       {16, 5, COMPRESSION_NONE, 0},  {32, 1, COMPRESSION_NONE, 0},
        {8, 5, COMPRESSION_PACKBITS, 0},   {16, 1, COMPRESSION_LZW, 0},   {32, 3, COMPRESSION_ADOBE_DEFLATE, 0},
        {16, 3, COMPRESSION_ADOBE_DEFLATE, 16}, {32, 3, COMPRESSION_NONE, 16}};
    for (const auto& [bits, depth, compression, tile] : cases)
    {
        SCOPED_TRACE(testing::Message() << bits << "-bit, compression " << compression << ", tile " << tile);
        const std::vector<RawPage> pages = PatternPages(depth, 40, 300, bits, 1, SAMPLEFORMAT_UINT, compression, 7, tile);
        ASSERT_TRUE(vorntest::WriteRawTiff(Path("p.tif"), pages));
        const vorn::RawImage raw = Read("p.tif");
        ASSERT_EQ(std::make_tuple(raw.width, raw.height, raw.depth, raw.bytes), std::make_tuple(40, 300, depth, bits / 8));
        // Written back as an index image whose every index is its own label.
        const std::int64_t bytes = bits / 8;
        const TOLX::CImage image(bits == 8 ? TOLX::IMAGE_GREY_8 : bits == 16 ? TOLX::IMAGE_GREY_16 : TOLX::IMAGE_GREY_32,
                                 TOLX::CSize(40, 300, depth), raw.pixels.get(), TOLX::CPos(bytes, 40 * bytes, 12000 * bytes));
        const std::vector<std::int64_t> ownLabels;
        vorn::WriteTiff(Path("w.tif"), image, {vorn::EnSampleKind::UNSIGNED, bits / 8, &ownLabels}, m_progress);
        const std::vector<RawPage> written = vorntest::ReadRawTiff(Path("w.tif"));
        ASSERT_EQ(written.size(), std::size_t(depth));
        for (int z = 0; z < depth; ++z)
        {
            const RawPage &page = written[z], &expected = pages[z];
            EXPECT_EQ(std::memcmp(image.Data() + z * image.Step().Z(), expected.bytes.data(), expected.bytes.size()), 0);
            EXPECT_EQ(std::tie(page.width, page.height, page.bits, page.samples, page.format, page.bytes),
                      std::tie(expected.width, expected.height, expected.bits, expected.samples, expected.format, expected.bytes));
        }
    }

    // Zeros compress about as far as deflate can go: 4 MiB in one strip of a
    // few KiB must still be within the ratio the reader allows.
    const RawPage zeros = MakePage(4096, 1024, 8, [](int, int) { return 0; }, 1, SAMPLEFORMAT_UINT, COMPRESSION_ADOBE_DEFLATE, 1024);
    ASSERT_TRUE(vorntest::WriteRawTiff(Path("zeros.tif"), {zeros}));
    const vorn::RawImage zeroImage = Read("zeros.tif");
    EXPECT_EQ(std::count(zeroImage.pixels.get(), zeroImage.pixels.get() + zeroImage.PixelCount(), 0), 4096 * 1024);
}

// What is no label image, what cannot be read and what declares more than its
// data can fill or the memory limit allows: one line naming the file and the
// page, thrown before the image is allocated, with libtiff silent.
TEST_F(VornTiff, RefusesBadFilesInOneQuietLine)
{
    const auto one = [](int, int) { return 1; };
    const RawPage grey = MakePage(6, 4, 8, one);
    const std::pair<std::string, std::vector<RawPage>> written[] = {
        {"half", {MakePage(6, 4, 16, one, 1, SAMPLEFORMAT_IEEEFP)}}, {"rgb", {MakePage(6, 4, 8, one, 3)}},
        {"signed", {MakePage(6, 4, 1, one, 1, SAMPLEFORMAT_INT)}}, {"nibble", {MakePage(6, 4, 4, one)}},
        {"complex", {MakePage(6, 4, 32, one, 1, SAMPLEFORMAT_COMPLEXINT)}},
        {"wider", {grey, grey, MakePage(7, 4, 8, one)}}, {"deeper", {grey, MakePage(6, 4, 16, one)}},
        {"cut", PatternPages(2, 64, 64, 16)}};
    for (const auto& [name, pages] : written)
        ASSERT_TRUE(vorntest::WriteRawTiff(Path(name), pages));
    std::filesystem::resize_file(Path("cut"), std::filesystem::file_size(Path("cut")) - 4000); // in page 2
    std::ofstream(Path("text")) << "this is not an image\n";

    using vorntest::HandPage;
    const std::string runs = vorntest::ZeroRuns();
    const HandPage packed = vorntest::ZERO_RUNS_PAGE, huge16{1073807362u, 2147352580u, 16, COMPRESSION_NONE, 0, {{8, 64}}};
    const std::tuple<std::string, std::vector<HandPage>, std::string> made[] = {
        {"huge16", {huge16, huge16, huge16, huge16}, std::string(64, '\0')},
        // 134 bytes that declare a page of 46341 x 46341 pixels (2 GB).
        {"square", {{46341, 46341, 8, COMPRESSION_NONE, 46341, {{8, 12}}}}, std::string(12, '\0')},
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

    const std::string wanted = "; vorn reads one integer (1 to 64 bits) or floating-point (32 or 64 bits) sample per pixel";
    const std::string corrupt = " cannot be read: the file is truncated or corrupt";
    const std::tuple<std::string, std::string, bool> cases[] = {// file, message, whether libtiff's detail may follow
        {"half", "page 1 has 16-bit floating-point pixels" + wanted, false},
        {"rgb", "page 1 has 3 samples per pixel (RGB or colour)" + wanted, false},
        {"signed", "page 1 has 1-bit signed pixels" + wanted, false},
        {"nibble", "page 1 has 4-bit unsigned pixels" + wanted, false},
        {"complex", "page 1 has 32-bit complex or untyped pixels" + wanted, false},
        {"wider", "page 3 is 7x4, page 1 is 6x4; all pages of a stack must have one size", false},
        {"deeper", "page 2 has 16-bit unsigned pixels, page 1 has 8-bit unsigned pixels; all pages of a stack must have one "
                   "pixel type", false},
        {"text", "not a readable TIFF file", true},
        {"cut", "page 2" + corrupt, true},
        {"huge16", "page 1" + corrupt, true},
        {"square", "page 1" + corrupt, true},
        {"inflate", "page 1" + corrupt, true},
        {"strips", "page 2" + corrupt, true},
        {"stack", "page " + lastPage + corrupt, true}};
    for (const auto& [name, message, detail] : cases)
    {
        std::pair<std::string, int> error;
        const std::string printed =
            vorntest::CaptureStandardError([&, name = name] { error = vorntest::ToolErrorOf([&] { Read(name); }); });
        const std::string expected = "'" + Path(name) + "': " + message;
        EXPECT_EQ(detail ? error.first.substr(0, expected.size()) : error.first, expected);
        EXPECT_EQ(std::make_tuple(error.first.find('\n'), error.second, printed), std::make_tuple(std::string::npos, 1, ""))
            << name;
    }
    // The shared data itself is a valid page.
    const vorn::RawImage image = Read("runs");
    EXPECT_EQ(std::count(image.pixels.get(), image.pixels.get() + 4096 * 4096, 0), 4096 * 4096);
}
