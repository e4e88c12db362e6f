// Reading point files and the command line of the vorn tool.

#include "Cli.h"
#include "PointFile.h"
#include "VornTool.h"

#include <gtest/gtest.h>

#include <sstream>
#include <tuple>

namespace
{
vorn::PointSet Read(const std::string& text)
{
    std::istringstream in(text);
    return vorn::ReadPoints(in, "pts.txt");
}
} // namespace

TEST(VornPoints, BlanksCommasCommentsAndTheFirstPointsDimension)
{
    // The origin and the unit points of 8-D, the most dimensions vorn takes.
    std::string simplex;
    std::vector<double> corners(9 * 8);
    for (int i = 0; i < 9 * 8; ++i)
        simplex += (i % 8 == i / 8 - 1 ? "1" : "0") + std::string(i % 8 == 7 ? "\n" : " ");
    for (int k = 1; k <= 8; ++k)
        corners[8 * k + k - 1] = 1; // point k's coordinate k - 1
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
    // Input, and the message of the read error (exit code 1). The same number
    // rules hold for --inside (see test_vorn_cli).
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

TEST(VornCommandLine, CommandsOptionsAndUsageErrors)
{
    const vorn::CommandLine analyze = vorn::ParseCommandLine({"analyze", "--json", "--paint=out.tif", "labels.tif"});
    EXPECT_EQ(std::make_tuple(analyze.command, analyze.analyze.json, analyze.analyze.paint, analyze.analyze.image),
              std::make_tuple("analyze", true, "out.tif", "labels.tif"));
    const vorn::CommandLine hull = vorn::ParseCommandLine({"hull", "--inside", "1,2", "--inside=3 4", "--", "-odd"});
    EXPECT_EQ(std::make_tuple(hull.command, hull.hull.inside, hull.hull.file),
              std::make_tuple("hull", std::vector<std::string>{"1,2", "3 4"}, "-odd"));
    EXPECT_EQ(vorn::ParseCommandLine({"hull", "-"}).hull.file, "-");
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
