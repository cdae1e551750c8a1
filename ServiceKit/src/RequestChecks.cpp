#include "RequestChecks.h"

#include "Live/Handshake.h"
#include "OwnHosts.h"
#include "ServiceKit/RequestError.h"
#include "ServiceKit/Text.h"

#include <Poco/Ascii.h>
#include <Poco/Net/HTTPRequest.h>
#include <Poco/NumberParser.h>
#include <Poco/String.h>
#include <Poco/URI.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Zovi::ServiceKit
{

namespace
{

using Command::HTTPStatus;
using Command::UrlPath;
using Poco::Net::HTTPMessage;
using Poco::Net::HTTPRequest;
using Poco::Net::HTTPServerRequest;

const std::string HEADER_ORIGIN = "Origin";

[[noreturn]] void refuse(HTTPStatus status, const std::string& message)
{
    throw RequestError(status, message);
}

bool isTokenCharacter(char character)
{
    static const std::string_view MARKS = "!#$%&'*+-.^_`|~";
    return Poco::Ascii::isAlphaNumeric(static_cast<unsigned char>(character)) ||
           MARKS.find(character) != std::string_view::npos;
}

bool isToken(const std::string& text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), isTokenCharacter);
}

bool isNumber(const std::string& text)
{
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return Poco::Ascii::isDigit(c); });
}

void checkTransferEncoding(const HTTPServerRequest& request)
{
    const std::vector<std::string> codings = valuesOf(request, HTTPMessage::TRANSFER_ENCODING);
    if (codings.empty())
        return;
    if (codings.size() > 1 || Poco::icompare(codings.front(), HTTPMessage::CHUNKED_TRANSFER_ENCODING) != 0)
        refuse(HTTPStatus::HTTP_NOT_IMPLEMENTED, "the only known transfer coding is chunked");
    if (request.has(HTTPMessage::CONTENT_LENGTH))
        refuse(HTTPStatus::HTTP_BAD_REQUEST, "Content-Length and Transfer-Encoding exclude each other");
    if (request.getVersion() == HTTPMessage::HTTP_1_0)
        refuse(HTTPStatus::HTTP_BAD_REQUEST, "HTTP/1.0 has no Transfer-Encoding");
}

void checkContentLength(const HTTPServerRequest& request)
{
    const std::vector<std::string> lengths = valuesOf(request, HTTPMessage::CONTENT_LENGTH);
    for (const std::string& length : lengths) {
        if (!isNumber(length))
            refuse(HTTPStatus::HTTP_BAD_REQUEST, "malformed Content-Length: " + inQuotes(length));
    }
    if (lengths.size() > 1)
        refuse(HTTPStatus::HTTP_BAD_REQUEST, "there is more than one Content-Length");
}

bool writes(const std::string& method)
{
    return method == HTTPRequest::HTTP_POST || method == HTTPRequest::HTTP_PUT ||
           method == HTTPRequest::HTTP_DELETE;
}

void requireOwnHost(const std::string& authority, const HTTPServerRequest& request,
                    const ExchangeOptions& options)
{
    const std::optional<std::string> host = hostOf(authority);
    if (!host)
        refuse(HTTPStatus::HTTP_BAD_REQUEST, "malformed host: " + inQuotes(authority));
    if (!isOwnHost(*host, options.hostNames, request.serverAddress().host()))
        refuse(HTTPStatus::HTTP_MISDIRECTED_REQUEST, "this service is not the host " + inQuotes(*host));
}

Poco::URI parseUrl(const std::string& url)
{
    const bool isAbsolute = Poco::icompare(url, 0, 7, "http://") == 0;
    if (!isAbsolute && (url.empty() || url.front() != '/'))
        refuse(HTTPStatus::HTTP_BAD_REQUEST, "malformed URL, it must begin with '/': " + inQuotes(url));
    try {
        return Poco::URI(url);
    } catch (const Poco::Exception& failure) {
        refuse(HTTPStatus::HTTP_BAD_REQUEST, "malformed URL: " + inQuotes(url));
    }
}

UrlPath parseAddress(const Poco::URI& uri)
{
    try {
        return UrlPath(uri);
    } catch (const Poco::Exception& failure) {
        refuse(HTTPStatus::HTTP_BAD_REQUEST, "malformed query: " + inQuotes(uri.getRawQuery()));
    }
}

} // namespace

std::vector<std::string> valuesOf(const HTTPServerRequest& request, const std::string& name)
{
    std::vector<std::string> values;
    for (const auto& [header, value] : request) {
        if (Poco::icompare(header, name) == 0)
            values.push_back(value);
    }
    return values;
}

