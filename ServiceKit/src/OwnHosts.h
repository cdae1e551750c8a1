#pragma once

#include <Poco/Net/IPAddress.h>

#include <optional>
#include <string>
#include <vector>

namespace Zovi::ServiceKit
{

/// The name or numeric address of `authority`, the value of a "Host" header, in lower case and without its
/// port and brackets. Nothing if it is malformed.
std::optional<std::string> hostOf(const std::string& authority);

/// True if `host`, as `hostOf` gives it, is "localhost", one of `names`, or the address that the client has
/// connected to.
bool isOwnHost(const std::string& host, const std::vector<std::string>& names,
               const Poco::Net::IPAddress& connectedTo);

/// True if `origin`, the value of an "Origin" header, is the service as reached by `authority`, or one of
/// `origins`.
bool isOwnOrigin(const std::string& origin, const std::string& authority,
                 const std::vector<std::string>& origins);

} // namespace Zovi::ServiceKit
