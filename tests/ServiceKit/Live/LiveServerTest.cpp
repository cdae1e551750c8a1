#include "Live/LiveServer.h"

#include "JsonMatchers.h"
#include "LiveClient.h"
#include "LogCapture.h"
#include "RawClient.h"
#include "ServiceKit/HttpServer.h"
#include "Shelf.h"

#include <Poco/Exception.h>
#include <Poco/JSON/Stringifier.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Zovi::ServiceKit
{

using namespace std::chrono_literals;
using Test::clientClose;
using Test::ClientFrame;
using Test::clientText;
using Test::compact;
using Test::handshake;
using Test::IsJson;
using Test::LiveClient;
using Test::RawAnswer;
using Test::RawClient;
using Test::Shelf;
using ::testing::HasSubstr;

namespace
{

using Clock = std::chrono::steady_clock;

/// A server that is real but for what stands on its shelves.
class LiveServerTest : public ::testing::Test
{
protected:
    void start()
    {
        server = std::make_unique<HttpServer>(shop.tree, options);
        server->start();
    }

    LiveClient connect(const std::string& head = handshake()) const
    {
        return LiveClient(server->address(), head);
    }

    RawAnswer ask(const std::string& request) const
    {
        RawClient client(server->address());
        client.send(request);
        return client.receive();
    }

    std::string dataOverHttp(const std::string& url) const
    {
        const RawAnswer answer = ask("GET " + url + " HTTP/1.1\r\nHost: localhost\r\n\r\n");
        EXPECT_EQ(answer.status, 200) << url << answer.body;
        return dataOf(Zovi::Test::parseJson(answer.body).extract<Poco::JSON::Object::Ptr>());
    }

    static std::string dataOf(const Poco::JSON::Object::Ptr& message)
    {
        std::ostringstream text;
        Poco::JSON::Stringifier::stringify(message->get("data"), text);
        if (message->has("paging"))
            Poco::JSON::Stringifier::stringify(message->get("paging"), text);
        return text.str();
    }

    /// Tries until there is room for one more.
    LiveClient connectWhenThereIsRoom() const
    {
        const Clock::time_point end = Clock::now() + 20s;
        for (;;) {
            try {
                return connect();
            } catch (const std::runtime_error&) {
                if (Clock::now() > end)
                    throw;
            }
        }
    }

    /// The state that comes behind the acknowledgement.
    static Poco::JSON::Object::Ptr receiveState(LiveClient& client)
    {
        EXPECT_EQ(client.receiveJson()->getValue<std::string>("type"), "subscribe");
        return receiveData(client);
    }

    static Poco::JSON::Object::Ptr receiveData(LiveClient& client)
    {
        Poco::JSON::Object::Ptr message = client.receiveJson();
        EXPECT_EQ(message->getValue<std::string>("type"), "data") << compact(message);
        return message;
    }

    static std::string levels(const Poco::JSON::Object::Ptr& message)
    {
        std::string text;
        for (const auto& element : *message->getArray("data"))
            text += element.extract<Poco::JSON::Object::Ptr>()->getValue<std::string>("level") + " ";
        return text;
    }

    Zovi::Test::Shop shop;
    ServerOptions options;
    std::unique_ptr<HttpServer> server;
};

const std::string LEVELS = "/shop/shelf?$fields=level";

} // namespace

TEST_F(LiveServerTest, OpensOnAnyAddressThatIsThere)
{
    start();
    for (const std::string& path :
         {std::string("/"), std::string("/id"), std::string("/shop"), std::string("/shop/spec"),
          std::string("/shop/shelf"), std::string("/shop/shelf/id"), shop.shelf->addressOf(1)}) {
        SCOPED_TRACE(path);
        LiveClient client = connect(handshake(path));
        client.send(clientClose(1000));
        EXPECT_EQ(client.receiveClose(), 1000);
        EXPECT_THAT(client.head(), HasSubstr("Sec-WebSocket-Accept: s3pPLMBiTxaQ9kYGzzhZRbK+xOo="));
    }
}

TEST_F(LiveServerTest, RefusesToOpen)
{
    start();
    const std::string version8 = "GET / HTTP/1.1\r\nHost: localhost\r\nUpgrade: websocket\r\n"
                                 "Connection: Upgrade\r\nSec-WebSocket-Version: 8\r\n\r\n";
    const struct {
        std::string request;
        int status;
    } rows[] = {
        {handshake("/shop/nothing"), 404},
        {handshake("/shop/shelf/1"), 404},
        {handshake("/", "Origin: http://stranger.example\r\n"), 403},
        {handshake("/", "Host: stranger.example\r\n"), 400},
        {"GET / HTTP/1.1\r\nHost: stranger.example\r\nUpgrade: websocket\r\n\r\n", 421},
        {"GET / HTTP/1.1\r\nHost: localhost\r\nUpgrade: websocket\r\n\r\n", 400},
        {handshake("/", "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n"), 400},
        {version8, 426},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.request);
        EXPECT_EQ(ask(row.request).status, row.status);
    }
    EXPECT_EQ(ask(version8).header("sec-websocket-version"), "13");
    EXPECT_EQ(ask(version8).header("upgrade"), "websocket");
    EXPECT_NO_THROW(connect(handshake("/", "Origin: http://localhost\r\n")));
}

