#include "LimitedExpression.h"

#include "MatchingBudget.h"
#include "PatternRefusal.h"

#include <Poco/Exception.h>
#include <Poco/RegularExpression.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace Zovi::Command
{

namespace
{

using Test::refusalOf;

bool match(const std::string& pattern, const std::string& text)
{
    return LimitedExpression(pattern, pattern.size()).match(text);
}

/// What matching takes from a budget, without what the text brings.
std::int64_t costOf(const std::string& pattern, const std::string& text)
{
    MatchingBudget budget;
    try {
        match(pattern, text);
    } catch (const Poco::RegularExpressionException&) {
    }
    std::uint64_t left = 0;
    for (std::uint64_t part = MatchingBudget::TOTAL; part != 0; part /= 2) {
        while (budget.take(part))
            left += part;
    }
    return static_cast<std::int64_t>(MatchingBudget::TOTAL) - static_cast<std::int64_t>(left);
}

/// Takes about twice as many steps as there are characters.
const std::string LOOKING_BACK = "^(?=.*x).*y$";

/// What a text of more than 128 characters brings.
constexpr std::int64_t BROUGHT = 2'000;

} // namespace

TEST(LimitedExpression, MatchesTheWholeTextOnly)
{
    EXPECT_TRUE(match("^(a|b)\\1$", "aa"));
    EXPECT_FALSE(match("^(a|b)\\1$", "ab"));
    EXPECT_FALSE(match("^a|b$", "ab"));
    EXPECT_FALSE(match("^a*$", ""));
    EXPECT_FALSE(match("^abc$", "abc\n"));
}

TEST(LimitedExpression, CompilesTheExpressionWithItsLimits)
{
    EXPECT_TRUE(LimitedExpression::compile("^a.c$")->match("abc", 0));
    EXPECT_EQ(
        refusalOf([] { LimitedExpression::compile("^(a+)+b$")->match(std::string(41, 'a') + "!b", 0); }),
        "PCRE error -8");
    EXPECT_EQ(refusalOf([] { LimitedExpression::compile("^(a|b)*$")->match(std::string(9999, 'a'), 0); }),
              "PCRE error -21");
}

/// The offset is that in the pattern itself, without the limits in front.
TEST(LimitedExpression, RefusesWhatDoesNotCompileWithTheOffsetInThePattern)
{
    EXPECT_EQ(refusalOf([] { LimitedExpression::compile("ab(c"); }),
              refusalOf([] { Poco::RegularExpression("ab(c", 0, true); }));
}

TEST(LimitedExpression, GrantsMoreStepsWhereTheFirstDoNotSuffice)
{
    for (const std::size_t length : {10U, 100U, 1'000U, 10'000U}) {
        SCOPED_TRACE(length);
        const std::string text = 'y' + std::string(length, 'x');
        EXPECT_FALSE(match(LOOKING_BACK, text));
        EXPECT_TRUE(match(LOOKING_BACK, text + 'y'));
    }
}

/// A step may cost as much as the text and the pattern are long; 50 steps are tried first, then 200.
TEST(LimitedExpression, CountsWhatItGrantsAtWorst)
{
    const std::string text = 'y' + std::string(300, 'x');
    const auto costOfStep = static_cast<std::int64_t>(LOOKING_BACK.size() + text.size());
    EXPECT_EQ(costOf(LOOKING_BACK, text), (50 + 200 + 800) * costOfStep - BROUGHT);
    // What fails at every attempt takes them all, the first of which a short text brings.
    EXPECT_EQ(costOf("^(a+)+b$", std::string(41, 'a') + "!b"), (800 + 3200 + 12800 + 51200) * (43 + 8));
}

TEST(LimitedExpression, AddsNothingForShortTextsThatNeedFewSteps)
{
    MatchingBudget budget;
    const LimitedExpression expression("^(a|b)\\1$", 10);
    ASSERT_TRUE(budget.take(MatchingBudget::TOTAL));
    for (int text = 0; text != 100'000; ++text)
        ASSERT_FALSE(expression.match("a text of thirty characters...")) << text;
}

TEST(LimitedExpression, AddsNothingForOrdinaryExpressionsOnShortTexts)
{
    for (std::size_t length = 1; length <= 128; ++length)
        EXPECT_EQ(costOf(LOOKING_BACK, std::string(length, 'x')), 0) << length;
    EXPECT_GT(costOf(LOOKING_BACK, std::string(129, 'x')), 0);
}

TEST(LimitedExpression, EndsWhereTheEvaluationHasNothingLeft)
{
    const std::string text = 'y' + std::string(1'000, 'x');
    const LimitedExpression expression(LOOKING_BACK, LOOKING_BACK.size());
    const auto cost = static_cast<std::uint64_t>(costOf(LOOKING_BACK, text));
    MatchingBudget evaluation;
    const std::uint64_t expected = MatchingBudget::TOTAL / cost;
    for (std::uint64_t texts = 0; texts != expected; ++texts)
        ASSERT_FALSE(expression.match(text)) << texts;
    EXPECT_EQ(refusalOf([&] { expression.match(text); }), "the searches take too many steps");
}

TEST(LimitedExpression, GrantsEachTextItsOwnOutsideOfAnEvaluation)
{
    const std::string text = 'y' + std::string(7'000, 'x');
    const LimitedExpression expression(LOOKING_BACK, LOOKING_BACK.size());
    for (int texts = 0; texts != 100; ++texts)
        ASSERT_FALSE(expression.match(text)) << texts;
}

TEST(LimitedExpression, EndsOnTextsOfWhichNoStepMayBeGranted)
{
    EXPECT_EQ(refusalOf([] { match("^(a|b)\\1$", std::string(21'000'000, 'a')); }),
              "the searches take too many steps");
}

} // namespace Zovi::Command
