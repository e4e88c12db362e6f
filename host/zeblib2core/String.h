#pragma once

#include "zeblib2core/Types.h"
#include "zeblib2core/ZebCoreExport.h"

#include <cstddef>
#include <string>

namespace TOLX
{
enum EnEncoding
{
    ENCODING_LOCAL = 0,
    ENCODING_UTF8 = 1
};

// A text with numbered placeholders %1 ... %99. Each Arg call fills every
// occurrence of the lowest-numbered placeholder still in the text; text that a
// call inserts takes part in later calls like any other text.
class ZEBCORE_API CString
{
public:
    static constexpr std::size_t NPOS = static_cast<std::size_t>(-1);

    CString(const char* text, EnEncoding encoding);
    CString(const CString&) = default;
    CString& operator=(const CString&) = default;
    virtual ~CString();

    CString& Arg(int64 value, int format = 0);
    CString& Arg(int value, int format = 0);
    CString& Arg(char value);
    CString& Arg(const CString& value);

    const char* c_str() const noexcept { return m_text.c_str(); }
    EnEncoding Encoding() const noexcept { return m_encoding; }

private:
    CString& Fill(const std::string& replacement);

    std::string m_text;
    EnEncoding m_encoding;
};

class ZEBCORE_API CStringTools
{
public:
    // printf semantics; the result has no length limit.
    static std::string Printf(const char* format, ...) __attribute__((format(printf, 1, 2)));
};
} // namespace TOLX
