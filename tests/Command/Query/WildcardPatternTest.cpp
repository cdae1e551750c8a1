#include "WildcardPattern.h"

#include "PlainPattern.h"
#include "RandomSource.h"

#include <gmock/gmock.h>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace Zovi::Command
{

namespace
{

using namespace std::string_literals;
using Test::PlainPattern;
using Test::RandomSource;

using Values = std::vector<std::string>;

std::unique_ptr<const WildcardPattern> patternOf(const Values& values)
{
    return WildcardPattern::create(values);
}

bool match(const Values& values, const std::string& text)
{
    return patternOf(values)->match(text);
}

/// Text that is easily cut or matched in the wrong place.
const std::string NASTY_CHARACTERS = "aaab25\n\n\r \xE4\xFF"s + '\0';

std::string randomText(RandomSource& random, std::size_t longest)
{
    std::string text;
    for (std::size_t length = random.below(longest + 1); length != 0; --length)
        text += random.oneOf(NASTY_CHARACTERS);
    return text;
}

std::string randomList(RandomSource& random)
{
    static const Values parts = {"%", "%", "%",  "%%", "%25", "25", "a",  "a",  "b",  "ab", "aab",  ",",
                                 ",", ",", ", ", ",,", " ",   "\n", "\n", "\r", "\t", "5",  "\xE4", "\xFF"};
    std::string list;
    for (std::size_t count = random.below(9); count != 0; --count)
        list += random.pick(parts);
    if (random.oneIn(6))
        list.insert(random.below(list.size() + 1), 1, '\0');
    return list;
}

/// A text that matches one of the values, or nearly so.
std::string randomSubject(RandomSource& random, const Values& values)
{
    if (values.empty() || random.oneIn(5))
        return randomText(random, 6);
    std::string subject;
    for (const char character : random.pick(values)) {
        if (character == '%')
            subject += randomText(random, 2);
        else if (character != '\0')
            subject += character;
    }
    if (random.oneIn(3))
        subject += random.oneOf("\n\n\nab");
    if (!subject.empty() && random.oneIn(6))
        subject[random.below(subject.size())] = random.oneOf(NASTY_CHARACTERS);
    return subject;
}

std::string repeated(std::string_view text, std::size_t count)
{
    std::string result;
    for (; count != 0; --count)
        result += text;
    return result;
}

} // namespace

TEST(WildcardPattern, IsMadeOfPlainCharactersAndWildcards)
{
    for (const std::string value :
         {"a", "%", "a%b", "%25", " ", "]", "}", "-", "#", "\n", "\xE4", "/a:b;c&=!~'\"<>@_"}) {
        SCOPED_TRACE(value);
        EXPECT_TRUE(patternOf({value}));
    }
}

TEST(WildcardPattern, RefusesEveryCharacterWithAMeaningInRegularExpressions)
{
    for (const char character : "\\^$.[|()?*+{"s) {
        SCOPED_TRACE(character);
        EXPECT_FALSE(patternOf({std::string(1, character)}));
        EXPECT_FALSE(patternOf({"plain", "a%"s + character + "b"}));
    }
}

TEST(WildcardPattern, DoesNotCareForWhatStandsBehindANulByte)
{
    EXPECT_TRUE(patternOf({"a\0("s, "("}));
    EXPECT_FALSE(patternOf({"(", "a\0"s}));
}

TEST(WildcardPattern, MatchesTheWholeText)
{
    struct Row {
        Values values;
        std::string text;
        bool expected;
    };
    const std::vector<Row> rows = {
        // plain text
        {{"abc"}, "abc", true},
        {{"abc"}, "xabcx", false},
        {{"abc"}, "abcd", false},
        {{"abc"}, "ab", false},
        {{"abc"}, "ABC", false},
        {{"a", "b"}, "a", true},
        {{"a", "b"}, "b", true},
        {{"a", "b"}, "a|b", false},
        // wildcards
        {{"%abc%"}, "xabcx", true},
        {{"%abc%"}, "abc", true},
        {{"%abc%"}, "xABCx", false},
        {{"a%b"}, "ab", true},
        {{"a%b"}, "axxb", true},
        {{"a%b"}, "axxbc", false},
        {{"a%a"}, "a", false},
        {{"a%a"}, "aa", true},
        {{"%%"}, "anything", true},
        {{"%"}, "x", true},
        {{"a%"}, "a", true},
        {{"%a"}, "ba", true},
        {{"%a"}, "ab", false},
        {{"%ab%ab%"}, "abab", true},
        {{"%ab%ab%"}, "abxa", false},
        {{"a%b%c"}, "abbcc", true},
        {{"a%bc%c"}, "abc", false},
        // the percent sign that is still encoded: the wildcard is taken, 25 stays
        {{"%25"}, "x25", true},
        {{"%25"}, "25", true},
        {{"%25"}, "x", false},
        {{"%%25%"}, "x25y", true},
        {{"%%25%"}, "xy", false},
        // no match is empty
        {{}, "a", false},
        {{}, "", false},
        {{"%"}, "", false},
        {{"a"}, "", false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(::testing::PrintToString(row.values) + " on " + row.text);
        EXPECT_EQ(match(row.values, row.text), row.expected);
    }
}

TEST(WildcardPattern, TakesNoLineFeedForAWildcard)
{
    EXPECT_FALSE(match({"%"}, "a\nb"));
    EXPECT_FALSE(match({"a%b"}, "a\nb"));
    EXPECT_FALSE(match({"%b"}, "\nb"));
    EXPECT_FALSE(match({"a%"}, "a\n"));
    EXPECT_FALSE(match({"%a%"}, "a\n"));
    EXPECT_FALSE(match({"%b%"}, "\nb"));
    EXPECT_TRUE(match({"%"}, "a\r\tb"));
    EXPECT_TRUE(match({"a%b"}, "a\0b"s));
}

TEST(WildcardPattern, MatchesALineFeedOfItsOwn)
{
    EXPECT_TRUE(match({"a\nb"}, "a\nb"));
    EXPECT_TRUE(match({"%a\nb%"}, "aaa\nbbb"));
    EXPECT_FALSE(match({"%a\nb%"}, "a\na\nb"));
    EXPECT_TRUE(match({"a\n%"}, "a\n"));
    EXPECT_TRUE(match({"%\n%"}, "\n"));
}

TEST(WildcardPattern, LeavesTheDecisionToTheFirstAlternativeThatMatchesAtAll)
{
    // "a%" matches up to the line feed at the end and leaves it over; "a\n%" would have taken it.
    EXPECT_FALSE(match({"a%", "a\n%"}, "a\n"));
    EXPECT_TRUE(match({"a\n%", "a%"}, "a\n"));
    EXPECT_FALSE(match({"a", "%\n%"}, "a\n"));
    EXPECT_TRUE(match({"b", "%\n%"}, "a\n"));
    // An empty match in front of the line feed is none.
    EXPECT_TRUE(match({"%", "%\n%"}, "\n"));
}

TEST(WildcardPattern, EndsAtANulByte)
{
    EXPECT_TRUE(match({"a\0b"s}, "a"));
    EXPECT_FALSE(match({"a\0b"s}, "a\0b"s));
    EXPECT_FALSE(match({"a\0b"s}, "ax"));
    EXPECT_FALSE(match({"a\0"s, "b"}, "b"));
    EXPECT_TRUE(match({"b", "a\0"s}, "b"));
    EXPECT_FALSE(match({"\0"s}, "a"));
    EXPECT_FALSE(match({"\0"s}, "\0"s));
    EXPECT_TRUE(match({"a%\0"s}, "abc"));
    EXPECT_FALSE(match({"a%\0"s}, "abc\n"));
}

TEST(WildcardPattern, ComparesBytesOfAnyValue)
{
    EXPECT_TRUE(match({"\xC3\xA4%"}, "\xC3\xA4\xFF"));
    EXPECT_FALSE(match({"\xC3\xA4"}, "\xC3\x84"));
    EXPECT_TRUE(match({"%\xFF%"}, "a\xFF\x80"));
}

TEST(WildcardPattern, KnowsWhatTextsItCannotMatch)
{
    const std::string digits = "-0123456789";
    for (const Values& values : std::vector<Values>{{"12"}, {"%"}, {"1%2"}, {"abc", "-1"}, {"1\0abc"s}}) {
        SCOPED_TRACE(::testing::PrintToString(values));
        EXPECT_TRUE(patternOf(values)->mayMatchTextOf(digits));
    }
    for (const Values& values : std::vector<Values>{{}, {"abc"}, {"%a%"}, {"1 2"}, {"1%a", "b"}, {"1\n"}}) {
        SCOPED_TRACE(::testing::PrintToString(values));
        EXPECT_FALSE(patternOf(values)->mayMatchTextOf(digits));
    }
}

TEST(WildcardPattern, CountsLiteralsAndAlternatives)
{
    EXPECT_EQ(patternOf({})->size(), 0U);
    EXPECT_EQ(patternOf({"a%bc", "%"})->size(), 5U);
}

TEST(WildcardPattern, TakesLinearTimeOnHostilePatterns)
{
    // Anything more than linear would take hours on these.
    const std::string text = repeated("a", 20'000'000);
    const std::vector<Values> hostile = {
        {repeated("%a", 100'000) + "b"},          {repeated("%", 1'000'000) + "b"},
        {repeated("%aa", 1000) + "%b%"},          {"%" + repeated("a", 10'000'000) + "b%"},
        {"%b" + repeated("a", 10'000'000) + "%"},
    };
    for (std::size_t i = 0; i != hostile.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_FALSE(match(hostile[i], text));
    }
}

TEST(WildcardPattern, GivesWhatTheRegularExpressionOfTheListGives)
{
    constexpr std::size_t LISTS = 40'000;
    constexpr std::size_t SUBJECTS = 8;

    RandomSource random;
    std::size_t pairs = 0;
    std::size_t matches = 0;
    while (pairs < LISTS * SUBJECTS) {
        const Values values = PlainPattern::split(randomList(random));
        if (values.empty())
            continue;
        const auto pattern = patternOf(values);
        ASSERT_TRUE(pattern) << ::testing::PrintToString(values);
        const PlainPattern reference(values);
        for (std::size_t i = 0; i != SUBJECTS; ++i, ++pairs) {
            const std::string subject = randomSubject(random, values);
            const bool expected = reference.match(subject);
            ASSERT_EQ(pattern->match(subject), expected)
                << ::testing::PrintToString(values) << " on " << ::testing::PrintToString(subject);
            matches += expected ? 1U : 0U;
        }
    }
    // Both results must be common for the comparison to mean anything.
    EXPECT_GT(matches, pairs / 10);
    EXPECT_LT(matches, pairs - pairs / 10);
}

} // namespace Zovi::Command
