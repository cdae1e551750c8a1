#include "OpenConnections.h"

#include "SocketPair.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <future>

namespace Zovi::ServiceKit
{

using namespace std::chrono_literals;
using Test::Arrival;

namespace
{

/// A connection that holds a place.
struct Guest : Arrival {
    explicit Guest(OpenConnections& connections)
        : Arrival(connections)
        , entry(connections, server)
    {
    }

    OpenConnections::Entry entry;
};

/// One that lets the server wait.
struct Waiter : Guest {
    explicit Waiter(OpenConnections& connections)
        : Guest(connections)
    {
        entry.beginWait();
    }
};

} // namespace

TEST(OpenConnections, LeavesAllAloneWhileThereAreFreePlaces)
{
    OpenConnections connections(2, 9);
    Waiter waiter(connections);
    connections.noteArrival();
    EXPECT_FALSE(waiter.isEndedByNow());
}

TEST(OpenConnections, EndsWhoHasLetItWaitForLongest)
{
    OpenConnections connections(3, 9);
    Waiter first(connections);
    Waiter second(connections);
    Waiter third(connections);
    first.entry.beginExchange();
    connections.noteArrival();
    EXPECT_TRUE(second.isEnded());
    EXPECT_FALSE(first.isEndedByNow());
    EXPECT_FALSE(third.isEndedByNow());
}

TEST(OpenConnections, EndsNobodyWhoDoesNotLetItWait)
{
    OpenConnections connections(2, 9);
    Guest busy(connections);
    Waiter answered(connections);
    answered.entry.endWait();
    connections.noteArrival();
    EXPECT_FALSE(busy.isEndedByNow());
    EXPECT_FALSE(answered.isEndedByNow());
}

TEST(OpenConnections, EndsOneForEachThatComes)
{
    OpenConnections connections(3, 9);
    Waiter first(connections);
    Waiter second(connections);
    Waiter third(connections);
    connections.noteArrival();
    EXPECT_TRUE(first.isEnded());
    EXPECT_FALSE(second.isEndedByNow()) << "the one that leaves is counted once";
    connections.noteArrival();
    EXPECT_TRUE(second.isEnded());
    EXPECT_FALSE(third.isEndedByNow());
}

TEST(OpenConnections, EndsNobodyForOneThatIsRefused)
{
    OpenConnections connections(1, 9);
    connections.setRefusals([] { return std::size_t{1}; });
    connections.noteArrival();
    Waiter waiter(connections);
    EXPECT_FALSE(waiter.isEndedByNow());
}

TEST(OpenConnections, EndsWhoBeginsToLetOthersWait)
{
    OpenConnections connections(1, 9);
    Guest guest(connections);
    connections.noteArrival();
    EXPECT_FALSE(guest.isEndedByNow());
    guest.entry.beginWait();
    EXPECT_TRUE(guest.isEnded());
}

TEST(OpenConnections, WaitsForRoomInTheQueueWhileSomebodyLeaves)
{
    OpenConnections connections(1, 1);
    Waiter leaves(connections);
    Arrival queued(connections);
    EXPECT_TRUE(leaves.isEnded());
    std::promise<void> isAsking;
    connections.setRefusals([&isAsking, questions = 0]() mutable {
        if (++questions == 2)
            isAsking.set_value();
        return std::size_t{0};
    });
    std::atomic<bool> hasMoved{false};
    auto next = std::async(std::launch::async, [&] {
        connections.noteArrival();
        return hasMoved.load();
    });
    ASSERT_EQ(isAsking.get_future().wait_for(20s), std::future_status::ready);
    hasMoved = true;
    const OpenConnections::Entry entry(connections, queued.server);
    EXPECT_TRUE(next.get());
}

TEST(OpenConnections, DoesNotWaitForRoomThatWillNotCome)
{
    OpenConnections connections(1, 1);
    Guest busy(connections);
    Arrival queued(connections);
    int questions = 0;
    connections.setRefusals([&questions] {
        ++questions;
        return std::size_t{0};
    });
    connections.noteArrival();
    EXPECT_EQ(questions, 2) << "once to make room and once before it would wait";
}

TEST(OpenConnections, HoldsNoPlaceForWhoHasLeft)
{
    OpenConnections connections(2, 9);
    Waiter stays(connections);
    {
        Guest leaves(connections);
    }
    connections.noteArrival();
    EXPECT_FALSE(stays.isEndedByNow());
}

TEST(OpenConnections, AcceptsThatAClientHasLeft)
{
    OpenConnections connections(1, 9);
    Waiter waiter(connections);
    waiter.server.close();
    EXPECT_NO_THROW(connections.noteArrival());
    EXPECT_NO_THROW(connections.stop());
    EXPECT_NO_THROW(connections.breakOff());
}

TEST(OpenConnections, ReadsNothingMoreOnceItStops)
{
    OpenConnections connections(1, 9);
    Waiter waiter(connections);
    EXPECT_FALSE(connections.isStopping());
    connections.stop();
    EXPECT_TRUE(connections.isStopping());
    connections.noteArrival();
    EXPECT_FALSE(waiter.isEndedByNow()) << "it may still be answered";
    char byte = 0;
    EXPECT_EQ(waiter.server.receiveBytes(&byte, 1), 0);
    connections.breakOff();
    EXPECT_TRUE(waiter.isEnded());
}

TEST(OpenConnections, WaitsUntilAllHaveLeft)
{
    OpenConnections connections(1, 9);
    EXPECT_TRUE(connections.waitUntilClosed(0ms));
    std::promise<void> mayLeave;
    std::promise<void> hasCome;
    auto guest = std::async(std::launch::async, [&] {
        const Guest stays(connections);
        hasCome.set_value();
        mayLeave.get_future().wait();
    });
    hasCome.get_future().wait();
    EXPECT_FALSE(connections.waitUntilClosed(1ms));
    mayLeave.set_value();
    EXPECT_TRUE(connections.waitUntilClosed(20s));
}

} // namespace Zovi::ServiceKit
