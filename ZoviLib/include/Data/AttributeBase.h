#pragma once

#include "Data/AttributeValue.h"
#include "Data/AttributeValueArray.h"
#include "Data/AttributeValueBase.h"
#include "Data/XObjectId.h"
#include "ZoviExport.h"

#include <Poco/Exception.h>
#include <Poco/SharedPtr.h>
#include <Poco/URI.h>
#include <Poco/UUID.h>

#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace Zovi::Data
{

/// A named value that belongs to one object.
///
/// An attribute knows its owner by number, and that number never changes: an attribute goes to another object
/// as a copy. Attributes are shared by pointer, whose count is safe across threads; the attribute itself is
/// not.
class KYRZOVI_API AttributeBase
{
public:
    /// How attributes are shared.
    using Ptr = Poco::SharedPtr<AttributeBase>;

    virtual ~AttributeBase();

    AttributeBase(const AttributeBase&) = delete;
    AttributeBase& operator=(const AttributeBase&) = delete;
    AttributeBase& operator=(AttributeBase&&) = delete;

    /// The type of the held value, such as `typeid(std::string)`. Known without a value, as the next two are.
    virtual const std::type_info& type() const = 0;

    /// The name, under which its owner keeps it.
    virtual const std::string& getName() const = 0;

    /// The value, open to change, or a null pointer if the attribute is empty. The attribute keeps it; it
    /// lives until the attribute is given another one.
    virtual AttributeValueBase* getValueBase() const = 0;

    /// Whether the value refers to an object, and whether it is made of element values.
    virtual bool isXObjReference() const = 0;
    virtual bool isArray() const = 0;

    /// A new attribute of the same name for the object `newParent`, which shares nothing with this one. The
    /// caller owns it. Throws `Poco::InvalidAccessException` if this attribute is empty.
    virtual AttributeBase* copy(XObjectId newParent) const = 0;

    /// The same for the owner of this attribute.
    AttributeBase* copy() const { return copy(m_parentId); }

    /// The number of the owner, `INVALID_XOBJ_ID` without one.
    XObjectId parent() const { return m_parentId; }

    /// True if there is no value. An empty text or array is one.
    bool isEmpty() const { return getValueBase() == nullptr; }

protected:
    /// For the derived class: an attribute of `parent`, or of the owner of another one.
    explicit AttributeBase(XObjectId parent)
        : m_parentId(parent)
    {
    }
    AttributeBase(AttributeBase&& other) noexcept
        : m_parentId(other.m_parentId)
    {
    }

private:
    const XObjectId m_parentId;
};

/// The attribute that holds a value of the class `V`, any copyable class on top of `AttributeValue`.
///
///     Attribute<AttributeValueInteger> port(INVALID_XOBJ_ID, "port", 8080);
///     port.getValue(); // 8080
///
/// It is empty only when moved from, or when a derived class made it so.
template <typename V>
class KYRZOVI_API Attribute : public AttributeBase
{
public:
    /// The value class, and the type that it holds.
    using attr_value_type = V;
    using value_type = typename V::value_type;

    /// Makes the value from `value`, which is a `value_type`, a `V`, or whatever else makes a `V`.
    template <typename U = value_type, std::enable_if_t<std::is_constructible_v<V, U&&>, int> = 0>
    Attribute(XObjectId parent, const std::string& name, U&& value)
        : AttributeBase(parent)
        , m_name(name)
        , m_value(std::make_unique<V>(std::forward<U>(value)))
    {
    }

    /// Copies name, value and owner. An empty attribute gives an empty one.
    Attribute(const Attribute& other)
        : AttributeBase(other.parent())
        , m_name(other.m_name)
        , m_value(other.cloneValue())
    {
    }

    /// Copies name and owner and takes over the value: `other` keeps both and is empty afterwards.
    // NOLINTNEXTLINE(performance-noexcept-move-constructor): the name is copied, which may fail
    Attribute(Attribute&& other)
        : AttributeBase(std::move(other))
        , m_name(other.m_name)
        , m_value(std::move(other.m_value))
    {
    }

    ~Attribute() override = default;

    /// Copies name and value; the owner stays.
    Attribute& operator=(const Attribute& other)
    {
        std::unique_ptr<V> value = other.cloneValue();
        m_name = other.m_name;
        m_value = std::move(value);
        return *this;
    }

    /// Copies the name and takes over the value, so that `other` is empty afterwards; the owner stays.
    // NOLINTNEXTLINE(performance-noexcept-move-constructor): the name is copied, which may fail
    Attribute& operator=(Attribute&& other)
    {
        m_name = other.m_name;
        m_value = std::move(other.m_value);
        return *this;
    }

    /// What `AttributeBase` asks for.
    const std::type_info& type() const override { return typeid(value_type); }
    const std::string& getName() const override { return m_name; }
    AttributeValueBase* getValueBase() const override { return m_value.get(); }
    bool isXObjReference() const override { return V::isXObjReferenceType(); }
    bool isArray() const override { return V::isArrayType(); }

    using AttributeBase::copy;
    AttributeBase* copy(XObjectId newParent) const override
    {
        return new Attribute(newParent, m_name, getAttributeValue());
    }

    /// These two throw `Poco::InvalidAccessException` if the attribute is empty. The reference is good until
    /// the attribute is given another value.
    const V& getAttributeValue() const
    {
        if (!m_value)
            throw Poco::InvalidAccessException("attribute " + m_name + " is not set");
        return *m_value;
    }
    const value_type& getValue() const { return getAttributeValue().get(); }

    /// Replaces the value object by a new one made from the argument; an empty attribute gains a value.
    void setValue(const attr_value_type& value) { m_value = std::make_unique<V>(value); }
    void setValue(attr_value_type&& value) { m_value = std::make_unique<V>(std::move(value)); }
    void setValue(const value_type& value) { m_value = std::make_unique<V>(value); }
    void setValue(value_type&& value) { m_value = std::make_unique<V>(std::move(value)); }

protected:
    /// The empty attribute.
    Attribute(XObjectId parent, const std::string& name)
        : AttributeBase(parent)
        , m_name(name)
    {
    }

private:
    std::unique_ptr<V> cloneValue() const { return m_value ? std::make_unique<V>(*m_value) : nullptr; }

    std::string m_name;
    std::unique_ptr<V> m_value;
};

extern template class Attribute<AttributeValueStringable<std::string>>;
extern template class Attribute<AttributeValueStringable<Poco::UUID>>;
extern template class Attribute<AttributeValueStringable<Poco::URI>>;
extern template class Attribute<AttributeValueInteger>;
extern template class Attribute<AttributeValueStringArray>;

} // namespace Zovi::Data
