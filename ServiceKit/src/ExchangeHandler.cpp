#include "ServiceKit/ExchangeHandler.h"

#include "Command/HttpRequest.h"
#include "HTTPEncoderDecoder.h"
#include "Http/ZoviHttpCacheHandler.h"
#include "Live/Handshake.h"
#include "Logging/LogStream.h"
#include "QueryFault.h"
#include "RequestChecks.h"
#include "ServiceKit/RequestError.h"
#include "ServiceKit/Text.h"
#include "ServiceKit/TreeReader.h"

#include <Poco/Exception.h>
#include <Poco/Net/HTTPRequest.h>
#include <Poco/Net/NetException.h>
#include <Poco/RegularExpression.h>

#include <exception>
#include <memory>
#include <sstream>
#include <utility>

namespace Zovi::ServiceKit
{

namespace
{

using Command::HttpRequest;
using Command::HttpResponse;
using Command::HTTPStatus;
using Command::UrlPath;
using Poco::Net::HTTPRequest;
using Poco::Net::HTTPServerRequest;
using Poco::Net::HTTPServerResponse;

MethodSet::Method methodOf(const HTTPServerRequest& request)
{
    static const std::pair<std::string, MethodSet::Method> METHODS[] = {
        {HTTPRequest::HTTP_GET, MethodSet::Method::GET},
        {HTTPRequest::HTTP_HEAD, MethodSet::Method::HEAD},
        {HTTPRequest::HTTP_POST, MethodSet::Method::POST},
        {HTTPRequest::HTTP_PUT, MethodSet::Method::PUT},
        {HTTPRequest::HTTP_DELETE, MethodSet::Method::DELETE},
    };
    for (const auto& [name, method] : METHODS) {
        if (request.getMethod() == name)
            return method;
    }
    throw RequestError(HTTPStatus::HTTP_NOT_IMPLEMENTED, "unknown method " + inQuotes(request.getMethod()));
}

/// Turns what the constructor of the request throws, which is about the body or a criterion, into a refusal.
std::unique_ptr<HttpRequest> readRequest(HTTPServerRequest& request, Net::HTTPEncoderDecoder& decoder)
{
    try {
        return std::make_unique<HttpRequest>(request, decoder);
    } catch (const Poco::NotImplementedException&) {
        throw RequestError(HTTPStatus::HTTP_UNSUPPORTED_MEDIA_TYPE,
                           "unknown content coding " + inQuotes(request.get("Content-Encoding", "")));
    } catch (const Net::ContentTooLargeException& failure) {
        throw RequestError(HTTPStatus::HTTP_REQUEST_ENTITY_TOO_LARGE, failure.message());
    } catch (const Poco::TimeoutException&) {
        throw RequestError(HTTPStatus::HTTP_REQUEST_TIMEOUT, "the body did not arrive in time");
    } catch (const Poco::RegularExpressionException&) {
        throw RequestError(HTTPStatus::HTTP_BAD_REQUEST, describeQueryFault(Poco::URI(request.getURI())));
    } catch (const Poco::DataFormatException& failure) {
        throw RequestError(HTTPStatus::HTTP_BAD_REQUEST, "damaged body: " + failure.message());
    } catch (const Poco::Net::MessageException& failure) {
        throw RequestError(HTTPStatus::HTTP_BAD_REQUEST, "damaged body: " + failure.message());
    } catch (const Poco::Net::NetException&) {
        // Nobody hears this, and it is no failure of the service's to be logged.
        throw RequestError(HTTPStatus::HTTP_BAD_REQUEST, "damaged body: the client has left");
    }
}

void checkQuery(const HttpRequest& request)
{
    if (!request.getUrlPath().isValid())
        throw RequestError(HTTPStatus::HTTP_BAD_REQUEST, describeQueryFault(request.getUri()));
}

/// A page may use what comes from this service, and nothing else; nobody may put it into a frame.
void restrictPage(HTTPServerResponse& response)
{
    response.set("Content-Security-Policy",
                 "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; "
                 "img-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'");
    response.set("Referrer-Policy", "no-referrer");
    // Files change with the program, so that a copy is good for as long as the service says so.
    response.set("Cache-Control", "no-cache");
}

HttpResponse answerFile(const StaticFile& file, HTTPServerResponse& response)
{
    restrictPage(response);
    HttpResponse answer(HTTPStatus::HTTP_OK);
    answer.setDataFromText(file.content, file.mediaType);
    return answer;
}

HttpResponse internalError(const HTTPServerRequest& request, const std::string& reason)
{
    ZOVI_LOG_ERROR("Request failed: " << request.getMethod() << " " << request.getURI() << ": " << reason);
    return HttpResponse::createError(HTTPStatus::HTTP_INTERNAL_SERVER_ERROR, "");
}

/// Called inside a handler of an exception that nobody foresaw.
HttpResponse describeUnforeseen(const HTTPServerRequest& request)
{
    try {
        throw;
    } catch (const Poco::Exception& failure) {
        return internalError(request, failure.displayText());
    } catch (const std::exception& failure) {
        return internalError(request, failure.what());
    } catch (...) {
        return internalError(request, "unknown exception");
    }
}

void send(const HttpResponse& answer, const HTTPServerRequest& request, HTTPServerResponse& response)
{
    Net::HTTPEncoderDecoder coder(request, response);
    answer.send(response, coder, request.getMethod() == HTTPRequest::HTTP_HEAD);
}

bool isRead(const HTTPServerRequest& request)
{
    return request.getMethod() == HTTPRequest::HTTP_GET || request.getMethod() == HTTPRequest::HTTP_HEAD;
}

/// Whether the client holds what `answer` says. What may be held gets its tag in either case.
bool isHeldByClient(const HttpResponse& answer, const HTTPServerRequest& request,
                    HTTPServerResponse& response)
{
    if (!isRead(request) || answer.getStatus() != HTTPStatus::HTTP_OK || !answer.hasContent())
        return false;
    return Net::ZoviHttpCacheHandler().handleRequest(request, response, answer) ==
           Net::ZoviHttpCacheHandler::CONTENT_UNCHANGED;
}

/// The headers by which the client knows its copy again, and no length: that of nothing would be taken for
/// the length of the copy.
void sendNotModified(const HTTPServerRequest& request, HTTPServerResponse& response)
{
    response.setStatusAndReason(HTTPStatus::HTTP_NOT_MODIFIED);
    std::ostringstream noBody;
    Net::HTTPEncoderDecoder(request, response).getOutputStream(noBody);
    response.send();
}

/// The head alone: what follows on the connection is no HTTP any more.
void sendHandshake(const HTTPServerRequest& request, HTTPServerResponse& response)
{
    acceptHandshake(request, response);
    response.send().flush();
}

/// A document that cannot be printed is found out only now.
void sendOrReport(const HttpResponse& answer, const HTTPServerRequest& request, HTTPServerResponse& response)
{
    try {
        if (isHeldByClient(answer, request, response))
            sendNotModified(request, response);
        else
            send(answer, request, response);
    } catch (...) {
        if (response.sent())
            throw;
        for (const char* header : {"Content-Encoding", "ETag", "Location"})
            response.erase(header);
        send(describeUnforeseen(request), request, response);
    }
}

} // namespace

ExchangeHandler::ExchangeHandler(const ServiceTree& tree, const ExchangeOptions& options, WebSocketGate gate)
    : m_tree(tree)
    , m_options(options)
    , m_gate(std::move(gate))
{
}

void ExchangeHandler::handleRequest(HTTPServerRequest& request, HTTPServerResponse& response)
{
    response.set("X-Content-Type-Options", "nosniff");
    const HttpResponse answer = answerOrRefuse(request, response);
    if (m_hasUnreadBody)
        response.setKeepAlive(false);
    if (answer.getStatus() == HTTPStatus::HTTP_SWITCHING_PROTOCOLS)
        sendHandshake(request, response);
    else
        sendOrReport(answer, request, response);
}

HttpResponse ExchangeHandler::answerOrRefuse(HTTPServerRequest& request, HTTPServerResponse& response)
{
    try {
        return answer(request, response);
    } catch (const MethodNotAllowed& refusal) {
        response.set("Allow", refusal.allowed());
        return refusal.toResponse();
    } catch (const RequestError& refusal) {
        if (refusal.status() == HTTPStatus::HTTP_UPGRADE_REQUIRED)
            tellHandshake(response);
        return refusal.toResponse();
    } catch (...) {
        return describeUnforeseen(request);
    }
}

HttpResponse ExchangeHandler::answer(HTTPServerRequest& request, HTTPServerResponse& response)
{
    checkHead(request);
    m_hasUnreadBody = mayHaveBody(request);
    checkHost(request, m_options);
    const MethodSet::Method method = methodOf(request);
    checkOrigin(request, m_options);
    checkMethod(checkAddress(request, m_options), method);
    if (m_gate && asksForWebSocket(request))
        return openWebSocket(request);
    checkBodyLength(request, m_options);

    Net::HTTPEncoderDecoder decoder(request, response);
    decoder.setInputLimit(m_options.maxBodyLength);
    const std::unique_ptr<HttpRequest> httpRequest = readRequest(request, decoder);
    m_hasUnreadBody = false;
    checkQuery(*httpRequest);
    if (isStaticFile(httpRequest->getUrlPath()))
        return answerFile(m_tree.fileAt(httpRequest->getUrlPath()), response);
    return fulfil(*httpRequest);
}

void ExchangeHandler::checkMethod(const UrlPath& path, MethodSet::Method method) const
{
    const MethodSet allowed = m_tree.methodsAt(path);
    if (allowed.contains(method))
        return;
    const std::string header = allowed.toHeader();
    throw MethodNotAllowed(inQuotes(path.getUri().getPath()) + " allows only " + header, header);
}

HttpResponse ExchangeHandler::openWebSocket(const HTTPServerRequest& request) const
{
    checkHandshake(request);
    if (!m_gate())
        throw RequestError(HTTPStatus::HTTP_SERVICE_UNAVAILABLE, "no more WebSockets are taken");
    return HttpResponse(HTTPStatus::HTTP_SWITCHING_PROTOCOLS);
}

HttpResponse ExchangeHandler::fulfil(const HttpRequest& request) const
{
    if (MethodSet::readOnly().contains(request.getType()))
        return TreeReader(m_tree).read(request);
    return m_tree.resourceAt(request.getUrlPath()).write(request);
}

} // namespace Zovi::ServiceKit
