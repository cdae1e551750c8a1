#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace Zovi::Test
{

/// A frame as a client sends it, right or wrong.
struct ClientFrame {
    unsigned char opcode = 0x1;
    std::string payload = {};
    bool isFinal = true;
    bool isMasked = true;
    unsigned char reservedBits = 0;
    int lengthSize = -1; ///< bytes that tell the length behind the first one: 0, 2, 8; the fewest if negative

    std::string bytes() const
    {
        static constexpr char MASK[] = {'\x12', '\x34', '\x56', '\x78'};
        std::string frame = head(payload.size());
        if (isMasked)
            frame.append(MASK, sizeof MASK);
        for (std::size_t i = 0; i < payload.size(); ++i)
            frame += isMasked ? static_cast<char>(payload[i] ^ MASK[i % sizeof MASK]) : payload[i];
        return frame;
    }

    /// The beginning of a frame that announces a payload of `length` bytes; the mask does not belong to it.
    std::string head(std::uint64_t length) const
    {
        const int size = lengthSize >= 0 ? lengthSize : length > 0xFFFF ? 8 : length > 125 ? 2 : 0;
        std::string head;
        head += static_cast<char>((isFinal ? 0x80 : 0) | reservedBits << 4 | opcode);
        const std::uint64_t first = size == 8 ? 127 : size == 2 ? 126 : length;
        head += static_cast<char>((isMasked ? 0x80 : 0) | static_cast<int>(first));
        for (int i = size - 1; i >= 0; --i)
            head += static_cast<char>(length >> (8 * i) & 0xFF);
        return head;
    }
};

inline std::string clientText(const std::string& text)
{
    return ClientFrame{0x1, text}.bytes();
}

inline std::string clientClose(std::uint16_t code, const std::string& reason = "")
{
    const std::string payload = {static_cast<char>(code >> 8), static_cast<char>(code & 0xFF)};
    return ClientFrame{0x8, payload + reason}.bytes();
}

} // namespace Zovi::Test
