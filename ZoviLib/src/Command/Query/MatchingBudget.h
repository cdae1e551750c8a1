#pragma once

#include <cstdint>

namespace Zovi::Command
{

/// What the regular expressions of one evaluation may cost together, in this thread.
///
/// A matcher that tries one way after the other is granted a number of steps, each of which may look at the
/// whole text and walk through the whole expression. That product is the cost of a text, taken before the
/// text is matched: a count, the same on every machine. Each text brings what the first steps on it cost, so
/// that large collections of short texts are never short of it.
///
/// The first budget of a thread begins an evaluation that lasts as long as it does; those made meanwhile draw
/// on it.
class MatchingBudget
{
public:
    /// About a second of the worst that a step may do.
    static constexpr std::uint64_t TOTAL = 1'000'000'000;

    MatchingBudget();
    ~MatchingBudget();

    MatchingBudget(const MatchingBudget&) = delete;
    MatchingBudget& operator=(const MatchingBudget&) = delete;

    /// Adds what a text brings that is about to be matched.
    void add(std::uint64_t cost);

    /// Takes `cost`; false, and nothing is taken, if there is less left.
    bool take(std::uint64_t cost);

private:
    MatchingBudget* m_evaluation;
    std::uint64_t m_left = TOTAL;
};

} // namespace Zovi::Command
