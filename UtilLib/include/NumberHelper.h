#pragma once

#include <cmath>
#include <limits>

namespace Zovi::Util
{

/// True if `a` and `b` differ by at most the machine epsilon of `T`, a floating-point type. The difference is
/// absolute: large numbers must be the same, and a NaN or an infinity equals nothing, itself included.
template <typename T>
bool eq(T a, T b)
{
    return std::abs(a - b) <= std::numeric_limits<T>::epsilon();
}

} // namespace Zovi::Util
