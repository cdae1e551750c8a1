#pragma once

#include "Data/AttributeValueBase.h"
#include "ZoviExport.h"

#include <Poco/Dynamic/Var.h>
#include <Poco/JSON/Array.h>
#include <Poco/URI.h>
#include <Poco/UUID.h>

#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

namespace Zovi::Data::Util
{

/// What the overloads of `toJson` are chosen by.
namespace Detail
{

// Hides the library's own overloads, so that only those of the argument's namespace are found.
void toJson();

template <typename T, typename = void>
struct HasOwnToJson : std::false_type {
};
template <typename T>
struct HasOwnToJson<T, std::void_t<decltype(toJson(std::declval<const T&>(), 0))>> : std::true_type {
};

template <typename T>
Poco::Dynamic::Var callOwnToJson(const T& value, int expandLvl)
{
    return toJson(value, expandLvl);
}

using std::begin;
using std::end;

template <typename T, typename = void>
struct HasBeginAndEnd : std::false_type {
};
template <typename T>
struct HasBeginAndEnd<
    T, std::void_t<decltype(begin(std::declval<const T&>())), decltype(end(std::declval<const T&>()))>>
    : std::true_type {
};

template <typename T, typename = void>
struct HasHeldValue : std::false_type {
};
template <typename T>
struct HasHeldValue<T, std::void_t<decltype(std::declval<const T&>().get())>> : std::true_type {
};

template <typename T>
inline constexpr bool isValueClass = std::is_base_of_v<AttributeValueBase, T>;

template <typename T>
inline constexpr bool isGeneric = std::is_same_v<T, Poco::Dynamic::Var>;

template <typename T>
inline constexpr bool isTextView = std::is_same_v<T, std::string_view>;

// Texts have begin and end too, but are one value.
template <typename T>
inline constexpr bool isRange =
    HasBeginAndEnd<T>::value && !isTextView<T> && !std::is_convertible_v<const T&, std::string>;

template <typename T>
inline constexpr bool isRendered = isValueClass<T> || HasOwnToJson<T>::value || isGeneric<T> ||
                                   isTextView<T> || std::is_arithmetic_v<T> || isRange<T>;

} // namespace Detail

/// The JSON form of a value, the functions behind `AttributeValueBase::toJSON`. `expandLvl` is handed down to
/// references and means nothing to any other value.
///
/// A text becomes a string.
KYRZOVI_API Poco::Dynamic::Var toJson(const std::string& value, int expandLvl);
/// A UUID becomes the string that its `toString()` gives.
KYRZOVI_API Poco::Dynamic::Var toJson(const Poco::UUID& value, int expandLvl);
/// A URI becomes the string that its `toString()` gives.
KYRZOVI_API Poco::Dynamic::Var toJson(const Poco::URI& value, int expandLvl);

/// All other values, by their type:
///
/// - a reference value, and a value class that has no `get()`: its own `toJSON`;
/// - any other value class: `toJson` of the held value;
/// - a type for which a function `toJson(const T&, int)` stands in its own namespace: what that gives. This
///   is how a service adds its own types; the function must be declared before the type's first use here;
/// - a `Poco::Dynamic::Var`: itself;
/// - a `std::string_view`: a string;
/// - a number: signed integers as 64 bits signed, unsigned ones as 64 bits unsigned, `bool` and `double` as
///   such;
/// - any range, including arrays and initialiser lists: a new `Poco::JSON::Array`, held by pointer, of
///   `toJson` of each element in order.
template <typename T, std::enable_if_t<Detail::isRendered<T>, int> = 0>
Poco::Dynamic::Var toJson(const T& value, int expandLvl);

namespace Detail
{

template <typename T, typename = void>
struct HasToJson : std::false_type {
};
template <typename T>
struct HasToJson<T, std::void_t<decltype(Util::toJson(std::declval<const T&>(), 0))>> : std::true_type {
};

template <typename N>
Poco::Dynamic::Var numberToJson(N value)
{
    if constexpr (std::is_same_v<N, bool>)
        return value;
    else if constexpr (std::is_floating_point_v<N>)
        return static_cast<double>(value);
    else if constexpr (std::is_signed_v<N>)
        return static_cast<std::int64_t>(value);
    else
        return static_cast<std::uint64_t>(value);
}

template <typename V>
Poco::Dynamic::Var valueToJson(const V& value, int expandLvl)
{
    if constexpr (HasHeldValue<V>::value && !std::is_base_of_v<AttributeValueObjectBase, V>)
        return Util::toJson(value.get(), expandLvl);
    else
        return value.toJSON(expandLvl);
}

template <typename R>
Poco::Dynamic::Var rangeToJson(const R& range, int expandLvl)
{
    Poco::JSON::Array::Ptr array = new Poco::JSON::Array;
    for (const auto& element : range)
        array->add(Util::toJson(element, expandLvl));
    return array;
}

} // namespace Detail

template <typename T, std::enable_if_t<Detail::isRendered<T>, int>>
Poco::Dynamic::Var toJson(const T& value, int expandLvl)
{
    // Value classes come first: one converts to what it holds, so that a function for that would be found.
    if constexpr (Detail::isValueClass<T>)
        return Detail::valueToJson(value, expandLvl);
    else if constexpr (Detail::HasOwnToJson<T>::value)
        return Detail::callOwnToJson(value, expandLvl);
    else if constexpr (Detail::isGeneric<T>)
        return value;
    else if constexpr (Detail::isTextView<T>)
        return std::string(value);
    else if constexpr (std::is_arithmetic_v<T>)
        return Detail::numberToJson(value);
    else
        return Detail::rangeToJson(value, expandLvl);
}

} // namespace Zovi::Data::Util
