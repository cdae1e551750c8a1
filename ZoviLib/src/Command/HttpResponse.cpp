#include "Command/HttpResponse.h"

#include "AccessibleStringStream.h"
#include "HTTPEncoderDecoder.h"
#include "JSONPrinter.h"
#include "Logging/LogStream.h"

#include <Poco/Exception.h>
#include <Poco/Net/NameValueCollection.h>
#include <Poco/String.h>

#include <new>
#include <ostream>
#include <string_view>

namespace Zovi
{

namespace Command
{

namespace
{

const std::string JSON_MIMETYPE = "application/json; charset=utf-8";
const std::string HEADER_LOCATION = "Location";
const std::string HEADER_CONTENT_ENCODING = "Content-Encoding";

/// Prints headers for the log: {"Content-Type"="text/plain", "Content-Length"="2"}. No headers print nothing.
struct PrintedHeaders {
    const Poco::Net::NameValueCollection& headers;
};

std::ostream& operator<<(std::ostream& out, const PrintedHeaders& printed)
{
    std::string_view opening = "{\"";
    for (const auto& [name, value] : printed.headers) {
        out << opening << name << "\"=\"" << value;
        opening = "\", \"";
    }
    return printed.headers.empty() ? out : out << "\"}";
}

void writeBody(std::ostream& out, const Poco::JSON::Object::Ptr& json, const std::string& text)
{
    if (json)
        Util::JSONPrinter::print(*json, out);
    else
        out << text;
}

void closeAfterFailure(Poco::Net::HTTPServerResponse& response, Zovi::Net::HTTPEncoderDecoder& coder,
                       bool isCodedByService)
{
    try {
        coder.close();
    } catch (...) {
        // The failure that is on its way says more than this one.
    }
    if (!isCodedByService)
        response.erase(HEADER_CONTENT_ENCODING);
}

/// Writes the body through `coder` into `target`. If printing throws, the coder is closed all the same, since
/// it must not outlive the stream that it writes to; nothing of the half body is announced then.
void encodeBody(std::ostream& target, Poco::Net::HTTPServerResponse& response,
                Zovi::Net::HTTPEncoderDecoder& coder, const Poco::JSON::Object::Ptr& json,
                const std::string& text)
{
    const bool isCodedByService = response.has(HEADER_CONTENT_ENCODING);
    std::ostream& out = coder.getOutputStream(target);
    try {
        writeBody(out, json, text);
        coder.close();
        // A stream keeps to itself that it has run out of memory; half a body would pass for a whole one.
        if (target.bad())
            throw std::bad_alloc();
    } catch (...) {
        closeAfterFailure(response, coder, isCodedByService);
        throw;
    }
}

void logHeaders(const Poco::Net::HTTPServerResponse& response)
{
    ZOVI_LOG_TRACE("HTTP Response:\t" << PrintedHeaders{response});
}

} // namespace

HttpResponse::HttpResponse() = default;

HttpResponse::HttpResponse(HTTPStatus status)
    : m_status(status)
{
}

HttpResponse::HttpResponse(HTTPStatus status, const ResponseObject& content)
    : m_status(status)
{
    setDataFromObject(content);
}

bool HttpResponse::isSuccess(HTTPStatus status)
{
    return status == HTTPStatus::HTTP_OK || status == HTTPStatus::HTTP_CREATED ||
           status == HTTPStatus::HTTP_ACCEPTED;
}

void HttpResponse::setDataFromText(const std::string& text, const std::string& mimetype)
{
    m_jsonMsg.reset();
    m_textMsg = text;
    m_mimetype = mimetype;
}

void HttpResponse::setDataFromObject(const Poco::JSON::Object::Ptr& object)
{
    m_jsonMsg = object;
    m_textMsg.clear();
    m_mimetype = JSON_MIMETYPE;
}

void HttpResponse::setDataFromObject(const ResponseObject& object)
{
    setDataFromObject(object.getObject());
}

void HttpResponse::setDataFromObject(const ResponseObject* object)
{
    if (!object)
        throw Poco::NullPointerException("Invalid response object");
    setDataFromObject(*object);
}

void HttpResponse::setDataFromArray(const Poco::JSON::Array::Ptr& data, const Poco::JSON::Object::Ptr& paging)
{
    ResponseObject document(data);
    document.setPaging(paging);
    setDataFromObject(document);
}

const std::string& HttpResponse::getText() const
{
    if (!hasTextContent())
        throw Poco::InvalidAccessException("Text content is not available");
    return m_textMsg;
}

Poco::JSON::Object::Ptr HttpResponse::getJson() const
{
    if (!hasJsonContent())
        throw Poco::InvalidAccessException("JSON content is not available");
    return m_jsonMsg;
}

void HttpResponse::clearData()
{
    m_jsonMsg.reset();
    m_textMsg.clear();
    m_mimetype.clear();
}

void HttpResponse::send(Poco::Net::HTTPServerResponse& response,
                        Zovi::Net::HTTPEncoderDecoder& httpContentStreaming, bool skipContent) const
{
    if (response.sent()) {
        ZOVI_LOG_WARNING("HTTP response was already send!");
        return;
    }
    response.setStatusAndReason(m_status);
    response.setContentType(m_mimetype);
    response.setChunkedTransferEncoding(false);
    if (m_status == HTTPStatus::HTTP_CREATED && !m_location.empty())
        response.set(HEADER_LOCATION, m_location);

    Util::AccessibleStringStream encodedMsg;
    encodeBody(encodedMsg, response, httpContentStreaming, m_jsonMsg, m_textMsg);

    if (skipContent) {
        response.setContentLength(static_cast<std::streamsize>(encodedMsg.size()));
        response.send();
        logHeaders(response);
    } else {
        response.sendBuffer(encodedMsg.getBuffer(), encodedMsg.size());
        logHeaders(response);
        ZOVI_LOG_TRACE("HTTP Response-Body:\t" << std::string(encodedMsg.getBuffer(), encodedMsg.size()));
    }
}

HttpResponse HttpResponse::createStatusOk(HTTPStatus httpStatus)
{
    static const ResponseObject statusOk;
    return HttpResponse(httpStatus, statusOk);
}

HttpResponse HttpResponse::createError(HTTPStatus httpStatus, Poco::Int32 errorCode,
                                       const std::string& errorMessage)
{
    return HttpResponse(
        httpStatus,
        ResponseObject(errorCode, errorMessage.empty() ? getDefaultMessage(httpStatus) : errorMessage));
}

HttpResponse HttpResponse::createError(HTTPStatus httpStatus, const std::string& errorMessage)
{
    return createError(httpStatus, static_cast<Poco::Int32>(httpStatus), errorMessage);
}

} // namespace Command

std::string getDefaultMessage(Command::HTTPStatus status)
{
    using Status = Command::HTTPStatus;
    switch (status) {
    case Status::HTTP_OK:
    case Status::HTTP_CREATED:
    case Status::HTTP_ACCEPTED:
        return "ok";
    case Status::HTTP_BAD_REQUEST:
        return "invalid request";
    case Status::HTTP_FORBIDDEN:
        return "access forbidden";
    case Status::HTTP_NOT_FOUND:
        return "element not found";
    case Status::HTTP_CONFLICT: // meant so: the same text as for 410
    case Status::HTTP_GONE:
        return "element has gone";
    case Status::HTTP_INTERNAL_SERVER_ERROR:
        return "internal processing error";
    case Status::HTTP_NOT_IMPLEMENTED:
        return "operation not available";
    default:
        return Poco::toLower(Poco::Net::HTTPResponse::getReasonForStatus(status));
    }
}

} // namespace Zovi
