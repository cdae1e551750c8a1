#pragma once

#include "Data/AttributeValue.h"
#include "Data/AttributeValueArray.h"

#include <cstdint>
#include <string>

namespace Zovi::Host
{

// What the attributes of the machine's elements hold.

using Text = Data::AttributeValueStringable<std::string>;
using TextList = Data::AttributeValueStringArray;
using Integer = Data::AttributeValueInteger;

/// True or false.
class Flag : public Data::AttributeValue<bool, Data::AttributeValueBase>
{
public:
    Flag(bool value)
        : AttributeValue(value)
    {
    }
};

/// A count of the kernel's, which uses all of its 64 bits.
class Counter : public Data::AttributeValue<std::uint64_t, Data::AttributeValueBase>
{
public:
    Counter(std::uint64_t value)
        : AttributeValue(value)
    {
    }
};

} // namespace Zovi::Host
