#include "DeadlineSocket.h"

#include "SocketPair.h"

#include <Poco/AutoPtr.h>
#include <Poco/Exception.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <string>

namespace Zovi::ServiceKit
{

using namespace std::chrono_literals;

namespace
{

class DeadlineSocketTest : public ::testing::Test
{
protected:
    Poco::AutoPtr<DeadlineSocket> makeSocket(std::chrono::milliseconds requestTimeout,
                                             std::chrono::milliseconds answerTimeout)
    {
        return Poco::AutoPtr<DeadlineSocket>(
            new DeadlineSocket(pair.server.impl(), entry, requestTimeout, answerTimeout));
    }

    OpenConnections connections{1, 9};
    Zovi::Test::Arrival pair{connections};
    OpenConnections::Entry entry{connections, pair.server};
};

/// More than the system keeps for a client that does not read.
const std::string LONG_ANSWER(12 * 1024 * 1024, 'x');

} // namespace

TEST_F(DeadlineSocketTest, CarriesBytesBothWays)
{
    auto socket = makeSocket(20s, 20s);
    pair.client.sendBytes("?", 1);
    char byte = 0;
    EXPECT_EQ(socket->receiveBytes(&byte, 1, 0), 1);
    EXPECT_EQ(byte, '?');
    EXPECT_EQ(socket->sendBytes("!", 1, 0), 1);
    EXPECT_EQ(pair.client.receiveBytes(&byte, 1), 1);
    EXPECT_EQ(byte, '!');
}

TEST_F(DeadlineSocketTest, GivesUpARequestThatDoesNotArrive)
{
    auto socket = makeSocket(20ms, 20s);
    char byte = 0;
    EXPECT_THROW(socket->receiveBytes(&byte, 1, 0), Poco::TimeoutException);
    pair.client.sendBytes("x", 1);
    ASSERT_TRUE(socket->poll(Poco::Timespan(20, 0), Poco::Net::Socket::SELECT_READ));
    EXPECT_EQ(socket->receiveBytes(&byte, 1, 0), 1) << "what has come is read, late as it is";
}

TEST_F(DeadlineSocketTest, GivesUpAnAnswerThatIsNotTaken)
{
    auto socket = makeSocket(20s, 20ms);
    EXPECT_THROW(socket->sendBytes(LONG_ANSWER.data(), static_cast<int>(LONG_ANSWER.size()), 0),
                 Poco::TimeoutException);
}

TEST_F(DeadlineSocketTest, SendsAllToWhoTakesIt)
{
    auto socket = makeSocket(20s, 20s);
    auto taken = std::async(std::launch::async, [this] {
        std::string received(LONG_ANSWER.size(), '\0');
        std::size_t count = 0;
        while (count < received.size())
            count += static_cast<std::size_t>(
                pair.client.receiveBytes(received.data() + count, static_cast<int>(received.size() - count)));
        return received == LONG_ANSWER;
    });
    EXPECT_EQ(socket->sendBytes(LONG_ANSWER.data(), static_cast<int>(LONG_ANSWER.size()), 0),
              static_cast<int>(LONG_ANSWER.size()));
    EXPECT_TRUE(taken.get());
}

TEST_F(DeadlineSocketTest, LetsItsPlaceBeTakenWhileItWaits)
{
    auto socket = makeSocket(1min, 1min);
    connections.noteArrival();
    char byte = 0;
    EXPECT_EQ(socket->receiveBytes(&byte, 1, 0), 0) << "that is the end of the connection";
    EXPECT_TRUE(pair.isEnded());
}

TEST_F(DeadlineSocketTest, KeepsItsPlaceWhileItNeedNotWait)
{
    auto socket = makeSocket(1min, 1min);
    connections.noteArrival();
    pair.client.sendBytes("x", 1);
    ASSERT_TRUE(pair.server.poll(Poco::Timespan(20, 0), Poco::Net::Socket::SELECT_READ));
    char byte = 0;
    EXPECT_EQ(socket->receiveBytes(&byte, 1, 0), 1);
    EXPECT_EQ(socket->sendBytes("x", 1, 0), 1);
    EXPECT_FALSE(pair.isEnded());
}

TEST_F(DeadlineSocketTest, LeavesTheConnectionToWhoHoldsItToo)
{
    makeSocket(20s, 20s)->close();
    EXPECT_FALSE(pair.isEndedByNow());
    EXPECT_EQ(pair.server.sendBytes("x", 1), 1);
}

} // namespace Zovi::ServiceKit
