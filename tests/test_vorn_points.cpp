// Reading point files. Their errors, and the command line, are checked end to
// end in test_vorn_cli.

#include "PointFile.h"

#include <gtest/gtest.h>

#include <sstream>
#include <tuple>

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
        // A comment after a point's numbers; what std::from_chars leaves to strtod.
        {"1 2 # first\n+3,0x1p2#second\n0 0\n", 2, {1, 2, 3, 4, 0, 0}}};
    for (const auto& [text, dimension, coordinates] : cases)
    {
        std::istringstream in(text);
        const vorn::PointSet points = vorn::ReadPoints(in, "pts.txt");
        EXPECT_EQ(std::make_tuple(points.dimension, points.Count(), points.coordinates),
                  std::make_tuple(dimension, coordinates.size() / dimension, coordinates));
    }
}
