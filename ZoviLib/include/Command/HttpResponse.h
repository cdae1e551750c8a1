#pragma once

#include "Command/ResponseObject.h"
#include "ZoviExport.h"

#include <Poco/JSON/Array.h>
#include <Poco/JSON/Object.h>
#include <Poco/Net/HTTPResponse.h>
#include <Poco/Net/HTTPServerResponse.h>
#include <Poco/Types.h>

#include <string>

namespace Zovi::Net
{
class HTTPEncoderDecoder;
}

namespace Zovi::Command
{

/// The status codes of HTTP, as Poco names them: `HTTPStatus::HTTP_NOT_FOUND` is 404.
using HTTPStatus = Poco::Net::HTTPResponse::HTTPStatus;

/// What a service answers over HTTP: a status, a content (a JSON object or a text, never both), its MIME
/// type, and a location.
///
/// A plain value; copies share the JSON object. `send` puts it on the wire in one piece, with its length.
///
///     HttpResponse::createError(Poco::Net::HTTPResponse::HTTP_NOT_FOUND, "")
///         .send(serverResponse, coder, request.getType() == HttpRequest::HEAD);
class KYRZOVI_API HttpResponse
{
public:
    /// Status 200, no content.
    HttpResponse();

    /// No content.
    explicit HttpResponse(HTTPStatus status);

    /// Shares the JSON object of `content`.
    HttpResponse(HTTPStatus status, const ResponseObject& content);

    /// The status of the answer, 200 at first.
    void setStatus(HTTPStatus status) { m_status = status; }
    HTTPStatus getStatus() const { return m_status; }

    /// The value of the "Content-Type" header; if it is empty, none is sent.
    void setMimetype(const std::string& mimetype) { m_mimetype = mimetype; }
    const std::string& getMimetype() const { return m_mimetype; }

    /// The value of a "Location" header, which is sent with status 201 alone, and not if it is empty. It goes
    /// out as it is: line breaks in it would end the header.
    void setLocation(const std::string& location) { m_location = location; }
    const std::string& getLocation() const { return m_location; }

    /// True for 200, 201 and 202 only.
    bool isSuccess() const { return isSuccess(m_status); }
    static bool isSuccess(HTTPStatus status);

    /// Takes a text as the content, in place of any JSON object.
    void setDataFromText(const std::string& text, const std::string& mimetype);

    /// Shares a JSON object as the content, in place of any text: later changes to it show in this response.
    /// The MIME type becomes "application/json; charset=utf-8".
    void setDataFromObject(const Poco::JSON::Object::Ptr& object);
    void setDataFromObject(const ResponseObject& object);
    /// Throws `Poco::NullPointerException` if `object` is null.
    void setDataFromObject(const ResponseObject* object);

    /// Makes a response document that shares `data` and `paging`, either of which may be null, and takes it.
    void setDataFromArray(const Poco::JSON::Array::Ptr& data, const Poco::JSON::Object::Ptr& paging);

    /// An empty text is no content.
    bool hasJsonContent() const { return !m_jsonMsg.isNull(); }
    bool hasTextContent() const { return !m_textMsg.empty(); }
    bool hasContent() const { return hasJsonContent() || hasTextContent(); }

    /// The text; throws `Poco::InvalidAccessException` if there is none.
    const std::string& getText() const;

    /// Shares the JSON object; throws `Poco::InvalidAccessException` if there is none.
    Poco::JSON::Object::Ptr getJson() const;

    /// Drops content and MIME type; status and location stay.
    void clearData();

    /// Sends this response once: the whole body is encoded in memory by `httpContentStreaming`, then goes out
    /// with its length, never chunked. With `skipContent`, for a HEAD request, the headers are those of the
    /// full answer and no body follows. If something was sent already, that is logged and nothing happens.
    ///
    /// Exceptions of the connection, of the coder and of the JSON printer go to the caller; of the latter two
    /// nothing has been sent then.
    void send(Poco::Net::HTTPServerResponse& response, Zovi::Net::HTTPEncoderDecoder& httpContentStreaming,
              bool skipContent) const;

    /// A response with {"status":"ok"}. All of them share one JSON object for the life of the process: nobody
    /// may write to it. Any thread may call this.
    static HttpResponse createStatusOk(HTTPStatus httpStatus = HTTPStatus::HTTP_OK);

    /// A response with an error document of `errorCode` and `errorMessage`; an empty message stands for the
    /// default text of `httpStatus`. The second form takes the number of the status as the code.
    static HttpResponse createError(HTTPStatus httpStatus, Poco::Int32 errorCode,
                                    const std::string& errorMessage);
    static HttpResponse createError(HTTPStatus httpStatus, const std::string& errorMessage);

private:
    HTTPStatus m_status = HTTPStatus::HTTP_OK;
    std::string m_mimetype;
    std::string m_location;
    Poco::JSON::Object::Ptr m_jsonMsg;
    std::string m_textMsg;
};

} // namespace Zovi::Command

namespace Zovi
{

/// The text that an error document carries if nobody gave one, by its HTTP status; for a status without a
/// text of its own the reason phrase in lower case.
KYRZOVI_API std::string getDefaultMessage(Command::HTTPStatus status);

} // namespace Zovi
