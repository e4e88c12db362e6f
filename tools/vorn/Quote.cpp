#include "Quote.h"

namespace vorn
{
std::string Quoted(std::string_view text, std::size_t limit)
{
    static const char hex[] = "0123456789abcdef";
    std::string out = "'";
    for (std::size_t i = 0; i < text.size() && i < limit; ++i)
    {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c == '\\' || c == '\'')
            out += '\\';
        if (c >= 0x20 && c < 0x7f)
            out += static_cast<char>(c);
        else
        {
            out += "\\x";
            out += hex[c >> 4];
            out += hex[c & 15];
        }
    }
    out += '\'';
    if (text.size() > limit)
        out += "...";
    return out;
}
} // namespace vorn
