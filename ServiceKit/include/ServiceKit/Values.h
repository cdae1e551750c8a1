#pragma once

#include "Data/AttributeValue.h"
#include "Data/AttributeValueArray.h"

#include <cstdint>
#include <string>

namespace Zovi::ServiceKit
{

/// What the attributes of most elements hold: `element->setValue<Text>("author", "Jane Austen")`.
using Text = Data::AttributeValueStringable<std::string>;
using Integer = Data::AttributeValueInteger;

/// Texts in their order: `element->setValue<TextList>("tags", {tags.begin(), tags.end()})` if they are there
/// already, `{Text("a"), Text("b")}` if they are written out.
using TextList = Data::AttributeValueStringArray;

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

/// A number that need not be whole.
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
