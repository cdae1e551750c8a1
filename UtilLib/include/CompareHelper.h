#pragma once

namespace Zovi::Util
{

/// The outcome of comparing two values.
enum CompareResult { LESS = 0, EQUAL = 1, GREATER = 2, UNKNOWN = 3 };

/// Negative if `a < b`, positive if `a > b`, otherwise 0. Floating-point values are compared without a
/// tolerance; a NaN on either side gives 0.
template <typename T>
int compare(const T& a, const T& b)
{
    return static_cast<int>(a > b) - static_cast<int>(a < b);
}

/// Translates between the two ways of writing down the outcome of a comparison.
class CompareHelper
{
public:
    /// `LESS` for a negative number, `EQUAL` for 0, `GREATER` for a positive one.
    static CompareResult convertResult(int result)
    {
        if (result < 0)
            return LESS;
        return result > 0 ? GREATER : EQUAL;
    }

    /// -1 for `LESS`, 1 for `GREATER`, 0 for `EQUAL` and for `UNKNOWN`, which decides nothing either.
    static int convertResult(CompareResult result)
    {
        switch (result) {
        case LESS:
            return -1;
        case GREATER:
            return 1;
        case EQUAL:
        case UNKNOWN:
            break;
        }
        return 0;
    }

    /// The free `compare` as a `CompareResult`.
    template <typename T>
    static CompareResult compare(const T& a, const T& b)
    {
        return convertResult(Util::compare<T>(a, b));
    }
};

} // namespace Zovi::Util
