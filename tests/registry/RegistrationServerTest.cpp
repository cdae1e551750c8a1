#include "RegistrationServer.h"

#include "LogCapture.h"

#include <Poco/Net/NetException.h>
#include <Poco/Timespan.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <condition_variable>
#include <deque>
#include <mutex>

namespace Zovi::Registry
{

using Poco::Net::StreamSocket;
using Test::LogCapture;

namespace
{

const std::string DESCRIPTION = R"({"name":"shop","description":"Sells fruit.","port":8080,)"
                                R"("id":"6ba7b810-9dad-11d1-80b4-00c04fd430c8"})";

void send(StreamSocket& socket, const std::string& text)
{
    socket.sendBytes(text.data(), static_cast<int>(text.size()));
}

/// True when the server has closed the connection.
bool isHungUp(StreamSocket& socket)
{
    socket.setReceiveTimeout(Poco::Timespan(20, 0));
    char byte = 0;
    try {
        return socket.receiveBytes(&byte, 1) == 0;
    } catch (const Poco::Net::ConnectionResetException&) {
        return true;
    }
}

class RegistrationServerTest : public testing::Test
{
protected:
    /// The next thing that the server tells; waits for it.
    std::string nextEvent()
    {
        std::unique_lock lock(mutex);
        if (!isTold.wait_for(lock, std::chrono::seconds(20), [this] { return !events.empty(); }))
            return "nothing";
        std::string event = events.front();
        events.pop_front();
        return event;
    }

    void tell(const std::string& text)
    {
        const std::lock_guard lock(mutex);
        events.push_back(text);
        isTold.notify_all();
    }

    StreamSocket connect() const { return StreamSocket(socket.address()); }

    std::mutex mutex;
    std::condition_variable isTold;
    std::deque<std::string> events;
    std::shared_ptr<RegisteredServices> services =
        std::make_shared<RegisteredServices>(ServiceKit::rootReference(Poco::UUID::dns()).child("registry"));
    Poco::Net::ServerSocket socket{Poco::Net::SocketAddress("127.0.0.1", 0)};
    std::unique_ptr<RegistrationServer> server = std::make_unique<RegistrationServer>(
        services, socket, [this](const std::string& text) { tell(text); });
};

} // namespace

TEST_F(RegistrationServerTest, KnowsAServiceForAsLongAsItIsConnected)
{
    StreamSocket service = connect();
    send(service, DESCRIPTION.substr(0, 20));
    send(service, DESCRIPTION.substr(20) + "\n");
    EXPECT_EQ(nextEvent(), "'shop' at port 8080 is there");
    EXPECT_EQ(services->elements().size(), 1U);
    service.close();
    EXPECT_EQ(nextEvent(), "'shop' at port 8080 has gone");
    EXPECT_TRUE(services->elements().empty());
}

TEST_F(RegistrationServerTest, NoticesAConnectionThatIsReset)
{
    StreamSocket service = connect();
    send(service, DESCRIPTION + "\n");
    EXPECT_EQ(nextEvent(), "'shop' at port 8080 is there");
    service.setLinger(true, 0);
    service.close();
    EXPECT_EQ(nextEvent(), "'shop' at port 8080 has gone");
}

TEST_F(RegistrationServerTest, HangsUpOnWhatIsNoDescription)
{
    const LogCapture log;
    for (const std::string& text : {std::string("GET / HTTP/1.1\n"), std::string("{}\n"),
                                    std::string(RegistrationServer::MAX_LINE_LENGTH + 4096, 'x')}) {
        SCOPED_TRACE(text.substr(0, 20));
        StreamSocket stranger = connect();
        send(stranger, text);
        EXPECT_TRUE(isHungUp(stranger));
    }
    EXPECT_TRUE(services->elements().empty());
    server.reset(); // its threads log
}

TEST_F(RegistrationServerTest, EndsItsConnectionsWithItself)
{
    StreamSocket service = connect();
    send(service, DESCRIPTION + "\n");
    EXPECT_EQ(nextEvent(), "'shop' at port 8080 is there");
    StreamSocket silent = connect();
    server.reset();
    EXPECT_TRUE(isHungUp(service));
    EXPECT_EQ(nextEvent(), "'shop' at port 8080 has gone");
}

} // namespace Zovi::Registry
