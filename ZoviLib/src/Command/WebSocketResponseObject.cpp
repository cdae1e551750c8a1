#include "Command/WebSocketResponseObject.h"

#include "JSONPrinter.h"
#include "Logging/LogStream.h"

#include <Poco/Dynamic/Var.h>
#include <Poco/Exception.h>
#include <Poco/JSON/ParseHandler.h>
#include <Poco/JSON/Parser.h>

namespace Zovi::Command
{

namespace
{

using Poco::Dynamic::Var;
using Poco::JSON::Array;
using Poco::JSON::Object;

struct ErrorText {
    Poco::UInt16 code;
    const char* text;
};

ErrorText toErrorText(WebSocketResponseObject::RequestError error)
{
    switch (error) {
    case WebSocketResponseObject::alreadyConnected:
        throw Poco::NotImplementedException("websocket::sendError alreadyConnected");
    case WebSocketResponseObject::notARootURL:
        throw Poco::NotImplementedException("websocket::sendError notARootURL");
    case WebSocketResponseObject::badData:
        return {400, "Bad subscription."};
    case WebSocketResponseObject::invalideSubscriptionExpansionLevel:
        return {400, "Expand is only allowed on elements with the maximum expand level 3. "
                     "For service or resource the expand is restricted to level 0."};
    case WebSocketResponseObject::unableToUnsubscribe:
        return {404, "There was no subscription to unsubscribe."};
    case WebSocketResponseObject::noData:
        break;
    }
    return {400, "No data"};
}

std::string textOrEmpty(const Var& value)
{
    return value.isEmpty() ? std::string() : value.convert<std::string>();
}

/// The object that `text` holds, a null pointer if it is no JSON object or an empty one.
Object::Ptr parseMessage(const std::string& text)
{
    try {
        Poco::JSON::Parser parser(new Poco::JSON::ParseHandler);
        const Var parsed = parser.parse(text);
        if (parsed.convert<bool>())
            return parsed.extract<Object::Ptr>();
    } catch (...) {
        // The caller says in one place what it makes of a text that is no message.
    }
    return {};
}

} // namespace

const WebSocketResponseObject::Type WebSocketResponseObject::TYPE_SUBSCRIBE = "subscribe";
const WebSocketResponseObject::Type WebSocketResponseObject::TYPE_UNSUBSCRIBE = "unsubscribe";
const WebSocketResponseObject::Type WebSocketResponseObject::TYPE_DATA = "data";
const WebSocketResponseObject::Type WebSocketResponseObject::TYPE_ERROR = "error";

WebSocketResponseObject::WebSocketResponseObject() = default;

WebSocketResponseObject::WebSocketResponseObject(const WebSocketRequestObject& request)
    : m_isValid(true)
{
    setType(request.getType());
    setEvent(request.getEvent());
    setStatus(STATUS_OK);
}

WebSocketResponseObject::WebSocketResponseObject(const WebSocketRequestObject& request,
                                                 const Array::Ptr& data)
    : ResponseObject(data)
    , m_isValid(true)
{
    setStatus(STATUS_OK);
    setEvent(request.getEvent());
}

WebSocketResponseObject::WebSocketResponseObject(const WebSocketRequestObject& request,
                                                 Poco::UInt16 errorCode, const std::string& errorMessage)
    : m_isValid(true)
{
    setErrorMessage(request, errorCode, errorMessage);
}

WebSocketResponseObject::WebSocketResponseObject(const WebSocketRequestObject& req, RequestError error,
                                                 const std::string& errorMessage)
    : m_isValid(true)
{
    const ErrorText told = toErrorText(error);
    ZOVI_LOG_WARNING(told.text << errorMessage);
    setErrorMessage(req, told.code, told.text);
}

WebSocketResponseObject::~WebSocketResponseObject() = default;

void WebSocketResponseObject::setErrorMessage(const WebSocketRequestObject& request, Poco::UInt16 errorCode,
                                              const std::string& errorMessage)
{
    setType(TYPE_ERROR);
    JSONObject->set(FIELD_ERROR_CODE, errorCode);
    setEvent(request.getEvent());
    setMessage(errorMessage);
    setStatus(STATUS_NONE);
}

void WebSocketResponseObject::setType(const Type& type)
{
    JSONObject->set(WebSocketRequestObject::FIELD_TYPE, type);
    if (type == TYPE_DATA)
        setTimeStamp();
}

void WebSocketResponseObject::setEvent(Poco::URI uri)
{
    JSONObject->set(WebSocketRequestObject::FIELD_EVENT, uri.toString());
}

void WebSocketResponseObject::setMessage(const std::string& dataMessage)
{
    JSONObject->set(FIELD_MESSAGE, dataMessage);
}

void WebSocketResponseObject::setData(const ResponseObject* data)
{
    if (!data)
        throw Poco::NullPointerException("Invalid response object");
    if (!data->hasData())
        return;
    if (const Object::Ptr objData = data->getDataAsJsonObject())
        JSONObject->set(FIELD_DATA, objData);
    else if (const Array::Ptr arrayData = data->getDataAsJsonArray())
        JSONObject->set(FIELD_DATA, arrayData);
    else
        throw Poco::BugcheckException("Invalid response object");
    setType(TYPE_DATA);
}

void WebSocketResponseObject::setError(Poco::Net::HTTPResponse::HTTPStatus errorCode,
                                       const std::string& errorMessage)
{
    setErrorStatus(errorCode, errorMessage);
    setType(WebSocketRequestObject::FIELD_ERROR);
    JSONObject->remove(FIELD_STATUS);
    JSONObject->remove(FIELD_TIMESTAMP);
}

void WebSocketResponseObject::resetPagingObject()
{
    JSONObject->remove(FIELD_PAGING);
}

WebSocketResponseObject::Type WebSocketResponseObject::getType() const
{
    return JSONObject->get(WebSocketRequestObject::FIELD_TYPE).convert<std::string>();
}

Poco::URI WebSocketResponseObject::getEvent() const
{
    return Poco::URI(JSONObject->get(WebSocketRequestObject::FIELD_EVENT).convert<std::string>());
}

Timestamp::timestamp_t WebSocketResponseObject::getTimestamp() const
{
    return JSONObject->get(FIELD_TIMESTAMP).convert<Timestamp::timestamp_t>();
}

std::string WebSocketResponseObject::getData() const
{
    return textOrEmpty(JSONObject->get(FIELD_DATA));
}

std::string WebSocketResponseObject::getMessage() const
{
    return textOrEmpty(JSONObject->get(FIELD_MESSAGE));
}

std::string WebSocketResponseObject::toJsonString() const
{
    return Util::JSONPrinter::toString(*JSONObject);
}

WebSocketResponseObject WebSocketResponseObject::fromJsonString(const std::string& jsonString)
{
    WebSocketResponseObject message;
    if (jsonString.empty())
        return message;
    if (const Object::Ptr parsed = parseMessage(jsonString)) {
        message.JSONObject = parsed;
        message.m_isValid = true;
    } else {
        ZOVI_LOG_ERROR("The data '" << jsonString << "' is not valid for json parsing");
    }
    return message;
}

} // namespace Zovi::Command
