#pragma once

#include <chrono>
#include <cstddef>

namespace Zovi::ServiceKit
{

/// What a server grants to the clients that follow its resources over WebSockets. The defaults suit a small
/// device.
struct LiveOptions {
    /// WebSockets that are open at once; a further one is refused with status 503. They do not count among
    /// the connections of HTTP. Each takes a file descriptor.
    std::size_t maxConnections = 1024;

    /// Subscriptions of one WebSocket, and of all together; a further one is refused with code 503.
    std::size_t maxSubscriptionsPerConnection = 64;
    std::size_t maxSubscriptions = 8192;

    /// Longest message from a client in bytes, its fragments together; a longer one ends the connection with
    /// close code 1009.
    std::size_t maxMessageLength = 16 * 1024;

    /// Threads that ask the resources. A resource that takes long holds up one of them, and never the
    /// connections themselves.
    std::size_t evaluationThreads = 2;

    /// A resource that does not tell of its changes is asked for them at the update limit of a subscription,
    /// but not more often than this.
    std::chrono::milliseconds shortestPollPeriod{500};

    /// A subscription with a shorter interval than this is served at this one. Messages at an interval may be
    /// late by this much, so that all who follow the same event get the same ones.
    std::chrono::milliseconds shortestInterval{100};

    /// A connection on which nothing has come for so long is sent a ping; after the same time again without a
    /// sign of life it is dropped.
    std::chrono::milliseconds pingPeriod{20'000};

    /// How long one message may take to go out; past it the client stands still, and is dropped.
    std::chrono::milliseconds sendTimeout{10'000};

    /// How long a client has to end the connection after it was sent a close frame.
    std::chrono::milliseconds closeTimeout{1'000};
};

} // namespace Zovi::ServiceKit
