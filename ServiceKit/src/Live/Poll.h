#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include <sys/epoll.h>

namespace Zovi::ServiceKit
{

/// Waits for many descriptors at once. What stands for a descriptor is a number of the user's choice.
class Poll
{
public:
    /// Throws `Poco::SystemException` if there is no descriptor left.
    Poll();
    ~Poll();
    Poll(const Poll&) = delete;
    Poll& operator=(const Poll&) = delete;

    /// Waits for `awaited` (EPOLLIN, EPOLLOUT) on a new descriptor; errors are always waited for. False if
    /// the system refuses. A descriptor leaves the poll when it is closed.
    bool add(int descriptor, std::uint64_t id, std::uint32_t awaited);
    void change(int descriptor, std::uint64_t id, std::uint32_t awaited);
    void remove(int descriptor);

    struct Ready {
        std::uint64_t id;
        std::uint32_t events;
    };

    /// Waits until something is ready, at most for so many milliseconds, without end if that is negative.
    /// Gives the number of those that are, which may be 0 for any reason.
    int wait(int milliseconds);

    /// One of those that the last `wait` has found.
    Ready ready(int index) const;

private:
    static constexpr int MAX_READY = 64;

    int m_descriptor;
    std::array<epoll_event, MAX_READY> m_ready{};
};

} // namespace Zovi::ServiceKit
