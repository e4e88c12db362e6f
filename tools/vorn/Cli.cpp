#include "Cli.h"

#include "Commands.h"
#include "MemoryBudget.h"
#include "Quote.h"
#include "ToolError.h"

#include <cstddef>

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

const std::vector<StCommand>& Commands()
{
    static const std::vector<StCommand> commands = {
        {"analyze",
         "moments and convex hull of every labelled object of a TIFF image\n"
         "(one page: 2-D, a stack of pages: 3-D; 8-, 16- or 32-bit unsigned\n"
         "pixels, the pixel value is the label, 0 is background). Without\n"
         "IMAGE it analyses a built-in 128^3 sample volume.",
         {{"--json", nullptr, false, "print the report as JSON, with each object's moment map",
           [](CommandLine& line, const std::string&) { line.analyze.json = true; }},
          {"--paint", "OUT.tif", false,
           "write every object's hull, painted in its label; OUT.tif\n"
           "is replaced only once the new file is complete",
           [](CommandLine& line, const std::string& value) {
               if (value.empty())
                   throw CToolError("analyze: --paint needs a file name", CToolError::USAGE);
               line.analyze.paint = value;
           }},
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
    return usage + "\nInput files must be regular files, not FIFOs, devices or directories.\n";
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
    const StCommand* command = Find(arguments[0]);
    if (command == nullptr)
        throw CToolError("unknown command " + Quoted(arguments[0]) + " " + commands, CToolError::USAGE);
    line.command = command->name;
    ParseArguments(*command, arguments, line);
    return line;
}

void RunCommandLine(const CommandLine& line, std::istream& in, std::ostream& out, CProgress& progress)
{
    if (const StCommand* command = Find(line.command))
        command->run(line, in, out, progress);
    else
        out << Usage();
}
} // namespace vorn
