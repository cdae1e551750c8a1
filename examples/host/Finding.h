#pragma once

#include "Data/AttributeValue.h"
#include "Data/ElementBase.h"

#include <Poco/SharedPtr.h>

#include <functional>
#include <memory>

namespace Zovi::Host
{

/// A thing of the machine that is known to be there. What it is like is found out only when somebody wants to
/// know, and then once. Used by one thread.
class Finding
{
public:
    /// Sets the attributes of the element; false if the thing is gone.
    using Describe = std::function<bool(Data::ElementGeneric&)>;

    /// `element` has "id", "name" and "uri".
    Finding(const Poco::SharedPtr<Data::ElementGeneric>& element, Describe describe);

    /// The element as it was found.
    const Data::ElementGeneric& element() const { return *m_element; }

    /// The element with all its attributes; a null pointer if the thing is gone.
    Data::ElementBase::Ptr describe();

private:
    Poco::SharedPtr<Data::ElementGeneric> m_element;
    Describe m_describe;
    bool m_isThere = true;
};

/// The value of an attribute that refers to another element. As long as it is shown in its short form,
/// nothing is asked of the machine.
class ElementReference : public Data::AttributeValue<std::shared_ptr<Finding>, Data::AttributeValueObjectBase>
{
public:
    ElementReference(const std::shared_ptr<Finding>& finding)
        : AttributeValue(finding)
    {
    }

    Poco::Dynamic::Var toJSON(int expandLevel) const override;

    /// With all its attributes, or as it was found if it is gone meanwhile.
    const Data::XObjectBase* getReferencedObject() const override;
};

} // namespace Zovi::Host
