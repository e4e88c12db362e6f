#pragma once

// Captures what a piece of code writes to the process's standard error.

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

#include <unistd.h>

namespace vorntest
{
// Runs `action` with standard error sent to a file and returns what it wrote.
inline std::string CaptureStandardError(const std::function<void()>& action)
{
    std::fflush(stderr);
    char name[] = "/tmp/vorn-stderr-XXXXXX";
    const int file = mkstemp(name);
    const int saved = dup(2);
    dup2(file, 2);
    const auto restore = [&] {
        std::fflush(stderr);
        dup2(saved, 2);
        close(saved);
    };
    try
    {
        action();
    }
    catch (...)
    {
        restore();
        close(file);
        unlink(name);
        throw;
    }
    restore();
    std::string text;
    char buffer[256];
    lseek(file, 0, SEEK_SET);
    for (ssize_t n; (n = read(file, buffer, sizeof buffer)) > 0;)
        text.append(buffer, std::size_t(n));
    close(file);
    unlink(name);
    return text;
}
} // namespace vorntest
