#include "Data/AttributeValueBase.h"

#include "Data/XObjectBase.h"

namespace Zovi::Data
{

AttributeValueBase::~AttributeValueBase() = default;

bool AttributeValueBase::isXObjReference() const
{
    return isXObjReferenceType();
}

bool AttributeValueBase::isArray() const
{
    return isArrayType();
}

bool AttributeValueBase::setValue(const AttributeValueBase&)
{
    return false;
}

int AttributeValueBase::compare(const AttributeValueBase& other) const
{
    const GenericValue left = asGeneric();
    const GenericValue right = other.asGeneric();
    if (left < right)
        return -1;
    return right < left ? 1 : 0;
}

bool AttributeValueBase::convert(std::vector<const AttributeValueBase*>& out) const
{
    const auto* array = isArray() ? convert<AttributeValueArrayBase>() : nullptr;
    if (!array)
        return false;
    out = array->getValueArray();
    return true;
}

bool AttributeValueBase::convert(const XObjectBase*& out) const
{
    const auto* reference = isXObjReference() ? convert<AttributeValueObjectBase>() : nullptr;
    const XObjectBase* object = reference ? reference->getReferencedObject() : nullptr;
    if (!object)
        return false;
    out = object;
    return true;
}

AttributeValueStringableBase::~AttributeValueStringableBase() = default;

bool AttributeValueStringableBase::convert(std::string& out) const
{
    out = toString();
    return true;
}

AttributeValueArrayBase::~AttributeValueArrayBase() = default;

bool AttributeValueArrayBase::isArray() const
{
    return isArrayType();
}

AttributeValueObjectBase::~AttributeValueObjectBase() = default;

Poco::Dynamic::Var AttributeValueObjectBase::toJSON(int expandLvl) const
{
    const XObjectBase* object = getReferencedObject();
    return object ? Poco::Dynamic::Var(object->toJSON(expandLvl)) : Poco::Dynamic::Var();
}

bool AttributeValueObjectBase::isXObjReference() const
{
    return isXObjReferenceType();
}

} // namespace Zovi::Data
