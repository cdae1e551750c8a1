#include "ServiceKit/HttpServer.h"

#include "BrokenClients.h"
#include "Gzip.h"
#include "RawClient.h"
#include "SampleTree.h"

#include <Poco/Format.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

namespace Zovi::ServiceKit
{

namespace
{

using Test::APPLE_ID;
using Test::gzip;
using Test::makeSampleTree;
using Test::RawClient;
using Test::receiveRest;
using Test::timeless;
using ::testing::AnyOf;
using ::testing::StartsWith;

/// No exchange has more bytes, and each of them can have a connection of its own.
constexpr int MAX_PLACES = 256;

const std::string HOST = "Host: localhost\r\n";
const std::string CLOSE = HOST + "Connection: close\r\n";
const std::string APPLE = "/shop/basket/" + APPLE_ID.toString();

std::string write(const std::string& method, const std::string& headers, const std::string& body)
{
    const std::string url = method == "POST" ? "/shop/basket" : APPLE;
    return method + " " + url + " HTTP/1.1\r\n" + CLOSE + headers + "\r\n" + body;
}

std::string writeWithLength(const std::string& method, const std::string& body,
                            const std::string& headers = "")
{
    return write(method, headers + "Content-Length: " + std::to_string(body.size()) + "\r\n", body);
}

std::vector<std::string> readingExchanges()
{
    std::vector<std::string> exchanges;
    for (const std::string& url :
         {std::string("/"), std::string("/id"), std::string("/shop"), std::string("/shop/id"),
          std::string("/shop/spec"), std::string("/shop/accessrights"), std::string("/shop/basket"),
          std::string("/shop/basket?$limit=1"), std::string("/shop/basket?$fields=name&$sortby=-name"),
          std::string("/shop/basket?$q=%25a%25"), APPLE, std::string("/shop/puppet"),
          std::string("/cdn/window/index.html"), std::string("/nothing"), std::string("/%zz"),
          std::string("/shop/basket?$limit=x")}) {
        for (const std::string method : {"GET", "HEAD"})
            exchanges.push_back(method + " " + url + " HTTP/1.1\r\n" + CLOSE + "\r\n");
    }
    return exchanges;
}

std::vector<std::string> writingExchanges()
{
    const std::string coded = gzip("a text");
    const std::string chunked = "Transfer-Encoding: chunked\r\n";
    return {
        writeWithLength("POST", "a text"),
        writeWithLength("PUT", "a text"),
        writeWithLength("DELETE", ""),
        writeWithLength("POST", ""),
        writeWithLength("POST", coded, "Content-Encoding: gzip\r\n"),
        writeWithLength("PUT", "a text", "Accept-Encoding: gzip\r\n"),
        writeWithLength("POST", "a text", "Expect: 100-continue\r\n"),
        write("POST", chunked, "6\r\na text\r\n0\r\n\r\n"),
        write("PUT", chunked, "1\r\na\r\n2;x=y\r\n t\r\n3\r\next\r\n0\r\nX: y\r\n\r\n"),
        write("POST", chunked + "Content-Encoding: gzip\r\n",
              Poco::format("%zx\r\n", coded.size()) + coded + "\r\n0\r\n\r\n"),
    };
}

std::vector<std::string> otherExchanges()
{
    return {
        "GET /id HTTP/1.0\r\n\r\n",
        "\r\nGET /id HTTP/1.1\n" + HOST + "Connection: close\n\n",
        "GET /id HTTP/1.1\r\n" + HOST + "\r\nGET /shop/id HTTP/1.1\r\n" + CLOSE + "\r\n",
        "GET /id HTTP/1.1\r\n" + CLOSE + "If-None-Match: *\r\n\r\n",
        "GET /id HTTP/1.1\r\n" + CLOSE + "Content-Length: 3\r\n\r\nabc",
        // refused
        "GET /id HTTP/1.1\r\nHost: evil.example\r\nConnection: close\r\n\r\n",
        "OPTIONS * HTTP/1.1\r\n" + CLOSE + "\r\n",
        "PUT /shop HTTP/1.1\r\n" + HOST + "Content-Length: 3\r\n\r\nabc",
        "POST /shop/basket HTTP/1.1\r\n" + HOST + "Transfer-Encoding: chunked\r\n\r\n3\r\nabcd\r\n0\r\n\r\n",
        "GET /id HTTP/1.1\r\n" + HOST + "A: b\r\n c\r\n\r\n",
    };
}

std::vector<std::string> allExchanges()
{
    std::vector<std::string> exchanges = readingExchanges();
    for (const auto& more : {writingExchanges(), otherExchanges()})
        exchanges.insert(exchanges.end(), more.begin(), more.end());
    return exchanges;
}

class BrokenExchange : public Test::BrokenClients
{
protected:
    /// `timeout` is that of requests and idle connections.
    void start(std::chrono::milliseconds timeout)
    {
        ServerOptions options;
        options.requestTimeout = options.idleTimeout = timeout;
        options.maxConnections = MAX_PLACES;
        serve(makeSampleTree(), options);
    }

