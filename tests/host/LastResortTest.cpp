#include "LastResort.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <cstdlib>

namespace Zovi::Host
{

// A death test runs its statement in a process of its own.

TEST(LastResort, EndsAProcessThatDoesNotEnd)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto waitForever = [] {
        endProcessAfter(std::chrono::milliseconds(1));
        while (true)
            pause();
    };
    EXPECT_EXIT(waitForever(), testing::ExitedWithCode(EXIT_SUCCESS), "leaves a request behind");
}

TEST(LastResort, LeavesAProcessAloneThatEndsInTime)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto end = [] {
        endProcessAfter(std::chrono::hours(1));
        std::exit(7);
    };
    EXPECT_EXIT(end(), testing::ExitedWithCode(7), "^$");
}

} // namespace Zovi::Host
