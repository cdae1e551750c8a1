#include "Connection.h"

#include "Command/HttpResponse.h"
#include "DeadlineSocket.h"
#include "Lobby.h"
#include "Logging/LogStream.h"
#include "MessageBody.h"
#include "MessageHead.h"
#include "RequestChecks.h"
#include "ServiceKit/ExchangeHandler.h"
#include "ServiceKit/RequestError.h"
#include "ServiceKit/Text.h"

#include <Poco/Buffer.h>
#include <Poco/Exception.h>
#include <Poco/Net/HTTPServerRequest.h>
#include <Poco/Net/HTTPServerResponseImpl.h>
#include <Poco/Net/NetException.h>
#include <Poco/Timestamp.h>

#include <array>
#include <chrono>
#include <exception>
#include <istream>
#include <memory>
#include <optional>
#include <sstream>
#include <streambuf>

namespace Zovi::ServiceKit
{

using Command::HTTPStatus;
using Poco::Net::HTTPMessage;
using Poco::Net::HTTPServerResponseImpl;

/// Lets the body be read from the buffer of the session.
class Connection::Session : public Poco::Net::HTTPServerSession
{
public:
    using HTTPServerSession::HTTPServerSession;

    std::streambuf& input() { return m_input; }

    bool hasUnreadInput() { return buffered() > 0 || socket().available() > 0; }

private:
    class Input : public std::streambuf
    {
    public:
        explicit Input(Session& session)
            : m_session(session)
        {
        }

    protected:
        // What the session gives for the byte 0xFF is the same as at the end.
        int_type underflow() override
        {
            const auto byte = static_cast<char>(m_session.peek());
            return m_session.buffered() > 0 ? traits_type::to_int_type(byte) : traits_type::eof();
        }

        int_type uflow() override
        {
            const int_type byte = underflow();
            if (!traits_type::eq_int_type(byte, traits_type::eof()))
                m_session.get();
            return byte;
        }

        std::streamsize xsgetn(char* buffer, std::streamsize length) override
        {
            return m_session.read(buffer, length);
        }

    private:
        Session& m_session;
    };

    Input m_input{*this};
};

/// A response that sends a whole body also to a request that is no `HTTPServerRequestImpl`.
class Connection::Response : public HTTPServerResponseImpl
{
public:
    using HTTPServerResponseImpl::HTTPServerResponseImpl;

    void sendBuffer(const void* buffer, std::size_t length) override
    {
        setChunkedTransferEncoding(false);
        setContentLength64(static_cast<Poco::Int64>(length));
        send().write(static_cast<const char*>(buffer), static_cast<std::streamsize>(length));
    }
};

/// A request whose head and body are read strictly, and whose client is told to go on only when its body is
/// wanted.
class Connection::Request : public Poco::Net::HTTPServerRequest
{
public:
    /// Reads the head from `session`.
    Request(Response& response, Session& session, Poco::Net::HTTPServerParams& params)
        : m_response(response)
        , m_params(params)
        , m_chunks(session.input())
        , m_bytes(session.input(), parse(readHead(session.input())))
        , m_stream(&m_bytes)
        , m_clientAddress(session.clientAddress())
        , m_serverAddress(session.serverAddress())
    {
        if (getChunkedTransferEncoding())
            m_stream.rdbuf(&m_chunks);
    }

    const Poco::Net::SocketAddress& clientAddress() const override { return m_clientAddress; }
    const Poco::Net::SocketAddress& serverAddress() const override { return m_serverAddress; }
    const Poco::Net::HTTPServerParams& serverParams() const override { return m_params; }
    Poco::Net::HTTPServerResponse& response() const override { return m_response; }
    bool secure() const override { return false; }

    std::istream& stream() override
    {
        if (getExpectContinue() && getVersion() != HTTP_1_0 && !m_isContinued)
            m_response.sendContinue();
        m_isContinued = true;
        return m_stream;
    }

    bool hasUnreadBody() const
    {
        if (!mayHaveBody(*this))
            return false;
        return getChunkedTransferEncoding() ? !m_chunks.isComplete()
                                            : !hasContentLength() || !m_bytes.isComplete();
    }

private:
    /// Takes the head over and gives the length of the body that it declares. Without a length there is no
    /// body: one that lasts until the connection ends is not accepted.
    std::uint64_t parse(const std::string& head)
    {
        std::istringstream text(head);
        read(text);
        const Poco::Int64 length = getContentLength64();
        return length > 0 ? static_cast<std::uint64_t>(length) : 0;
    }

