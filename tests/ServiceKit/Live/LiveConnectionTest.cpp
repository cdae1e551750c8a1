#include "Live/LiveConnection.h"

#include "ClientFrames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Zovi::ServiceKit
{

using namespace std::chrono_literals;
using Test::clientClose;
using Test::ClientFrame;
using Test::clientText;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{

SharedFrame text(const std::string& payload)
{
    return std::make_shared<const std::string>(makeFrame(Opcode::TEXT, payload));
}

class LiveConnectionTest : public ::testing::Test
{
protected:
    /// The messages that have become whole.
    std::vector<std::string> receive(const std::string& bytes) { return receive(connection, bytes); }

    std::vector<std::string> receive(LiveConnection& receiver, std::string_view bytes) const
    {
        std::vector<std::string> messages;
        while (std::optional<std::string> message = receiver.receive(bytes, now))
            messages.push_back(std::move(*message));
        return messages;
    }

    /// All that waits, as if it had gone out.
    std::string takeSent()
    {
        std::string bytes;
        while (connection.wantsToSend()) {
            bytes += connection.nextBytes();
            connection.noteSent(connection.nextBytes().size(), now);
        }
        return bytes;
    }

    LiveOptions options;
    LiveConnection::Time now{std::chrono::hours(100)};
    LiveConnection connection{options, now};
};

} // namespace

TEST_F(LiveConnectionTest, GivesTheMessagesThatHaveBecomeWhole)
{
    const std::string bytes = clientText("a") + clientText("b") + clientText("c");
    EXPECT_THAT(receive(bytes.substr(0, bytes.size() - 1)), ElementsAre("a", "b"));
    EXPECT_THAT(receive(bytes.substr(bytes.size() - 1)), ElementsAre("c"));
    EXPECT_FALSE(connection.wantsToSend());
}

TEST_F(LiveConnectionTest, AnswersThePingThatCameLast)
{
    receive(ClientFrame{0x9, "1"}.bytes() + ClientFrame{0x9, "2"}.bytes());
    EXPECT_EQ(takeSent(), makeFrame(Opcode::PONG, "2"));
    receive(ClientFrame{0xA, "3"}.bytes());
    EXPECT_FALSE(connection.wantsToSend());
}

TEST_F(LiveConnectionTest, HoldsLittleHoweverManyPingsCome)
{
    for (int i = 0; i < 1000; ++i)
        receive(ClientFrame{0x9, std::string(125, 'x')}.bytes());
    EXPECT_EQ(takeSent().size(), 127u);
}

TEST_F(LiveConnectionTest, KeepsNoFurtherStateWhileMuchWaits)
{
    const SharedFrame large = text(std::string(256 * 1024, 'x'));
    EXPECT_TRUE(connection.hasRoom());
    EXPECT_TRUE(connection.sendState("/a", large, now));
    EXPECT_FALSE(connection.hasRoom());
    EXPECT_FALSE(connection.sendState("/b", text("b"), now));
    EXPECT_TRUE(connection.sendState("/a", text("a"), now)) << "in the place of the older one";
    EXPECT_TRUE(connection.hasRoom());
    EXPECT_TRUE(connection.sendState("/b", large, now));
    EXPECT_EQ(takeSent(), *text("a") + *large);
    EXPECT_TRUE(connection.hasRoom());
    connection.close(1001, now);
    EXPECT_TRUE(connection.sendState("/c", large, now)) << "nothing is sent any more";
    EXPECT_EQ(takeSent(), makeCloseFrame(1001));
}

TEST_F(LiveConnectionTest, AnswersACloseByItsCode)
{
    EXPECT_THAT(receive(clientText("a") + clientClose(4000) + clientText("b")), ElementsAre("a"));
    EXPECT_FALSE(connection.hasSentAll());
    EXPECT_EQ(takeSent(), makeCloseFrame(4000));
    EXPECT_TRUE(connection.hasSentAll());
}

TEST_F(LiveConnectionTest, RepliesToWhatCameBeforeAClose)
{
    for (const std::string& end : {clientClose(1000), clientClose(1005)}) {
        SCOPED_TRACE(end);
        LiveConnection other(options, now);
        const std::string bytes = clientText("a") + ClientFrame{0x9, "1"}.bytes() + end + clientText("b");
        std::string_view left = bytes;
        EXPECT_EQ(other.receive(left, now), "a");
        other.send(text("to a"), now);
        other.sendState("/x", text("state"), now);
        EXPECT_EQ(other.receive(left, now), std::nullopt);
        EXPECT_EQ(other.nextBytes(), makeFrame(Opcode::TEXT, "to a"));
        other.noteSent(other.nextBytes().size(), now);
        EXPECT_EQ(other.nextBytes(), makeFrame(Opcode::PONG, "1"));
        other.noteSent(other.nextBytes().size(), now);
        EXPECT_EQ(other.nextBytes(), makeCloseFrame(end == clientClose(1000) ? 1000 : 1002));
    }
}

TEST_F(LiveConnectionTest, ClosesOnWhatItCannotTake)
{
    const struct {
        std::string bytes;
        std::uint16_t code;
    } rows[] = {
        {ClientFrame{0x2, "x"}.bytes(), 1003},
        {ClientFrame{0x1, "x", true, false}.bytes(), 1002},
        {clientText("\xFF"), 1007},
        {clientText(std::string(16 * 1024 + 1, 'x')), 1009},
        {clientClose(1005), 1002},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.code);
        LiveConnection other(options, now);
        EXPECT_THAT(receive(other, row.bytes + clientText("more")), IsEmpty());
        EXPECT_EQ(other.nextBytes(), makeCloseFrame(row.code));
    }
}

