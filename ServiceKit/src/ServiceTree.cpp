#include "ServiceKit/ServiceTree.h"

#include "Data/AttributeValueArray.h"
#include "ServiceKit/RequestError.h"
#include "ServiceKit/ResourceReference.h"
#include "ServiceKit/Text.h"

#include <Poco/Exception.h>
#include <Poco/String.h>
#include <Poco/URI.h>

#include <algorithm>

namespace Zovi::ServiceKit
{

namespace
{

using Command::UrlPath;
using ResourceReferences = Data::AttributeValueArray<ResourceReference>;

const std::string KEY_RESOURCES = "resources";

/// The parser of addresses itself decides what may be a name.
bool isAddress(const std::string& uri, UrlPath::Characteristic expected)
{
    Poco::URI address;
    address.setPath(uri);
    const UrlPath path(address);
    return path.getCharacteristic() == expected && !isAccessRights(path);
}

void requireAddress(const Reference& reference, UrlPath::Characteristic expected)
{
    if (!isAddress(reference.uri, expected))
        throw Poco::InvalidArgumentException("Not usable as an address: " + inQuotes(reference.uri));
}

[[noreturn]] void refuseAsAbsent(const std::string& message)
{
    throw RequestError(Command::HTTPStatus::HTTP_NOT_FOUND, message);
}

template <typename Node>
const std::string& nameOf(const Node& node)
{
    return node.reference().name;
}

const std::string& nameOf(const StaticFolder& folder)
{
    return folder.name();
}

[[noreturn]] void refuseAsTaken(const std::string& name)
{
    throw Poco::InvalidArgumentException("Name is taken: " + inQuotes(name));
}

template <typename Pointer>
void requireGiven(const Pointer& node)
{
    if (!node)
        throw Poco::InvalidArgumentException("Nothing to add");
}

template <typename Node>
void requireUnused(const std::vector<std::shared_ptr<Node>>& nodes, const std::string& name)
{
    const bool isTaken = std::any_of(nodes.begin(), nodes.end(), [&name](const auto& node) {
        return Poco::icompare(nameOf(*node), name) == 0;
    });
    if (isTaken)
        refuseAsTaken(name);
}

} // namespace

bool isAccessRights(const UrlPath& path)
{
    const std::string& word = path.getResource();
    return path.getCharacteristic() == UrlPath::SERVICE_RESOURCE &&
           (word == UrlPath::RESERVED_KEY_RIGHTS || word == "$" + UrlPath::RESERVED_KEY_RIGHTS);
}

Service::Service(const Reference& reference, const std::string& description)
    : m_reference(reference)
    , m_info(reference.id, Poco::URI(), reference.name, 0, description)
{
    requireAddress(reference, UrlPath::SERVICE);
    reference.identify(m_info);
    m_info.removeValue(MicroServiceInfo::KEY_PORT);
    m_info.setValue<ResourceReferences>(KEY_RESOURCES, {});
}

void Service::add(const std::shared_ptr<Resource>& resource)
{
    requireGiven(resource);
    requireAddress(resource->reference(), UrlPath::SERVICE_RESOURCE);
    requireUnused(m_resources, resource->reference().name);
    std::vector<std::shared_ptr<Resource>> resources(m_resources);
    resources.push_back(resource);
    m_info.setValue<ResourceReferences>(KEY_RESOURCES, {resources.begin(), resources.end()});
    m_resources.swap(resources);
}

ServiceTree::ServiceTree(const Poco::UUID& rootId)
    : m_root(rootReference(rootId))
{
}

void ServiceTree::add(const std::shared_ptr<const Service>& service)
{
    requireGiven(service);
    const std::string& name = service->reference().name;
    if (Poco::icompare(name, SERVICE_OF_FILES) == 0)
        refuseAsTaken(name);
    requireUnused(m_services, name);
    m_services.push_back(service);
}

void ServiceTree::add(const std::shared_ptr<const StaticFolder>& folder)
{
    requireGiven(folder);
    requireUnused(m_folders, folder->name());
    m_folders.push_back(folder);
}

const Service& ServiceTree::serviceAt(const UrlPath& path) const
{
    for (const auto& service : m_services) {
        if (path.isServiceEqual(service->reference().name))
            return *service;
    }
    refuseAsAbsent("no service is called " + inQuotes(path.getService()));
}

Resource& ServiceTree::resourceAt(const UrlPath& path) const
{
    const Service& service = serviceAt(path);
    for (const auto& resource : service.resources()) {
        if (path.isResourceEqual(resource->reference().name))
            return *resource;
    }
    refuseAsAbsent(inQuotes(service.reference().name) + " has no resource " + inQuotes(path.getResource()));
}

const StaticFile& ServiceTree::fileAt(const UrlPath& path) const
{
    for (const auto& folder : m_folders) {
        const StaticFile* file =
            folder->name() == path.getResource() ? folder->find(path.getElement()) : nullptr;
        if (file)
            return *file;
    }
    refuseAsAbsent("no file is called " + inQuotes(path.getUri().getPath()));
}

MethodSet ServiceTree::methodsAt(const UrlPath& path) const
{
    switch (path.getCharacteristic()) {
    case UrlPath::SERVICE:
    case UrlPath::SERVICE_ID:
    case UrlPath::SERVICE_SPEC:
        serviceAt(path);
        return MethodSet::readOnly();
    case UrlPath::SERVICE_RESOURCE:
        if (!isAccessRights(path))
            return resourceAt(path).collectionMethods();
        serviceAt(path);
        return MethodSet::readOnly();
    case UrlPath::SERVICE_RESOURCE_ID:
    case UrlPath::SERVICE_RESOURCE_SPEC:
        resourceAt(path);
        return MethodSet::readOnly();
    case UrlPath::SERVICE_RESOURCE_ELEMENT:
        if (!isStaticFile(path))
            return resourceAt(path).elementMethods();
        fileAt(path);
        return MethodSet::readOnly();
    default:
        return MethodSet::readOnly();
    }
}

} // namespace Zovi::ServiceKit
