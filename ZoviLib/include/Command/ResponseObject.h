#pragma once

#include "ZoviExport.h"

#include <Poco/Dynamic/Var.h>
#include <Poco/JSON/Array.h>
#include <Poco/JSON/Object.h>
#include <Poco/Net/HTTPResponse.h>

#include <iosfwd>
#include <string>

namespace Zovi::Command
{

/// The status part of every answer, as a view on one shared JSON object.
///
///     {"status":"ok"}
///     {"code":404,"message":"element not found","status":"error"}
///
/// The JSON object is the only state. Copying a `StatusObject` shares it: a change through one copy shows in
/// the other. (`ResponseObject` copies differently.) A document belongs to one thread at a time.
class KYRZOVI_API StatusObject
{
public:
    /// Keys of the document, and its status words.
    using JsonFieldName = std::string;
    using StatusCode = std::string;

    static const StatusCode STATUS_OK;    ///< "ok"
    static const StatusCode STATUS_ERROR; ///< "error"
    static const StatusCode STATUS_NONE;  ///< the empty text: no status

    static const JsonFieldName FIELD_STATUS;     ///< "status"
    static const JsonFieldName FIELD_MESSAGE;    ///< "message"
    static const JsonFieldName FIELD_ERROR_CODE; ///< "code"

    /// Error codes of a document beyond the plain HTTP statuses.
    enum AdditionalJsonErrorCodes {
        syntax_error = 400,
        access_denied = 403,
        subscription_uri_invalid = 404,
        gone = 410,
        maximum_number_of_event_subscriptions_reached = 503
    };

    /// A new document that says "ok".
    StatusObject();

    /// A new document that says "error", with `code` and `message`.
    StatusObject(int code, const std::string& message);

    StatusObject(const StatusObject&) = default;
    StatusObject& operator=(const StatusObject&) = default;
    virtual ~StatusObject();

    /// Sets the status; the empty text removes the key. Nothing else changes.
    void setStatus(const StatusCode& status);

    /// Says "error" and sets code and message. Data that the document has stay.
    void setErrorStatus(int code, const std::string& message);
    void setErrorStatus(AdditionalJsonErrorCodes code, const std::string& message);
    void setErrorStatus(Poco::Net::HTTPResponse::HTTPStatus code, const std::string& message);

    /// The status, `STATUS_NONE` if there is none. Throws `Poco::BadCastException` if the document has
    /// something there that is no text.
    StatusCode getStatus() const;

    /// Shares the JSON object itself, never null: whoever writes through it changes this document. It may
    /// outlive the view.
    Poco::JSON::Object::Ptr getObject() const { return JSONObject; }

protected:
    /// The document, never null.
    Poco::JSON::Object::Ptr JSONObject;
};

/// The one document that every answer of a service is: status, data, paging information, time.
///
///     {"data":[...],"paging":{...},"status":"ok","timestamp":1767225600000}
///
/// Like its base it is a view on one shared JSON object, with keys in alphabetical order. Copy construction
/// and assignment copy the top level, so that two documents are independent there, and share the values below
/// it. Setting data stamps the document with the current time, in milliseconds of the Unix epoch.
class KYRZOVI_API ResponseObject : public StatusObject
{
public:
    static const JsonFieldName FIELD_PAGING;             ///< "paging"
    static const JsonFieldName FIELD_PAGING_OFFSET_ID;   ///< "offsetId", in the paging object
    static const JsonFieldName FIELD_PAGING_OFFSET;      ///< "offset", in the paging object
    static const JsonFieldName FIELD_PAGING_LIMIT;       ///< "limit", in the paging object
    static const JsonFieldName FIELD_PAGING_TOTAL;       ///< "total", in the paging object
    static const JsonFieldName FIELD_PAGING_TOTAL_PAGES; ///< "totalPages", in the paging object
    static const JsonFieldName FIELD_PAGING_PREVIOUS;    ///< "previous", in the paging object
    static const JsonFieldName FIELD_PAGING_NEXT;        ///< "next", in the paging object
    static const JsonFieldName FIELD_TIMESTAMP;          ///< "timestamp"
    static const JsonFieldName FIELD_DATA;               ///< "data"
    static const JsonFieldName FIELD_SERVICE;            ///< "service", for users; never written here

    /// A new document that says "ok", without data and timestamp.
    ResponseObject();

    /// A new error document, without timestamp.
    ResponseObject(int code, const std::string& message);

    /// A new document that says "ok", stamped with the current time, that shares `data`. A null pointer gives
    /// a stamped document without data.
    explicit ResponseObject(const Poco::JSON::Array::Ptr& data);
    explicit ResponseObject(const Poco::JSON::Object::Ptr& data);

    /// Copies the top level of `other`, its timestamp included, into a new document; shares the values.
    ResponseObject(const ResponseObject& other);

    /// Replaces the content by that of `other`, as the copy constructor does; the JSON object stays the same
    /// one. Assigning a document to itself empties it.
    ResponseObject& operator=(const ResponseObject& other);

    ~ResponseObject() override;

    /// Shares `data` as the data of this document and stamps it. A null pointer changes nothing.
    void setData(const Poco::JSON::Array::Ptr& data);

    /// The same for an object. If `data` has a key "data" itself, the value of that key is taken instead, so
    /// that the body of a response is not nested into another.
    void setData(const Poco::JSON::Object::Ptr& data);

    /// True if the document has the key "data", whatever its value.
    bool hasData() const;

    /// The data if they are an array, or an object, else a null pointer. The result is shared with the
    /// document; data that the document holds by value come as a copy.
    Poco::JSON::Array::Ptr getDataAsJsonArray() const;
    Poco::JSON::Object::Ptr getDataAsJsonObject() const;

    /// Shares `paging` as the paging object; a null pointer changes nothing. The time is not stamped.
    void setPaging(const Poco::JSON::Object::Ptr& paging);

    /// The paging object, shared, or a null pointer if there is none.
    Poco::JSON::Object::Ptr getPaging() const;

    /// Sets any key, those of this class included.
    void setCustomField(const std::string& key, const Poco::Dynamic::Var& value);

    /// Stamps the document with the current time.
    void setTimeStamp();

    /// Replaces the content by that of `object`, sharing its values, and stamps the document anew if it then
    /// has a timestamp. Throws `Poco::NullPointerException` if `object` is null.
    void copyObject(const Poco::JSON::Object* object);
    void copyObject(const ResponseObject* object);

protected:
    /// Replaces the content as above and keeps the timestamp of the source.
    void copy(const ResponseObject& other);
    void copy(const Poco::JSON::Object* object);
};

/// Writes the document as compact JSON on one line.
KYRZOVI_API std::ostream& operator<<(std::ostream& out, const ResponseObject& response);

/// The same; throws `Poco::NullPointerException` if `response` is null.
KYRZOVI_API std::ostream& operator<<(std::ostream& out, const ResponseObject* response);

} // namespace Zovi::Command
