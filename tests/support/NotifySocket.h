#pragma once

#include <gtest/gtest.h>

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstddef>
#include <string>

namespace Zovi::Test
{

/// Where a service manager listens for what the services that it has started tell it: at a path or, behind
/// "@", an abstract name.
class NotifySocket
{
public:
    explicit NotifySocket(std::string name)
        : m_descriptor(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        if (name.front() == '@')
            name.front() = '\0';
        name.copy(address.sun_path, sizeof(address.sun_path));
        const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
        EXPECT_EQ(bind(m_descriptor, reinterpret_cast<const sockaddr*>(&address), length), 0);
    }
    ~NotifySocket() { close(m_descriptor); }
    NotifySocket(const NotifySocket&) = delete;
    NotifySocket& operator=(const NotifySocket&) = delete;

    /// What has come; an empty text if nothing has.
    std::string received() const { return receive(MSG_DONTWAIT); }

    /// What comes next; an empty text if nothing does within 20 seconds.
    std::string wait() const
    {
        const timeval limit{20, 0};
        setsockopt(m_descriptor, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof(limit));
        return receive(0);
    }

private:
    std::string receive(int flags) const
    {
        char buffer[100];
        const ssize_t length = recv(m_descriptor, buffer, sizeof(buffer), flags);
        return length < 0 ? "" : std::string(buffer, static_cast<std::size_t>(length));
    }

    int m_descriptor;
};

} // namespace Zovi::Test
