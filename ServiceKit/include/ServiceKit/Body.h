#pragma once

#include "Command/HttpRequest.h"
#include "ServiceKit/Resource.h"

#include <Poco/Dynamic/Var.h>
#include <Poco/JSON/Object.h>
#include <Poco/UUID.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace Zovi::ServiceKit
{

/// The JSON object by which a client makes or changes an element, read member by member:
///
///     Body body(request);
///     bed.name = body.text("name", 100);
///     bed.sensor = body.reference("sensor", *m_sensors);
///     bed.isCovered = body.has("covered") && body.flag("covered");
///     body.refuseOthers();
///
/// A member that is missing, of another type or beyond its limits ends in a `RequestError` with status 400
/// that names it, and so does what is no JSON object. A plain value, used by one thread at a time.
class Body
{
public:
    /// The body of `request`, which has a method that brings one.
    explicit Body(const Command::HttpRequest& request);

    /// The same of a text.
    explicit Body(const std::string& json);

    /// Whether the client tells `name`. It need not, then.
    bool has(const std::string& name);

    /// A text of `maxLength` characters at most, in valid UTF-8 without NUL characters. It may be empty.
    std::string text(const std::string& name, std::size_t maxLength);

    /// Up to `maxCount` such texts, from an array.
    std::vector<std::string> texts(const std::string& name, std::size_t maxCount, std::size_t maxLength);

    /// An integer from `min` to `max`, written without a point.
    std::int64_t integer(const std::string& name, std::int64_t min, std::int64_t max);

    /// A number, whole or not; always a finite one.
    double number(const std::string& name);

    /// True or false.
    bool flag(const std::string& name);

    /// The id of an element of `resource` that is there: told as such, or by an object with the member "id",
    /// so that a client may send back what it was shown.
    Poco::UUID reference(const std::string& name, const Resource& resource);

    /// To be called when all have been read: throws `RequestError` with status 400 if there is a member that
    /// nobody has asked for.
    void refuseOthers() const;

private:
    Poco::Dynamic::Var require(const std::string& name);

    Poco::JSON::Object::Ptr m_object;
    std::vector<std::string> m_known; ///< names that were asked for, in that order
};

} // namespace Zovi::ServiceKit
