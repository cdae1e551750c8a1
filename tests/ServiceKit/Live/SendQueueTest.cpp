#include "Live/SendQueue.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

namespace Zovi::ServiceKit
{

namespace
{

SharedFrame frame(const std::string& bytes)
{
    return std::make_shared<const std::string>(bytes);
}

/// All that waits, and the queue is empty.
std::string sendAll(SendQueue& queue)
{
    std::string bytes;
    while (!queue.isEmpty()) {
        bytes += queue.front();
        queue.advance(queue.front().size());
    }
    return bytes;
}

} // namespace

TEST(SendQueue, IsEmptyAtFirst)
{
    const SendQueue queue;
    EXPECT_TRUE(queue.isEmpty());
    EXPECT_EQ(queue.front(), "");
    EXPECT_EQ(queue.replies(), 0u);
}

TEST(SendQueue, KeepsTheOrder)
{
    SendQueue queue;
    queue.push(frame("a"));
    queue.pushState("/x", frame("b"));
    queue.pushPong(frame("c"));
    queue.push(frame("d"));
    EXPECT_EQ(sendAll(queue), "abcd");
    EXPECT_TRUE(queue.isEmpty());
}

TEST(SendQueue, GoesOutInAnyPieces)
{
    SendQueue queue;
    queue.push(frame("abc"));
    queue.push(frame("d"));
    EXPECT_FALSE(queue.advance(2));
    EXPECT_EQ(queue.front(), "c");
    EXPECT_TRUE(queue.advance(1));
    EXPECT_EQ(queue.front(), "d");
}

TEST(SendQueue, HoldsTheNewestStateOfAnEventInThePlaceOfTheOldest)
{
    SendQueue queue;
    queue.pushState("/x", frame("1"));
    queue.push(frame("reply"));
    queue.pushState("/y", frame("2"));
    queue.pushState("/x", frame("3"));
    EXPECT_EQ(sendAll(queue), "3reply2");
}

TEST(SendQueue, LeavesAStateThatHasBegunToGoOut)
{
    SendQueue queue;
    queue.pushState("/x", frame("old"));
    queue.advance(1);
    queue.pushState("/x", frame("new"));
    queue.pushState("/x", frame("newest"));
    queue.dropState("/y");
    EXPECT_EQ(sendAll(queue), "ldnewest");
}

TEST(SendQueue, DropsAStateThatHasNotBegunToGoOut)
{
    SendQueue queue;
    queue.pushState("/x", frame("x"));
    queue.pushState("/y", frame("y"));
    queue.dropState("/x");
    queue.dropState("/x");
    EXPECT_EQ(sendAll(queue), "y");

    queue.pushState("/x", frame("old"));
    queue.advance(1);
    queue.dropState("/x");
    EXPECT_EQ(sendAll(queue), "ld");
}

TEST(SendQueue, HoldsOnePongHoweverManyPings)
{
    SendQueue queue;
    queue.push(frame("reply"));
    for (int i = 0; i < 1000; ++i)
        queue.pushPong(frame(std::to_string(i)));
    EXPECT_EQ(sendAll(queue), "reply999");
}

TEST(SendQueue, DropsStatesAlone)
{
    SendQueue queue;
    queue.pushState("/x", frame("xyz"));
    queue.pushState("/y", frame("y"));
    queue.push(frame("a"));
    queue.pushPong(frame("p"));
    queue.pushState("/z", frame("z"));
    queue.advance(1);
    queue.dropStates();
    EXPECT_EQ(queue.replies(), 1u);
    EXPECT_EQ(sendAll(queue), "yzap");
    queue.dropStates();
    EXPECT_TRUE(queue.isEmpty());
}

TEST(SendQueue, DropsAllButWhatHasBegunToGoOut)
{
    SendQueue queue;
    queue.push(frame("a"));
    queue.dropAll();
    EXPECT_TRUE(queue.isEmpty());
    EXPECT_EQ(queue.replies(), 0u);

    queue.push(frame("abc"));
    queue.push(frame("d"));
    queue.advance(1);
    queue.dropAll();
    EXPECT_EQ(queue.replies(), 1u);
    EXPECT_EQ(sendAll(queue), "bc");

    queue.pushState("/x", frame("xyz"));
    queue.push(frame("d"));
    queue.advance(1);
    queue.dropAll();
    EXPECT_EQ(queue.replies(), 0u);
    EXPECT_EQ(sendAll(queue), "yz");
}

TEST(SendQueue, CountsRepliesAlone)
{
    SendQueue queue;
    queue.push(frame("a"));
    queue.pushState("/x", frame("b"));
    queue.pushPong(frame("c"));
    queue.push(frame("d"));
    EXPECT_EQ(queue.replies(), 2u);
    queue.advance(1);
    EXPECT_EQ(queue.replies(), 1u);
    queue.advance(1);
    EXPECT_EQ(queue.replies(), 1u);
}

} // namespace Zovi::ServiceKit
