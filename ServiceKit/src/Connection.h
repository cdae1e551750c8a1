#pragma once

#include "Live/LiveServer.h"
#include "OpenConnections.h"
#include "ServiceKit/HttpServer.h"

#include <Poco/Net/HTTPServerParams.h>
#include <Poco/Net/HTTPServerSession.h>
#include <Poco/Net/StreamSocket.h>
#include <Poco/Net/TCPServerConnection.h>
#include <Poco/Net/TCPServerConnectionFactory.h>

#include <memory>

namespace Zovi::ServiceKit
{

/// What the connections of one server have in common.
struct ServerContext {
    ServerOptions options;
    Poco::Net::HTTPServerParams::Ptr params;
    std::shared_ptr<const ServiceTree> tree;
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
    class Response;
    class Request;

    /// What is left to do behind an exchange.
    enum class Next { EXCHANGE, UNREAD_INPUT, WEBSOCKET };

    void serve();
    Next serveExchange(Session& session, LivePlace& place);
    void handOver(Session& session, LivePlace& place);
    void closeBehindUnreadInput(OpenConnections::Entry& entry);

    ServerContext& m_context;
};

} // namespace Zovi::ServiceKit
