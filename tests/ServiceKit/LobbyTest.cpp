#include "Lobby.h"

#include <Poco/Exception.h>
#include <Poco/Net/SocketAddress.h>
#include <Poco/Net/StreamSocket.h>
#include <Poco/Timespan.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace Zovi::ServiceKit
{

using namespace std::chrono_literals;
using Poco::Net::Socket;
using Poco::Net::StreamSocket;

namespace
{

const Poco::Timespan LONG(20, 0);

const std::string HEAD = "GET / HTTP/1.1\r\nHost: localhost\r\n\r\n";

class LobbyTest : public ::testing::Test
{
protected:
    Lobby makeLobby() const { return Lobby(listener, limits); }

    StreamSocket connect(const std::string& text = "") const
    {
        StreamSocket client(listener.address());
        client.setReceiveTimeout(LONG);
        if (!text.empty())
            client.sendBytes(text.data(), static_cast<int>(text.size()));
        return client;
    }

    /// Whether the next one that is given out is `client`.
    static bool givesOutNext(Lobby& lobby, StreamSocket& client)
    {
        EXPECT_TRUE(lobby.poll(LONG, Socket::SELECT_READ));
        return lobby.acceptConnection().peerAddress() == client.address();
    }

    static bool isEnded(StreamSocket& client)
    {
        char byte = 0;
        return client.receiveBytes(&byte, 1) == 0;
    }

    LobbyLimits limits{9, 5min, 5min};
    Poco::Net::ServerSocket listener{Poco::Net::SocketAddress("127.0.0.1", 0)};
};

} // namespace

TEST_F(LobbyTest, GivesOutWhoHasSentAWholeHead)
{
    Lobby lobby = makeLobby();
    StreamSocket client = connect(HEAD);
    ASSERT_TRUE(lobby.poll(LONG, Socket::SELECT_READ));
    StreamSocket server = lobby.acceptConnection();
    EXPECT_EQ(server.peerAddress(), client.address());
    std::string received(HEAD.size(), ' ');
    EXPECT_EQ(server.receiveBytes(received.data(), static_cast<int>(received.size())),
              static_cast<int>(HEAD.size()));
    EXPECT_EQ(received, HEAD);
    EXPECT_TRUE(dynamic_cast<const ArrivedSocket&>(*server.impl()).requestBegin);
}

TEST_F(LobbyTest, KeepsWhoHasSentNothingOrAPart)
{
    Lobby lobby = makeLobby();
    StreamSocket silent = connect();
    StreamSocket half = connect(HEAD.substr(0, HEAD.size() - 1));
    StreamSocket whole = connect(HEAD);
    EXPECT_TRUE(givesOutNext(lobby, whole));
    EXPECT_FALSE(lobby.poll(0, Socket::SELECT_READ));
    half.sendBytes("\n", 1);
    EXPECT_TRUE(givesOutNext(lobby, half));
    EXPECT_FALSE(lobby.poll(0, Socket::SELECT_READ));
    EXPECT_THROW(lobby.acceptConnection(), Poco::IllegalStateException);
}

TEST_F(LobbyTest, TakesALineFeedAloneForTheEndOfALine)
{
    Lobby lobby = makeLobby();
    StreamSocket client = connect("GET / HTTP/1.1\nHost: localhost\n\n");
    EXPECT_TRUE(givesOutNext(lobby, client));
}

TEST_F(LobbyTest, GivesOutAHeadThatIsTooLong)
{
    Lobby lobby = makeLobby();
    StreamSocket client = connect(std::string(20'000, 'x'));
    EXPECT_TRUE(givesOutNext(lobby, client));
}

TEST_F(LobbyTest, GivesOutWhoSendsNoMore)
{
    Lobby lobby = makeLobby();
    StreamSocket client = connect("GET / HT");
    client.shutdownSend();
    EXPECT_TRUE(givesOutNext(lobby, client));
}

TEST_F(LobbyTest, GivesOutWhoseTimeIsOver)
{
    limits.requestTimeout = 1ms;
    Lobby lobby = makeLobby();
    StreamSocket client = connect("GET / HT");
    EXPECT_TRUE(givesOutNext(lobby, client));
}

TEST_F(LobbyTest, ClosesWhoSendsNothing)
{
    limits.idleTimeout = 1ms;
    Lobby lobby = makeLobby();
    StreamSocket silent = connect();
    const auto end = std::chrono::steady_clock::now() + 20s;
    while (!silent.poll(0, Socket::SELECT_READ) && std::chrono::steady_clock::now() < end)
        lobby.poll(Poco::Timespan(0, 20'000), Socket::SELECT_READ);
    EXPECT_TRUE(isEnded(silent));
}

TEST_F(LobbyTest, ClosesWhoHasWaitedLongestWhenItIsFull)
{
    limits.maxWaiting = 2;
    Lobby lobby = makeLobby();
    StreamSocket first = connect();
    StreamSocket second = connect();
    StreamSocket third = connect(HEAD);
    EXPECT_TRUE(givesOutNext(lobby, third));
    EXPECT_TRUE(isEnded(first));
    second.sendBytes(HEAD.data(), static_cast<int>(HEAD.size()));
    EXPECT_TRUE(givesOutNext(lobby, second));
}

TEST_F(LobbyTest, ClosesWhoHasWaitedLongestWhenDescriptorsAreFew)
{
    limits.highestDescriptor = 0;
    Lobby lobby = makeLobby();
    StreamSocket first = connect();
    StreamSocket second = connect(HEAD);
    EXPECT_TRUE(givesOutNext(lobby, second));
    EXPECT_TRUE(isEnded(first));
}

TEST_F(LobbyTest, ForgetsWhoHasLeft)
{
    limits.maxWaiting = 1;
    Lobby lobby = makeLobby();
    connect().close();
    StreamSocket client = connect(HEAD);
    EXPECT_TRUE(givesOutNext(lobby, client));
}

TEST_F(LobbyTest, ClosesAllWhoWaitWhenItEnds)
{
    StreamSocket client = connect();
    {
        Lobby lobby = makeLobby();
        lobby.poll(0, Socket::SELECT_READ);
    }
    EXPECT_TRUE(isEnded(client));
    EXPECT_NO_THROW(listener.address());
}

} // namespace Zovi::ServiceKit
