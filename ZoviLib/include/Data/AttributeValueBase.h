#pragma once

#include "ZoviExport.h"

#include <Poco/Dynamic/Var.h>

#include <cstddef>
#include <string>
#include <typeinfo>
#include <vector>

namespace Zovi::Data
{

class XObjectBase;

/// The object model's name for a value whose type is known at run time only.
using GenericValue = Poco::Dynamic::Var;

/// A typed value, the payload of one attribute.
///
/// A value owns what it holds and is used by one thread at a time. The library's own values are the classes
/// of `AttributeValue.h` and `AttributeValueArray.h`; a service adds its own by deriving from
/// `AttributeValue` or from one of the bases in this file.
class KYRZOVI_API AttributeValueBase
{
public:
    virtual ~AttributeValueBase();

    /// The type of the held value, not of the value class: `typeid(Poco::URI)` for a value that holds a URI.
    virtual const std::type_info& type() const = 0;

    /// A copy of the value for comparison and search. Unlike in JSON, numbers and texts keep their type here,
    /// a stringable value becomes its text and an array a `std::vector<GenericValue>`.
    virtual GenericValue asGeneric() const = 0;

    /// The JSON form. `expandLvl` matters to references alone: a negative level asks for the short form of
    /// the referenced object, 0 for its attributes, and each step more for one more step of references.
    virtual Poco::Dynamic::Var toJSON(int expandLvl) const = 0;

    /// True if this value refers to an object, or is an array of such values.
    virtual bool isXObjReference() const;

    /// True if this value is made of element values.
    virtual bool isArray() const;

    /// Takes over a copy of the value of `other`. False, with this value as it was, if the types do not fit;
    /// here they never do. `other` may be this value.
    virtual bool setValue(const AttributeValueBase& other);

    /// -1 if this value sorts before `other`, 1 if behind, 0 if neither.
    ///
    /// Values of one type compare by that type's order. All others, and these here, compare as
    /// `Poco::Dynamic::Var` does it: by their texts, even two integers, and an empty one is before nothing.
    /// Throws what `Poco::Dynamic::Var` throws for a value that has no text form.
    virtual int compare(const AttributeValueBase& other) const;

    /// The same answers as above for the class as a whole, without a value at hand.
    static bool isXObjReferenceType() { return false; }
    static bool isArrayType() { return false; }

    /// This value as a `C`, a null pointer if it is none.
    template <typename C>
    C* convert()
    {
        return dynamic_cast<C*>(this);
    }
    template <typename C>
    const C* convert() const
    {
        return dynamic_cast<const C*>(this);
    }

    /// Replaces the content of `out` by pointers to the elements, which stay the array's own and are good
    /// until the array is changed. False, with `out` as it was, unless `isArray()` holds and this really is
    /// an `AttributeValueArrayBase`.
    bool convert(std::vector<const AttributeValueBase*>& out) const;

    /// Sets `out` to the referenced object. False, with `out` as it was, if there is no object, or unless
    /// `isXObjReference()` holds and this really is an `AttributeValueObjectBase`; an array of references is
    /// none.
    bool convert(const XObjectBase*& out) const;

protected:
    AttributeValueBase() = default;
    AttributeValueBase(const AttributeValueBase&) = default;
    AttributeValueBase(AttributeValueBase&&) = default;
    AttributeValueBase& operator=(const AttributeValueBase&) = default;
    AttributeValueBase& operator=(AttributeValueBase&&) = default;
};

/// A value that has a text form.
class KYRZOVI_API AttributeValueStringableBase : public AttributeValueBase
{
public:
    ~AttributeValueStringableBase() override;

    /// The text form.
    virtual std::string toString() const = 0;

    using AttributeValueBase::convert;

    /// Sets `out` to the text and returns true.
    bool convert(std::string& out) const;

protected:
    AttributeValueStringableBase() = default;
    AttributeValueStringableBase(const AttributeValueStringableBase&) = default;
    AttributeValueStringableBase(AttributeValueStringableBase&&) = default;
    AttributeValueStringableBase& operator=(const AttributeValueStringableBase&) = default;
    AttributeValueStringableBase& operator=(AttributeValueStringableBase&&) = default;
};

/// A value made of element values.
class KYRZOVI_API AttributeValueArrayBase : public AttributeValueBase
{
public:
    ~AttributeValueArrayBase() override;

    bool isArray() const override;

    /// Pointers to the elements, in order. The array keeps them; they live until it is changed.
    virtual std::vector<const AttributeValueBase*> getValueArray() const = 0;
    virtual std::vector<AttributeValueBase*> getValueArray() = 0;

    /// The number of elements.
    virtual std::size_t size() const = 0;

    /// True for the class as a whole.
    static bool isArrayType() { return true; }

protected:
    AttributeValueArrayBase() = default;
    AttributeValueArrayBase(const AttributeValueArrayBase&) = default;
    AttributeValueArrayBase(AttributeValueArrayBase&&) = default;
    AttributeValueArrayBase& operator=(const AttributeValueArrayBase&) = default;
    AttributeValueArrayBase& operator=(AttributeValueArrayBase&&) = default;
};

/// A value that refers to an object. The library has no such value of its own; a service derives one, for
/// example from `AttributeValue<Poco::SharedPtr<Zovi::Data::ElementBase>, AttributeValueObjectBase>`.
class KYRZOVI_API AttributeValueObjectBase : public AttributeValueBase
{
public:
    ~AttributeValueObjectBase() override;

    /// The JSON form of the referenced object at level `expandLvl`, an empty value without an object. Where
    /// objects refer to each other in a circle, the level, one less at each step, is what ends it.
    Poco::Dynamic::Var toJSON(int expandLvl) const override;

    bool isXObjReference() const override;

    /// The object, a null pointer if there is none. Who keeps it alive is for the derived class to say.
    virtual const XObjectBase* getReferencedObject() const = 0;

    /// True for the class as a whole.
    static bool isXObjReferenceType() { return true; }

protected:
    AttributeValueObjectBase() = default;
    AttributeValueObjectBase(const AttributeValueObjectBase&) = default;
    AttributeValueObjectBase(AttributeValueObjectBase&&) = default;
    AttributeValueObjectBase& operator=(const AttributeValueObjectBase&) = default;
    AttributeValueObjectBase& operator=(AttributeValueObjectBase&&) = default;
};

} // namespace Zovi::Data
