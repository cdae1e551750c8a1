#include "RegistryLink.h"

#include "Logging/LogStream.h"
#include "ServiceRegistryConnection.h"

#include <Poco/Exception.h>
#include <Poco/Net/SocketAddress.h>
#include <Poco/Timespan.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

namespace Zovi::Host
{

namespace
{

using Clock = std::chrono::steady_clock;

constexpr std::chrono::minutes LONGEST_PAUSE{5};

bool isAnybodyThere()
{
    try {
        const Poco::Net::SocketAddress address(ServiceRegistryConnection::ADDRESS,
                                               ServiceRegistryConnection::PORT);
        Poco::Net::StreamSocket().connect(address, Poco::Timespan(1, 0));
        return true;
    } catch (const Poco::Exception&) {
        return false;
    }
}

} // namespace

RegistryAccess machineRegistry()
{
    return {isAnybodyThere, ServiceRegistryConnection::connect};
}

RegistryLink::RegistryLink(std::string text, RegistryAccess access)
    : m_text(std::move(text))
    , m_access(std::move(access))
    , m_pause(m_access.pause)
    , m_thread([this] { run(); })
{
}

RegistryLink::~RegistryLink()
{
    {
        const std::lock_guard lock(m_mutex);
        m_isEnding = true;
        try {
            if (m_socket)
                m_socket->shutdown();
        } catch (const Poco::Exception&) {
            // The registry was quicker.
        }
    }
    m_isAsked.notify_all();
    m_thread.join();
}

void RegistryLink::run()
{
    std::unique_lock lock(m_mutex);
    while (!m_isEnding) {
        lock.unlock();
        attempt();
        lock.lock();
        m_isAsked.wait_for(lock, m_pause, [this] { return m_isEnding; });
    }
}

void RegistryLink::attempt()
{
    Poco::SharedPtr<Poco::Net::StreamSocket> socket = m_access.isThere() ? m_access.connect() : nullptr;
    if (!keep(socket)) {
        m_pause = m_access.pause;
        return;
    }
    const auto begin = Clock::now();
    talk(*socket);
    keep(nullptr);
    const bool isRefused = Clock::now() - begin < m_access.pause;
    m_pause = isRefused ? std::min<std::chrono::milliseconds>(m_pause * 2, LONGEST_PAUSE) : m_access.pause;
}

/// Lets the destructor know what to close. False if there is nothing to talk on, or no time any more.
bool RegistryLink::keep(const Poco::SharedPtr<Poco::Net::StreamSocket>& socket)
{
    const std::lock_guard lock(m_mutex);
    m_socket = socket;
    return !m_socket.isNull() && !m_isEnding;
}

/// Returns when the connection has ended.
void RegistryLink::talk(Poco::Net::StreamSocket& socket) const
{
    try {
        for (std::size_t sent = 0; sent < m_text.size();)
            sent += static_cast<std::size_t>(
                socket.sendBytes(m_text.data() + sent, static_cast<int>(m_text.size() - sent)));
        // The registry has nothing to say: what comes is its end.
        std::array<char, 256> rest{};
        while (socket.receiveBytes(rest.data(), static_cast<int>(rest.size())) > 0) {
        }
    } catch (const Poco::Exception& failure) {
        ZOVI_LOG_DEBUG("The connection to the registry has ended: " << failure.displayText());
    }
}

} // namespace Zovi::Host
