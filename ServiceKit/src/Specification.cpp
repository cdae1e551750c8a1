#include "ServiceKit/Specification.h"

namespace Zovi::ServiceKit
{

namespace
{

const std::vector<AttributeSpecification>& referenceAttributes()
{
    static const std::vector<AttributeSpecification> ATTRIBUTES{
        {"id", "uuid", "", "Identifies the element for as long as it exists."},
        {"name", "string", "", "Name of the element."},
        {"uri", "string", "", "Address of the element."},
    };
    return ATTRIBUTES;
}

Poco::JSON::Object::Ptr toJson(const AttributeSpecification& attribute)
{
    Poco::JSON::Object::Ptr object = new Poco::JSON::Object;
    object->set("type", attribute.type);
    object->set("description", attribute.description);
    if (!attribute.unit.empty())
        object->set("unit", attribute.unit);
    if (attribute.isOptional)
        object->set("optional", true);
    if (attribute.isReadOnly)
        object->set("readOnly", true);
    return object;
}

} // namespace

Poco::JSON::Object::Ptr makeSpecification(const std::string& name, const std::string& description,
                                          const std::vector<AttributeSpecification>& attributes)
{
    Poco::JSON::Object::Ptr members = new Poco::JSON::Object;
    for (const AttributeSpecification& attribute : referenceAttributes())
        members->set(attribute.name, toJson(attribute));
    for (const AttributeSpecification& attribute : attributes)
        members->set(attribute.name, toJson(attribute));

    Poco::JSON::Object::Ptr specification = new Poco::JSON::Object;
    specification->set("name", name);
    specification->set("description", description);
    specification->set("attributes", members);
    return specification;
}

} // namespace Zovi::ServiceKit
