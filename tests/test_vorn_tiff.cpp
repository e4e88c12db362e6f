// The vorn tool's TIFF reader and writer, checked against files written and
// read with libtiff directly.

#include "CaptureStderr.h"
#include "MemoryBudget.h"
#include "Progress.h"
#include "TiffIO.h"
#include "ToolError.h"
#include "VornTiffFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <tuple>

using vorntest::RawPage;

namespace
{
class VornTiff : public ::testing::Test
{
protected:
    void SetUp() override
    {
        char pattern[] = "/tmp/vorn-tiff-XXXXXX";
        ASSERT_NE(mkdtemp(pattern), nullptr);
        m_dir = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(m_dir); }

    std::string Path(const std::string& name) const { return m_dir + "/" + name; }

    TOLX::CImage Read(const std::string& path, std::uint64_t limit = std::uint64_t{1} << 40)
    {
        return *vorn::ReadTiff(vorn::CInputFile::Open(path), {limit, "the test's limit"}, m_progress);
    }

    // The message of the CToolError that reading `path` throws, and what was
    // written to standard error meanwhile (libtiff must stay silent).
    std::pair<std::string, std::string> ReadFailure(const std::string& path, std::uint64_t limit = std::uint64_t{1} << 40)
    {
        std::string message = "no error";
        const std::string printed = vorntest::CaptureStandardError([&] {
            try
            {
                Read(path, limit);
            }
            catch (const vorn::CToolError& error)
            {
                message = error.what();
            }
        });
        return {message, printed};
    }

    std::string m_dir;
    vorn::CProgress m_progress{stderr, false, std::chrono::milliseconds(0)};
};

// A file name as messages show it.
std::string Named(const std::string& path) { return "'" + path + "'"; }

// A pixel value that uses the whole width of the type and differs between
// neighbours, rows and pages.
std::uint64_t Pattern(int x, int y, int z, int bits)
{
    const std::uint64_t v = std::uint64_t(x) * 2654435761u + std::uint64_t(y) * 40503u + std::uint64_t(z) * 977u + 3;
    return bits == 32 ? v & 0xffffffffu : v & ((std::uint64_t{1} << bits) - 1);
}

std::vector<RawPage> PatternPages(int bits, std::uint32_t width, std::uint32_t height, int depth)
{
    std::vector<RawPage> pages;
    for (int z = 0; z < depth; ++z)
        pages.push_back(vorntest::MakePage(bits, width, height, [z, bits](int x, int y) { return Pattern(x, y, z, bits); }));
    return pages;
}

void ExpectPattern(const TOLX::CImage& image, int width, int height, int depth, int bits)
{
    ASSERT_EQ(image.Width(), width);
    ASSERT_EQ(image.Height(), height);
    ASSERT_EQ(image.Depth(), depth);
    int wrong = 0;
    for (int z = 0; z < depth; ++z)
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                wrong += image.GetPixel(x, y, z) != Pattern(x, y, z, bits);
    EXPECT_EQ(wrong, 0);
}

// Points the first strip of a little-endian classic TIFF's first page at
// `offset`, as a damaged file might.
void MoveFirstStrip(const std::string& path, std::uint32_t offset)
{
    std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
    std::uint32_t directory = 0;
    file.seekg(4);
    file.read(reinterpret_cast<char*>(&directory), 4);
    std::uint16_t entries = 0;
    file.seekg(directory);
    file.read(reinterpret_cast<char*>(&entries), 2);
    for (std::uint16_t i = 0; i < entries; ++i)
    {
        const std::streamoff entry = directory + 2 + 12 * i;
        std::uint16_t tag = 0;
        file.seekg(entry);
        file.read(reinterpret_cast<char*>(&tag), 2);
        if (tag == TIFFTAG_STRIPOFFSETS)
        {
            file.seekp(entry + 8);
            file.write(reinterpret_cast<const char*>(&offset), 4);
        }
    }
}
} // namespace

