#pragma once

#include "OpenConnections.h"

#include <Poco/Net/ServerSocket.h>
#include <Poco/Net/SocketAddress.h>
#include <Poco/Net/StreamSocket.h>

namespace Zovi::Test
{

/// Both ends of one connection.
class SocketPair
{
public:
    SocketPair()
    {
        Poco::Net::ServerSocket listener(Poco::Net::SocketAddress("127.0.0.1", 0));
        client.connect(listener.address());
        server = listener.acceptConnection();
        // A server that does nothing must fail the test, not hang it.
        client.setReceiveTimeout(Poco::Timespan(20, 0));
    }

    /// Waits for what the server does next: true if it ends the connection, false if it sends something.
    bool isEnded()
    {
        char byte = 0;
        return client.receiveBytes(&byte, 1) == 0;
    }

    /// Whether the server has ended the connection already.
    bool isEndedByNow() { return client.poll(Poco::Timespan(), Poco::Net::Socket::SELECT_READ) && isEnded(); }

    Poco::Net::StreamSocket client;
    Poco::Net::StreamSocket server;
};

/// One whose server end has come to a server, and waits for its turn.
struct Arrival : SocketPair {
    explicit Arrival(ServiceKit::OpenConnections& connections) { connections.noteArrival(); }
};

} // namespace Zovi::Test
