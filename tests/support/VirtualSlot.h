#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace Zovi::Test
{

/// The entry of a virtual member function in its class's table, counted from the first one.
///
/// Programs that were built against an older header call by this number, so that a header may append virtual
/// functions but never move them. Reads the pointer as the Itanium ABI lays it out, on x86-64 and on 64-bit
/// Arm.
template <typename MemberFunction>
std::size_t virtualEntry(MemberFunction function)
{
    std::uintptr_t words[2];
    static_assert(sizeof function == sizeof words);
    std::memcpy(words, &function, sizeof words);
    return (words[0] & ~std::uintptr_t{1}) / sizeof(void*);
}

/// The same, counted from the one behind the destructor, which stands first.
template <typename MemberFunction>
std::size_t virtualSlot(MemberFunction function)
{
    const std::size_t entriesOfTheDestructor = 2;
    return virtualEntry(function) - entriesOfTheDestructor;
}

} // namespace Zovi::Test
