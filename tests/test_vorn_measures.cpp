// End to end: the quantities of `vorn analyze` on shapes whose values are
// known by hand, in the units of every kind of calibration, as JSON and CSV.

#include "JsonReader.h"
#include "VornTiffFiles.h"
#include "VornTool.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <map>

#ifdef VORN_HAVE_PNG
#include <png.h>
#endif

using vorntest::JsonValue;
using vorntest::RawPage;

namespace
{
using Shape = std::function<bool(int, int, int)>;

// The pages of a width x height x depth 8-bit image whose pixels of the shape
// hold label 3.
std::vector<RawPage> Pages(int width, int height, int depth, const Shape& shape)
{
    std::vector<RawPage> pages;
    for (int z = 0; z < depth; ++z)
        pages.push_back(vorntest::MakePage(std::uint32_t(width), std::uint32_t(height), 8,
                                           [&](int x, int y) { return shape(x, y, z) ? 3 : 0; }));
    return pages;
}

class VornMeasures : public vorntest::VornFilesTest
{
protected:
    std::string Run(const std::vector<RawPage>& pages, const std::string& options)
    {
        EXPECT_TRUE(vorntest::WriteRawTiff(Path("in.tif"), pages));
        const vorntest::ToolOutput run = vorntest::RunVorn(m_dir, "analyze " + options + " " + Path("in.tif"));
        EXPECT_EQ(run.err, "");
        return run.out;
    }
};
} // namespace

// A 5 x 3 rectangle: variances (25 - 1) / 12 = 2 and (9 - 1) / 12 = 2/3,
// times the squared spacing 0.5 and 2: 1/2 and 8/3. A diamond |dx| + |dy| <= 2
// (13 pixels, sum of dx^2 14): its centres' hull has area 8, grown by the unit
// square 8 + 4 + 4 + 1 = 17. A 4 x 3 x 2 box: variances 5/4, 2/3, 1/4, so
// inertia trace - each, axes sqrt(20 * 5/4) = 5 and sqrt(20 / 4). The
// pixels with x + y + z <= 2 (10): the tetrahedron of legs 2 has volume 4/3,
// three faces of area 2 and one of 2 sqrt(3) that each add 3 when grown, plus
// 2 + 2 + 2 + 1: 43/3.
TEST_F(VornMeasures, ShapesGiveTheirHandDerivedValues)
{
    const double nan = std::nan("");
    struct Case
    {
        std::vector<RawPage> pages;
        std::string options;
        std::map<std::string, double> expected; // JSON key (array keys with their index) -> value
    };
    const Case cases[] = {
        {Pages(10, 6, 1, [](int x, int y, int) { return x >= 2 && x < 7 && y >= 1 && y < 4; }), "--spacing 0.5,2",
         {{"pixels", 15}, {"area", 15}, {"centroid0", 2}, {"centroid1", 4}, {"inertia_eigenvalues0", 8.0 / 3},
          {"inertia_eigenvalues1", 0.5}, {"major_axis", 4 * std::sqrt(8.0 / 3)}, {"minor_axis", 4 * std::sqrt(0.5)},
          {"eccentricity", std::sqrt(13.0) / 4}, {"main_axis0", 0}, {"main_axis1", 1}, {"planes", 4}, {"corners", 4},
          {"convex_area", 15}, {"solidity", 1}, {"painted_solidity", 1}}},
        {Pages(7, 7, 1, [](int x, int y, int) { return std::abs(x - 3) + std::abs(y - 3) <= 2; }), "",
         {{"pixels", 13}, {"inertia_eigenvalues0", 14.0 / 13}, {"inertia_eigenvalues1", 14.0 / 13}, {"eccentricity", 0},
          {"planes", 4}, {"corners", 4}, {"convex_area", 17}, {"solidity", 13.0 / 17}, {"painted_solidity", 1}}},
        {Pages(6, 5, 4, [](int x, int y, int z) { return x >= 1 && x < 5 && y >= 2 && y < 5 && z >= 1 && z < 3; }), "",
         {{"volume", 24}, {"centroid0", 2.5}, {"centroid1", 3}, {"centroid2", 1.5}, {"inertia_eigenvalues0", 23.0 / 12},
          {"inertia_eigenvalues1", 1.5}, {"inertia_eigenvalues2", 11.0 / 12}, {"major_axis", 5},
          {"minor_axis", std::sqrt(5.0)}, {"eccentricity", nan}, {"planes", 6}, {"corners", 8}, {"convex_volume", 24},
          {"solidity", 1}}},
        {Pages(4, 4, 4, [](int x, int y, int z) { return x + y + z <= 2; }), "",
         {{"pixels", 10}, {"centroid0", 0.5}, {"planes", 4}, {"corners", 4}, {"convex_volume", 43.0 / 3},
          {"solidity", 30.0 / 43}, {"painted_solidity", 1}}},
    };
    for (const Case& c : cases)
    {
        const JsonValue report = vorntest::ParseJson(Run(c.pages, "--json " + c.options));
        EXPECT_EQ(report["object_count"].number, 1);
        const JsonValue& object = report["objects"].items[0];
        for (const auto& [key, value] : c.expected)
        {
            const bool indexed = std::isdigit(static_cast<unsigned char>(key.back()));
            const std::string name = indexed ? key.substr(0, key.size() - 1) : key;
            const JsonValue& member = object.members.end() != std::find_if(object.members.begin(), object.members.end(),
                                                                           [&](const auto& m) { return m.first == name; })
                                          ? object[name]
                                          : object["hull"][name];
            const JsonValue& field = indexed ? member.items[std::size_t(key.back() - '0')] : member;
            if (std::isnan(value))
                EXPECT_EQ(field.kind, JsonValue::NUL) << key;
            else
                EXPECT_NEAR(field.number, value, 1e-12 * std::max(1.0, std::fabs(value))) << key << " " << c.options;
        }
    }
}

