// The analysis behind `vorn analyze`: per-object moments, hulls, solidity and
// painting, checked against closed forms and brute-force counts.

#include "Analysis.h"
#include "Progress.h"
#include "SampleVolume.h"
#include "ToolError.h"

#include "VornNumeric.h"

#include <gtest/gtest.h>

#include <cmath>
#include <array>
#include <cstdio>
#include <functional>
#include <tuple>

using vorn::ObjectReport;

namespace
{
vorn::CProgress Quiet() { return vorn::CProgress(stderr, false, std::chrono::milliseconds(0)); }

const ObjectReport& Object(const vorn::AnalysisReport& report, std::int64_t label)
{
    for (const ObjectReport& object : report.objects)
        if (object.label == label)
            return object;
    throw std::out_of_range("no object " + std::to_string(label));
}

double Dot(const TOLX::CTriple<double>& a, double x, double y, double z) { return a.x * x + a.y * y + a.z * z; }

void Fill(TOLX::CImage& image, int x0, int y0, int x1, int y1, std::uint64_t label)
{
    for (int y = y0; y <= y1; ++y)
        for (int x = x0; x <= x1; ++x)
            image.SetPixel(x, y, 0, label);
}
} // namespace

TEST(VornAnalysis, SampleVolumeShapes)
{
    vorn::CProgress progress = Quiet();
    TOLX::CImage volume = vorn::MakeSampleVolume(64); // every length halved
    const vorn::AnalysisReport report = vorn::Analyze(volume, progress);
    EXPECT_EQ(report.dimension, 3);
    EXPECT_EQ(report.labels, 6);
    ASSERT_EQ(report.objects.size(), 5u);

    // Ball of radius 11 about (17, 17, 17): symmetric, so the centre is exact.
    const ObjectReport& ball = Object(report, vorn::SAMPLE_BALL);
    EXPECT_NEAR(double(ball.pixels), 4.0 / 3.0 * M_PI * 11 * 11 * 11, 0.03 * 5575);
    EXPECT_EQ(std::make_tuple(ball.centre.x, ball.centre.y, ball.centre.z), std::make_tuple(17.0, 17.0, 17.0));
    EXPECT_NEAR(ball.principalMoments[0], ball.principalMoments[2], 1e-12);
    EXPECT_GT(ball.Solidity(), 0.97);

    // The ellipsoid's long axis is its frame's first axis, rotated 30° about z
    // and then 20° about x.
    const double c30 = std::cos(M_PI / 6), s30 = std::sin(M_PI / 6), c20 = std::cos(M_PI / 9), s20 = std::sin(M_PI / 9);
    const ObjectReport& ellipsoid = Object(report, vorn::SAMPLE_ELLIPSOID);
    EXPECT_GT(std::fabs(Dot(ellipsoid.mainAxis, c30, c20 * s30, s20 * s30)), 0.995);
    EXPECT_GT(ellipsoid.principalMoments[0], ellipsoid.principalMoments[1]);
    EXPECT_GT(ellipsoid.principalMoments[1], ellipsoid.principalMoments[2]);

    const double c25 = std::cos(25 * M_PI / 180), s25 = std::sin(25 * M_PI / 180);
    const double c35 = std::cos(35 * M_PI / 180), s35 = std::sin(35 * M_PI / 180);
    const ObjectReport& box = Object(report, vorn::SAMPLE_BOX);
    EXPECT_GT(std::fabs(Dot(box.mainAxis, c25, c35 * s25, s35 * s25)), 0.99);
    EXPECT_GT(box.Solidity(), 0.9);

    // Torus R = 11, r = 4 in a hull of about π(R + r)²·2r: clearly not convex.
    const ObjectReport& torus = Object(report, vorn::SAMPLE_TORUS);
    EXPECT_NEAR(double(torus.pixels), 2 * M_PI * M_PI * 11 * 4 * 4, 0.05 * 3474);
    EXPECT_GT(torus.Solidity(), 0.5);
    EXPECT_LT(torus.Solidity(), 0.8);
    EXPECT_NEAR(std::fabs(torus.mainAxis.z), 0.0, 1e-9); // any direction in the torus's plane

    const ObjectReport& needle = Object(report, vorn::SAMPLE_NEEDLE);
    EXPECT_EQ(needle.pixels, 11);
    EXPECT_FALSE(needle.hull.available);
    EXPECT_EQ(needle.hull.problem, "line");
    EXPECT_TRUE(std::isnan(needle.Solidity()));
}

