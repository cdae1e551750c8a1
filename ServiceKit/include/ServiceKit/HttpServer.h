#pragma once

#include "ServiceKit/ExchangeHandler.h"
#include "ServiceKit/LiveOptions.h"

#include <Poco/Net/ServerSocket.h>
#include <Poco/Net/SocketAddress.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace Zovi::ServiceKit
{

/// How a server listens, and what it grants to its clients. The defaults suit a small device.
struct ServerOptions {
    /// The numeric IP address or host name to listen on.
    std::string listenAddress = "127.0.0.1";

    /// The TCP port; 0 takes any free one.
    std::uint16_t port = 0;

    /// Connections that are served at once, and that wait for their turn; further ones are closed. When all
    /// places are taken, whoever comes gets that of the client for which the server has waited longest: one
    /// that stands idle, or sends its request or takes its answer bit by bit. That one's connection is
    /// closed. Before its first request has come as a whole, a connection takes no place; 1024 may stand like
    /// that, and the oldest is closed for a further one.
    ///
    /// Each connection takes a file descriptor. Of those that the process may open when the server starts,
    /// these connections and the WebSockets get a quarter each at most, of which a warning in the log tells.
    int maxConnections = 64;
    int maxQueuedConnections = 64;

    /// From the first byte of a request to the last of its body; past it 408.
    std::chrono::milliseconds requestTimeout{10'000};

    /// From the first byte of an answer to its last; past it the connection is closed.
    std::chrono::milliseconds answerTimeout{30'000};

    /// How long a connection may stand idle before its first request and between two.
    std::chrono::milliseconds idleTimeout{5'000};

    /// Requests on one connection; after them it is closed.
    int maxRequestsPerConnection = 1000;

    /// How long `stop` lets exchanges that are under way come to their end.
    std::chrono::milliseconds stopTimeout{1'000};

    /// What each exchange accepts.
    ExchangeOptions exchange;

    /// What following over WebSockets costs at most.
    LiveOptions live;
};

/// The port that `text`, an argument of a program's for example, names in decimal digits. Throws
/// `Poco::InvalidArgumentException` with the text if it is no number from 0 to 65535.
std::uint16_t toPort(const std::string& text);

/// Serves a tree over HTTP, and lets clients follow it over WebSockets.
///
///     auto tree = std::make_shared<ServiceTree>(rootId);
///     tree->add(myService);
///     HttpServer server(tree, options);
///     server.start();
///
/// A WebSocket may be opened on any address. A client asks by a `WebSocketRequestObject`, whose event is an
/// address with a query as in a URL, and is told by `WebSocketResponseObject`s:
///
///     -> {"type":"subscribe","event":"/shop/basket","updatelimit":1000}
///     <- {"event":"/shop/basket","status":"ok","type":"subscribe"}
///     <- {"data":[...],"event":"/shop/basket","status":"ok","timestamp":1767225600000,"type":"data"}
///
/// The data are those of an answer to the same address over HTTP. They come at once, and again when they have
/// changed, never sooner than the update limit allows (milliseconds, 30 if not told); with an "interval", at
/// that interval, whether they have changed or not. An error comes in place of the acknowledgement if there
/// is nothing to follow, and in place of the data if they cannot be had; an element that is deleted is told
/// by the code 410, and the subscription is over. To subscribe again gives new times; "unsubscribe" ends it.
///
/// The event is given back as `Poco::URI` writes it, the query as it came and the path with what need not be
/// escaped written plainly, which is how messages are to be matched; those of several events may overtake
/// each other. "$expand" may stand on elements; on all else only with level 0.
///
/// Its threads are its own. `start` and `stop` are called by one thread.
class HttpServer
{
public:
    /// Shares `tree`, which is not changed any more from `start` on. Listens on nothing yet.
    HttpServer(std::shared_ptr<const ServiceTree> tree, const ServerOptions& options);

    /// Stops the server.
    ~HttpServer();

    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    /// Looks the address up and takes it: clients may connect, but wait for `start`. No thread begins yet.
    /// Throws what Poco throws, a `Poco::Net::NetException` as a rule, if the address is not known, not
    /// permitted or in use; the server is then as it was before.
    void listen();

    /// Serves from now on; listens first if `listen` was not called, and then throws as it does. Called once.
    void start();

    /// Takes no more connections, tells the WebSockets that it goes (close code 1001), closes the idle
    /// connections, waits for the exchanges under way and breaks off those that take longer than
    /// `stopTimeout`. Returns when no thread of the server runs any more. Calling it again does nothing.
    void stop();

    /// Where it listens, with the real port. Throws `Poco::InvalidAccessException` if it does not.
    Poco::Net::SocketAddress address() const;

private:
    class Running;

    std::shared_ptr<const ServiceTree> m_tree;
    ServerOptions m_options;
    std::optional<Poco::Net::ServerSocket> m_socket;
    std::unique_ptr<Running> m_running;
};

} // namespace Zovi::ServiceKit