// The unit and spacing come from ImageJ's description and resolution tags,
// OME's PhysicalSize (converted to the x unit), TIFF resolution tags in
// centimetres, or --spacing and --unit; CSV names the unit in its header and
// writes numbers that read back as the JSON's.
TEST_F(VornMeasures, CalibrationFromEveryKindOfFileAndTheOptions)
{
    const auto calibrated = [](int depth, const std::string& description, float resolution, std::uint16_t unit) {
        std::vector<RawPage> pages = Pages(5, 4, depth, [](int x, int y, int) { return x < 3 && y < 2; });
        pages[0].description = description;
        pages[0].resolution = {resolution, resolution / 2};
        pages[0].resolutionUnit = unit;
        return pages;
    };
    const std::string ome = R"(<OME><Image><Pixels DimensionOrder="XYZCT" SizeZ="2" PhysicalSizeX="0.2" )"
                            R"(PhysicalSizeY="0.25" PhysicalSizeZ="500" PhysicalSizeZUnit="nm"/></Image></OME>)";
    const std::tuple<std::vector<RawPage>, std::string, std::string, std::vector<double>, std::string> cases[] = {
        {calibrated(1, "ImageJ=1.53t\nunit=micron\n", 2, RESUNIT_NONE), "", "µm", {0.5, 1}, "ImageJ"},
        {calibrated(2, "ImageJ=1.53t\nimages=2\nslices=2\nunit=nm\nspacing=3\n", 1, RESUNIT_NONE), "", "nm", {1, 2, 3}, "ImageJ"},
        {calibrated(2, ome, 0, RESUNIT_NONE), "", "µm", {0.2, 0.25, 0.5}, "OME"},
        {calibrated(1, "", 4, RESUNIT_CENTIMETER), "", "cm", {0.25, 0.5}, "TIFF resolution"},
        {calibrated(1, "", 4, RESUNIT_NONE), "", "pixel", {1, 1}, "none"},
        {calibrated(1, "ImageJ=1.53t\nunit=micron\n", 2, RESUNIT_NONE), "--spacing 3,0.1", "µm", {3, 0.1}, "--spacing"},
        {calibrated(1, "", 0, RESUNIT_NONE), "--spacing 3,0.1 --unit mm", "mm", {3, 0.1}, "--spacing"},
    };
    for (const auto& [pages, options, unit, spacing, origin] : cases)
    {
        const JsonValue report = vorntest::ParseJson(Run(pages, "--json " + options));
        EXPECT_EQ(std::make_tuple(report["unit"].text, report["spacing"].Numbers(), report["calibration"].text),
                  std::make_tuple(unit, spacing, origin));
        const double product = spacing[0] * spacing[1] * (spacing.size() > 2 ? spacing[2] : 1);
        const std::string measure = spacing.size() > 2 ? "volume" : "area";
        EXPECT_NEAR(report["objects"].items[0][measure].number, 6.0 * double(pages.size()) * product, 1e-12);

        std::istringstream csv(Run(pages, "--csv " + options));
        std::string header, row;
        std::getline(csv, header);
        std::getline(csv, row);
        EXPECT_NE(header.find("," + measure + " [" + unit + "^" + std::to_string(spacing.size()) + "],centroid_x [" + unit + "],"),
                  std::string::npos)
            << header;
        // Field 6 or 7: inertia_1, which no short decimal gives exactly.
        std::istringstream fields(row);
        std::string field;
        for (std::size_t i = 0; i <= 3 + spacing.size(); ++i)
            std::getline(fields, field, ',');
        EXPECT_EQ(std::strtod(field.c_str(), nullptr), report["objects"].items[0]["inertia_eigenvalues"].items[0].number);
    }
    EXPECT_EQ(vorntest::RunVorn(m_dir, "--version").out.compare(0, 5, "vorn "), 0);
}

