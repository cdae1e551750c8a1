#include "ServiceKit/HttpServer.h"

#include "Connection.h"
#include "DescriptorShare.h"
#include "Lobby.h"
#include "ServiceKit/Text.h"

#include <Poco/Exception.h>
#include <Poco/Net/ServerSocket.h>
#include <Poco/Net/TCPServer.h>
#include <Poco/ThreadPool.h>
#include <Poco/Timespan.h>

#include <charconv>
#include <new>
#include <system_error>
#include <utility>

namespace Zovi::ServiceKit
{

namespace
{

/// Connections whose first request has not come as a whole.
constexpr std::size_t MAX_WAITING = 1024;

/// Connections that the system holds until they are taken, which is at once as a rule.
constexpr int BACKLOG = 1024;

Poco::Timespan toTimespan(std::chrono::milliseconds time)
{
    return Poco::Timespan(std::chrono::microseconds(time).count());
}

Poco::Net::HTTPServerParams::Ptr makeParams(const ServerOptions& options)
{
    Poco::Net::HTTPServerParams::Ptr params = new Poco::Net::HTTPServerParams;
    params->setMaxThreads(options.maxConnections);
    params->setMaxQueued(options.maxQueuedConnections);
    // A thread that is about to wait for its next connection when the server stops may miss the call to end,
    // and then waits for that long.
    params->setThreadIdleTime(Poco::Timespan(0, 200'000));
    params->setTimeout(toTimespan(options.idleTimeout));
    params->setKeepAliveTimeout(toTimespan(options.idleTimeout));
    params->setMaxKeepAliveRequests(options.maxRequestsPerConnection);
    return params;
}

/// The port is not shared: a second server on it must find out.
Poco::Net::ServerSocket listenOn(const ServerOptions& options)
{
    const Poco::Net::SocketAddress address(options.listenAddress, options.port);
    Poco::Net::ServerSocket socket;
    socket.bind(address, true, false);
    socket.listen(BACKLOG);
    return socket;
}

/// Refuses nobody: others make room for who comes.
class Doorkeeper : public Poco::Net::TCPServerConnectionFilter
{
public:
    explicit Doorkeeper(OpenConnections& connections)
        : m_connections(connections)
    {
    }

    bool accept(const Poco::Net::StreamSocket&) override
    {
        m_connections.noteArrival();
        return true;
    }

private:
    OpenConnections& m_connections;
};

class ConnectionFactory : public Poco::Net::TCPServerConnectionFactory
{
public:
    explicit ConnectionFactory(ServerContext& context)
        : m_context(context)
    {
    }

    Poco::Net::TCPServerConnection* createConnection(const Poco::Net::StreamSocket& socket) override
    {
        return new Connection(socket, m_context);
    }

private:
    ServerContext& m_context;
};

} // namespace

std::uint16_t toPort(const std::string& text)
{
    std::uint16_t port = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, fault] = std::from_chars(text.data(), end, port);
    if (fault != std::errc() || stop != end)
        throw Poco::InvalidArgumentException("a port is a number from 0 to 65535, not " + inQuotes(text));
    return port;
}

/// What exists between start and stop. The members end in the reverse of the order in which they stand.
class HttpServer::Running
{
public:
    Running(const std::shared_ptr<const ServiceTree>& tree, const ServerOptions& options,
            const Poco::Net::ServerSocket& socket, int highestDescriptor)
        : m_webSockets(tree, options.live, options.exchange)
        , m_context{options, makeParams(options), tree, m_webSockets,
                    OpenConnections(static_cast<std::size_t>(options.maxConnections),
                                    static_cast<std::size_t>(options.maxQueuedConnections))}
        , m_threads(1, options.maxConnections)
        , m_server(
              new ConnectionFactory(m_context), m_threads,
              Lobby(socket, {MAX_WAITING, options.idleTimeout, options.requestTimeout, highestDescriptor}),
              m_context.params)
    {
        m_context.connections.setRefusals(
            [this] { return static_cast<std::size_t>(m_server.refusedConnections()); });
        m_server.setConnectionFilter(new Doorkeeper(m_context.connections));
        m_server.start();
    }

    ~Running()
    {
        m_webSockets.beginStop();
        m_context.connections.stop();
        try {
            m_server.stop();
        } catch (const std::bad_alloc&) {
            // It could not tell its threads to end; they do so when they have been idle for a while.
        }
        if (!m_context.connections.waitUntilClosed(m_context.options.stopTimeout))
            m_context.connections.breakOff();
        m_threads.joinAll();
    }

    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

private:
    LiveServer m_webSockets;
    ServerContext m_context;
    Poco::ThreadPool m_threads;
    Poco::Net::TCPServer m_server;
};

HttpServer::HttpServer(std::shared_ptr<const ServiceTree> tree, const ServerOptions& options)
    : m_tree(std::move(tree))
    , m_options(options)
{
}

HttpServer::~HttpServer() = default;

void HttpServer::listen()
{
    m_socket = listenOn(m_options);
}

void HttpServer::start()
{
    if (!m_socket)
        listen();
    const std::size_t descriptors = descriptorLimit();
    m_running = std::make_unique<Running>(m_tree, withinDescriptors(m_options, descriptors), *m_socket,
                                          highestWaitingDescriptor(descriptors));
}

void HttpServer::stop()
{
    m_running.reset();
    m_socket.reset();
}

Poco::Net::SocketAddress HttpServer::address() const
{
    if (!m_socket)
        throw Poco::InvalidAccessException("The server does not listen");
    return m_socket->address();
}

} // namespace Zovi::ServiceKit
