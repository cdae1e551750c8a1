#pragma once

#include <Poco/Net/StreamSocket.h>

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <list>
#include <mutex>
#include <utility>

namespace Zovi::ServiceKit
{

/// The connections that are being served, each of which holds one of a few places.
///
/// Nobody can hold a place by letting the server wait: when others want one, the client that has let it wait
/// for longest loses its own. So neither connections that stand idle nor ones that send or take a byte at a
/// time keep others out, however many there are. Any thread may use it.
class OpenConnections
{
public:
    using Clock = std::chrono::steady_clock;

    /// A connection, which is in the list while this lives.
    class Entry
    {
    public:
        Entry(OpenConnections& connections, const Poco::Net::StreamSocket& socket);
        ~Entry();
        Entry(const Entry&) = delete;
        Entry& operator=(const Entry&) = delete;

        /// A new exchange begins, for which the client has not let the server wait yet.
        void beginExchange();

        /// From one to the other nothing can be done but wait for the client. The connection may be shut down
        /// meanwhile, which ends the wait.
        void beginWait();
        void endWait();

    private:
        friend class OpenConnections;

        OpenConnections& m_connections;
        Poco::Net::StreamSocket m_socket;
        Clock::time_point m_exchangeBegin = Clock::now();
        bool m_isWaiting = false;
        bool m_isLeaving = false;
        std::list<Entry*>::iterator m_position;
    };

    /// So many connections are served at once, and so many may wait for their turn.
    OpenConnections(std::size_t places, std::size_t maxQueued);

    /// `count` tells how many connections that have come were refused; it is called by any thread, and must
    /// not use this. To be called before the first connection comes; without it none is.
    void setRefusals(std::function<std::size_t()> count) { m_countRefused = std::move(count); }

    /// A connection has come, and is to wait for its turn until there is an entry of it. Returns when there
    /// is room for it in the queue, or when there will be none soon.
    void noteArrival();

    bool isStopping() const;

    /// From now on nothing more is read from any connection; what is under way may still be answered.
    void stop();

    /// False if some are left when the time is over.
    bool waitUntilClosed(std::chrono::milliseconds timeout);

    /// Nothing more is sent either.
    void breakOff();

private:
    void makeRoom();
    std::size_t countQueued() const;
    std::size_t countStaying() const;
    Entry* slowest() const;

    std::size_t m_places;
    std::size_t m_maxQueued;
    std::function<std::size_t()> m_countRefused = [] {
        return std::size_t{0};
    };
    mutable std::mutex m_mutex;
    std::condition_variable m_hasMoved; ///< somebody has taken a place or left it
    std::list<Entry*> m_entries;
    std::size_t m_arrived = 0; ///< since the beginning
    std::size_t m_entered = 0; ///< since the beginning
    bool m_isStopping = false;
};

} // namespace Zovi::ServiceKit
