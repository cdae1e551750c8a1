#pragma once

#include "Data/ElementBase.h"
#include "Data/XObjectBase.h"

#include <Poco/JSON/Array.h>
#include <Poco/JSON/Object.h>

#include <cstddef>

namespace Zovi::Test
{

/// The JSON form of all elements, in their order.
inline Poco::JSON::Array::Ptr toJson(const Data::ElementCollection& elements, int level = 0)
{
    Poco::JSON::Array::Ptr array = new Poco::JSON::Array;
    for (const Data::ElementBase::Ptr& element : elements)
        array->add(element->toJSON(level));
    return array;
}

/// Looks into the process-wide table of object numbers.
class KnownNumbers : public Data::XObjectBase
{
public:
    static std::size_t count() { return m_knownIds.size(); }
};

} // namespace Zovi::Test
