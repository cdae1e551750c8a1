#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace Zovi::Net
{

/// A hash of 32 bits over a run of bytes: each bit of the input sways each bit of the result. It depends on
/// the bytes alone, not on how they are split among the calls or on the machine.
class ContentHash
{
public:
    void add(const char* bytes, std::size_t length);

    /// The hash of what was added so far.
    std::uint32_t value() const;

private:
    std::uint64_t m_state = 0x9E3779B97F4A7C15U;
    std::uint64_t m_length = 0;
    std::array<unsigned char, 8> m_pending{};
    std::size_t m_pendingLength = 0;
};

} // namespace Zovi::Net
