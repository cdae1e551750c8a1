#include "ServiceKit/EndSignals.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <thread>

namespace Zovi::ServiceKit
{

// A death test runs its statement in a process of its own.

TEST(EndSignals, LetAProgramEndAsItWantsTo)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    for (const int signal : {SIGINT, SIGTERM}) {
        SCOPED_TRACE(signal);
        const auto run = [signal] {
            const EndSignals signals;
            // One that comes before anybody waits, and to any thread, is kept.
            std::thread([signal] { kill(getpid(), signal); }).join();
            signals.wait();
            std::exit(7);
        };
        EXPECT_EXIT(run(), testing::ExitedWithCode(7), "");
    }
}

TEST(EndSignals, LetAWriteFailWhenNobodyReads)
{
    testing::FLAGS_gtest_death_test_style = "threadsafe";
    const auto run = [] {
        const EndSignals signals;
        int ends[2];
        if (pipe(ends) != 0)
            std::exit(1);
        close(ends[0]);
        std::exit(write(ends[1], "a", 1) == -1 ? 7 : 2);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(7), "");
}

} // namespace Zovi::ServiceKit
