#include "Utf8.h"

#include <algorithm>

namespace Zovi::ServiceKit
{

namespace
{

constexpr std::size_t MAX_CHARACTER_LENGTH = 4;

/// The second byte that may follow a lead byte narrows where overlong forms, surrogates and numbers that are
/// too big would begin; every further byte runs from 80 to BF.
struct Sequence {
    unsigned char firstLead;
    unsigned char lastLead;
    unsigned char firstSecond;
    unsigned char lastSecond;
    int length;
};

constexpr Sequence SEQUENCES[] = {
    {0x00, 0x7F, 0x80, 0xBF, 1}, {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3},
    {0xE1, 0xEC, 0x80, 0xBF, 3}, {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3},
    {0xF0, 0xF0, 0x90, 0xBF, 4}, {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4},
};

} // namespace

bool Utf8Validator::accept(std::string_view bytes)
{
    m_isValid = m_isValid && std::all_of(bytes.begin(), bytes.end(), [this](char character) {
                    return acceptByte(static_cast<unsigned char>(character));
                });
    return m_isValid;
}

bool Utf8Validator::acceptByte(unsigned char byte)
{
    if (m_missing == 0)
        return acceptLead(byte);
    if (byte < m_firstNext || byte > m_lastNext)
        return false;
    --m_missing;
    m_firstNext = 0x80;
    m_lastNext = 0xBF;
    return true;
}

bool Utf8Validator::acceptLead(unsigned char byte)
{
    for (const Sequence& sequence : SEQUENCES) {
        if (byte < sequence.firstLead || byte > sequence.lastLead)
            continue;
        m_missing = sequence.length - 1;
        m_firstNext = sequence.firstSecond;
        m_lastNext = sequence.lastSecond;
        return true;
    }
    return false;
}

std::size_t characterLength(std::string_view text)
{
    Utf8Validator character;
    for (std::size_t length = 1; length <= std::min(text.size(), MAX_CHARACTER_LENGTH); ++length) {
        if (!character.accept(text.substr(length - 1, 1)))
            return 0;
        if (character.isComplete())
            return length;
    }
    return 0;
}

} // namespace Zovi::ServiceKit
