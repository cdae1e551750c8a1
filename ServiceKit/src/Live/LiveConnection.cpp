#include "Live/LiveConnection.h"

#include <memory>
#include <new>
#include <utility>

namespace Zovi::ServiceKit
{

namespace
{

/// Replies that may wait before no more requests are read.
constexpr std::size_t MAX_WAITING_REPLIES = 32;

/// What may wait before no more states are kept. One more may be as long as it is.
constexpr std::size_t MAX_WAITING_BYTES = 256 * 1024;

SharedFrame share(std::string&& frame)
{
    return std::make_shared<const std::string>(std::move(frame));
}

} // namespace

LiveConnection::LiveConnection(const LiveOptions& options, Time now)
    : m_options(options)
    , m_reader(options.maxMessageLength)
    , m_lastReceived(now)
    , m_sendingSince(now)
{
}

std::optional<std::string> LiveConnection::receive(std::string_view& bytes, Time now)
{
    m_lastReceived = now;
    m_hasPinged = false;
    while (!m_closingSince) {
        std::optional<FrameEvent> event = m_reader.read(bytes);
        if (!event)
            break;
        switch (event->kind) {
        case FrameEvent::Kind::TEXT:
            return std::move(event->payload);
        case FrameEvent::Kind::PING:
            answerPing(event->payload, now);
            break;
        case FrameEvent::Kind::PONG:
            break;
        case FrameEvent::Kind::CLOSE:
        case FrameEvent::Kind::FAILURE:
            m_queue.dropStates();
            sendClose(event->code, now);
            break;
        }
    }
    return std::nullopt;
}

void LiveConnection::answerPing(std::string_view payload, Time now)
{
    const bool hasStarted = startsToSend();
    m_queue.pushPong(share(makeFrame(Opcode::PONG, payload)));
    noteQueued(hasStarted, now);
}

void LiveConnection::send(SharedFrame frame, Time now)
{
    if (m_closingSince)
        return;
    const bool hasStarted = startsToSend();
    m_queue.push(std::move(frame));
    noteQueued(hasStarted, now);
}

bool LiveConnection::sendState(const std::string& event, SharedFrame frame, Time now)
{
    if (m_closingSince)
        return true;
    if (!hasRoom() && !m_queue.hasState(event))
        return false;
    const bool hasStarted = startsToSend();
    m_queue.pushState(event, std::move(frame));
    noteQueued(hasStarted, now);
    return true;
}

bool LiveConnection::hasRoom() const
{
    return m_queue.bytes() < MAX_WAITING_BYTES;
}

void LiveConnection::noteQueued(bool hasStarted, Time now)
{
    if (hasStarted)
        m_sendingSince = now;
}

void LiveConnection::close(std::uint16_t code, Time now)
{
    if (m_closingSince)
        return;
    m_queue.dropAll();
    try {
        sendClose(code, now);
    } catch (const std::bad_alloc&) {
        giveUp();
    }
}

void LiveConnection::sendClose(std::uint16_t code, Time now)
{
    send(share(makeCloseFrame(code)), now);
    m_closingSince = now;
}

void LiveConnection::checkTimes(Time now)
{
    const auto silence = now - m_lastReceived;
    const bool isStuck = wantsToSend() && now - m_sendingSince > m_options.sendTimeout;
    const bool isLeftOpen = m_closingSince && now - *m_closingSince > m_options.closeTimeout;
    const bool isDead = m_hasPinged && silence > 2 * m_options.pingPeriod;
    m_isOver = m_isOver || isStuck || isLeftOpen || isDead;
    if (!m_hasPinged && silence > m_options.pingPeriod) {
        send(share(makeFrame(Opcode::PING, "")), now);
        m_hasPinged = true;
    }
}

bool LiveConnection::wantsToReceive() const
{
    return m_queue.replies() < MAX_WAITING_REPLIES;
}

void LiveConnection::noteSent(std::size_t count, Time now)
{
    if (m_queue.advance(count))
        m_sendingSince = now;
}

} // namespace Zovi::ServiceKit
