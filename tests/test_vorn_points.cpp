// Reading point files and the command line of the vorn tool.

#include "Cli.h"
#include "PointFile.h"
#include "ToolError.h"

#include <gtest/gtest.h>

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
    EXPECT_EQ(analyze.command, vorn::CommandLine::ANALYZE);
    EXPECT_TRUE(analyze.analyze.json);
    EXPECT_EQ(analyze.analyze.paint, "out.tif");
    EXPECT_EQ(analyze.analyze.image, "labels.tif");

    const vorn::CommandLine sample = vorn::ParseCommandLine({"analyze", "--paint", "hulls.tif"});
    EXPECT_TRUE(sample.analyze.image.empty());
    EXPECT_FALSE(sample.analyze.json);
    EXPECT_EQ(sample.analyze.paint, "hulls.tif");

    const vorn::CommandLine hull = vorn::ParseCommandLine({"hull", "--inside", "1,2", "--inside=3 4", "--", "-odd"});
    EXPECT_EQ(hull.command, vorn::CommandLine::HULL);
    EXPECT_EQ(hull.hull.inside, (std::vector<std::string>{"1,2", "3 4"}));
    EXPECT_EQ(hull.hull.file, "-odd");
    EXPECT_EQ(vorn::ParseCommandLine({"hull"}).hull.file, "-");
    EXPECT_EQ(vorn::ParseCommandLine({"hull", "-"}).hull.file, "-");

    EXPECT_EQ(vorn::ParseCommandLine({"--help"}).command, vorn::CommandLine::HELP);
    EXPECT_EQ(vorn::ParseCommandLine({"hull", "-h"}).command, vorn::CommandLine::HELP);
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