TEST_F(LiveServerTest, TakesWhatComesRightBehindTheHandshake)
{
    start();
    LiveClient client = connect(handshake() + clientText(R"({"type":"subscribe","event":"/id"})"));
    EXPECT_EQ(receiveState(client)->getValue<std::string>("event"), "/id");
}

TEST_F(LiveServerTest, TellsTheStateAsItIsToldOverHttp)
{
    start();
    const std::string jar = shop.shelf->addressOf(2);
    const std::string events[] = {
        "/",
        "/id",
        "/shop",
        "/shop/id",
        "/shop/spec",
        "/shop/accessrights",
        "/shop/shelf",
        "/shop/shelf/id",
        "/shop/shelf/spec",
        jar,
        "/api/v1/shop/shelf",
        "/shop/shelf?$fields=level",
        "/shop/shelf?$sortby=-level",
        "/shop/shelf?$limit=1",
        "/shop/shelf?$limit=0",
        "/shop/shelf?$limit=-2",
        "/shop/shelf?$offset=1",
        "/shop/shelf?$offset=1&$limit=1",
        "/shop/shelf?$offset=-2&$limit=2",
        "/shop/shelf?$offset=" + Shelf::idOf(2).toString() + "&$limit=-1",
        "/shop/shelf?$q=jar2",
        "/shop/shelf?$q=%25r3",
        "/shop/shelf?level=2",
        "/shop/shelf?level=1,3&$sortby=-level&$fields=level&$limit=1",
        "/shop/shelf?$expand=0",
        jar + "?$expand=0",
        jar + "?$expand=3",
        jar + "?$expand=parent",
        jar + "?$fields=level",
        "/shop/shelf?name=nobody",
    };
    LiveClient client = connect();
    for (const std::string& event : events) {
        SCOPED_TRACE(event);
        client.subscribe(event);
        const Poco::JSON::Object::Ptr acknowledgement = client.receiveJson();
        ASSERT_THAT(compact(acknowledgement),
                    IsJson(R"({"event":")" + event + R"(","status":"ok","type":"subscribe"})"));
        const Poco::JSON::Object::Ptr state = receiveData(client);
        EXPECT_EQ(dataOf(state), dataOverHttp(event));
        EXPECT_EQ(state->getValue<std::string>("event"), event);
        EXPECT_EQ(state->getValue<std::string>("status"), "ok");
        EXPECT_TRUE(state->has("timestamp"));
        client.unsubscribe(event);
        EXPECT_EQ(client.receiveJson()->getValue<std::string>("type"), "unsubscribe");
    }
}

TEST_F(LiveServerTest, TellsOfAChangeAtOnceWhereTheResourceTellsOfIt)
{
    options.live.shortestPollPeriod = 1h;
    start();
    LiveClient client = connect();
    client.subscribe(LEVELS);
    EXPECT_EQ(levels(receiveState(client)), "1 2 3 ");
    shop.shelf->put(2, 20);
    EXPECT_EQ(levels(receiveData(client)), "1 20 3 ");
    shop.shelf->put(4, 4);
    EXPECT_EQ(levels(receiveData(client)), "1 20 3 4 ");
}

