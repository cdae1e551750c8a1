#pragma once

#include <Poco/Pipe.h>
#include <Poco/PipeStream.h>
#include <Poco/Process.h>

#include <csignal>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace Zovi::Test
{

/// A real program in a process of its own.
class Program
{
public:
    /// Starts the program in the file `path`, with `environment` in place of its own.
    explicit Program(const std::string& path, const std::vector<std::string>& arguments = {},
                     const Poco::Process::Env& environment = {})
        : m_process(Poco::Process::launch(path, arguments, nullptr, &m_output, &m_errors, environment))
        , m_outputStream(m_output)
        , m_errorStream(m_errors)
    {
    }

    /// Ends the program if it still runs.
    ~Program()
    {
        if (!m_isEnded) {
            sendSignal(SIGKILL);
            m_process.wait();
        }
    }

    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    int id() const { return m_process.id(); }

    /// The next line that it prints; waits for it.
    std::string readLine()
    {
        std::string line;
        std::getline(m_outputStream, line);
        return line;
    }

    /// What it takes of the machine's memory now, and the most that it ever took, in KiB.
    long residentMemory() const { return readStatus("VmRSS:"); }
    long peakMemory() const { return readStatus("VmHWM:"); }

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
    long readStatus(const std::string& key) const
    {
        std::ifstream status("/proc/" + std::to_string(m_process.id()) + "/status");
        for (std::string word; status >> word;) {
            long value = 0;
            if (word == key && status >> value)
                return value;
        }
        throw std::runtime_error("the program does not run");
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
