#pragma once

// A small JSON reader for the vorn tool's tests: enough to take the tool's
// output apart and compare its numbers, and strict enough to reject output
// that is not JSON.

#include <cstdlib>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace vorntest
{
struct JsonValue
{
    enum Kind
    {
        NUL,
        BOOL,
        NUMBER,
        STRING,
        ARRAY,
        OBJECT
    } kind = NUL;
    bool boolean = false;
    double number = 0;
    std::string text;
    std::vector<JsonValue> items;                           // ARRAY
    std::vector<std::pair<std::string, JsonValue>> members; // OBJECT, in file order

    const JsonValue& operator[](const std::string& key) const
    {
        for (const auto& member : members)
            if (member.first == key)
                return member.second;
        throw std::out_of_range("no member " + key);
    }
    const JsonValue& operator[](std::size_t index) const { return items.at(index); }
    bool Has(const std::string& key) const
    {
        for (const auto& member : members)
            if (member.first == key)
                return true;
        return false;
    }
    std::vector<double> Numbers() const
    {
        std::vector<double> values;
        for (const JsonValue& item : items)
            values.push_back(item.number);
        return values;
    }
};

class JsonReader
{
public:
    static JsonValue Parse(const std::string& text)
    {
        JsonReader reader(text);
        JsonValue value = reader.Value();
        reader.Blanks();
        if (reader.m_at != text.size())
            throw std::runtime_error("text after the JSON value");
        return value;
    }

private:
    explicit JsonReader(const std::string& text) : m_text(text) {}

    void Blanks()
    {
        while (m_at < m_text.size() && (m_text[m_at] == ' ' || m_text[m_at] == '\n' || m_text[m_at] == '\t' || m_text[m_at] == '\r'))
            ++m_at;
    }
    bool Take(char c)
    {
        Blanks();
        if (m_at < m_text.size() && m_text[m_at] == c)
        {
            ++m_at;
            return true;
        }
        return false;
    }
    void Expect(char c)
    {
        if (!Take(c))
            throw std::runtime_error(std::string("expected '") + c + "' at " + std::to_string(m_at));
    }
    bool Word(const char* word)
    {
        const std::string w(word);
        if (m_text.compare(m_at, w.size(), w) != 0)
            return false;
        m_at += w.size();
        return true;
    }
    std::string String()
    {
        Expect('"');
        std::string out;
        while (m_at < m_text.size() && m_text[m_at] != '"')
        {
            char c = m_text[m_at++];
            if (c == '\\')
            {
                const char e = m_text.at(m_at++);
                if (e == 'u')
                {
                    c = static_cast<char>(std::stoi(m_text.substr(m_at, 4), nullptr, 16));
                    m_at += 4;
                }
                else
                    c = e == 'n' ? '\n' : e == 't' ? '\t' : e == 'r' ? '\r' : e;
            }
            out += c;
        }
        Expect('"');
        return out;
    }
    JsonValue Value()
    {
        Blanks();
        JsonValue value;
        if (m_at >= m_text.size())
            throw std::runtime_error("unexpected end");
        const char c = m_text[m_at];
        if (c == '{')
        {
            value.kind = JsonValue::OBJECT;
            ++m_at;
            if (!Take('}'))
            {
                do
                {
                    Blanks();
                    std::string key = String();
                    Expect(':');
                    value.members.emplace_back(std::move(key), Value());
                } while (Take(','));
                Expect('}');
            }
        }
        else if (c == '[')
        {
            value.kind = JsonValue::ARRAY;
            ++m_at;
            if (!Take(']'))
            {
                do
                    value.items.push_back(Value());
                while (Take(','));
                Expect(']');
            }
        }
        else if (c == '"')
        {
            value.kind = JsonValue::STRING;
            value.text = String();
        }
        else if (Word("null"))
            value.kind = JsonValue::NUL;
        else if (Word("true") || Word("false"))
        {
            value.kind = JsonValue::BOOL;
            value.boolean = m_text[m_at - 1] == 'e' && m_text[m_at - 2] == 'u';
        }
        else if (c == '-' || (c >= '0' && c <= '9')) // no NaN, Infinity or hex
        {
            char* end = nullptr;
            value.kind = JsonValue::NUMBER;
            value.number = std::strtod(m_text.c_str() + m_at, &end);
            if (end == m_text.c_str() + m_at)
                throw std::runtime_error("bad value at " + std::to_string(m_at));
            m_at = std::size_t(end - m_text.c_str());
        }
        else
            throw std::runtime_error("bad value at " + std::to_string(m_at));
        return value;
    }

    const std::string& m_text;
    std::size_t m_at = 0;
};
} // namespace vorntest
