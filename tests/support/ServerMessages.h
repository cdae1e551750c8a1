#pragma once

#include <Poco/Net/HTTPServerParams.h>
#include <Poco/Net/HTTPServerRequest.h>
#include <Poco/Net/HTTPServerResponse.h>
#include <Poco/Net/SocketAddress.h>

#include <sstream>
#include <string>

namespace Zovi::Test
{

/// What a server wrote, kept instead of sent: headers as set on the message, the body in `body()`.
///
///     ServerResponse response;
///     handler.send(response);
///     EXPECT_EQ(response.body(), "...");
class ServerResponse : public Poco::Net::HTTPServerResponse
{
public:
    /// The bytes that went out behind the headers.
    std::string body() const { return m_body.str(); }

    /// True if `sendBuffer` was called.
    bool sentBuffer() const { return m_sentBuffer; }

    void sendContinue() override { m_sentContinue = true; }
    bool sentContinue() const { return m_sentContinue; }

    std::ostream& send() override
    {
        m_sent = true;
        return m_body;
    }

    void sendBuffer(const void* buffer, std::size_t length) override
    {
        setContentLength64(static_cast<Poco::Int64>(length));
        setChunkedTransferEncoding(false);
        send().write(static_cast<const char*>(buffer), static_cast<std::streamsize>(length));
        m_sentBuffer = true;
    }

    void sendFile(const std::string& path, const std::string& mediaType) override
    {
        setContentType(mediaType);
        send() << "file " << path;
    }

    void redirect(const std::string& uri, HTTPStatus status) override
    {
        setStatusAndReason(status);
        set("Location", uri);
        send();
    }

    void requireAuthentication(const std::string& realm) override
    {
        setStatusAndReason(HTTP_UNAUTHORIZED);
        set("WWW-Authenticate", "Basic realm=\"" + realm + "\"");
        send();
    }

    bool sent() const override { return m_sent; }

private:
    std::ostringstream m_body;
    bool m_sent = false;
    bool m_sentBuffer = false;
    bool m_sentContinue = false;
};

/// A request as a server hands it to a handler, without a socket. Headers are set as on any Poco message; no
/// header is there unless set, "Content-Length" included.
///
///     ServerRequest request("POST", "/notes", R"({"text":"hello"})");
///     request.set("Content-Encoding", "gzip");
class ServerRequest : public Poco::Net::HTTPServerRequest
{
public:
    explicit ServerRequest(const std::string& method = HTTP_GET, const std::string& uri = "/",
                           const std::string& body = "")
        : m_body(body)
        , m_stream(&m_body)
        , m_params(new Poco::Net::HTTPServerParams)
    {
        setMethod(method);
        setURI(uri);
        setVersion(HTTP_1_1);
    }

    /// Replaces the body; its stream begins anew.
    void setBody(const std::string& body)
    {
        m_body.str(body);
        setBodyBuffer(m_body);
    }

    /// Lets the body come from `buffer`, which must outlive the request.
    void setBodyBuffer(std::streambuf& buffer) { m_stream.rdbuf(&buffer); }

    std::istream& stream() override { return m_stream; }
    const Poco::Net::SocketAddress& clientAddress() const override { return m_clientAddress; }
    const Poco::Net::SocketAddress& serverAddress() const override { return m_serverAddress; }
    const Poco::Net::HTTPServerParams& serverParams() const override { return *m_params; }

    /// The response that belongs to the request, as a handler asks for it.
    ServerResponse& response() const override { return m_response; }
    bool secure() const override { return false; }

private:
    std::stringbuf m_body;
    std::istream m_stream;
    Poco::Net::HTTPServerParams::Ptr m_params;
    Poco::Net::SocketAddress m_clientAddress{"127.0.0.1:50000"};
    Poco::Net::SocketAddress m_serverAddress{"127.0.0.1:8080"};
    mutable ServerResponse m_response;
};

} // namespace Zovi::Test
