#include "Command/ResponseObject.h"

#include "JSONPrinter.h"
#include "JSONTools.h"
#include "Timestamp.h"

#include <Poco/Exception.h>

#include <ostream>
#include <utility>

namespace Zovi::Command
{

namespace
{

using Poco::Dynamic::Var;
using Poco::JSON::Array;
using Poco::JSON::Object;

template <typename Pointee>
const Pointee& requireResponse(const Pointee* response)
{
    if (!response)
        throw Poco::NullPointerException("Invalid response object");
    return *response;
}

/// What `value` holds, shared if it holds it by pointer; a copy if it holds it by itself.
template <typename Json>
Poco::SharedPtr<Json> shareOrCopy(const Var& value, const Json* held)
{
    if (!held)
        return {};
    if (value.type() == typeid(Poco::SharedPtr<Json>))
        return value.extract<Poco::SharedPtr<Json>>();
    return new Json(*held);
}

Object::Ptr toObject(const Var& value)
{
    return shareOrCopy(value, Util::JSONTools::extractJsonObject(value));
}

Array::Ptr toArray(const Var& value)
{
    return shareOrCopy(value, Util::JSONTools::extractJsonArray(value));
}

} // namespace

const StatusObject::StatusCode StatusObject::STATUS_OK = "ok";
const StatusObject::StatusCode StatusObject::STATUS_ERROR = "error";
const StatusObject::StatusCode StatusObject::STATUS_NONE;

const StatusObject::JsonFieldName StatusObject::FIELD_STATUS = "status";
const StatusObject::JsonFieldName StatusObject::FIELD_MESSAGE = "message";
const StatusObject::JsonFieldName StatusObject::FIELD_ERROR_CODE = "code";

StatusObject::StatusObject()
    : JSONObject(new Object)
{
    setStatus(STATUS_OK);
}

StatusObject::StatusObject(int code, const std::string& message)
    : JSONObject(new Object)
{
    setErrorStatus(code, message);
}

StatusObject::~StatusObject() = default;

void StatusObject::setStatus(const StatusCode& status)
{
    if (status.empty())
        JSONObject->remove(FIELD_STATUS);
    else
        JSONObject->set(FIELD_STATUS, status);
}

void StatusObject::setErrorStatus(int code, const std::string& message)
{
    setStatus(STATUS_ERROR);
    JSONObject->set(FIELD_MESSAGE, message);
    JSONObject->set(FIELD_ERROR_CODE, code);
}

void StatusObject::setErrorStatus(AdditionalJsonErrorCodes code, const std::string& message)
{
    setErrorStatus(static_cast<int>(code), message);
}

void StatusObject::setErrorStatus(Poco::Net::HTTPResponse::HTTPStatus code, const std::string& message)
{
    setErrorStatus(static_cast<int>(code), message);
}

StatusObject::StatusCode StatusObject::getStatus() const
{
    const Var status = JSONObject->get(FIELD_STATUS);
    return status.isEmpty() ? STATUS_NONE : status.extract<std::string>();
}

const StatusObject::JsonFieldName ResponseObject::FIELD_PAGING = "paging";
const StatusObject::JsonFieldName ResponseObject::FIELD_PAGING_OFFSET_ID = "offsetId";
const StatusObject::JsonFieldName ResponseObject::FIELD_PAGING_OFFSET = "offset";
const StatusObject::JsonFieldName ResponseObject::FIELD_PAGING_LIMIT = "limit";
const StatusObject::JsonFieldName ResponseObject::FIELD_PAGING_TOTAL = "total";
const StatusObject::JsonFieldName ResponseObject::FIELD_PAGING_TOTAL_PAGES = "totalPages";
const StatusObject::JsonFieldName ResponseObject::FIELD_PAGING_PREVIOUS = "previous";
const StatusObject::JsonFieldName ResponseObject::FIELD_PAGING_NEXT = "next";
const StatusObject::JsonFieldName ResponseObject::FIELD_TIMESTAMP = "timestamp";
const StatusObject::JsonFieldName ResponseObject::FIELD_DATA = "data";
const StatusObject::JsonFieldName ResponseObject::FIELD_SERVICE = "service";

ResponseObject::ResponseObject() = default;

ResponseObject::ResponseObject(int code, const std::string& message)
    : StatusObject(code, message)
{
}

ResponseObject::ResponseObject(const Array::Ptr& data)
{
    setTimeStamp();
    setData(data);
}

ResponseObject::ResponseObject(const Object::Ptr& data)
{
    setTimeStamp();
    setData(data);
}

// The base is made anew instead of copied: its copy would share the JSON object.
ResponseObject::ResponseObject(const ResponseObject& other)
    : StatusObject()
{
    copy(other);
}

// Meant so: a document that is assigned to itself ends up empty.
ResponseObject& ResponseObject::operator=(const ResponseObject& other)
{
    copy(other);
    return *this;
}

ResponseObject::~ResponseObject() = default;

void ResponseObject::setData(const Array::Ptr& data)
{
    if (!data)
        return;
    JSONObject->set(FIELD_DATA, data);
    setTimeStamp();
}

void ResponseObject::setData(const Object::Ptr& data)
{
    if (!data)
        return;
    JSONObject->set(FIELD_DATA, data->has(FIELD_DATA) ? data->get(FIELD_DATA) : Var(data));
    setTimeStamp();
}

bool ResponseObject::hasData() const
{
    return JSONObject->has(FIELD_DATA);
}

Array::Ptr ResponseObject::getDataAsJsonArray() const
{
    return toArray(JSONObject->get(FIELD_DATA));
}

Object::Ptr ResponseObject::getDataAsJsonObject() const
{
    return toObject(JSONObject->get(FIELD_DATA));
}

void ResponseObject::setPaging(const Object::Ptr& paging)
{
    if (paging)
        JSONObject->set(FIELD_PAGING, paging);
}

Object::Ptr ResponseObject::getPaging() const
{
    return toObject(JSONObject->get(FIELD_PAGING));
}

void ResponseObject::setCustomField(const std::string& key, const Var& value)
{
    JSONObject->set(key, value);
}

void ResponseObject::setTimeStamp()
{
    JSONObject->set(FIELD_TIMESTAMP, static_cast<Poco::Int64>(Timestamp::createTimestamp().asMilliseconds()));
}

void ResponseObject::copyObject(const Object* object)
{
    copy(&requireResponse(object));
    if (JSONObject->has(FIELD_TIMESTAMP))
        setTimeStamp();
}

void ResponseObject::copyObject(const ResponseObject* object)
{
    copyObject(requireResponse(object).getObject().get());
}

void ResponseObject::copy(const ResponseObject& other)
{
    copy(other.getObject().get());
}

void ResponseObject::copy(const Object* object)
{
    // Made beside the document, which is as it was if memory runs out; the source may be a value inside it.
    // Only assigning moves the content without an allocation: the constructor ends the program when it fails.
    Object content(*JSONObject);
    content.clear();
    // A document that takes itself over is emptied; that is meant.
    if (object != JSONObject.get()) {
        for (const auto& [key, value] : *object)
            content.set(key, value);
    }
    *JSONObject = std::move(content);
}

std::ostream& operator<<(std::ostream& out, const ResponseObject& response)
{
    Util::JSONPrinter::print(*response.getObject(), out);
    return out;
}

std::ostream& operator<<(std::ostream& out, const ResponseObject* response)
{
    return out << requireResponse(response);
}

} // namespace Zovi::Command
