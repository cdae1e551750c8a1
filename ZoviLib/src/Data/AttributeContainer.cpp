#include "Data/AttributeContainer.h"

#include "Data/XObjectBase.h"
#include "Logging/LogStream.h"

#include <Poco/Bugcheck.h>

#include <algorithm>

namespace Zovi
{

namespace
{

void validateInitialValues(Data::AttributeMap& map, Data::XObjectId parent)
{
    for (auto entry = map.begin(); entry != map.end(); ++entry) {
        if (!entry->second) {
            entry = map.erase(entry);
            if (entry == map.end())
                return;
        }
        // Only one null entry in a row is tolerated: the next one is caught by this dereference.
        if (entry->second->parent() == parent)
            continue;
        ZOVI_LOG_WARNING("AttributeContainer is initialized with Attribute '"
                         << entry->second->getName()
                         << "' of an unrelated XObject. Attribute is copied and fixed");
        entry->second = entry->second->copy(parent);
    }
}

} // namespace

} // namespace Zovi

namespace Zovi::Data
{

namespace
{

/// The value of an entry, null if the attribute is empty.
const AttributeValueBase* valueOf(const AttributeBase::Ptr& attribute)
{
    if (!attribute)
        Poco::Bugcheck::bugcheck(__FILE__, __LINE__);
    return attribute->getValueBase();
}

bool isListed(const std::vector<std::string>& names, const std::string& name)
{
    return std::find(names.begin(), names.end(), name) != names.end();
}

} // namespace

AttributeContainer::AttributeContainer(XObjectId parent)
    : m_parentId(parent)
{
}

AttributeContainer::AttributeContainer(XObjectId parent, AttributeMap&& values)
    : m_attrMap(std::move(values))
    , m_parentId(parent)
{
    validateInitialValues(m_attrMap, m_parentId);
}

AttributeContainer AttributeContainer::deepCopy(const AttributeContainer& other)
{
    return deepCopy(other.parent(), other.getAttributes());
}

AttributeContainer AttributeContainer::deepCopy(XObjectId parent, const AttributeMap& attrMap)
{
    AttributeMap copies;
    for (const auto& [key, attribute] : attrMap) {
        AttributeBase::Ptr copy(attribute->copy(parent));
        copies.emplace_hint(copies.end(), key, std::move(copy));
    }
    return AttributeContainer(parent, std::move(copies));
}

bool AttributeContainer::contains(const std::string& name) const
{
    return m_attrMap.find(name) != m_attrMap.end();
}

AttributeBase::Ptr AttributeContainer::getAttribute(const std::string& name) const
{
    const auto entry = m_attrMap.find(name);
    return entry == m_attrMap.end() ? AttributeBase::Ptr() : entry->second;
}

AttributeValueBase* AttributeContainer::getValue(const std::string& name) const
{
    const auto entry = m_attrMap.find(name);
    return entry == m_attrMap.end() ? nullptr : entry->second->getValueBase();
}

bool AttributeContainer::setAttribute(const AttributeBase& attr)
{
    const std::string& name = attr.getName();
    if (attr.isEmpty()) {
        removeValue(name);
        return true;
    }
    const AttributeBase::Ptr existing = getAttribute(name);
    if (!existing) {
        AttributeBase::Ptr copy = attr.copy(m_parentId);
        m_attrMap[name] = std::move(copy);
        return true;
    }
    if (existing->type() != attr.type()) {
        ZOVI_LOG_ERROR("AttributeContainer::setAttribute - type conflict for attribute " << name);
        return false;
    }
    AttributeValueBase* target = existing->getValueBase();
    poco_check_ptr(target);
    target->setValue(*attr.getValueBase());
    return true;
}

bool AttributeContainer::setAttribute(AttributeBase::Ptr&& attr)
{
    if (!attr)
        return false;
    // A null entry counts as a name that is present, so that it is filled by a copy.
    if (!attr->isEmpty() && attr->parent() == m_parentId && !contains(attr->getName())) {
        m_attrMap.emplace(attr->getName(), std::move(attr));
        return true;
    }
    if (!setAttribute(*attr))
        return false;
    attr = nullptr;
    return true;
}

Poco::JSON::Object::Ptr AttributeContainer::toJSON(int expandLevel) const
{
    Poco::JSON::Object::Ptr object = new Poco::JSON::Object;
    if (expandLevel < 0) {
        const auto setMember = [&](const std::string& key, const AttributeValueBase& value) {
            object->set(key, value.toJSON(expandLevel));
        };
        setMember(XObjectBase::KEY_ID, getValue<AttributeValueStringable<Poco::UUID>>(XObjectBase::KEY_ID));
        setMember(XObjectBase::KEY_NAME,
                  getValue<AttributeValueStringable<std::string>>(XObjectBase::KEY_NAME));
        setMember(XObjectBase::KEY_URI, getValue<AttributeValueStringable<Poco::URI>>(XObjectBase::KEY_URI));
        return object;
    }
    for (const auto& [key, attribute] : m_attrMap) {
        if (const AttributeValueBase* value = valueOf(attribute))
            object->set(key, value->toJSON(expandLevel - 1));
    }
    return object;
}

Poco::JSON::Object::Ptr AttributeContainer::toJSON(const std::vector<std::string>& fields) const
{
    Poco::JSON::Object::Ptr object = new Poco::JSON::Object;
    for (const auto& [key, attribute] : m_attrMap) {
        if (const AttributeValueBase* value = valueOf(attribute))
            object->set(key, value->toJSON(isListed(fields, attribute->getName()) ? 0 : -1));
    }
    return object;
}

void AttributeContainer::throwTypeConflict(const std::string& name)
{
    throw Poco::InvalidAccessException("Invalid type for attribute " + name + " in AttributeContainer");
}

} // namespace Zovi::Data
