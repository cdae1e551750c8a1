#pragma once

#include <Poco/Mutex.h>
#include <Poco/Net/HTTPRequestHandler.h>
#include <Poco/Net/HTTPRequestHandlerFactory.h>
#include <Poco/Net/HTTPServer.h>
#include <Poco/Net/HTTPServerParams.h>
#include <Poco/Net/NetException.h>
#include <Poco/Net/ServerSocket.h>
#include <Poco/Net/StreamSocket.h>
#include <Poco/ThreadPool.h>

#include <functional>
#include <string>
#include <utility>

namespace Zovi::Test
{

/// An HTTP server on a free port of the loopback address, and a client that says exactly the bytes it is
/// told.
///
///     LoopbackServer server;
///     const std::string answer = server.exchange("GET / HTTP/1.1\r\nHost: h\r\n\r\n", handler);
///
/// One connection is one exchange. An exception that leaves a handler is the handler's matter: a test that
/// expects one catches it there.
class LoopbackServer
{
public:
    using Handler = std::function<void(Poco::Net::HTTPServerRequest&, Poco::Net::HTTPServerResponse&)>;

    LoopbackServer()
        : m_socket(Poco::Net::SocketAddress("127.0.0.1", 0))
        , m_server(new Factory(*this), m_threads, m_socket, parameters())
    {
        m_server.start();
    }

    ~LoopbackServer() { m_server.stopAll(true); }

    LoopbackServer(const LoopbackServer&) = delete;
    LoopbackServer& operator=(const LoopbackServer&) = delete;

    /// Sends `bytes`, closes the sending side, and gives what came back before the server closed the
    /// connection: everything that `handler` did has happened then.
    std::string exchange(const std::string& bytes, Handler handler)
    {
        setHandler(std::move(handler));
        Poco::Net::StreamSocket client(m_socket.address());
        client.setReceiveTimeout(Poco::Timespan(30, 0));
        sendAll(client, bytes);
        std::string answer = receiveAll(client);
        // The end of a connection tells the two threads nothing of each other's memory.
        Poco::FastMutex::ScopedLock lock(m_handling);
        return answer;
    }

private:
    class Adapter : public Poco::Net::HTTPRequestHandler
    {
    public:
        explicit Adapter(LoopbackServer& owner)
            : m_owner(owner)
            , m_handler(owner.handler())
        {
        }

        void handleRequest(Poco::Net::HTTPServerRequest& request,
                           Poco::Net::HTTPServerResponse& response) override
        {
            Poco::FastMutex::ScopedLock lock(m_owner.m_handling);
            m_handler(request, response);
        }

    private:
        LoopbackServer& m_owner;
        Handler m_handler;
    };

    class Factory : public Poco::Net::HTTPRequestHandlerFactory
    {
    public:
        explicit Factory(LoopbackServer& owner)
            : m_owner(owner)
        {
        }

        Poco::Net::HTTPRequestHandler* createRequestHandler(const Poco::Net::HTTPServerRequest&) override
        {
            return new Adapter(m_owner);
        }

    private:
        LoopbackServer& m_owner;
    };

    static Poco::Net::HTTPServerParams::Ptr parameters()
    {
        Poco::Net::HTTPServerParams::Ptr result = new Poco::Net::HTTPServerParams;
        result->setKeepAlive(false);
        return result;
    }

    static void sendAll(Poco::Net::StreamSocket& client, const std::string& bytes)
    {
        try {
            for (std::size_t sent = 0; sent < bytes.size();)
                sent += static_cast<std::size_t>(
                    client.sendBytes(bytes.data() + sent, static_cast<int>(bytes.size() - sent)));
            client.shutdownSend();
        } catch (const Poco::Net::NetException&) {
            // A server that has had enough of a body closes while it is still coming.
        }
    }

    static std::string receiveAll(Poco::Net::StreamSocket& client)
    {
        std::string answer;
        char buffer[4096];
        try {
            for (int count = client.receiveBytes(buffer, sizeof buffer); count > 0;
                 count = client.receiveBytes(buffer, sizeof buffer))
                answer.append(buffer, static_cast<std::size_t>(count));
        } catch (const Poco::Net::NetException&) {
            // A server that closes with unread bytes before it resets the connection: this is its end too.
        }
        return answer;
    }

    void setHandler(Handler handler)
    {
        Poco::FastMutex::ScopedLock lock(m_mutex);
        m_handler = std::move(handler);
    }

    Handler handler()
    {
        Poco::FastMutex::ScopedLock lock(m_mutex);
        return m_handler;
    }

    Poco::FastMutex m_mutex;
    /// Held while a handler runs.
    Poco::FastMutex m_handling;
    Handler m_handler;
    Poco::ThreadPool m_threads;
    Poco::Net::ServerSocket m_socket;
    Poco::Net::HTTPServer m_server;
};

} // namespace Zovi::Test
