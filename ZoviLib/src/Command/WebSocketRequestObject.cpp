#include "Command/WebSocketRequestObject.h"

#include <Poco/Dynamic/Var.h>
#include <Poco/JSON/ParseHandler.h>
#include <Poco/JSON/Parser.h>

namespace Zovi
{

Command::WebSocketRequestObject::milliseconds DEFAULT_INTERVAL_MS = 0;
Command::WebSocketRequestObject::milliseconds DEFAULT_UPDATELIMT_MS = 30;

namespace Command
{

namespace
{

using Poco::Dynamic::Var;
using Poco::JSON::Object;

/// Takes `value` if it is an integer; false if it is something else. An absent value is no fault.
bool readInteger(const Var& value, Poco::Optional<long>& out)
{
    if (value.isEmpty())
        return true;
    if (!value.isInteger())
        return false;
    out = value.convert<long>();
    return true;
}

bool readBoolean(const Var& value, bool& out)
{
    if (value.isEmpty())
        return true;
    if (!value.isBoolean())
        return false;
    out = value.convert<bool>();
    return true;
}

// Clients choose the factor freely: the product wraps without undefined behaviour.
Poco::Clock::ClockDiff toMicroseconds(WebSocketRequestObject::milliseconds time)
{
    return static_cast<Poco::Clock::ClockDiff>(static_cast<std::uint64_t>(time) * 1000U);
}

} // namespace

const std::string WebSocketRequestObject::FIELD_TYPE = "type";
const std::string WebSocketRequestObject::FIELD_EVENT = "event";
const std::string WebSocketRequestObject::FIELD_SUBSCRIPTION_INTERVAL = "interval";
const std::string WebSocketRequestObject::FIELD_SUBSCRIPTION_UPDATE_LIMIT = "updatelimit";
const std::string WebSocketRequestObject::FIELD_AUTHORIZATION = "Authorization";
const std::string WebSocketRequestObject::FIELD_AUTOSUBSCRIBE = "autosubscribe";
const std::string WebSocketRequestObject::FIELD_DATA = "data";
const std::string WebSocketRequestObject::FIELD_ERROR = "error";

const WebSocketRequestObject::Type WebSocketRequestObject::TYPE_SUBSCRIBE = "subscribe";
const WebSocketRequestObject::Type WebSocketRequestObject::TYPE_UNSUBSCRIBE = "unsubscribe";
const WebSocketRequestObject::Type WebSocketRequestObject::TYPE_DATA = "data";

/// The values of a message as they stand in its object; what is missing is empty.
struct WebSocketRequestObject::RawMessage {
    explicit RawMessage(const Object::Ptr& json)
        : type(json->get(FIELD_TYPE))
        , event(json->get(FIELD_EVENT))
        , interval(json->get(FIELD_SUBSCRIPTION_INTERVAL))
        , updateLimit(json->get(FIELD_SUBSCRIPTION_UPDATE_LIMIT))
        , authorization(json->get(FIELD_AUTHORIZATION))
        , autosubscribe(json->get(FIELD_AUTOSUBSCRIBE))
    {
    }

    Var type;
    Var event;
    Var interval;
    Var updateLimit;
    Var authorization;
    Var autosubscribe;
};

WebSocketRequestObject::WebSocketRequestObject() = default;

WebSocketRequestObject::WebSocketRequestObject(const Object::Ptr& jsonData)
{
    initFromJsonObject(jsonData);
}

WebSocketRequestObject::WebSocketRequestObject(const std::string& jsonString)
{
    if (jsonString.empty())
        return;
    try {
        Poco::JSON::Parser parser(new Poco::JSON::ParseHandler);
        const Var parsed = parser.parse(jsonString);
        if (parsed.convert<bool>())
            initFromJsonObject(parsed.extract<Object::Ptr>());
    } catch (...) {
        // A text that is no message leaves an invalid one: whoever asks learns it from isValid().
    }
}

WebSocketRequestObject::WebSocketRequestObject(const Type& type, const std::string& event,
                                               const Poco::Optional<long>& interval,
                                               const Poco::Optional<long>& updateLimit,
                                               const std::string* authorisation, bool autosubscribe)
    : m_isValid(!type.empty() && !event.empty())
    , m_data(new Object)
    , m_type(type)
    , m_event(event)
    , m_interval(interval)
    , m_updateLimit(updateLimit)
    , m_autosubscribe(autosubscribe)
{
    m_data->set(FIELD_TYPE, type);
    m_data->set(FIELD_EVENT, event);
    if (interval.isSpecified())
        m_data->set(FIELD_SUBSCRIPTION_INTERVAL, static_cast<Poco::Int64>(interval.value()));
    if (updateLimit.isSpecified())
        m_data->set(FIELD_SUBSCRIPTION_UPDATE_LIMIT, static_cast<Poco::Int64>(updateLimit.value()));
    if (authorisation) {
        m_authorization = *authorisation;
        m_data->set(FIELD_AUTHORIZATION, *authorisation);
    }
    if (autosubscribe)
        m_data->set(FIELD_AUTOSUBSCRIBE, true);
    initializeFromUri(m_event);
}

WebSocketRequestObject::~WebSocketRequestObject() = default;

void WebSocketRequestObject::copyAndInitFromJsonObject(const Object& inputJson)
{
    initFromJsonObject(new Object(inputJson));
}

void WebSocketRequestObject::initFromJsonObject(const Object::Ptr& inputJson)
{
    m_data = inputJson;
    const RawMessage raw(m_data);
    try {
        initFromRawMessage(raw);
    } catch (...) {
        // A value that cannot be read leaves the message invalid, with what was read before it.
    }
}

void WebSocketRequestObject::initFromRawMessage(const RawMessage& raw)
{
    m_type = raw.type.convert<std::string>();
    m_event = Poco::URI(raw.event.convert<std::string>());
    initializeFromUri(m_event);

    const bool isIntervalRead = readInteger(raw.interval, m_interval);
    const bool isUpdateLimitRead = readInteger(raw.updateLimit, m_updateLimit);
    if (!raw.authorization.isEmpty())
        m_authorization = raw.authorization.convert<std::string>();
    const bool isAutosubscribeRead = readBoolean(raw.autosubscribe, m_autosubscribe);
    if (isIntervalRead && isUpdateLimitRead && isAutosubscribeRead)
        m_isValid = true;
}

void WebSocketRequestObject::setEvent(const Poco::URI& newUri)
{
    m_event = newUri;
    m_data->set(FIELD_EVENT, newUri.toString());
    initializeFromUri(m_event);
}

bool WebSocketRequestObject::hasInterval() const
{
    return m_interval.isSpecified() && m_interval.value() != 0;
}

WebSocketRequestObject::milliseconds WebSocketRequestObject::getInterval() const
{
    return hasInterval() ? m_interval.value() : DEFAULT_INTERVAL_MS;
}

Poco::Clock::ClockDiff WebSocketRequestObject::getIntervalTimeSpan() const
{
    return toMicroseconds(getInterval());
}

WebSocketRequestObject::milliseconds WebSocketRequestObject::getUpdateLimit() const
{
    return hasUpdateLimit() ? m_updateLimit.value() : DEFAULT_UPDATELIMT_MS;
}

Poco::Clock::ClockDiff WebSocketRequestObject::getUpdateLimitTimeSpan() const
{
    return toMicroseconds(getUpdateLimit());
}

} // namespace Command
} // namespace Zovi
