#include "CompareHelper.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>

namespace Zovi::Util
{
namespace
{

const double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

TEST(CompareHelper, NumbersItsResultsFromLessToUnknown)
{
    EXPECT_EQ(static_cast<int>(CompareResult::LESS), 0);
    EXPECT_EQ(static_cast<int>(CompareResult::EQUAL), 1);
    EXPECT_EQ(static_cast<int>(CompareResult::GREATER), 2);
    EXPECT_EQ(static_cast<int>(CompareResult::UNKNOWN), 3);
}

TEST(CompareHelper, ConvertsTheSignOfANumber)
{
    EXPECT_EQ(CompareHelper::convertResult(std::numeric_limits<int>::min()), LESS);
    EXPECT_EQ(CompareHelper::convertResult(-1), LESS);
    EXPECT_EQ(CompareHelper::convertResult(0), EQUAL);
    EXPECT_EQ(CompareHelper::convertResult(1), GREATER);
    EXPECT_EQ(CompareHelper::convertResult(std::numeric_limits<int>::max()), GREATER);
}

TEST(CompareHelper, ConvertsAResultIntoANumberOfItsSign)
{
    EXPECT_LT(CompareHelper::convertResult(LESS), 0);
    EXPECT_EQ(CompareHelper::convertResult(EQUAL), 0);
    EXPECT_GT(CompareHelper::convertResult(GREATER), 0);
    EXPECT_EQ(CompareHelper::convertResult(UNKNOWN), 0);
}

template <typename T>
void expectOrdered(const T& less, const T& greater)
{
    EXPECT_LT(compare<T>(less, greater), 0);
    EXPECT_GT(compare<T>(greater, less), 0);
    EXPECT_EQ(compare<T>(less, less), 0);
    EXPECT_EQ(CompareHelper::compare<T>(less, greater), LESS);
    EXPECT_EQ(CompareHelper::compare<T>(greater, less), GREATER);
    EXPECT_EQ(CompareHelper::compare<T>(greater, greater), EQUAL);
}

TEST(CompareHelper, ComparesValuesThreeWays)
{
    expectOrdered<double>(-0.5, 0.25);
    expectOrdered<double>(1.0, 1.0 + std::numeric_limits<double>::epsilon());
    expectOrdered<std::int64_t>(std::numeric_limits<std::int64_t>::min(),
                                std::numeric_limits<std::int64_t>::max());
    expectOrdered<std::uint64_t>(0, std::numeric_limits<std::uint64_t>::max());
    expectOrdered<std::string>("10", "9");
}

TEST(CompareHelper, FindsNaNEqualToEverything)
{
    EXPECT_EQ(compare<double>(NOT_A_NUMBER, 1.0), 0);
    EXPECT_EQ(compare<double>(1.0, NOT_A_NUMBER), 0);
    EXPECT_EQ(CompareHelper::compare<double>(NOT_A_NUMBER, NOT_A_NUMBER), EQUAL);
}

} // namespace
} // namespace Zovi::Util