TEST_F(LiveServerTest, FindsOutAChangeWhereTheResourceDoesNotTellOfIt)
{
    options.live.shortestPollPeriod = 1ms;
    start();
    LiveClient client = connect();
    client.subscribe("/shop/cellar?$fields=level");
    EXPECT_EQ(levels(receiveState(client)), "1 2 3 ");
    shop.cellar->put(2, 20);
    EXPECT_EQ(levels(receiveData(client)), "1 20 3 ");
}

TEST_F(LiveServerTest, LeavesOutWhatHasLeftTheFilterOrThePage)
{
    start();
    LiveClient client = connect();
    client.subscribe(LEVELS + "&level=1,2,3");
    EXPECT_EQ(levels(receiveState(client)), "1 2 3 ");
    shop.shelf->put(2, 20);
    EXPECT_EQ(levels(receiveData(client)), "1 3 ");
    client.unsubscribe(LEVELS + "&level=1,2,3");
    client.receiveJson();

    client.subscribe(LEVELS + "&$sortby=-level&$limit=2");
    EXPECT_EQ(levels(receiveState(client)), "20 3 ");
    shop.shelf->put(1, 10);
    EXPECT_EQ(levels(receiveData(client)), "20 10 ");
}

TEST_F(LiveServerTest, KeepsTheUpdateLimit)
{
    start();
    LiveClient client = connect();
    client.subscribe(LEVELS, R"(,"updatelimit":200)");
    auto last = receiveState(client)->getValue<Poco::Int64>("timestamp");
    for (int level = 10; level < 13; ++level) {
        shop.shelf->put(1, level);
        const auto next = receiveData(client)->getValue<Poco::Int64>("timestamp");
        EXPECT_GE(next - last, 199) << "the times are whole milliseconds of another clock";
        last = next;
    }
}

TEST_F(LiveServerTest, TellsAtTheIntervalChangedOrNot)
{
    options.live.shortestInterval = 1ms;
    start();
    LiveClient client = connect();
    client.subscribe(LEVELS, R"(,"interval":20,"updatelimit":1)");
    receiveState(client);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(levels(receiveData(client)), "1 2 3 ");
}

TEST_F(LiveServerTest, TellsThatAnElementIsGone)
{
    start();
    LiveClient client = connect();
    const std::string event = shop.shelf->addressOf(2);
    client.subscribe(event);
    receiveState(client);
    shop.shelf->takeAway(2);
    EXPECT_THAT(compact(client.receiveJson()), IsJson(R"({"code":410,"event":")" + event +
                                                      R"(","message":"element has gone","type":"error"})"));
    shop.shelf->put(2, 2);
    client.unsubscribe(event);
    EXPECT_EQ(client.receiveJson()->getValue<int>("code"), 404);
}

TEST_F(LiveServerTest, SendsNothingBehindTheAnswerToUnsubscribe)
{
    options.live.shortestInterval = 1ms;
    start();
    LiveClient client = connect();
    client.subscribe(LEVELS, R"(,"interval":1,"updatelimit":0)");
    receiveState(client);
    client.unsubscribe(LEVELS);
    std::string type = "data";
    while (type == "data")
        type = client.receiveJson()->getValue<std::string>("type");
    EXPECT_EQ(type, "unsubscribe");
    client.send(ClientFrame{0x9, "still there?"}.bytes());
    EXPECT_EQ(client.receive().opcode, 0xA);
}

TEST_F(LiveServerTest, AnswersWhatComesTogetherWithAClose)
{
    start();
    LiveClient client = connect();
    client.send(ClientFrame{0x9, "there?"}.bytes() + clientText("{}") + clientClose(4000));
    EXPECT_EQ(client.receive().payload, "there?");
    EXPECT_EQ(client.receiveJson()->getValue<std::string>("message"), "No data");
    EXPECT_EQ(client.receiveClose(), 4000);
}