TEST_F(LiveConnectionTest, SendsNothingBehindItsClose)
{
    connection.send(text("unsent"), now);
    connection.sendState("/a", text("unsent"), now);
    connection.close(1001, now);
    connection.close(1002, now);
    connection.send(text("late"), now);
    connection.sendState("/a", text("late"), now);
    receive(ClientFrame{0x9, "late"}.bytes());
    EXPECT_EQ(takeSent(), makeCloseFrame(1001));
}

TEST_F(LiveConnectionTest, EndsTheFrameThatHasBegunBeforeItCloses)
{
    connection.send(text("begun"), now);
    connection.noteSent(3, now);
    connection.close(1001, now);
    EXPECT_EQ(takeSent(), makeFrame(Opcode::TEXT, "begun").substr(3) + makeCloseFrame(1001));
}

TEST_F(LiveConnectionTest, DropsAStateThatIsNotWantedAnyMore)
{
    connection.sendState("/a", text("a"), now);
    connection.dropState("/a");
    EXPECT_FALSE(connection.wantsToSend());
}

TEST_F(LiveConnectionTest, ReadsNoMoreWhileManyRepliesWait)
{
    for (int i = 0; i < 32; ++i) {
        EXPECT_TRUE(connection.wantsToReceive()) << i;
        connection.send(text("reply"), now);
    }
    EXPECT_FALSE(connection.wantsToReceive());
    connection.noteSent(connection.nextBytes().size(), now);
    EXPECT_TRUE(connection.wantsToReceive());
}

TEST_F(LiveConnectionTest, IsOverWhenAFrameDoesNotGoOutInTime)
{
    connection.send(text("a"), now);
    connection.send(text("b"), now);
    now += options.sendTimeout;
    connection.checkTimes(now);
    EXPECT_FALSE(connection.isOver());
    connection.noteSent(connection.nextBytes().size(), now);
    now += options.sendTimeout;
    connection.checkTimes(now);
    EXPECT_FALSE(connection.isOver()) << "the second frame has its own time";
    connection.noteSent(1, now);
    connection.checkTimes(now + 1ms);
    EXPECT_TRUE(connection.isOver()) << "a byte now and then is not enough";
}

TEST_F(LiveConnectionTest, HasAllTheTimeWhileThereIsNothingToSend)
{
    connection.send(text("a"), now);
    takeSent();
    now += options.sendTimeout * 2;
    receive(clientText("x"));
    connection.send(text("b"), now);
    connection.checkTimes(now);
    EXPECT_FALSE(connection.isOver());
    EXPECT_EQ(takeSent(), makeFrame(Opcode::TEXT, "b"));
}

TEST_F(LiveConnectionTest, AsksWhetherASilentClientLives)
{
    now += options.pingPeriod;
    connection.checkTimes(now);
    EXPECT_FALSE(connection.wantsToSend());
    now += 1ms;
    connection.checkTimes(now);
    connection.checkTimes(now);
    EXPECT_EQ(takeSent(), makeFrame(Opcode::PING, ""));
    receive(ClientFrame{0xA, ""}.bytes());
    now += options.pingPeriod + 1ms;
    connection.checkTimes(now);
    EXPECT_EQ(takeSent(), makeFrame(Opcode::PING, ""));
    now += options.pingPeriod;
    connection.checkTimes(now);
    EXPECT_TRUE(connection.isOver());
}

TEST_F(LiveConnectionTest, DoesNotWaitForeverForTheClientToEnd)
{
    connection.close(1001, now);
    takeSent();
    now += options.closeTimeout;
    connection.checkTimes(now);
    EXPECT_FALSE(connection.isOver());
    receive("garbage");
    connection.checkTimes(now + 1ms);
    EXPECT_TRUE(connection.isOver());
}

} // namespace Zovi::ServiceKit
