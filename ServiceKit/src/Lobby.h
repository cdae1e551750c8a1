#pragma once

#include "Live/Poll.h"

#include <Poco/AutoPtr.h>
#include <Poco/Net/ServerSocket.h>
#include <Poco/Net/ServerSocketImpl.h>
#include <Poco/Net/StreamSocketImpl.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <limits>
#include <map>
#include <optional>

namespace Zovi::ServiceKit
{

/// A connection that has been waited for until its first request came.
class ArrivedSocket : public Poco::Net::StreamSocketImpl
{
public:
    using Clock = std::chrono::steady_clock;

    /// Takes over a connected socket.
    explicit ArrivedSocket(int descriptor)
        : StreamSocketImpl(descriptor)
    {
    }

    /// When the first byte was seen; nothing if none has come.
    std::optional<Clock::time_point> requestBegin;

protected:
    ~ArrivedSocket() override = default;
};

/// How long, and how many, connections may wait in a lobby.
struct LobbyLimits {
    std::size_t maxWaiting;

    /// Without a byte of a request; past it the connection is closed.
    std::chrono::milliseconds idleTimeout;

    /// From the first byte of a request to the last of its head; past it the connection is given out as it
    /// is.
    std::chrono::milliseconds requestTimeout;

    /// Whoever has a higher one gets the place of the one that has waited longest: the descriptors above it
    /// are left for files.
    int highestDescriptor = std::numeric_limits<int>::max();
};

/// A listening socket that gives out a connection when there is something to do for it: when the head of its
/// first request has come as a whole, or when nothing more is to be waited for. So thousands of clients that
/// send nothing, or a byte at a time, take a descriptor each and no thread. When it is full, who has waited
/// longest is closed. So is one for whom memory is wanting.
///
/// It is used by one thread, which waits by `poll` and takes by `acceptConnection`. It gives out what is an
/// `ArrivedSocket`.
class LobbySocket : public Poco::Net::ServerSocketImpl
{
public:
    /// Shares `listener`, which listens already.
    LobbySocket(Poco::Net::SocketImpl* listener, const LobbyLimits& limits);

    bool poll(const Poco::Timespan& timeout, int mode) override;

    /// Does not wait. Throws `Poco::IllegalStateException` if there is nobody to give out.
    Poco::Net::SocketImpl* acceptConnection(Poco::Net::SocketAddress& client) override;

    /// Lets go of the listener.
    void close() override;

protected:
    ~LobbySocket() override;

private:
    using Clock = ArrivedSocket::Clock;

    struct Guest {
        Poco::AutoPtr<ArrivedSocket> socket;
        Clock::time_point arrival;
    };

    using Guests = std::map<std::uint64_t, Guest>;

    void waitForEvents(Clock::time_point end);
    void takeArrivals();
    void giveUpDescriptor();
    void admit(int descriptor);
    Guests::iterator makeGuest(int descriptor);
    void look(Guests::iterator guest, std::uint32_t events);
    void checkTimes();
    void giveOut(Guests::iterator guest);

    Poco::AutoPtr<Poco::Net::SocketImpl> m_listener;
    LobbyLimits m_limits;
    Poll m_poll;
    Guests m_guests; ///< in the order in which they have come
    std::uint64_t m_lastId = 0;
    std::deque<Poco::AutoPtr<ArrivedSocket>> m_ready;
    Clock::time_point m_nextCheck;
};

/// The same to those who want a socket.
class Lobby : public Poco::Net::ServerSocket
{
public:
    Lobby(const Poco::Net::ServerSocket& listener, const LobbyLimits& limits)
        : ServerSocket(new LobbySocket(listener.impl(), limits), true)
    {
    }
};

} // namespace Zovi::ServiceKit
