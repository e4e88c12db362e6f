#include "PointFile.h"

#include "ToolError.h"

#include <cmath>
#include <cstdlib>

namespace vorn
{
namespace
{
bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\v' || c == '\f'; }

// Converts one whole field; strtod alone would accept "1.5abc" as 1.5.
bool ParseField(const std::string& field, double& value, std::string& error)
{
    char* end = nullptr;
    value = std::strtod(field.c_str(), &end);
    if (end == field.c_str() || *end != '\0')
    {
        error = "'" + field + "' is not a number";
        return false;
    }
    if (!std::isfinite(value))
    {
        error = "'" + field + "' is not a finite number";
        return false;
    }
    return true;
}
} // namespace

bool ParseNumbers(const std::string& line, std::vector<double>& numbers, std::string& error)
{
    numbers.clear();
    std::string field;
    // A comma separates two numbers: one at the start, at the end or next to
    // another comma stands for a missing value, which is an error rather than
    // something to skip silently.
    bool commaPending = false;
    std::size_t i = 0;
    while (i < line.size())
    {
        const char c = line[i];
        if (IsBlank(c))
        {
            ++i;
            continue;
        }
        if (c == ',')
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
        field.clear();
        while (i < line.size() && !IsBlank(line[i]) && line[i] != ',')
            field += line[i++];
        double value = 0;
        if (!ParseField(field, value, error))
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
    std::string line;
    std::vector<double> numbers;
    std::string error;
    std::size_t lineNumber = 0;
    while (std::getline(in, line))
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
            if (numbers.size() < 2)
                throw CToolError(where + "a point needs at least 2 coordinates, found " +
                                 std::to_string(numbers.size()));
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
