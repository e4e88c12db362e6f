#pragma once

// What the vorn tool's tests share: a fresh directory per test, and the
// message and exit code of the tool's errors.

#include "ToolError.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>

#include <sys/wait.h>

namespace vorntest
{
class VornFilesTest : public ::testing::Test
{
protected:
    void SetUp() override { ASSERT_NE(mkdtemp(m_dir.data()), nullptr); }
    void TearDown() override { std::filesystem::remove_all(m_dir); }
    std::string Path(const std::string& name) const { return m_dir + "/" + name; }

    std::string m_dir = "/tmp/vorn-test-XXXXXX";
};

// What a run of the built tool gave.
struct ToolOutput
{
    int code = -1;
    std::string out, err;
};

// Runs the built tool (VORN_TOOL_PATH) in a shell, with standard output and
// error in files of `dir` (so not a terminal).
inline ToolOutput RunVorn(const std::string& dir, const std::string& arguments)
{
    const std::string out = dir + "/stdout", err = dir + "/stderr";
    const std::string command = std::string("'") + VORN_TOOL_PATH + "' " + arguments + " </dev/null >'" + out + "' 2>'" + err + "'";
    const int status = std::system(command.c_str());
    const auto slurp = [](const std::string& path) {
        std::ostringstream text;
        text << std::ifstream(path, std::ios::binary).rdbuf();
        return text.str();
    };
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, slurp(out), slurp(err)};
}

// The message and exit code of the CToolError that the call throws.
template <class Call>
std::pair<std::string, int> ToolErrorOf(Call&& call)
{
    try
    {
        call();
    }
    catch (const vorn::CToolError& error)
    {
        return {error.what(), error.ExitCode()};
    }
    return {"no error", 0};
}
} // namespace vorntest
