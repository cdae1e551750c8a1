#include "ServiceRegistryConnection.h"

#include "LogCapture.h"
#include "OwnNetwork.h"

#include <Poco/Exception.h>
#include <Poco/Net/ServerSocket.h>
#include <Poco/Timespan.h>

#include <gmock/gmock.h>

#include <cerrno>
#include <stdexcept>
#include <string>
#include <type_traits>

#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace Zovi
{

namespace
{

using Poco::Net::ServerSocket;
using Poco::Net::SocketAddress;
using Poco::Net::StreamSocket;
using Test::LogCapture;
using Test::Loopback;
using Test::OwnNetworkOutcome;
using Test::runInOwnNetwork;

using Socket = Poco::SharedPtr<StreamSocket>;

static_assert(std::is_same_v<decltype(ServiceRegistryConnection::ADDRESS), const std::string>);
static_assert(std::is_same_v<decltype(ServiceRegistryConnection::PORT), const Poco::UInt16>);
static_assert(std::is_same_v<decltype(ServiceRegistryConnection::connect()), Socket>);
static_assert(std::is_empty_v<ServiceRegistryConnection>, "it has no state");

constexpr const char* CONNECTING = "7 Debug: Connecting to ServiceRegistry: [::1]:80\n";

/// Priority and text of each record, a line each.
std::string linesOf(const LogCapture& log)
{
    std::string lines;
    for (const LogCapture::Record& record : log.records())
        lines += std::to_string(record.priority) + " " + record.text + "\n";
    return lines;
}

/// Whether connecting succeeds, and what it logs at `level`.
std::string connectAndTell(int level = Poco::Message::PRIO_TRACE)
{
    const LogCapture log(level);
    const Socket socket = ServiceRegistryConnection::connect();
    return (socket ? "connected\n" : "null\n") + linesOf(log);
}

/// The source files that the records of an attempt name, apart by blanks.
std::string sourcesOfAnAttempt()
{
    const LogCapture log;
    ServiceRegistryConnection::connect();
    std::string sources;
    for (const LogCapture::Record& record : log.records())
        sources += record.source + " ";
    return sources;
}

std::string receive(StreamSocket& socket)
{
    socket.setReceiveTimeout(Poco::Timespan(30, 0));
    char buffer[100];
    const int count = socket.receiveBytes(buffer, sizeof buffer);
    return std::string(buffer, static_cast<std::size_t>(count));
}

/// What every call of `connect` does before it reaches the system, if set: it may throw or give an error
/// number.
int (*g_connectFault)() = nullptr;

/// Lets `fault` stand in the way of connecting while it lives.
class ConnectFault
{
public:
    explicit ConnectFault(int (*fault)()) { g_connectFault = fault; }
    ~ConnectFault() { g_connectFault = nullptr; }
    ConnectFault(const ConnectFault&) = delete;
    ConnectFault& operator=(const ConnectFault&) = delete;
};

} // namespace

/// Takes the place of the system's function of that name in this program.
extern "C" __attribute__((visibility("default"))) int connect(int socket, const sockaddr* address,
                                                              socklen_t length)
{
    if (g_connectFault) {
        errno = g_connectFault();
        return -1;
    }
    return static_cast<int>(::syscall(SYS_connect, socket, address, length));
}

#define SKIP_IF_REFUSED(outcome)                                                                             \
    if ((outcome).kind == OwnNetworkOutcome::REFUSED)                                                        \
    GTEST_SKIP() << "this machine refuses " << (outcome).text

#define EXPECT_OUTCOME(outcome, expected)                                                                    \
    ASSERT_EQ((outcome).kind, OwnNetworkOutcome::RAN) << (outcome).text;                                     \
    EXPECT_EQ((outcome).text, expected)

TEST(ServiceRegistryConnection, KnowsWhereTheRegistryIs)
{
    EXPECT_EQ(ServiceRegistryConnection::ADDRESS, "::1");
    EXPECT_EQ(ServiceRegistryConnection::PORT, 80);
}

TEST(ServiceRegistryConnection, WarnsAndGivesNullIfNobodyListens)
{
    const OwnNetworkOutcome outcome = runInOwnNetwork(Loopback::UP, [] { return connectAndTell(); });
    SKIP_IF_REFUSED(outcome);
    EXPECT_OUTCOME(outcome, std::string("null\n") + CONNECTING +
                                "4 Warning: caught exception in connect: Connection refused\n");
}

TEST(ServiceRegistryConnection, WarnsAndGivesNullIfTheLoopbackIsDown)
{
    const OwnNetworkOutcome outcome = runInOwnNetwork(Loopback::DOWN, [] { return connectAndTell(); });
    SKIP_IF_REFUSED(outcome);
    EXPECT_OUTCOME(outcome, std::string("null\n") + CONNECTING +
                                "4 Warning: caught exception in connect: Net Exception\n");
}

TEST(ServiceRegistryConnection, WarnsAndGivesNullOnFailuresOfTheNetwork)
{
    struct Row {
        int (*fault)();
        const char* name;
    };
    const Row rows[] = {
        {[] { return ECONNREFUSED; }, "Connection refused"},
        {[] { return ECONNRESET; }, "Connection reset by peer"},
        {[] { return ENETUNREACH; }, "Net Exception"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const ConnectFault fault(row.fault);
        EXPECT_EQ(connectAndTell(), std::string("null\n") + CONNECTING +
                                        "4 Warning: caught exception in connect: " + row.name + "\n");
    }
}

TEST(ServiceRegistryConnection, LogsAnErrorAndGivesNullOnOtherFailures)
{
    struct Row {
        int (*fault)();
        const char* name;
    };
    const Row rows[] = {
        {[] { return EACCES; }, "I/O error"},
        {[] { return ETIMEDOUT; }, "Timeout"},
        {[]() -> int { throw Poco::LogicException("x"); }, "Logic exception"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.name);
        const ConnectFault fault(row.fault);
        EXPECT_EQ(connectAndTell(), std::string("null\n") + CONNECTING +
                                        "3 Error: caught exception in connect: " + row.name + "\n");
    }
}

TEST(ServiceRegistryConnection, LetsForeignExceptionsPass)
{
    const LogCapture log;
    const ConnectFault fault([]() -> int { throw std::runtime_error("foreign"); });
    EXPECT_THROW(ServiceRegistryConnection::connect(), std::runtime_error);
    EXPECT_EQ(linesOf(log), CONNECTING);
}

TEST(ServiceRegistryConnection, LogsNothingBelowItsLevel)
{
    {
        const ConnectFault fault([] { return ECONNREFUSED; });
        EXPECT_EQ(connectAndTell(Poco::Message::PRIO_ERROR), "null\n");
        EXPECT_EQ(connectAndTell(Poco::Message::PRIO_WARNING),
                  "null\n4 Warning: caught exception in connect: Connection refused\n");
    }
    const ConnectFault fault([] { return EACCES; });
    EXPECT_EQ(connectAndTell(Poco::Message::PRIO_CRITICAL), "null\n");
}

TEST(ServiceRegistryConnection, NamesItsSourceFileInTheLog)
{
    const ConnectFault fault([] { return ECONNREFUSED; });
    EXPECT_EQ(sourcesOfAnAttempt(), "ServiceRegistryConnection.cpp ServiceRegistryConnection.cpp ");
}

TEST(ServiceRegistryConnection, ConnectsToAListener)
{
    const OwnNetworkOutcome outcome = runInOwnNetwork(Loopback::UP, [] {
        ServerSocket registry(SocketAddress("::1", 80));
        const LogCapture log;
        const Socket socket = ServiceRegistryConnection::connect();
        return (socket ? socket->peerAddress().toString() : "null") + "\n" + linesOf(log);
    });
    SKIP_IF_REFUSED(outcome);
    EXPECT_OUTCOME(outcome, std::string("[::1]:80\n") + CONNECTING);
}

TEST(ServiceRegistryConnection, CarriesBytesBothWays)
{
    const OwnNetworkOutcome outcome = runInOwnNetwork(Loopback::UP, [] {
        ServerSocket registry(SocketAddress("::1", 80));
        Socket socket = ServiceRegistryConnection::connect();
        StreamSocket peer = registry.acceptConnection();
        socket->sendBytes("hello", 5);
        std::string heard = receive(peer);
        peer.sendBytes("welcome", 7);
        heard += " " + receive(*socket);
        return heard;
    });
    SKIP_IF_REFUSED(outcome);
    EXPECT_OUTCOME(outcome, "hello welcome");
}

TEST(ServiceRegistryConnection, ClosesWithTheLastPointer)
{
    const OwnNetworkOutcome outcome = runInOwnNetwork(Loopback::UP, [] {
        ServerSocket registry(SocketAddress("::1", 80));
        Socket socket = ServiceRegistryConnection::connect();
        StreamSocket peer = registry.acceptConnection();
        Socket other = socket;
        socket = nullptr;
        other->sendBytes("open", 4);
        std::string heard = receive(peer);
        other = nullptr;
        return heard + (receive(peer).empty() ? ", closed" : ", still open");
    });
    SKIP_IF_REFUSED(outcome);
    EXPECT_OUTCOME(outcome, "open, closed");
}

TEST(ServiceRegistryConnection, MakesANewConnectionWithEveryCall)
{
    const OwnNetworkOutcome outcome = runInOwnNetwork(Loopback::UP, [] {
        ServerSocket registry(SocketAddress("::1", 80));
        const Socket first = ServiceRegistryConnection::connect();
        const Socket second = ServiceRegistryConnection::connect();
        const bool apart = first && second && first->address() != second->address();
        return std::string(apart ? "two connections" : "not two connections");
    });
    SKIP_IF_REFUSED(outcome);
    EXPECT_OUTCOME(outcome, "two connections");
}

TEST(ServiceRegistryConnection, TriesAgainWithTheNextCallAlone)
{
    const OwnNetworkOutcome outcome = runInOwnNetwork(Loopback::UP, [] {
        const std::string before = connectAndTell(Poco::Message::PRIO_WARNING);
        ServerSocket registry(SocketAddress("::1", 80));
        return before + connectAndTell(Poco::Message::PRIO_WARNING);
    });
    SKIP_IF_REFUSED(outcome);
    EXPECT_OUTCOME(outcome, "null\n4 Warning: caught exception in connect: Connection refused\nconnected\n");
}

} // namespace Zovi
