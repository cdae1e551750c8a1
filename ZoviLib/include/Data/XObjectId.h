#pragma once

#include <Poco/Exception.h>

#include <cstddef>
#include <cstdint>
#include <limits>

namespace Zovi::Data
{

/// Number of an object within the process. Any value but `INVALID_XOBJ_ID` is a number, negative ones
/// included.
using XObjectId = std::int64_t;

/// Says that an object has no number, or an attribute no owner.
inline constexpr XObjectId INVALID_XOBJ_ID = -1;

namespace Detail
{

/// The number behind `id` in the circle of all numbers, from the largest on to the smallest, without the
/// invalid one.
constexpr XObjectId nextXObjectId(XObjectId id)
{
    using Limits = std::numeric_limits<XObjectId>;
    const XObjectId next = id == Limits::max() ? Limits::min() : id + 1;
    return next == INVALID_XOBJ_ID ? 0 : next;
}

/// Throws `Poco::PoolOverflowException` if `recorded` numbers are more than can be searched for a free one.
inline void checkXObjectIdsLeft(std::size_t recorded)
{
    if (recorded == static_cast<std::size_t>(std::numeric_limits<XObjectId>::max()))
        throw Poco::PoolOverflowException("XObject-ID limit reached");
}

} // namespace Detail

} // namespace Zovi::Data
