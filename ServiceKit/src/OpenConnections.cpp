#include "OpenConnections.h"

#include <Poco/Exception.h>

#include <algorithm>

namespace Zovi::ServiceKit
{

namespace
{

/// How long to wait until a free place is taken: the threads may not run at once.
constexpr std::chrono::seconds PATIENCE{1};

/// Whom the other side has left has nothing to report: sockets that are closed already are meant here.
template <typename Operation>
void ignoringClosed(Operation operation)
{
    try {
        operation();
    } catch (const Poco::Exception&) {
    }
}

} // namespace

OpenConnections::Entry::Entry(OpenConnections& connections, const Poco::Net::StreamSocket& socket)
    : m_connections(connections)
    , m_socket(socket)
{
    const std::lock_guard lock(m_connections.m_mutex);
    ++m_connections.m_entered; // where memory is wanting, too: it does not wait any more
    m_position = m_connections.m_entries.insert(m_connections.m_entries.end(), this);
    m_connections.m_hasMoved.notify_all();
}

OpenConnections::Entry::~Entry()
{
    const std::lock_guard lock(m_connections.m_mutex);
    m_connections.m_entries.erase(m_position);
    m_connections.m_hasMoved.notify_all();
}

void OpenConnections::Entry::beginExchange()
{
    const std::lock_guard lock(m_connections.m_mutex);
    m_exchangeBegin = Clock::now();
}

void OpenConnections::Entry::beginWait()
{
    const std::lock_guard lock(m_connections.m_mutex);
    m_isWaiting = true;
    m_connections.makeRoom();
}

void OpenConnections::Entry::endWait()
{
    const std::lock_guard lock(m_connections.m_mutex);
    m_isWaiting = false;
}

OpenConnections::OpenConnections(std::size_t places, std::size_t maxQueued)
    : m_places(places)
    , m_maxQueued(maxQueued)
{
}

void OpenConnections::noteArrival()
{
    std::unique_lock lock(m_mutex);
    ++m_arrived;
    makeRoom();
    m_hasMoved.wait_for(lock, PATIENCE, [this] {
        return m_isStopping || countQueued() <= m_maxQueued || countStaying() >= m_places;
    });
}

void OpenConnections::makeRoom()
{
    if (m_isStopping)
        return;
    for (std::size_t taken = countStaying() + countQueued(); taken > m_places; --taken) {
        Entry* const entry = slowest();
        if (entry == nullptr)
            return;
        entry->m_isLeaving = true;
        ignoringClosed([entry] { entry->m_socket.shutdown(); });
    }
}

std::size_t OpenConnections::countQueued() const
{
    return m_arrived - m_entered - m_countRefused();
}

std::size_t OpenConnections::countStaying() const
{
    return static_cast<std::size_t>(std::count_if(m_entries.begin(), m_entries.end(),
                                                  [](const Entry* entry) { return !entry->m_isLeaving; }));
}

/// The one that has let the server wait for longest; null if nobody lets it wait.
OpenConnections::Entry* OpenConnections::slowest() const
{
    Entry* found = nullptr;
    for (Entry* const entry : m_entries) {
        if (entry->m_isWaiting && !entry->m_isLeaving &&
            (found == nullptr || entry->m_exchangeBegin < found->m_exchangeBegin))
            found = entry;
    }
    return found;
}

bool OpenConnections::isStopping() const
{
    const std::lock_guard lock(m_mutex);
    return m_isStopping;
}

void OpenConnections::stop()
{
    const std::lock_guard lock(m_mutex);
    m_isStopping = true;
    m_hasMoved.notify_all();
    for (Entry* const entry : m_entries)
        ignoringClosed([entry] { entry->m_socket.shutdownReceive(); });
}

bool OpenConnections::waitUntilClosed(std::chrono::milliseconds timeout)
{
    std::unique_lock lock(m_mutex);
    return m_hasMoved.wait_for(lock, timeout, [this] { return m_entries.empty(); });
}

void OpenConnections::breakOff()
{
    const std::lock_guard lock(m_mutex);
    for (Entry* const entry : m_entries)
        ignoringClosed([entry] { entry->m_socket.shutdown(); });
}

} // namespace Zovi::ServiceKit
