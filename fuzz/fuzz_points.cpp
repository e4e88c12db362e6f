// The vorn tool's point-file reader on arbitrary text: it gives points of one
// dimension (2 to 8), none beyond 1e300 in magnitude and enough for a hull, or ends in one line;
// the number parser gives numbers within the same bound or says why not.

#include "PointFile.h"
#include "ToolError.h"

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::istringstream in(text);
    try
    {
        const vorn::PointSet points = vorn::ReadPoints(in, "fuzz");
        const std::size_t d = points.dimension;
        if (d < vorn::MIN_DIMENSION || d > vorn::MAX_DIMENSION || points.coordinates.size() % d != 0 ||
            points.Count() < d + 1)
            std::abort();
        for (const double c : points.coordinates)
            if (!(std::fabs(c) <= vorn::MAX_COORDINATE))
                std::abort();
    }
    catch (const vorn::CToolError& error)
    {
        const std::string message = error.what();
        if (message.empty() || message.find('\n') != std::string::npos)
            std::abort();
    }

    std::vector<double> numbers;
    std::string error;
    if (vorn::ParseNumbers(text.substr(0, text.find('\n')), numbers, error))
    {
        for (const double n : numbers)
            if (!(std::fabs(n) <= vorn::MAX_COORDINATE))
                std::abort();
    }
    else if (error.empty())
        std::abort();
    return 0;
}
