#include "MatchingBudget.h"

#include <gtest/gtest.h>

#include <optional>
#include <thread>

namespace Zovi::Command
{

TEST(MatchingBudget, GivesWhatItHasAndNoMore)
{
    MatchingBudget budget;
    EXPECT_FALSE(budget.take(MatchingBudget::TOTAL + 1));
    EXPECT_TRUE(budget.take(MatchingBudget::TOTAL - 10));
    EXPECT_FALSE(budget.take(11));
    EXPECT_TRUE(budget.take(10));
    EXPECT_TRUE(budget.take(0));
    EXPECT_FALSE(budget.take(1));
}

TEST(MatchingBudget, GrowsWithTheTexts)
{
    MatchingBudget budget;
    ASSERT_TRUE(budget.take(MatchingBudget::TOTAL));
    budget.add(20);
    budget.add(3);
    EXPECT_TRUE(budget.take(23));
    EXPECT_FALSE(budget.take(1));
}

TEST(MatchingBudget, IsSharedByAllOfOneEvaluation)
{
    MatchingBudget evaluation;
    {
        MatchingBudget first;
        MatchingBudget second;
        EXPECT_TRUE(first.take(MatchingBudget::TOTAL - 1));
        EXPECT_FALSE(second.take(2));
        second.add(20);
    }
    MatchingBudget third;
    EXPECT_TRUE(third.take(1 + 20));
    EXPECT_FALSE(evaluation.take(1));
}

TEST(MatchingBudget, IsNewForTheNextEvaluation)
{
    for (int evaluation = 0; evaluation != 2; ++evaluation) {
        MatchingBudget budget;
        EXPECT_TRUE(budget.take(MatchingBudget::TOTAL));
    }
}

TEST(MatchingBudget, BelongsToOneThread)
{
    MatchingBudget budget;
    ASSERT_TRUE(budget.take(MatchingBudget::TOTAL));
    bool isGranted = false;
    std::thread([&isGranted] { isGranted = MatchingBudget().take(MatchingBudget::TOTAL); }).join();
    EXPECT_TRUE(isGranted);
    EXPECT_FALSE(budget.take(1));
}

} // namespace Zovi::Command
