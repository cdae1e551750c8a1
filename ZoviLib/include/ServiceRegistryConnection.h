#pragma once

#include "ZoviExport.h"

#include <Poco/Net/StreamSocket.h>
#include <Poco/SharedPtr.h>
#include <Poco/Types.h>

#include <string>

namespace Zovi
{

/// The way to the service registry, which runs on the same machine at a fixed address.
class KYRZOVI_API ServiceRegistryConnection
{
public:
    static const std::string ADDRESS; ///< "::1", the IPv6 loopback address
    static const Poco::UInt16 PORT;   ///< 80

    /// Connects to the registry: one attempt, which blocks. What runs over the connection is up to the
    /// caller.
    ///
    /// The result is a null pointer if nobody listens, which is logged as a warning, or if connecting fails
    /// in any other way, which is logged as an error. Any thread may call this.
    ///
    ///     if (auto socket = ServiceRegistryConnection::connect())
    ///         socket->sendBytes(text.data(), static_cast<int>(text.size()));
    static Poco::SharedPtr<Poco::Net::StreamSocket> connect();
};

} // namespace Zovi
