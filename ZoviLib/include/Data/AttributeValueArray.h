#pragma once

#include "Data/AttributeValue.h"
#include "ZoviExport.h"

#include <Poco/Exception.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Zovi::Data
{

/// A list of values of the class `E`, owned by the array in one vector.
///
///     AttributeValueStringArray tags(std::vector<std::string>{"heat", "water"});
///     tags.addElement(std::string("cold"));
///     tags.toJSON(0); // ["heat","water","cold"]
///
/// `E` is any copyable value class with a `value_type`, a service's own included. If `E` is a reference, so
/// is the array, and each element renders itself at the level given. Iterators and element pointers are good
/// until the array is changed.
template <typename E>
class KYRZOVI_API AttributeValueArray : public AttributeValue<std::vector<E>, AttributeValueArrayBase>
{
    using Layer = AttributeValue<std::vector<E>, AttributeValueArrayBase>;

public:
    /// The class of the elements, the type that each holds, and what walks over them.
    using element_type = E;
    using element_value_type = typename E::value_type;
    using iterator = typename std::vector<E>::iterator;
    using const_iterator = typename std::vector<E>::const_iterator;

    /// The empty array.
    AttributeValueArray() = default;
    /// Copies `elements`, or takes them over.
    AttributeValueArray(const std::vector<E>& elements)
        : Layer(elements)
    {
    }
    AttributeValueArray(std::vector<E>&& elements)
        : Layer(std::move(elements))
    {
    }
    AttributeValueArray(std::initializer_list<E> elements)
        : Layer(std::vector<E>(elements))
    {
    }
    /// One element per text, in order. An element is made from the text itself or, where that is not
    /// possible, from the held value that the text makes, with the exceptions of both.
    AttributeValueArray(const std::vector<std::string>& texts)
    {
        this->m_value.reserve(texts.size());
        for (const std::string& text : texts)
            this->m_value.push_back(elementOf(text));
    }

    GenericValue asGeneric() const override
    {
        std::vector<GenericValue> values;
        values.reserve(size());
        for (const E& element : this->m_value)
            values.push_back(element.asGeneric());
        return GenericValue(values);
    }

    bool isXObjReference() const override { return isXObjReferenceType(); }

    std::vector<const AttributeValueBase*> getValueArray() const override
    {
        std::vector<const AttributeValueBase*> pointers;
        pointers.reserve(size());
        for (const E& element : this->m_value)
            pointers.push_back(&element);
        return pointers;
    }

    std::vector<AttributeValueBase*> getValueArray() override
    {
        std::vector<AttributeValueBase*> pointers;
        pointers.reserve(size());
        for (E& element : this->m_value)
            pointers.push_back(&element);
        return pointers;
    }

    std::size_t size() const override { return this->m_value.size(); }

    /// As the elements.
    static bool isXObjReferenceType() { return E::isXObjReferenceType(); }

    /// True if there are no elements.
    bool isEmpty() const { return this->m_value.empty(); }

    /// Appends a copy of `element`, or takes it over.
    void addElement(const element_type& element) { this->m_value.push_back(element); }
    void addElement(element_type&& element) { this->m_value.push_back(std::move(element)); }

    /// True if an element equals the argument.
    bool hasElement(const element_type& element) const { return contains(element); }
    bool hasElement(const element_value_type& value) const { return contains(value); }

    /// Throws `Poco::InvalidArgumentException` if there is no element at `index`.
    const element_type& getElement(std::uint32_t index) const
    {
        checkIndex(index);
        return this->m_value[index];
    }

    /// Throws as `getElement`; the array is then as it was.
    void removeElement(std::uint32_t index)
    {
        checkIndex(index);
        this->m_value.erase(this->m_value.begin() + static_cast<std::ptrdiff_t>(index));
    }

    /// Removes the element at `position`, which must be one of this array and not the end, and gives the
    /// position that follows.
    iterator removeElement(const_iterator position) { return this->m_value.erase(position); }

    /// The elements, in order.
    iterator begin() { return this->m_value.begin(); }
    iterator end() { return this->m_value.end(); }
    const_iterator begin() const { return this->m_value.begin(); }
    const_iterator end() const { return this->m_value.end(); }

    /// The texts of the elements, in order.
    std::vector<std::string> simplify() const
    {
        std::vector<std::string> texts;
        texts.reserve(size());
        for (const E& element : this->m_value)
            texts.push_back(textOf(element));
        return texts;
    }

private:
    static E elementOf(const std::string& text)
    {
        if constexpr (std::is_constructible_v<E, const std::string&>)
            return E(text);
        else
            return E(element_value_type(text));
    }

    static std::string textOf(const E& element)
    {
        if constexpr (std::is_base_of_v<AttributeValueStringableBase, E>)
            return element.toString();
        else
            return element.asGeneric().template convert<std::string>();
    }

    template <typename V>
    bool contains(const V& value) const
    {
        return std::any_of(begin(), end(), [&value](const E& element) { return element == value; });
    }

    void checkIndex(std::uint32_t index) const
    {
        if (index >= size())
            throw Poco::InvalidArgumentException("Invalid array index " + std::to_string(index));
    }
};

/// A list of texts.
using AttributeValueStringArray = AttributeValueArray<AttributeValueStringable<std::string>>;

extern template class AttributeValue<std::vector<AttributeValueStringable<std::string>>,
                                     AttributeValueArrayBase>;
extern template class AttributeValueArray<AttributeValueStringable<std::string>>;

} // namespace Zovi::Data
