#include "ServiceKit/Text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace Zovi::ServiceKit
{

namespace
{

const std::string MARK = "\xEF\xBF\xBD";

} // namespace

TEST(Text, KeepsValidUtf8)
{
    const std::string texts[] = {
        "",
        "plain",
        std::string("a\0b", 3),
        "\xC2\x80 \xDF\xBF",                                   // two bytes, first and last
        "\xE0\xA0\x80 \xEC\xBF\xBF \xED\x9F\xBF \xEF\xBF\xBF", // three
        "\xF0\x90\x80\x80 \xF3\xBF\xBF\xBF \xF4\x8F\xBF\xBF",  // four
    };
    for (const std::string& text : texts) {
        SCOPED_TRACE(text);
        EXPECT_EQ(toValidUtf8(text), text);
    }
}

TEST(Text, ReplacesEveryByteThatIsNoUtf8)
{
    const struct {
        std::string text;
        std::string expected;
    } rows[] = {
        {"a\x80z", "a" + MARK + "z"}, // a byte that only continues
        {"\xC0\xAF", MARK + MARK},    // overlong, two bytes
        {"\xC1\xBF", MARK + MARK},
        {"\xE0\x9F\xBF", MARK + MARK + MARK},            // overlong, three bytes
        {"\xF0\x8F\xBF\xBF", MARK + MARK + MARK + MARK}, // overlong, four bytes
        {"\xED\xA0\x80", MARK + MARK + MARK},            // a surrogate
        {"\xF4\x90\x80\x80", MARK + MARK + MARK + MARK}, // above U+10FFFF
        {"\xF5\x80\x80\x80", MARK + MARK + MARK + MARK},
        {"\xFE\xFF", MARK + MARK},
        {"\xC3", MARK}, // cut off
        {"\xE2\x82", MARK + MARK},
        {"\xF0\x9F\x98", MARK + MARK + MARK},
        {"\xC3(", MARK + "("}, // what follows is kept
        {"\xE2\x82(", MARK + MARK + "("},
        {"\xF0\x9F\x98(", MARK + MARK + MARK + "("},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(toValidUtf8(row.text), row.expected);
    }
}

TEST(Text, QuotesWithoutControlCharacters)
{
    EXPECT_EQ(inQuotes(""), "''");
    EXPECT_EQ(inQuotes("a b"), "'a b'");
    EXPECT_EQ(inQuotes("a\r\n\x7F\xFFz"), "'a" + MARK + MARK + MARK + MARK + "z'");
}

TEST(Text, CutsQuotedTextBetweenTwoCharacters)
{
    const std::string longest(MAX_QUOTED_LENGTH, 'x');
    EXPECT_EQ(inQuotes(longest), "'" + longest + "'");
    EXPECT_EQ(inQuotes(longest + "y"), "'" + longest + "...'");
    const std::string almost(MAX_QUOTED_LENGTH - 1, 'x');
    EXPECT_EQ(inQuotes(almost + "\xC3\xA4"), "'" + almost + "...'");
}

} // namespace Zovi::ServiceKit
