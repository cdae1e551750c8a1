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

    /// Whether one more WebSocket may be opened. Any thread may ask.
    bool hasRoom() const;

    /// Takes over a connection behind its handshake, with what the client has already sent. Any thread may
    /// call this.
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
    };

    using Peers = std::map<ConnectionId, Peer>;

    void run();
    bool isDone() const;
    int waitTime(Time now) const;
    void handleInbox(Time now);
    void handleEvents(int count, Time now);
    void startEvaluations(Time now);
    void checkTimes(Time now);
    void stopAll(Time now);

    void admit(const NewConnection& newConnection, Time now);
    void handleReadable(ConnectionId id, Peer& peer, Time now);
    void handleMessages(ConnectionId id, Peer& peer, std::string_view bytes, Time now);
    void deliver(const SubscriptionProtocol::Messages& messages, Time now);
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
    std::atomic<std::size_t> m_open{0}; ///< connections, with those in the inbox
    std::atomic<bool> m_isClosed{false};
    Time m_nextCheck;
    bool m_isStopping = false;
    EvaluationThreads m_evaluations;
    std::thread m_thread;
};

} // namespace Zovi::ServiceKit
