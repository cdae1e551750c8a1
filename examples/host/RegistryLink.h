#pragma once

#include <Poco/Net/StreamSocket.h>
#include <Poco/SharedPtr.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace Zovi::Host
{

/// How the registry is reached.
struct RegistryAccess {
    /// Whether anybody listens there. Asked before each attempt, since a machine without a registry is
    /// nothing to be logged again and again.
    std::function<bool()> isThere;

    /// A connection to it, a null pointer if there is none.
    std::function<Poco::SharedPtr<Poco::Net::StreamSocket>()> connect;

    /// The pause between two attempts. It doubles, up to five minutes, each time that the registry does not
    /// keep the connection even for that long.
    std::chrono::milliseconds pause{2'000};
};

/// The way to the registry of this machine.
RegistryAccess machineRegistry();

/// Tells the registry of a service for as long as this object lives: sends a text on a connection and keeps
/// the connection open, which is how the registry knows that the service is there. It connects again when the
/// connection ends, and whenever a registry appears. All this happens on a thread of its own.
class RegistryLink
{
public:
    RegistryLink(std::string text, RegistryAccess access);

    /// Closes the connection.
    ~RegistryLink();

    RegistryLink(const RegistryLink&) = delete;
    RegistryLink& operator=(const RegistryLink&) = delete;

private:
    void run();
    void attempt();
    void talk(Poco::Net::StreamSocket& socket) const;
    bool keep(const Poco::SharedPtr<Poco::Net::StreamSocket>& socket);

    const std::string m_text;
    const RegistryAccess m_access;
    std::chrono::milliseconds m_pause;
    std::mutex m_mutex;
    std::condition_variable m_isAsked;
    bool m_isEnding = false;
    Poco::SharedPtr<Poco::Net::StreamSocket> m_socket;
    std::thread m_thread;
};

} // namespace Zovi::Host