TEST(VornAnalysis, PlaneObjectsAgainstClosedForms)
{
    vorn::CProgress progress = Quiet();
    TOLX::CImage image(TOLX::IMAGE_GREY_16, TOLX::CSize(20, 12, 1));
    Fill(image, 2, 1, 6, 3, 3);         // 5 x 3 rectangle
    Fill(image, 10, 5, 13, 5, 700);     // L: a row of 4 ...
    Fill(image, 10, 6, 10, 8, 700);     // ... and a column of 3 below its left end
    image.SetPixel(17, 10, 0, 9);       // two pixels: no hull in the plane
    image.SetPixel(18, 11, 0, 9);
    const vorn::AnalysisReport report = vorn::Analyze(image, progress);
    const TOLX::CImage& painted = image;

    EXPECT_EQ(report.dimension, 2);
    EXPECT_EQ(report.labels, 701);
    ASSERT_EQ(report.objects.size(), 3u); // ascending labels, empty labels left out
    EXPECT_EQ(std::make_tuple(report.objects[0].label, report.objects[1].label, report.objects[2].label),
              std::make_tuple(3, 9, 700));

    // Rectangle: variances (5² - 1)/12 = 2 and (3² - 1)/12 = 2/3 along x and y.
    const ObjectReport& rectangle = Object(report, 3);
    EXPECT_EQ(rectangle.pixels, 15);
    EXPECT_EQ(std::make_pair(rectangle.centre.x, rectangle.centre.y), std::make_pair(4.0, 2.0));
    ASSERT_EQ(rectangle.principalMoments.size(), 2u);
    EXPECT_NEAR(rectangle.principalMoments[0], 2.0, 1e-12);
    EXPECT_NEAR(rectangle.principalMoments[1], 2.0 / 3.0, 1e-12);
    EXPECT_NEAR(std::fabs(rectangle.mainAxis.x), 1.0, 1e-12);
    // Excentricity from the raw, uncentred sums.
    double m200 = 0, m020 = 0, m110 = 0;
    for (int y = 1; y <= 3; ++y)
        for (int x = 2; x <= 6; ++x)
            m200 += x * x, m020 += y * y, m110 += x * y;
    const double a = m200 + m020, r = std::sqrt(4 * m110 * m110 + (m200 - m020) * (m200 - m020));
    EXPECT_NEAR(rectangle.excentricity, (a + r) / (a - r), 1e-9 * (a + r) / (a - r));
    EXPECT_TRUE(rectangle.hull.available);
    EXPECT_EQ(rectangle.hull.facets, 4u);
    // The hull lists the vertices of its facets, and a start point that lies
    // on an edge stays a facet vertex: the 4 corners and at most the 2 other
    // row ends.
    EXPECT_GE(rectangle.hull.vertices, 4u);
    EXPECT_LE(rectangle.hull.vertices, 6u);
    EXPECT_EQ(rectangle.hull.paintedPixels, 15);
    EXPECT_DOUBLE_EQ(rectangle.Solidity(), 1.0);

    // L of 7 pixels; its hull is the triangle (10,5) (13,5) (10,8) holding the
    // 10 pixels with (x - 10) + (y - 5) <= 3.
    const ObjectReport& ell = Object(report, 700);
    EXPECT_EQ(ell.pixels, 7);
    EXPECT_EQ(ell.hull.facets, 3u);
    EXPECT_GE(ell.hull.vertices, 3u);
    EXPECT_LE(ell.hull.vertices, 5u);
    EXPECT_EQ(ell.hull.paintedPixels, 10);
    EXPECT_DOUBLE_EQ(ell.Solidity(), 0.7);

    const ObjectReport& pair = Object(report, 9);
    EXPECT_FALSE(pair.hull.available);
    EXPECT_EQ(pair.hull.problem, "line");

    // Painting: exactly the hull pixels carry their label.
    int wrong = 0;
    for (int y = 0; y < 12; ++y)
        for (int x = 0; x < 20; ++x)
        {
            const bool inRectangle = x >= 2 && x <= 6 && y >= 1 && y <= 3;
            const bool inTriangle = x >= 10 && y >= 5 && (x - 10) + (y - 5) <= 3;
            const std::uint64_t expected = inRectangle ? 3 : inTriangle ? 700 : 0;
            wrong += painted.GetPixel(x, y, 0) != expected;
        }
    EXPECT_EQ(wrong, 0);
}

