// The analysis behind `vorn analyze`: the built-in sample against closed
// forms, and hulls against exact lattice counts wherever objects lie. (The
// end-to-end test compares every object's numbers with direct library calls.)

#include "Analysis.h"
#include "Measures.h"
#include "PartialAnalysis.h"
#include "ToolError.h"
#include "CaptureStderr.h"
#include "Progress.h"
#include "SampleVolume.h"

#include "VornNumeric.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <functional>
#include <vector>
#include <tuple>

namespace
{
// The report on an index image of `objects` objects.
vorn::AnalysisReport Analyzed(TOLX::CImage& image, std::size_t objects)
{
    vorn::CProgress quiet(stderr, false, std::chrono::milliseconds(0));
    return vorn::Analyze(image, objects, {}, quiet);
}
} // namespace

TEST(VornAnalysis, SampleVolumeShapes)
{
    TOLX::CImage volume = vorn::MakeSampleVolume(64); // every length halved
    const vorn::AnalysisReport report = Analyzed(volume, 5); // its labels 1 to 5 are their own indices
    const auto measures = [&report](int label) { return vorn::Measure(report, std::size_t(label - 1), {}); };

    // Ball of radius 11 about (17, 17, 17): symmetric, so the centre is exact.
    const vorn::ObjectMeasures ball = measures(vorn::SAMPLE_BALL);
    EXPECT_NEAR(double(ball.pixels), 4.0 / 3.0 * M_PI * 11 * 11 * 11, 0.03 * 5575);
    EXPECT_EQ(ball.centroid, (std::array<double, 3>{17, 17, 17}));

    // The ellipsoid's long axis is its frame's first axis, rotated 30° about z
    // and then 20° about x.
    const double c30 = std::cos(M_PI / 6), s30 = std::sin(M_PI / 6), c20 = std::cos(M_PI / 9), s20 = std::sin(M_PI / 9);
    const std::array<double, 3> axis = measures(vorn::SAMPLE_ELLIPSOID).mainAxis;
    EXPECT_GT(std::fabs(axis[0] * c30 + axis[1] * c20 * s30 + axis[2] * s20 * s30), 0.995);

    // Torus R = 11, r = 4 in a hull of about π(R + r)²·2r: clearly not convex.
    const vorn::ObjectMeasures torus = measures(vorn::SAMPLE_TORUS);
    EXPECT_NEAR(double(torus.pixels), 2 * M_PI * M_PI * 11 * 4 * 4, 0.05 * 3474);
    EXPECT_NEAR(torus.paintedSolidity, 0.65, 0.15);

    EXPECT_TRUE(std::isnan(measures(vorn::SAMPLE_NEEDLE).paintedSolidity));
}

// Objects whose pixels span less than the image's dimension have no hull, told
// apart exactly from objects that just reach it. Far from the origin the
// hulls are those of the same objects near it, and the painted pixels are the
// lattice points of the true hull: a triangle of 3 pixels, the pixels with
// x + y + z <= 4 (C(7, 3) = 35 of them, a tetrahedron), the same from its
// slanted face and its apex, a 5 x 4 x 3 box, an L whose triangle holds 10,
// and a 64 x 64 plate with one pixel off its plane, whose random start
// simplices are almost never independent.
TEST(VornAnalysis, HullsOrWhyNoneWhereverObjectsLie)
{
    // Image size, the object, why it has no hull (empty: it has one), facets
    // and painted pixels.
    const std::tuple<int, int, int, std::function<bool(int, int, int)>, std::string, std::size_t, std::int64_t> cases[] = {
        {6, 6, 1, [](int x, int y, int) { return x == 5 && y == 5; }, "point", 0, 0},
        {6, 6, 1, [](int x, int y, int) { return y == x + 1 && x >= 1 && x <= 4; }, "line", 0, 0},
        {6, 6, 1, [](int x, int y, int) { return x >= 1 && y >= 1 && x + y <= 3; }, "", 3, 3},
        {6, 6, 4, [](int x, int y, int z) { return x == 2 && y == 2 && z == 1; }, "point", 0, 0},
        {6, 6, 4, [](int x, int y, int z) { return (x == 1 && y == 1 && z == 0) || (x == 3 && y == 3 && z == 3); }, "line", 0, 0},
        {6, 6, 4, [](int x, int y, int z) { return x == y && y == z; }, "line", 0, 0},
        {6, 6, 4, [](int x, int y, int z) { return x + y + z == 4; }, "flat", 0, 0},
        {6, 6, 5, [](int x, int y, int z) { return x + y + z == 4 || x + y + z == 0; }, "", 4, 35},
        {6, 5, 6, [](int x, int y, int z) { return x + y + z <= 4; }, "", 4, 35},
        {6, 5, 4, [](int x, int y, int z) { return x < 5 && y < 4 && z < 3; }, "", 6, 60},
        {5, 5, 1, [](int x, int y, int) { return (y == 0 && x < 4) || (x == 0 && y < 4); }, "", 3, 10},
        {2, 64, 64, [](int x, int y, int z) { return x == 0 || (y == 20 && z == 30); }, "", 5, 4097}};
    for (const auto& [width, height, depth, inObject, problem, facets, painted] : cases)
    {
        std::vector<vorn::HullReport> hulls;
        for (const int offset : {0, depth > 1 ? 25000 : 40000})
        {
            TOLX::CImage image(TOLX::IMAGE_GREY_8, TOLX::CSize(offset + width, height, depth));
            for (int i = 0; i < width * height * depth; ++i)
                if (inObject(i % width, i / width % height, i / width / height))
                    image.SetPixel(offset + i % width, i / width % height, i / width / height, 1);
            TOLX::SeedRand15(1); // the same start simplex at both places
            const vorn::AnalysisReport report = Analyzed(image, 1);
            const vorn::HullReport& hull = hulls.emplace_back(report.objects[0].hull);
            EXPECT_EQ(std::make_tuple(report.HullProblem(0), hull.Available(), std::size_t(hull.planes), hull.paintedPixels),
                      std::make_tuple(problem, problem.empty(), facets, painted))
                << "offset " << offset;
        }
        EXPECT_EQ(hulls[0].corners, hulls[1].corners);
    }
}

