#include "HostTest.h"
#include "JsonMatchers.h"
#include "LiveClient.h"
#include "RawClient.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <list>
#include <memory>
#include <set>
#include <string>
#include <vector>

using Poco::JSON::Object;
using ::testing::AnyOf;
using ::testing::HasSubstr;
using Zovi::Test::ClientFrame;
using Zovi::Test::clientText;
using Zovi::Test::compact;
using Zovi::Test::handshake;
using Zovi::Test::HostProgram;
using Zovi::Test::IsJson;
using Zovi::Test::LiveClient;
using Zovi::Test::RawAnswer;
using Zovi::Test::RawClient;

namespace
{

using Clock = std::chrono::steady_clock;

constexpr unsigned char CONTINUATION = 0x0;
constexpr unsigned char TEXT = 0x1;
constexpr unsigned char PING = 0x9;
constexpr unsigned char PONG = 0xA;

constexpr bool NOT_FINAL = false;

/// Twice as many as the service has places for HTTP and for those who wait for one.
constexpr int CROWD = 256;

/// A little less than what the host gives a client that takes nothing.
constexpr std::chrono::seconds STANDSTILL{8};

/// In KiB: a small part of what is sent. The sanitizers keep what was freed, 256 MiB of it, and notes beside.
/// They also make the list of all processes take longer, it may be, than the host waits for it at its end.
#ifdef KYR_SANITIZED
constexpr long MOST_GROWTH = 512 * 1024;
const char* const LEFT_BEHIND = "kyr-host: leaves a request behind that does not end\n";
#else
constexpr long MOST_GROWTH = 8 * 1024;
const char* const LEFT_BEHIND = "";
#endif

std::string subscription(const std::string& event)
{
    return R"({"type":"subscribe","event":")" + event + "\"}";
}

/// One program for all clients that mean no good. Whatever one of them does, others are answered.
class HostLive : public Zovi::Test::HostTest
{
protected:
    static RawAnswer ask(const std::string& method, const std::string& url, const std::string& body = "")
    {
        RawClient client(*address);
        client.send(method + " " + url + " HTTP/1.1\r\nHost: localhost\r\nContent-Length: " +
                    std::to_string(body.size()) + "\r\n\r\n" + body);
        return client.receive();
    }

    static void expectAnswers()
    {
        EXPECT_EQ(ask("GET", "/host/id").status, 200);
        LiveClient client(*address);
        client.subscribe("/host/id");
        EXPECT_EQ(typeOf(client.receiveJson()), "subscribe");
        EXPECT_EQ(typeOf(client.receiveJson()), "data");
    }

    static std::string typeOf(const Object::Ptr& message) { return message->getValue<std::string>("type"); }
};

/// With as many notes as make a mebibyte, and several events of that size.
class HostLiveNotes : public HostLive
{
protected:
    static constexpr int NOTES = 100;
    static constexpr int EVENTS = 24;

    void SetUp() override
    {
        const std::string note = R"({"name":"a","text":")" + std::string(9'900, 'x') + "\"}";
        for (int i = 0; i < NOTES; ++i)
            m_urls.push_back(ask("POST", "/host/notes", note).header("location"));
    }

    void TearDown() override
    {
        for (const std::string& url : m_urls)
            ask("DELETE", url);
    }

    static void subscribeToAll(LiveClient& client)
    {
        for (int i = 0; i < EVENTS; ++i)
            client.subscribe("/host/notes?$limit=100&$fields=text,other" + std::to_string(i));
    }

    static void readAllStates(LiveClient& client)
    {
        std::set<std::string> events;
        while (events.size() < EVENTS) {
            const Object::Ptr message = client.receiveJson();
            if (typeOf(message) == "data")
                events.insert(message->getValue<std::string>("event"));
        }
    }

private:
    std::vector<std::string> m_urls;
};

} // namespace

TEST_F(HostLive, TellsOfNotesAtOnce)
{
    LiveClient client(*address);
    client.subscribe("/host/notes?$fields=text");
    EXPECT_EQ(typeOf(client.receiveJson()), "subscribe");
    EXPECT_EQ(client.receiveJson()->getArray("data")->size(), 0U);

    const std::string url = ask("POST", "/host/notes", R"({"name":"milk","text":"one"})").header("location");
    EXPECT_THAT(compact(client.receiveJson()), HasSubstr(R"("text":"one")"));
    LiveClient follower(*address);
    follower.subscribe(url);
    EXPECT_EQ(typeOf(follower.receiveJson()), "subscribe");
    EXPECT_THAT(compact(follower.receiveJson()), HasSubstr(R"("text":"one")"));

    EXPECT_EQ(ask("PUT", url, R"({"name":"milk","text":"two"})").status, 200);
    EXPECT_THAT(compact(client.receiveJson()), HasSubstr(R"("text":"two")"));
    EXPECT_THAT(compact(follower.receiveJson()), HasSubstr(R"("text":"two")"));

    EXPECT_EQ(ask("DELETE", url).status, 200);
    EXPECT_EQ(client.receiveJson()->getArray("data")->size(), 0U);
    EXPECT_THAT(compact(follower.receiveJson()), IsJson(R"({"code":410,"event":")" + url +
                                                        R"(","message":"element has gone","type":"error"})"));
}

