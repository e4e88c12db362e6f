#include "Cli.h"

#include "Commands.h"
#include "MemoryBudget.h"
#include "Quote.h"
#include "StackLayout.h"
#include "ToolError.h"

#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdlib>

namespace vorn
{
namespace
{
// One option of a command: a flag ("--json"), or an option with a value
// given as "--name VALUE" or "--name=VALUE".
struct StOption
{
    const char* name;
    const char* value; // the value's name in the usage, nullptr for a flag
    bool repeatable;
    const char* help; // lines separated by '\n'
    // Takes the value (empty for a flag); a bad value is a CToolError.
    void (*apply)(CommandLine& line, const std::string& value);
};

// One command of the tool. This table alone defines the command set: the
// usage text, the parsing of every command's arguments and the dispatch.
struct StCommand
{
    const char* name;
    const char* summary; // lines separated by '\n'
    std::vector<StOption> options;
    const char* operand;     // the one positional argument, as the usage names it
    const char* operandKind; // what it is, for "more than one ... given"
    void (*setOperand)(CommandLine& line, const std::string& operand);
    void (*run)(const CommandLine& line, std::istream& in, std::ostream& out, CProgress& progress);
};

// A whole number from 1 to `largest`, for the option `name`.
std::string FileName(const char* option, const std::string& value)
{
    if (value.empty())
        throw CToolError(std::string("analyze: ") + option + " needs a file name", CToolError::USAGE);
    return value;
}

std::int64_t ParseOrdinal(const char* name, const std::string& value, std::int64_t largest)
{
    std::int64_t number = 0;
    const char* end = value.data() + value.size();
    const auto [stop, error] = std::from_chars(value.data(), end, number);
    if (value.empty() || error != std::errc() || stop != end || number < 1 || number > largest)
        throw CToolError(std::string("analyze: ") + name + " " + Quoted(value) + ": expected a whole number from 1 to " +
                             std::to_string(largest),
                         CToolError::USAGE);
    return number;
}

// Two or three positive numbers separated by commas.
std::vector<double> ParseSpacing(const std::string& value)
{
    std::vector<double> spacing;
    std::size_t at = 0;
    for (bool more = true; more;)
    {
        const std::size_t comma = std::min(value.find(',', at), value.size());
        const std::string field = value.substr(at, comma - at);
        char* end = nullptr;
        const double number = std::strtod(field.c_str(), &end);
        if (field.empty() || *end != '\0' || !(number > 0) || !std::isfinite(number))
            throw CToolError("analyze: --spacing " + Quoted(value) + ": expected 2 or 3 positive numbers such as 0.2,0.2,0.5",
                             CToolError::USAGE);
        spacing.push_back(number);
        more = comma < value.size();
        at = comma + 1;
    }
    if (spacing.size() < 2 || spacing.size() > 3)
        throw CToolError("analyze: --spacing " + Quoted(value) + ": expected 2 or 3 positive numbers such as 0.2,0.2,0.5",
                         CToolError::USAGE);
    return spacing;
}

const std::vector<StCommand>& Commands()
{
    static const std::vector<StCommand> commands = {
        {"analyze",
         "moments and convex hull of every labelled object of a TIFF image\n"
         "(one page: 2-D, a stack of pages: 3-D; integer labels of any width,\n"
         "signed or not, 1-bit masks, floating-point pixels holding whole\n"
         "numbers; 0 is background). Without IMAGE it analyses a built-in\n"
         "128^3 sample volume.",
         {{"--json", nullptr, false, "print the report as JSON, with each object's moment map",
           [](CommandLine& line, const std::string&) { line.analyze.json = true; }},
          {"--csv", nullptr, false, "print the report as CSV: a header row, then one row\nper object",
           [](CommandLine& line, const std::string&) { line.analyze.csv = true; }},
          {"--no-hull", nullptr, false, "moments only: no hulls, no painting",
           [](CommandLine& line, const std::string&) { line.analyze.hulls = false; }},
          {"--spacing", "X,Y[,Z]", false,
           "the pixel size in physical units (default: the file's\n"
           "ImageJ, OME or resolution calibration, else pixels)",
           [](CommandLine& line, const std::string& value) { line.analyze.spacing = ParseSpacing(value); }},
          {"--unit", "NAME", false, "the name of the unit of --spacing (default: the file's)",
           [](CommandLine& line, const std::string& value) {
               if (!IsUnitName(value))
                   throw CToolError("analyze: --unit " + Quoted(value) +
                                        ": expected 1 to 32 characters without commas, quotes or brackets",
                                    CToolError::USAGE);
               line.analyze.unit = value;
           }},
          {"--channel", "C", false, "the channel of a hyperstack to analyse (from 1)",
           [](CommandLine& line, const std::string& value) { line.analyze.channel = ParseOrdinal("--channel", value, 1 << 30); }},
          {"--frame", "T", false, "the time point of a hyperstack to analyse (from 1)",
           [](CommandLine& line, const std::string& value) { line.analyze.frame = ParseOrdinal("--frame", value, 1 << 30); }},
          {"--connectivity", "N", false,
           "label the connected components of the non-zero pixels\n"
           "first (1: neighbours across faces ... 3: all 26 in 3-D)",
           [](CommandLine& line, const std::string& value) {
               line.analyze.connectivity = int(ParseOrdinal("--connectivity", value, 3));
           }},
          {"--paint", "OUT.tif", false,
           "write every object's hull, painted in its label; OUT.tif\n"
           "is replaced only once the new file is complete",
           [](CommandLine& line, const std::string& value) { line.analyze.paint = FileName("--paint", value); }},
          {"--overlay", "OUT.png", false,
           "draw what was measured: the image (3-D: its maximum\n"
           "projection), each object in its own colour, its hull's\n"
           "outline, its main axis and its label",
           [](CommandLine& line, const std::string& value) { line.analyze.overlay = FileName("--overlay", value); }},
          {"--max-memory", "SIZE", false,
           "refuse an image whose analysis would need more memory\n"
           "(512M, 2G, 1073741824; default: half the physical memory)",
           [](CommandLine& line, const std::string& value) {
               if (!ParseMemorySize(value, line.analyze.maxMemory))
                   throw CToolError("analyze: --max-memory " + Quoted(value) +
                                        ": expected a size like 512M, 2G or 1073741824",
                                    CToolError::USAGE);
           }}},
         "IMAGE.tif", "image", [](CommandLine& line, const std::string& image) { line.analyze.image = image; },
         [](const CommandLine& line, std::istream&, std::ostream& out, CProgress& progress) {
             RunAnalyze(line.analyze, out, progress);
         }},
        {"hull",
         "convex hull of points read one per line (d numbers separated by\n"
         "blanks or commas) from POINTS or standard input",
         {{"--json", nullptr, false, "print the hull as JSON",
           [](CommandLine& line, const std::string&) { line.hull.json = true; }},
          {"--inside", "x,y,...", true, "tell whether a point is inside (repeatable)",
           [](CommandLine& line, const std::string& value) { line.hull.inside.push_back(value); }}},
         "POINTS|-", "point file", [](CommandLine& line, const std::string& file) { line.hull.file = file; },
         [](const CommandLine& line, std::istream& in, std::ostream& out, CProgress&) { RunHull(line.hull, in, out); }},
    };
    return commands;
}

// Help texts start in this column; an option label that reaches it puts its
// help on the next line.
constexpr std::size_t kHelpColumn = 26;
constexpr std::size_t kSummaryColumn = 9;

// Each line after the first of text starts at column indent.
std::string Indented(const char* text, std::size_t indent)
{
    std::string lines;
    for (const char* c = text; *c != '\0'; ++c)
    {
        lines += *c;
        if (*c == '\n')
            lines.append(indent, ' ');
    }
    return lines + "\n";
}

std::string Padded(std::string text, std::size_t width)
{
    if (text.size() < width)
        text.append(width - text.size(), ' ');
    return text;
}

std::string Label(const StOption& option)
{
    return option.value != nullptr ? std::string(option.name) + " " + option.value : option.name;
}

std::string CommandNames()
{
    std::string names;
    for (const StCommand& command : Commands())
        names += (names.empty() ? "" : ", ") + std::string(command.name);
    return names;
}

const StCommand* Find(const std::string& name)
{
    for (const StCommand& command : Commands())
        if (name == command.name)
            return &command;
    return nullptr;
}

// The arguments of one command: options in any order, "--" ending them, and
// at most one operand.
void ParseArguments(const StCommand& command, const std::vector<std::string>& arguments, CommandLine& line)
{
    const std::string prefix = std::string(command.name) + ": ";
    bool optionsEnded = false;
    bool haveOperand = false;
    std::string operand;
    for (std::size_t next = 1; next < arguments.size();)
    {
        const std::string& argument = arguments[next++];
        if (!optionsEnded && argument == "--")
        {
            optionsEnded = true;
            continue;
        }
        if (optionsEnded || argument.size() < 2 || argument[0] != '-')
        {
            if (haveOperand)
                throw CToolError(prefix + "more than one " + command.operandKind + " given (" + Quoted(operand) + ", " +
                                     Quoted(argument) + ")",
                                 CToolError::USAGE);
            operand = argument;
            haveOperand = true;
            command.setOperand(line, argument);
            continue;
        }
        const StOption* matched = nullptr;
        std::string value;
        for (const StOption& option : command.options)
        {
            const std::string name = option.name;
            if (argument == name)
            {
                if (option.value != nullptr)
                {
                    if (next >= arguments.size())
                        throw CToolError(prefix + name + " needs a value", CToolError::USAGE);
                    value = arguments[next++];
                }
                matched = &option;
            }
            else if (option.value != nullptr && argument.compare(0, name.size() + 1, name + "=") == 0)
            {
                value = argument.substr(name.size() + 1);
                matched = &option;
            }
            if (matched != nullptr)
                break;
        }
        if (matched == nullptr)
            throw CToolError(prefix + "unknown option " + Quoted(argument) + " (see vorn --help)", CToolError::USAGE);
        matched->apply(line, value);
    }
}
} // namespace

std::string VersionLine() { return std::string("vorn ") + VORN_VERSION + "\n"; }

std::string Usage()
{
    std::string usage;
    for (const StCommand& command : Commands())
    {
        usage += usage.empty() ? "usage: vorn " : "       vorn ";
        usage += command.name;
        for (const StOption& option : command.options)
            usage += " [" + Label(option) + "]" + (option.repeatable ? "..." : "");
        usage += " [" + std::string(command.operand) + "]\n";
    }
    usage += "\n";
    for (const StCommand& command : Commands())
    {
        usage += Padded(command.name, kSummaryColumn) + Indented(command.summary, kSummaryColumn);
        for (const StOption& option : command.options)
        {
            const std::string label = std::string(kSummaryColumn, ' ') + Label(option);
            usage += label.size() < kHelpColumn ? Padded(label, kHelpColumn)
                                                : label + "\n" + std::string(kHelpColumn, ' ');
            usage += Indented(option.help, kHelpColumn);
        }
    }
    return usage + "\nInput files must be regular files, not FIFOs, devices or directories.\n"
                   "vorn --version prints the version.\n";
}

CommandLine ParseCommandLine(const std::vector<std::string>& arguments)
{
    CommandLine line;
    const std::string commands = "(commands: " + CommandNames() + "; see vorn --help)";
    if (arguments.empty())
        throw CToolError("no command given " + commands, CToolError::USAGE);
    if (arguments[0] == "help")
        return line;
    for (const std::string& argument : arguments)
        if (argument == "--help" || argument == "-h")
            return line;
    if (arguments[0] == "--version")
    {
        line.command = "version";
        return line;
    }
    const StCommand* command = Find(arguments[0]);
    if (command == nullptr)
        throw CToolError("unknown command " + Quoted(arguments[0]) + " " + commands, CToolError::USAGE);
    line.command = command->name;
    ParseArguments(*command, arguments, line);
    if (line.analyze.json && line.analyze.csv)
        throw CToolError("analyze: --json and --csv exclude each other", CToolError::USAGE);
    if (!line.analyze.hulls && !line.analyze.paint.empty())
        throw CToolError("analyze: --no-hull and --paint exclude each other (there are no hulls to paint)",
                         CToolError::USAGE);
    return line;
}

void RunCommandLine(const CommandLine& line, std::istream& in, std::ostream& out, CProgress& progress)
{
    if (const StCommand* command = Find(line.command))
        command->run(line, in, out, progress);
    else
        out << (line.command == "version" ? VersionLine() : Usage());
}
} // namespace vorn
