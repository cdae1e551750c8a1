#pragma once

#include "Live/EvaluationThreads.h"
#include "Live/LiveConnection.h"
#include "Live/LoopInbox.h"
#include "Live/SubscriptionProtocol.h"
#include "ServiceKit/ExchangeHandler.h"
#include "ServiceKit/LiveOptions.h"
#include "ServiceKit/ServiceTree.h"
#include "ServiceKit/TreeReader.h"

#include <Poco/Net/StreamSocket.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

namespace Zovi::ServiceKit
{

class Poll;

/// Serves all WebSockets of a server: one thread moves the bytes of all of them and never waits for any one,
/// a few others ask the resources.
class LiveServer
{
public:
    /// Shares the tree, copies the options. Begins its threads.
    LiveServer(std::shared_ptr<const ServiceTree> tree, const LiveOptions& options,
               const ExchangeOptions& exchangeOptions);

    /// Stops. Returns when no thread of it runs any more.
    ~LiveServer();

    LiveServer(const LiveServer&) = delete;
    LiveServer& operator=(const LiveServer&) = delete;

    /// Keeps a place for one more WebSocket; false if there is none. Any thread may call this.
    bool reservePlace();

    /// Gives back a reserved place in which no WebSocket was opened.
    void returnPlace();

    /// Takes over a connection behind its handshake, with what the client has already sent, into a reserved
    /// place. Any thread may call this.
    void take(const Poco::Net::StreamSocket& socket, const std::string& received);

    /// Sends all clients a close frame and lets them end their connections. Does not wait for it.
    void beginStop();

private:
    using Time = LiveClock::time_point;

    struct Peer {
        Poco::Net::StreamSocket socket;
        LiveConnection connection;
        std::uint32_t awaited = 0; ///< what the poll waits for, as it was last told
        bool isEndSent = false;
        bool hasHeld = false; ///< some of its events are held until it takes what waits
    };

    using Peers = std::map<ConnectionId, Peer>;

    void run();
    void takeTurn();
    void giveUpAll();
    bool isDone() const;
    int waitTime(Time now) const;
    void handleInbox(Time now);
    void handleEvents(int count, Time now);
    void startEvaluations(Time now);
    std::size_t roomForEvaluations() const;
    void checkTimes(Time now);
    void stopAll(Time now);

    void admit(const NewConnection& newConnection, Time now);
    void begin(ConnectionId id, const NewConnection& newConnection, Time now);
    void handleReadable(ConnectionId id, Peer& peer, Time now);
    void handleMessages(ConnectionId id, Peer& peer, std::string_view bytes, Time now);
    void deliver(const SubscriptionProtocol::Messages& messages, Time now);
    void deliver(const OutgoingMessage& message, Peer& peer, Time now);
    void sendState(Peer& peer, const OutgoingMessage& message, Time now);
    void advance(ConnectionId id, Peer& peer, Time now);
    static bool sendWaiting(Peer& peer, Time now);
    void awaitMore(ConnectionId id, Peer& peer);
    void drop(ConnectionId id);

    std::shared_ptr<const ServiceTree> m_tree;
    LiveOptions m_options;
    ExchangeOptions m_exchangeOptions;
    TreeReader m_reader;
    SubscriptionProtocol m_protocol;
    std::shared_ptr<LoopInbox> m_inbox;
    std::unique_ptr<Poll> m_poll;
    Peers m_peers;
    ConnectionId m_lastId = 0;
    std::atomic<std::size_t> m_open{0}; ///< places that are taken or reserved
    std::atomic<bool> m_isClosed{false};
    Time m_nextCheck;
    bool m_isStopping = false;
    std::size_t m_evaluationsUnderWay = 0;
    EvaluationThreads m_evaluations;
    std::thread m_thread;
};

/// The place of one connection that may become a WebSocket: reserved before the client is told that it is
/// one, so that several at once do not exceed the limit, and given back if it does not become one.
class LivePlace
{
public:
    explicit LivePlace(LiveServer& server)
        : m_server(server)
    {
    }

    ~LivePlace()
    {
        if (m_isReserved)
            m_server.returnPlace();
    }

    LivePlace(const LivePlace&) = delete;
    LivePlace& operator=(const LivePlace&) = delete;

    /// False if there is none.
    bool reserve()
    {
        m_isReserved = m_isReserved || m_server.reservePlace();
        return m_isReserved;
    }

    /// Hands over the connection that the place was reserved for; see `LiveServer::take`.
    void open(const Poco::Net::StreamSocket& socket, const std::string& received)
    {
        m_server.take(socket, received);
        m_isReserved = false;
    }

private:
    LiveServer& m_server;
    bool m_isReserved = false;
};

} // namespace Zovi::ServiceKit
