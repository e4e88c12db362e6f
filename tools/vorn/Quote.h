#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vorn
{
// Input quoted in a one-line message: between single quotes, every byte that
// is not printable ASCII (control characters, escape sequences, NUL, bytes of
// other encodings) written as \xHH and a backslash or quote escaped, and text
// longer than `limit` bytes cut, with "..." after the closing quote.
std::string Quoted(std::string_view text, std::size_t limit = 60);
} // namespace vorn