    Response& m_response;
    Poco::Net::HTTPServerParams& m_params;
    ChunkedBody m_chunks;
    FixedLengthBody m_bytes;
    std::istream m_stream;
    Poco::Net::SocketAddress m_clientAddress;
    Poco::Net::SocketAddress m_serverAddress;
    bool m_isContinued = false;
};

namespace
{

/// What is wrong with a head that could not be read; nothing if the client has just left.
std::optional<RequestError> explain(const Poco::Exception& failure, const Poco::Exception* networkFailure)
{
    if (dynamic_cast<const Poco::TimeoutException*>(networkFailure))
        return RequestError(HTTPStatus::HTTP_REQUEST_TIMEOUT, "the request did not arrive in time");
    if (networkFailure || dynamic_cast<const Poco::Net::NoMessageException*>(&failure))
        return std::nullopt;
    return RequestError(HTTPStatus::HTTP_BAD_REQUEST, "malformed message: " + inQuotes(failure.message()));
}

/// Without a request there is nothing to negotiate, so this goes out as it is.
void sendHeadError(Poco::Net::HTTPServerSession& session, const RequestError& error)
{
    const Command::HttpResponse answer = error.toResponse();
    std::ostringstream body;
    body.exceptions(std::ios::badbit); // for want of memory; half a body would pass for a whole one
    answer.getJson()->stringify(body);
    HTTPServerResponseImpl response(session);
    response.setVersion(HTTPMessage::HTTP_1_1);
    response.setStatusAndReason(error.status());
    response.setDate(Poco::Timestamp());
    response.setKeepAlive(false);
    response.set("X-Content-Type-Options", "nosniff");
    response.setContentType(answer.getMimetype());
    response.setContentLength64(static_cast<Poco::Int64>(body.str().size()));
    response.send() << body.str() << std::flush;
}

/// A request that has been waited for has used up some of its time.
std::optional<std::chrono::steady_clock::time_point> firstRequestBegin(const Poco::Net::StreamSocket& socket)
{
    const auto* arrived = dynamic_cast<const ArrivedSocket*>(socket.impl());
    return arrived != nullptr ? arrived->requestBegin : std::nullopt;
}

} // namespace

Connection::Connection(const Poco::Net::StreamSocket& socket, ServerContext& context)
    : TCPServerConnection(socket)
    , m_context(context)
{
}

void Connection::run()
{
    try {
        serve();
    } catch (const Poco::Exception& failure) {
        ZOVI_LOG_DEBUG("Connection ends: " << failure.displayText());
    } catch (const std::exception& failure) {
        ZOVI_LOG_ERROR("Connection ends: " << failure.what());
    } catch (...) {
        ZOVI_LOG_ERROR("Connection ends: unknown exception");
    }
}

void Connection::serve()
{
    OpenConnections::Entry entry(m_context.connections, socket());
    const ServerOptions& options = m_context.options;
    auto* deadline =
        new DeadlineSocket(socket().impl(), entry, options.requestTimeout, options.answerTimeout);
    Session session(Poco::Net::StreamSocket(deadline), m_context.params);
    LivePlace place(m_context.webSockets);
    std::optional<std::chrono::steady_clock::time_point> begin = firstRequestBegin(socket());
    while (!m_context.connections.isStopping() && session.hasMoreRequests()) {
        deadline->beginExchange(begin.value_or(std::chrono::steady_clock::now()));
        begin.reset();
        const Next next = serveExchange(session, place);
        // Streams keep to themselves that an answer went out in part, or not at all.
        if (session.networkException())
            return;
        if (next != Next::EXCHANGE)
            return next == Next::WEBSOCKET ? handOver(session, place) : closeBehindUnreadInput(entry);
        entry.beginExchange();
    }
    // Whoever sends requests ahead may have sent some behind the last.
    if (!m_context.connections.isStopping() && session.hasUnreadInput())
        closeBehindUnreadInput(entry);
}

Connection::Next Connection::serveExchange(Session& session, LivePlace& place)
{
    Response response(session);
    std::unique_ptr<Request> request;
    try {
        request = std::make_unique<Request>(response, session, *m_context.params);
    } catch (const Poco::Exception& failure) {
        session.setKeepAlive(false);
        const std::optional<RequestError> error = explain(failure, session.networkException());
        if (error)
            sendHeadError(session, *error);
        return error ? Next::UNREAD_INPUT : Next::EXCHANGE;
    }
    response.setVersion(HTTPMessage::HTTP_1_1);
    response.setDate(Poco::Timestamp());
    response.setKeepAlive(request->getKeepAlive() && session.canKeepAlive() &&
                          !m_context.connections.isStopping());
    ExchangeHandler handler(*m_context.tree, m_context.options.exchange,
                            [&place] { return place.reserve(); });
    handler.handleRequest(*request, response);
    session.setKeepAlive(response.getKeepAlive());
    if (response.getStatus() == HTTPStatus::HTTP_SWITCHING_PROTOCOLS)
        return Next::WEBSOCKET;
    return request->hasUnreadBody() ? Next::UNREAD_INPUT : Next::EXCHANGE;
}

/// The socket is shared, so that it stays open when this connection ends.
void Connection::handOver(Session& session, LivePlace& place)
{
    Poco::Buffer<char> received(0);
    session.drainBuffer(received);
    place.open(socket(), {received.begin(), received.end()});
}

/// To close a connection on which input is unread resets it, and the reset may overtake the answer. So the
/// client is told that nothing more comes, and what it still sends is taken for a while.
void Connection::closeBehindUnreadInput(OpenConnections::Entry& entry)
{
    static constexpr std::chrono::seconds PATIENCE{1};
    static constexpr int MAX_BYTES = 4 * 1024 * 1024;
    socket().shutdownSend();
    Poco::AutoPtr<DeadlineSocket> input(new DeadlineSocket(socket().impl(), entry, PATIENCE, PATIENCE));
    std::array<char, 16 * 1024> bytes{};
    int left = MAX_BYTES;
    for (int count = 1; count > 0 && left > 0; left -= count)
        count = input->receiveBytes(bytes.data(), static_cast<int>(bytes.size()), 0);
}

} // namespace Zovi::ServiceKit
