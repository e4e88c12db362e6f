#include "Json.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace vorn
{
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

void CJsonWriter::String(std::string_view text)
{
    BeforeValue();
    m_out += '"';
    for (const char c : text)
    {
        switch (c)
        {
        case '"': m_out += "\\\""; break;
        case '\\': m_out += "\\\\"; break;
        case '\n': m_out += "\\n"; break;
        case '\r': m_out += "\\r"; break;
        case '\t': m_out += "\\t"; break;
        default:
            if (static_cast<unsigned char>(c) < 0x20)
            {
                char escaped[8];
                std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(c));
                m_out += escaped;
            }
            else
                m_out += c;
        }
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