TEST_F(HostLive, TakesAHundredThousandFragments)
{
    std::string bytes = ClientFrame{TEXT, "", NOT_FINAL}.bytes();
    for (int i = 0; i < 100'000; ++i)
        bytes += ClientFrame{CONTINUATION, "", NOT_FINAL}.bytes();
    LiveClient client(*address);
    client.send(bytes);
    expectAnswers();
    client.send(ClientFrame{CONTINUATION, subscription("/host/id")}.bytes());
    EXPECT_EQ(typeOf(client.receiveJson()), "subscribe");
}

TEST_F(HostLive, BearsEndlessPingsOfWhoDoesNotReadTheAnswers)
{
    std::string pings;
    for (int i = 0; i < 1000; ++i)
        pings += ClientFrame{PING, std::string(125, 'x')}.bytes();
    LiveClient client(*address, handshake(), 4096);
    const long before = program->residentMemory();
    for (int i = 0; i < 100; ++i)
        client.send(pings);
    expectAnswers();
    EXPECT_LT(program->residentMemory() - before, MOST_GROWTH);
    client.send(ClientFrame{PING, "the last"}.bytes());
    Zovi::Test::ServerFrame pong = client.receive();
    while (pong.payload != "the last")
        pong = client.receive();
    EXPECT_EQ(pong.opcode, PONG);
}

TEST_F(HostLive, KeepsNoRoomForWhatIsOnlyAnnounced)
{
    const std::string mask(4, '\0');
    const long before = program->residentMemory();
    std::list<LiveClient> clients;
    for (int i = 0; i < 100; ++i) {
        clients.emplace_back(*address);
        clients.back().send(ClientFrame{TEXT}.head(16 * 1024) + mask);
    }
    for (const std::uint64_t length :
         {std::uint64_t{0x7FFFFFFF}, std::uint64_t{1} << 40, ~std::uint64_t{0}}) {
        SCOPED_TRACE(length);
        clients.emplace_back(*address);
        clients.back().send(ClientFrame{TEXT}.head(length) + mask);
        EXPECT_EQ(clients.back().receiveClose(), 1009);
    }
    expectAnswers();
    EXPECT_LT(program->residentMemory() - before, MOST_GROWTH);
}

TEST_F(HostLive, AnswersWhileHandshakesDrip)
{
    const std::string head = handshake();
    std::vector<std::unique_ptr<RawClient>> clients;
    for (int i = 0; i < CROWD; ++i) {
        clients.push_back(std::make_unique<RawClient>(*address));
        clients.back()->trySend(head.substr(0, 20));
    }
    for (std::size_t next = 20; next < 30; ++next) {
        for (const auto& client : clients)
            client->trySend(head.substr(next, 1));
        expectAnswers();
    }
}

TEST_F(HostLive, AnswersWhileFramesDrip)
{
    const std::string bytes = clientText(subscription("/host/id"));
    std::list<LiveClient> clients;
    for (int i = 0; i < CROWD; ++i)
        clients.emplace_back(*address);
    for (const char byte : bytes) {
        for (LiveClient& client : clients)
            client.send(std::string(1, byte));
        expectAnswers();
    }
    for (LiveClient& client : clients) {
        EXPECT_EQ(typeOf(client.receiveJson()), "subscribe");
        EXPECT_EQ(typeOf(client.receiveJson()), "data");
    }
}

TEST_F(HostLive, TakesSubscriptionsUpToItsBounds)
{
    constexpr int PER_CONNECTION = 64;
    constexpr int IN_ALL = 8192;
    std::list<LiveClient> clients;
    const auto subscribeAndCountAnswers = [](LiveClient& client, const std::string& type, int count) {
        for (int i = 0; i < count; ++i)
            client.subscribe("/host/notes?name=" + std::to_string(i));
        for (int answers = 0; answers < count;)
            answers += typeOf(client.receiveJson()) == type ? 1 : 0;
    };
    for (int i = 0; i < IN_ALL / PER_CONNECTION; ++i) {
        clients.emplace_back(*address);
        subscribeAndCountAnswers(clients.back(), "subscribe", PER_CONNECTION);
        // Who is silent is dropped, however long the others take.
        for (LiveClient& client : clients)
            client.send(ClientFrame{PONG, ""}.bytes());
    }
    EXPECT_EQ(ask("GET", "/host/id").status, 200);
    for (LiveClient* const client : {&clients.front(), &clients.emplace_back(*address)}) {
        client->subscribe("/host/id");
        Object::Ptr answer = client->receiveJson();
        while (typeOf(answer) == "data")
            answer = client->receiveJson();
        EXPECT_EQ(answer->optValue("code", 0), 503) << compact(answer);
    }
}

TEST_F(HostLive, StopsReadingWhoDoesNotReadItsAnswers)
{
    LiveClient client(*address, handshake(), 4096);
    const std::string request = clientText(R"({"type":"data","event":"/host","data":0})");
    std::string requests;
    for (int i = 0; i < 1000; ++i)
        requests += request;
    const long before = program->residentMemory();
    constexpr std::size_t MUCH = 64 * 1024 * 1024;
    EXPECT_LT(client.sendWhileThereIsRoom(requests, MUCH), MUCH);
    expectAnswers();
    EXPECT_LT(program->residentMemory() - before, MOST_GROWTH);
}

TEST_F(HostLiveNotes, TakeLittleForWhoDoesNotReadTheirStates)
{
    const long before = program->residentMemory();
    LiveClient stuck(*address, handshake(), 4096);
    LiveClient reader(*address);
    for (LiveClient* const client : {&stuck, &reader})
        subscribeToAll(*client);
    readAllStates(reader);
    // What evaluating them takes, and no more.
    EXPECT_LT(program->residentMemory() - before, MOST_GROWTH + 12 * 1024);
}

TEST_F(HostLiveNotes, ReachWhoReadsThemSlowly)
{
    LiveClient slow(*address, handshake(), 4096);
    subscribeToAll(slow);
    readAllStates(slow);
}

TEST(HostLiveCrowd, KeepsNobodyAwayWhereThereAreFewDescriptors)
{
#ifdef KYR_SANITIZED
    GTEST_SKIP()
        << "the undefined-behaviour sanitizer needs descriptors itself, and ends the host without them";
#endif
    Zovi::Test::Program program("/bin/sh", {"-c", R"(ulimit -n 64; exec "$0" "$@")", KYR_HOST_PROGRAM,
                                            "--port", "0", "--no-registry", "--database", ":memory:"});
    const Poco::Net::SocketAddress address = HostProgram::addressIn(program.readLine());
    std::list<LiveClient> followers;
    std::list<RawClient> others;
    for (int i = 0; i < 16; ++i)
        followers.emplace_back(address);
    for (int i = 0; i < 100; ++i) {
        others.emplace_back(address); // says nothing
        others.emplace_back(address); // keeps its connection
        others.back().trySend("GET /host/id HTTP/1.1\r\nHost: localhost\r\n\r\n");
    }
    for (int i = 0; i < 20; ++i) {
        RawClient fresh(address);
        fresh.send("GET /host/processes?$limit=100 HTTP/1.1\r\nHost: localhost\r\n\r\n");
        EXPECT_EQ(fresh.receive().status, 200);
    }
}

TEST(HostLiveEnd, ComesSoonAlthoughClientsDoNotTakePartInIt)
{
    HostProgram program;
    const Poco::Net::SocketAddress address = program.waitForAddress();
    std::list<LiveClient> clients;
    for (int i = 0; i < 5; ++i) {
        clients.emplace_back(address);
        clients.back().subscribe("/host/processes", R"(,"interval":100)");
        EXPECT_EQ(clients.back().receiveJson()->getValue<std::string>("type"), "subscribe");
    }
    LiveClient stuck(address, handshake(), 4096);
    for (int i = 0; i < 20; ++i)
        stuck.subscribe("/host/processes?$limit=" + std::to_string(100 - i), R"(,"interval":100)");
    const auto begin = Clock::now();
    program.sendSignal(SIGTERM);
    for (LiveClient& client : clients)
        EXPECT_EQ(client.receiveClose(), 1001);
    EXPECT_EQ(program.wait(), 0);
    EXPECT_LT(Clock::now() - begin, STANDSTILL);
    EXPECT_THAT(program.restOfErrors(), AnyOf("", LEFT_BEHIND));
}
