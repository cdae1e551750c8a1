#include "OwnNetwork.h"

#include <cerrno>
#include <cstring>
#include <exception>
#include <stdexcept>

#include <arpa/inet.h>
#include <net/if.h>
#include <netinet/in.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Zovi::Test
{

namespace
{

constexpr char RAN_MARK = 'r';
constexpr char REFUSED_MARK = 'x';

/// What the machine does not allow.
class Refusal : public std::runtime_error
{
public:
    explicit Refusal(const std::string& step)
        : std::runtime_error(step + ": " + std::strerror(errno))
    {
    }
};

class Descriptor
{
public:
    explicit Descriptor(int number)
        : m_number(number)
    {
    }
    ~Descriptor() { ::close(m_number); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int number() const { return m_number; }

private:
    int m_number;
};

void leaveNetwork()
{
    if (::unshare(CLONE_NEWNET) != 0 && ::unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0)
        throw Refusal("a network namespace");
}

void bringLoopbackUp()
{
    const Descriptor socket(::socket(AF_INET6, SOCK_DGRAM, 0));
    if (socket.number() < 0)
        throw Refusal("an IPv6 socket");
    ifreq request{};
    std::strcpy(request.ifr_name, "lo");
    request.ifr_flags = IFF_UP | IFF_RUNNING;
    if (::ioctl(socket.number(), SIOCSIFFLAGS, &request) != 0)
        throw Refusal("bringing the loopback interface up");
}

void requireIPv6Loopback()
{
    const Descriptor socket(::socket(AF_INET6, SOCK_STREAM, 0));
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_addr = in6addr_loopback;
    if (::bind(socket.number(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        throw Refusal("the IPv6 loopback address");
}

void enterOwnNetwork(Loopback loopback)
{
    leaveNetwork();
    if (loopback == Loopback::UP) {
        bringLoopbackUp();
        requireIPv6Loopback();
    }
}

std::string report(Loopback loopback, const std::function<std::string()>& check)
{
    try {
        enterOwnNetwork(loopback);
        return RAN_MARK + check();
    } catch (const Refusal& refusal) {
        return REFUSED_MARK + std::string(refusal.what());
    } catch (const std::exception& failure) {
        return RAN_MARK + std::string("an exception left the check: ") + failure.what();
    }
}

void writeAll(int descriptor, const std::string& text)
{
    for (std::size_t written = 0; written < text.size();) {
        const ssize_t count = ::write(descriptor, text.data() + written, text.size() - written);
        if (count <= 0)
            return;
        written += static_cast<std::size_t>(count);
    }
}

std::string readAll(int descriptor)
{
    std::string text;
    char buffer[4096];
    for (ssize_t count = ::read(descriptor, buffer, sizeof buffer); count > 0;
         count = ::read(descriptor, buffer, sizeof buffer))
        text.append(buffer, static_cast<std::size_t>(count));
    return text;
}

OwnNetworkOutcome outcomeOf(const std::string& report, int status)
{
    if (!report.empty() && WIFEXITED(status) && WEXITSTATUS(status) == 0)
        return {report[0] == RAN_MARK ? OwnNetworkOutcome::RAN : OwnNetworkOutcome::REFUSED,
                report.substr(1)};
    return {OwnNetworkOutcome::BROKEN_OFF, "wait status " + std::to_string(status)};
}

} // namespace

OwnNetworkOutcome runInOwnNetwork(Loopback loopback, const std::function<std::string()>& check)
{
    int ends[2];
    if (::pipe(ends) != 0)
        throw Refusal("a pipe");
    const pid_t child = ::fork();
    if (child < 0)
        throw Refusal("a process");
    if (child == 0) {
        writeAll(ends[1], report(loopback, check));
        ::_exit(0);
    }
    ::close(ends[1]);
    const std::string text = readAll(ends[0]);
    ::close(ends[0]);
    int status = 0;
    ::waitpid(child, &status, 0);
    return outcomeOf(text, status);
}

} // namespace Zovi::Test