    /// What the server says to `request` when nothing goes wrong.
    std::string record(const std::string& request) const
    {
        RawClient client = connect();
        client.send(request);
        const std::string answer = timeless(client.receiveRest());
        EXPECT_THAT(answer, StartsWith("HTTP/1.1 "));
        return answer;
    }
};

} // namespace

TEST_F(BrokenExchange, HasFiftyKinds)
{
    start(LONG);
    EXPECT_GE(allExchanges().size(), 50U);
    for (const std::string& request : allExchanges()) {
        SCOPED_TRACE(request);
        EXPECT_LT(request.size(), MAX_PLACES);
        EXPECT_EQ(record(request), record(request));
    }
}

TEST_F(BrokenExchange, IsAnsweredHoweverItIsDelayed)
{
    start(LONG);
    for (const std::string& request : allExchanges()) {
        const std::string answer = record(request);
        for (std::size_t length = 1; length < request.size(); ++length) {
            SCOPED_TRACE(request.substr(0, length));
            RawClient client = connect();
            client.send(request.substr(0, length));
            expectNextWorks();
            client.send(request.substr(length));
            EXPECT_EQ(timeless(client.receiveRest()), answer);
        }
    }
}

TEST_F(BrokenExchange, EndsWhenTheClientSendsNoMore)
{
    start(LONG);
    for (const std::string& request : allExchanges()) {
        for (std::size_t length = 0; length <= request.size(); ++length) {
            SCOPED_TRACE(request.substr(0, length));
            RawClient client = connect();
            client.send(request.substr(0, length));
            client.endSending();
            EXPECT_THAT(receiveRest(client), AnyOf("", StartsWith("HTTP/1.1 ")));
        }
        expectNextWorks();
    }
}

TEST_F(BrokenExchange, EndsWhenTheClientResetsTheConnection)
{
    start(LONG);
    for (const std::string& request : allExchanges()) {
        for (std::size_t length = 0; length <= request.size(); ++length) {
            RawClient client = connect();
            client.send(request.substr(0, length));
            client.reset();
        }
        expectNextWorks();
    }
}

TEST_F(BrokenExchange, EndsWhenTheClientTakesNoMoreOfTheAnswer)
{
    start(LONG);
    for (const std::string& request : allExchanges()) {
        const std::size_t answerLength = record(request).size();
        for (std::size_t length = 1; length < answerLength; ++length) {
            RawClient client = connect();
            client.send(request);
            client.receiveBytes(length);
            client.reset();
        }
        expectNextWorks();
    }
}

TEST_F(BrokenExchange, EndsInTimeWhenNothingMoreHappens)
{
    start(std::chrono::milliseconds(100));
    for (const std::string& request : allExchanges()) {
        std::vector<RawClient> clients;
        for (std::size_t length = 0; length < request.size(); ++length) {
            clients.push_back(connect());
            clients.back().send(request.substr(0, length));
        }
        for (RawClient& client : clients)
            EXPECT_THAT(receiveRest(client), AnyOf("", StartsWith("HTTP/1.1 ")));
    }
}

} // namespace Zovi::ServiceKit
