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

std::size_t stepsOf(std::size_t attempt)
{
    std::size_t steps = FIRST_STEPS;
    for (; attempt != 0; --attempt)
        steps *= MORE_STEPS_FACTOR;
    return steps;
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
    budget.addText();
    const std::uint64_t costOfStep = text.size() + m_longestAlternative;
    for (std::size_t number = 0;; ++number) {
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
