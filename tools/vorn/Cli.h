#pragma once

#include <cstdint>
#include <istream>
#include <ostream>
#include <string>
#include <vector>

namespace vorn
{
class CProgress;

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
    std::string command = "help"; // "help" or the name of one of the tool's commands
    AnalyzeOptions analyze;
    HullOptions hull;
};

// The text `vorn --help` prints.
std::string Usage();

// Reads the arguments after the program name. A wrong command line is a
// CToolError of kind USAGE.
CommandLine ParseCommandLine(const std::vector<std::string>& arguments);

// Runs the line's command (or prints the usage); failures are CToolError.
void RunCommandLine(const CommandLine& line, std::istream& in, std::ostream& out, CProgress& progress);
} // namespace vorn
