#include "PointFile.h"

#include "Quote.h"
#include "ToolError.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>

namespace vorn
{
namespace
{
bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f'; }

// Converts one whole field. std::from_chars takes the common spellings at
// several times the speed of strtod and rounds the same way (both correctly);
// what it does not take (a leading '+', hexadecimal) goes to strtod, so the
// accepted spellings stay strtod's, and a field strtod only partly converts
// ("1.5abc", or "1.5" with a NUL byte and more) is not a number.
bool ParseField(const char* first, const char* last, double& value, std::string& error)
{
    const auto parsed = std::from_chars(first, last, value);
    if (parsed.ec != std::errc() || parsed.ptr != last)
    {
        const std::string field(first, last);
        char* end = nullptr;
        value = std::strtod(field.c_str(), &end);
        if (end == field.c_str() || end != field.c_str() + field.size())
        {
            error = Quoted(field) + " is not a number";
            return false;
        }
    }
    if (!std::isfinite(value))
    {
        error = Quoted(std::string(first, last)) + " is not a finite number";
        return false;
    }
    if (std::fabs(value) > MAX_COORDINATE)
    {
        error = Quoted(std::string(first, last)) + " is too large (vorn takes numbers up to 1e300 in magnitude)";
        return false;
    }
    return true;
}

// Reads line `number`, without its end, into `line`; false at the end of the
// input or on a read error. `buffer` holds MAX_LINE_BYTES + 1 bytes: a longer
// line is an error, as istream::getline stops when the buffer is full and
// says so with the fail bit.
bool ReadLine(std::istream& in, std::vector<char>& buffer, std::string& line, const std::string& source,
              std::size_t number)
{
    in.getline(buffer.data(), std::streamsize(buffer.size()));
    const std::size_t extracted = static_cast<std::size_t>(in.gcount());
    if (in.eof())
    {
        line.assign(buffer.data(), extracted);
        return extracted > 0;
    }
    if (in.bad())
        return false;
    if (in.fail())
        throw CToolError(source + ":" + std::to_string(number) + ": line longer than " +
                         std::to_string(MAX_LINE_BYTES) + " bytes");
    line.assign(buffer.data(), extracted - 1); // without the line end
    return true;
}
} // namespace

bool ParseNumbers(const std::string& line, std::vector<double>& numbers, std::string& error)
{
    numbers.clear();
    // A comma separates two numbers: one at the start, at the end or next to
    // another comma stands for a missing value, which is an error rather than
    // something to skip silently. A '#' ends the line's numbers.
    bool commaPending = false;
    const char* i = line.data();
    const char* const end = i + std::min(line.size(), line.find('#'));
    while (i < end)
    {
        if (IsBlank(*i))
        {
            ++i;
            continue;
        }
        if (*i == ',')
        {
            if (commaPending || numbers.empty())
            {
                error = "empty field between commas";
                return false;
            }
            commaPending = true;
            ++i;
            continue;
        }
        const char* const first = i;
        while (i < end && !IsBlank(*i) && *i != ',')
            ++i;
        double value = 0;
        if (!ParseField(first, i, value, error))
            return false;
        numbers.push_back(value);
        commaPending = false;
    }
    if (commaPending)
    {
        error = "line ends with a comma";
        return false;
    }
    return true;
}

PointSet ReadPoints(std::istream& in, const std::string& source)
{
    PointSet points;
    std::vector<char> buffer(MAX_LINE_BYTES + 1);
    std::string line;
    std::vector<double> numbers;
    std::string error;
    std::size_t lineNumber = 0;
    while (ReadLine(in, buffer, line, source, lineNumber + 1))
    {
        ++lineNumber;
        const std::size_t first = line.find_first_not_of(" \t\r\v\f");
        if (first == std::string::npos || line[first] == '#')
            continue;
        const std::string where = source + ":" + std::to_string(lineNumber) + ": ";
        if (!ParseNumbers(line, numbers, error))
            throw CToolError(where + error);
        if (points.dimension == 0)
        {
            if (numbers.size() < MIN_DIMENSION)
                throw CToolError(where + "a point needs at least " + std::to_string(MIN_DIMENSION) +
                                 " coordinates, found " + std::to_string(numbers.size()));
            if (numbers.size() > MAX_DIMENSION)
                throw CToolError(where + std::to_string(numbers.size()) + " coordinates; vorn hull handles " +
                                 std::to_string(MIN_DIMENSION) + " to " + std::to_string(MAX_DIMENSION) +
                                 " dimensions");
            points.dimension = numbers.size();
        }
        else if (numbers.size() != points.dimension)
            throw CToolError(where + "expected " + std::to_string(points.dimension) + " numbers like the first point, found " +
                             std::to_string(numbers.size()));
        points.coordinates.insert(points.coordinates.end(), numbers.begin(), numbers.end());
    }
    if (in.bad())
        throw CToolError(source + ": read error");
    if (points.dimension == 0)
        throw CToolError(source + ": no points");
    if (points.Count() < points.dimension + 1)
        throw CToolError(source + ": " + std::to_string(points.Count()) + " points in " + std::to_string(points.dimension) +
                         "-D; a hull needs at least " + std::to_string(points.dimension + 1));
    return points;
}
} // namespace vorn
