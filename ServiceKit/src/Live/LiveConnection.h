#pragma once

#include "Live/Frame.h"
#include "Live/SendQueue.h"
#include "Live/Subscriptions.h"
#include "ServiceKit/LiveOptions.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace Zovi::ServiceKit
{

/// One WebSocket behind its handshake: what comes, what goes, and when it is over.
///
/// It holds no socket and no clock; the owner moves the bytes and tells the time.
class LiveConnection
{
public:
    using Time = LiveClock::time_point;

    /// `options` must outlive it.
    LiveConnection(const LiveOptions& options, Time now);

    /// Takes bytes that have come, from the front of `bytes`, until a message has become whole, and gives it;
    /// nothing if all were taken before. It is to be called until then, and each message to be answered
    /// before the next call. Pings and closes are answered here, a close behind the replies to what came
    /// before it. What comes once the connection is closing is dropped.
    std::optional<std::string> receive(std::string_view& bytes, Time now);

    void send(SharedFrame frame, Time now);

    /// See `SendQueue`. False, and nothing is kept, if so much waits already that there is no room for a
    /// further state.
    bool sendState(const std::string& event, SharedFrame frame, Time now);

    /// Whether a state would be kept now.
    bool hasRoom() const;
    void dropState(const std::string& event) { m_queue.dropState(event); }

    /// Sends a close frame in place of all that has not begun to go out. Nothing is sent after it. Where
    /// memory is wanting, it gives up.
    void close(std::uint16_t code, Time now);

    /// It is over at once.
    void giveUp() { m_isOver = true; }

    /// Sends a ping to who has been silent for long; ends the connection if a client does not answer, does
    /// not read, or does not end a closed connection. To be called every now and then.
    void checkTimes(Time now);

    /// Whether more may be read. False while the client does not take the replies to what it has sent.
    bool wantsToReceive() const;

    bool wantsToSend() const { return !m_queue.isEmpty(); }

    /// What is to go out next; see `SendQueue`.
    std::string_view nextBytes() const { return m_queue.front(); }
    void noteSent(std::size_t count, Time now);

    /// The close frame has gone out: nothing more is sent, and all that is left is to wait for the client.
    bool hasSentAll() const { return m_closingSince && m_queue.isEmpty(); }

    /// The connection is to be dropped, whatever it has still to send.
    bool isOver() const { return m_isOver; }

private:
    void answerPing(std::string_view payload, Time now);
    void sendClose(std::uint16_t code, Time now);
    bool startsToSend() const { return m_queue.isEmpty(); }
    void noteQueued(bool hasStarted, Time now);

    const LiveOptions& m_options;
    FrameReader m_reader;
    SendQueue m_queue;
    Time m_lastReceived;
    Time m_sendingSince; ///< when the frame at the front became the next one
    bool m_hasPinged = false;
    std::optional<Time> m_closingSince;
    bool m_isOver = false;
};

} // namespace Zovi::ServiceKit
