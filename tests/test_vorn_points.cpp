// Reading point files and the command line of the vorn tool.

#include "Cli.h"
#include "Commands.h"
#include "JsonReader.h"
#include "PointFile.h"
#include "ToolError.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <sstream>

using vorn::CToolError;

namespace
{
vorn::PointSet Read(const std::string& text)
{
    std::istringstream in(text);
    return vorn::ReadPoints(in, "pts.txt");
}

// The message and exit code of the CToolError that the call throws.
template <class Call>
std::pair<std::string, int> ToolErrorOf(Call&& call)
{
    try
    {
        call();
    }
    catch (const CToolError& error)
    {
        return {error.what(), error.ExitCode()};
    }
    return {"no error", 0};
}

using Points = std::vector<std::vector<double>>;

// `vorn hull --json` of the points, parsed.
vorntest::JsonValue HullOf(const Points& points, const std::vector<std::string>& inside)
{
    std::ostringstream text;
    text.precision(17);
    for (const std::vector<double>& point : points)
    {
        for (const double c : point)
            text << c << ' ';
        text << '\n';
    }
    std::istringstream in(text.str());
    vorn::HullOptions options;
    options.json = true;
    options.inside = inside;
    std::ostringstream out;
    vorn::RunHull(options, in, out);
    return vorntest::JsonReader::Parse(out.str());
}

// The sign of the determinant of the rows q - p, r - p (, s - p), each
// divided by `scale`, which keeps the products of huge or tiny coordinates
// finite and nonzero.
int Orientation(const Points& rows, const std::vector<double>& p, double scale)
{
    double m[3][3];
    for (std::size_t i = 0; i < rows.size(); ++i)
        for (std::size_t j = 0; j < p.size(); ++j)
            m[i][j] = (rows[i][j] - p[j]) / scale;
    const double det = rows.size() == 2 ? m[0][0] * m[1][1] - m[0][1] * m[1][0]
                                        : m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) -
                                              m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
                                              m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
    return (det > 0) - (det < 0);
}

// The points that are strict corners of their hull, by brute force: p is one
// when a line (a plane) through p and one (two) other points has all the
// others strictly on one side.
Points Corners(const Points& points)
{
    const std::size_t n = points.size(), d = points[0].size();
    double scale = 0;
    for (const auto& a : points)
        for (const auto& b : points)
            for (std::size_t j = 0; j < d; ++j)
                scale = std::max(scale, std::fabs(a[j] - b[j]));
    Points corners;
    for (std::size_t p = 0; p < n; ++p)
    {
        bool corner = false;
        for (std::size_t q = 0; q < n && !corner; ++q)
            for (std::size_t r = d == 2 ? q : q + 1; r < n && !corner; ++r)
            {
                if (q == p || r == p || (d == 3 && r == q))
                    continue;
                Points through{points[q]};
                if (d == 3)
                    through.push_back(points[r]);
                int positive = 0, negative = 0;
                for (std::size_t s = 0; s < n; ++s)
                {
                    if (s == p || s == q || (d == 3 && s == r))
                        continue;
                    through.push_back(points[s]);
                    const int side = Orientation(through, points[p], scale);
                    through.pop_back();
                    positive += side > 0;
                    negative += side <= 0;
                }
                corner = positive == 0 || negative == 0;
            }
        if (corner)
            corners.push_back(points[p]);
    }
    return corners;
}
} // namespace

TEST(VornPoints, BlanksCommasCommentsAndEmptyLines)
{
    const vorn::PointSet points = Read("# unit square\n0 0\n1,0\n\n  1 ,\t1  \r\n0,1\n-2.5e-1  +0.5\n");
    ASSERT_EQ(points.dimension, 2u);
    ASSERT_EQ(points.Count(), 5u);
    const std::vector<double> expected{0, 0, 1, 0, 1, 1, 0, 1, -0.25, 0.5};
    EXPECT_EQ(points.coordinates, expected);
    EXPECT_EQ(points.Point(4)[0], -0.25);
}

TEST(VornPoints, DimensionComesFromTheFirstPoint)
{
    const vorn::PointSet points = Read("0 0 0 0\n1 0 0 0\n0 1 0 0\n0 0 1 0\n0 0 0 1\n");
    EXPECT_EQ(points.dimension, 4u);
    EXPECT_EQ(points.Count(), 5u);
}

