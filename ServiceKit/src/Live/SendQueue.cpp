#include "Live/SendQueue.h"

#include <algorithm>
#include <utility>

namespace Zovi::ServiceKit
{

void SendQueue::push(SharedFrame frame)
{
    m_items.push_back({Kind::REPLY, {}, std::move(frame)});
    ++m_replies;
}

void SendQueue::pushState(const std::string& event, SharedFrame frame)
{
    pushOrReplace({Kind::STATE, event, std::move(frame)});
}

bool SendQueue::hasState(const std::string& event)
{
    return find(Kind::STATE, event) != m_items.end();
}

std::size_t SendQueue::bytes() const
{
    std::size_t sum = 0;
    for (const Item& item : m_items)
        sum += item.frame->size();
    return sum;
}

void SendQueue::pushPong(SharedFrame frame)
{
    pushOrReplace({Kind::PONG, {}, std::move(frame)});
}

SendQueue::Position SendQueue::firstUnsent()
{
    return m_items.begin() + (m_sent > 0 ? 1 : 0);
}

SendQueue::Position SendQueue::find(Kind kind, const std::string& event)
{
    return std::find_if(firstUnsent(), m_items.end(),
                        [&](const Item& item) { return item.kind == kind && item.event == event; });
}

void SendQueue::pushOrReplace(Item&& item)
{
    const Position older = find(item.kind, item.event);
    if (older != m_items.end())
        older->frame = std::move(item.frame);
    else
        m_items.push_back(std::move(item));
}

void SendQueue::dropState(const std::string& event)
{
    const Position state = find(Kind::STATE, event);
    if (state != m_items.end())
        m_items.erase(state);
}

void SendQueue::dropStates()
{
    m_items.erase(std::remove_if(firstUnsent(), m_items.end(),
                                 [](const Item& item) { return item.kind == Kind::STATE; }),
                  m_items.end());
}

void SendQueue::dropAll()
{
    if (m_sent > 0)
        m_items.resize(1);
    else
        m_items.clear();
    m_replies = !m_items.empty() && m_items.front().kind == Kind::REPLY ? 1 : 0;
}

std::string_view SendQueue::front() const
{
    return m_items.empty() ? std::string_view() : std::string_view(*m_items.front().frame).substr(m_sent);
}

bool SendQueue::advance(std::size_t count)
{
    m_sent += count;
    if (m_sent < m_items.front().frame->size())
        return false;
    if (m_items.front().kind == Kind::REPLY)
        --m_replies;
    m_items.pop_front();
    m_sent = 0;
    return true;
}

} // namespace Zovi::ServiceKit
