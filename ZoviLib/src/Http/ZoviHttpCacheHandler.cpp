#include "Http/ZoviHttpCacheHandler.h"

#include "Command/ResponseObject.h"
#include "Logging/LogStream.h"

#include <Poco/Types.h>

namespace Zovi::Net
{

using Command::ResponseObject;

namespace
{

HTTPCacheHandler::CacheRequestResult missingData()
{
    ZOVI_LOG_WARNING("Missing data for ETag creation.");
    return HTTPCacheHandler::CONTENT_CHANGED;
}

} // namespace

HTTPCacheHandler::CacheRequestResult
ZoviHttpCacheHandler::handleRequest(const Poco::Net::HTTPRequest& request, Poco::Net::HTTPResponse& response,
                                    Poco::JSON::Object::Ptr jsonObject) const
{
    if (!jsonObject)
        return missingData();
    if (!jsonObject->has(ResponseObject::FIELD_TIMESTAMP))
        return HTTPCacheHandler::handleRequest(request, response, jsonObject);

    // The document itself is hashed, not a copy: what prints it later finds it as it was.
    const auto timestamp = jsonObject->getValue<Poco::Int64>(ResponseObject::FIELD_TIMESTAMP);
    jsonObject->remove(ResponseObject::FIELD_TIMESTAMP);
    const CacheRequestResult result = HTTPCacheHandler::handleRequest(request, response, jsonObject);
    jsonObject->set(ResponseObject::FIELD_TIMESTAMP, timestamp);
    return result;
}

HTTPCacheHandler::CacheRequestResult
ZoviHttpCacheHandler::handleRequest(const Poco::Net::HTTPRequest& request, Poco::Net::HTTPResponse& response,
                                    const Command::HttpResponse& content) const
{
    if (content.hasJsonContent())
        return handleRequest(request, response, content.getJson());
    if (content.hasTextContent())
        return handleRequest(request, response, content.getText());
    return missingData();
}

} // namespace Zovi::Net
