#include "ServiceKit/HttpServer.h"

#include "BrokenClients.h"
#include "ClientFrames.h"
#include "JsonMatchers.h"
#include "LiveClient.h"
#include "RawClient.h"
#include "Shelf.h"

#include <Poco/JSON/Object.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace Zovi::ServiceKit
{

namespace
{

using Test::clientClose;
using Test::ClientFrame;
using Test::clientText;
using Test::handshake;
using Test::parseJson;
using Test::RawClient;
using Test::receiveRest;
using Test::ServerFrame;
using Test::Shop;
using Test::takeFrame;
using Test::timeless;
using ::testing::AnyOf;
using ::testing::StartsWith;

// What a frame of the server's carries.
constexpr int TEXT = 0x1;
constexpr int CLOSE = 0x8;
constexpr int PONG = 0xA;

/// What a client sends before it waits for the reply.
struct Step {
    std::string bytes;
    std::string replyEnd; ///< of nothing: the reply lasts until the server closes
};

using Conversation = std::vector<Step>;

const std::string EVENT = "/shop/shelf?$fields=level";

std::string ask(const std::string& type, const std::string& event)
{
    return R"({"type":")" + type + R"(","event":")" + event + "\"}";
}

/// A message of two frames, and a ping between them.
std::string fragments(const std::string& message)
{
    const std::size_t half = message.size() / 2;
    return ClientFrame{0x1, message.substr(0, half), false}.bytes() + ClientFrame{0x9, "and now?"}.bytes() +
           ClientFrame{0x0, message.substr(half)}.bytes();
}

/// Waits for each reply, a state among them, before it goes on.
Conversation patientConversation()
{
    return {
        {handshake(), "\r\n\r\n"},
        {clientText(ask("subscribe", EVENT)), R"("type":"data"})"},
        {ClientFrame{0x9, "there?"}.bytes(), "there?"},
        {fragments(ask("subscribe", "/id")), R"("type":"data"})"},
        {clientText(ask("unsubscribe", EVENT)), R"("type":"unsubscribe"})"},
        {clientClose(1000), ""},
    };
}

/// Sends all at once, and nothing whose reply depends on the time.
Conversation hastyConversation()
{
    return {{handshake() + clientText(ask("subscribe", "/nothing")) + fragments(ask("unsubscribe", EVENT)) +
                 clientClose(4000),
             ""}};
}

const Conversation CONVERSATIONS[] = {patientConversation(), hastyConversation()};

std::string receiveReply(RawClient& client, const Step& step)
{
    return timeless(step.replyEnd.empty() ? client.receiveRest() : client.receiveUntil(step.replyEnd));
}

/// Leads the first `count` steps of `conversation`, and gives the replies.
std::vector<std::string> lead(RawClient& client, const Conversation& conversation, std::size_t count)
{
    std::vector<std::string> replies;
    for (std::size_t i = 0; i < count; ++i) {
        client.send(conversation[i].bytes);
        replies.push_back(receiveReply(client, conversation[i]));
    }
    return replies;
}

/// All that the client sends.
std::string bytesOf(const Conversation& conversation)
{
    std::string bytes;
    for (const Step& step : conversation)
        bytes += step.bytes;
    return bytes;
}

/// The messages in what a server has sent behind its handshake: whole frames, and nothing behind a close.
std::vector<ServerFrame> framesIn(std::string bytes)
{
    std::vector<ServerFrame> frames;
    while (std::optional<ServerFrame> frame = takeFrame(bytes)) {
        EXPECT_TRUE(frames.empty() || frames.back().opcode != CLOSE) << "something behind the close";
        frames.push_back(*frame);
    }
    EXPECT_EQ(bytes, "") << "no whole frame";
    return frames;
}

/// A point at which a conversation breaks off.
struct Break {
    const Conversation& conversation;
    std::size_t step;
    std::size_t length; ///< of the part of the step that goes well

    const Step& brokenStep() const { return conversation[step]; }
};

class BrokenLiveExchange : public Test::BrokenClients
{
protected:
    /// `timeout` is that of requests, idle connections and silent WebSockets.
    void start(std::chrono::milliseconds timeout)
    {
        ServerOptions options;
        options.requestTimeout = options.idleTimeout = timeout;
        options.live.pingPeriod = options.live.closeTimeout = timeout;
        serve(m_shop.tree, options);
    }

    /// What the server says to each step when nothing goes wrong.
    std::vector<std::string> record(const Conversation& conversation) const
    {
        RawClient client = connect();
        const std::vector<std::string> replies = lead(client, conversation, conversation.size());
        EXPECT_THAT(replies.front(), StartsWith("HTTP/1.1 101 "));
        return replies;
    }

    /// A client that comes to the break, and has sent all before it.
    RawClient sendUpTo(const Break& place) const
    {
        RawClient client = connect();
        lead(client, place.conversation, place.step);
        client.send(place.brokenStep().bytes.substr(0, place.length));
        return client;
    }

    static void atEachByteSent(const std::function<void(const Break&)>& act)
    {
        for (const Conversation& conversation : CONVERSATIONS) {
            for (std::size_t step = 0; step < conversation.size(); ++step) {
                for (std::size_t length = 0; length < conversation[step].bytes.size(); ++length)
                    act({conversation, step, length});
            }
        }
    }

    /// A client that sends `frames` and no more is told something that it can read, and the conversation
    /// ends.
    void expectRepliesOrClose(const std::string& frames) const
    {
        RawClient client = connect();
        client.send(handshake());
        client.receiveUntil("\r\n\r\n");
        client.send(frames);
        client.endSending();
        for (const ServerFrame& frame : framesIn(receiveRest(client))) {
            EXPECT_THAT(frame.opcode, AnyOf(TEXT, CLOSE, PONG));
            if (frame.opcode == TEXT) {
                EXPECT_TRUE(parseJson(frame.payload).extract<Poco::JSON::Object::Ptr>());
            }
        }
    }

    void expectNextWorks() const override
    {
        BrokenClients::expectNextWorks();
        for (const Conversation& conversation : CONVERSATIONS)
            record(conversation);
    }

private:
    Shop m_shop;
};

} // namespace

