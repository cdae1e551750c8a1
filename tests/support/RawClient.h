#pragma once

#include <Poco/Exception.h>
#include <Poco/Net/SocketAddress.h>
#include <Poco/Net/StreamSocket.h>
#include <Poco/String.h>
#include <Poco/Timespan.h>

#include <array>
#include <cstdlib>
#include <map>
#include <stdexcept>
#include <string>

namespace Zovi::Test
{

/// An answer as it came over the wire.
struct RawAnswer {
    int status = 0;
    std::map<std::string, std::string> headers; ///< names in lower case
    std::string body;

    std::string header(const std::string& name) const
    {
        const auto entry = headers.find(name);
        return entry == headers.end() ? "" : entry->second;
    }
};

/// A client that sends exactly the bytes it is told, right or wrong.
///
///     RawClient client(server.address());
///     client.send("GET / HTTP/1.1\r\nHost: localhost\r\n\r\n");
///     EXPECT_EQ(client.receive().status, 200);
class RawClient
{
public:
    /// A small `receiveBuffer` makes it a client that soon has no more room.
    explicit RawClient(const Poco::Net::SocketAddress& address, int receiveBuffer = 0)
        : m_socket(address.family())
    {
        if (receiveBuffer > 0)
            m_socket.setReceiveBufferSize(receiveBuffer);
        m_socket.connect(address);
        // What is sent in parts is to come in parts, and at once.
        m_socket.setNoDelay(true);
        // A server that does not answer must fail the test, not hang it.
        m_socket.setReceiveTimeout(Poco::Timespan(20, 0));
    }

    void send(const std::string& text) { m_socket.sendBytes(text.data(), static_cast<int>(text.size())); }

    /// Sends unless the server has closed.
    void trySend(const std::string& text)
    {
        try {
            send(text);
        } catch (const Poco::Exception&) {
        }
    }

    /// No more is sent.
    void endSending() { m_socket.shutdownSend(); }

    /// Ends the connection by a reset.
    void reset()
    {
        m_socket.setLinger(true, 0);
        m_socket.close();
    }

    /// The next answer. That to a HEAD has no body, whatever its length says.
    RawAnswer receive(bool toHead = false)
    {
        const std::string head = receiveUntil("\r\n\r\n");
        RawAnswer answer = parseHead(head.substr(0, head.size() - 2));
        const std::size_t length = std::strtoul(answer.header("content-length").c_str(), nullptr, 10);
        if (!toHead)
            answer.body = take(length);
        return answer;
    }

    /// All that comes up to the end of the first `text` in it.
    std::string receiveUntil(const std::string& text)
    {
        while (m_received.find(text) == std::string::npos) {
            if (!receiveMore())
                throw std::runtime_error("no whole answer: " + m_received);
        }
        return take(m_received.find(text) + text.size());
    }

    /// So many bytes, fewer if the server closes before.
    std::string receiveBytes(std::size_t length) { return take(length); }

    /// Waits until the server closes, and gives what else it has sent.
    std::string receiveRest()
    {
        while (receiveMore()) {
        }
        return take(m_received.size());
    }

private:
    bool receiveMore()
    {
        std::array<char, 16 * 1024> bytes{};
        const int count = m_socket.receiveBytes(bytes.data(), static_cast<int>(bytes.size()));
        m_received.append(bytes.data(), static_cast<std::size_t>(count));
        return count > 0;
    }

    std::string take(std::size_t length)
    {
        while (m_received.size() < length && receiveMore()) {
        }
        const std::string text = m_received.substr(0, length);
        m_received.erase(0, length);
        return text;
    }

    static RawAnswer parseHead(const std::string& head)
    {
        RawAnswer answer;
        answer.status = std::atoi(head.substr(head.find(' ') + 1, 3).c_str());
        std::size_t begin = head.find("\r\n") + 2;
        for (std::size_t end = head.find("\r\n", begin); end != std::string::npos;
             begin = end + 2, end = head.find("\r\n", begin)) {
            const std::string line = head.substr(begin, end - begin);
            const std::size_t colon = line.find(':');
            answer.headers[Poco::toLower(line.substr(0, colon))] = Poco::trim(line.substr(colon + 1));
        }
        return answer;
    }

    Poco::Net::StreamSocket m_socket;
    std::string m_received;
};

} // namespace Zovi::Test
