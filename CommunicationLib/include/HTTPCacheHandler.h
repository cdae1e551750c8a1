#pragma once

#include "CommunicationLibExport.h"

#include <Poco/JSON/Object.h>
#include <Poco/Net/HTTPRequest.h>
#include <Poco/Net/HTTPResponse.h>
#include <Poco/Types.h>

#include <string>

namespace Zovi::Net
{

/// Tells a client whether the content that it already holds is still current.
///
/// The content is known by an ETag, a hash of its text, which is written as a weak validator, `W/"0123abcd"`,
/// eight hexadecimal digits in lower case: the same content may go out in several codings. The same content
/// gives the same ETag on every machine and in every run, and an object the same as its compact text.
///
///     if (handler.handleRequest(request, response, document) == HTTPCacheHandler::CONTENT_UNCHANGED)
///         answer with 304 and no body; the ETag stands in the response in either case
///
/// The ETag has 32 bits: it recognises content, it does not protect it. The handler has no state; any thread
/// may call it.
class KYRCOMMUNICATION_API HTTPCacheHandler
{
public:
    /// Whether the client's copy differs from the content.
    enum CacheRequestResult { CONTENT_CHANGED = 0, CONTENT_UNCHANGED = 1 };

    /// Whether the condition of a request holds.
    enum PreconditionResult { PRECONDITION_VALID = 0, PRECONDITION_FAILED = 1 };

    /// Writes the ETag of `jsonObject` into `response`, in place of one that is there, and compares it with
    /// the "If-None-Match" of `request`. `CONTENT_UNCHANGED` if that names this content, in a list or alone,
    /// weak or strong, or if it is `*`; what is no entity tag there matches nothing.
    ///
    /// The object is printed while it is hashed, so that no text of it is held. It must not be changed by
    /// another thread meanwhile. Throws what printing it throws, and nothing is written to
    /// `response` then. A null pointer is no content: `CONTENT_CHANGED`, and no ETag is written.
    CacheRequestResult handleRequest(const Poco::Net::HTTPRequest& request, Poco::Net::HTTPResponse& response,
                                     Poco::JSON::Object::Ptr jsonObject) const;

    /// The same on a text, which may be empty.
    CacheRequestResult handleRequest(const Poco::Net::HTTPRequest& request, Poco::Net::HTTPResponse& response,
                                     const std::string& data) const;

    /// The same on `length` bytes. `data` may be a null pointer if there are none; if there are said to be
    /// some, a null pointer is no content.
    CacheRequestResult handleRequest(const Poco::Net::HTTPRequest& request, Poco::Net::HTTPResponse& response,
                                     const char* data, unsigned int length) const;

    /// Tests the "If-Match" of `request`, with which a client makes a change depend on the state that it has
    /// seen.
    ///
    /// Such a condition asks for a strong validator, and these are weak: `PRECONDITION_FAILED` for whatever
    /// "If-Match" lists, to be answered by 412. `PRECONDITION_VALID` without the header and for `*`, which
    /// any existing content fulfils.
    PreconditionResult checkRequestHeader(const Poco::Net::HTTPRequest& request) const;

private:
    static CacheRequestResult handleETag(const Poco::Net::HTTPRequest& request,
                                         Poco::Net::HTTPResponse& response, Poco::UInt32 eTag);
    static bool extractIfNoneMatch(const Poco::Net::HTTPRequest& request, Poco::UInt32& eTag);
    static void insertETag(Poco::Net::HTTPResponse& response, Poco::UInt32 eTag);
    static Poco::UInt32 calculateETag(const char* data, unsigned int length);
    static Poco::UInt32 calculateETag(const Poco::JSON::Object::Ptr& jsonObject);
    static Poco::UInt32 calculateETag(const std::string& data);
};

} // namespace Zovi::Net
