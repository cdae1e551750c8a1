#include "RegisteredServices.h"

#include "JSONTools.h"
#include "ServiceKit/Specification.h"
#include "ServiceKit/Text.h"

namespace Zovi::Registry
{

RegisteredServices::RegisteredServices(const ServiceKit::Reference& service)
    : Resource(service.child("services"), "The services of this machine that are there now.")
{
}

RegisteredServices::Entry RegisteredServices::add(const std::string& description)
{
    Poco::JSON::Object::Ptr json;
    Util::JSONTools::parseJSONString(ServiceKit::toValidUtf8(description), json);
    const Entry entry(MicroServiceInfo::FromJson(json));
    if (!entry || !entry->hasValue(MicroServiceInfo::KEY_ID))
        return {};
    {
        const std::lock_guard lock(m_mutex);
        m_services[entry->getId()] = entry;
    }
    notifyChanged();
    return entry;
}

void RegisteredServices::remove(const Entry& entry)
{
    {
        const std::lock_guard lock(m_mutex);
        const auto known = m_services.find(entry->getId());
        if (known == m_services.end() || known->second != entry)
            return;
        m_services.erase(known);
    }
    notifyChanged();
}

Poco::JSON::Object::Ptr RegisteredServices::specification() const
{
    return ServiceKit::makeSpecification(
        reference().name, description(),
        {
            {"description", "string", "", "What the service is."},
            {"port", "integer", "", "The TCP port at which it is reached."},
            {"privileges", "array of string", "", "What a client must be allowed to do.", true},
            {"serviceCategories", "array of string", "", "The kinds of service that it is one of.", true},
            {"versions", "array of string", "", "The versions of its interface."},
        });
}

Data::ElementCollection RegisteredServices::elements() const
{
    const std::lock_guard lock(m_mutex);
    Data::ElementCollection elements;
    for (const auto& [id, info] : m_services)
        elements.push_back(describe(*info));
    return elements;
}

Data::ElementBase::Ptr RegisteredServices::element(const Poco::UUID& id) const
{
    const std::lock_guard lock(m_mutex);
    const auto known = m_services.find(id);
    return known == m_services.end() ? Data::ElementBase::Ptr() : describe(*known->second);
}

bool RegisteredServices::tellsOfChanges() const
{
    return true;
}

/// As an element the service has an address of the registry's; all else is its own.
Data::ElementBase::Ptr RegisteredServices::describe(const MicroServiceInfo& info) const
{
    Poco::SharedPtr<Data::ElementGeneric> element = makeElement(info.getId(), info.getName());
    for (const auto& [name, attribute] : info.getAttributesRef()) {
        if (!Data::XObjectBase::isXObjectAttribute(name))
            element->setAttribute(*attribute);
    }
    return element;
}

} // namespace Zovi::Registry
