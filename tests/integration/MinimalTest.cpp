#include "Program.h"
#include "RawClient.h"

#include <Poco/Net/ServerSocket.h>
#include <Poco/Net/SocketAddress.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

using Poco::Net::ServerSocket;
using Poco::Net::SocketAddress;
using ::testing::HasSubstr;
using Zovi::Test::Program;
using Zovi::Test::RawClient;

namespace
{

/// How the smallest service fails to start at `port`.
void expectRefusal(const std::string& port, const std::string& reason)
{
    SCOPED_TRACE(port);
    Program minimal(KYR_MINIMAL_PROGRAM, {port});
    EXPECT_EQ(minimal.wait(), 1);
    EXPECT_EQ(minimal.restOfErrors(), reason + "\n");
    EXPECT_EQ(minimal.restOfOutput(), "");
}

} // namespace

TEST(Minimal, AnswersUntilItIsEnded)
{
    Program minimal(KYR_MINIMAL_PROGRAM, {"0"});
    const std::string line = minimal.readLine();
    const std::string listens = "listens on http://";
    ASSERT_EQ(line.substr(0, listens.size()), listens);
    RawClient client(SocketAddress(line.substr(listens.size())));
    client.send("GET /shelf/books?name=Emma HTTP/1.1\r\nHost: localhost\r\n\r\n");
    EXPECT_THAT(client.receive().body, HasSubstr(R"("pages":474)"));
    minimal.sendSignal(SIGTERM);
    EXPECT_EQ(minimal.wait(), 0);
    EXPECT_EQ(minimal.restOfErrors(), "");
}

TEST(Minimal, SaysThatItsPortIsTaken)
{
    const ServerSocket taken(SocketAddress("127.0.0.1", 0));
    expectRefusal(std::to_string(taken.address().port()),
                  "Net Exception: Address already in use: " + taken.address().toString());
}

TEST(Minimal, RefusesAPortThatIsNone)
{
    for (const std::string port : {"99999x", "65536", "-1", ""})
        expectRefusal(port, "Invalid argument: a port is a number from 0 to 65535, not '" + port + "'");
}
