#include "ServiceKit/ElementReference.h"

namespace Zovi::ServiceKit
{

ElementLink::ElementLink(const Resource& resource, const Poco::UUID& id, const std::string& name)
    : m_resource(&resource)
    , m_id(id)
    , m_brief(resource.makeElement(id, name))
{
}

const Data::ElementBase& ElementLink::whole() const
{
    if (!m_whole) {
        m_whole = m_resource->element(m_id);
        if (!m_whole)
            m_whole = m_brief;
    }
    return *m_whole;
}

Poco::Dynamic::Var ElementReference::toJSON(int expandLevel) const
{
    const Data::ElementBase& element = expandLevel < 0 ? m_value.brief() : m_value.whole();
    return element.toJSON(expandLevel);
}

} // namespace Zovi::ServiceKit
