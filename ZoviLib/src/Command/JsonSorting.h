#pragma once

#include "SortKeys.h"

#include <cstddef>
#include <vector>

namespace Zovi::Command
{

/// A part of a sorted list: `size` places from `begin` on.
struct Window {
    std::size_t begin;
    std::size_t size;
};

/// The positions of the objects that stand in `window` when `objects` are sorted by `criteria`, in their
/// order.
///
/// Every window shows the same list: the one that `std::sort` makes of all objects, or a list of the merge
/// sort if there are more than 16 objects whose comparison is no consistent order. Throws what `compareJson`
/// throws on values that must be compared, even if they are not in the window.
std::vector<Position> sortObjects(const JsonObjects& objects, const SortingParameter& criteria,
                                  Window window);

} // namespace Zovi::Command
