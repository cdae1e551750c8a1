#include "RegistrationServer.h"

#include "ServiceKit/Text.h"

#include <Poco/Exception.h>
#include <Poco/Net/TCPServerConnection.h>
#include <Poco/Net/TCPServerConnectionFactory.h>
#include <Poco/Net/TCPServerParams.h>
#include <Poco/ThreadPool.h>

#include <array>
#include <atomic>
#include <utility>

namespace Zovi::Registry
{

namespace
{

using Poco::Net::StreamSocket;

constexpr int MAX_CONNECTIONS = 64;

/// How soon a connection notices that the server ends.
const Poco::Timespan ATTENTION(0, 200'000);

std::string describe(const MicroServiceInfo& info)
{
    return ServiceKit::inQuotes(info.getName()) + " at port " + std::to_string(info.getPort());
}

} // namespace

class RegistrationServer::Shared
{
public:
    Shared(const std::shared_ptr<RegisteredServices>& services, const Tell& tell)
        : m_services(services)
        , m_tell(tell)
    {
    }

    void end() { m_isEnding = true; }

    /// Returns when the connection has ended.
    void serve(StreamSocket& socket)
    {
        std::string line;
        if (!readLine(socket, line))
            return;
        const RegisteredServices::Entry entry = m_services->add(line);
        if (!entry)
            return;
        m_tell(describe(*entry) + " is there");
        std::string rest;
        while (receive(socket, rest))
            rest.clear();
        m_services->remove(entry);
        m_tell(describe(*entry) + " has gone");
    }

private:
    /// False if the connection ends before a line does, or the line is too long.
    bool readLine(StreamSocket& socket, std::string& line) const
    {
        while (line.find('\n') == std::string::npos) {
            if (line.size() > MAX_LINE_LENGTH || !receive(socket, line))
                return false;
        }
        return true;
    }

    /// Adds what comes to `text`; false at the end of the connection or of the server.
    bool receive(StreamSocket& socket, std::string& text) const
    {
        try {
            while (!socket.poll(ATTENTION, Poco::Net::Socket::SELECT_READ)) {
                if (m_isEnding)
                    return false;
            }
            std::array<char, 4096> bytes{};
            const int count = socket.receiveBytes(bytes.data(), static_cast<int>(bytes.size()));
            text.append(bytes.data(), static_cast<std::size_t>(count));
            return count > 0 && !m_isEnding;
        } catch (const Poco::Exception&) {
            return false;
        }
    }

    std::shared_ptr<RegisteredServices> m_services;
    Tell m_tell;
    std::atomic<bool> m_isEnding = false;
};

namespace
{

using Serve = std::function<void(StreamSocket&)>;

class Connection : public Poco::Net::TCPServerConnection
{
public:
    Connection(const StreamSocket& socket, Serve serve)
        : TCPServerConnection(socket)
        , m_serve(std::move(serve))
    {
    }

    void run() override { m_serve(socket()); }

private:
    Serve m_serve;
};

class ConnectionFactory : public Poco::Net::TCPServerConnectionFactory
{
public:
    explicit ConnectionFactory(Serve serve)
        : m_serve(std::move(serve))
    {
    }

    Poco::Net::TCPServerConnection* createConnection(const StreamSocket& socket) override
    {
        return new Connection(socket, m_serve);
    }

private:
    Serve m_serve;
};

Poco::Net::TCPServerParams::Ptr makeParams()
{
    Poco::Net::TCPServerParams::Ptr params = new Poco::Net::TCPServerParams;
    params->setMaxThreads(MAX_CONNECTIONS);
    params->setThreadIdleTime(ATTENTION);
    return params;
}

} // namespace

RegistrationServer::RegistrationServer(const std::shared_ptr<RegisteredServices>& services,
                                       const Poco::Net::ServerSocket& socket, const Tell& tell)
    : m_shared(std::make_shared<Shared>(services, tell))
    , m_threads(1, MAX_CONNECTIONS)
    , m_server(new ConnectionFactory([shared = m_shared](StreamSocket& peer) { shared->serve(peer); }),
               m_threads, socket, makeParams())
{
    m_server.start();
}

RegistrationServer::~RegistrationServer()
{
    m_shared->end();
    m_server.stop();
    m_threads.joinAll();
}

} // namespace Zovi::Registry
