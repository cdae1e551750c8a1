#include "RegistryLink.h"

#include <Poco/Net/ServerSocket.h>
#include <Poco/Timespan.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <memory>

namespace Zovi::Host
{

using Poco::Net::ServerSocket;
using Poco::Net::SocketAddress;
using Poco::Net::StreamSocket;

namespace
{

constexpr std::chrono::milliseconds AT_ONCE{1};

/// Reads `length` bytes, fewer if the connection ends.
std::string receive(StreamSocket& socket, std::size_t length)
{
    socket.setReceiveTimeout(Poco::Timespan(20, 0));
    std::string text;
    std::array<char, 256> bytes{};
    while (text.size() < length) {
        const int count = socket.receiveBytes(bytes.data(), static_cast<int>(bytes.size()));
        if (count <= 0)
            break;
        text.append(bytes.data(), static_cast<std::size_t>(count));
    }
    return text;
}

RegistryAccess accessTo(const ServerSocket& registry)
{
    return {[] { return true; },
            [address = registry.address()] { return Poco::SharedPtr(new StreamSocket(address)); }, AT_ONCE};
}

} // namespace

TEST(RegistryLink, TellsWhatItIsToldAndStays)
{
    ServerSocket registry(SocketAddress("127.0.0.1", 0));
    auto link = std::make_unique<RegistryLink>("{\"name\":\"host\"}\n", accessTo(registry));
    StreamSocket connection = registry.acceptConnection();
    EXPECT_EQ(receive(connection, 16), "{\"name\":\"host\"}\n");
    EXPECT_FALSE(connection.poll(Poco::Timespan(0, 10'000), Poco::Net::Socket::SELECT_READ));
    link.reset();
    EXPECT_EQ(receive(connection, 1), "");
}

TEST(RegistryLink, TellsAgainWhenTheConnectionEnds)
{
    ServerSocket registry(SocketAddress("127.0.0.1", 0));
    const RegistryLink link("a\n", accessTo(registry));
    for (int i = 0; i < 3; ++i) {
        StreamSocket connection = registry.acceptConnection();
        EXPECT_EQ(receive(connection, 2), "a\n");
        if (i == 1)
            connection.setLinger(true, 0); // ends by a reset
    }
}

TEST(RegistryLink, WaitsForARegistryWithoutConnecting)
{
    ServerSocket registry(SocketAddress("127.0.0.1", 0));
    std::atomic<int> asked = 0;
    RegistryAccess access = accessTo(registry);
    access.isThere = [&asked] {
        return ++asked > 3;
    };
    const auto connect = access.connect;
    access.connect = [&asked, connect] {
        EXPECT_GT(asked, 3);
        return connect();
    };
    const RegistryLink link("a\n", access);
    StreamSocket connection = registry.acceptConnection();
    EXPECT_EQ(receive(connection, 2), "a\n");
}

TEST(RegistryLink, TriesAgainWhenConnectingFails)
{
    ServerSocket registry(SocketAddress("127.0.0.1", 0));
    std::atomic<int> attempts = 0;
    RegistryAccess access = accessTo(registry);
    const auto connect = access.connect;
    access.connect = [&attempts, connect] {
        return ++attempts == 1 ? Poco::SharedPtr<StreamSocket>() : connect();
    };
    const RegistryLink link("a\n", access);
    StreamSocket connection = registry.acceptConnection();
    EXPECT_EQ(receive(connection, 2), "a\n");
}

TEST(RegistryLink, EndsAtOnceWhileItWaits)
{
    RegistryAccess access;
    access.isThere = [] {
        return false;
    };
    // More than any test may take.
    access.pause = std::chrono::hours(1);
    const RegistryLink link("a\n", access);
}

} // namespace Zovi::Host
