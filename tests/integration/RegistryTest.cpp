#include "HostProgram.h"
#include "JsonMatchers.h"
#include "OwnNetwork.h"
#include "RawClient.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <utility>
#include <vector>

using Poco::Net::SocketAddress;
using Zovi::Test::HostProgram;
using Zovi::Test::Loopback;
using Zovi::Test::OwnNetworkOutcome;
using Zovi::Test::parseJson;
using Zovi::Test::Program;
using Zovi::Test::RawClient;
using Zovi::Test::runInOwnNetwork;

namespace
{

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds SOON{2};

std::string get(const SocketAddress& address, const std::string& path)
{
    RawClient client(address);
    client.send("GET " + path + " HTTP/1.1\r\nHost: localhost\r\n\r\n");
    return client.receive().body;
}

/// The real program of the registry; it listens when this is made.
class RegistryProgram : public Program
{
public:
    RegistryProgram()
        : Program(KYR_REGISTRY_PROGRAM, {"--port", "0"})
    {
        readLine();
        const std::string line = readLine();
        const std::size_t begin = line.find("//") + 2;
        m_address = SocketAddress(line.substr(begin, line.find('/', begin) - begin));
    }

    /// Name, port and category of each service that it knows, a line each.
    std::string services() const
    {
        const auto document =
            parseJson(get(m_address, "/registry/services")).extract<Poco::JSON::Object::Ptr>();
        std::string lines;
        for (const Poco::Dynamic::Var& entry : *document->getArray("data")) {
            const auto service = entry.extract<Poco::JSON::Object::Ptr>();
            lines += service->getValue<std::string>("name") + " " + service->getValue<std::string>("port") +
                     " " + service->getArray("serviceCategories")->getElement<std::string>(0) + "\n";
        }
        return lines;
    }

private:
    SocketAddress m_address;
};

/// What differs between two values is the outcome of a check.
std::string compare(const std::string& what, const std::string& value, const std::string& expected)
{
    return value == expected ? "" : what + " is '" + value + "', not '" + expected + "'\n";
}

std::string endsQuietly(HostProgram& host)
{
    host.sendSignal(SIGTERM);
    const Clock::time_point begin = Clock::now();
    std::string faults = compare("exit code", std::to_string(host.wait()), "0");
    if (Clock::now() - begin >= SOON)
        faults += "the end took too long\n";
    return faults + compare("the error output", host.restOfErrors(), "");
}

std::string findsTheRegistryWhenItComesAndComesBack()
{
    HostProgram host({"--port", "0", "--database", ":memory:"}, {});
    const SocketAddress address = host.waitForAddress();
    const std::string port = std::to_string(address.port());
    const std::string known = "host " + port + " machine\n";
    std::string faults;
    for (const std::string round : {"first", "second"}) {
        RegistryProgram registry;
        faults += compare(round + " line", registry.readLine(), "'host' at port " + port + " is there");
        faults += compare(round + " list", registry.services(), known);
        registry.sendSignal(SIGKILL);
        registry.wait();
        if (get(address, "/host/id").empty())
            faults += "no answer without a registry\n";
    }
    return faults + endsQuietly(host);
}

std::string leavesTheRegistryWhenItEnds()
{
    RegistryProgram registry;
    HostProgram host({"--port", "0", "--database", ":memory:"}, {});
    const std::string port = std::to_string(host.waitForAddress().port());
    std::string faults = compare("line", registry.readLine(), "'host' at port " + port + " is there");
    faults += endsQuietly(host);
    faults += compare("line", registry.readLine(), "'host' at port " + port + " has gone");
    faults += compare("list", registry.services(), "");
    registry.sendSignal(SIGTERM);
    return faults + compare("exit code", std::to_string(registry.wait()), "0");
}

std::string maskTime(const std::string& text)
{
    static const std::regex timestamp("\"timestamp\":[0-9]+");
    return std::regex_replace(text, timestamp, "\"timestamp\":0");
}

/// What the page on the host service shows of the registry.
std::string sessionOfThePage()
{
    std::ifstream file(KYR_HOST_PAGE);
    const std::string page(std::istreambuf_iterator<char>(file), {});
    const std::size_t begin = page.find("# build/release/examples/registry/kyr-registry");
    return begin == std::string::npos ? "nothing" : page.substr(begin, page.find("```", begin) - begin);
}

std::string goesAsThePageShows()
{
    Program registry(KYR_REGISTRY_PROGRAM);
    std::string session = "# build/release/examples/registry/kyr-registry\n";
    session += registry.readLine() + "\n";
    session += registry.readLine() + "\n";
    const std::string request = "/registry/services";
    HostProgram host({"--database", ":memory:"}, {});
    host.waitForAddress();
    session += registry.readLine() + "\n\n$ curl -s 'http://127.0.0.1:8079" + request + "'\n";
    session += get(SocketAddress("127.0.0.1:8079"), request) + "\n";
    return compare("the session", maskTime(session), maskTime(sessionOfThePage()));
}

std::string endsWithoutARegistry()
{
    HostProgram host({"--port", "0", "--database", ":memory:"}, {});
    host.waitForAddress();
    return endsQuietly(host);
}

std::string isRefusedWhereOneIs()
{
    const RegistryProgram first;
    Program second(KYR_REGISTRY_PROGRAM, {"--port", "0"});
    return compare("exit code", std::to_string(second.wait()), "1") +
           compare("the error output", second.restOfErrors(),
                   "kyr-registry: I/O error: cannot listen on [::1]:80, where services look for a registry: "
                   "Net Exception: Address already in use: [::1]:80\n");
}

} // namespace

#define EXPECT_NO_FAULTS(check)                                                                              \
    const OwnNetworkOutcome outcome = runInOwnNetwork(Loopback::UP, check);                                  \
    if (outcome.kind == OwnNetworkOutcome::REFUSED)                                                          \
        GTEST_SKIP() << "this machine refuses " << outcome.text;                                             \
    ASSERT_EQ(outcome.kind, OwnNetworkOutcome::RAN) << outcome.text;                                         \
    EXPECT_EQ(outcome.text, "")

TEST(Registry, IsFoundByAServiceWhenItComesAndComesBack)
{
    EXPECT_NO_FAULTS(findsTheRegistryWhenItComesAndComesBack);
}

TEST(Registry, IsLeftByAServiceThatEnds)
{
    EXPECT_NO_FAULTS(leavesTheRegistryWhenItEnds);
}

TEST(Registry, GoesAsThePageOnTheHostServiceShows)
{
    EXPECT_NO_FAULTS(goesAsThePageShows);
}

TEST(Registry, IsNotNeeded)
{
    EXPECT_NO_FAULTS(endsWithoutARegistry);
}

TEST(Registry, SaysWhyItCannotStart)
{
    const std::pair<std::vector<std::string>, std::string> rows[] = {
        {{"--port", "99999x"}, "a port is a number from 0 to 65535, not '99999x'"},
        {{"--port"}, "usage: kyr-registry [--port NUMBER]"},
        {{"8079", "0"}, "usage: kyr-registry [--port NUMBER]"},
    };
    for (const auto& [arguments, reason] : rows) {
        SCOPED_TRACE(reason);
        Program registry(KYR_REGISTRY_PROGRAM, arguments);
        EXPECT_EQ(registry.wait(), 1);
        EXPECT_EQ(registry.restOfErrors(), "kyr-registry: Invalid argument: " + reason + "\n");
    }
}

TEST(Registry, IsTheOnlyOne)
{
    EXPECT_NO_FAULTS(isRefusedWhereOneIs);
}
