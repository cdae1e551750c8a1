#pragma once

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>

namespace Zovi::Fuzz
{

/// Ends the program as a crash does, so that the fuzzer keeps the input, when a law does not hold.
inline void require(bool holds, std::string_view law)
{
    if (holds)
        return;
    std::cerr << "Broken law: " << law << std::endl;
    std::abort();
}

/// The same for a law that two texts are equal; both are shown.
inline void requireEqual(const std::string& left, const std::string& right, std::string_view law)
{
    if (left == right)
        return;
    std::cerr << "One side: " << left << "\nThe other: " << right << std::endl;
    require(false, law);
}

inline std::string textOf(const std::uint8_t* data, std::size_t size)
{
    return std::string(reinterpret_cast<const char*>(data), size);
}

} // namespace Zovi::Fuzz
