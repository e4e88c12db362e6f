#pragma once

#include "VornNumeric.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

// Runs action, which must throw TOLX::CException, and checks the message and
// the location record hosts read (function, repository-relative file, line,
// reserved word 0, and a "Mmm dd yyyy-hh:mm:ss" stamp).
template <class Action>
void ExpectThrowAt(Action&& action, const std::string& message, const std::string& function,
                   const std::string& file, int line)
{
    try { action(), ADD_FAILURE() << "no exception, expected: " << message; }
    catch (const TOLX::CException& e)
    {
        const auto& at = e.Location();
        EXPECT_EQ(std::string(e.what()), message);
        EXPECT_TRUE(at.function == function && at.file == file && at.line == line && at.reserved == 0u)
            << at.function << " " << at.file << ":" << at.line << " " << at.reserved;
        EXPECT_TRUE(at.dateTime.size() == 20u && at.dateTime[11] == '-' && at.dateTime[14] == ':') << at.dateTime;
    }
}

// Runs action, which must throw the standard exception E with text `what`.
template <class E, class Action>
void ExpectStdThrow(Action&& action, const std::string& what)
{
    try { action(), ADD_FAILURE() << "no exception, expected: " << what; }
    catch (const E& e) { EXPECT_EQ(std::string(e.what()), what); }
}

// The standard containers' subscript failure, with the text hosts expect.
template <class Action>
void ExpectBadSubscript(Action&& action)
{
    ExpectStdThrow<std::out_of_range>(action, "invalid vector<T> subscript");
}
