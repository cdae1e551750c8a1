#include "ServiceKit/Text.h"

#include <algorithm>
#include <cstddef>

namespace Zovi::ServiceKit
{

namespace
{

const std::string_view REPLACEMENT = "\xEF\xBF\xBD";

/// The second byte that may follow a lead byte narrows where overlong forms, surrogates and numbers that are
/// too big would begin; every further byte runs from 80 to BF.
struct Sequence {
    unsigned char firstLead;
    unsigned char lastLead;
    unsigned char firstSecond;
    unsigned char lastSecond;
    std::size_t length;
};

constexpr Sequence SEQUENCES[] = {
    {0xC2, 0xDF, 0x80, 0xBF, 2}, {0xE0, 0xE0, 0xA0, 0xBF, 3}, {0xE1, 0xEC, 0x80, 0xBF, 3},
    {0xED, 0xED, 0x80, 0x9F, 3}, {0xEE, 0xEF, 0x80, 0xBF, 3}, {0xF0, 0xF0, 0x90, 0xBF, 4},
    {0xF1, 0xF3, 0x80, 0xBF, 4}, {0xF4, 0xF4, 0x80, 0x8F, 4},
};

bool isBetween(char character, unsigned char first, unsigned char last)
{
    const auto byte = static_cast<unsigned char>(character);
    return byte >= first && byte <= last;
}

bool isWhole(const Sequence& sequence, std::string_view text)
{
    if (text.size() < sequence.length || !isBetween(text[1], sequence.firstSecond, sequence.lastSecond))
        return false;
    const std::string_view rest = text.substr(2, sequence.length - 2);
    return std::all_of(rest.begin(), rest.end(), [](char c) { return isBetween(c, 0x80, 0xBF); });
}

/// Length of the valid character at the start of `text`, which is not empty; 0 if there is none.
std::size_t characterLength(std::string_view text)
{
    if (isBetween(text.front(), 0x00, 0x7F))
        return 1;
    for (const Sequence& sequence : SEQUENCES) {
        if (isBetween(text.front(), sequence.firstLead, sequence.lastLead))
            return isWhole(sequence, text) ? sequence.length : 0;
    }
    return 0;
}

bool isControl(char character)
{
    return isBetween(character, 0x00, 0x1F) || character == 0x7F;
}

} // namespace

std::string toValidUtf8(std::string_view text)
{
    std::string valid;
    valid.reserve(text.size());
    while (!text.empty()) {
        const std::size_t length = characterLength(text);
        valid += length > 0 ? text.substr(0, length) : REPLACEMENT;
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return valid;
}

std::string inQuotes(std::string_view text)
{
    std::string result = "'";
    for (std::string_view rest = text; !rest.empty();) {
        const std::size_t length = characterLength(rest);
        const bool isShown = length > 0 && !isControl(rest.front());
        const std::string_view character = isShown ? rest.substr(0, length) : REPLACEMENT;
        if (result.size() - 1 + character.size() > MAX_QUOTED_LENGTH)
            return result + "...'";
        result += character;
        rest.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return result + "'";
}

} // namespace Zovi::ServiceKit
