#pragma once

#include "Command/ResponseObject.h"
#include "Command/WebSocketRequestObject.h"
#include "Timestamp.h"
#include "ZoviExport.h"

#include <Poco/Net/HTTPResponse.h>
#include <Poco/Types.h>
#include <Poco/URI.h>

#include <string>

namespace Zovi::Command
{

/// One message from a service to a client over a WebSocket: the acknowledgement of a request, an update with
/// data, or an error. It is the response document with "type" and "event" beside its other keys:
///
///     {"event":"/host/processes","status":"ok","type":"subscribe"}
///     {"data":[...],"event":"/host/processes","status":"ok","timestamp":1767225600000,"type":"data"}
///     {"code":400,"event":"/host/processes","message":"Bad subscription.","type":"error"}
///
/// A client uses the same class the other way round: `fromJsonString`, then the getters.
///
/// Copies have a top level of their own and share the values below it. A message belongs to one thread.
class KYRZOVI_API WebSocketResponseObject : public ResponseObject
{
public:
    /// A kind of message.
    using Type = WebSocketRequestObject::Type;

    static const Type TYPE_SUBSCRIBE;   ///< "subscribe"
    static const Type TYPE_UNSUBSCRIBE; ///< "unsubscribe"
    static const Type TYPE_DATA;        ///< "data"
    static const Type TYPE_ERROR;       ///< "error"

    /// Why a request is refused. The first two have no message on the wire: building one throws.
    enum RequestError : int {
        alreadyConnected = 0,                   ///< throws `Poco::NotImplementedException`
        notARootURL = 1,                        ///< throws `Poco::NotImplementedException`
        noData = 2,                             ///< 400 "No data"
        badData = 3,                            ///< 400 "Bad subscription."
        invalideSubscriptionExpansionLevel = 4, ///< 400, tells where an expansion may stand
        unableToUnsubscribe = 5                 ///< 404 "There was no subscription to unsubscribe."
    };

    /// The acknowledgement of `request`: its type and event, status "ok". If the type is "data", the message
    /// is stamped with the current time.
    explicit WebSocketResponseObject(const WebSocketRequestObject& request);

    /// A stamped document that shares `data`, with the event of `request` and status "ok", and without a
    /// type: that is set by `setType`.
    WebSocketResponseObject(const WebSocketRequestObject& request, const Poco::JSON::Array::Ptr& data);

    /// An error message with the event of `request`; it has no status.
    WebSocketResponseObject(const WebSocketRequestObject& request, Poco::UInt16 errorCode,
                            const std::string& errorMessage);

    /// An error message with code and text of `error`. `errorMessage` goes into a warning in the log and
    /// never to the client. A number that is none of the enumerators counts as `noData`.
    WebSocketResponseObject(const WebSocketRequestObject& req, RequestError error,
                            const std::string& errorMessage);

    WebSocketResponseObject(const WebSocketResponseObject&) = default;
    WebSocketResponseObject& operator=(const WebSocketResponseObject&) = default;
    ~WebSocketResponseObject() override;

    /// Sets the type. With "data" the message is stamped with the current time.
    void setType(const Type& type);

    /// Sets the event to the text of `uri`.
    void setEvent(Poco::URI uri);

    /// Sets the error text.
    void setMessage(const std::string& dataMessage);

    /// Makes this a stamped data message that shares the data of `data`, taken whole. If that has none,
    /// nothing changes. Its paging object is not taken. Throws `Poco::NullPointerException` if `data` is
    /// null, and `Poco::BugcheckException` if its data are neither an object nor an array.
    void setData(const ResponseObject* data);

    /// Makes this an error message: code, text and type are set, status and timestamp removed. Data and
    /// paging stay.
    void setError(Poco::Net::HTTPResponse::HTTPStatus errorCode, const std::string& errorMessage);

    /// Removes the paging object, if there is one: for a message that is used again for the next update.
    void resetPagingObject();

    /// These three throw `Poco::InvalidAccessException` if the key is missing, and what the conversion throws
    /// if its value is of another kind. The time is in milliseconds.
    Type getType() const;
    Poco::URI getEvent() const;
    Timestamp::timestamp_t getTimestamp() const;

    /// Data and error text as text; empty if there are none. Data that are an object or an array come as
    /// JSON.
    std::string getData() const;
    std::string getMessage() const;

    /// True if the message was made from a request or read from good text.
    bool isValid() const { return m_isValid; }

    /// The message as compact JSON on one line, valid or not.
    std::string toJsonString() const;

    /// Reads a message: any JSON object with at least one member is a valid one. A text that is anything else
    /// gives an invalid message and is logged as an error, unless it is empty.
    static WebSocketResponseObject fromJsonString(const std::string& jsonString);

protected:
    /// An invalid message with status "ok".
    WebSocketResponseObject();

private:
    void setErrorMessage(const WebSocketRequestObject& request, Poco::UInt16 errorCode,
                         const std::string& errorMessage);

    bool m_isValid = false;
};

} // namespace Zovi::Command
