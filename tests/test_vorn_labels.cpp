// End to end: `vorn analyze` on every kind of label file (signed, 64-bit,
// floating-point, 1-bit, hyperstacks, OME-TIFF), connected components, and
// every error line of reading labels and choosing pages.

#include "VornTiffFiles.h"
#include "VornTool.h"

#include <gtest/gtest.h>

#include <tuple>

using vorntest::MakePage;
using vorntest::RawPage;

namespace
{
class VornLabels : public vorntest::VornFilesTest
{
protected:
    // The objects the tool finds in the file of `pages`, as "2-D" or "3-D"
    // followed by " label:pixels" for each, from its CSV output.
    std::string Objects(const std::vector<RawPage>& pages, const std::string& options)
    {
        EXPECT_TRUE(vorntest::WriteRawTiff(Path("in.tif"), pages));
        const vorntest::ToolOutput run = vorntest::RunVorn(m_dir, "analyze --csv " + options + " " + Path("in.tif"));
        EXPECT_EQ(run.err, "");
        std::istringstream lines(run.out);
        std::string line;
        std::getline(lines, line);
        std::string objects = line.find("centroid_z") != std::string::npos ? "3-D" : "2-D";
        while (std::getline(lines, line))
        {
            const std::size_t first = line.find(','), second = line.find(',', first + 1);
            objects += " " + line.substr(0, first) + ":" + line.substr(first + 1, second - first - 1);
        }
        return objects;
    }
};

RawPage Page(int bits, std::uint32_t width, std::uint32_t height, std::function<std::uint64_t(int, int)> value,
             std::uint16_t format = SAMPLEFORMAT_UINT, std::string description = "")
{
    RawPage page = MakePage(width, height, bits, std::move(value), 1, format);
    page.description = std::move(description);
    return page;
}

// A page whose only object is pixel (x, 0) in `label`.
RawPage Dot(int x, std::uint64_t label, std::string description = "")
{
    return Page(8, 4, 2, [=](int px, int py) { return px == x && py == 0 ? label : 0; }, SAMPLEFORMAT_UINT,
                std::move(description));
}

// A 1-bit page of 10 x 2 pixels, (0, 0), (1, 0) and (9, 1) set.
RawPage Bilevel()
{
    RawPage page;
    std::tie(page.width, page.height, page.bits) = std::make_tuple(10u, 2u, std::uint16_t(1));
    page.bytes = {0xc0, 0x00, 0x00, 0x40};
    return page;
}

const std::string IMAGEJ_2x2 = "ImageJ=1.53t\nimages=4\nchannels=2\nslices=2\nhyperstack=true\n";
const std::string OME_ZTC = R"(<?xml version="1.0"?><OME><Image ID="Image:0"><Pixels DimensionOrder="XYZTC" )"
                            R"(SizeX="4" SizeY="2" SizeZ="1" SizeT="2" SizeC="2" Type="uint8"/></Image></OME>)";
} // namespace

// Labels of every sample type become objects in ascending label order; a
// hyperstack gives the slices of the chosen channel and frame (ImageJ: channel
// fastest; OME-TIFF in its own order); --connectivity numbers components in
// the order of their first pixel.
TEST_F(VornLabels, ReadsEveryKindOfLabelFile)
{
    // (1, 0); (0, 1) and (0, 2); (3, 2): a diagonal step joins the first two.
    const auto pieces = [](int x, int y) { return (x == 1 && y == 0) || (x == 0 && y > 0) || (x == 3 && y == 2) ? 255 : 0; };
    const std::tuple<std::vector<RawPage>, std::string, std::string> cases[] = {
        {{Page(16, 4, 3, [](int x, int y) { return x == 0 ? 5 : x == 3 && y < 2 ? 300 : 0; }, SAMPLEFORMAT_INT)}, "",
         "2-D 5:3 300:2"},
        {{Page(64, 3, 2, [](int x, int y) { return x + y == 0 ? 0x7fffffffffffffffu : x == 1 ? 1 : 0; })}, "",
         "2-D 1:2 9223372036854775807:1"},
        {{Page(32, 4, 3, [](int x, int y) { return vorntest::FloatBits(x < 2 ? 2.0f : x == 3 && y == 2 ? 7.0f : 0.0f); },
               SAMPLEFORMAT_IEEEFP)},
         "", "2-D 2:6 7:1"},
        {{Bilevel()}, "", "2-D 1:3"},
        {{Bilevel()}, "--connectivity 1", "2-D 1:2 2:1"},
        {{Page(8, 4, 3, pieces)}, "--connectivity 1", "2-D 1:1 2:2 3:1"},
        {{Page(8, 4, 3, pieces)}, "--connectivity 2", "2-D 1:3 2:1"},
        {{Dot(0, 7), Page(8, 4, 2, [](int x, int y) { return x == 1 && y == 1 ? 7 : 0; })}, "--connectivity 2", "3-D 1:1 2:1"},
        {{Dot(0, 7), Page(8, 4, 2, [](int x, int y) { return x == 1 && y == 1 ? 7 : 0; })}, "--connectivity 3", "3-D 1:2"},
        {{Dot(0, 1, IMAGEJ_2x2), Dot(1, 4), Dot(0, 1), Dot(2, 4)}, "--channel 2", "3-D 4:2"},
        {{Dot(0, 1, IMAGEJ_2x2), Dot(1, 4), Dot(0, 1), Dot(2, 4)}, "--channel 1", "3-D 1:2"},
        {{Dot(0, 1, OME_ZTC), Dot(0, 2), Dot(0, 3), Dot(0, 4)}, "--channel 2 --frame 1", "2-D 3:1"},
    };
    for (const auto& [pages, options, expected] : cases)
        EXPECT_EQ(Objects(pages, options), expected) << options;
}

