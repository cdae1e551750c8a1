#pragma once

#include "Data/AttributeValue.h"

#include <Poco/SharedPtr.h>

namespace Zovi::Test
{

/// The value of an attribute that refers to an object and keeps it alive.
template <typename Object>
class KeptObject : public Data::AttributeValue<Poco::SharedPtr<Object>, Data::AttributeValueObjectBase>
{
public:
    KeptObject(const Poco::SharedPtr<Object>& object)
        : Data::AttributeValue<Poco::SharedPtr<Object>, Data::AttributeValueObjectBase>(object)
    {
    }

    const Data::XObjectBase* getReferencedObject() const override { return this->get().get(); }
};

} // namespace Zovi::Test
