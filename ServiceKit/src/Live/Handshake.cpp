#include "Live/Handshake.h"

#include "RequestChecks.h"
#include "ServiceKit/RequestError.h"
#include "ServiceKit/Text.h"

#include <Poco/Ascii.h>
#include <Poco/Base64Encoder.h>
#include <Poco/Net/HTTPRequest.h>
#include <Poco/SHA1Engine.h>
#include <Poco/String.h>
#include <Poco/StringTokenizer.h>

#include <algorithm>
#include <sstream>
#include <string_view>
#include <vector>

namespace Zovi::ServiceKit
{

namespace
{

using Command::HTTPStatus;
using Poco::Net::HTTPRequest;
using Poco::Net::HTTPServerRequest;

const std::string PROTOCOL = "websocket";
const std::string VERSION = "13";
const std::string HEADER_UPGRADE = "Upgrade";
const std::string HEADER_VERSION = "Sec-WebSocket-Version";
const std::string HEADER_KEY = "Sec-WebSocket-Key";
const std::string HEADER_ACCEPT = "Sec-WebSocket-Accept";

/// Goes into the answer together with the client's key: only a server that knows the protocol knows it.
const std::string PROTOCOL_ID = "258EAFA5-E914-47DA-95CA-C5AB0DC85B11";

[[noreturn]] void refuse(const std::string& message)
{
    throw RequestError(HTTPStatus::HTTP_BAD_REQUEST, "no WebSocket: " + message);
}

bool hasToken(const HTTPServerRequest& request, const std::string& header, const std::string& token)
{
    for (const std::string& value : valuesOf(request, header)) {
        const Poco::StringTokenizer tokens(value, ",", Poco::StringTokenizer::TOK_TRIM);
        if (std::any_of(tokens.begin(), tokens.end(),
                        [&token](const std::string& other) { return Poco::icompare(other, token) == 0; }))
            return true;
    }
    return false;
}

std::string onlyValueOf(const HTTPServerRequest& request, const std::string& header)
{
    const std::vector<std::string> values = valuesOf(request, header);
    if (values.size() != 1)
        refuse(values.empty() ? "the header " + header + " is missing"
                              : "there is more than one header " + header);
    return values.front();
}

/// Sixteen bytes in Base64.
bool isKey(std::string_view text)
{
    static constexpr std::size_t DIGITS = 22;
    static constexpr std::string_view PADDING = "==";
    const std::string_view digits = text.substr(0, DIGITS);
    return text.size() == DIGITS + PADDING.size() && text.substr(DIGITS) == PADDING &&
           std::all_of(digits.begin(), digits.end(), [](char character) {
               return Poco::Ascii::isAlphaNumeric(static_cast<unsigned char>(character)) ||
                      character == '+' || character == '/';
           });
}

std::string answerTo(const std::string& key)
{
    Poco::SHA1Engine engine;
    engine.update(key + PROTOCOL_ID);
    const Poco::DigestEngine::Digest& digest = engine.digest();
    std::ostringstream text;
    Poco::Base64Encoder encoder(text);
    // A stream keeps to itself that it has run out of memory; a part of the answer would pass for it.
    encoder.exceptions(std::ios::badbit);
    encoder.write(reinterpret_cast<const char*>(digest.data()), static_cast<std::streamsize>(digest.size()));
    encoder.close();
    return text.str();
}

} // namespace

bool asksForWebSocket(const HTTPServerRequest& request)
{
    return hasToken(request, HEADER_UPGRADE, PROTOCOL);
}

void checkHandshake(const HTTPServerRequest& request)
{
    if (request.getMethod() != HTTPRequest::HTTP_GET)
        refuse("the method is " + inQuotes(request.getMethod()) + " in place of GET");
    if (request.getVersion() != HTTPRequest::HTTP_1_1)
        refuse("it needs HTTP/1.1");
    if (mayHaveBody(request))
        refuse("the request has a body");
    if (!hasToken(request, HTTPRequest::CONNECTION, "upgrade"))
        refuse("the header Connection does not say 'Upgrade'");
    const std::string version = onlyValueOf(request, HEADER_VERSION);
    if (version != VERSION)
        throw RequestError(HTTPStatus::HTTP_UPGRADE_REQUIRED,
                           "WebSockets of version " + inQuotes(version) + " are not spoken here");
    const std::string key = onlyValueOf(request, HEADER_KEY);
    if (!isKey(key))
        refuse(HEADER_KEY + " is " + inQuotes(key));
}

void acceptHandshake(const HTTPServerRequest& request, Poco::Net::HTTPServerResponse& response)
{
    response.setStatusAndReason(HTTPStatus::HTTP_SWITCHING_PROTOCOLS);
    response.set(HEADER_UPGRADE, PROTOCOL);
    response.set(HTTPRequest::CONNECTION, "Upgrade");
    response.set(HEADER_ACCEPT, answerTo(request.get(HEADER_KEY)));
}

void tellHandshake(Poco::Net::HTTPServerResponse& response)
{
    // Beside what the header says of the connection's end.
    response.add(HTTPRequest::CONNECTION, "Upgrade");
    response.set(HEADER_UPGRADE, PROTOCOL);
    response.set(HEADER_VERSION, VERSION);
}

} // namespace Zovi::ServiceKit
