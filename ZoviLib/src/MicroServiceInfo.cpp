#include "MicroServiceInfo.h"

#include "Logging/LogStream.h"

#include <Poco/Exception.h>
#include <Poco/JSON/Array.h>

#include <exception>
#include <memory>
#include <utility>

namespace Zovi
{

using Data::AttributeValueInteger;
using Data::AttributeValueStringable;
using Data::AttributeValueStringArray;

namespace
{

/// The texts of an array; none if the first entry is no text. Later entries are converted.
std::vector<std::string> stringList(const Poco::JSON::Array* array)
{
    std::vector<std::string> list;
    if (!array || array->size() == 0 || !array->get(0).isString())
        return list;
    list.reserve(array->size());
    for (const Poco::Dynamic::Var& entry : *array)
        list.push_back(entry.convert<std::string>());
    return list;
}

/// The array under `key`, whether held by pointer or by itself; null if there is none.
Poco::JSON::Array::Ptr findArray(const Poco::JSON::Object& json, const std::string& key)
{
    const Poco::Dynamic::Var value = json.get(key);
    if (value.type() == typeid(Poco::JSON::Array))
        return new Poco::JSON::Array(value.extract<Poco::JSON::Array>());
    return json.getArray(key);
}

} // namespace

MicroServiceInfo::MicroServiceInfo(const Poco::UUID& serviceId, const Poco::URI& serviceUri,
                                   const std::string& serviceName, Poco::UInt16 servicePort,
                                   const std::string& serviceDescription)
    : GenericObject(serviceName, serviceId, serviceUri, Data::INVALID_XOBJ_ID)
{
    setPort(servicePort);
    setDescription(serviceDescription);
    setPrivileges(AttributeValueStringArray());
    setServiceCategories(AttributeValueStringArray());
    setVersions(AttributeValueStringArray());
}

MicroServiceInfo::MicroServiceInfo(const Data::ServiceBase& service)
    : MicroServiceInfo(Data::INVALID_XOBJ_ID)
{
    if (service.hasValue(KEY_ID))
        setId(service.getId());
    if (service.hasValue(KEY_URI))
        setUri(service.getUri());
    setName(service.getName());
    setPort(service.getPort());
    setDescription(service.getDescription());
    setPrivileges(service.getPrivileges());
    setServiceCategories(service.getServiceCategories());
    setVersions(service.getVersions());
}

MicroServiceInfo::MicroServiceInfo(Data::XObjectId id)
    : GenericObject(id)
{
}

MicroServiceInfo::MicroServiceInfo(const MicroServiceInfo& other) = default;
// NOLINTNEXTLINE(performance-noexcept-move-constructor): taking over the number may fail
MicroServiceInfo::MicroServiceInfo(MicroServiceInfo&& other) = default;
MicroServiceInfo::~MicroServiceInfo() = default;

// Both assignments take the text first: the attributes that end then may be all that keeps `other`.
MicroServiceInfo& MicroServiceInfo::operator=(const MicroServiceInfo& other)
{
    std::string specification = other.m_specification;
    GenericObject::operator=(other);
    m_specification = std::move(specification);
    return *this;
}

// NOLINTNEXTLINE(performance-noexcept-move-constructor): taking over the number may fail
MicroServiceInfo& MicroServiceInfo::operator=(MicroServiceInfo&& other)
{
    // A text that was built stays, also when the object is moved onto itself.
    std::string specification = std::move(other.m_specification);
    GenericObject::operator=(std::move(other));
    m_specification = std::move(specification);
    return *this;
}

MicroServiceInfo* MicroServiceInfo::FromJson(const Poco::JSON::Object::Ptr& json)
{
    std::unique_ptr<MicroServiceInfo> info(new MicroServiceInfo(Data::INVALID_XOBJ_ID));
    try {
        if (!info->fromJSON(json))
            return nullptr;
    } catch (const std::exception& error) {
        ZOVI_LOG_ERROR("Invalid JSON object for MicroServiceInfo - " << error.what());
        return nullptr;
    }
    return info.release();
}

bool MicroServiceInfo::fromJSON(const Poco::JSON::Object::Ptr& json)
{
    if (!json)
        return false;
    setName(json->getValue<std::string>(KEY_NAME));
    setDescription(json->getValue<std::string>(KEY_DESCRIPTION));
    setPort(json->getValue<Poco::UInt32>(KEY_PORT));
    if (json->has(KEY_ID))
        setId(json->getValue<std::string>(KEY_ID));
    if (json->has(KEY_URI))
        setUri(json->getValue<std::string>(KEY_URI));
    if (const auto privileges = findArray(*json, KEY_PRIVILEGES); privileges && privileges->size() > 0)
        setPrivileges(stringList(privileges.get()));
    if (const auto categories = findArray(*json, KEY_SERVICE_CATEGORIES);
        categories && categories->size() > 0)
        setServiceCategories(stringList(categories.get()));
    // Unlike the two above, an array held by itself is not seen here, and the list is set even if it is
    // empty.
    setVersions(stringList(json->getArray(KEY_VERSIONS).get()));
    return true;
}

std::string MicroServiceInfo::getIdString() const
{
    return getId().toString();
}

std::string MicroServiceInfo::getUriString() const
{
    return getUri().toString();
}

std::vector<std::string> MicroServiceInfo::getPrivileges() const
{
    return getPrivilegesAttribute().simplify();
}

std::vector<std::string> MicroServiceInfo::getServiceCategories() const
{
    return getServiceCategoriesAttribute().simplify();
}

std::vector<std::string> MicroServiceInfo::getVersions() const
{
    return getVersionsAttribute().simplify();
}

const AttributeValueStringArray& MicroServiceInfo::getPrivilegesAttribute() const
{
    return listAttribute(KEY_PRIVILEGES);
}

const AttributeValueStringArray& MicroServiceInfo::getServiceCategoriesAttribute() const
{
    return listAttribute(KEY_SERVICE_CATEGORIES);
}

AttributeValueStringArray MicroServiceInfo::getVersionsAttribute() const
{
    return listAttribute(KEY_VERSIONS);
}

const AttributeValueStringArray& MicroServiceInfo::listAttribute(const std::string& key) const
{
    const Data::AttributeValueBase* value = getValue(key);
    if (!value)
        throw Poco::InvalidAccessException("attribute " + key + " is not set");
    return static_cast<const AttributeValueStringArray&>(*value);
}

std::string MicroServiceInfo::getDescription() const
{
    if (!getValue(KEY_DESCRIPTION))
        return std::string();
    return m_attrContainer.getValue<AttributeValueStringable<std::string>>(KEY_DESCRIPTION).get();
}

std::uint32_t MicroServiceInfo::getPort() const
{
    return static_cast<std::uint32_t>(m_attrContainer.getValue<AttributeValueInteger>(KEY_PORT).get());
}

const std::string& MicroServiceInfo::getSpecification() const
{
    if (m_specification.empty())
        m_specification =
            "{\"name\": " + getName() + "\",description\": " + getDescription() + "\",resources\": {}}";
    return m_specification;
}

Data::ResourceCollection MicroServiceInfo::getResources() const
{
    return {};
}

void MicroServiceInfo::setDescription(const std::string& description)
{
    m_attrContainer.setValue(KEY_DESCRIPTION, AttributeValueStringable<std::string>(description));
}

void MicroServiceInfo::setPort(std::uint32_t port)
{
    m_attrContainer.setValue(KEY_PORT, AttributeValueInteger(port));
}

void MicroServiceInfo::setPrivileges(const AttributeValueStringArray& privileges)
{
    m_attrContainer.setValue(KEY_PRIVILEGES, privileges);
}

void MicroServiceInfo::setPrivileges(AttributeValueStringArray&& privileges)
{
    m_attrContainer.setValue(KEY_PRIVILEGES, std::move(privileges));
}

void MicroServiceInfo::setServiceCategories(const AttributeValueStringArray& categories)
{
    m_attrContainer.setValue(KEY_SERVICE_CATEGORIES, categories);
}

void MicroServiceInfo::setServiceCategories(AttributeValueStringArray&& categories)
{
    m_attrContainer.setValue(KEY_SERVICE_CATEGORIES, std::move(categories));
}

void MicroServiceInfo::setVersions(const AttributeValueStringArray& versions)
{
    m_attrContainer.setValue(KEY_VERSIONS, versions);
}

void MicroServiceInfo::setVersions(AttributeValueStringArray&& versions)
{
    m_attrContainer.setValue(KEY_VERSIONS, std::move(versions));
}

void MicroServiceInfo::updateServiceId(const Poco::UUID& newId)
{
    setId(newId);
    setUri("/" + newId.toString());
}

} // namespace Zovi
