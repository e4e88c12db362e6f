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
    std::vector<double> Numbers() const
    {
        std::vector<double> values(items.size());
        std::transform(items.begin(), items.end(), values.begin(), [](const JsonValue& item) { return item.number; });
        return values;
    }
};

// The whole text as one JSON value, or with `from` the value that starts at
// *from, moved past it. Throws std::runtime_error where the text is not JSON.
inline JsonValue ParseJson(const std::string& text, std::size_t* from = nullptr)
{
    std::size_t start = 0;
    std::size_t& at = from ? *from : start;
    const auto fail = [&]() -> JsonValue { throw std::runtime_error("not JSON at " + std::to_string(at)); };
    const auto take = [&](const std::string& word) { // skips blanks, then `word` if it comes next
        at = std::min(text.find_first_not_of(" \n\t\r", at), text.size());
        return text.compare(at, word.size(), word) == 0 && (at += word.size());
    };
    const auto string = [&] { // an escaped character as it is: enough for the tool's names and keys
        std::string out;
        for (char c; (c = text.at(at++)) != '"'; out += c)
            if (c == '\\')
                c = text.at(at++);
        return out;
    };
    JsonValue value;
    if (take("{") || take("["))
    {
        const bool object = text[at - 1] == '{';
        value.kind = object ? JsonValue::OBJECT : JsonValue::ARRAY;
        if (!take(object ? "}" : "]"))
        {
            do
                if (!object)
                    value.items.push_back(ParseJson(text, &at));
                else if (take("\""))
                {
                    std::string key = string();
                    value.members.emplace_back(key, take(":") ? ParseJson(text, &at) : fail());
                }
                else
                    fail();
            while (take(","));
            if (!take(object ? "}" : "]"))
                fail();
        }
    }
    else if (take("\""))
        value.kind = JsonValue::STRING, value.text = string();
    else if (take("true") || take("false"))
        value.kind = JsonValue::BOOL, value.number = text[at - 2] == 'u';
    else if (text.find_first_of("-0123456789", at) == at) // no NaN, Infinity or hex
    {
        char* end = nullptr;
        value.kind = JsonValue::NUMBER, value.number = std::strtod(text.c_str() + at, &end);
        at = std::size_t(end - text.c_str());
    }
    else if (!take("null"))
        fail();
    if (!from && (take(""), at != text.size()))
        fail();
    return value;
}
} // namespace vorntest
