#pragma once

#include "DeadlineSocket.h"
#include "Live/LiveServer.h"
#include "ServiceKit/HttpServer.h"

#include <Poco/Net/HTTPServerParams.h>
#include <Poco/Net/HTTPServerSession.h>
#include <Poco/Net/StreamSocket.h>
#include <Poco/Net/TCPServerConnection.h>
#include <Poco/Net/TCPServerConnectionFactory.h>

#include <chrono>
#include <condition_variable>
#include <list>
#include <mutex>

namespace Zovi::ServiceKit
{

/// The connections that are open, so that a server can end them. Any thread may use it.
class OpenConnections
{
public:
    /// Keeps a connection in the list while it lives.
    class Entry
    {
    public:
        Entry(OpenConnections& connections, const Poco::Net::StreamSocket& socket);
        ~Entry();
        Entry(const Entry&) = delete;
        Entry& operator=(const Entry&) = delete;

    private:
        OpenConnections& m_connections;
        std::list<Poco::Net::StreamSocket>::iterator m_position;
    };

    bool isStopping() const;

    /// From now on nothing more is read from any connection; what is under way may still be answered.
    void stop();

    /// False if some are left when the time is over.
    bool waitUntilClosed(std::chrono::milliseconds timeout);

    /// Nothing more is sent either.
    void breakOff();

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_isEmpty;
    std::list<Poco::Net::StreamSocket> m_sockets;
    bool m_isStopping = false;
};

/// What the connections of one server have in common.
struct ServerContext {
    ServerOptions options;
    Poco::Net::HTTPServerParams::Ptr params;
    Poco::Net::HTTPRequestHandlerFactory::Ptr handlers;
    LiveServer& webSockets;
    OpenConnections connections;
};

/// One connection with all its exchanges.
///
/// It reads messages more strictly than Poco's own connection, bounds the time of each exchange, answers also
/// what is no request with a response document, and closes so that the last answer reaches a client that is
/// still sending. One that becomes a WebSocket is handed over.
class Connection : public Poco::Net::TCPServerConnection
{
public:
    /// `context` must outlive it.
    Connection(const Poco::Net::StreamSocket& socket, ServerContext& context);

    /// Never throws.
    void run() override;

private:
    class Session;
    class Request;

    /// What is left to do behind an exchange.
    enum class Next { EXCHANGE, UNREAD_INPUT, WEBSOCKET };

    void serve();
    Next serveExchange(Session& session);
    void handOver(Session& session);
    void closeBehindUnreadInput();

    ServerContext& m_context;
};

} // namespace Zovi::ServiceKit
