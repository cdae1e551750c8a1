#pragma once

#include "Data/AttributeValue.h"
#include "Data/AttributeValueArray.h"

#include <cstdint>
#include <initializer_list>
#include <iterator>
#include <string>
#include <vector>

namespace Zovi::ServiceKit
{

/// What the attributes of most elements hold: `element->setValue<Text>("author", "Jane Austen")`.
using Text = Data::AttributeValueStringable<std::string>;
using Integer = Data::AttributeValueInteger;

/// Texts in their order, as a `TextList` takes them.
class Texts : public Data::AttributeValueStringArray
{
public:
    /// No text.
    Texts() = default;

    /// Copies `texts`.
    Texts(const std::vector<std::string>& texts)
        : AttributeValueArray(texts)
    {
    }
    Texts(std::initializer_list<std::string> texts)
        : AttributeValueArray(std::vector<std::string>(texts))
    {
    }

    /// Copies the texts from `begin` to `end`, which may stand in any container.
    template <typename Iterator, typename = typename std::iterator_traits<Iterator>::iterator_category>
    Texts(Iterator begin, Iterator end)
        : AttributeValueArray(std::vector<std::string>(begin, end))
    {
    }
};

/// A list of texts: `element->setValue<TextList>("tags", tags)` if they stand in a vector,
/// `{tags.begin(), tags.end()}` if in another container, `{"heat", "water"}` if they are written out.
class TextList : public Texts
{
public:
    /// What is held.
    using value_type = Texts;

    /// Holds a copy of `texts`.
    TextList(const Texts& texts)
        : Texts(texts)
    {
    }

    /// The texts, good as long as this object.
    const Texts& get() const { return *this; }
};

/// True or false.
class Flag : public Data::AttributeValue<bool, Data::AttributeValueBase>
{
public:
    /// Holds `value`.
    Flag(bool value)
        : AttributeValue(value)
    {
    }
};

/// A number that need not be whole. One that JSON does not have, infinite or none at all, is not shown.
class Number : public Data::AttributeValue<double, Data::AttributeValueBase>
{
public:
    /// Holds `value`.
    Number(double value)
        : AttributeValue(value)
    {
    }
};

/// A count that uses all of its 64 bits.
class Counter : public Data::AttributeValue<std::uint64_t, Data::AttributeValueBase>
{
public:
    /// Holds `value`.
    Counter(std::uint64_t value)
        : AttributeValue(value)
    {
    }
};

} // namespace Zovi::ServiceKit
