#pragma once

#include "Command/UrlPath.h"

#include <Poco/URI.h>

#include <string>
#include <vector>

namespace Zovi::Command
{

/// What `uri.getQueryParameters()` gives or throws, in one pass over the query.
UrlPath::QueryParameters decodeQuery(const Poco::URI& uri);

/// What `uri.getPathSegments()` gives.
std::vector<std::string> splitPath(const Poco::URI& uri);

} // namespace Zovi::Command