TEST_F(BrokenLiveExchange, IsTheSameEachTimeWhenItIsWhole)
{
    start(LONG);
    for (const Conversation& conversation : CONVERSATIONS)
        EXPECT_EQ(record(conversation), record(conversation));
}

TEST_F(BrokenLiveExchange, IsAnsweredHoweverItIsDelayed)
{
    start(LONG);
    const std::vector<std::string> replies[] = {record(CONVERSATIONS[0]), record(CONVERSATIONS[1])};
    atEachByteSent([&](const Break& place) {
        SCOPED_TRACE(place.brokenStep().bytes.substr(0, place.length));
        RawClient client = sendUpTo(place);
        BrokenClients::expectNextWorks();
        client.send(place.brokenStep().bytes.substr(place.length));
        const std::vector<std::string>& expected = replies[&place.conversation - CONVERSATIONS];
        EXPECT_EQ(receiveReply(client, place.brokenStep()), expected[place.step]);
    });
}

TEST_F(BrokenLiveExchange, EndsWhenTheClientSendsNoMore)
{
    start(LONG);
    atEachByteSent([this](const Break& place) {
        SCOPED_TRACE(place.brokenStep().bytes.substr(0, place.length));
        RawClient client = sendUpTo(place);
        client.endSending();
        receiveRest(client);
        BrokenClients::expectNextWorks();
    });
}

TEST_F(BrokenLiveExchange, EndsWhenTheClientResetsTheConnection)
{
    start(LONG);
    atEachByteSent([this](const Break& place) {
        sendUpTo(place).reset();
        BrokenClients::expectNextWorks();
    });
}

TEST_F(BrokenLiveExchange, EndsWhenTheClientTakesNoMoreOfTheReplies)
{
    start(LONG);
    for (const Conversation& conversation : CONVERSATIONS) {
        const std::vector<std::string> replies = record(conversation);
        for (std::size_t step = 0; step < conversation.size(); ++step) {
            for (std::size_t length = 0; length < replies[step].size(); ++length) {
                RawClient client = connect();
                lead(client, conversation, step);
                client.send(conversation[step].bytes);
                client.receiveBytes(length);
                client.reset();
            }
        }
    }
}

TEST_F(BrokenLiveExchange, EndsInTimeWhenNothingMoreHappens)
{
    constexpr std::size_t MANY = 128;
    start(std::chrono::milliseconds(100));
    for (const Conversation& conversation : CONVERSATIONS) {
        const std::string bytes = bytesOf(conversation);
        for (std::size_t begin = 0; begin <= bytes.size(); begin += MANY) {
            std::vector<RawClient> clients;
            for (std::size_t length = begin; length <= bytes.size() && length < begin + MANY; ++length) {
                clients.push_back(connect());
                clients.back().send(bytes.substr(0, length));
            }
            for (RawClient& client : clients)
                EXPECT_THAT(receiveRest(client), AnyOf("", StartsWith("HTTP/1.1 ")));
        }
    }
}

TEST_F(BrokenLiveExchange, IsAnsweredOrClosedWhicheverByteOfAFrameIsAnother)
{
    start(LONG);
    for (const Conversation& conversation : CONVERSATIONS) {
        const std::string frames = bytesOf(conversation).substr(handshake().size());
        for (std::size_t position = 0; position < frames.size(); ++position) {
            for (const int difference : {0x01, 0x10, 0x80, 0xFF}) {
                SCOPED_TRACE("byte " + std::to_string(position) + " ^ " + std::to_string(difference));
                std::string changed = frames;
                changed[position] = static_cast<char>(changed[position] ^ difference);
                expectRepliesOrClose(changed);
            }
        }
    }
}

} // namespace Zovi::ServiceKit
