#pragma once

#include "Data/AttributeValue.h"
#include "ServiceKit/Resource.h"

#include <memory>
#include <string>

namespace Zovi::ServiceKit
{

/// The value of an attribute that refers to a resource, which it shares.
class ResourceReference
    : public Data::AttributeValue<std::shared_ptr<const Resource>, Data::AttributeValueObjectBase>
{
public:
    /// Shares `resource`, which may be null.
    ResourceReference(const std::shared_ptr<const Resource>& resource)
        : AttributeValue(resource)
    {
    }

    /// The resource as an object of the model; null if the value holds none.
    const Data::XObjectBase* getReferencedObject() const override
    {
        return m_value ? &m_value->object() : nullptr;
    }
};

} // namespace Zovi::ServiceKit
