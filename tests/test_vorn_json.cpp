// The tool's JSON: number texts that read back exactly, escaping, layout, and
// host value maps rendered with their keys in insertion order.

#include "Json.h"

#include "VornNumeric.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>

using vorn::CJsonWriter;
using vorn::FormatNumber;

TEST(VornJson, NumbersReadBackExactlyInTheirShortestForm)
{
    // Values, and their text where it is fixed: no trailing digits of a binary
    // expansion, one zero.
    const std::pair<double, std::string> cases[] = {
        {0.1, "0.1"}, {3.0, "3"}, {-0.5, "-0.5"}, {-0.0, "0"}, {1.0 / 3.0, ""}, {-2.5e-300, ""}, {6.02214076e23, ""},
        {4.9406564584124654e-324, ""}, {1e21, ""}, {123456789.0, ""}};
    for (const auto& [value, text] : cases)
        EXPECT_EQ(std::make_pair(std::strtod(FormatNumber(value).c_str(), nullptr), text.empty() ? text : FormatNumber(value)),
                  std::make_pair(value, text));
}

TEST(VornJson, AnyBytesMakeAValidString)
{
    // Bytes, and the JSON string they give: escapes for quotes, backslashes
    // and control characters, well-formed UTF-8 as it is, and U+FFFD for each
    // byte outside a well-formed sequence (Unicode's table of well-formed
    // byte sequences: no overlong forms, surrogates or code points above
    // U+10FFFF).
    const std::pair<std::string, std::string> cases[] = {
        {"a\"b\\c/", "a\\\"b\\\\c/"},
        {"\n\t\r\x01\x1f\x7f", "\\n\\t\\r\\u0001\\u001f\x7f"},
        {"\xc3\xa9 \xe2\x82\xac \xf0\x9d\x84\x9e \xf4\x8f\xbf\xbf", "\xc3\xa9 \xe2\x82\xac \xf0\x9d\x84\x9e \xf4\x8f\xbf\xbf"},
        {"\xff\x80x", "\\ufffd\\ufffdx"},
        {"\xe2\x82" "A\xc3", "\\ufffd\\ufffdA\\ufffd"},
        {"\xc0\xaf\xe0\x9f\xbf", "\\ufffd\\ufffd\\ufffd\\ufffd\\ufffd"},
        {"\xed\xa0\x80\xf4\x90\x80\x80", "\\ufffd\\ufffd\\ufffd\\ufffd\\ufffd\\ufffd\\ufffd"},
    };
    for (const auto& [bytes, string] : cases)
    {
        std::string text;
        CJsonWriter(text).String(bytes);
        EXPECT_EQ(text, "\"" + string + "\"") << bytes;
    }
}

// Blocks indented, inlined containers on one line (also what they hold),
// non-finite numbers as null, and a host map's keys in insertion order (the
// end-to-end test renders the library's moment maps with their other kinds).
TEST(VornJson, LayoutAndValueMaps)
{
    TOLX::CValueMap map;
    map.SetEntry("zeta", new TOLX::CValueLong(-3));
    map.SetEntry("alpha", new TOLX::CValueDouble(-std::numeric_limits<double>::infinity()));

    std::string text;
    CJsonWriter json(text);
    json.BeginObject();
    json.Key("point");
    json.BeginArray(true);
    json.Number(std::numeric_limits<double>::infinity());
    json.BeginObject(); // nested in an inlined array: stays on the line
    json.Key("ok");
    json.Bool(true);
    json.EndObject();
    json.EndArray();
    json.Key("list");
    json.BeginArray();
    json.Null();
    json.BeginObject();
    json.EndObject();
    vorn::WriteValue(json, map);
    json.EndArray();
    json.EndObject();
    EXPECT_EQ(text, "{\n  \"point\": [null, {\"ok\": true}],\n  \"list\": [\n    null,\n    {},\n    {\n"
                    "      \"zeta\": -3,\n      \"alpha\": null\n    }\n  ]\n}\n");
}
