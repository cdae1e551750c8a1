#pragma once

#include "Data/AttributeContainer.h"
#include "Data/AttributeValue.h"
#include "Data/XObjectBase.h"
#include "ZoviExport.h"

#include <Poco/Exception.h>
#include <Poco/JSON/Object.h>
#include <Poco/URI.h>
#include <Poco/UUID.h>

#include <cstddef>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Zovi::Data
{

namespace Detail
{

/// The value class behind `A`, which is an attribute class or a value class itself.
template <typename A, typename = void>
struct ValueClassOf {
    using type = A;
};
template <typename A>
struct ValueClassOf<A, std::void_t<typename A::attr_value_type>> {
    using type = typename A::attr_value_type;
};

} // namespace Detail

/// Makes the object class `B` concrete: keeps its attributes in a container and implements the attribute
/// operations of `XObjectBase` on that. The JSON form is that of the container.
///
/// `B` is `XObjectBase`, `ElementBase`, `ServiceBase`, `ResourceBase` or a class of a service that derives
/// from one of them and constructs from an `XObjectId`. What `B` leaves abstract beyond the attributes stays
/// so.
///
/// The container names the number that the object had at construction as owner, and keeps it when the number
/// moves on to another object. An object is used by one thread at a time.
template <typename B>
class KYRZOVI_API GenericObject : public B
{
public:
    /// An object without attributes.
    explicit GenericObject(XObjectId id)
        : B(id)
        , m_attrContainer(id)
    {
    }

    /// An object with "id", "uri" and "name". Throws `Poco::DataException` if `uri` is not empty and its path
    /// does not contain the text of `uuid`. They are bound nowhere else: setters may let them disagree.
    GenericObject(const std::string& name, const Poco::UUID& uuid, const Poco::URI& uri, XObjectId id)
        : GenericObject(id)
    {
        if (!uri.empty() && uri.getPath().find(uuid.toString()) == std::string::npos)
            throw Poco::DataException("Invalid XObject - URI and UUID mismatch");
        setId(uuid);
        setUri(uri);
        setName(name);
    }

    /// The same from texts; throws what `Poco::UUID` and `Poco::URI` throw on them, in this order.
    GenericObject(const std::string& name, const std::string& uuid, const std::string& uri, XObjectId id)
        // In braces the arguments are made from left to right, by every compiler.
        : GenericObject{name, Poco::UUID(uuid), Poco::URI(uri), id}
    {
    }

    /// Copies `other` with its number and all attributes, which are not shared.
    explicit GenericObject(const B& other)
        : B(other)
        , m_attrContainer(AttributeContainer::deepCopy(this->id(), other.getAttributes()))
    {
    }

    /// Copies a plain object into one of a class `B` that constructs from an `XObjectBase`. Nothing is
    /// shared.
    template <typename X,
              std::enable_if_t<std::is_same_v<X, XObjectBase> && !std::is_same_v<B, XObjectBase>, int> = 0>
    explicit GenericObject(const GenericObject<X>& other)
        : B(static_cast<const X&>(other))
        , m_attrContainer(AttributeContainer::deepCopy(other.m_attrContainer))
    {
    }

    /// The same, taking over number and attributes; `other` has neither afterwards.
    template <typename X,
              std::enable_if_t<std::is_same_v<X, XObjectBase> && !std::is_same_v<B, XObjectBase>, int> = 0>
    explicit GenericObject(GenericObject<X>&& other)
        : B(static_cast<X&&>(other))
        , m_attrContainer(std::move(other.m_attrContainer))
    {
    }

    /// Copies number and attributes, which are not shared.
    GenericObject(const GenericObject& other)
        : GenericObject(static_cast<const B&>(other))
    {
    }

    /// Takes over number and attributes; `other` has neither afterwards.
    // NOLINTNEXTLINE(performance-noexcept-move-constructor): taking over the number may fail
    GenericObject(GenericObject&& other)
        : B(static_cast<B&&>(other))
        , m_attrContainer(std::move(other.m_attrContainer))
    {
    }

    /// As the constructors. If the attributes cannot be copied, this object is as it was. Assigning an object
    /// to itself leaves it its attributes, but no number.
    GenericObject& operator=(const GenericObject& other)
    {
        AttributeContainer copy = AttributeContainer::deepCopy(other.id(), other.getAttributes());
        B::operator=(other);
        m_attrContainer = std::move(copy);
        return *this;
    }

    /// Takes over number and attributes; `other` has neither afterwards. It may be an object that only an
    /// attribute of this one keeps, and that is gone then.
    // NOLINTNEXTLINE(performance-noexcept-move-constructor): taking over the number may fail
    GenericObject& operator=(GenericObject&& other)
    {
        B::operator=(static_cast<B&&>(other));
        if (this != &other) {
            AttributeContainer attributes = std::move(other.m_attrContainer);
            std::swap(m_attrContainer, attributes);
        }
        return *this;
    }

    ~GenericObject() override = default;

    /// What `XObjectBase` asks for, answered by the container.
    AttributeMap getAttributes() const override { return m_attrContainer.getAttributes(); }
    AttributeBase::Ptr getAttribute(const std::string& name) const override
    {
        return m_attrContainer.getAttribute(name);
    }
    bool hasValue(const std::string& name) const override { return m_attrContainer.contains(name); }
    std::size_t size() const override { return m_attrContainer.size(); }
    AttributeValueBase* getValue(const std::string& name) const override
    {
        return m_attrContainer.getValue(name);
    }
    std::string getName() const override
    {
        return m_attrContainer.getValue<AttributeValueStringable<std::string>>(XObjectBase::KEY_NAME).get();
    }
    Poco::UUID getId() const override
    {
        return m_attrContainer.getValue<AttributeValueStringable<Poco::UUID>>(XObjectBase::KEY_ID).get();
    }
    Poco::URI getUri() const override
    {
        return m_attrContainer.getValue<AttributeValueStringable<Poco::URI>>(XObjectBase::KEY_URI).get();
    }
    Poco::JSON::Object::Ptr toJSON(int expandLevel) const override
    {
        return m_attrContainer.toJSON(expandLevel);
    }
    Poco::JSON::Object::Ptr toJSON(const std::vector<std::string>& fields) const override
    {
        return m_attrContainer.toJSON(fields);
    }

    /// The attributes in place, without the copy that `getAttributes` makes of the map.
    const AttributeMap& getAttributesRef() const { return m_attrContainer.getAttributes(); }

    /// These set the attributes "name", "id" and "uri". They throw `Poco::InvalidAccessException` if the
    /// attribute is there with another type, and from a text what `Poco::UUID` or `Poco::URI` throws on it.
    void setName(const std::string& name)
    {
        setValue<AttributeValueStringable<std::string>>(XObjectBase::KEY_NAME, name);
    }
    void setId(const Poco::UUID& uuid)
    {
        setValue<AttributeValueStringable<Poco::UUID>>(XObjectBase::KEY_ID, uuid);
    }
    void setId(const std::string& uuid) { setId(Poco::UUID(uuid)); }
    void setUri(const Poco::URI& uri)
    {
        setValue<AttributeValueStringable<Poco::URI>>(XObjectBase::KEY_URI, uri);
    }
    void setUri(const std::string& uri) { setUri(Poco::URI(uri)); }

    /// Sets an attribute; `A` names its class or that of its value:
    ///
    ///     element.setValue<Attribute<AttributeValueInteger>>("pid", 1);
    ///
    /// Throws `Poco::InvalidAccessException` if the attribute is there with another class.
    template <typename A>
    void setValue(const std::string& name, const typename A::value_type& value)
    {
        m_attrContainer.setValue(name, typename Detail::ValueClassOf<A>::type(value));
    }

    /// As `AttributeContainer::setAttribute`: the first never stores `attr` itself, the second may take it
    /// over.
    bool setAttribute(const AttributeBase& attr) { return m_attrContainer.setAttribute(attr); }
    bool setAttribute(AttributeBase::Ptr&& attr) { return m_attrContainer.setAttribute(std::move(attr)); }

    /// Removes the attribute; an absent name is no error.
    void removeValue(const std::string& name) { m_attrContainer.removeValue(name); }

protected:
    /// The attributes.
    AttributeContainer m_attrContainer;

private:
    template <typename>
    friend class GenericObject;
};

/// An object with attributes and nothing else.
using XObjectGeneric = GenericObject<XObjectBase>;

extern template class GenericObject<XObjectBase>;

} // namespace Zovi::Data
