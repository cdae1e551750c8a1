#include "Finding.h"

#include <utility>

namespace Zovi::Host
{

Finding::Finding(const Poco::SharedPtr<Data::ElementGeneric>& element, Describe describe)
    : m_element(element)
    , m_describe(std::move(describe))
{
}

Data::ElementBase::Ptr Finding::describe()
{
    if (const Describe describe = std::exchange(m_describe, nullptr))
        m_isThere = describe(*m_element);
    return m_isThere ? Data::ElementBase::Ptr(m_element) : Data::ElementBase::Ptr();
}

Poco::Dynamic::Var ElementReference::toJSON(int expandLevel) const
{
    return expandLevel < 0 ? m_value->element().toJSON(expandLevel)
                           : getReferencedObject()->toJSON(expandLevel);
}

const Data::XObjectBase* ElementReference::getReferencedObject() const
{
    m_value->describe();
    return &m_value->element();
}

} // namespace Zovi::Host
