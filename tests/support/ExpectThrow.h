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
    try
    {
        action();
        ADD_FAILURE() << "no exception, expected: " << message;
    }
    catch (const TOLX::CException& e)
    {
        EXPECT_EQ(std::string(e.what()), message);
        const auto& at = e.Location();
        EXPECT_EQ(at.function, function);
        EXPECT_EQ(at.file, file);
        EXPECT_EQ(at.line, line);
        EXPECT_EQ(at.reserved, 0u);
        EXPECT_EQ(at.dateTime.size(), 20u) << at.dateTime;
        if (at.dateTime.size() == 20u)
        {
            EXPECT_EQ(at.dateTime[11], '-');
            EXPECT_EQ(at.dateTime[14], ':');
        }
    }
}

// Runs action, which must throw the standard exception E with text `what`.
template <class E, class Action>
void ExpectStdThrow(Action&& action, const std::string& what)
{
    try
    {
        action();
        ADD_FAILURE() << "no exception, expected: " << what;
    }
    catch (const E& e)
    {
        EXPECT_EQ(std::string(e.what()), what);
    }
}

// The standard containers' subscript failure, with the text hosts expect.
template <class Action>
void ExpectBadSubscript(Action&& action)
{
    ExpectStdThrow<std::out_of_range>(action, "invalid vector<T> subscript");
}
