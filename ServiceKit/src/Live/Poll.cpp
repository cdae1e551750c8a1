#include "Live/Poll.h"

#include <Poco/Exception.h>

#include <unistd.h>

#include <algorithm>

namespace Zovi::ServiceKit
{

namespace
{

epoll_event makeEvent(std::uint64_t id, std::uint32_t awaited)
{
    epoll_event event{};
    event.events = awaited;
    event.data.u64 = id;
    return event;
}

} // namespace

Poll::Poll()
    : m_descriptor(::epoll_create1(EPOLL_CLOEXEC))
{
    if (m_descriptor < 0)
        throw Poco::SystemException("epoll_create1");
}

Poll::~Poll()
{
    ::close(m_descriptor);
}

bool Poll::add(int descriptor, std::uint64_t id, std::uint32_t awaited)
{
    epoll_event event = makeEvent(id, awaited);
    return ::epoll_ctl(m_descriptor, EPOLL_CTL_ADD, descriptor, &event) == 0;
}

void Poll::change(int descriptor, std::uint64_t id, std::uint32_t awaited)
{
    epoll_event event = makeEvent(id, awaited);
    ::epoll_ctl(m_descriptor, EPOLL_CTL_MOD, descriptor, &event);
}

void Poll::remove(int descriptor)
{
    ::epoll_ctl(m_descriptor, EPOLL_CTL_DEL, descriptor, nullptr);
}

int Poll::wait(int milliseconds)
{
    return std::max(::epoll_wait(m_descriptor, m_ready.data(), MAX_READY, milliseconds), 0);
}

Poll::Ready Poll::ready(int index) const
{
    const epoll_event& event = m_ready[static_cast<std::size_t>(index)];
    return {event.data.u64, event.events};
}

} // namespace Zovi::ServiceKit
