// vorn: moments and convex hulls of labelled images, and hulls of point sets,
// on the command line.

#include "Cli.h"
#include "Progress.h"
#include "ToolError.h"

#include "zeblib2core/Exception.h"

#include <cstdio>
#include <iostream>
#include <new>

int main(int argc, char** argv)
{
    using namespace vorn;
    try
    {
        const CommandLine line = ParseCommandLine(std::vector<std::string>(argv + 1, argv + argc));
        CProgress progress = CProgress::ForStandardError();
        RunCommandLine(line, std::cin, std::cout, progress);
        std::cout.flush();
        if (!std::cout)
        {
            std::fprintf(stderr, "vorn: cannot write the output\n");
            return 1;
        }
        return 0;
    }
    catch (const CToolError& error)
    {
        std::fprintf(stderr, "vorn: %s\n", error.what());
        return error.ExitCode();
    }
    catch (const TOLX::CException& error)
    {
        std::fprintf(stderr, "vorn: %s\n", error.what());
        return 1;
    }
    catch (const std::bad_alloc&)
    {
        std::fprintf(stderr, "vorn: not enough memory\n");
        return 1;
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "vorn: internal error: %s\n", error.what());
        return 3;
    }
}
