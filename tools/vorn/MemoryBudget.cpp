#include "MemoryBudget.h"

#include <cctype>
#include <cstdio>
#include <limits>
#include <string_view>

#include <unistd.h>

namespace vorn
{
namespace
{
constexpr std::uint64_t MiB = std::uint64_t{1} << 20;
// Beside the image the analysis needs its per-object tables and hull work
// space: at most 0.3 times the image and this much.
constexpr std::uint64_t ANALYSIS_RESERVE = 100 * MiB;
} // namespace

bool ParseMemorySize(const std::string& text, std::uint64_t& bytes)
{
    constexpr std::uint64_t largest = std::numeric_limits<std::uint64_t>::max();
    std::uint64_t value = 0;
    std::size_t i = 0;
    for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i)
    {
        const unsigned digit = static_cast<unsigned>(text[i] - '0');
        if (value > (largest - digit) / 10)
            return false;
        value = value * 10 + digit;
    }
    if (i == 0 || value == 0)
        return false;
    if (i < text.size())
    {
        const std::size_t unit = std::string_view("KMGT").find(static_cast<char>(std::toupper(static_cast<unsigned char>(text[i]))));
        if (unit == std::string_view::npos || i + 1 != text.size())
            return false;
        const unsigned shift = 10 * static_cast<unsigned>(unit + 1);
        if (value > largest >> shift)
            return false;
        value <<= shift;
    }
    bytes = value;
    return true;
}

std::uint64_t DefaultMemoryBudget()
{
    const long pages = sysconf(_SC_PHYS_PAGES);
    const long pageSize = sysconf(_SC_PAGESIZE);
    if (pages <= 0 || pageSize <= 0)
        return 1024 * MiB; // unknown: a size every machine that runs the tool has
    return static_cast<std::uint64_t>(pages) / 2 * static_cast<std::uint64_t>(pageSize);
}

ImageMemoryLimit ImageLimitOf(std::uint64_t budget, bool given)
{
    ImageMemoryLimit limit;
    // (budget - reserve) / 1.3 without overflow.
    limit.bytes = budget > ANALYSIS_RESERVE ? (budget - ANALYSIS_RESERVE) / 13 * 10 : 0;
    limit.origin = given ? "the memory limit of " + ShowBytes(budget) + " (--max-memory)"
                         : "the default memory limit of " + ShowBytes(budget) + " (half the physical memory; see --max-memory)";
    return limit;
}

std::string ShowBytes(std::uint64_t bytes)
{
    if (bytes < 1024)
        return std::to_string(bytes) + " bytes";
    static const char* const units[] = {"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
    double value = static_cast<double>(bytes) / 1024;
    int unit = 0;
    for (; value >= 1024 && unit < 5; ++unit)
        value /= 1024;
    char text[32];
    std::snprintf(text, sizeof text, "%.1f %s", value, units[unit]);
    return text;
}
} // namespace vorn
