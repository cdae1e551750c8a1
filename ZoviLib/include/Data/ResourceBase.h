#pragma once

#include "Data/ElementBase.h"
#include "Data/XObjectBase.h"
#include "ZoviExport.h"

#include <Poco/SharedPtr.h>

#include <string>
#include <vector>

namespace Zovi::Data
{

/// What a service offers at one of its resources: a description and the elements in it.
///
/// A service implements it, as a rule on top of `GenericObject<ResourceBase>`, which keeps the attributes.
class KYRZOVI_API ResourceBase : public XObjectBase
{
public:
    static const std::string KEY_DESCRIPTION; ///< "description"

    /// For the derived class: a resource with the number `id`, or with that of `other`.
    explicit ResourceBase(XObjectId id);
    ResourceBase(const ResourceBase& other);
    ResourceBase(ResourceBase&& other);
    ResourceBase& operator=(const ResourceBase& other);
    ResourceBase& operator=(ResourceBase&& other);
    ~ResourceBase() override;

    /// What the resource is, in words.
    virtual std::string getDescription() const = 0;
    /// The text that is served as the specification of the resource; it lives as long as the resource.
    virtual const std::string& getSpecification() const = 0;
    /// True if the element with that number is in the resource.
    virtual bool hasElement(XObjectId elementId) const = 0;
    /// That element, shared with the resource, or a null pointer.
    virtual ElementBase::Ptr getElement(XObjectId elementId) const = 0;
    /// All elements, shared with the resource.
    virtual ElementCollection getElements() const = 0;
};

/// Resources in the order in which a service gives them.
using ResourceCollection = std::vector<Poco::SharedPtr<ResourceBase>>;

} // namespace Zovi::Data
