#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vorn
{
struct AnalyzeOptions
{
    std::string image; // empty: the built-in sample volume
    bool json = false;
    std::string paint; // empty: paint nothing
    std::uint64_t maxMemory = 0; // bytes; 0: the default share of physical memory
};

struct HullOptions
{
    std::string file = "-"; // "-": standard input
    bool json = false;
    std::vector<std::string> inside; // points to test, "x,y,..."
};

struct CommandLine
{
    enum EnCommand
    {
        HELP,
        ANALYZE,
        HULL
    } command = HELP;
    AnalyzeOptions analyze;
    HullOptions hull;
};

// The text `vorn --help` prints.
const char* Usage();

// Reads the arguments after the program name. A wrong command line is a
// CToolError of kind USAGE.
CommandLine ParseCommandLine(const std::vector<std::string>& arguments);
} // namespace vorn
