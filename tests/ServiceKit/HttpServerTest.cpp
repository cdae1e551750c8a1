#include "ServiceKit/HttpServer.h"

#include "JsonMatchers.h"
#include "RawClient.h"
#include "SampleTree.h"

#include <Poco/Net/NetException.h>
#include <Poco/Net/ServerSocket.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <string>
#include <vector>

namespace Zovi::ServiceKit
{

using Test::IsJson;
using Test::makePuppet;
using Test::makeSampleTree;
using Test::RawAnswer;
using Test::RawClient;
using Test::ROOT_ID;
using ::testing::HasSubstr;

namespace
{

using Clock = std::chrono::steady_clock;

const std::string GET_ID = "GET /id HTTP/1.1\r\nHost: localhost\r\n\r\n";
const std::string GET_PUPPET = "GET /shop/puppet HTTP/1.1\r\nHost: localhost\r\n\r\n";

/// An answer with it is more than the system keeps for a client that has little room and does not read.
const std::string LONG_NAME(3 * 1024 * 1024, 'x');
constexpr int LITTLE_ROOM = 4096;

/// A resource that answers when the test lets it.
struct Gate {
    std::promise<void> isAsked;
    std::promise<void> mayAnswer;

    std::shared_ptr<const ServiceTree> tree()
    {
        return makeSampleTree([this, answer = mayAnswer.get_future().share()] {
            isAsked.set_value();
            answer.wait();
            return Data::ElementCollection();
        });
    }
};

std::unique_ptr<HttpServer> startServer(const ServerOptions& options = {})
{
    auto server = std::make_unique<HttpServer>(makeSampleTree(), options);
    server->start();
    return server;
}

bool hasIPv6Loopback()
{
    try {
        Poco::Net::ServerSocket().bind6(Poco::Net::SocketAddress("::1", 0), false, true);
        return true;
    } catch (const Poco::Exception&) {
        return false;
    }
}

} // namespace

TEST(HttpServer, TakesAFreePortAndTellsIt)
{
    const auto server = startServer();
    EXPECT_EQ(server->address().host().toString(), "127.0.0.1");
    EXPECT_NE(server->address().port(), 0);
    RawClient client(server->address());
    client.send(GET_ID);
    EXPECT_EQ(client.receive().status, 200);
}

TEST(HttpServer, ListensOnIPv6)
{
    if (!hasIPv6Loopback())
        GTEST_SKIP() << "this machine has no IPv6 loopback address";
    ServerOptions options;
    options.listenAddress = "::1";
    const auto server = startServer(options);
    RawClient client(server->address());
    client.send("GET /id HTTP/1.1\r\nHost: [::1]:" + std::to_string(server->address().port()) + "\r\n\r\n");
    EXPECT_EQ(client.receive().status, 200);
}

TEST(HttpServer, DoesNotSharePorts)
{
    const auto first = startServer();
    ServerOptions options;
    options.port = first->address().port();
    HttpServer second(makeSampleTree(), options);
    EXPECT_THROW(second.start(), Poco::Net::NetException);
    EXPECT_THROW(second.address(), Poco::InvalidAccessException);
    first->address();
}

TEST(HttpServer, ReadsAPortInDecimalDigits)
{
    EXPECT_EQ(toPort("0"), 0);
    EXPECT_EQ(toPort("8081"), 8081);
    EXPECT_EQ(toPort("65535"), 65535);
    EXPECT_EQ(toPort("0080"), 80);
}

TEST(HttpServer, RefusesATextThatIsNoPort)
{
    for (const std::string text :
         {"", "65536", "99999x", "8081x", "-1", "+80", " 80", "80 ", "8,081", "0x50", "http", "4294967376"}) {
        SCOPED_TRACE(text);
        try {
            toPort(text);
            FAIL();
        } catch (const Poco::InvalidArgumentException& refusal) {
            EXPECT_EQ(refusal.message(), "a port is a number from 0 to 65535, not '" + text + "'");
        }
    }
}

TEST(HttpServer, HasNoAddressBeforeStartAndAfterStop)
{
    HttpServer server(makeSampleTree(), {});
    EXPECT_THROW(server.address(), Poco::InvalidAccessException);
    server.start();
    server.stop();
    EXPECT_THROW(server.address(), Poco::InvalidAccessException);
    server.stop();
}

TEST(HttpServer, AnswersMalformedHeadsWithTheDocument)
{
    const auto server = startServer();
    const struct {
        std::string request;
        std::string message;
    } rows[] = {
        {"garbage\r\n\r\n", "malformed message: 'HTTP request URI invalid or too long'"},
        {"GET / HTTP/1.1\r\n" + std::string(300, 'x') + ": y\r\n\r\n",
         "malformed message: 'Field name too long/no colon found'"},
        {"GET / HTTP/1.1\r\nHost: localhost\r\nX: " + std::string(10'000, 'x') + "\r\n\r\n",
         "malformed message: 'Field value too long/no CRLF found'"},
        {"GET /" + std::string(20'000, 'x') + " HTTP/1.1\r\nHost: localhost\r\n\r\n",
         "malformed message: 'HTTP request URI invalid or too long'"},
        {std::string(100, 'G') + " / HTTP/1.1\r\n\r\n",
         "malformed message: 'HTTP request method invalid or too long'"},
        {"GET / HTTP/1.1\r\nHost: localhost\r\nContent-Length: abc\r\n\r\n",
         "malformed message: 'Not a valid integer: abc'"},
        {"GET / HTTP/1.1\r\nHost: localhost\r\nContent-Length: 99999999999999999999\r\n\r\n",
         "malformed message: 'Not a valid integer: 99999999999999999999'"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.request.substr(0, 80));
        RawClient client(server->address());
        client.send(row.request);
        const RawAnswer answer = client.receive();
        EXPECT_EQ(answer.status, 400);
        EXPECT_EQ(answer.header("connection"), "Close");
        EXPECT_EQ(answer.header("content-type"), "application/json; charset=utf-8");
        EXPECT_THAT(answer.body,
                    IsJson("{\"code\":400,\"message\":\"" + row.message + "\",\"status\":\"error\"}"));
        EXPECT_EQ(client.receiveRest(), "");
    }
}

TEST(HttpServer, RefusesHeadsWithTooManyFields)
{
    const auto server = startServer();
    std::string request = "GET / HTTP/1.1\r\nHost: localhost\r\n";
    for (int i = 0; i < 200; ++i)
        request += "X-" + std::to_string(i) + ": x\r\n";
    RawClient client(server->address());
    client.send(request + "\r\n");
    EXPECT_EQ(client.receive().status, 400);
}

TEST(HttpServer, TakesALineFeedAloneForTheEndOfALine)
{
    const auto server = startServer();
    RawClient client(server->address());
    client.send("GET /id HTTP/1.1\nHost: localhost\n\n");
    EXPECT_EQ(client.receive().status, 200);
}

TEST(HttpServer, AnswersPipelinedRequestsInOrder)
{
    const auto server = startServer();
    RawClient client(server->address());
    client.send(GET_ID + "GET /shop/id HTTP/1.1\r\nHost: localhost\r\n\r\n" + GET_ID);
    EXPECT_THAT(client.receive().body, HasSubstr("11111111-2222"));
    EXPECT_THAT(client.receive().body, ::testing::Not(HasSubstr("11111111-2222")));
    EXPECT_THAT(client.receive().body, HasSubstr("11111111-2222"));
}

TEST(HttpServer, ClosesWhenTheClientAsksForIt)
{
    const auto server = startServer();
    for (const std::string request :
         {"GET /id HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n\r\n", "GET /id HTTP/1.0\r\n\r\n"}) {
        SCOPED_TRACE(request);
        RawClient client(server->address());
        client.send(request);
        const RawAnswer answer = client.receive();
        EXPECT_EQ(answer.status, 200);
        EXPECT_EQ(answer.header("connection"), "Close");
        EXPECT_EQ(client.receiveRest(), "");
    }
}

TEST(HttpServer, ClosesAfterTheLastRequestThatAConnectionMayMake)
{
    ServerOptions options;
    options.maxRequestsPerConnection = 2;
    const auto server = startServer(options);
    RawClient client(server->address());
    client.send(GET_ID + GET_ID + GET_ID);
    EXPECT_EQ(client.receive().header("connection"), "Keep-Alive");
    EXPECT_EQ(client.receive().header("connection"), "Close");
    EXPECT_EQ(client.receiveRest(), "");
}

TEST(HttpServer, AnswersTheLastRequestAlthoughManyMoreFollow)
{
    ServerOptions options;
    options.maxRequestsPerConnection = 20;
    const auto server = startServer(options);
    std::string requests;
    for (int i = 0; i < 5'000; ++i)
        requests += GET_ID;
    RawClient client(server->address());
    client.send(requests);
    for (int i = 1; i < options.maxRequestsPerConnection; ++i)
        EXPECT_EQ(client.receive().header("connection"), "Keep-Alive");
    EXPECT_EQ(client.receive().header("connection"), "Close");
    // An end, and no reset, by which what is on its way could be lost.
    EXPECT_EQ(client.receiveRest(), "");
}

TEST(HttpServer, TellsNoClientOfOldTimesToGoOn)
{
    const auto server = startServer();
    RawClient client(server->address());
    client.send("POST /shop/basket HTTP/1.0\r\nHost: localhost\r\nContent-Length: 1\r\nExpect: "
                "100-continue\r\n\r\nx");
    EXPECT_EQ(client.receive().status, 200);
}

TEST(HttpServer, AsksForABodyOnlyIfItIsWanted)
{
    const auto server = startServer();
    const std::string expect = "Host: localhost\r\nContent-Length: 1\r\nExpect: 100-continue\r\n\r\n";
    RawClient welcome(server->address());
    welcome.send("POST /shop/basket HTTP/1.1\r\n" + expect);
    EXPECT_EQ(welcome.receive().status, 100);
    welcome.send("a");
    EXPECT_EQ(welcome.receive().body, "a [written]");

    RawClient refused(server->address());
    refused.send("POST /nothing HTTP/1.1\r\n" + expect);
    EXPECT_EQ(refused.receive().status, 404);
}

TEST(HttpServer, LetsTheAnswerReachAClientThatIsStillSending)
{
    const auto server = startServer();
    RawClient client(server->address());
    const std::string body(2'000'000, 'x');
    client.send("POST /shop/basket HTTP/1.1\r\nHost: localhost\r\nContent-Length: 2000000\r\n\r\n" + body);
    EXPECT_EQ(client.receive().status, 413);
    EXPECT_EQ(client.receiveRest(), "");
}

TEST(HttpServer, GivesUpARequestThatDoesNotArrive)
{
    ServerOptions options;
    options.requestTimeout = std::chrono::milliseconds(50);
    const auto server = startServer(options);
    const struct {
        std::string request;
        std::string message;
    } rows[] = {
        {"GET /id HT", "the request did not arrive in time"},
        {"GET /id HTTP/1.1\r\nHost: loc", "the request did not arrive in time"},
        {"POST /shop/basket HTTP/1.1\r\nHost: localhost\r\nContent-Length: 3\r\n\r\na",
         "the body did not arrive in time"},
        {"POST /shop/basket HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: chunked\r\n\r\n5\r\na",
         "the body did not arrive in time"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.request);
        RawClient client(server->address());
        client.send(row.request);
        const RawAnswer answer = client.receive();
        EXPECT_EQ(answer.status, 408);
        EXPECT_THAT(answer.body,
                    IsJson("{\"code\":408,\"message\":\"" + row.message + "\",\"status\":\"error\"}"));
        client.endSending();
        EXPECT_EQ(client.receiveRest(), "");
    }
}

TEST(HttpServer, GivesUpARequestThatDripsIn)
{
    ServerOptions options;
    options.requestTimeout = std::chrono::milliseconds(100);
    const auto server = startServer(options);
    RawClient client(server->address());
    client.send("GET /id HTTP/1.1\r\n");
    // Each byte comes long before a limit on single reads would be over.
    auto isAnswered = std::async(std::launch::async, [&client] { return client.receive().status; });
    while (isAnswered.wait_for(std::chrono::milliseconds(10)) != std::future_status::ready)
        client.send("x");
    EXPECT_EQ(isAnswered.get(), 408);
}

TEST(HttpServer, GivesUpAnAnswerThatIsNotTaken)
{
    ServerOptions options;
    options.answerTimeout = std::chrono::milliseconds(50);
    options.stopTimeout = std::chrono::minutes(5);
    std::promise<void> isAsked;
    HttpServer server(makeSampleTree([&isAsked] {
                          isAsked.set_value();
                          return Data::ElementCollection{makePuppet(LONG_NAME)};
                      }),
                      options);
    server.start();
    RawClient stuck(server.address(), LITTLE_ROOM);
    stuck.send(GET_PUPPET);
    isAsked.get_future().wait();
    const auto begin = Clock::now();
    server.stop();
    EXPECT_LT(Clock::now() - begin, options.stopTimeout / 2);
}

TEST(HttpServer, GivesThePlaceOfWhoLetsItWaitToWhoComes)
{
    ServerOptions options;
    options.maxConnections = 1;
    options.idleTimeout = std::chrono::minutes(5);
    options.requestTimeout = std::chrono::minutes(5);
    options.answerTimeout = std::chrono::minutes(5);
    HttpServer server(makeSampleTree([] { return Data::ElementCollection{makePuppet(LONG_NAME)}; }), options);
    server.start();
    for (const std::string& request :
         {std::string(), std::string("G"), std::string("GET /id HTTP/1.1\r\nHost: loc"),
          std::string("POST /shop/basket HTTP/1.1\r\nHost: localhost\r\nContent-Length: 3\r\n\r\na"),
          GET_PUPPET, GET_ID}) {
        SCOPED_TRACE(request);
        RawClient slow(server.address(), LITTLE_ROOM);
        slow.send(request);
        RawClient next(server.address());
        next.send(GET_ID);
        EXPECT_EQ(next.receive().status, 200);
    }
}

TEST(HttpServer, AnswersAlthoughManyMoreLetItWaitThanItHasPlacesFor)
{
    ServerOptions options;
    options.maxConnections = 8;
    options.maxQueuedConnections = 8;
    options.idleTimeout = std::chrono::minutes(5);
    options.requestTimeout = std::chrono::minutes(5);
    const auto server = startServer(options);
    std::vector<std::unique_ptr<RawClient>> dripping;
    for (int i = 0; i < 100; ++i) {
        dripping.push_back(std::make_unique<RawClient>(server->address()));
        dripping.back()->send("GET /id HT");
        if (i % 10 == 9) {
            RawClient client(server->address());
            client.send(GET_ID);
            EXPECT_EQ(client.receive().status, 200) << i;
        }
    }
}

TEST(HttpServer, KeepsThePlaceOfWhoWaitsForIt)
{
    ServerOptions options;
    options.maxConnections = 1;
    Gate gate;
    HttpServer server(gate.tree(), options);
    server.start();
    RawClient first(server.address());
    first.send(GET_PUPPET);
    gate.isAsked.get_future().wait();
    RawClient second(server.address());
    second.send(GET_ID);
    gate.mayAnswer.set_value();
    EXPECT_EQ(first.receive().status, 200);
    EXPECT_EQ(second.receive().status, 200);
}

TEST(HttpServer, ClosesIdleConnections)
{
    ServerOptions options;
    // Long enough for a busy machine to get from connecting to sending.
    options.idleTimeout = std::chrono::seconds(1);
    const auto server = startServer(options);
    RawClient silent(server->address());
    RawClient once(server->address());
    once.send(GET_ID);
    EXPECT_EQ(once.receive().status, 200);
    EXPECT_EQ(once.receiveRest(), "");
    EXPECT_EQ(silent.receiveRest(), "");
}

TEST(HttpServer, StopsSoonWithIdleAndHalfReadConnections)
{
    ServerOptions options;
    options.idleTimeout = std::chrono::minutes(1);
    options.requestTimeout = std::chrono::minutes(1);
    const auto server = startServer(options);
    RawClient silent(server->address());
    RawClient idle(server->address());
    idle.send(GET_ID);
    EXPECT_EQ(idle.receive().status, 200);
    RawClient half(server->address());
    half.send("GET /id HT");
    RawClient waiting(server->address());
    waiting.send("POST /shop/basket HTTP/1.1\r\nHost: localhost\r\nContent-Length: 3\r\n\r\na");
    const auto begin = Clock::now();
    server->stop();
    EXPECT_LT(Clock::now() - begin, options.idleTimeout / 2);
    EXPECT_EQ(silent.receiveRest(), "");
    EXPECT_EQ(idle.receiveRest(), "");
}

TEST(HttpServer, TakesItsAddressBeforeItServes)
{
    const auto tree = std::make_shared<ServiceTree>(ROOT_ID);
    HttpServer server(tree, {});
    EXPECT_THROW(server.address(), Poco::InvalidAccessException);
    server.listen();
    RawClient early(server.address());
    early.send("GET /shop HTTP/1.1\r\nHost: localhost\r\n\r\n");
    const auto shop = std::make_shared<Service>(tree->root().child("shop"), "Sells fruit.");
    shop->info().setPort(server.address().port());
    tree->add(shop);
    const std::string address = server.address().toString();
    server.start();
    EXPECT_EQ(server.address().toString(), address);
    const RawAnswer answer = early.receive();
    EXPECT_EQ(answer.status, 200);
    EXPECT_THAT(answer.body, HasSubstr("\"port\":" + std::to_string(server.address().port())));
    server.stop();
    EXPECT_THROW(server.address(), Poco::InvalidAccessException);
}

TEST(HttpServer, AnswersWhatIsUnderWayWhenItStops)
{
    Gate gate;
    HttpServer server(gate.tree(), {});
    server.start();
    RawClient client(server.address());
    client.send("GET /shop/puppet HTTP/1.1\r\nHost: localhost\r\n\r\n");
    gate.isAsked.get_future().wait();
    auto isStopped = std::async(std::launch::async, [&server] { server.stop(); });
    gate.mayAnswer.set_value();
    EXPECT_EQ(client.receive().status, 200);
    isStopped.wait();
    EXPECT_EQ(client.receiveRest(), "");
}

} // namespace Zovi::ServiceKit
