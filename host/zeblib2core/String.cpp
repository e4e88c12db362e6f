#include "zeblib2core/String.h"

#include <cstdarg>
#include <cstdio>
#include <vector>

namespace TOLX
{
namespace
{
// A placeholder is '%' followed by one or two decimal digits naming 1..99; a
// second digit always belongs to the number ("%12" is placeholder 12).
bool ParsePlaceholder(const std::string& text, std::size_t at, int& number, std::size_t& length)
{
    if (text[at] != '%' || at + 1 >= text.size())
        return false;
    const char first = text[at + 1];
    if (first < '0' || first > '9')
        return false;
    number = first - '0';
    length = 2;
    if (at + 2 < text.size() && text[at + 2] >= '0' && text[at + 2] <= '9')
    {
        number = number * 10 + (text[at + 2] - '0');
        length = 3;
    }
    return number >= 1;
}
} // namespace

CString::CString(const char* text, EnEncoding encoding) : m_text(text != nullptr ? text : ""), m_encoding(encoding) {}

CString::~CString() = default;

CString& CString::Fill(const std::string& replacement)
{
    int lowest = 100;
    int number = 0;
    std::size_t length = 0;
    for (std::size_t at = 0; at < m_text.size(); ++at)
        if (ParsePlaceholder(m_text, at, number, length) && number < lowest)
            lowest = number;
    if (lowest == 100)
        return *this;

    std::string result;
    result.reserve(m_text.size() + replacement.size());
    for (std::size_t at = 0; at < m_text.size();)
    {
        if (ParsePlaceholder(m_text, at, number, length) && number == lowest)
        {
            result += replacement;
            at += length;
        }
        else
            result += m_text[at++];
    }
    m_text.swap(result);
    return *this;
}

CString& CString::Arg(int64 value, int) { return Fill(std::to_string(value)); }

CString& CString::Arg(int value, int) { return Fill(std::to_string(value)); }

CString& CString::Arg(char value) { return Fill(std::string(1, value)); }

CString& CString::Arg(const CString& value) { return Fill(value.m_text); }

std::string CStringTools::Printf(const char* format, ...)
{
    va_list args;
    va_start(args, format);
    va_list copy;
    va_copy(copy, args);
    const int needed = std::vsnprintf(nullptr, 0, format, copy);
    va_end(copy);
    std::string result;
    if (needed > 0)
    {
        std::vector<char> buffer(static_cast<std::size_t>(needed) + 1);
        std::vsnprintf(buffer.data(), buffer.size(), format, args);
        result.assign(buffer.data(), static_cast<std::size_t>(needed));
    }
    va_end(args);
    return result;
}
} // namespace TOLX