TEST_F(VornTiff, ReadsEachPixelTypeAsPageOrStack)
{
    const std::pair<int, const TOLX::IImage::CType*> types[] = {
        {8, &TOLX::IMAGE_GREY_8}, {16, &TOLX::IMAGE_GREY_16}, {32, &TOLX::IMAGE_GREY_32}};
    for (const auto& [bits, type] : types)
        for (const int depth : {1, 5})
        {
            SCOPED_TRACE(std::to_string(bits) + "-bit, " + std::to_string(depth) + " pages");
            std::vector<RawPage> pages = PatternPages(bits, 13, 7, depth);
            for (RawPage& page : pages)
                page.rowsPerStrip = 3; // the last strip is short
            ASSERT_TRUE(vorntest::WriteRawTiff(Path("p.tif"), pages));
            const TOLX::CImage image = Read(Path("p.tif"));
            EXPECT_TRUE(image.Type() == *type);
            ExpectPattern(image, 13, 7, depth, bits);
        }
}

TEST_F(VornTiff, ReadsTiledAndCompressedPages)
{
    // Compression and tile edge (0: strips of 4 rows); tiles are partial at
    // both edges.
    const std::pair<std::uint16_t, std::uint32_t> layouts[] = {{COMPRESSION_NONE, 16},
                                                               {COMPRESSION_ADOBE_DEFLATE, 16},
                                                               {COMPRESSION_LZW, 0},
                                                               {COMPRESSION_ADOBE_DEFLATE, 0},
                                                               {COMPRESSION_PACKBITS, 0}};
    for (const auto& [compression, tile] : layouts)
    {
        SCOPED_TRACE("compression " + std::to_string(compression) + ", tile " + std::to_string(tile));
        std::vector<RawPage> pages = PatternPages(32, 40, 20, 3);
        for (RawPage& page : pages)
        {
            page.compression = compression;
            page.tile = tile;
            page.rowsPerStrip = 4;
        }
        ASSERT_TRUE(vorntest::WriteRawTiff(Path("c.tif"), pages));
        ExpectPattern(Read(Path("c.tif")), 40, 20, 3, 32);
    }

    // Zeros compress about as far as deflate can go: 4 MiB in one strip of a
    // few KiB must still be within the ratio the reader allows.
    RawPage zeros = vorntest::MakePage<std::uint8_t>(4096, 1024, [](int, int) { return 0; });
    zeros.compression = COMPRESSION_ADOBE_DEFLATE;
    zeros.rowsPerStrip = 1024;
    ASSERT_TRUE(vorntest::WriteRawTiff(Path("zeros.tif"), {zeros}));
    const TOLX::CImage image = Read(Path("zeros.tif"));
    ASSERT_EQ(image.Width() * image.Height() * image.Depth(), 4096 * 1024);
    EXPECT_EQ(std::count(image.Data(), image.Data() + 4096 * 1024, 0), 4096 * 1024);
}

TEST_F(VornTiff, WritesPagesThatLibtiffReadsBack)
{
    const TOLX::IImage::CType* types[] = {&TOLX::IMAGE_GREY_8, &TOLX::IMAGE_GREY_16, &TOLX::IMAGE_GREY_32};
    for (const TOLX::IImage::CType* type : types)
        for (const int depth : {1, 4})
        {
            const int bits = 8 * type->BytesPerPixel();
            SCOPED_TRACE(std::to_string(bits) + "-bit, " + std::to_string(depth) + " pages");
            TOLX::CImage image(*type, TOLX::CSize(11, 300, depth)); // several strips per page
            for (int z = 0; z < depth; ++z)
                for (int y = 0; y < 300; ++y)
                    for (int x = 0; x < 11; ++x)
                        image.SetPixel(x, y, z, Pattern(x, y, z, bits));
            const std::string path = Path("w.tif");
            vorn::WriteTiff(path, image, m_progress);

            const std::vector<RawPage> pages = vorntest::ReadRawTiff(path), expected = PatternPages(bits, 11, 300, depth);
            ASSERT_EQ(pages.size(), std::size_t(depth));
            for (std::size_t z = 0; z < pages.size(); ++z)
            {
                const RawPage& page = pages[z];
                EXPECT_EQ(std::make_tuple(page.width, page.height, page.bits, page.samples, page.format),
                          std::make_tuple(11u, 300u, std::uint16_t(bits), std::uint16_t(1), std::uint16_t(SAMPLEFORMAT_UINT)));
                EXPECT_TRUE(page.bytes == expected[z].bytes) << "page " << z;
            }
        }
}

