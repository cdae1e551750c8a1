#pragma once

#include "RegisteredServices.h"

#include <Poco/Net/ServerSocket.h>
#include <Poco/Net/TCPServer.h>
#include <Poco/ThreadPool.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace Zovi::Registry
{

/// Takes registrations: a service connects and sends its description as one line of JSON, at most
/// `MAX_LINE_LENGTH` bytes long. It counts as there until its connection ends. Whoever sends anything else is
/// hung up on.
class RegistrationServer
{
public:
    static constexpr std::size_t MAX_LINE_LENGTH = 64 * 1024;

    /// Is told when a service comes and goes, by several threads.
    using Tell = std::function<void(const std::string& text)>;

    /// Takes connections on `socket` from now on. Shares `services`.
    RegistrationServer(const std::shared_ptr<RegisteredServices>& services,
                       const Poco::Net::ServerSocket& socket, const Tell& tell);

    /// Ends all connections.
    ~RegistrationServer();

    RegistrationServer(const RegistrationServer&) = delete;
    RegistrationServer& operator=(const RegistrationServer&) = delete;

private:
    class Shared;

    std::shared_ptr<Shared> m_shared;
    Poco::ThreadPool m_threads;
    Poco::Net::TCPServer m_server;
};

} // namespace Zovi::Registry