// Objects whose pixels span less than the image's dimension, told apart
// exactly, beside objects that just reach it.
TEST(VornAnalysis, ObjectsThatSpanLessThanTheDimensionHaveNoHull)
{
    std::vector<std::array<int, 3>> diagonalPlane, tetrahedron;
    for (int z = 0; z < 4; ++z)
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 4; ++x)
                if (x + y + z == 4)
                    diagonalPlane.push_back({x, y, z});
    tetrahedron = diagonalPlane;
    tetrahedron.push_back({0, 0, 0});
    struct Case
    {
        int depth;
        std::vector<std::array<int, 3>> pixels;
        const char* problem; // empty: a hull
    };
    const Case cases[] = {
        {1, {{5, 5, 0}}, "point"},
        {1, {{1, 2, 0}, {2, 3, 0}, {3, 4, 0}, {4, 5, 0}}, "line"},
        {1, {{1, 1, 0}, {2, 1, 0}, {1, 2, 0}}, ""},
        {4, {{2, 2, 1}}, "point"},
        {4, {{1, 1, 0}, {3, 3, 3}}, "line"},
        {4, {{0, 0, 0}, {1, 1, 1}, {2, 2, 2}, {3, 3, 3}}, "line"},
        {4, diagonalPlane, "flat"},
        {4, tetrahedron, ""},
    };
    for (const Case& c : cases)
    {
        vorn::CProgress progress = Quiet();
        TOLX::CImage image(TOLX::IMAGE_GREY_8, TOLX::CSize(6, 6, c.depth));
        for (const auto& p : c.pixels)
            image.SetPixel(p[0], p[1], p[2], 7);
        const vorn::AnalysisReport report = vorn::Analyze(image, progress);
        ASSERT_EQ(report.objects.size(), 1u);
        EXPECT_EQ(report.objects[0].hull.problem, c.problem) << c.pixels.size() << " pixels, depth " << c.depth;
        EXPECT_EQ(report.objects[0].hull.available, *c.problem == '\0');
    }
}

// Far from the origin the hulls are those of the same objects near it, and
// the painted pixels are the lattice points of the true hull: a 5 x 4 x 3
// box, the pixels with x + y + z <= 4 (C(7, 3) = 35 of them, a tetrahedron),
// the L of the plane test (its triangle holds 10), and a 64 x 64 plate with
// one pixel off its plane, whose random start simplices are almost never
// independent.
TEST(VornAnalysis, HullsDoNotDependOnWhereObjectsLie)
{
    struct Case
    {
        int width, height, depth;
        std::function<bool(int, int, int)> inObject;
        std::size_t facets;
        std::int64_t painted;
    };
    const Case cases[] = {
        {6, 5, 4, [](int x, int y, int z) { return x < 5 && y < 4 && z < 3; }, 6, 60},
        {6, 5, 6, [](int x, int y, int z) { return x + y + z <= 4; }, 4, 35},
        {5, 5, 1, [](int x, int y, int) { return (y == 0 && x < 4) || (x == 0 && y < 4); }, 3, 10},
        {2, 64, 64, [](int x, int y, int z) { return x == 0 || (y == 20 && z == 30); }, 5, 4097},
    };
    for (const Case& c : cases)
    {
        std::vector<vorn::HullReport> hulls;
        for (const int offset : {0, c.depth > 1 ? 25000 : 40000})
        {
            vorn::CProgress progress = Quiet();
            TOLX::CImage image(TOLX::IMAGE_GREY_8, TOLX::CSize(offset + c.width, c.height, c.depth));
            for (int z = 0; z < c.depth; ++z)
                for (int y = 0; y < c.height; ++y)
                    for (int x = 0; x < c.width; ++x)
                        if (c.inObject(x, y, z))
                            image.SetPixel(offset + x, y, z, 1);
            TOLX::SeedRand15(1); // the same start simplex at both places
            const vorn::AnalysisReport report = vorn::Analyze(image, progress);
            ASSERT_EQ(report.objects.size(), 1u);
            hulls.push_back(report.objects[0].hull);
            SCOPED_TRACE("offset " + std::to_string(offset) + ", " + std::to_string(report.objects[0].pixels) + " pixels");
            ASSERT_TRUE(hulls.back().available) << hulls.back().problem;
            EXPECT_EQ(hulls.back().facets, c.facets);
            EXPECT_EQ(hulls.back().paintedPixels, c.painted);
        }
        EXPECT_EQ(hulls[0].vertices, hulls[1].vertices);
    }
}

