#pragma once

#include "Command/HttpResponse.h"
#include "ServiceKit/ServiceTree.h"

#include <Poco/Net/HTTPRequestHandler.h>
#include <Poco/Net/HTTPServerRequest.h>
#include <Poco/Net/HTTPServerResponse.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace Zovi::ServiceKit
{

/// What an exchange accepts.
struct ExchangeOptions {
    /// Longest URL of a request in bytes; a longer one is refused with 414.
    std::size_t maxUrlLength = 8 * 1024;

    /// Most parameters of a query and entries of their lists, counted together: `$sortby=a,b` counts two. A
    /// query with more is refused with 400, since each of them costs work on every element.
    std::size_t maxQueryEntries = 100;

    /// Longest body in bytes, as it comes and after its content coding is undone; a longer one is refused
    /// with 413.
    std::uint64_t maxBodyLength = 1024 * 1024;

    /// Host names, without a port, under which the service is known beside "localhost" and the numeric
    /// address that the client has connected to. A request for any other host is refused with 421: a page of
    /// a stranger cannot reach the service by a name that it lets point here. Case does not count.
    std::vector<std::string> hostNames;

    /// Origins beside the service's own whose pages may write and open WebSockets, as a browser tells them:
    /// "https://panel.example". A write or a WebSocket from any other origin is refused with 403.
    std::vector<std::string> origins;
};

/// Walks one HTTP exchange from the request to its answer; whatever goes wrong, the answer is a response
/// document.
///
/// | Status | When |
/// | --- | --- |
/// | 101 | a WebSocket is opened |
/// | 304 | a GET or HEAD whose "If-None-Match" names what would be answered; the tag, and no body |
/// | 400 | no usable "Host", a malformed message, URL, query or body |
/// | 403 | a write, or a WebSocket, from a foreign "Origin" |
/// | 404 | a malformed address, or nothing there |
/// | 405 | a known method that the address does not support; "Allow" tells which it does |
/// | 408 | the request did not arrive in time |
/// | 411 | a body without a length and without chunks |
/// | 413, 414 | a body, a URL over its limit |
/// | 415 | an unknown content coding |
/// | 421 | a "Host" of somebody else |
/// | 426 | a WebSocket of another version |
/// | 500 | an exception, which is logged and not told |
/// | 501 | an unknown method or transfer coding |
/// | 503 | no more WebSockets are taken |
/// | 505 | a version of the protocol other than 1.0 and 1.1 |
///
/// A file goes out with a policy that keeps a page to what this service itself offers: no inline script or
/// style, no foreign origin, no frame around it.
///
/// What a GET or HEAD is answered by with status 200 has an "ETag": the same for the same data, whatever the
/// timestamp of the document and the content coding are.
///
/// A handler serves one exchange. When a body is left unread, the connection is closed behind the answer,
/// since the rest of the body would be taken for the next request.
///
/// A WebSocket may be opened on any address of the tree. Behind the answer 101 the connection is the matter
/// of whoever has called the handler.
class ExchangeHandler : public Poco::Net::HTTPRequestHandler
{
public:
    /// Says whether one more WebSocket is taken.
    using WebSocketGate = std::function<bool()>;

    /// Both must outlive the handler. Without a gate a request for a WebSocket is answered as any other.
    ExchangeHandler(const ServiceTree& tree, const ExchangeOptions& options, WebSocketGate gate = {});

    /// Never throws on account of the request or the tree. What the connection throws while the answer is
    /// being sent goes to the caller.
    void handleRequest(Poco::Net::HTTPServerRequest& request,
                       Poco::Net::HTTPServerResponse& response) override;

private:
    Command::HttpResponse answerOrRefuse(Poco::Net::HTTPServerRequest& request,
                                         Poco::Net::HTTPServerResponse& response);
    Command::HttpResponse answer(Poco::Net::HTTPServerRequest& request,
                                 Poco::Net::HTTPServerResponse& response);
    void checkMethod(const Command::UrlPath& path, MethodSet::Method method) const;
    Command::HttpResponse openWebSocket(const Poco::Net::HTTPServerRequest& request) const;
    Command::HttpResponse fulfil(const Command::HttpRequest& request) const;

    const ServiceTree& m_tree;
    const ExchangeOptions& m_options;
    WebSocketGate m_gate;
    bool m_hasUnreadBody = true;
};

} // namespace Zovi::ServiceKit