TEST(VornPoints, ErrorsNameFileAndLine)
{
    // Input, and the message of the read error (exit code 1).
    const std::pair<std::string, std::string> cases[] = {
        {"0 0 0\n1 0 0\n1 1\n", "pts.txt:3: expected 3 numbers like the first point, found 2"},
        {"0 0\nabc 1\n", "pts.txt:2: 'abc' is not a number"},
        {"1.5x 2\n", "pts.txt:1: '1.5x' is not a number"},
        {"0 0\n1 0\n# note\ninf 1\n", "pts.txt:4: 'inf' is not a finite number"},
        {"0 0\n1,,0\n", "pts.txt:2: empty field between commas"},
        {"1, 2,\n", "pts.txt:1: line ends with a comma"},
        {"7\n", "pts.txt:1: a point needs at least 2 coordinates, found 1"},
        {"# nothing\n\n", "pts.txt: no points"},
        {"0 0 0\n1 0 0\n0 1 0\n", "pts.txt: 3 points in 3-D; a hull needs at least 4"},
        {"1 2 3 4 5 6 7 8 9\n", "pts.txt:1: 9 coordinates; vorn hull handles 2 to 8 dimensions"},
        {"0 0\n1 0\n" + std::string(vorn::MAX_LINE_BYTES + 1, ' ') + "\n", "pts.txt:3: line longer than 1048576 bytes"},
        {"0 0\n" + std::string(vorn::MAX_LINE_BYTES + 1, '7'), "pts.txt:2: line longer than 1048576 bytes"},
        {"0 0\n1 \x1b[2J\xff'\n", "pts.txt:2: '\\x1b[2J\\xff\\'' is not a number"},
        {std::string("0 0\n1 2\0", 8) + "3\n", "pts.txt:2: '2\\x003' is not a number"},
        {"0 0\n1 -2e300\n", "pts.txt:2: '-2e300' is too large (vorn takes numbers up to 1e300 in magnitude)"},
    };
    for (const auto& entry : cases)
        EXPECT_EQ(ToolErrorOf([&] { Read(entry.first); }), std::make_pair(entry.second, 1)) << entry.first;
}

TEST(VornPoints, NumberListsOfInsideTests)
{
    std::vector<double> numbers;
    std::string error;
    ASSERT_TRUE(vorn::ParseNumbers("0.5,0.25, 1e3", numbers, error));
    EXPECT_EQ(numbers, (std::vector<double>{0.5, 0.25, 1000}));
    EXPECT_FALSE(vorn::ParseNumbers(",1", numbers, error));
    EXPECT_EQ(error, "empty field between commas");
    EXPECT_FALSE(vorn::ParseNumbers("1,nan", numbers, error));
    EXPECT_EQ(error, "'nan' is not a finite number");
}

TEST(VornCommandLine, CommandsAndOptions)
{
    const vorn::CommandLine analyze = vorn::ParseCommandLine({"analyze", "--json", "--paint=out.tif", "labels.tif"});
    EXPECT_EQ(analyze.command, "analyze");
    EXPECT_TRUE(analyze.analyze.json);
    EXPECT_EQ(analyze.analyze.paint, "out.tif");
    EXPECT_EQ(analyze.analyze.image, "labels.tif");

    const vorn::CommandLine sample = vorn::ParseCommandLine({"analyze", "--paint", "hulls.tif"});
    EXPECT_TRUE(sample.analyze.image.empty());
    EXPECT_FALSE(sample.analyze.json);
    EXPECT_EQ(sample.analyze.paint, "hulls.tif");

    const vorn::CommandLine hull = vorn::ParseCommandLine({"hull", "--inside", "1,2", "--inside=3 4", "--", "-odd"});
    EXPECT_EQ(hull.command, "hull");
    EXPECT_EQ(hull.hull.inside, (std::vector<std::string>{"1,2", "3 4"}));
    EXPECT_EQ(hull.hull.file, "-odd");
    EXPECT_EQ(vorn::ParseCommandLine({"hull"}).hull.file, "-");
    EXPECT_EQ(vorn::ParseCommandLine({"hull", "-"}).hull.file, "-");

    EXPECT_EQ(vorn::ParseCommandLine({"--help"}).command, "help");
    EXPECT_EQ(vorn::ParseCommandLine({"hull", "-h"}).command, "help");
}

