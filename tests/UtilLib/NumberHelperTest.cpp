#include "NumberHelper.h"

#include <gtest/gtest.h>

#include <limits>

namespace Zovi::Util
{
namespace
{

const double EPSILON = std::numeric_limits<double>::epsilon();
const double INFINITE = std::numeric_limits<double>::infinity();
const double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();

TEST(NumberHelper, TakesNumbersAsEqualUpToADifferenceOfTheEpsilon)
{
    EXPECT_TRUE(eq<double>(1.5, 1.5));
    EXPECT_TRUE(eq<double>(0.0, EPSILON));
    EXPECT_TRUE(eq<double>(EPSILON, 0.0));
    EXPECT_TRUE(eq<double>(0.1 + 0.2, 0.3));
    EXPECT_TRUE(eq<double>(0.0, -0.0));
}

TEST(NumberHelper, TakesNumbersAsDifferentBeyondIt)
{
    EXPECT_FALSE(eq<double>(0.0, 2 * EPSILON));
    EXPECT_FALSE(eq<double>(2 * EPSILON, 0.0));
    EXPECT_FALSE(eq<double>(1e17, 1e17 + 16));
    EXPECT_FALSE(eq<double>(-1.0, 1.0));
}

TEST(NumberHelper, FindsNothingEqualToNaNOrInfinity)
{
    EXPECT_FALSE(eq<double>(NOT_A_NUMBER, NOT_A_NUMBER));
    EXPECT_FALSE(eq<double>(NOT_A_NUMBER, 0.0));
    EXPECT_FALSE(eq<double>(INFINITE, INFINITE));
    EXPECT_FALSE(eq<double>(INFINITE, -INFINITE));
}

TEST(NumberHelper, GoesByTheEpsilonOfTheType)
{
    EXPECT_TRUE(eq<float>(0.0F, std::numeric_limits<float>::epsilon()));
    EXPECT_FALSE(eq<double>(0.0, static_cast<double>(std::numeric_limits<float>::epsilon())));
}

} // namespace
} // namespace Zovi::Util