// Bad labels name their first pixel; hyperstacks without a choice, or whose
// description does not fit the file, and bad options get one line each.
TEST_F(VornLabels, RefusesBadLabelsAndLayoutsInOneLine)
{
    const std::string labels = "; labels are integers from 0 to 9223372036854775807";
    const std::string imagej = "ImageJ=1.53t\nchannels=2\nslices=2\n";
    const std::tuple<std::string, std::vector<RawPage>, std::string, std::string, int> cases[] = {
        {"negative", {Page(16, 3, 1, [](int x, int) { return x == 1 ? 0xfffd : 0; }, SAMPLEFORMAT_INT)}, "",
         "pixel (1, 0) holds -3" + labels, 1},
        {"fraction3d", {Page(32, 2, 2, [](int, int) { return 0; }, SAMPLEFORMAT_IEEEFP),
                        Page(32, 2, 2, [](int x, int y) { return vorntest::FloatBits(x == 0 && y == 1 ? 0.5f : 0.0f); }, SAMPLEFORMAT_IEEEFP)},
         "", "pixel (0, 1, 1) holds 0.5" + labels, 1},
        {"huge", {Page(64, 2, 1, [](int x, int) { return x ? ~std::uint64_t{0} : 0; })}, "",
         "pixel (1, 0) holds 18446744073709551615" + labels, 1},
        {"unchosen", {Dot(0, 1, IMAGEJ_2x2), Dot(1, 4), Dot(0, 1), Dot(2, 4)}, "",
         "the ImageJ hyperstack has 2 channels, 2 slices and 1 frame; choose one with --channel C (1 to 2)", 2},
        {"beyond", {Dot(0, 1, OME_ZTC), Dot(0, 2), Dot(0, 3), Dot(0, 4)}, "--channel 1 --frame 3",
         "the OME-TIFF has 2 frames; --frame 3 is not one of them", 2},
        {"images", {Dot(0, 1, imagej + "images=6\n")}, "", "its description declares images=6, which is not channels x slices x frames (2 x 2 x 1)", 1},
        {"pages", {Dot(0, 1, imagej + "images=4\n"), Dot(0, 1)}, "--channel 1",
         "the ImageJ hyperstack declares 4 images (2 channels x 2 slices x 1 frame), the file has 2 pages", 1},
        {"order", {Dot(0, 1, R"(<OME><Pixels DimensionOrder="XYZ" SizeZ="1"/></OME>)")}, "",
         "its description declares the dimension order 'XYZ'; OME orders are XY and C, Z, T", 1},
        {"units", {Dot(0, 1, R"(<OME><Pixels DimensionOrder="XYZCT" PhysicalSizeX="1" PhysicalSizeXUnit="mm" )"
                              R"(PhysicalSizeY="1" PhysicalSizeYUnit="furlong"/></OME>)")},
         "", "its description gives the pixel size in 'mm' and 'furlong', which vorn cannot convert; give --spacing", 1},
        {"slices", {Dot(0, 1, "ImageJ=1.53t\nchannels=2\n")}, "",
         "the ImageJ hyperstack declares 2 channels and 1 frame but neither images= nor slices=", 1},
        {"count", {Dot(0, 1, "ImageJ=1.53t\nchannels=2.5\n")}, "", "its description declares channels='2.5', which is no count of pages", 1},
        {"layout", {Dot(0, 1, "ImageJ=1.53t\nchannels=100000\nslices=100000\n")}, "",
         "its description declares 100000 x 100000 x 1 images, more than a TIFF file holds", 1},
        {"spacing", {Dot(0, 1, "ImageJ=1.53t\nunit=um\nspacing=-1\n")}, "",
         "its description declares spacing='-1', which is no positive number", 1},
        {"stack", {Dot(0, 1), Dot(0, 1)}, "--spacing 1,2", " is a 3-D stack; --spacing needs X,Y,Z", 2},
        // 2^20 one-pixel objects of 384 bytes each (moment sums and results,
        // report, label) beside a 4 MiB image.
        {"many", {Page(32, 1024, 1024, [](int x, int y) { return y * 1024 + x + 1; })}, "--max-memory 200M",
         "1048576 objects need 384.0 MiB beside the image, more than the memory limit of 200.0 MiB (--max-memory) "
         "leaves for them", 1},
    };
    for (const auto& [name, pages, options, message, code] : cases)
    {
        ASSERT_TRUE(vorntest::WriteRawTiff(Path(name), pages));
        const vorntest::ToolOutput run = vorntest::RunVorn(m_dir, "analyze " + options + " " + Path(name));
        const std::string separator = message[0] == ' ' ? "" : ": ";
        EXPECT_EQ(std::make_tuple(run.code, run.err, run.out),
                  std::make_tuple(code, "vorn: '" + Path(name) + "'" + separator + message + "\n", ""));
    }

    const std::pair<std::string, std::string> usage[] = {
        {"--spacing 1,0", "--spacing '1,0': expected 2 or 3 positive numbers such as 0.2,0.2,0.5"},
        {"--channel 0", "--channel '0': expected a whole number from 1 to 1073741824"},
        {"--connectivity 4", "--connectivity '4': expected a whole number from 1 to 3"},
        {"--json --csv", "--json and --csv exclude each other"},
        {"--no-hull --paint x.tif", "--no-hull and --paint exclude each other (there are no hulls to paint)"},
        {"--unit=", "--unit needs a name"},
    };
    for (const auto& [options, message] : usage)
        EXPECT_EQ(vorntest::RunVorn(m_dir, "analyze " + options).err, "vorn: analyze: " + message + "\n");
}