TEST(VornAnalysis, MomentMapsAreTheObjectsOwn)
{
    vorn::CProgress progress = Quiet();
    TOLX::CImage image(TOLX::IMAGE_GREY_8, TOLX::CSize(8, 8, 3));
    for (int z = 0; z < 3; ++z)
        for (int y = 2; y < 5; ++y)
            for (int x = 1; x < 7; ++x)
                image.SetPixel(x, y, z, 4);
    const vorn::AnalysisReport report = vorn::Analyze(image, progress);
    ASSERT_EQ(report.objects.size(), 1u);
    const std::vector<TOLX::CValueMap> maps = vorn::ObjectMomentMaps(report);
    ASSERT_EQ(maps.size(), 1u);
    const TOLX::CValueMap& map = maps[0];
    // A 3-D CMoment map: 34 entries, without the "status" and "pixel" that the
    // per-label map adds.
    EXPECT_EQ(map.Size(), 34u);
    EXPECT_FALSE(map.HasEntry("status"));
    EXPECT_FALSE(map.HasEntry("pixel"));
    EXPECT_EQ(map.Keys().front().ToString(), "excentricity");
    EXPECT_EQ(map.Entry("total_mass")->Double(), 54.0);
    EXPECT_EQ(map.Entry("center_of_mass/x")->Double(), 3.5);
    EXPECT_EQ(map.Entry("center_of_mass/z")->Double(), 1.0);
}

TEST(VornAnalysis, TooManyLabelsIsAnInputError)
{
    vorn::CProgress progress = Quiet();
    TOLX::CImage image(TOLX::IMAGE_GREY_32, TOLX::CSize(2, 2, 1));
    image.SetPixel(1, 1, 0, vorn::MAX_LABELS);
    try
    {
        vorn::Analyze(image, progress);
        FAIL() << "no error";
    }
    catch (const vorn::CToolError& error)
    {
        EXPECT_STREQ(error.what(), "the largest label is 4194304; vorn handles labels up to 4194303");
        EXPECT_EQ(error.ExitCode(), 1);
    }
}

TEST(VornProgress, DrawsOnlyWhenEnabledAndWipesItsLine)
{
    for (const bool enabled : {false, true})
    {
        std::FILE* file = std::tmpfile();
        ASSERT_NE(file, nullptr);
        {
            vorn::CProgress progress(file, enabled, std::chrono::milliseconds(0));
            vorn::CProgressPass pass(progress, "hulls", 4);
            for (int done = 1; done <= 4; ++done)
                pass.Advance(done);
            pass.Advance(4); // unchanged: no redraw
        }
        std::rewind(file);
        std::string text;
        for (int c; (c = std::fgetc(file)) != EOF;)
            text += char(c);
        std::fclose(file);
        if (!enabled)
        {
            EXPECT_EQ(text, "");
            continue;
        }
        const std::string bar25 = "\rhulls    [#######.......................]  25.0%";
        const std::string bar100 = "\rhulls    [##############################] 100.0%";
        EXPECT_EQ(text.find(bar25), 0u) << text;
        EXPECT_NE(text.find(bar100), std::string::npos) << text;
        EXPECT_EQ(text.find(bar100), text.rfind(bar100)); // drawn once
        EXPECT_EQ(text.substr(text.size() - 52), "\r" + std::string(50, ' ') + "\r");
    }
}

TEST(VornProgress, WaitsForItsDelay)
{
    std::FILE* file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    {
        vorn::CProgress progress(file, true, std::chrono::hours(1));
        vorn::CProgressPass pass(progress, "moments", 10);
        for (int done = 1; done <= 10; ++done)
            pass.Advance(done);
    }
    EXPECT_EQ(std::ftell(file), 0L);
    std::fclose(file);
}
