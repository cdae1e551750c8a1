#include "ContentHash.h"

#include <algorithm>

namespace Zovi::Net
{

namespace
{

// Odd, with about as many ones as zeros and no pattern: a multiplication by them carries low bits far up.
const std::uint64_t WORD_FACTOR = 0xC6A4A7935BD1E995U;
const std::uint64_t STATE_FACTOR = 0x9FB21C651E98DF25U;
const std::uint64_t FINAL_FACTOR = 0xD6E8FEB86659FD93U;

constexpr std::uint64_t rotated(std::uint64_t value, unsigned bits)
{
    return (value << bits) | (value >> (64U - bits));
}

// Put together byte by byte, so that the order of bytes in memory plays no part.
std::uint64_t toWord(const unsigned char* bytes)
{
    std::uint64_t word = 0;
    for (unsigned i = 0; i < 8; ++i)
        word |= static_cast<std::uint64_t>(bytes[i]) << (8U * i);
    return word;
}

std::uint64_t mixed(std::uint64_t state, std::uint64_t word)
{
    word = rotated(word * WORD_FACTOR, 29) * STATE_FACTOR;
    return rotated(state ^ word, 37) * WORD_FACTOR + STATE_FACTOR;
}

// Multiplications carry bits upward only; the shifts bring the high bits back down.
std::uint64_t finished(std::uint64_t state)
{
    state = (state ^ (state >> 32U)) * FINAL_FACTOR;
    state = (state ^ (state >> 29U)) * FINAL_FACTOR;
    return state ^ (state >> 32U);
}

} // namespace

void ContentHash::add(const char* bytes, std::size_t length)
{
    const auto* next = reinterpret_cast<const unsigned char*>(bytes);
    m_length += length;
    while (length > 0) {
        if (m_pendingLength == 0 && length >= m_pending.size()) {
            m_state = mixed(m_state, toWord(next));
            next += m_pending.size();
            length -= m_pending.size();
            continue;
        }
        const std::size_t taken = std::min(length, m_pending.size() - m_pendingLength);
        std::copy_n(next, taken, m_pending.begin() + static_cast<std::ptrdiff_t>(m_pendingLength));
        m_pendingLength += taken;
        next += taken;
        length -= taken;
        if (m_pendingLength == m_pending.size()) {
            m_state = mixed(m_state, toWord(m_pending.data()));
            m_pendingLength = 0;
        }
    }
}

std::uint32_t ContentHash::value() const
{
    // The length tells a last word that was filled up with zeros from one that ends in them.
    std::array<unsigned char, 8> last{};
    std::copy_n(m_pending.begin(), m_pendingLength, last.begin());
    const std::uint64_t state = finished(mixed(m_state, toWord(last.data())) ^ m_length);
    return static_cast<std::uint32_t>(state >> 32U);
}

} // namespace Zovi::Net
