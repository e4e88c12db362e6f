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
    enum Kind { NUL, BOOL, NUMBER, STRING, ARRAY, OBJECT } kind = NUL;
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
        JsonReader reader{text};
        JsonValue value = reader.Value();
        if (reader.Peek() != '\0')
            reader.Fail();
        return value;
    }

private:
    explicit JsonReader(const std::string& text) : m_text(text) {}

    const std::string& m_text;
    std::size_t m_at = 0;

    // The next character after blanks, or '\0' at the end of the text.
    char Peek()
    {
        while (m_at < m_text.size() && (m_text[m_at] == ' ' || m_text[m_at] == '\n' || m_text[m_at] == '\t' ||
                                        m_text[m_at] == '\r'))
            ++m_at;
        return m_at < m_text.size() ? m_text[m_at] : '\0';
    }
    [[noreturn]] void Fail() const { throw std::runtime_error("not JSON at " + std::to_string(m_at)); }
    bool Take(char c) { return Peek() == c && ++m_at != 0; }
    void Expect(char c)
    {
        if (!Take(c))
            Fail();
    }
    bool Word(const std::string& word)
    {
        if (m_text.compare(m_at, word.size(), word) != 0)
            return false;
        m_at += word.size();
        return true;
    }
    std::string String()
    {
        Expect('"');
        std::string out;
        for (char c; (c = m_text.at(m_at++)) != '"'; out += c)
            if (c == '\\')
            {
                const char e = m_text.at(m_at++);
                c = e == 'n' ? '\n' : e == 't' ? '\t' : e == 'r' ? '\r' : e;
                if (e == 'u')
                    c = static_cast<char>(std::stoi(m_text.substr(m_at, 4), nullptr, 16)), m_at += 4;
            }
        return out;
    }
    JsonValue Value()
    {
        JsonValue value;
        const char c = Peek();
        if (Take('{'))
        {
            value.kind = JsonValue::OBJECT;
            if (Take('}'))
                return value;
            do
            {
                std::string key = String();
                Expect(':');
                value.members.emplace_back(std::move(key), Value());
            } while (Take(','));
            Expect('}');
        }
        else if (Take('['))
        {
            value.kind = JsonValue::ARRAY;
            if (Take(']'))
                return value;
            do
                value.items.push_back(Value());
            while (Take(','));
            Expect(']');
        }
        else if (c == '"')
        {
            value.kind = JsonValue::STRING;
            value.text = String();
        }
        else if (Word("true") || Word("false"))
        {
            value.kind = JsonValue::BOOL;
            value.boolean = m_text[m_at - 2] == 'u';
        }
        else if (c == '-' || (c >= '0' && c <= '9')) // no NaN, Infinity or hex
        {
            char* end = nullptr;
            value.kind = JsonValue::NUMBER;
            value.number = std::strtod(m_text.c_str() + m_at, &end);
            m_at = std::size_t(end - m_text.c_str());
        }
        else if (!Word("null"))
            Fail();
        return value;
    }
};
} // namespace vorntest
