#pragma once

#include "zeblib2core/Value.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vorn
{
// The shortest text that reads back as the same double ("0.1", "1e-300"); both
// zeros are written "0". NaN and the infinities have no JSON form; callers decide what they become.
std::string FormatNumber(double value);

// Writes indented JSON into a string. Commas, colons and indentation are the
// writer's business; the caller only opens, fills and closes containers.
// Containers opened with inlined = true are written on one line, which keeps
// coordinate triples readable.
class CJsonWriter
{
public:
    explicit CJsonWriter(std::string& out) : m_out(out) {}

    void BeginObject(bool inlined = false);
    void EndObject();
    void BeginArray(bool inlined = false);
    void EndArray();
    // Names the next value of the current object.
    void Key(std::string_view name);

    // NaN and the infinities are written as null.
    void Number(double value);
    void Integer(std::int64_t value);
    // Any bytes: control characters escaped, valid UTF-8 as it is, every
    // other byte as U+FFFD.
    void String(std::string_view text);
    void Bool(bool value);
    void Null();

private:
    struct Level
    {
        bool inlined;
        bool empty;
    };

    void BeforeValue();
    void Open(char bracket, bool inlined);
    void Close(char bracket);
    void NewLine();

    std::string& m_out;
    std::vector<Level> m_levels;
    bool m_afterKey = false;
};

// Writes the numbers as an array on one line.
void WriteNumberArray(CJsonWriter& writer, const std::vector<double>& values);

// Renders a host value: maps as objects with their keys in insertion order,
// vectors as arrays, longs as integers, doubles as numbers (NaN and infinities
// as null), strings as strings.
void WriteValue(CJsonWriter& writer, const TOLX::CValue& value);
} // namespace vorn
