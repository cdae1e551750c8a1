#include "Live/Handshake.h"

#include "ServerMessages.h"
#include "ServiceKit/RequestError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <sstream>
#include <string>

namespace Zovi::ServiceKit
{

using Test::ServerRequest;
using Test::ServerResponse;
using ::testing::HasSubstr;

namespace
{

const std::string KEY = "dGhlIHNhbXBsZSBub25jZQ==";

/// A correct handshake.
std::unique_ptr<ServerRequest> makeRequest()
{
    auto request = std::make_unique<ServerRequest>("GET", "/");
    request->set("Upgrade", "websocket");
    request->set("Connection", "Upgrade");
    request->set("Sec-WebSocket-Version", "13");
    request->set("Sec-WebSocket-Key", KEY);
    return request;
}

} // namespace

TEST(Handshake, KnowsWhoAsksForAWebSocket)
{
    const struct {
        std::string upgrade;
        bool asks;
    } rows[] = {
        {"websocket", true}, {"WebSocket", true}, {"h2c, websocket", true},
        {"h2c", false},      {"", false},         {"websockets", false},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.upgrade);
        ServerRequest request;
        request.set("Upgrade", row.upgrade);
        EXPECT_EQ(asksForWebSocket(request), row.asks);
    }
    EXPECT_FALSE(asksForWebSocket(ServerRequest()));
}

TEST(Handshake, AcceptsWhatIsCorrect)
{
    EXPECT_NO_THROW(checkHandshake(*makeRequest()));
    const auto request = makeRequest();
    request->set("Connection", "keep-alive, UPGRADE");
    request->set("Sec-WebSocket-Extensions", "permessage-deflate");
    request->set("Sec-WebSocket-Protocol", "chat");
    EXPECT_NO_THROW(checkHandshake(*request));
}

TEST(Handshake, RefusesWhatIsNot)
{
    const struct {
        std::string message;
        std::function<void(ServerRequest&)> spoil;
        int status = 400;
    } rows[] = {
        {"no WebSocket: the method is 'POST' in place of GET",
         [](auto& r) {
             r.setMethod("POST");
         }},
        {"no WebSocket: it needs HTTP/1.1",
         [](auto& r) {
             r.setVersion("HTTP/1.0");
         }},
        {"no WebSocket: the request has a body",
         [](auto& r) {
             r.set("Content-Length", "3");
         }},
        {"no WebSocket: the request has a body",
         [](auto& r) {
             r.set("Transfer-Encoding", "chunked");
         }},
        {"no WebSocket: the header Connection does not say 'Upgrade'",
         [](auto& r) {
             r.set("Connection", "keep-alive");
         }},
        {"no WebSocket: the header Connection does not say 'Upgrade'",
         [](auto& r) {
             r.erase("Connection");
         }},
        {"no WebSocket: the header Sec-WebSocket-Version is missing",
         [](auto& r) {
             r.erase("Sec-WebSocket-Version");
         }},
        {"no WebSocket: there is more than one header Sec-WebSocket-Version",
         [](auto& r) {
             r.add("Sec-WebSocket-Version", "13");
         }},
        {"WebSockets of version '8' are not spoken here",
         [](auto& r) { r.set("Sec-WebSocket-Version", "8"); }, 426},
        {"WebSockets of version '13, 8' are not spoken here",
         [](auto& r) { r.set("Sec-WebSocket-Version", "13, 8"); }, 426},
        {"no WebSocket: the header Sec-WebSocket-Key is missing",
         [](auto& r) {
             r.erase("Sec-WebSocket-Key");
         }},
        {"no WebSocket: there is more than one header Sec-WebSocket-Key",
         [](auto& r) {
             r.add("Sec-WebSocket-Key", KEY);
         }},
        {"no WebSocket: Sec-WebSocket-Key is ''",
         [](auto& r) {
             r.set("Sec-WebSocket-Key", "");
         }},
        {"no WebSocket: Sec-WebSocket-Key is 'dGhlIHNhbXBsZSBub25jZQ'",
         [](auto& r) {
             r.set("Sec-WebSocket-Key", "dGhlIHNhbXBsZSBub25jZQ");
         }},
        {"no WebSocket: Sec-WebSocket-Key is 'dGhlIHNhbXBsZSBub25jZQ==='",
         [](auto& r) {
             r.set("Sec-WebSocket-Key", KEY + "=");
         }},
        {"no WebSocket: Sec-WebSocket-Key is 'dGhlIHNhbXBsZSBub25j!Q=='",
         [](auto& r) {
             r.set("Sec-WebSocket-Key", "dGhlIHNhbXBsZSBub25j!Q==");
         }},
        {"no WebSocket: Sec-WebSocket-Key is 'dGhlIHNhbXBsZSBub25jZQ=a'",
         [](auto& r) {
             r.set("Sec-WebSocket-Key", "dGhlIHNhbXBsZSBub25jZQ=a");
         }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.message);
        const auto request = makeRequest();
        row.spoil(*request);
        try {
            checkHandshake(*request);
            ADD_FAILURE() << "not refused";
        } catch (const RequestError& error) {
            EXPECT_EQ(error.status(), row.status);
            EXPECT_EQ(error.what(), row.message);
        }
    }
}

TEST(Handshake, AnswersTheKey)
{
    ServerResponse response;
    response.set("Connection", "Keep-Alive");
    acceptHandshake(*makeRequest(), response);
    EXPECT_EQ(response.getStatus(), 101);
    EXPECT_EQ(response.get("Upgrade"), "websocket");
    EXPECT_EQ(response.get("Connection"), "Upgrade");
    EXPECT_EQ(response.get("Sec-WebSocket-Accept"), "s3pPLMBiTxaQ9kYGzzhZRbK+xOo=");
    EXPECT_FALSE(response.has("Sec-WebSocket-Extensions"));
    EXPECT_FALSE(response.has("Sec-WebSocket-Protocol"));
}

TEST(Handshake, TellsWhichProtocolIsSpoken)
{
    for (const bool keepAlive : {false, true}) {
        ServerResponse response;
        response.setKeepAlive(keepAlive);
        tellHandshake(response);
        EXPECT_EQ(response.get("Upgrade"), "websocket");
        EXPECT_EQ(response.get("Sec-WebSocket-Version"), "13");
        std::ostringstream head;
        response.write(head);
        EXPECT_THAT(head.str(),
                    HasSubstr(keepAlive ? "Connection: Keep-Alive\r\n" : "Connection: Close\r\n"));
        EXPECT_THAT(head.str(), HasSubstr("Connection: Upgrade\r\n"));
        EXPECT_EQ(response.getKeepAlive(), keepAlive);
    }
}

} // namespace Zovi::ServiceKit
