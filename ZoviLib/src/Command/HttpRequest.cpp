#include "Command/HttpRequest.h"

#include "HTTPEncoderDecoder.h"
#include "JSONTools.h"
#include "Logging/LogStream.h"

#include <Poco/Net/HTTPRequest.h>
#include <Poco/Net/NetException.h>
#include <Poco/StreamCopier.h>

#include <array>
#include <istream>
#include <streambuf>
#include <string>
#include <utility>

namespace Zovi::Command
{

namespace
{

constexpr int READ_BUFFER_SIZE = 8192;

HttpRequest::RequestType toRequestType(const std::string& method)
{
    static const std::array<std::pair<std::string, HttpRequest::RequestType>, 5> TYPES{{
        {Poco::Net::HTTPRequest::HTTP_GET, HttpRequest::GET},
        {Poco::Net::HTTPRequest::HTTP_HEAD, HttpRequest::HEAD},
        {Poco::Net::HTTPRequest::HTTP_POST, HttpRequest::POST},
        {Poco::Net::HTTPRequest::HTTP_PUT, HttpRequest::PUT},
        {Poco::Net::HTTPRequest::HTTP_DELETE, HttpRequest::DELETE},
    }};
    for (const auto& [name, type] : TYPES) {
        if (method == name)
            return type;
    }
    return HttpRequest::UNSUPPORTED;
}

/// The bytes that `request` promises, 0 if it promises none: chunks go before a declared length.
std::streamsize promisedLength(const Poco::Net::HTTPServerRequest& request)
{
    return request.getChunkedTransferEncoding() ? 0 : request.getContentLength();
}

/// Reads the body behind the server's stream and throws where that would end silently: the server's stream
/// takes a connection that breaks off for the end of the body, and keeps connection errors to itself. Its end
/// is met only once: behind a chunked body stands the next request, for which a further read would wait.
class BodyBuffer : public std::streambuf
{
public:
    BodyBuffer(std::streambuf& source, std::streamsize promised)
        : m_source(source)
        , m_promised(promised)
    {
    }

protected:
    int_type underflow() override
    {
        const std::streamsize count =
            m_isAtEnd ? 0 : m_source.sgetn(m_bytes.data(), std::streamsize{READ_BUFFER_SIZE});
        m_isAtEnd = count < READ_BUFFER_SIZE;
        m_received += count;
        setg(m_bytes.data(), m_bytes.data(), m_bytes.data() + count);
        if (count > 0)
            return traits_type::to_int_type(m_bytes.front());
        if (m_received < m_promised)
            throw Poco::Net::MessageException("Incomplete request body: " + std::to_string(m_received) +
                                              " of " + std::to_string(m_promised) + " bytes arrived");
        return traits_type::eof();
    }

private:
    std::streambuf& m_source;
    std::streamsize m_promised;
    std::streamsize m_received = 0;
    bool m_isAtEnd = false;
    std::array<char, READ_BUFFER_SIZE> m_bytes;
};

} // namespace

HttpRequest::HttpRequest(Poco::Net::HTTPServerRequest& request)
    : HttpRequest(request, nullptr)
{
}

HttpRequest::HttpRequest(Poco::Net::HTTPServerRequest& request, Zovi::Net::HTTPEncoderDecoder& decoder)
    : HttpRequest(request, &decoder)
{
}

HttpRequest::HttpRequest(Poco::Net::HTTPServerRequest& request, Zovi::Net::HTTPEncoderDecoder* decoder)
    : RequestBase(request.getURI())
    , m_type(toRequestType(request.getMethod()))
    , m_httpRequest(request)
{
    readHttpServerRequestContent(decoder);
}

HttpRequest::~HttpRequest() = default;

void HttpRequest::readHttpServerRequestContent(Zovi::Net::HTTPEncoderDecoder* decoder)
{
    if (getContentLength() <= 0 && hasContentLength())
        return;
    BodyBuffer buffer(*m_httpRequest.stream().rdbuf(), promisedLength(m_httpRequest));
    std::istream body(&buffer);
    body.exceptions(std::ios_base::badbit);
    std::istream& decoded = decoder ? decoder->getInputStream(body) : body;
    Poco::StreamCopier::copyToString(decoded, m_message, READ_BUFFER_SIZE);
}

const std::string& HttpRequest::getUrl() const
{
    return m_httpRequest.getURI();
}

bool HttpRequest::hasContentLength() const
{
    return m_httpRequest.has(Poco::Net::HTTPMessage::CONTENT_LENGTH);
}

std::streamsize HttpRequest::getContentLength() const
{
    return m_httpRequest.getContentLength();
}

Poco::JSON::Object::Ptr HttpRequest::asJson() const
{
    Poco::JSON::Object::Ptr result;
    if (!hasMessage() || Util::JSONTools::parseJSONString(m_message, result))
        return result;
    ZOVI_LOG_ERROR("Parsing JSON obj failed: " << m_message);
    return {};
}

} // namespace Zovi::Command
