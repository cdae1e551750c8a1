#include "ServiceKit/Reference.h"

#include "Command/UrlPath.h"

#include <Poco/SHA1Engine.h>
#include <Poco/String.h>
#include <Poco/UUIDGenerator.h>

namespace Zovi::ServiceKit
{

namespace
{

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

std::optional<Poco::UUID> parseId(const std::string& text)
{
    Poco::UUID id;
    if (!id.tryParse(text) || id.toString() != Poco::toLower(text))
        return std::nullopt;
    return id;
}

Reference Reference::child(const std::string& childName) const
{
    return {nameBasedId(id, childName), childName, joined(uri, childName)};
}

Reference Reference::element(const Poco::UUID& elementId, const std::string& elementName) const
{
    return {elementId, elementName, joined(uri, elementId.toString())};
}

Reference rootReference(const Poco::UUID& rootId)
{
    return {rootId, "", Command::UrlPath::URI_ROOT};
}

} // namespace Zovi::ServiceKit
