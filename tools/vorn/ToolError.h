#pragma once

#include <stdexcept>
#include <string>

namespace vorn
{
// What the tool reports on one line before it exits with a non-zero code. The
// text already names the file (and the line, for point files); main() only
// prefixes the program name.
class CToolError : public std::runtime_error
{
public:
    enum EnKind
    {
        INPUT = 1, // unreadable or invalid input: exit code 1
        USAGE = 2  // wrong command line: exit code 2
    };

    explicit CToolError(const std::string& message, EnKind kind = INPUT)
        : std::runtime_error(message), m_kind(kind)
    {
    }

    int ExitCode() const noexcept { return m_kind; }

private:
    EnKind m_kind;
};
} // namespace vorn
