#pragma once

#include <Poco/Net/SocketAddress.h>
#include <Poco/Pipe.h>
#include <Poco/PipeStream.h>
#include <Poco/Process.h>

#include <algorithm>
#include <csignal>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Zovi::Test
{

/// The real program of the host service in a process of its own. It keeps its notes in memory unless it is
/// told where to keep them.
class HostProgram
{
public:
    explicit HostProgram(const std::vector<std::string>& arguments = {"--port", "0"})
        : HostProgram(withDatabase(arguments), {})
    {
    }

    /// With exactly these arguments, and these environment variables in place of its own.
    HostProgram(const std::vector<std::string>& arguments, const Poco::Process::Env& environment)
        : m_process(
              Poco::Process::launch(KYR_HOST_PROGRAM, arguments, nullptr, &m_output, &m_errors, environment))
        , m_outputStream(m_output)
        , m_errorStream(m_errors)
    {
    }

    /// Ends the program if it still runs.
    ~HostProgram()
    {
        if (!m_isEnded) {
            sendSignal(SIGKILL);
            m_process.wait();
        }
    }

    HostProgram(const HostProgram&) = delete;
    HostProgram& operator=(const HostProgram&) = delete;

    /// The next line that it prints; waits for it.
    std::string readLine()
    {
        std::string line;
        std::getline(m_outputStream, line);
        return line;
    }

    /// Where it listens, by the first line that it prints.
    Poco::Net::SocketAddress waitForAddress()
    {
        const std::string line = readLine();
        const std::string begin = "kyr-host listens on ";
        if (line.compare(0, begin.size(), begin) != 0)
            throw std::runtime_error("no address: " + line);
        return Poco::Net::SocketAddress(line.substr(begin.size(), line.find(". Try:") - begin.size()));
    }

    void sendSignal(int signal) const { ::kill(static_cast<pid_t>(m_process.id()), signal); }

    /// Waits for its end and gives its exit code.
    int wait()
    {
        m_isEnded = true;
        return m_process.wait();
    }

    /// All that is still to be read, once the program has ended.
    std::string restOfOutput() { return rest(m_outputStream); }
    std::string restOfErrors() { return rest(m_errorStream); }

private:
    static std::vector<std::string> withDatabase(std::vector<std::string> arguments)
    {
        if (std::find(arguments.begin(), arguments.end(), "--database") == arguments.end())
            arguments.insert(arguments.end(), {"--database", ":memory:"});
        return arguments;
    }

    static std::string rest(std::istream& stream)
    {
        return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
    }

    Poco::Pipe m_output;
    Poco::Pipe m_errors;
    Poco::ProcessHandle m_process;
    Poco::PipeInputStream m_outputStream;
    Poco::PipeInputStream m_errorStream;
    bool m_isEnded = false;
};

} // namespace Zovi::Test
