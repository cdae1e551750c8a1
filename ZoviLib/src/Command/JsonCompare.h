#pragma once

#include "CompareHelper.h"

#include <Poco/Dynamic/Var.h>

namespace Zovi::Command
{

/// Compares the values of one field of two JSON objects.
///
/// This is no order where types are mixed: an object before a text is less, while the text before the object
/// is compared as text. Throws `Poco::InvalidAccessException` on an empty value unless the other one is an
/// object or an array on the left, `Poco::RangeException` on an integer that the left one's signedness has no
/// room for, `Poco::BadCastException` on a value without a text.
Util::CompareResult compareJson(const Poco::Dynamic::Var& lhs, const Poco::Dynamic::Var& rhs);

} // namespace Zovi::Command