TEST(VornCommandLine, MistakesAreUsageErrors)
{
    using Case = std::pair<std::vector<std::string>, std::string>;
    const Case cases[] = {
        {{}, "no command given (commands: analyze, hull; see vorn --help)"},
        {{"analyse"}, "unknown command 'analyse' (commands: analyze, hull; see vorn --help)"},
        {{"analyze", "--jsn"}, "analyze: unknown option '--jsn' (see vorn --help)"},
        {{"analyze", "--paint"}, "analyze: --paint needs a value"},
        {{"analyze", "--paint="}, "analyze: --paint needs a file name"},
        {{"analyze", "a.tif", "b.tif"}, "analyze: more than one image given ('a.tif', 'b.tif')"},
        {{"hull", "--inside"}, "hull: --inside needs a value"},
        {{"hull", "a.txt", "-"}, "hull: more than one point file given ('a.txt', '-')"},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ToolErrorOf([&] { vorn::ParseCommandLine(c.first); }), std::make_pair(c.second, 2));
}

// Hulls at the offsets and scales of real data (map coordinates, large
// integers, tiny and huge sets) against brute force: every point inside or
// on every facet, within a tolerance relative to the coordinates' magnitude;
// every vertex one of the points; every strict corner a vertex.
TEST(VornHull, RightAtAnyOffsetAndScale)
{
    std::mt19937 generator(3);
    std::uniform_real_distribution<double> uniform(0, 1);
    const auto cloud = [&](std::vector<double> offset, double size, int count) {
        Points points;
        for (int i = 0; i < count; ++i)
        {
            points.push_back(offset);
            for (double& c : points.back())
                c += size * uniform(generator);
        }
        return points;
    };
    const Points diamond{{1, 0}, {0, 1}, {-1, 0}, {0, -1}, {0, 0}};
    const auto scaled = [&](double size) {
        Points points = diamond;
        for (auto& point : points)
            for (double& c : point)
                c *= size;
        return points;
    };
    struct Case
    {
        Points points;
        std::vector<std::string> inside, outside;
    };
    const Case cases[] = {
        {cloud({5e5, 5.4e6}, 1000, 100), {"500500,5400500"}, {"500500,5401001"}},
        {{{1.3e7, 1.3e7}, {1.3e7 + 1, 1.3e7}, {1.3e7, 1.3e7 + 1}}, {"13000000.25,13000000.25"}, {"13000000.75,13000000.75"}},
        {cloud({1e4, 1e4, 1e4}, 10, 30), {"10005,10005,10005"}, {"10011,10005,10005"}},
        {scaled(1e155), {"0,0"}, {"1e160,0", "7.1e154,7.1e154"}},
        {scaled(1e-8), {"0,0"}, {"1e-7,0", "7.1e-9,7.1e-9"}},
    };
    for (const Case& c : cases)
    {
        std::vector<std::string> probes = c.inside;
        probes.insert(probes.end(), c.outside.begin(), c.outside.end());
        const vorntest::JsonValue hull = HullOf(c.points, probes);
        double magnitude = 0;
        for (const auto& point : c.points)
            for (const double x : point)
                magnitude = std::max(magnitude, std::fabs(x));
        SCOPED_TRACE(std::to_string(c.points.size()) + " points, magnitude " + std::to_string(magnitude));
        for (const vorntest::JsonValue& facet : hull["facets"].items)
            for (const auto& point : c.points)
            {
                double height = -facet["offset"].number;
                for (std::size_t j = 0; j < point.size(); ++j)
                    height += facet["normal"][j].number * point[j];
                EXPECT_LE(height, 1e-11 * magnitude);
            }
        Points vertices;
        for (const vorntest::JsonValue& vertex : hull["vertices"].items)
            vertices.push_back(vertex.Numbers());
        for (const auto& vertex : vertices)
            EXPECT_NE(std::find(c.points.begin(), c.points.end(), vertex), c.points.end());
        for (const auto& corner : Corners(c.points))
            EXPECT_NE(std::find(vertices.begin(), vertices.end(), corner), vertices.end());
        for (std::size_t i = 0; i < probes.size(); ++i)
            EXPECT_EQ(hull["inside"][i]["inside"].boolean, i < c.inside.size()) << probes[i];
    }
}