// Painted hulls keep the input's labels and sample type: signed 16-bit here,
// one object a rectangle that its hull paints exactly.
TEST_F(VornMeasures, PaintKeepsTheInputsLabelsAndSampleType)
{
    const RawPage page = vorntest::MakePage(6, 4, 16, [](int x, int y) { return x < 2 ? 300 : x > 3 && y > 0 ? 5 : 0; },
                                            1, SAMPLEFORMAT_INT);
    Run({page}, "--paint " + Path("out.tif"));
    const std::vector<RawPage> painted = vorntest::ReadRawTiff(Path("out.tif"));
    ASSERT_EQ(painted.size(), 1u);
    EXPECT_EQ(std::make_tuple(painted[0].format, painted[0].bits), std::make_tuple(std::uint16_t(SAMPLEFORMAT_INT), std::uint16_t(16)));
    EXPECT_TRUE(painted[0].bytes == page.bytes);
    // Components are painted in the narrowest type that numbers them all.
    for (const auto& [count, bits] : {std::pair{255, 8}, {256, 16}})
    {
        Run({vorntest::MakePage(64, 16, 8, [&, count = count](int x, int y) { return x % 2 == 0 && y % 2 == 0 && y / 2 * 32 + x / 2 < count; })},
            "--connectivity 1 --paint " + Path("out.tif"));
        EXPECT_EQ(vorntest::ReadRawTiff(Path("out.tif")).at(0).bits, bits) << count;
    }
}

#ifdef VORN_HAVE_PNG
// A 16 x 8 image with a 3 x 3 square (label 7) and one pixel (label 9),
// drawn 8 times enlarged (512 / 16 = 32, at most 8): pixel x spans canvas
// 8x .. 8x + 7, its centre is at 8x + 4. The square's hull outline runs
// through the centres of its corner pixels (canvas 20 and 36), its label "7"
// (3 x 5 font, doubled, in a black box with a one-cell border) starts 2 to
// the right of the hull, centred on the centroid's row 28: box from (38, 21).
TEST_F(VornMeasures, OverlayDrawsObjectsOutlinesAndLabels)
{
    const auto label = [](int x, int y) { return x >= 2 && x <= 4 && y >= 2 && y <= 4 ? 7 : x == 12 && y == 5 ? 9 : 0; };
    ASSERT_TRUE(vorntest::WriteRawTiff(Path("in.tif"), {vorntest::MakePage(16, 8, 8, label)}));
    ASSERT_EQ(vorntest::RunVorn(m_dir, "analyze --overlay " + Path("o.png") + " " + Path("in.tif")).code, 0);
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    ASSERT_TRUE(png_image_begin_read_from_file(&image, Path("o.png").c_str()));
    image.format = PNG_FORMAT_RGB;
    std::vector<png_byte> rgb(PNG_IMAGE_SIZE(image));
    ASSERT_TRUE(png_image_finish_read(&image, nullptr, rgb.data(), 0, nullptr));
    ASSERT_EQ(std::make_pair(image.width, image.height), std::make_pair(128u, 64u));
    const auto at = [&](int x, int y) { return std::array<int, 3>{rgb[3 * (y * 128 + x)], rgb[3 * (y * 128 + x) + 1], rgb[3 * (y * 128 + x) + 2]}; };
    const std::array<int, 3> black{0, 0, 0}, white{255, 255, 255}, square = at(17, 17), dot = at(97, 41);
    for (const auto& fill : {square, dot})
        EXPECT_TRUE(fill != black && fill != white && at(0, 0) == black);
    EXPECT_NE(square, dot);
    EXPECT_EQ(at(17, 38), square); // filled pixel outside the centres' hull
    for (const auto& [x, y] : {std::pair{20, 22}, {36, 22}, {28, 20}, {100, 44}, {40, 23}, {44, 23}})
        EXPECT_EQ(at(x, y), white) << x << "," << y; // outlines, the one-pixel hull, the top bar of "7"
    for (const auto& [x, y] : {std::pair{38, 21}, {40, 25}})
        EXPECT_EQ(at(x, y), black) << x << "," << y; // the label's border, below the bar of "7"
}
#endif
