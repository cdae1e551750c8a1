#pragma once

#include "Program.h"

#include <Poco/Net/SocketAddress.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <vector>

namespace Zovi::Test
{

/// The real program of the host service. It tells no registry, and keeps its notes in memory unless it is
/// told where to keep them.
class HostProgram : public Program
{
public:
    explicit HostProgram(const std::vector<std::string>& arguments = {"--port", "0"})
        : HostProgram(alone(arguments), {})
    {
    }

    /// With exactly these arguments, and these environment variables in place of its own.
    HostProgram(const std::vector<std::string>& arguments, const Poco::Process::Env& environment)
        : Program(KYR_HOST_PROGRAM, arguments, environment)
    {
    }

    /// Where it listens, by the first line that it prints.
    Poco::Net::SocketAddress waitForAddress()
    {
        const std::string line = readLine();
        return addressIn(line.empty() ? restOfErrors() : line);
    }

    /// The same, out of that line.
    static Poco::Net::SocketAddress addressIn(const std::string& line)
    {
        const std::string begin = "kyr-host listens on ";
        if (line.compare(0, begin.size(), begin) != 0)
            throw std::runtime_error("no address: " + line);
        return Poco::Net::SocketAddress(line.substr(begin.size(), line.find(". Try:") - begin.size()));
    }

private:
    static std::vector<std::string> alone(std::vector<std::string> arguments)
    {
        arguments.push_back("--no-registry");
        if (std::find(arguments.begin(), arguments.end(), "--database") == arguments.end())
            arguments.insert(arguments.end(), {"--database", ":memory:"});
        return arguments;
    }
};

} // namespace Zovi::Test
