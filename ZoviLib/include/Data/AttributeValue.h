#pragma once

#include "Data/AttributeValueBase.h"
#include "Data/ZoviDataUtil.h"
#include "ZoviExport.h"

#include <Poco/URI.h>
#include <Poco/UUID.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Zovi::Data
{

/// What values of one type are ordered by.
namespace Detail
{

template <typename T, typename = void>
struct HasLess : std::false_type {
};
template <typename T>
struct HasLess<T, std::void_t<decltype(std::declval<const T&>() < std::declval<const T&>())>>
    : std::true_type {
};

template <typename T, typename = void>
struct IsOrdered : HasLess<T> {
};
template <>
struct IsOrdered<Poco::URI> : std::true_type {
};
template <typename E>
struct IsOrdered<std::vector<E>> : IsOrdered<E> {
};
// The less-than of a value class is good for as much as that of the held value.
template <typename V>
struct IsOrdered<
    V, std::enable_if_t<std::is_base_of_v<AttributeValueBase, V>, std::void_t<typename V::value_type>>>
    : std::conjunction<HasLess<V>, IsOrdered<typename V::value_type>> {
};

template <typename T>
bool isLess(const T& left, const T& right)
{
    return std::less<T>{}(left, right);
}

inline bool isLess(const Poco::URI& left, const Poco::URI& right)
{
    return left.getPath() < right.getPath();
}

template <typename E>
bool isLess(const std::vector<E>& left, const std::vector<E>& right)
{
    return std::lexicographical_compare(left.begin(), left.end(), right.begin(), right.end(),
                                        [](const E& a, const E& b) { return Detail::isLess(a, b); });
}

inline std::string textOf(const std::string& value)
{
    return value;
}

template <typename T>
std::string textOf(const T& value)
{
    return value.toString();
}

} // namespace Detail

/// The layer that holds a value of type `T` and implements the operations of `Base` on it.
///
/// Values are made through a concrete class on top of it, which a service may add:
///
///     class Ratio : public Zovi::Data::AttributeValue<double, Zovi::Data::AttributeValueBase>
///     {
///     public:
///         Ratio(double value) : AttributeValue(value) {}
///     };
///
/// `T` is copyable and has a `Zovi::Data::Util::toJson`, or one in its own namespace; in a reference it needs
/// none, and then the JSON form is that of the referenced object. Values of one layer are ordered by the
/// less-than of `T`, but URIs by their path alone and vectors element by element. A `T` without a less-than
/// is compared as values of different types are.
template <typename T, typename Base>
class KYRZOVI_API AttributeValue : public Base
{
public:
    /// The held type, and this layer.
    using value_type = T;
    using this_type = AttributeValue<T, Base>;

    /// The held type, known at run time.
    const std::type_info& type() const override { return typeid(value_type); }

    /// Holds a copy of the value in its own type.
    GenericValue asGeneric() const override { return GenericValue(m_value); }

    /// What the type's `toJson` makes of the value.
    Poco::Dynamic::Var toJSON(int expandLvl) const override
    {
        if constexpr (Util::Detail::HasToJson<T>::value) {
            return Util::toJson(m_value, expandLvl);
        } else {
            static_assert(std::is_base_of_v<AttributeValueObjectBase, Base>,
                          "a function toJson(const T&, int) is missing in the namespace of T");
            return Base::toJSON(expandLvl);
        }
    }

    /// As `Base` says for the class as a whole.
    bool isXObjReference() const override { return Base::isXObjReferenceType(); }
    bool isArray() const override { return Base::isArrayType(); }

    /// Fits any value with this very layer, whatever its concrete class.
    bool setValue(const AttributeValueBase& other) override
    {
        const auto* source = dynamic_cast<const this_type*>(&other);
        if (!source)
            return false;
        value_type copy(source->m_value);
        m_value = std::move(copy);
        return true;
    }

    /// By the order of the held type, see above; with another layer as `AttributeValueBase` does it.
    int compare(const AttributeValueBase& other) const override
    {
        if constexpr (Detail::IsOrdered<T>::value) {
            if (const auto* same = dynamic_cast<const this_type*>(&other)) {
                if (Detail::isLess(m_value, same->m_value))
                    return -1;
                return Detail::isLess(same->m_value, m_value) ? 1 : 0;
            }
        }
        return AttributeValueBase::compare(other);
    }

    /// The held value, good as long as this object.
    const value_type& get() const { return m_value; }
    operator const value_type&() const { return m_value; }

    /// Copies `value`, or takes it over.
    void set(const value_type& value) { m_value = value; }
    void set(value_type&& value) { m_value = std::move(value); }

    /// Comparison of the held values.
    bool operator==(const value_type& other) const { return m_value == other; }
    bool operator==(const this_type& other) const { return m_value == other.m_value; }
    /// Numbers of any type compare without a conversion being written out.
    template <typename N,
              std::enable_if_t<std::is_arithmetic_v<N> && std::is_arithmetic_v<T> && !std::is_same_v<N, T>,
                               int> = 0>
    bool operator==(N other) const
    {
        using Common = std::common_type_t<N, T>;
        return static_cast<Common>(m_value) == static_cast<Common>(other);
    }
    bool operator<(const this_type& other) const { return Detail::isLess(m_value, other.m_value); }
    bool operator>(const this_type& other) const { return other < *this; }

protected:
    /// For the concrete class: a value of its own, a copy of `value`, or `value` taken over.
    AttributeValue() = default;
    explicit AttributeValue(const value_type& value)
        : m_value(value)
    {
    }
    explicit AttributeValue(value_type&& value)
        : m_value(std::move(value))
    {
    }

    /// The held value.
    value_type m_value{};
};

/// A text, or a value that has a text form: `std::string`, `Poco::UUID`, `Poco::URI`, or any `T` with a
/// `toString()`. As a generic value it is its text, so a URI compares by its path with another URI, but by
/// its full text with anything else.
template <typename T>
class KYRZOVI_API AttributeValueStringable : public AttributeValue<T, AttributeValueStringableBase>
{
public:
    /// Copies `value`, or takes it over.
    AttributeValueStringable(const T& value)
        : AttributeValue<T, AttributeValueStringableBase>(value)
    {
    }
    AttributeValueStringable(T&& value)
        : AttributeValue<T, AttributeValueStringableBase>(std::move(value))
    {
    }

    /// The text, as a generic value and as it is.
    GenericValue asGeneric() const override { return GenericValue(toString()); }
    std::string toString() const override { return Detail::textOf(this->m_value); }
};

extern template class AttributeValue<std::string, AttributeValueStringableBase>;
extern template class AttributeValue<Poco::UUID, AttributeValueStringableBase>;
extern template class AttributeValue<Poco::URI, AttributeValueStringableBase>;
extern template class AttributeValueStringable<std::string>;
extern template class AttributeValueStringable<Poco::UUID>;
extern template class AttributeValueStringable<Poco::URI>;

// The number and truth layers beside the integer one have no concrete class here; services derive theirs.
extern template class AttributeValue<std::int64_t, AttributeValueBase>;
extern template class AttributeValue<std::uint64_t, AttributeValueBase>;
extern template class AttributeValue<double, AttributeValueBase>;
extern template class AttributeValue<bool, AttributeValueBase>;

/// A whole number.
class KYRZOVI_API AttributeValueInteger : public AttributeValue<std::int64_t, AttributeValueBase>
{
public:
    /// Holds `value`.
    AttributeValueInteger(const std::int64_t& value)
        : AttributeValue(value)
    {
    }
    AttributeValueInteger(std::int64_t&& value)
        : AttributeValue(value)
    {
    }
};

} // namespace Zovi::Data
