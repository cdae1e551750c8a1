#pragma once

#include <Poco/JSON/Object.h>

#include <string>
#include <vector>

namespace Zovi::ServiceKit
{

/// What an attribute of an element is, for the reader of a specification.
struct AttributeSpecification {
    std::string name; ///< the key in the JSON of the element
    std::string type; ///< "string", "text" (of several lines), "integer", "number", "boolean", "time" (an
                      ///< integer, milliseconds since the Unix epoch), "array of string", "reference", ...
    std::string unit; ///< "bytes", "ms", ...; empty if it has none
    std::string description; ///< one sentence
    bool isOptional = false; ///< whether an element may lack it
    bool isReadOnly = false; ///< whether the service alone sets it, where elements can be written
};

/// The specification of a resource, as a new object on each call:
///
///     {"attributes":{"pid":{"description":"Process id.","type":"integer"}},"description":"...","name":"..."}
///
/// "unit" stands only where there is one, "optional":true and "readOnly":true only where they hold. The three
/// attributes of a reference, "id", "name" and "uri", are added by themselves unless `attributes` names them.
Poco::JSON::Object::Ptr makeSpecification(const std::string& name, const std::string& description,
                                          const std::vector<AttributeSpecification>& attributes);

} // namespace Zovi::ServiceKit
