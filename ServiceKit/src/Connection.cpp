#include "Connection.h"

#include "Command/HttpResponse.h"
#include "DeadlineSocket.h"
#include "Logging/LogStream.h"
#include "MessageBody.h"
#include "RequestChecks.h"
#include "ServiceKit/RequestError.h"
#include "ServiceKit/Text.h"

#include <Poco/Buffer.h>
#include <Poco/Exception.h>
#include <Poco/Net/HTTPRequestHandler.h>
#include <Poco/Net/HTTPServerRequestImpl.h>
#include <Poco/Net/HTTPServerResponseImpl.h>
#include <Poco/Net/NetException.h>
#include <Poco/Timestamp.h>

#include <array>
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

private:
    class Input : public std::streambuf
    {
    public:
        explicit Input(Session& session)
            : m_session(session)
        {
        }

    protected:
        int_type underflow() override { return m_session.peek(); }
        int_type uflow() override { return m_session.get(); }
        std::streamsize xsgetn(char* buffer, std::streamsize length) override
        {
            return m_session.read(buffer, length);
        }

    private:
        Session& m_session;
    };

    Input m_input{*this};
};

/// A request whose body is read strictly, and whose client is told to go on only when its body is wanted.
class Connection::Request : public Poco::Net::HTTPServerRequestImpl
{
public:
    /// Reads the head from `session`.
    Request(HTTPServerResponseImpl& response, Session& session, Poco::Net::HTTPServerParams* params)
        : HTTPServerRequestImpl(response, session, params)
        , m_chunks(session.input())
        , m_bytes(session.input(), declaredLength())
        , m_stream(&m_bytes)
    {
        if (getChunkedTransferEncoding())
            m_stream.rdbuf(&m_chunks);
    }

    std::istream& stream() override
    {
        if (getExpectContinue() && !m_isContinued)
            response().sendContinue();
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
    /// Without a length there is no body: one that lasts until the connection ends is not accepted.
    std::uint64_t declaredLength() const
    {
        const Poco::Int64 length = getContentLength64();
        return length > 0 ? static_cast<std::uint64_t>(length) : 0;
    }

    ChunkedBody m_chunks;
    FixedLengthBody m_bytes;
    std::istream m_stream;
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
    while (!m_context.connections.isStopping() && session.hasMoreRequests()) {
        deadline->beginExchange();
        const Next next = serveExchange(session);
        // Streams keep to themselves that an answer went out in part, or not at all.
        if (session.networkException())
            return;
        if (next != Next::EXCHANGE)
            return next == Next::WEBSOCKET ? handOver(session) : closeBehindUnreadInput(entry);
        entry.beginExchange();
    }
}

Connection::Next Connection::serveExchange(Session& session)
{
    HTTPServerResponseImpl response(session);
    std::unique_ptr<Request> request;
    try {
        request = std::make_unique<Request>(response, session, m_context.params.get());
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
    const std::unique_ptr<Poco::Net::HTTPRequestHandler> handler(
        m_context.handlers->createRequestHandler(*request));
    handler->handleRequest(*request, response);
    session.setKeepAlive(response.getKeepAlive());
    if (response.getStatus() == HTTPStatus::HTTP_SWITCHING_PROTOCOLS)
        return Next::WEBSOCKET;
    return request->hasUnreadBody() ? Next::UNREAD_INPUT : Next::EXCHANGE;
}

/// The socket is shared, so that it stays open when this connection ends.
void Connection::handOver(Session& session)
{
    Poco::Buffer<char> received(0);
    session.drainBuffer(received);
    m_context.webSockets.take(socket(), {received.begin(), received.end()});
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
