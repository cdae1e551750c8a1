#include "Live/LiveServer.h"

#include "Live/Poll.h"
#include "Logging/LogStream.h"

#include <Poco/Exception.h>

#include <sys/socket.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <exception>
#include <new>
#include <utility>

namespace Zovi::ServiceKit
{

namespace
{

using namespace std::chrono_literals;

/// Stands for the inbox in the poll; connections are numbered from 1.
constexpr ConnectionId INBOX_ID = 0;

/// How often the times of the connections are looked at.
constexpr std::chrono::milliseconds CHECK_PERIOD = 100ms;

/// What the system keeps for a client that does not read.
constexpr int SEND_BUFFER_SIZE = 64 * 1024;

constexpr std::size_t RECEIVE_SIZE = 16 * 1024;

/// Evaluations that may be under way for each thread. The others stay with the subscriptions, where they go
/// with their last subscriber.
constexpr std::size_t EVALUATIONS_PER_THREAD = 16;

bool isWouldBlock(int error)
{
    return error == EAGAIN || error == EWOULDBLOCK || error == EINTR;
}

void prepare(Poco::Net::StreamSocket& socket)
{
    socket.setBlocking(false);
    socket.setNoDelay(true);
    socket.setSendBufferSize(SEND_BUFFER_SIZE);
}

} // namespace

LiveServer::LiveServer(std::shared_ptr<const ServiceTree> tree, const LiveOptions& options,
                       const ExchangeOptions& exchangeOptions)
    : m_tree(std::move(tree))
    , m_options(options)
    , m_exchangeOptions(exchangeOptions)
    , m_reader(*m_tree)
    , m_protocol(*m_tree, m_options, m_exchangeOptions)
    , m_inbox(std::make_shared<LoopInbox>())
    , m_poll(std::make_unique<Poll>())
    , m_evaluations(options.evaluationThreads, m_reader,
                    [this](EvaluatedEvent&& event) { m_inbox->put(std::move(event)); })
{
    for (const auto& service : m_tree->services()) {
        for (const auto& resource : service->resources())
            resource->addChangeListener(m_inbox);
    }
    m_poll->add(m_inbox->descriptor(), INBOX_ID, EPOLLIN);
    m_thread = std::thread([this] { run(); });
}

LiveServer::~LiveServer()
{
    beginStop();
    m_thread.join();
}

bool LiveServer::reservePlace()
{
    std::size_t open = m_open;
    while (!m_isClosed && open < m_options.maxConnections) {
        if (m_open.compare_exchange_weak(open, open + 1))
            return true;
    }
    return false;
}

void LiveServer::returnPlace()
{
    --m_open;
}

void LiveServer::take(const Poco::Net::StreamSocket& socket, const std::string& received)
{
    m_inbox->put(NewConnection{socket, received});
}

void LiveServer::beginStop()
{
    m_isClosed = true;
    m_inbox->stop();
}

void LiveServer::run()
{
    while (!isDone()) {
        try {
            takeTurn();
        } catch (const std::exception& failure) {
            ZOVI_LOG_ERROR("All WebSockets are dropped: " << failure.what());
            giveUpAll();
        }
    }
}

void LiveServer::takeTurn()
{
    const int count = m_poll->wait(waitTime(LiveClock::now()));
    const Time now = LiveClock::now();
    handleInbox(now);
    handleEvents(count, now);
    checkTimes(now);
    startEvaluations(now);
}

/// Whoever follows an event may wait for a message in vain when its evaluation has been lost for want of
/// memory. They come again, and nothing is left of what was lost.
void LiveServer::giveUpAll()
{
    while (!m_peers.empty())
        drop(m_peers.begin()->first);
}

bool LiveServer::isDone() const
{
    return m_isStopping && m_peers.empty();
}

/// Rounded up, so that nothing is done before its time.
int LiveServer::waitTime(Time now) const
{
    std::optional<Time> next;
    if (roomForEvaluations() > 0)
        next = m_protocol.subscriptions().nextDue();
    if (!m_peers.empty() && (!next || m_nextCheck < *next))
        next = m_nextCheck;
    if (!next)
        return -1;
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(*next - now);
    return static_cast<int>(std::clamp<std::chrono::milliseconds::rep>(left.count(), 0, 60'000));
}

void LiveServer::handleInbox(Time now)
{
    LoopInbox::Content content = m_inbox->take();
    const bool isStopping = content.isStopping && !std::exchange(m_isStopping, true);
    m_evaluationsUnderWay -= content.evaluated.size();
    for (const NewConnection& connection : content.connections)
        admit(connection, now);
    for (const Resource* resource : content.changed)
        m_protocol.subscriptions().markChanged(*resource);
    // What came into the inbox may be later than the time at which the loop woke up: counted from then, the
    // update limit would end too soon.
    const Time sent = LiveClock::now();
    for (const EvaluatedEvent& event : content.evaluated)
        deliver(m_protocol.finish(event, sent), sent);
    if (isStopping)
        stopAll(now);
}

void LiveServer::stopAll(Time now)
{
    for (auto peer = m_peers.begin(); peer != m_peers.end();) {
        const auto current = peer++;
        current->second.connection.close(static_cast<std::uint16_t>(CloseCode::GOING_AWAY), now);
        advance(current->first, current->second, now);
    }
}

void LiveServer::handleEvents(int count, Time now)
{
    for (int i = 0; i < count; ++i) {
        const auto [id, events] = m_poll->ready(i);
        const auto peer = m_peers.find(id);
        if (peer == m_peers.end())
            continue;
        if ((events & (EPOLLIN | EPOLLHUP | EPOLLERR)) != 0)
            handleReadable(id, peer->second, now);
        else
            advance(id, peer->second, now);
    }
}

void LiveServer::startEvaluations(Time now)
{
    for (Evaluation& evaluation : m_protocol.subscriptions().takeDue(now, roomForEvaluations())) {
        m_evaluations.evaluate(std::move(evaluation));
        ++m_evaluationsUnderWay;
    }
}

std::size_t LiveServer::roomForEvaluations() const
{
    return m_evaluations.count() * EVALUATIONS_PER_THREAD - m_evaluationsUnderWay;
}

void LiveServer::checkTimes(Time now)
{
    if (now < m_nextCheck)
        return;
    m_nextCheck = now + CHECK_PERIOD;
    for (auto peer = m_peers.begin(); peer != m_peers.end();) {
        const auto current = peer++;
        try {
            current->second.connection.checkTimes(now);
        } catch (const std::bad_alloc&) {
            current->second.connection.giveUp();
        }
        advance(current->first, current->second, now);
    }
}

void LiveServer::admit(const NewConnection& newConnection, Time now)
{
    const ConnectionId id = ++m_lastId;
    try {
        begin(id, newConnection, now);
    } catch (const std::exception&) {
        drop(id); // the client has left already, or memory is wanting
    }
}

void LiveServer::begin(ConnectionId id, const NewConnection& newConnection, Time now)
{
    Peer& peer =
        m_peers.emplace(id, Peer{newConnection.socket, LiveConnection(m_options, now)}).first->second;
    prepare(peer.socket);
    peer.awaited = EPOLLIN;
    if (!m_poll->add(peer.socket.impl()->sockfd(), id, peer.awaited))
        return drop(id);
    if (m_isStopping)
        peer.connection.close(static_cast<std::uint16_t>(CloseCode::GOING_AWAY), now);
    handleMessages(id, peer, newConnection.received, now);
    advance(id, peer, now);
}

void LiveServer::handleReadable(ConnectionId id, Peer& peer, Time now)
{
    std::array<char, RECEIVE_SIZE> bytes;
    const auto count = ::recv(peer.socket.impl()->sockfd(), bytes.data(), bytes.size(), MSG_DONTWAIT);
    if (count == 0 || (count < 0 && !isWouldBlock(errno)))
        return drop(id);
    if (count > 0)
        handleMessages(id, peer, {bytes.data(), static_cast<std::size_t>(count)}, now);
    advance(id, peer, now);
}

void LiveServer::handleMessages(ConnectionId id, Peer& peer, std::string_view bytes, Time now)
{
    try {
        while (const std::optional<std::string> message = peer.connection.receive(bytes, now))
            deliver(m_protocol.receive(id, *message), now);
    } catch (const std::exception& failure) {
        ZOVI_LOG_ERROR("WebSocket message failed: " << failure.what());
        peer.connection.close(static_cast<std::uint16_t>(CloseCode::INTERNAL_ERROR), now);
    }
}

void LiveServer::deliver(const SubscriptionProtocol::Messages& messages, Time now)
{
    for (const OutgoingMessage& message : messages) {
        const auto peer = m_peers.find(message.connection);
        if (peer == m_peers.end())
            continue;
        try {
            deliver(message, peer->second, now);
        } catch (const std::bad_alloc&) {
            peer->second.connection.giveUp();
        }
        awaitMore(message.connection, peer->second);
    }
}

void LiveServer::deliver(const OutgoingMessage& message, Peer& peer, Time now)
{
    if (!message.isState)
        peer.connection.send(message.frame, now);
    else if (message.frame)
        sendState(peer, message, now);
    else
        peer.connection.dropState(message.event);
}

void LiveServer::sendState(Peer& peer, const OutgoingMessage& message, Time now)
{
    if (peer.connection.sendState(message.event, message.frame, now))
        return;
    m_protocol.subscriptions().hold(message.connection, message.event);
    peer.hasHeld = true;
}

/// Sends what may be sent, and ends the connection if it is over. The peer may be gone afterwards.
void LiveServer::advance(ConnectionId id, Peer& peer, Time now)
{
    if (peer.connection.isOver() || !sendWaiting(peer, now))
        return drop(id);
    if (peer.connection.hasSentAll() && !std::exchange(peer.isEndSent, true))
        ::shutdown(peer.socket.impl()->sockfd(), SHUT_WR);
    // One at a time: each has to be asked for again.
    if (peer.hasHeld && peer.connection.hasRoom())
        peer.hasHeld = m_protocol.subscriptions().release(id);
    awaitMore(id, peer);
}

/// False if the client has left.
bool LiveServer::sendWaiting(Peer& peer, Time now)
{
    while (peer.connection.wantsToSend()) {
        const std::string_view bytes = peer.connection.nextBytes();
        const auto count =
            ::send(peer.socket.impl()->sockfd(), bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
        if (count < 0)
            return isWouldBlock(errno);
        peer.connection.noteSent(static_cast<std::size_t>(count), now);
    }
    return true;
}

void LiveServer::awaitMore(ConnectionId id, Peer& peer)
{
    const std::uint32_t awaited = (peer.connection.wantsToReceive() ? std::uint32_t{EPOLLIN} : 0) |
                                  (peer.connection.wantsToSend() ? std::uint32_t{EPOLLOUT} : 0);
    if (awaited != std::exchange(peer.awaited, awaited))
        m_poll->change(peer.socket.impl()->sockfd(), id, awaited);
}

void LiveServer::drop(ConnectionId id)
{
    m_protocol.removeConnection(id);
    m_peers.erase(id);
    returnPlace();
}

} // namespace Zovi::ServiceKit