// The bar is drawn only when enabled and once its delay has passed, redrawn
// only when its value changes, and wiped at the end: 30 characters, of which
// 7, 15, 22 and 30 are filled at a quarter, half, three quarters and all.
// The sample cut into uneven chunks, analysed chunk by chunk and merged all
// at once or row by row (rows first, so that objects stay incomplete through
// a merge), gives the whole image's table: the same sums bit for bit, the
// same hull counts, convex volumes to rounding.
TEST(VornAnalysis, ChunksMergeIntoTheWholeImagesReport)
{
    TOLX::CImage volume = vorn::MakeSampleVolume(64);
    const vorn::AnalysisReport whole = Analyzed(volume, 5);
    const std::array<int, 3> size{volume.Width(), volume.Height(), volume.Depth()}, step{20, 24, 28};
    std::vector<std::vector<vorn::PartialAnalysis>> rows; // chunks of one (y, z), along x
    for (int z = 0; z < size[2]; z += step[2])
        for (int y = 0; y < size[1]; y += step[1])
        {
            rows.emplace_back();
            for (int x = 0; x < size[0]; x += step[0])
            {
                vorn::RawImage chunk;
                chunk.width = std::min(step[0], size[0] - x), chunk.height = std::min(step[1], size[1] - y);
                chunk.depth = std::min(step[2], size[2] - z);
                chunk.pixels = vorn::AllocatePixels(chunk.PixelCount());
                for (int k = 0; k < chunk.depth; ++k)
                    for (int j = 0; j < chunk.height; ++j)
                        std::copy_n(volume.Data() + x + (y + j) * volume.Step().Y() + (z + k) * volume.Step().Z(), chunk.width,
                                    chunk.pixels.get() + (std::size_t(k) * chunk.height + j) * chunk.width);
                rows.back().push_back(vorn::AnalyzeChunk(std::move(chunk), {x, y, z}, size, 3, true));
            }
        }
    std::vector<const vorn::PartialAnalysis*> chunks, rowParts;
    std::vector<vorn::PartialAnalysis> merged;
    merged.reserve(rows.size());
    for (const auto& row : rows)
    {
        std::vector<const vorn::PartialAnalysis*> parts;
        for (const vorn::PartialAnalysis& part : row)
            parts.push_back(&part), chunks.push_back(&part);
        merged.push_back(vorn::MergePartials(parts));
        rowParts.push_back(&merged.back());
    }
    for (const vorn::PartialAnalysis& all : {vorn::MergePartials(chunks), vorn::MergePartials(rowParts)})
    {
        const vorn::AnalysisReport report = vorn::ReportOfPartials(all);
        ASSERT_EQ(all.labels, (std::vector<std::int64_t>{1, 2, 3, 4, 5}));
        for (std::size_t i = 0; i < 5; ++i)
        {
            const vorn::ObjectMeasures a = vorn::Measure(whole, i, {});
            const vorn::ObjectMeasures b = vorn::Measure(all.sums[i], report.objects[i].hull, 3, {});
            EXPECT_EQ(std::tie(a.pixels, a.centroid, a.inertia, a.mainAxis), std::tie(b.pixels, b.centroid, b.inertia, b.mainAxis));
            const vorn::HullReport& h = whole.objects[i].hull;
            const vorn::HullReport& g = report.objects[i].hull;
            EXPECT_EQ(std::tie(h.state, h.planes, h.corners, h.paintedPixels),
                      std::tie(g.state, g.planes, g.corners, g.paintedPixels)) << i;
            if (h.Available()) // not the needle
            {
                EXPECT_NEAR(g.convexPixels, h.convexPixels, 1e-12 * h.convexPixels) << i;
            }
        }
    }
    EXPECT_THROW(vorn::MergePartials({chunks[0], chunks[0]}), vorn::CToolError);
}

TEST(VornProgress, DrawsOnlyWhenEnabledAfterItsDelayAndWipesItsLine)
{
    const auto bar = [](int n, const char* percent) { return "\rhulls    [" + std::string(n, '#') + std::string(30 - n, '.') + "] " + percent; };
    const std::tuple<bool, std::chrono::milliseconds, std::string> cases[] = {
        {false, std::chrono::milliseconds(0), ""}, {true, std::chrono::hours(1), ""},
        {true, std::chrono::milliseconds(0),
         bar(7, " 25.0%") + bar(15, " 50.0%") + bar(22, " 75.0%") + bar(30, "100.0%") + "\r" + std::string(50, ' ') + "\r"}};
    for (const auto& [enabled, delay, expected] : cases)
        EXPECT_EQ(vorntest::CaptureStandardError([&, enabled = enabled, delay = delay] {
                      vorn::CProgress progress(stderr, enabled, delay);
                      vorn::CProgressPass pass(progress, "hulls", 4);
                      for (const int done : {1, 2, 3, 4, 4})
                          pass.Advance(done);
                  }),
                  expected);
}