bool mayHaveBody(const HTTPServerRequest& request)
{
    if (request.has(HTTPMessage::TRANSFER_ENCODING))
        return true;
    if (request.has(HTTPMessage::CONTENT_LENGTH))
        return request.get(HTTPMessage::CONTENT_LENGTH) != "0";
    const std::string& method = request.getMethod();
    return method != HTTPRequest::HTTP_GET && method != HTTPRequest::HTTP_HEAD &&
           method != HTTPRequest::HTTP_DELETE;
}

void checkHead(const HTTPServerRequest& request)
{
    const std::string& version = request.getVersion();
    if (version != HTTPMessage::HTTP_1_1 && version != HTTPMessage::HTTP_1_0)
        refuse(HTTPStatus::HTTP_VERSION_NOT_SUPPORTED, "unknown protocol version: " + inQuotes(version));
    for (const auto& header : request) {
        if (!isToken(header.first))
            refuse(HTTPStatus::HTTP_BAD_REQUEST, "malformed header name: " + inQuotes(header.first));
    }
    checkTransferEncoding(request);
    checkContentLength(request);
}

void checkHost(const HTTPServerRequest& request, const ExchangeOptions& options)
{
    const std::vector<std::string> hosts = valuesOf(request, HTTPRequest::HOST);
    if (hosts.empty() && request.getVersion() == HTTPMessage::HTTP_1_0)
        return;
    if (hosts.size() != 1)
        refuse(HTTPStatus::HTTP_BAD_REQUEST,
               hosts.empty() ? "the Host header is missing" : "there is more than one Host header");
    requireOwnHost(hosts.front(), request, options);
}

void checkOrigin(const HTTPServerRequest& request, const ExchangeOptions& options)
{
    const bool isWebSocket = asksForWebSocket(request);
    if (!isWebSocket && !writes(request.getMethod()))
        return;
    for (const std::string& origin : valuesOf(request, HEADER_ORIGIN)) {
        if (!isOwnOrigin(origin, request.get(HTTPRequest::HOST, ""), options.origins))
            refuse(HTTPStatus::HTTP_FORBIDDEN,
                   "pages of " + inQuotes(origin) +
                       (isWebSocket ? " may not open WebSockets here" : " may not write here"));
    }
}

void checkBodyLength(const HTTPServerRequest& request, const ExchangeOptions& options)
{
    if (request.getChunkedTransferEncoding())
        return;
    if (!request.has(HTTPMessage::CONTENT_LENGTH)) {
        if (request.getMethod() == HTTPRequest::HTTP_POST || request.getMethod() == HTTPRequest::HTTP_PUT)
            refuse(HTTPStatus::HTTP_LENGTH_REQUIRED, "a body needs a Content-Length or chunks");
        return;
    }
    Poco::UInt64 length = 0;
    const bool isSmall =
        Poco::NumberParser::tryParseUnsigned64(request.get(HTTPMessage::CONTENT_LENGTH), length);
    if (!isSmall || length > options.maxBodyLength)
        refuse(HTTPStatus::HTTP_REQUEST_ENTITY_TOO_LARGE,
               "a body may have " + std::to_string(options.maxBodyLength) + " bytes at most");
}

UrlPath checkAddress(const HTTPServerRequest& request, const ExchangeOptions& options)
{
    const std::string& url = request.getURI();
    if (url.size() > options.maxUrlLength)
        refuse(HTTPStatus::HTTP_REQUEST_URI_TOO_LONG,
               "a URL may have " + std::to_string(options.maxUrlLength) + " bytes at most");
    const Poco::URI uri = parseUrl(url);
    if (!uri.isRelative())
        requireOwnHost(uri.getAuthority(), request, options);
    UrlPath path = parseAddress(uri);
    if (!path.isValid())
        refuse(HTTPStatus::HTTP_NOT_FOUND,
               "not an address of a service, resource or element: " + inQuotes(path.getUri().getPath()));
    checkQuerySize(path, options.maxQueryEntries);
    return path;
}

void checkQuerySize(const UrlPath& path, std::size_t maxEntries)
{
    std::size_t sum = 0;
    for (const auto& [key, value] : path.getQueryParameters()) {
        sum += 1 + static_cast<std::size_t>(std::count(value.begin(), value.end(), ','));
        if (sum > maxEntries)
            refuse(HTTPStatus::HTTP_BAD_REQUEST,
                   "parameter " + inQuotes(key) + " is too long or one too many: a query may have " +
                       std::to_string(maxEntries) + " parameters and entries of their lists at most");
    }
}

} // namespace Zovi::ServiceKit
