#include "ServiceKit/Reference.h"

#include "Command/UrlPath.h"
#include "ServiceKit/Text.h"

#include <Poco/SHA1Engine.h>
#include <Poco/UUIDGenerator.h>

namespace Zovi::ServiceKit
{

namespace
{

const char* const KEY_ID = "id";
const char* const KEY_NAME = "name";
const char* const KEY_URI = "uri";

std::string joined(const std::string& parent, const std::string& segment)
{
    return parent == Command::UrlPath::URI_ROOT ? parent + segment : parent + "/" + segment;
}

} // namespace

Poco::UUID nameBasedId(const Poco::UUID& space, const std::string& name)
{
    Poco::SHA1Engine digest;
    return Poco::UUIDGenerator().createFromName(space, name, digest, Poco::UUID::UUID_NAME_BASED_SHA1);
}

Reference Reference::child(const std::string& childName) const
{
    return {nameBasedId(id, childName), childName, joined(uri, childName)};
}

Reference Reference::element(const Poco::UUID& elementId, const std::string& elementName) const
{
    return {elementId, elementName, joined(uri, elementId.toString())};
}

Poco::JSON::Object::Ptr Reference::toJson() const
{
    Poco::JSON::Object::Ptr object = new Poco::JSON::Object;
    object->set(KEY_ID, id.toString());
    object->set(KEY_NAME, toValidUtf8(name));
    object->set(KEY_URI, uri);
    return object;
}

Reference rootReference(const Poco::UUID& rootId)
{
    return {rootId, "", Command::UrlPath::URI_ROOT};
}

} // namespace Zovi::ServiceKit
