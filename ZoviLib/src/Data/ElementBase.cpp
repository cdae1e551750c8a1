#include "Data/ElementBase.h"

#include "Logging/LogStream.h"

#include <Poco/Exception.h>

#include <utility>

namespace Zovi::Data
{

namespace
{

std::string pathOf(const std::string& service, const std::string& resource, const std::string& uuid)
{
    return "/" + service + "/" + resource + "/" + uuid;
}

} // namespace

ElementBase::ElementBase(const std::string& service, const std::string& resource, XObjectId id)
    : XObjectBase(id)
    , m_serviceName(service)
    , m_resourceName(resource)
{
}

ElementBase::ElementBase(XObjectId id)
    : XObjectBase(id)
{
}

ElementBase::ElementBase(const Poco::URI& uri, XObjectId id)
    : XObjectBase(id)
{
    initialize(uri, nullptr);
}

ElementBase::ElementBase(const XObjectBase& other)
    : XObjectBase(other)
{
    initialize(other.getUri(), nullptr);
}

ElementBase::ElementBase(XObjectBase&& other)
    : XObjectBase(std::move(other))
{
    // Only the number has moved: the attributes are still there.
    initialize(other.getUri(), nullptr);
}

ElementBase::ElementBase(const ElementBase& other) = default;
// NOLINTNEXTLINE(performance-noexcept-move-constructor): taking over the number may fail
ElementBase::ElementBase(ElementBase&& other) = default;
ElementBase& ElementBase::operator=(const ElementBase& other) = default;

// NOLINTNEXTLINE(performance-noexcept-move-constructor): taking over the number may fail
ElementBase& ElementBase::operator=(ElementBase&& other)
{
    XObjectBase::operator=(std::move(other));
    if (this != &other) {
        m_serviceName = std::move(other.m_serviceName);
        m_resourceName = std::move(other.m_resourceName);
    }
    return *this;
}

ElementBase::~ElementBase() = default;

void ElementBase::initialize(const std::string& service, const std::string& resource)
{
    m_serviceName = service;
    m_resourceName = resource;
}

void ElementBase::initialize(const Poco::URI& uri, std::string* uuid)
{
    std::vector<std::string> segments;
    uri.getPathSegments(segments);
    if (segments.size() != 3) {
        ZOVI_LOG_ERROR("Failed to get Element infos from invalid path - needs to be in format: "
                       "<service>/<resource>/<uuid>");
        throw Poco::InvalidArgumentException("Invalid Element URI");
    }
    initialize(segments[0], segments[1]);
    if (uuid)
        uuid->swap(segments[2]);
}

template class GenericObject<ElementBase>;

ElementGeneric::ElementGeneric(const std::string& service, const std::string& resource,
                               const std::string& name, const Poco::UUID& uuid, XObjectId objId)
    : GenericObject(name, uuid, Poco::URI(pathOf(service, resource, uuid.toString())), objId)
{
    initialize(service, resource);
}

ElementGeneric::ElementGeneric(const std::string& service, const std::string& resource,
                               const std::string& name, const std::string& uuid, XObjectId objId)
    : GenericObject(name, uuid, pathOf(service, resource, uuid), objId)
{
    initialize(service, resource);
}

ElementGeneric::ElementGeneric(const Poco::URI& uri, const std::string& name, XObjectId objId)
    : GenericObject(objId)
{
    std::string uuid;
    initialize(uri, &uuid);
    setId(uuid);
    setName(name);
    setUri(pathOf(service(), resource(), uuid));
}

ElementGeneric::ElementGeneric(const ElementBase& other)
    : GenericObject(other)
{
}

ElementGeneric::ElementGeneric(const XObjectGeneric& other)
    : GenericObject(other)
{
}

ElementGeneric::ElementGeneric(XObjectGeneric&& other)
    : GenericObject(std::move(other))
{
}

ElementGeneric::ElementGeneric(const XObjectBase& other)
    : ElementGeneric(XObjectGeneric(other))
{
}

ElementGeneric::ElementGeneric(const ElementGeneric& other) = default;
// NOLINTNEXTLINE(performance-noexcept-move-constructor): taking over the number may fail
ElementGeneric::ElementGeneric(ElementGeneric&& other) = default;
ElementGeneric& ElementGeneric::operator=(const ElementGeneric& other) = default;
// NOLINTNEXTLINE(performance-noexcept-move-constructor): taking over the number may fail
ElementGeneric& ElementGeneric::operator=(ElementGeneric&& other) = default;
ElementGeneric::~ElementGeneric() = default;

ElementGeneric ElementGeneric::copy() const
{
    return ElementGeneric(*this);
}

} // namespace Zovi::Data