TEST_F(LiveServerTest, AnswersPingsWhileAResourceTakesItsTime)
{
    start();
    std::promise<void> isAsked;
    std::promise<void> mayAnswer;
    std::shared_future<void> answer = mayAnswer.get_future().share();
    shop.shelf->beforeEachAnswer([&, isFirst = true]() mutable {
        if (std::exchange(isFirst, false))
            isAsked.set_value();
        answer.wait();
    });
    LiveClient slow = connect();
    slow.subscribe(LEVELS);
    isAsked.get_future().wait();
    LiveClient other = connect();
    for (LiveClient* client : {&slow, &other}) {
        client->send(ClientFrame{0x9, "there?"}.bytes());
        EXPECT_EQ(client->receive().payload, "there?");
    }
    other.subscribe("/shop/cellar");
    receiveState(other);
    mayAnswer.set_value();
    EXPECT_EQ(levels(receiveState(slow)), "1 2 3 ");
}

TEST_F(LiveServerTest, EvaluatesLittleForWhoSubscribesAndLeavesAgainAndAgain)
{
    options.live.evaluationThreads = 1;
    start();
    std::promise<void> mayAnswer;
    std::shared_future<void> answer = mayAnswer.get_future().share();
    shop.shelf->beforeEachAnswer([answer] { answer.wait(); });
    LiveClient client = connect();
    for (int i = 0; i < 200; ++i) {
        client.subscribe(LEVELS);
        client.send(ClientFrame{0x9, "taken?"}.bytes());
        EXPECT_EQ(client.receive().payload, "taken?");
        client.send(clientText(R"({"type":"unsubscribe","event":")" + LEVELS + "\"}"));
        EXPECT_EQ(client.receiveJson()->getValue<std::string>("type"), "subscribe");
        EXPECT_EQ(client.receiveJson()->getValue<std::string>("type"), "unsubscribe");
    }
    mayAnswer.set_value();
    client.subscribe("/shop/cellar");
    receiveState(client);
    EXPECT_LE(shop.shelf->questions(), 16) << "the others went with their subscription";
}

TEST_F(LiveServerTest, EvaluatesAnEventOnceForAllItsSubscribers)
{
    start();
    std::vector<LiveClient> clients;
    for (int i = 0; i < 10; ++i) {
        clients.push_back(connect());
        clients.back().subscribe(LEVELS, R"(,"updatelimit":0)");
        receiveState(clients.back());
    }
    const int before = shop.shelf->questions();
    shop.shelf->put(1, 10);
    for (LiveClient& client : clients)
        EXPECT_EQ(levels(receiveData(client)), "10 2 3 ");
    EXPECT_EQ(shop.shelf->questions() - before, 1);
}

TEST_F(LiveServerTest, TellsAnErrorOfTheResourceAndItsEnd)
{
    const Zovi::Test::LogCapture log;
    start();
    LiveClient client = connect();
    client.subscribe(LEVELS);
    receiveState(client);
    shop.shelf->beforeEachAnswer([] { throw Poco::IOException("broken shelf"); });
    shop.shelf->put(1, 10);
    EXPECT_EQ(client.receiveJson()->getValue<int>("code"), 500);
    shop.shelf->beforeEachAnswer({});
    shop.shelf->put(1, 11);
    EXPECT_EQ(levels(receiveData(client)), "11 2 3 ");
    EXPECT_THAT(log.texts(),
                ::testing::Contains("Error: Event failed: " + LEVELS + ": I/O error: broken shelf"));
}

TEST_F(LiveServerTest, LimitsSubscriptions)
{
    options.live.maxSubscriptionsPerConnection = 2;
    options.live.maxSubscriptions = 3;
    start();
    LiveClient first = connect();
    for (const char* event : {"/id", "/shop/id"}) {
        first.subscribe(event);
        receiveState(first);
    }
    first.subscribe("/shop");
    EXPECT_THAT(
        compact(first.receiveJson()),
        IsJson(R"({"code":503,"event":"/shop","message":"a connection may have 2 subscriptions at most",
                           "type":"error"})"));
    first.subscribe("/id");
    receiveState(first);
    LiveClient second = connect();
    second.subscribe("/id");
    receiveState(second);
    second.subscribe("/shop");
    EXPECT_THAT(compact(second.receiveJson()), IsJson(R"({"code":503,"event":"/shop",
                           "message":"there are 3 subscriptions, no more are taken","type":"error"})"));
    first.unsubscribe("/id");
    first.receiveJson();
    second.subscribe("/shop");
    receiveState(second);
}

