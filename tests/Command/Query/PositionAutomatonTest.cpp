#include "PositionAutomaton.h"

#include "RandomSource.h"

#include <Poco/Exception.h>
#include <Poco/RegularExpression.h>

#include <gmock/gmock.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Zovi::Command
{

namespace
{

using namespace std::string_literals;
using Test::RandomSource;

using Expressions = std::vector<std::string>;

bool isUnderstood(const Expressions& expressions)
{
    return PositionAutomaton::create(expressions) != nullptr;
}

std::optional<bool> match(const Expressions& expressions, const std::string& text)
{
    return PositionAutomaton::create(expressions)->match(text);
}

/// What a matcher that tries one way after the other says; nothing if the expressions do not compile or it
/// gives up.
std::optional<bool> plainMatch(const Expressions& expressions, const std::string& text)
{
    std::string alternatives;
    for (const std::string& expression : expressions)
        alternatives += (alternatives.empty() ? "^" : "|^") + expression + "$";
    try {
        return Poco::RegularExpression("(*LIMIT_RECURSION=3000)" + alternatives, 0, true).match(text, 0);
    } catch (const Poco::RegularExpressionException&) {
        return std::nullopt;
    }
}

std::string repeated(const std::string& text, std::size_t count)
{
    std::string result;
    for (; count != 0; --count)
        result += text;
    return result;
}

std::string randomExpression(RandomSource& random)
{
    static const Expressions parts = {
        "a",    "a",    "b",      "b",    ".",      ".*",  "\\.",   "\\d", "\\w", "\\S", "\\W",  "\\n",
        "[ab]", "[^a]", "[0-9a]", "(",    "(",      ")",   ")",     "(?:", "|",   "*",   "+",    "?",
        "??",   "*?",   "{2}",    "{1,}", "{0,2}",  "{0}", "{,",    "-",   "1",   "\n",  "\xE4", "[a-",
        "]",    "^",    "$",      "\\",   "[b\\d]", "[]",  "[^-b]", "\\b", "\\1"};
    std::string expression = random.oneIn(5) ? "(?i)" : "";
    for (std::size_t count = random.below(8); count != 0; --count)
        expression += random.pick(parts);
    return expression;
}

std::string randomText(RandomSource& random)
{
    std::string text;
    for (std::size_t length = 1 + random.below(6); length != 0; --length)
        text += random.oneOf("aaabbAB1.-\n\xE4 ");
    return text;
}

} // namespace

TEST(PositionAutomaton, MatchesTheWholeText)
{
    const struct {
        Expressions expressions;
        std::string text;
        bool expected;
    } ROWS[] = {
        {{"abc"}, "abc", true},
        {{"abc"}, "abcd", false},
        {{"abc"}, "ab", false},
        {{"abc"}, "xabc", false},
        {{"a", "b"}, "b", true},
        {{"a", "b"}, "ab", false},
        {{}, "a", false},
        {{""}, "a", false},
        // the dot and escaped marks
        {{"10.0.0.7"}, "10.0.0.7", true},
        {{"10.0.0.7"}, "10x0x0x7", true},
        {{"10.0.0.7"}, "10.0.0", false},
        {{"10\\.0"}, "10.0", true},
        {{"10\\.0"}, "10x0", false},
        {{"a.b"}, "a\nb", false},
        {{"a\\nb"}, "a\nb", true},
        {{"a\\sb"}, "a\nb", true},
        {{"a\\rb"}, "a\rb", true},
        {{"a\\rb"}, "arb", false},
        {{"a\\tb"}, "a\tb", true},
        {{"a\\tb"}, "atb", false},
        // classes
        {{"[a-c][^a-c]"}, "bx", true},
        {{"[a-c][^a-c]"}, "bb", false},
        {{"[^a]"}, "\n", true},
        {{"[a-]"}, "-", true},
        {{"[\\w.]+@[\\d-]+"}, "ada.l_1@12-3", true},
        {{"[\\w.]+@[\\d-]+"}, "ada l@12", false},
        {{"\\D\\W\\S"}, "a-b", true},
        {{"\\D\\W\\S"}, "1-b", false},
        {{"\xE4"}, "\xE4", true},
        {{"\\w"}, "\xE4", false},
        // groups and repetitions
        {{"(ab|c)+"}, "abcab", true},
        {{"(ab|c)+"}, "abca", false},
        {{"(?:a|)b"}, "b", true},
        {{"a*b?c+"}, "aacc", true},
        {{"a*b?c+"}, "bb", false},
        {{"(a*)*b"}, "aab", true},
        {{"a+?b*?"}, "ab", true},
        {{"a{2}"}, "aa", true},
        {{"a{2}"}, "aaa", false},
        {{"(ab){2,3}"}, "ababab", true},
        {{"(ab){2,3}"}, "ab", false},
        {{"a{2,}"}, "aaaaa", true},
        {{"a{2,}"}, "a", false},
        {{"a{0,1}b{0}c"}, "c", true},
        {{"a{0,1}b{0}c"}, "bc", false},
        {{"a{0,}"}, "aaa", true},
        // case, ignored by the expressions behind as well
        {{"(?i)ab"}, "aB", true},
        {{"(?i)[a-c]\\D"}, "BX", true},
        {{"(?i)[^a-c]"}, "B", false},
        {{"(?i)a", "b"}, "B", true},
        {{"a", "(?i)b"}, "A", false},
        {{"(?i)[@-Z]"}, "{", false},
        {{"(?i)\xC4"}, "\xE4", false},
        // nothing at all, which no text is
        {{"a*"}, "", false},
        // a line feed at the end
        {{"a.*"}, "ab\n", false},
        {{"a\\s"}, "a\n", true},
        {{"[^b]+a\\n"}, "\na\n", true},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(::testing::PrintToString(row.expressions) + " on " + row.text);
        EXPECT_EQ(match(row.expressions, row.text), row.expected);
    }
}

/// `^a\s*$` takes "a" first or "a\n", and only one of them is the whole text.
TEST(PositionAutomaton, LeavesItOpenWhereALineFeedAtTheEndMayBeTakenOrNot)
{
    EXPECT_EQ(match({"a\\s*"}, "a\n"), std::nullopt);
    EXPECT_EQ(match({"a", "a\\n"}, "a\n"), std::nullopt);
    EXPECT_EQ(match({"\\n?"}, "\n"), std::nullopt);
    EXPECT_EQ(match({"a\\s*"}, "b\n"), false);
    EXPECT_EQ(match({"a\\s*"}, "a\n\t"), true);
}

TEST(PositionAutomaton, DoesNotUnderstandWhatIsNoRepetitionOfCharacters)
{
    for (const std::string expression :
         {"a|b",    "^a",      "a$",   "(?=a)a", "a(?i)b",  "(?P<n>a)",    "(?>a)",   "(*COMMIT)a",
          "(a)\\1", "\\bab",   "\\Aa", "\\x41",  "\\Qa\\E", "a++",         "a*+",     "a?+",
          "a{2}+",  "a{2}{2}", "a{",   "a{x}",   "{2}",     "a{,2}",       "a{2,1}",  "a{65}",
          "(a",     "a)",      "[a",   "[]a]",   "[^]a]",   "[[:alpha:]]", "[\\d-z]", "[a-\\d]",
          "[z-a]",  "[\\b]",   "a\\",  "*",      "+",       "a{2",         "a{2x}",   "a{99999999999}",
          "(?:",    "a-[b"}) {
        SCOPED_TRACE(expression);
        EXPECT_FALSE(isUnderstood({expression}));
        EXPECT_FALSE(isUnderstood({"a", expression}));
    }
    EXPECT_FALSE(isUnderstood({"a\0b"s}));
    EXPECT_FALSE(isUnderstood({"[\0]"s}));
}

TEST(PositionAutomaton, UnderstandsAsMuchAsItHasRoomFor)
{
    EXPECT_TRUE(isUnderstood({repeated("a", 64)}));
    EXPECT_FALSE(isUnderstood({repeated("a", 65)}));
    EXPECT_FALSE(isUnderstood({repeated("a", 32), repeated("b", 33)}));
    EXPECT_TRUE(isUnderstood({"a{64}"}));
    EXPECT_TRUE(isUnderstood({repeated("(", 20) + "a" + repeated(")", 20)}));
    EXPECT_FALSE(isUnderstood({repeated("(", 21) + "a" + repeated(")", 21)}));
    EXPECT_FALSE(isUnderstood({repeated("(a)", 21)}));
    EXPECT_TRUE(isUnderstood({repeated("(?:a)", 21)}));
    EXPECT_FALSE(isUnderstood({repeated("(?:", 20) + repeated("){64}", 20)}));
    EXPECT_EQ(match({repeated("a", 63) + "+"}, repeated("a", 1000)), true);
}

TEST(PositionAutomaton, TakesLinearTimeOnHostileExpressions)
{
    // Anything more than linear would take hours on this.
    const std::string text = repeated("a", 1'000'000);
    for (const Expressions& expressions : std::vector<Expressions>{{"(a+)+b"},
                                                                   {"(.|a)*b"},
                                                                   {repeated("a*", 63) + "b"},
                                                                   {repeated(".*a", 31) + "b"},
                                                                   {"(a?){30}(a*){30}b"}}) {
        SCOPED_TRACE(expressions.front());
        EXPECT_EQ(match(expressions, text), false);
        EXPECT_EQ(match({expressions.front() + "?"}, text), true);
    }
}

TEST(PositionAutomaton, GivesWhatTheRegularExpressionGives)
{
    constexpr int ROUNDS = 60'000;
    RandomSource random;
    int compared = 0;
    int matches = 0;
    for (int round = 0; round != ROUNDS; ++round) {
        Expressions expressions{randomExpression(random)};
        if (random.oneIn(3))
            expressions.push_back(randomExpression(random));
        const auto automaton = PositionAutomaton::create(expressions);
        if (!automaton)
            continue;
        for (int i = 0; i != 6; ++i) {
            const std::string text = randomText(random);
            const std::optional<bool> expected = plainMatch(expressions, text);
            // It is asked only about what compiles.
            if (!expected)
                break;
            const std::optional<bool> answer = automaton->match(text);
            if (!answer)
                continue;
            ASSERT_EQ(*answer, *expected)
                << ::testing::PrintToString(expressions) << " on " << ::testing::PrintToString(text);
            ++compared;
            matches += *expected ? 1 : 0;
        }
    }
    EXPECT_GT(compared, ROUNDS);
    EXPECT_GT(matches, compared / 50);
}

} // namespace Zovi::Command
