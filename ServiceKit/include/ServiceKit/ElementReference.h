#pragma once

#include "Data/AttributeValue.h"
#include "Data/ElementBase.h"
#include "ServiceKit/Resource.h"

#include <Poco/UUID.h>

#include <string>

namespace Zovi::ServiceKit
{

/// An element of a resource that is known by id and name. The rest is asked of the resource only when
/// somebody wants to know it, and then once, so that elements may refer to each other in a circle. A plain
/// value, used by one thread at a time.
class ElementLink
{
public:
    /// The element of `resource` whose id is `id`. The resource must outlive the link, as one that has been
    /// added to a service does; the element need not exist.
    ElementLink(const Resource& resource, const Poco::UUID& id, const std::string& name);

    /// The element with id, name and address alone.
    const Data::ElementBase& brief() const { return *m_brief; }

    /// The element with all its attributes; the same as `brief` if the resource has none of this id. Throws
    /// what the resource throws.
    const Data::ElementBase& whole() const;

private:
    const Resource* m_resource;
    Poco::UUID m_id;
    Data::ElementBase::Ptr m_brief;
    mutable Data::ElementBase::Ptr m_whole;
};

/// The value of an attribute that refers to an element:
///
///     book->setValue<ElementReference>("author", {authors, authorId, "Jane Austen"});
///
/// It is shown by id, name and address, and with "$expand" with all that the element says.
class ElementReference : public Data::AttributeValue<ElementLink, Data::AttributeValueObjectBase>
{
public:
    /// Refers to the element of `link`.
    ElementReference(const ElementLink& link)
        : AttributeValue(link)
    {
    }

    /// Below level 0 the resource is not asked.
    Poco::Dynamic::Var toJSON(int expandLevel) const override;

    /// The whole element, which lives as long as this value.
    const Data::XObjectBase* getReferencedObject() const override { return &m_value.whole(); }
};

} // namespace Zovi::ServiceKit
