#include "Live/SubscriptionCheck.h"

#include "Command/HttpResponse.h"
#include "Command/WebSocketResponseObject.h"
#include "QueryFault.h"
#include "RequestChecks.h"
#include "ServiceKit/RequestError.h"
#include "ServiceKit/Text.h"

#include <Poco/Exception.h>
#include <Poco/RegularExpression.h>

#include <algorithm>
#include <chrono>

namespace Zovi::ServiceKit
{

namespace
{

using Command::HTTPStatus;
using Command::RequestBase;
using Command::UrlPath;
using Command::WebSocketRequestObject;
using Command::WebSocketResponseObject;
using Milliseconds = std::chrono::milliseconds;

std::string refusal(const WebSocketRequestObject& request, int code, const std::string& message)
{
    return WebSocketResponseObject(request, static_cast<Poco::UInt16>(code), message).toJsonString();
}

/// `reason` goes to the log alone.
std::string refusal(const WebSocketRequestObject& request, WebSocketResponseObject::RequestError error,
                    const std::string& reason)
{
    return WebSocketResponseObject(request, error, " (" + reason + ")").toJsonString();
}

/// Quotes the event as it came: its path alone would not show what else is wrong.
std::string refuseEvent(const WebSocketRequestObject& request, const std::string& reason)
{
    const auto event = request.getJson()->getValue<std::string>(WebSocketRequestObject::FIELD_EVENT);
    return refusal(request, Command::StatusObject::subscription_uri_invalid, reason + ": " + inQuotes(event));
}

std::string refuseQuery(const WebSocketRequestObject& request)
{
    return refusal(request, Command::StatusObject::syntax_error, describeQueryFault(request.getEvent()));
}

/// A query that cannot be read leaves nothing but an invalid message: what was wrong shows when it is read
/// again.
std::string refuseUnreadable(const WebSocketRequestObject& request)
{
    try {
        const RequestBase event(request.getEvent());
    } catch (const Poco::RegularExpressionException&) {
        return refuseQuery(request);
    } catch (const Poco::Exception&) {
        return refusal(request, Command::StatusObject::syntax_error,
                       "malformed query: " + inQuotes(request.getEvent().getRawQuery()));
    }
    return refusal(request, WebSocketResponseObject::badData, "a key is missing or of the wrong type");
}

/// What keeps an event from being a path and a query; nothing if it is that.
std::optional<std::string> faultOf(const Poco::URI& event)
{
    const std::string& path = event.getPath();
    if (!event.isRelative() || !event.getAuthority().empty())
        return "an event has neither scheme nor host";
    if (!event.getFragment().empty())
        return "an event has no fragment";
    if (path.empty() || path.front() != '/')
        return "an event begins with a slash";
    return std::nullopt;
}

UrlPath addressOf(const Poco::URI& event)
{
    Poco::URI address;
    address.setPath(event.getPath());
    return UrlPath(address);
}

bool isElement(const UrlPath& address)
{
    return address.getCharacteristic() == UrlPath::SERVICE_RESOURCE_ELEMENT;
}

bool expands(const RequestBase& request)
{
    return request.hasExpandCriteria() || request.hasPropertyExpandCriteria();
}

/// Elements may be expanded as far as any request may ask; on all else stands level 0 or nothing.
bool mayExpand(const UrlPath& address, const std::string& value)
{
    Poco::URI uri = address.getUri();
    uri.addQueryParameter(UrlPath::QUERY_EXPAND, value);
    const RequestBase alone(uri);
    if (!alone.getUrlPath().isValid())
        return false;
    return isElement(address) || (!alone.hasPropertyExpandCriteria() && alone.getExpansionLevel() == 0);
}

bool hasBadExpansion(const WebSocketRequestObject& request, const UrlPath& address)
{
    const std::vector<std::string> values = request.getUrlPath().getQueryParameters(UrlPath::QUERY_EXPAND);
    return !address.isReservedKeyword() &&
           !std::all_of(values.begin(), values.end(),
                        [&address](const std::string& value) { return mayExpand(address, value); });
}

} // namespace

std::optional<std::string> refuseMessage(const WebSocketRequestObject& request)
{
    if (!request.getJson())
        return refusal(request, WebSocketResponseObject::noData, "not a JSON object with members");
    if (!request.isValid())
        return refuseUnreadable(request);
    const bool hasNegativeTime = request.getInterval() < 0 || request.getUpdateLimit() < 0;
    if (hasNegativeTime)
        return refusal(request, WebSocketResponseObject::badData, "a time is negative");
    return std::nullopt;
}

std::optional<std::string> refuseSubscription(const WebSocketRequestObject& request, const ServiceTree& tree,
                                              const ExchangeOptions& options)
{
    const Poco::URI& event = request.getEvent();
    if (event.toString().size() > options.maxUrlLength)
        return refusal(request, HTTPStatus::HTTP_REQUEST_URI_TOO_LONG,
                       "an event may have " + std::to_string(options.maxUrlLength) + " bytes at most");
    if (const std::optional<std::string> fault = faultOf(event))
        return refuseEvent(request, *fault);
    const UrlPath address = addressOf(event);
    if (!address.isValid() || isStaticFile(address))
        return refuseEvent(request, "not an address of a service, resource or element");
    try {
        checkQuerySize(request.getUrlPath(), options.maxQueryEntries);
        tree.methodsAt(address);
    } catch (const RequestError& error) {
        return refusal(request, error.status(), error.what());
    }
    if (hasBadExpansion(request, address))
        return refusal(request, WebSocketResponseObject::invalideSubscriptionExpansionLevel,
                       event.toString());
    if (!request.getUrlPath().isValid())
        return refuseQuery(request);
    return std::nullopt;
}

SubscriptionTerms termsOf(const WebSocketRequestObject& request, const LiveOptions& options)
{
    static constexpr Milliseconds YEAR = std::chrono::hours(24 * 365);
    const Milliseconds limit = std::min(Milliseconds(request.getUpdateLimit()), YEAR);
    const Milliseconds interval = std::min(Milliseconds(request.getInterval()), YEAR);
    if (interval.count() == 0)
        return {interval, limit};
    return {std::max({interval, limit, options.shortestInterval}), limit};
}

ChangeSource changeSourceOf(const WebSocketRequestObject& request, const ServiceTree& tree)
{
    const UrlPath& path = request.getUrlPath();
    if (UrlPath::getCharacteristicLevel(path.getCharacteristic()) < 2 || isAccessRights(path))
        return {};
    const Resource& resource = tree.resourceAt(path);
    if (!resource.tellsOfChanges())
        return {};
    // What is expanded may belong to another resource.
    return {&resource, expands(request)};
}

} // namespace Zovi::ServiceKit
