#include "Timestamp.h"

#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <type_traits>

namespace Zovi
{
namespace
{

std::int64_t systemMilliseconds()
{
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(sinceEpoch).count();
}

TEST(Timestamp, CountsInASignedTypeOf64Bits)
{
    EXPECT_TRUE((std::is_same_v<Timestamp::timestamp_t, std::int64_t>));
}

TEST(Timestamp, IsTheCurrentUnixTimeInMilliseconds)
{
    const std::int64_t before = systemMilliseconds();
    const std::int64_t now = Timestamp::createTimestamp().asMilliseconds();
    const std::int64_t after = systemMilliseconds();
    EXPECT_LE(before, now);
    EXPECT_LE(now, after);
}

TEST(Timestamp, KeepsTheTimeThatItIsMadeFrom)
{
    const std::int64_t times[] = {0,
                                  1,
                                  -1,
                                  1700000000123,
                                  std::numeric_limits<std::int64_t>::max(),
                                  std::numeric_limits<std::int64_t>::min()};
    for (const std::int64_t time : times)
        EXPECT_EQ(Timestamp::createTimestamp(time).asMilliseconds(), time);
}

TEST(Timestamp, IsAPlainValue)
{
    Timestamp copy = Timestamp::createTimestamp(5);
    copy = Timestamp::createTimestamp(7);
    EXPECT_EQ(copy.asMilliseconds(), 7);
    EXPECT_TRUE(std::is_trivially_copyable_v<Timestamp>);
}

} // namespace
} // namespace Zovi
