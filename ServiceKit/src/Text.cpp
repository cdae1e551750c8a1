#include "ServiceKit/Text.h"

#include "Utf8.h"

#include <algorithm>
#include <cstddef>

namespace Zovi::ServiceKit
{

namespace
{

const std::string_view REPLACEMENT = "\xEF\xBF\xBD";

bool isControl(char character)
{
    return static_cast<unsigned char>(character) < 0x20 || character == 0x7F;
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
