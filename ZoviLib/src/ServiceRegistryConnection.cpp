#include "ServiceRegistryConnection.h"

#include "Logging/LogStream.h"

#include <Poco/Net/NetException.h>
#include <Poco/Net/SocketAddress.h>

namespace Zovi
{

const std::string ServiceRegistryConnection::ADDRESS = "::1";
const Poco::UInt16 ServiceRegistryConnection::PORT = 80;

Poco::SharedPtr<Poco::Net::StreamSocket> ServiceRegistryConnection::connect()
{
    const Poco::Net::SocketAddress address(ADDRESS, PORT);
    ZOVI_LOG_DEBUG("Connecting to ServiceRegistry: " << address.toString());
    try {
        return new Poco::Net::StreamSocket(address);
    } catch (const Poco::Net::NetException& failure) {
        ZOVI_LOG_WARNING("caught exception in connect: " << failure.what());
    } catch (const Poco::Exception& failure) {
        ZOVI_LOG_ERROR("caught exception in connect: " << failure.what());
    }
    return {};
}

} // namespace Zovi
