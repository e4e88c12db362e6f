// Reading point files and the command line of the vorn tool, and the hulls of
// `vorn hull` at the offsets and scales of real data.

#include "Cli.h"
#include "Commands.h"
#include "JsonReader.h"
#include "PointFile.h"
#include "VornTool.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <random>
#include <sstream>
#include <tuple>

namespace
{
vorn::PointSet Read(const std::string& text)
{
    std::istringstream in(text);
    return vorn::ReadPoints(in, "pts.txt");
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
    return vorntest::ParseJson(out.str());
}

double Dot(const std::vector<double>& a, const std::vector<double>& b)
{
    double sum = 0;
    for (std::size_t j = 0; j < a.size(); ++j)
        sum += a[j] * b[j];
    return sum;
}
} // namespace

TEST(VornPoints, BlanksCommasCommentsAndTheFirstPointsDimension)
{
    // The origin and the unit points of 8-D, the most dimensions vorn takes.
    std::string simplex;
    std::vector<double> corners;
    for (int i = 0; i < 9 * 8; ++i)
    {
        corners.push_back(i % 8 == i / 8 - 1);
        simplex += (i % 8 == i / 8 - 1 ? "1" : "0") + std::string(i % 8 == 7 ? "\n" : " ");
    }
    const std::tuple<std::string, std::size_t, std::vector<double>> cases[] = {
        {"# unit square\n0 0\n1,0\n\n  1 ,\t1  \r\n0,1\n-2.5e-1  +0.5\n", 2, {0, 0, 1, 0, 1, 1, 0, 1, -0.25, 0.5}},
        {simplex, 8, corners},
    };
    for (const auto& [text, dimension, coordinates] : cases)
    {
        const vorn::PointSet points = Read(text);
        EXPECT_EQ(std::make_tuple(points.dimension, points.Count(), points.coordinates),
                  std::make_tuple(dimension, coordinates.size() / dimension, coordinates));
    }
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
        EXPECT_EQ(vorntest::ToolErrorOf([&] { Read(entry.first); }), std::make_pair(entry.second, 1)) << entry.first;
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

TEST(VornCommandLine, CommandsOptionsAndUsageErrors)
{
    const vorn::CommandLine analyze = vorn::ParseCommandLine({"analyze", "--json", "--paint=out.tif", "labels.tif"});
    EXPECT_EQ(std::make_tuple(analyze.command, analyze.analyze.json, analyze.analyze.paint, analyze.analyze.image),
              std::make_tuple("analyze", true, "out.tif", "labels.tif"));
    const vorn::CommandLine sample = vorn::ParseCommandLine({"analyze", "--paint", "hulls.tif"});
    EXPECT_EQ(std::make_tuple(sample.analyze.json, sample.analyze.paint, sample.analyze.image),
              std::make_tuple(false, "hulls.tif", ""));
    const vorn::CommandLine hull = vorn::ParseCommandLine({"hull", "--inside", "1,2", "--inside=3 4", "--", "-odd"});
    EXPECT_EQ(hull.command, "hull");
    EXPECT_EQ(hull.hull.inside, (std::vector<std::string>{"1,2", "3 4"}));
    EXPECT_EQ(hull.hull.file, "-odd");
    EXPECT_EQ(vorn::ParseCommandLine({"hull"}).hull.file, "-");
    EXPECT_EQ(vorn::ParseCommandLine({"hull", "-"}).hull.file, "-");
    EXPECT_EQ(vorn::ParseCommandLine({"--help"}).command, "help");
    EXPECT_EQ(vorn::ParseCommandLine({"hull", "-h"}).command, "help");

    using Case = std::pair<std::vector<std::string>, std::string>;
    const Case mistakes[] = {
        {{"analyse"}, "unknown command 'analyse' (commands: analyze, hull; see vorn --help)"},
        {{"analyze", "--jsn"}, "analyze: unknown option '--jsn' (see vorn --help)"},
        {{"analyze", "--paint"}, "analyze: --paint needs a value"},
        {{"analyze", "--paint="}, "analyze: --paint needs a file name"},
        {{"analyze", "a.tif", "b.tif"}, "analyze: more than one image given ('a.tif', 'b.tif')"},
        {{"hull", "--inside"}, "hull: --inside needs a value"},
        {{"hull", "a.txt", "-"}, "hull: more than one point file given ('a.txt', '-')"},
    };
    for (const Case& c : mistakes)
        EXPECT_EQ(vorntest::ToolErrorOf([&] { vorn::ParseCommandLine(c.first); }), std::make_pair(c.second, 2));
}

// Hulls at the offsets and scales of real data (map coordinates, large
// integers, tiny and huge sets): every facet supports the points (all on or
// below it, one on it, within a tolerance relative to their magnitude), every
// vertex is one of the points, and the point that is the only maximum of a
// random linear function, a corner, is a vertex.
TEST(VornHull, RightAtAnyOffsetAndScale)
{
    std::mt19937 generator(3);
    std::uniform_real_distribution<double> uniform(0, 1);
    std::normal_distribution<double> normal;
    const auto cloud = [&](std::vector<double> offset, double size, int count) {
        Points points(count, offset);
        for (auto& point : points)
            for (double& c : point)
                c += size * uniform(generator);
        return points;
    };
    const auto diamond = [](double size) { return Points{{size, 0}, {0, size}, {-size, 0}, {0, -size}, {0, 0}}; };
    struct Case
    {
        Points points;
        std::vector<std::string> inside, outside;
    };
    const Case cases[] = {
        {cloud({5e5, 5.4e6}, 1000, 100), {"500500,5400500"}, {"500500,5401001"}},
        {{{1.3e7, 1.3e7}, {1.3e7 + 1, 1.3e7}, {1.3e7, 1.3e7 + 1}}, {"13000000.25,13000000.25"}, {"13000000.75,13000000.75"}},
        {cloud({1e4, 1e4, 1e4}, 10, 30), {"10005,10005,10005"}, {"10011,10005,10005"}},
        {diamond(1e155), {"0,0"}, {"1e160,0", "7.1e154,7.1e154"}},
        {diamond(1e-8), {"0,0"}, {"1e-7,0", "7.1e-9,7.1e-9"}},
        // Vertices that share their first three coordinates stay apart.
        {{{0, 0, 0, 1}, {0, 0, 0, -1}, {1, 0, 0, 0}, {-1, 0, 0, 0}, {0, 1, 0, 0}, {0, -1, 0, 0}, {0, 0, 1, 0}, {0, 0, -1, 0}},
         {"0,0,0,0.9"},
         {"0.5,0.5,0,0.5"}},
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
        {
            double highest = -HUGE_VAL;
            for (const auto& point : c.points)
                highest = std::max(highest, Dot(facet["normal"].Numbers(), point) - facet["offset"].number);
            EXPECT_LE(std::fabs(highest), 1e-11 * magnitude);
        }
        Points vertices;
        for (const vorntest::JsonValue& vertex : hull["vertices"].items)
            vertices.push_back(vertex.Numbers());
        for (const auto& vertex : vertices)
            EXPECT_NE(std::find(c.points.begin(), c.points.end(), vertex), c.points.end());
        for (int k = 0; k < 300; ++k)
        {
            std::vector<double> u(c.points[0].size());
            for (double& x : u)
                x = normal(generator);
            const auto corner = std::max_element(c.points.begin(), c.points.end(),
                                                 [&](const auto& a, const auto& b) { return Dot(u, a) < Dot(u, b); });
            EXPECT_NE(std::find(vertices.begin(), vertices.end(), *corner), vertices.end());
        }
        for (std::size_t i = 0; i < probes.size(); ++i)
            EXPECT_EQ(hull["inside"][i]["inside"].number, i < c.inside.size()) << probes[i];
    }
}
