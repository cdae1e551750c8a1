#pragma once

#include <Poco/RegularExpression.h>

#include <array>
#include <cstddef>
#include <memory>
#include <mutex>
#include <string>

namespace Zovi::Command
{

/// A regular expression that is matched with as little effort as a text asks for.
///
/// It grants few steps first and, as long as they do not suffice, four times as many; each attempt takes its
/// cost from the `MatchingBudget` of the evaluation, or from one of its own outside of any. So ordinary texts
/// cost little, although nobody tells how many steps were used. A short text begins with three steps a
/// character, enough for an ordinary expression, and brings what they cost: a collection of such texts takes
/// nothing from the budget. Any number of threads may match with it.
class LimitedExpression
{
public:
    /// `pattern` is one that compiles; a step walks through no more than `longestAlternative` of its
    /// characters. A pattern that tries to set limits of its own cannot: such words count at the very start
    /// only.
    LimitedExpression(std::string pattern, std::size_t longestAlternative);

    /// True if the expression matches the whole of `text`. Throws `Poco::RegularExpressionException` if that
    /// takes more steps than are ever granted, more than the budget has left, or too deep a nesting.
    bool match(const std::string& text) const;

    /// `pattern` with as many steps and as deep a nesting as are ever granted. Throws
    /// `Poco::RegularExpressionException` if it does not compile.
    static std::unique_ptr<Poco::RegularExpression> compile(const std::string& pattern);

private:
    static constexpr std::size_t ATTEMPTS = 6;

    bool attempt(std::size_t number, const std::string& text) const;

    struct Attempt {
        std::once_flag isCompiled;
        std::unique_ptr<Poco::RegularExpression> expression;
    };

    std::string m_pattern;
    std::size_t m_longestAlternative;
    mutable std::array<Attempt, ATTEMPTS> m_attempts;
};

} // namespace Zovi::Command
