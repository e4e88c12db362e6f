#pragma once

// A small JSON reader for the vorn tool's tests: enough to take the tool's
// output apart and compare its numbers, and strict enough to reject output
// that is not JSON.

#include <algorithm>
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
    double number = 0; // also 1 for true, 0 for false
    std::string text;
    std::vector<JsonValue> items;                           // ARRAY
    std::vector<std::pair<std::string, JsonValue>> members; // OBJECT, in file order

    const JsonValue& operator[](const std::string& key) const
    {
        const auto member = std::find_if(members.begin(), members.end(), [&](const auto& m) { return m.first == key; });
        return member != members.end() ? member->second : throw std::out_of_range("no member " + key);
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

// The whole text as one JSON value, or with `from` the value that starts at
// *from, moved past it. Throws std::runtime_error where the text is not JSON.
inline JsonValue ParseJson(const std::string& text, std::size_t* from = nullptr)
{
    std::size_t start = 0;
    std::size_t& at = from ? *from : start;
    const auto peek = [&] { return text[at = std::min(text.find_first_not_of(" \n\t\r", at), text.size())]; };
    const auto fail = [&] { return std::runtime_error("not JSON at " + std::to_string(at)); };
    const auto take = [&](char c) { return peek() == c && ++at; };
    const auto word = [&](const std::string& w) { return text.compare(at, w.size(), w) == 0 && (at += w.size()); };
    const auto string = [&] { // an escaped character as it is: enough for the tool's names and keys
        std::string out;
        for (char c; (c = text.at(at++)) != '"'; out += c)
            if (c == '\\')
                c = text.at(at++);
        return out;
    };
    JsonValue value;
    const char c = peek();
    if (take('{') || take('['))
    {
        value.kind = c == '{' ? JsonValue::OBJECT : JsonValue::ARRAY;
        const char close = c == '{' ? '}' : ']';
        if (!take(close))
        {
            do
                if (c == '[')
                    value.items.push_back(ParseJson(text, &at));
                else if (take('"'))
                {
                    std::string key = string();
                    value.members.emplace_back(key, take(':') ? ParseJson(text, &at) : throw fail());
                }
                else
                    throw fail();
            while (take(','));
            if (!take(close))
                throw fail();
        }
    }
    else if (take('"'))
        value.kind = JsonValue::STRING, value.text = string();
    else if (word("true") || word("false"))
        value.kind = JsonValue::BOOL, value.number = text[at - 2] == 'u';
    else if (c == '-' || (c >= '0' && c <= '9')) // no NaN, Infinity or hex
    {
        char* end = nullptr;
        value.kind = JsonValue::NUMBER;
        value.number = std::strtod(text.c_str() + at, &end);
        at = std::size_t(end - text.c_str());
    }
    else if (!word("null"))
        throw fail();
    if (!from && (peek(), at != text.size()))
        throw fail();
    return value;
}
} // namespace vorntest
