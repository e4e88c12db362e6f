// The tool's JSON: number texts that read back exactly, and escaping. Its
// layout, and host value maps rendered with their keys in insertion order, are
// checked on the tool's output in test_vorn_cli.

#include "Json.h"

#include <gtest/gtest.h>

#include <cstdlib>

TEST(VornJson, NumbersReadBackExactlyInTheirShortestForm)
{
    // Values, and their text where it is fixed: no trailing digits of a binary
    // expansion, one zero.
    const std::pair<double, std::string> cases[] = {
        {0.1, "0.1"}, {3.0, "3"}, {-0.5, "-0.5"}, {-0.0, "0"}, {1.0 / 3.0, ""}, {-2.5e-300, ""}, {6.02214076e23, ""},
        {4.9406564584124654e-324, ""}, {1e21, ""}, {123456789.0, ""}};
    for (const auto& [value, text] : cases)
        EXPECT_EQ(std::make_pair(std::strtod(vorn::FormatNumber(value).c_str(), nullptr), text.empty() ? text : vorn::FormatNumber(value)),
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
        {"\xed\xa0\x80\xf4\x90\x80\x80", "\\ufffd\\ufffd\\ufffd\\ufffd\\ufffd\\ufffd\\ufffd"}};
    for (const auto& [bytes, string] : cases)
    {
        std::string text;
        vorn::CJsonWriter(text).String(bytes);
        EXPECT_EQ(text, "\"" + string + "\"") << bytes;
    }
}
