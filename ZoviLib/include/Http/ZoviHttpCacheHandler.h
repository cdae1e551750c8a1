#pragma once

#include "Command/HttpResponse.h"
#include "HTTPCacheHandler.h"
#include "ZoviExport.h"

#include <Poco/JSON/Object.h>
#include <Poco/Net/HTTPRequest.h>
#include <Poco/Net/HTTPResponse.h>

namespace Zovi::Net
{

/// Tells a client whether the response document that it already holds is still current.
///
/// The "timestamp" of a document differs on every answer, so it does not count: two documents that differ in
/// nothing else have the same ETag.
///
///     if (cache.handleRequest(request, serverResponse, answer) == ZoviHttpCacheHandler::CONTENT_UNCHANGED)
///         answer with 304 and no body; the ETag stands in serverResponse in either case
///
/// The ETag does not depend on the coding in which the answer goes out. The handler has no state; any thread
/// may call it.
class KYRZOVI_API ZoviHttpCacheHandler : public HTTPCacheHandler
{
public:
    /// Texts and byte ranges are taken as they are, a "timestamp" in them included.
    using HTTPCacheHandler::handleRequest;

    /// Compares `jsonObject` without its "timestamp" with what the client holds. A null pointer is
    /// `CONTENT_CHANGED`, with a warning in the log and without an ETag.
    ///
    /// The key is taken out of the object meanwhile and then set again, as an integer: nobody else may use
    /// the object during the call. In an object that keeps the order of its keys it is the last one then.
    ///
    /// Throws what the conversion throws if the timestamp is no number of 64 bits; nothing is changed then.
    /// Throws what printing the object throws, and then the object has lost its timestamp.
    CacheRequestResult handleRequest(const Poco::Net::HTTPRequest& request, Poco::Net::HTTPResponse& response,
                                     Poco::JSON::Object::Ptr jsonObject) const;

    /// The same for the content of an answer, be it a JSON object or a text. An answer without content is
    /// `CONTENT_CHANGED`, with a warning in the log and without an ETag.
    CacheRequestResult handleRequest(const Poco::Net::HTTPRequest& request, Poco::Net::HTTPResponse& response,
                                     const Zovi::Command::HttpResponse& content) const;
};

} // namespace Zovi::Net
