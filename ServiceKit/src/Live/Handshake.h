#pragma once

#include <Poco/Net/HTTPServerRequest.h>
#include <Poco/Net/HTTPServerResponse.h>

namespace Zovi::ServiceKit
{

/// Whether the client wants the connection to become a WebSocket.
bool asksForWebSocket(const Poco::Net::HTTPServerRequest& request);

/// Throws `RequestError` if a request that asks for a WebSocket is no whole and correct handshake: status
/// 426 if it is one of another version, 400 for all else.
void checkHandshake(const Poco::Net::HTTPServerRequest& request);

/// Makes `response` the one that completes the handshake. No extension and no subprotocol is taken up.
void acceptHandshake(const Poco::Net::HTTPServerRequest& request, Poco::Net::HTTPServerResponse& response);

/// Tells in the headers of an error answer which protocol is spoken here.
void tellHandshake(Poco::Net::HTTPServerResponse& response);

} // namespace Zovi::ServiceKit