TEST_F(VornTiff, RefusesWhatIsNoLabelImageInOneQuietLine)
{
    const std::string wanted = "; vorn reads one 8-, 16- or 32-bit unsigned integer per pixel";

    RawPage grey = vorntest::MakePage<std::uint8_t>(6, 4, [](int x, int) { return x; });
    RawPage floats = vorntest::MakePage<std::uint32_t>(6, 4, [](int, int) { return 0x3f800000u; });
    floats.format = SAMPLEFORMAT_IEEEFP;
    RawPage rgb = grey;
    rgb.samples = 3;
    rgb.bytes.resize(rgb.bytes.size() * 3);
    RawPage signedPixels = vorntest::MakePage<std::uint16_t>(6, 4, [](int, int) { return 1; });
    signedPixels.format = SAMPLEFORMAT_INT;
    RawPage bilevel = grey;
    bilevel.bits = 1;
    bilevel.bytes.assign(4, 0x80);
    RawPage wider = vorntest::MakePage<std::uint8_t>(7, 4, [](int, int) { return 1; });
    RawPage deeper = vorntest::MakePage<std::uint16_t>(6, 4, [](int, int) { return 1; });

    const std::pair<std::vector<RawPage>, std::string> cases[] = {
        {{floats}, "page 1 has floating-point pixels" + wanted},
        {{rgb}, "page 1 has 3 samples per pixel (RGB or colour)" + wanted},
        {{signedPixels}, "page 1 has signed or complex pixels" + wanted},
        {{bilevel}, "page 1 has 1-bit pixels" + wanted},
        {{grey, grey, wider}, "page 3 is 7x4, page 1 is 6x4; all pages of a stack must have one size"},
        {{grey, deeper}, "page 2 has 16-bit pixels, page 1 has 8-bit pixels; all pages of a stack must have one pixel type"},
    };
    for (const auto& c : cases)
    {
        const std::string path = Path("bad.tif");
        ASSERT_TRUE(vorntest::WriteRawTiff(path, c.first));
        EXPECT_EQ(ReadFailure(path), std::make_pair(Named(path) + ": " + c.second, std::string()));
    }
}

TEST_F(VornTiff, UnreadableFilesFailInOneQuietLine)
{
    const std::string missing = Path("missing.tif");
    EXPECT_EQ(ReadFailure(missing), std::make_pair(Named(missing) + ": cannot open: No such file or directory", std::string()));

    const std::string text = Path("text.tif");
    std::ofstream(text) << "this is not an image\n";
    const auto [notTiff, notTiffPrinted] = ReadFailure(text);
    EXPECT_EQ(notTiff.rfind(Named(text) + ": not a readable TIFF file", 0), 0u) << notTiff;
    EXPECT_EQ(notTiffPrinted, "");

    // A two-page file cut in its second page, then pixels that lie beyond the
    // end of the file, then a file cut inside its header.
    const std::string cut = Path("cut.tif");
    ASSERT_TRUE(vorntest::WriteRawTiff(cut, PatternPages(16, 64, 64, 2)));
    std::filesystem::resize_file(cut, std::filesystem::file_size(cut) - 4000);
    const std::string stray = Path("stray.tif");
    std::vector<RawPage> onePage = PatternPages(8, 64, 64, 1);
    onePage[0].rowsPerStrip = 64;
    ASSERT_TRUE(vorntest::WriteRawTiff(stray, onePage));
    MoveFirstStrip(stray, static_cast<std::uint32_t>(std::filesystem::file_size(stray)) - 100);
    const std::string header = Path("header.tif");
    ASSERT_TRUE(vorntest::WriteRawTiff(header, onePage));
    std::filesystem::resize_file(header, 6);

    const std::pair<std::string, std::string> cases[] = {
        {cut, Named(cut) + ": page 2 cannot be read: the file is truncated or corrupt"},
        {stray, Named(stray) + ": page 1 cannot be read: the file is truncated or corrupt"},
        {header, Named(header) + ": not a readable TIFF file"},
    };
    for (const auto& c : cases)
    {
        const auto [message, printed] = ReadFailure(c.first);
        EXPECT_EQ(message.rfind(c.second, 0), 0u) << message;
        EXPECT_EQ(message.find('\n'), std::string::npos) << message;
        EXPECT_EQ(printed, "");
    }
}

