#pragma once

// What the vorn tool's tests share: a fresh directory per test, and the
// message and exit code of the tool's errors.

#include "ToolError.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <utility>

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
