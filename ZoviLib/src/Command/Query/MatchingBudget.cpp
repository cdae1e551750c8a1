#include "MatchingBudget.h"

namespace Zovi::Command
{

namespace
{

thread_local MatchingBudget* currentEvaluation = nullptr;

} // namespace

MatchingBudget::MatchingBudget()
    : m_evaluation(currentEvaluation ? currentEvaluation : this)
{
    currentEvaluation = m_evaluation;
}

MatchingBudget::~MatchingBudget()
{
    if (m_evaluation == this)
        currentEvaluation = nullptr;
}

void MatchingBudget::add(std::uint64_t cost)
{
    m_evaluation->m_left += cost;
}

bool MatchingBudget::take(std::uint64_t cost)
{
    if (cost > m_evaluation->m_left)
        return false;
    m_evaluation->m_left -= cost;
    return true;
}

} // namespace Zovi::Command
