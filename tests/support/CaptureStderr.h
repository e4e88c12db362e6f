#pragma once

// Captures what a piece of code writes to the process's standard error.

#include <cstdio>
#include <functional>
#include <memory>
#include <string>

#include <unistd.h>

namespace vorntest
{
// Runs `action` with standard error sent to a temporary file and returns what
// it wrote; standard error is restored also when `action` throws.
inline std::string CaptureStandardError(const std::function<void()>& action)
{
    std::fflush(stderr);
    const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::tmpfile(), &std::fclose);
    struct Restore
    {
        int saved = dup(2);
        ~Restore() { std::fflush(stderr), dup2(saved, 2), close(saved); }
    } restore;
    dup2(fileno(file.get()), 2);
    action();
    std::fflush(stderr);
    std::string text;
    std::rewind(file.get());
    for (int c; (c = std::fgetc(file.get())) != EOF;) text += char(c);
    return text;
}
} // namespace vorntest
