#pragma once

#include "Command/RequestBase.h"
#include "ZoviExport.h"

#include <Poco/JSON/Object.h>
#include <Poco/Net/HTTPServerRequest.h>

#include <ios>
#include <string>

namespace Zovi::Net
{
class HTTPEncoderDecoder;
}

namespace Zovi::Command
{

/// A request that came over HTTP: address, criteria, method and body.
///
/// A short-lived wrapper for one exchange: the server request that it is made from must outlive it. The body
/// is read inside the constructor, which blocks until it has arrived. No limit on its size applies here;
/// whoever serves strangers bounds it beforehand, by the declared length and by the limit of the decoder.
class KYRZOVI_API HttpRequest : public RequestBase
{
public:
    /// The methods that a service answers.
    enum RequestType : int {
        UNSUPPORTED = 0, ///< any other method, and any of the five in lower case
        GET = 1,
        HEAD = 2,
        POST = 3,
        PUT = 4,
        DELETE = 5
    };

    /// Reads `request` with its body as it came.
    ///
    /// Throws a `Poco::Exception` if the URL is no URI or its query cannot be decoded, and if the connection
    /// ends before the declared length of the body has arrived. Any other bad query makes the address
    /// `INVALID`, except that a search value which is no valid regular expression throws
    /// `Poco::RegularExpressionException`. A body is read if its length is declared and positive, or not
    /// declared at all: a POST or PUT with neither a length nor chunks lasts until the client stops sending.
    explicit HttpRequest(Poco::Net::HTTPServerRequest& request);

    /// The same with the body read through `decoder`, which undoes its content coding. Throws also what the
    /// decoder throws on a damaged or incomplete body, or on one over its limit.
    HttpRequest(Poco::Net::HTTPServerRequest& request, Zovi::Net::HTTPEncoderDecoder& decoder);

    HttpRequest(const HttpRequest&) = delete;
    HttpRequest& operator=(const HttpRequest&) = delete;
    ~HttpRequest() override;

    /// The method.
    RequestType getType() const { return m_type; }

    /// The URL as the request line had it.
    const std::string& getUrl() const;

    /// The server request behind this.
    const Poco::Net::HTTPServerRequest& getHttpRequest() const { return m_httpRequest; }

    /// Whether there is a body, and the body after decoding, empty if there is none.
    bool hasMessage() const { return !m_message.empty(); }
    const std::string& getMessage() const { return m_message; }

    /// Whether the request declares a length, and that length in bytes, -1 if it declares none.
    bool hasContentLength() const;
    std::streamsize getContentLength() const;

    /// The body as a JSON object, parsed anew at each call. A null pointer if there is no body, or if it is
    /// no JSON object, which is logged as an error.
    Poco::JSON::Object::Ptr asJson() const;

private:
    HttpRequest(Poco::Net::HTTPServerRequest& request, Zovi::Net::HTTPEncoderDecoder* decoder);

    void readHttpServerRequestContent(Zovi::Net::HTTPEncoderDecoder* decoder);

    std::string m_message;
    RequestType m_type = UNSUPPORTED;
    Poco::Net::HTTPServerRequest& m_httpRequest;
};

} // namespace Zovi::Command
