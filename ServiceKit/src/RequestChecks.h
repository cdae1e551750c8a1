#pragma once

#include "Command/UrlPath.h"
#include "ServiceKit/ExchangeHandler.h"

#include <Poco/Net/HTTPServerRequest.h>

#include <cstddef>
#include <string>
#include <vector>

namespace Zovi::ServiceKit
{

/// Whether bytes may follow the head that are no next request. A POST without a length is taken for one.
bool mayHaveBody(const Poco::Net::HTTPServerRequest& request);

/// The values of all headers of that name, in their order. Case does not count.
std::vector<std::string> valuesOf(const Poco::Net::HTTPServerRequest& request, const std::string& name);

// Each of these throws `RequestError` if the request does not pass.

/// The head is one that every reader of it takes for the same message.
void checkHead(const Poco::Net::HTTPServerRequest& request);

/// It is meant for this service.
void checkHost(const Poco::Net::HTTPServerRequest& request, const ExchangeOptions& options);

/// A request that writes or opens a WebSocket does not come from the page of a stranger.
void checkOrigin(const Poco::Net::HTTPServerRequest& request, const ExchangeOptions& options);

/// The end of the body is known beforehand, and is not too far away.
void checkBodyLength(const Poco::Net::HTTPServerRequest& request, const ExchangeOptions& options);

/// The address of the request. Throws also if it is malformed or too long, or its query too large.
Command::UrlPath checkAddress(const Poco::Net::HTTPServerRequest& request, const ExchangeOptions& options);

/// The query of `path` has no more parameters and entries of their lists than `maxEntries`.
void checkQuerySize(const Command::UrlPath& path, std::size_t maxEntries);

} // namespace Zovi::ServiceKit
