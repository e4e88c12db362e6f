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
    bool csv = false;
    bool hulls = true;
    std::string paint; // empty: paint nothing
    std::string overlay; // empty: draw no picture
    std::uint64_t maxMemory = 0; // bytes; 0: the default share of physical memory
    std::vector<double> spacing; // empty: the file's own calibration
    std::string unit;            // empty: the file's own unit
    std::int64_t channel = 0;    // 1-based; 0: not chosen
    std::int64_t frame = 0;      // 1-based; 0: not chosen
    int connectivity = 0;        // 0: pixel values are labels
};

struct HullOptions
{
    std::string file = "-"; // "-": standard input
    bool json = false;
    std::vector<std::string> inside; // points to test, "x,y,..."
};

struct CommandLine
{
    std::string command = "help"; // "help", "version" or the name of one of the tool's commands
    AnalyzeOptions analyze;
    HullOptions hull;
};

// The text `vorn --help` prints.
std::string Usage();

// The line `vorn --version` prints.
std::string VersionLine();

// Reads the arguments after the program name. A wrong command line is a
// CToolError of kind USAGE.
CommandLine ParseCommandLine(const std::vector<std::string>& arguments);

// Runs the line's command (or prints the usage); failures are CToolError.
void RunCommandLine(const CommandLine& line, std::istream& in, std::ostream& out, CProgress& progress);
} // namespace vorn