TEST_F(VornTiff, DeclaredSizesAreCheckedAgainstTheFileBeforeAllocating)
{
    using vorntest::HandPage;
    const std::string corrupt = "cannot be read: the file is truncated or corrupt";
    // 4096 x 4096 zeros (16 MiB) in 256 KiB that every page of a long stack
    // shares.
    const std::string runs = vorntest::ZeroRuns(4096 * 4096);
    const HandPage packed{4096, 4096, 8, COMPRESSION_PACKBITS, 0, {{8, std::uint32_t(runs.size())}}};
    const HandPage huge16{1073807362u, 2147352580u, 16, COMPRESSION_NONE, 0, {{8, 64}}};
    struct Case
    {
        std::string name;
        std::vector<HandPage> pages;
        std::string data;
        std::uint64_t limit;
        std::string message; // the start of it, after the file name
    } cases[] = {
        {"huge16.tif", {huge16, huge16, huge16, huge16}, std::string(64, '\0'), std::uint64_t{1} << 40, "page 1 " + corrupt},
        // 100 bytes cannot inflate to 900 MB, whatever they hold.
        {"inflate.tif", {{30000, 30000, 8, COMPRESSION_ADOBE_DEFLATE, 0, {{8, 100}}}}, std::string(100, 'x'),
         std::uint64_t{1} << 40, "page 1 " + corrupt},
        // Uncompressed strips that lie in the file but are too short.
        {"strips.tif", {packed, {4096, 4096, 8, COMPRESSION_NONE, 2048, {{8, 1000}, {8, 1000}}}}, runs,
         std::uint64_t{1} << 40, "page 2 " + corrupt},
        // 16 MiB pages against 50 MiB: the fourth is one too many, whatever
        // follows.
        {"stack.tif", std::vector<HandPage>(100000, packed), runs, 50 << 20, "page 4 brings the image to "},
        // Without a tight limit: the pages pass one by one, but all of them
        // share 256 KiB, and a file of 10 MiB cannot hold more than 64 times
        // its size in PackBits pages.
        {"shared.tif", std::vector<HandPage>(100000, packed), runs, std::uint64_t{1} << 40, ""},
    };
    for (const Case& c : cases)
    {
        SCOPED_TRACE(c.name);
        const std::string path = Path(c.name);
        const std::string file = vorntest::HandMadeTiff(c.pages, c.data);
        std::ofstream(path, std::ios::binary) << file;
        const std::string expected =
            c.message.empty() ? "page " + std::to_string(file.size() * 64 / (4096 * 4096) + 1) + " " + corrupt : c.message;
        const auto [message, printed] = ReadFailure(path, c.limit);
        EXPECT_EQ(message.rfind(Named(path) + ": " + expected, 0), 0u) << message;
        EXPECT_EQ(message.find('\n'), std::string::npos) << message;
        EXPECT_EQ(printed, "");
    }
    // The shared data itself is a valid page.
    std::ofstream(Path("runs.tif"), std::ios::binary) << vorntest::HandMadeTiff({packed}, runs);
    const TOLX::CImage image = Read(Path("runs.tif"));
    EXPECT_EQ(std::count(image.Data(), image.Data() + 4096 * 4096, 0), 4096 * 4096);
}
