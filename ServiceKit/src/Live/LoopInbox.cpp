#include "Live/LoopInbox.h"

#include <Poco/Exception.h>

#include <sys/eventfd.h>
#include <unistd.h>

#include <utility>

namespace Zovi::ServiceKit
{

LoopInbox::LoopInbox()
    : m_descriptor(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    if (m_descriptor < 0)
        throw Poco::SystemException("eventfd");
}

LoopInbox::~LoopInbox()
{
    ::close(m_descriptor);
}

void LoopInbox::put(const NewConnection& connection)
{
    const std::lock_guard lock(m_mutex);
    m_content.connections.push_back(connection);
    wake();
}

void LoopInbox::put(EvaluatedEvent&& event)
{
    const std::lock_guard lock(m_mutex);
    m_content.evaluated.push_back(std::move(event));
    wake();
}

void LoopInbox::onChanged(const Resource& resource)
{
    const std::lock_guard lock(m_mutex);
    if (m_content.changed.insert(&resource).second)
        wake();
}

void LoopInbox::stop()
{
    const std::lock_guard lock(m_mutex);
    m_content.isStopping = true;
    wake();
}

LoopInbox::Content LoopInbox::take()
{
    const std::lock_guard lock(m_mutex);
    eventfd_t count = 0;
    ::eventfd_read(m_descriptor, &count);
    Content content = std::exchange(m_content, {});
    m_content.isStopping = content.isStopping;
    return content;
}

/// It fails only when the counter is full, and then nobody needs to be woken.
void LoopInbox::wake() const
{
    ::eventfd_write(m_descriptor, 1);
}

} // namespace Zovi::ServiceKit