TEST_F(LiveServerTest, LimitsConnectionsAndTakesNewOnesForThoseThatHaveEnded)
{
    options.live.maxConnections = 2;
    start();
    auto first = std::make_unique<LiveClient>(connect());
    LiveClient second = connect();
    const RawAnswer refusal = ask(handshake());
    EXPECT_EQ(refusal.status, 503);
    EXPECT_THAT(refusal.body, HasSubstr("no more WebSockets are taken"));
    first->send(clientClose(1000));
    first->waitForEnd();
    first.reset();
    connectWhenThereIsRoom();
    second.subscribe("/id");
    receiveState(second);
}

TEST_F(LiveServerTest, LeavesTheConnectionsOfHttpAlone)
{
    options.maxConnections = 1;
    options.maxQueuedConnections = 1;
    start();
    std::vector<LiveClient> clients;
    for (int i = 0; i < 20; ++i)
        clients.push_back(connect());
    dataOverHttp("/shop/shelf");
    for (LiveClient& client : clients) {
        client.subscribe(LEVELS);
        receiveState(client);
    }
}

TEST_F(LiveServerTest, ClosesByTheCodeThatTellsWhy)
{
    start();
    const struct {
        std::string bytes;
        int code;
    } rows[] = {
        {clientClose(4000), 4000},
        {ClientFrame{0x2, "x"}.bytes(), 1003},
        {ClientFrame{0x1, "x", true, false}.bytes(), 1002},
        {clientText("\xFF"), 1007},
        {ClientFrame{}.head(0x7FFFFFFF) + "mask", 1009},
        {clientClose(1006), 1002},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.code);
        LiveClient client = connect();
        client.send(row.bytes);
        EXPECT_EQ(client.receiveClose(), row.code);
        client.waitForEnd();
    }
}

TEST_F(LiveServerTest, DropsWhoDoesNotReadAndServesTheOthers)
{
    options.live.sendTimeout = 200ms;
    options.live.shortestInterval = 1ms;
    for (int number = 4; number <= 9; ++number)
        shop.cellar->put(number, number);
    start();
    LiveClient stuck(server->address(), handshake(), 4096);
    for (int i = 0; i < 20; ++i)
        stuck.subscribe("/shop/cellar?level=" + std::to_string(i) + ",1,2,3,4,5,6,7,8,9",
                        R"(,"interval":1,"updatelimit":0)");
    LiveClient reader = connect();
    reader.subscribe(LEVELS, R"(,"interval":1,"updatelimit":0)");
    receiveState(reader);
    // It is dropped when its subscriptions are not asked for any more.
    int questions = -1;
    const Clock::time_point end = Clock::now() + 20s;
    while (questions != shop.cellar->questions() && Clock::now() < end) {
        questions = shop.cellar->questions();
        for (int i = 0; i < 100; ++i)
            receiveData(reader);
    }
    EXPECT_LT(Clock::now(), end);
}

TEST_F(LiveServerTest, SaysThatItGoesWhenItStops)
{
    start();
    LiveClient idle = connect();
    LiveClient busy = connect();
    busy.subscribe(LEVELS, R"(,"interval":1)");
    receiveState(busy);
    const Clock::time_point begin = Clock::now();
    auto stop = std::async(std::launch::async, [this] { server->stop(); });
    EXPECT_EQ(idle.receiveClose(), 1001);
    EXPECT_EQ(busy.receiveClose(), 1001);
    stop.wait();
    EXPECT_LT(Clock::now() - begin, LiveOptions().pingPeriod / 2);
    idle.waitForEnd();
}

TEST_F(LiveServerTest, DropsClientsThatHaveGoneWithoutAWord)
{
    options.live.maxConnections = 1;
    start();
    {
        LiveClient client = connect();
        client.subscribe(LEVELS);
        receiveState(client);
    }
    LiveClient next = connectWhenThereIsRoom();
    next.subscribe(LEVELS);
    receiveState(next);
}

TEST_F(LiveServerTest, AsksWhoIsSilentWhetherItLives)
{
    options.live.pingPeriod = 100ms;
    start();
    LiveClient client = connect();
    EXPECT_EQ(client.receive().opcode, 0x9);
    client.waitForEnd();
}

} // namespace Zovi::ServiceKit
