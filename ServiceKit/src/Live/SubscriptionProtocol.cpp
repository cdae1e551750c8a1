#include "Live/SubscriptionProtocol.h"

#include "Command/WebSocketResponseObject.h"
#include "Live/SubscriptionCheck.h"

#include <optional>

namespace Zovi::ServiceKit
{

namespace
{

using Command::HTTPStatus;
using Command::WebSocketRequestObject;
using Command::WebSocketResponseObject;
using Messages = SubscriptionProtocol::Messages;

/// Requests for one event that may wait for its evaluation. Each is answered by a message of its own, so that
/// they would fill the queue if a resource takes long.
constexpr std::size_t MAX_OPEN_REQUESTS = 32;

Messages reply(ConnectionId connection, const std::string& text)
{
    return {{connection, makeTextFrame(text), false, {}}};
}

void append(Messages& messages, std::size_t count, ConnectionId connection, const SharedFrame& frame)
{
    messages.insert(messages.end(), count, {connection, frame, false, {}});
}

SharedFrame acknowledge(const WebSocketRequestObject& request)
{
    return makeTextFrame(WebSocketResponseObject(request).toJsonString());
}

SharedFrame tellGone(const WebSocketRequestObject& request)
{
    return makeTextFrame(WebSocketResponseObject(request, Command::StatusObject::gone,
                                                 getDefaultMessage(HTTPStatus::HTTP_GONE))
                             .toJsonString());
}

std::string refuseData(const WebSocketRequestObject& request)
{
    if (!request.getJson()->has(WebSocketRequestObject::FIELD_DATA))
        return WebSocketResponseObject(request, WebSocketResponseObject::noData, " (a data message)")
            .toJsonString();
    return WebSocketResponseObject(request, HTTPStatus::HTTP_METHOD_NOT_ALLOWED,
                                   "data are taken over HTTP alone")
        .toJsonString();
}

std::string refuseType(const WebSocketRequestObject& request)
{
    return WebSocketResponseObject(request, WebSocketResponseObject::badData,
                                   " (unknown type " + request.getType() + ")")
        .toJsonString();
}

} // namespace

SubscriptionProtocol::SubscriptionProtocol(const ServiceTree& tree, const LiveOptions& options,
                                           const ExchangeOptions& exchangeOptions)
    : m_tree(tree)
    , m_options(options)
    , m_exchangeOptions(exchangeOptions)
    , m_subscriptions(options.shortestPollPeriod, options.shortestInterval)
{
}

Messages SubscriptionProtocol::receive(ConnectionId connection, const std::string& text)
{
    const auto request = std::make_shared<const WebSocketRequestObject>(text);
    if (const std::optional<std::string> refusal = refuseMessage(*request))
        return reply(connection, *refusal);
    return answer(connection, request);
}

Messages SubscriptionProtocol::answer(ConnectionId connection, const SharedRequest& request)
{
    const std::string& type = request->getType();
    if (type == WebSocketRequestObject::TYPE_SUBSCRIBE)
        return subscribe(connection, request);
    if (type == WebSocketRequestObject::TYPE_UNSUBSCRIBE)
        return unsubscribe(connection, request);
    return reply(connection,
                 type == WebSocketRequestObject::TYPE_DATA ? refuseData(*request) : refuseType(*request));
}

Messages SubscriptionProtocol::subscribe(ConnectionId connection, const SharedRequest& request)
{
    if (const std::optional<std::string> refusal = refuseSubscription(*request, m_tree, m_exchangeOptions))
        return reply(connection, *refusal);
    const std::string limit = describeLimit(connection, request->getEvent().toString());
    if (!limit.empty())
        return reply(
            connection,
            WebSocketResponseObject(
                *request, Command::StatusObject::maximum_number_of_event_subscriptions_reached, limit)
                .toJsonString());
    m_subscriptions.add(connection, request, termsOf(*request, m_options), changeSourceOf(*request, m_tree));
    return {};
}

/// The limit that keeps `connection` from subscribing to `event`; empty if none does.
std::string SubscriptionProtocol::describeLimit(ConnectionId connection, const std::string& event) const
{
    if (m_subscriptions.countOpenRequests(connection, event) >= MAX_OPEN_REQUESTS)
        return std::to_string(MAX_OPEN_REQUESTS) + " requests for this event are not answered yet";
    if (m_subscriptions.has(connection, event))
        return {};
    if (m_subscriptions.count(connection) >= m_options.maxSubscriptionsPerConnection)
        return "a connection may have " + std::to_string(m_options.maxSubscriptionsPerConnection) +
               " subscriptions at most";
    if (m_subscriptions.count() >= m_options.maxSubscriptions)
        return "there are " + std::to_string(m_options.maxSubscriptions) +
               " subscriptions, no more are taken";
    return {};
}

Messages SubscriptionProtocol::unsubscribe(ConnectionId connection, const SharedRequest& request)
{
    const std::string event = request->getEvent().toString();
    if (!m_subscriptions.has(connection, event))
        return reply(connection, WebSocketResponseObject(
                                     *request, WebSocketResponseObject::unableToUnsubscribe, " " + event)
                                     .toJsonString());
    // A request to subscribe that nobody has come to yet is acknowledged too, so that each has its answer.
    const WebSocketRequestObject opening(WebSocketRequestObject::TYPE_SUBSCRIBE, event);
    Messages messages{{connection, {}, true, event}};
    append(messages, m_subscriptions.countOpenRequests(connection, event), connection, acknowledge(opening));
    append(messages, 1, connection, acknowledge(*request));
    m_subscriptions.remove(connection, event);
    return messages;
}

Messages SubscriptionProtocol::finish(const EvaluatedEvent& event, Subscriptions::Time now)
{
    const WebSocketRequestObject& request = *event.evaluation.request;
    const std::string key = request.getEvent().toString();
    const SharedFrame acknowledgement = acknowledge(request);
    const SharedFrame gone = event.outcome == Outcome::ABSENT ? tellGone(request) : SharedFrame();
    Messages messages;
    for (const Delivery& delivery :
         m_subscriptions.finish(event.evaluation, event.outcome, event.fingerprint, now)) {
        const bool isState = delivery.kind == Delivery::Kind::STATE;
        append(messages, delivery.answeredRequests, delivery.connection,
               isState ? acknowledgement : event.frame);
        if (isState)
            messages.push_back({delivery.connection, event.frame, true, key});
        if (delivery.kind != Delivery::Kind::GONE)
            continue;
        messages.push_back({delivery.connection, {}, true, key});
        messages.push_back({delivery.connection, gone, false, {}});
    }
    return messages;
}

} // namespace Zovi::ServiceKit
