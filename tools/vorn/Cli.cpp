#include "Cli.h"

#include "MemoryBudget.h"
#include "Quote.h"
#include "ToolError.h"

namespace vorn
{
const char* Usage()
{
    return "usage: vorn analyze [--json] [--paint OUT.tif] [--max-memory SIZE] [IMAGE.tif]\n"
           "       vorn hull [--json] [--inside x,y,...]... [POINTS|-]\n"
           "\n"
           "analyze  moments and convex hull of every labelled object of a TIFF image\n"
           "         (one page: 2-D, a stack of pages: 3-D; 8-, 16- or 32-bit unsigned\n"
           "         pixels, the pixel value is the label, 0 is background). Without\n"
           "         IMAGE it analyses a built-in 128^3 sample volume.\n"
           "         --json           print the report as JSON, with each object's moment map\n"
           "         --paint OUT.tif  write every object's hull, painted in its label; OUT.tif\n"
           "                          is replaced only once the new file is complete\n"
           "         --max-memory SIZE\n"
           "                          refuse an image whose analysis would need more memory\n"
           "                          (512M, 2G, 1073741824; default: half the physical memory)\n"
           "hull     convex hull of points read one per line (d numbers separated by\n"
           "         blanks or commas) from POINTS or standard input\n"
           "         --json           print the hull as JSON\n"
           "         --inside x,y,... tell whether a point is inside (repeatable)\n"
           "\n"
           "Input files must be regular files, not FIFOs, devices or directories.\n";
}

namespace
{
class CArguments
{
public:
    CArguments(const std::vector<std::string>& arguments, const std::string& command)
        : m_arguments(arguments), m_command(command)
    {
    }

    bool Done() const { return m_next >= m_arguments.size(); }
    const std::string& Next() { return m_arguments[m_next++]; }

    // The value of an option given as "--name value" or "--name=value"; false
    // when `argument` is not that option.
    bool Value(const std::string& argument, const std::string& name, std::string& value)
    {
        if (argument == name)
        {
            if (Done())
                throw CToolError(m_command + ": " + name + " needs a value", CToolError::USAGE);
            value = Next();
            return true;
        }
        if (argument.compare(0, name.size() + 1, name + "=") == 0)
        {
            value = argument.substr(name.size() + 1);
            return true;
        }
        return false;
    }

    [[noreturn]] void Unknown(const std::string& argument) const
    {
        throw CToolError(m_command + ": unknown option " + Quoted(argument) + " (see vorn --help)", CToolError::USAGE);
    }

    // Takes a positional argument into `slot`, which may be filled once.
    void Positional(const std::string& argument, std::string& slot, bool& taken, const char* what) const
    {
        if (taken)
        {
            const std::string both = Quoted(slot) + ", " + Quoted(argument);
            throw CToolError(m_command + ": more than one " + what + " given (" + both + ")", CToolError::USAGE);
        }
        slot = argument;
        taken = true;
    }

    bool IsOption(const std::string& argument) const { return !m_optionsEnded && argument.size() > 1 && argument[0] == '-'; }
    // "--" ends the options: what follows is a file name even if it starts with '-'.
    bool EndsOptions(const std::string& argument)
    {
        if (m_optionsEnded || argument != "--")
            return false;
        m_optionsEnded = true;
        return true;
    }

private:
    const std::vector<std::string>& m_arguments;
    std::string m_command;
    std::size_t m_next = 1;
    bool m_optionsEnded = false;
};

AnalyzeOptions ParseAnalyze(CArguments& args)
{
    AnalyzeOptions options;
    bool haveImage = false;
    std::string value;
    while (!args.Done())
    {
        const std::string& argument = args.Next();
        if (args.EndsOptions(argument))
            continue;
        if (!args.IsOption(argument))
            args.Positional(argument, options.image, haveImage, "image");
        else if (argument == "--json")
            options.json = true;
        else if (args.Value(argument, "--paint", value))
        {
            if (value.empty())
                throw CToolError("analyze: --paint needs a file name", CToolError::USAGE);
            options.paint = value;
        }
        else if (args.Value(argument, "--max-memory", value))
        {
            if (!ParseMemorySize(value, options.maxMemory))
                throw CToolError("analyze: --max-memory " + Quoted(value) + ": expected a size like 512M, 2G or 1073741824",
                                 CToolError::USAGE);
        }
        else
            args.Unknown(argument);
    }
    return options;
}

HullOptions ParseHull(CArguments& args)
{
    HullOptions options;
    bool haveFile = false;
    std::string value;
    while (!args.Done())
    {
        const std::string& argument = args.Next();
        if (args.EndsOptions(argument))
            continue;
        if (!args.IsOption(argument))
            args.Positional(argument, options.file, haveFile, "point file");
        else if (argument == "--json")
            options.json = true;
        else if (args.Value(argument, "--inside", value))
            options.inside.push_back(value);
        else
            args.Unknown(argument);
    }
    return options;
}
} // namespace

CommandLine ParseCommandLine(const std::vector<std::string>& arguments)
{
    CommandLine line;
    if (arguments.empty())
        throw CToolError("no command given (commands: analyze, hull; see vorn --help)", CToolError::USAGE);
    const std::string& command = arguments[0];
    if (command == "help" || command == "--help" || command == "-h")
        return line;
    CArguments args(arguments, command);
    for (const std::string& argument : arguments)
        if (argument == "--help" || argument == "-h")
            return line;
    if (command == "analyze")
    {
        line.command = CommandLine::ANALYZE;
        line.analyze = ParseAnalyze(args);
    }
    else if (command == "hull")
    {
        line.command = CommandLine::HULL;
        line.hull = ParseHull(args);
    }
    else
        throw CToolError("unknown command " + Quoted(command) + " (commands: analyze, hull; see vorn --help)",
                         CToolError::USAGE);
    return line;
}
} // namespace vorn
