#include "Json.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace vorn
{
namespace
{
// The length of the well-formed UTF-8 sequence that starts `text` with a
// byte of 0x80 or more, or 0 when there is none: no overlong forms, no
// surrogates, nothing beyond U+10FFFF.
std::size_t Utf8SequenceLength(std::string_view text)
{
    const unsigned char lead = static_cast<unsigned char>(text[0]);
    std::size_t length = 0;
    unsigned char low = 0x80, high = 0xbf; // the range of the second byte
    if (lead >= 0xc2 && lead <= 0xdf)
        length = 2;
    else if (lead >= 0xe0 && lead <= 0xef)
    {
        length = 3;
        low = lead == 0xe0 ? 0xa0 : 0x80;
        high = lead == 0xed ? 0x9f : 0xbf;
    }
    else if (lead >= 0xf0 && lead <= 0xf4)
    {
        length = 4;
        low = lead == 0xf0 ? 0x90 : 0x80;
        high = lead == 0xf4 ? 0x8f : 0xbf;
    }
    if (length == 0 || text.size() < length)
        return 0;
    for (std::size_t i = 1; i < length; ++i)
    {
        const unsigned char byte = static_cast<unsigned char>(text[i]);
        if (byte < (i == 1 ? low : 0x80) || byte > (i == 1 ? high : 0xbf))
            return 0;
    }
    return length;
}
} // namespace

std::string FormatNumber(double value)
{
    char buffer[32];
    // Negative zero, which facet normals are full of, reads as plain 0.
    const auto result = std::to_chars(buffer, buffer + sizeof buffer, value == 0.0 ? 0.0 : value);
    return std::string(buffer, result.ptr);
}

void CJsonWriter::NewLine()
{
    m_out += '\n';
    m_out.append(2 * m_levels.size(), ' ');
}

void CJsonWriter::BeforeValue()
{
    if (m_afterKey)
    {
        m_afterKey = false;
        return;
    }
    if (m_levels.empty())
        return;
    Level& level = m_levels.back();
    if (!level.empty)
        m_out += level.inlined ? ", " : ",";
    level.empty = false;
    if (!level.inlined)
        NewLine();
}

void CJsonWriter::Open(char bracket, bool inlined)
{
    BeforeValue();
    m_out += bracket;
    // A container inside an inlined one stays on that line.
    const bool onOneLine = inlined || (!m_levels.empty() && m_levels.back().inlined);
    m_levels.push_back(Level{onOneLine, true});
}

void CJsonWriter::Close(char bracket)
{
    const Level level = m_levels.back();
    m_levels.pop_back();
    if (!level.inlined && !level.empty)
        NewLine();
    m_out += bracket;
    if (m_levels.empty())
        m_out += '\n';
}

void CJsonWriter::BeginObject(bool inlined) { Open('{', inlined); }
void CJsonWriter::EndObject() { Close('}'); }
void CJsonWriter::BeginArray(bool inlined) { Open('[', inlined); }
void CJsonWriter::EndArray() { Close(']'); }

void CJsonWriter::Key(std::string_view name)
{
    String(name);
    m_out += ": ";
    m_afterKey = true;
}

void CJsonWriter::Number(double value)
{
    if (!std::isfinite(value))
    {
        Null();
        return;
    }
    BeforeValue();
    m_out += FormatNumber(value);
}

void CJsonWriter::Integer(std::int64_t value)
{
    BeforeValue();
    m_out += std::to_string(value);
}

// Any bytes give a valid JSON string: control characters are escaped, valid
// UTF-8 passes through, and every byte that is not part of a valid sequence
// (a file name in another encoding, say) becomes U+FFFD.
void CJsonWriter::String(std::string_view text)
{
    BeforeValue();
    m_out += '"';
    for (std::size_t i = 0; i < text.size();)
    {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c >= 0x80)
        {
            const std::size_t length = Utf8SequenceLength(text.substr(i));
            if (length == 0)
            {
                m_out += "\\ufffd";
                ++i;
            }
            else
            {
                m_out += text.substr(i, length);
                i += length;
            }
            continue;
        }
        switch (c)
        {
        case '"': m_out += "\\\""; break;
        case '\\': m_out += "\\\\"; break;
        case '\n': m_out += "\\n"; break;
        case '\r': m_out += "\\r"; break;
        case '\t': m_out += "\\t"; break;
        default:
            if (c < 0x20)
            {
                char escaped[8];
                std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(c));
                m_out += escaped;
            }
            else
                m_out += static_cast<char>(c);
        }
        ++i;
    }
    m_out += '"';
}

void CJsonWriter::Bool(bool value)
{
    BeforeValue();
    m_out += value ? "true" : "false";
}

void CJsonWriter::Null()
{
    BeforeValue();
    m_out += "null";
}

void WriteNumberArray(CJsonWriter& writer, const std::vector<double>& values)
{
    writer.BeginArray(true);
    for (const double value : values)
        writer.Number(value);
    writer.EndArray();
}

void WriteValue(CJsonWriter& writer, const TOLX::CValue& value)
{
    switch (value.Type())
    {
    case TOLX::VALUE_DOUBLE: writer.Number(value.Double()); break;
    case TOLX::VALUE_LONG: writer.Integer(value.Long()); break;
    case TOLX::VALUE_STRING: writer.String(value.String()); break;
    case TOLX::VALUE_VECTOR:
        writer.BeginArray(true);
        for (const auto& entry : value.Vector())
            WriteValue(writer, *entry.second);
        writer.EndArray();
        break;
    case TOLX::VALUE_MAP:
        writer.BeginObject();
        for (const auto& entry : value.Map())
        {
            writer.Key(entry.first.ToString());
            WriteValue(writer, *entry.second);
        }
        writer.EndObject();
        break;
    }
}
} // namespace vorn
