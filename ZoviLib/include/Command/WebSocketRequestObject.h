#pragma once

#include "Command/RequestBase.h"
#include "ZoviExport.h"

#include <Poco/Clock.h>
#include <Poco/JSON/Object.h>
#include <Poco/Optional.h>
#include <Poco/URI.h>

#include <cstdint>
#include <string>

namespace Zovi::Command
{

/// One message that a client sends over a WebSocket: subscribe to an event, unsubscribe from it, or hand in
/// data.
///
///     {"type":"subscribe","event":"/host/processes?$limit=5","interval":1000}
///
/// | key             | type    |          | meaning                                             |
/// |-----------------|---------|----------|-----------------------------------------------------|
/// | "type"          | string  | required | kind of message; any text is accepted               |
/// | "event"         | string  | required | URL of the subscribed thing, with its query         |
/// | "interval"      | integer | optional | interval of the subscription, milliseconds          |
/// | "updatelimit"   | integer | optional | least time between two updates, milliseconds        |
/// | "Authorization" | any     | optional | kept as text                                        |
/// | "autosubscribe" | boolean | optional | for the service that handles the message            |
/// | "data"          | any     | optional | payload of a data message, to be read by `getJson` |
///
/// Refused: `{"type":"subscribe"}`, which lacks the event, and `{"type":"subscribe","event":"/a",
/// "interval":"1000"}`, whose interval is a text.
///
/// The event is an address with criteria like that of any request. A message that does not parse is no
/// exception: `isValid()` is false, and the getters give what was read until then, empty values and defaults
/// for the rest. Its address may be bad all the same: the service tests `isValid()`, then
/// `getUrlPath().isValid()`.
///
/// Copies share the JSON object. A message belongs to one thread.
class KYRZOVI_API WebSocketRequestObject : public RequestBase
{
public:
    /// A kind of message, and a time span.
    using Type = std::string;
    using milliseconds = std::int64_t;

    static const std::string FIELD_TYPE;                      ///< "type"
    static const std::string FIELD_EVENT;                     ///< "event"
    static const std::string FIELD_SUBSCRIPTION_INTERVAL;     ///< "interval"
    static const std::string FIELD_SUBSCRIPTION_UPDATE_LIMIT; ///< "updatelimit"
    static const std::string FIELD_AUTHORIZATION;             ///< "Authorization", with its capital letter
    static const std::string FIELD_AUTOSUBSCRIBE;             ///< "autosubscribe"
    static const std::string FIELD_DATA;                      ///< "data"
    static const std::string FIELD_ERROR;                     ///< "error", the type of an error answer

    static const Type TYPE_SUBSCRIBE;   ///< "subscribe"
    static const Type TYPE_UNSUBSCRIBE; ///< "unsubscribe"
    static const Type TYPE_DATA;        ///< "data"

    /// Reads a message and shares its JSON object.
    /// Throws `Poco::NullPointerException` if `jsonData` is null, and nothing else.
    explicit WebSocketRequestObject(const Poco::JSON::Object::Ptr& jsonData);

    /// Parses a message. A text that is empty, no JSON, or no JSON object with at least one member gives an
    /// invalid message without JSON object.
    explicit WebSocketRequestObject(const std::string& jsonString);

    /// Builds a message to send. It is valid if neither `type` nor `event` is empty. What is not given, a
    /// null `authorisation` and a false `autosubscribe` are not written. Throws what `Poco::URI` throws if
    /// `event` is no URL or its query cannot be decoded, and `Poco::RegularExpressionException` if a search
    /// in it is no pattern.
    WebSocketRequestObject(const Type& type, const std::string& event,
                           const Poco::Optional<long>& interval = Poco::Optional<long>(),
                           const Poco::Optional<long>& updateLimit = Poco::Optional<long>(),
                           const std::string* authorisation = nullptr, bool autosubscribe = false);

    WebSocketRequestObject(const WebSocketRequestObject&) = default;
    WebSocketRequestObject(WebSocketRequestObject&&) = default;
    WebSocketRequestObject& operator=(const WebSocketRequestObject&) = default;
    WebSocketRequestObject& operator=(WebSocketRequestObject&&) = default;
    ~WebSocketRequestObject() override;

    /// True if the message was read or built as a whole.
    bool isValid() const { return m_isValid; }

    /// The kind of message, one of the `TYPE_` values or any other text; empty if it was not read.
    const Type& getType() const { return m_type; }

    /// The URL of the event; empty if it was not read.
    const Poco::URI& getEvent() const { return m_event; }

    /// Makes this a message for another event: URL, JSON object and criteria follow. Throws
    /// `Poco::NullPointerException` on a message without JSON object, whose URL is changed by then, and what
    /// the constructor for a message to send throws on a query: URL and JSON object are changed by then.
    void setEvent(const Poco::URI& newUri);

    /// Whether there is an authorization text, and that text; an empty one counts as none.
    bool hasAuthorization() const { return !m_authorization.empty(); }
    const std::string& getAuthorization() const { return m_authorization; }

    /// The flag of that name, false if it is not given.
    bool isAutosubscribe() const { return m_autosubscribe; }

    /// Whether an interval other than 0 is given, and that interval, else `DEFAULT_INTERVAL_MS`.
    bool hasInterval() const;
    milliseconds getInterval() const;
    /// The same in microseconds; a product beyond 64 bits wraps.
    Poco::Clock::ClockDiff getIntervalTimeSpan() const;

    /// Whether an update limit is given, 0 included, and that limit, else `DEFAULT_UPDATELIMT_MS`.
    bool hasUpdateLimit() const { return m_updateLimit.isSpecified(); }
    milliseconds getUpdateLimit() const;
    /// The same in microseconds; a product beyond 64 bits wraps.
    Poco::Clock::ClockDiff getUpdateLimitTimeSpan() const;

    /// The message as JSON, with all its keys. Null if no object was read; this message keeps owning it.
    const Poco::JSON::Object* getJson() const { return m_data.get(); }

protected:
    /// An invalid message, for derived classes that read it later.
    WebSocketRequestObject();

    /// Reads a copy of `inputJson`, made with the copy constructor of `Poco::JSON::Object`.
    void copyAndInitFromJsonObject(const Poco::JSON::Object& inputJson);

    /// Reads `inputJson` and shares it; throws `Poco::NullPointerException` if it is null. Of a message with
    /// a fault everything in front of the fault is taken; the validity is only ever set, never cleared.
    void initFromJsonObject(const Poco::JSON::Object::Ptr& inputJson);

private:
    struct RawMessage;
    void initFromRawMessage(const RawMessage& raw);

    bool m_isValid = false;
    Poco::JSON::Object::Ptr m_data;
    Type m_type;
    Poco::URI m_event;
    Poco::Optional<long> m_interval;
    Poco::Optional<long> m_updateLimit;
    std::string m_authorization;
    bool m_autosubscribe = false;
};

} // namespace Zovi::Command

namespace Zovi
{

/// Interval of a subscription that names none, in milliseconds: 0 at first. A service may change it at its
/// start, before it has threads; the library only reads it.
extern KYRZOVI_API Command::WebSocketRequestObject::milliseconds DEFAULT_INTERVAL_MS;

/// Update limit of a subscription that names none, in milliseconds: 30 at first. See above.
extern KYRZOVI_API Command::WebSocketRequestObject::milliseconds DEFAULT_UPDATELIMT_MS;

} // namespace Zovi
