// The tool's JSON: number texts that read back exactly, escaping, layout, and
// host value maps rendered with their keys in insertion order.

#include "Json.h"

#include "VornNumeric.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>

using vorn::CJsonWriter;
using vorn::FormatNumber;

TEST(VornJson, NumbersReadBackExactly)
{
    const double values[] = {0.1, 1.0 / 3.0, -2.5e-300, 6.02214076e23, 4.9406564584124654e-324, 1e21, 123456789.0};
    for (const double value : values)
        EXPECT_EQ(std::strtod(FormatNumber(value).c_str(), nullptr), value) << FormatNumber(value);
    // Shortest form: no trailing digits of a binary expansion.
    EXPECT_EQ(FormatNumber(0.1), "0.1");
    EXPECT_EQ(FormatNumber(3.0), "3");
    EXPECT_EQ(FormatNumber(-0.5), "-0.5");
    EXPECT_EQ(FormatNumber(-0.0), "0");
}

TEST(VornJson, NonFiniteNumbersBecomeNull)
{
    std::string text;
    CJsonWriter json(text);
    json.BeginArray(true);
    json.Number(std::numeric_limits<double>::quiet_NaN());
    json.Number(std::numeric_limits<double>::infinity());
    json.Number(-std::numeric_limits<double>::infinity());
    json.Number(2.0);
    json.EndArray();
    EXPECT_EQ(text, "[null, null, null, 2]\n");
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
    for (const auto& c : cases)
    {
        std::string text;
        CJsonWriter(text).String(c.first);
        EXPECT_EQ(text, "\"" + c.second + "\"") << c.first;
    }
}

TEST(VornJson, LayoutIndentsBlocksAndKeepsInlinedContainersOnOneLine)
{
    std::string text;
    CJsonWriter json(text);
    json.BeginObject();
    json.Key("n");
    json.Integer(-3);
    json.Key("point");
    json.BeginArray(true);
    json.Number(1.5);
    json.BeginObject(); // nested in an inlined array: stays on the line
    json.Key("ok");
    json.Bool(true);
    json.EndObject();
    json.EndArray();
    json.Key("list");
    json.BeginArray();
    json.Null();
    json.String("x");
    json.EndArray();
    json.Key("empty");
    json.BeginObject();
    json.EndObject();
    json.EndObject();
    EXPECT_EQ(text, "{\n"
                    "  \"n\": -3,\n"
                    "  \"point\": [1.5, {\"ok\": true}],\n"
                    "  \"list\": [\n"
                    "    null,\n"
                    "    \"x\"\n"
                    "  ],\n"
                    "  \"empty\": {}\n"
                    "}\n");
}

TEST(VornJson, ValueMapKeepsInsertionOrderAndValueKinds)
{
    using namespace TOLX;
    CValueMap map;
    map.SetEntry("zeta", new CValueDouble(0.25));
    map.SetEntry("alpha", new CValueLong(7));
    map.SetEntry("inertia_or_covariance", new CValueString("inertia", CString::NPOS));
    auto* vector = new CValueVector();
    vector->SetEntry(0, new CValueDouble(1));
    vector->SetEntry(1, new CValueDouble(std::nan("")));
    vector->SetEntry(2, new CValueDouble(-0.5));
    map.SetEntry("vector/x", vector);
    auto* nested = new CValueMap();
    nested->SetEntry("m", new CValueDouble(std::numeric_limits<double>::infinity()));
    map.SetEntry("object 1", nested);
    // Replacing an entry keeps its position.
    map.SetEntry("zeta", new CValueDouble(0.5));

    std::string text;
    CJsonWriter json(text);
    vorn::WriteValue(json, map);
    EXPECT_EQ(text, "{\n"
                    "  \"zeta\": 0.5,\n"
                    "  \"alpha\": 7,\n"
                    "  \"inertia_or_covariance\": \"inertia\",\n"
                    "  \"vector/x\": [1, null, -0.5],\n"
                    "  \"object 1\": {\n"
                    "    \"m\": null\n"
                    "  }\n"
                    "}\n");
}
