#pragma once

#include <cstdint>

namespace Zovi::Data
{

/// Number of an object within the process. Any value but `INVALID_XOBJ_ID` is a number, negative ones
/// included.
using XObjectId = std::int64_t;

/// Says that an object has no number, or an attribute no owner.
inline constexpr XObjectId INVALID_XOBJ_ID = -1;

} // namespace Zovi::Data
