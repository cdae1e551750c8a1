#include "StringHelper.h"

#include <gtest/gtest.h>

#include <cmath>
#include <type_traits>

namespace Zovi::Util
{
namespace
{

TEST(StringHelper, ReadsADecimalPointAndCommasBetweenThousands)
{
    struct Row {
        std::string text;
        double number;
    };
    const Row rows[] = {
        {"0", 0.0},
        {"1.5", 1.5},
        {"1.50", 1.5},
        {"-2.25", -2.25},
        {"1e3", 1000.0},
        {"1,234.5", 1234.5},
        {"1,234,567", 1234567.0},
        {"+3", 3.0},
        {"  7", 7.0},
        {"2.5E-1", 0.25},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(StringHelper::parseFloat<double>(row.text), row.number);
    }
}

TEST(StringHelper, GivesZeroForATextThatIsNoNumber)
{
    for (const std::string text : {"", "abc", "12 apples", "1.2.3", "--1", "1.5%", ".", "e", "%"}) {
        SCOPED_TRACE(text);
        const double number = StringHelper::parseFloat<double>(text);
        EXPECT_FALSE(std::isnan(number));
        EXPECT_EQ(number, 0.0);
    }
}

TEST(StringHelper, GivesTheTypeThatIsAskedFor)
{
    EXPECT_TRUE((std::is_same_v<decltype(StringHelper::parseFloat<float>("1")), float>));
    EXPECT_EQ(StringHelper::parseFloat<float>("1.5"), 1.5F);
}

} // namespace
} // namespace Zovi::Util
