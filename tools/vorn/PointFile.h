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

// Reads one point per line, its coordinates separated by blanks or commas; the
// first point fixes the dimension (at least 2). Empty lines and lines starting
// with '#' are skipped. Errors are CToolError naming "source:line".
PointSet ReadPoints(std::istream& in, const std::string& source);

// Splits one line into finite numbers ("1, 2.5 -3" gives 1, 2.5, -3). On failure
// returns false and says why in `error`.
bool ParseNumbers(const std::string& line, std::vector<double>& numbers, std::string& error);
} // namespace vorn
