#pragma once

#include <cstddef>
#include <istream>
#include <string>
#include <vector>

namespace vorn
{
// Points read from a text file: Count() points of Dimension() coordinates each,
// stored one after the other.
struct PointSet
{
    std::size_t dimension = 0;
    std::vector<double> coordinates;

    std::size_t Count() const { return dimension == 0 ? 0 : coordinates.size() / dimension; }
    const double* Point(std::size_t i) const { return coordinates.data() + i * dimension; }
};

// The dimensions vorn hull handles. The facets of a hull of n points grow
// like n^(d/2): 60 points in 10-D already have 170 000 of them, built in
// seconds and hundreds of megabytes, and more points soon take hours.
constexpr std::size_t MIN_DIMENSION = 2;
constexpr std::size_t MAX_DIMENSION = 8;

// The longest line of a point file, in bytes. A point of MAX_DIMENSION
// coordinates takes far less; the bound keeps a file without line ends from
// filling memory.
constexpr std::size_t MAX_LINE_BYTES = std::size_t{1} << 20;

// The largest coordinate magnitude: offsets of facet planes, sums of up to
// MAX_DIMENSION such coordinates, stay finite.
constexpr double MAX_COORDINATE = 1e300;

// Reads one point per line, its coordinates separated by blanks or commas; the
// first point fixes the dimension (MIN_DIMENSION to MAX_DIMENSION). Empty
// lines and lines starting with '#' are skipped. Errors are CToolError naming
// "source:line".
PointSet ReadPoints(std::istream& in, const std::string& source);

// Splits one line into numbers of magnitude up to MAX_COORDINATE ("1, 2.5 -3"
// gives 1, 2.5, -3). On failure returns false and says why in `error`, with
// the offending text quoted.
bool ParseNumbers(const std::string& line, std::vector<double>& numbers, std::string& error);
} // namespace vorn
