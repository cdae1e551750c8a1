#pragma once

#include "ClientFrames.h"
#include "JsonMatchers.h"

#include <Poco/Exception.h>
#include <Poco/JSON/Object.h>
#include <Poco/Net/SocketAddress.h>
#include <Poco/Net/StreamSocket.h>
#include <Poco/Timespan.h>

#include <array>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace Zovi::Test
{

inline std::string handshake(const std::string& path = "/", const std::string& moreHeaders = "")
{
    return "GET " + path +
           " HTTP/1.1\r\nHost: localhost\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
           "Sec-WebSocket-Version: 13\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n" +
           moreHeaders + "\r\n";
}

/// A frame that a server has sent.
struct ServerFrame {
    int opcode = 0;
    std::string payload;
};

/// Takes the first frame from what a server has sent; nothing as long as it is not whole.
inline std::optional<ServerFrame> takeFrame(std::string& received)
{
    const auto byteAt = [&received](std::size_t i) {
        return static_cast<unsigned char>(received[i]);
    };
    if (received.size() < 2)
        return std::nullopt;
    std::uint64_t length = byteAt(1);
    const std::size_t lengthSize = length == 127 ? 8 : length == 126 ? 2 : 0;
    const std::size_t begin = 2 + lengthSize;
    if (received.size() < begin)
        return std::nullopt;
    if (lengthSize > 0)
        length = 0;
    for (std::size_t i = 2; i < begin; ++i)
        length = length << 8 | byteAt(i);
    if (received.size() - begin < length)
        return std::nullopt;
    const auto size = static_cast<std::size_t>(length);
    ServerFrame frame{byteAt(0) & 0x0F, received.substr(begin, size)};
    received.erase(0, begin + size);
    return frame;
}

/// A WebSocket that sends exactly the bytes it is told.
class LiveClient
{
public:
    /// Completes the handshake. A small `receiveBuffer` makes it a client that soon has no more room.
    explicit LiveClient(const Poco::Net::SocketAddress& address, const std::string& head = handshake(),
                        int receiveBuffer = 0)
        : m_socket(address.family())
    {
        if (receiveBuffer > 0)
            m_socket.setReceiveBufferSize(receiveBuffer);
        m_socket.connect(address);
        // A server that does not answer must fail the test, not hang it.
        m_socket.setReceiveTimeout(Poco::Timespan(20, 0));
        send(head);
        while (m_received.find("\r\n\r\n") == std::string::npos)
            receiveMore();
        m_head = m_received.substr(0, m_received.find("\r\n\r\n") + 2);
        m_received.erase(0, m_head.size() + 2);
        if (m_head.compare(0, 12, "HTTP/1.1 101") != 0)
            throw std::runtime_error("no WebSocket: " + m_head);
    }

    const std::string& head() const { return m_head; }

    void send(const std::string& bytes) { m_socket.sendBytes(bytes.data(), static_cast<int>(bytes.size())); }

    /// Sends `bytes` over and over until the server takes no more for a while, or has taken `limit` bytes.
    /// Gives the number of bytes sent.
    std::size_t sendWhileThereIsRoom(const std::string& bytes, std::size_t limit)
    {
        std::size_t sent = 0;
        m_socket.setBlocking(false);
        while (sent < limit && m_socket.poll(Poco::Timespan(0, 200'000), Poco::Net::Socket::SELECT_WRITE)) {
            const std::size_t begin = sent % bytes.size();
            sent += static_cast<std::size_t>(
                m_socket.sendBytes(bytes.data() + begin, static_cast<int>(bytes.size() - begin)));
        }
        m_socket.setBlocking(true);
        return sent;
    }

    void ask(const std::string& text) { send(clientText(text)); }

    /// `more` are further members: R"(,"interval":100)".
    void subscribe(const std::string& event, const std::string& more = "")
    {
        ask(R"({"type":"subscribe","event":")" + event + "\"" + more + "}");
    }

    void unsubscribe(const std::string& event) { ask(R"({"type":"unsubscribe","event":")" + event + "\"}"); }

    /// The next frame; waits for it.
    ServerFrame receive()
    {
        for (;;) {
            if (std::optional<ServerFrame> frame = takeFrame(m_received))
                return *std::move(frame);
            receiveMore();
        }
    }

    /// The next message; pings before it are answered.
    Poco::JSON::Object::Ptr receiveJson()
    {
        ServerFrame frame = receive();
        for (; frame.opcode == 0x9; frame = receive())
            send(ClientFrame{0xA, frame.payload}.bytes());
        if (frame.opcode != 0x1)
            throw std::runtime_error("no message, but opcode " + std::to_string(frame.opcode));
        return parseJson(frame.payload).extract<Poco::JSON::Object::Ptr>();
    }

    /// The code of the close frame that comes, whatever comes before.
    int receiveClose()
    {
        ServerFrame frame = receive();
        while (frame.opcode != 0x8)
            frame = receive();
        return static_cast<unsigned char>(frame.payload.at(0)) << 8 |
               static_cast<unsigned char>(frame.payload.at(1));
    }

    /// Waits until the server ends the connection, however it does.
    void waitForEnd()
    {
        try {
            for (;;)
                receiveMore();
        } catch (const std::runtime_error&) {
        } catch (const Poco::TimeoutException&) {
            throw;
        } catch (const Poco::Exception&) {
        }
    }

private:
    void receiveMore()
    {
        std::array<char, 16 * 1024> bytes{};
        const int count = m_socket.receiveBytes(bytes.data(), static_cast<int>(bytes.size()));
        if (count == 0)
            throw std::runtime_error("the connection has ended");
        m_received.append(bytes.data(), static_cast<std::size_t>(count));
    }

    Poco::Net::StreamSocket m_socket;
    std::string m_head;
    std::string m_received;
};

} // namespace Zovi::Test
