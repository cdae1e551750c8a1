#include "LimitedExpression.h"

#include "MatchingBudget.h"

#include <Poco/Exception.h>

#include <cstdint>
#include <utility>

namespace Zovi::Command
{

namespace
{

constexpr std::size_t FIRST_STEPS = 50;
constexpr std::size_t MORE_STEPS_FACTOR = 4;

constexpr std::size_t LONGEST_SHORT_TEXT = 128;
constexpr std::size_t STEPS_PER_CHARACTER = 3;

/// What any longer text brings.
constexpr std::uint64_t BROUGHT_BY_LONG_TEXT = 2'000;

std::size_t stepsOf(std::size_t attempt)
{
    std::size_t steps = FIRST_STEPS;
    for (; attempt != 0; --attempt)
        steps *= MORE_STEPS_FACTOR;
    return steps;
}

/// An attempt that does not suffice ends in an exception, which costs more than the steps that a short text
/// takes.
std::size_t firstAttempt(std::size_t length)
{
    std::size_t number = 0;
    while (length <= LONGEST_SHORT_TEXT && stepsOf(number) < length * STEPS_PER_CHARACTER)
        ++number;
    return number;
}

/// A matcher that recurses takes about 512 bytes of stack a level, on x86-64 and on 64-bit Arm alike: 150 KiB
/// here, less than compiling the deepest nesting of parentheses takes anyway.
std::unique_ptr<Poco::RegularExpression> compileWithSteps(const std::string& pattern, std::size_t steps)
{
    const std::string limits = "(*LIMIT_MATCH=" + std::to_string(steps) + ")(*LIMIT_RECURSION=300)";
    return std::make_unique<Poco::RegularExpression>(limits + pattern, 0, true);
}

} // namespace

LimitedExpression::LimitedExpression(std::string pattern, std::size_t longestAlternative)
    : m_pattern(std::move(pattern))
    , m_longestAlternative(longestAlternative)
{
}

std::unique_ptr<Poco::RegularExpression> LimitedExpression::compile(const std::string& pattern)
{
    try {
        return compileWithSteps(pattern, stepsOf(ATTEMPTS - 1));
    } catch (const Poco::RegularExpressionException&) {
        // The text of the exception tells an offset, which is to be that in the pattern itself.
        const Poco::RegularExpression patternAlone(pattern, 0, true);
        throw;
    }
}

bool LimitedExpression::match(const std::string& text) const
{
    MatchingBudget budget;
    const std::uint64_t costOfStep = text.size() + m_longestAlternative;
    const std::size_t first = firstAttempt(text.size());
    budget.add(text.size() <= LONGEST_SHORT_TEXT ? stepsOf(first) * costOfStep : BROUGHT_BY_LONG_TEXT);
    for (std::size_t number = first;; ++number) {
        if (!budget.take(stepsOf(number) * costOfStep))
            throw Poco::RegularExpressionException("the searches take too many steps");
        try {
            return attempt(number, text);
        } catch (const Poco::RegularExpressionException&) {
            if (number == ATTEMPTS - 1)
                throw;
        }
    }
}

bool LimitedExpression::attempt(std::size_t number, const std::string& text) const
{
    Attempt& attempt = m_attempts[number];
    std::call_once(attempt.isCompiled,
                   [&] { attempt.expression = compileWithSteps(m_pattern, stepsOf(number)); });
    return attempt.expression->match(text, 0);
}

} // namespace Zovi::Command
