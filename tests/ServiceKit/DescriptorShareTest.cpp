#include "DescriptorShare.h"

#include "LogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/resource.h>

#include <cstddef>
#include <limits>

namespace Zovi::ServiceKit
{

using Test::LogCapture;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(DescriptorShare, IsOfWhatTheProcessMayOpen)
{
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &before), 0);
    rlimit few = before;
    few.rlim_cur = 100;
    setrlimit(RLIMIT_NOFILE, &few);
    EXPECT_EQ(descriptorLimit(), 100U);
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(descriptorLimit(), before.rlim_cur);
}

TEST(DescriptorShare, ChangesNothingWhereThereAreEnough)
{
    const LogCapture log;
    const ServerOptions options = withinDescriptors({}, 4096);
    EXPECT_EQ(options.maxConnections, ServerOptions().maxConnections);
    EXPECT_EQ(options.maxQueuedConnections, ServerOptions().maxQueuedConnections);
    EXPECT_EQ(options.live.maxConnections, LiveOptions().maxConnections);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(DescriptorShare, IsAQuarterForEachKindWhereThereAreFew)
{
    const LogCapture log;
    const ServerOptions options = withinDescriptors({}, 64);
    EXPECT_EQ(options.maxConnections, 16);
    EXPECT_EQ(options.maxQueuedConnections, 8);
    EXPECT_EQ(options.live.maxConnections, 16U);
    EXPECT_THAT(log.texts(), ElementsAre("Warning: Only 16 connections and 16 WebSockets are taken: the "
                                         "process may open only 64 files"));
}

TEST(DescriptorShare, IsNeverEmpty)
{
    const LogCapture log;
    const ServerOptions options = withinDescriptors({}, 3);
    EXPECT_EQ(options.maxConnections, 1);
    EXPECT_EQ(options.maxQueuedConnections, 1);
    EXPECT_EQ(options.live.maxConnections, 1U);
}

TEST(DescriptorShare, RaisesNoLimitOfTheService)
{
    const LogCapture log;
    ServerOptions options;
    options.maxConnections = 2;
    options.live.maxConnections = 0;
    options = withinDescriptors(options, 64);
    EXPECT_EQ(options.maxConnections, 2);
    EXPECT_EQ(options.live.maxConnections, 0U);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(DescriptorShare, LeavesAnEighthToFiles)
{
    EXPECT_EQ(highestWaitingDescriptor(64), 56);
    EXPECT_EQ(highestWaitingDescriptor(0), 0);
    EXPECT_EQ(highestWaitingDescriptor(std::numeric_limits<std::size_t>::max()),
              std::numeric_limits<int>::max());
}

} // namespace Zovi::ServiceKit
