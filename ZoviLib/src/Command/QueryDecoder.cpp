#include "QueryDecoder.h"

#include <algorithm>
#include <cstddef>
#include <string_view>
#include <utility>

namespace Zovi::Command
{

namespace
{

/// As many as the longest valid address has, with its API prefix.
constexpr std::size_t USUAL_SEGMENTS = 5;

constexpr std::size_t USUAL_PARAMETERS = 6;

/// The value of a hexadecimal digit, negative for any other character.
int hexDigit(char character)
{
    if (character >= '0' && character <= '9')
        return character - '0';
    if (character >= 'a' && character <= 'f')
        return character - 'a' + 10;
    if (character >= 'A' && character <= 'F')
        return character - 'A' + 10;
    return -1;
}

/// Decodes `text` in its own place; false if an escape in it is malformed.
bool decode(std::string& text)
{
    const std::size_t first = std::min(text.find('%'), text.find('+'));
    if (first == std::string::npos)
        return true;
    auto target = text.begin() + static_cast<std::ptrdiff_t>(first);
    for (std::string::const_iterator source = target; source != text.cend(); ++source, ++target) {
        if (*source == '%') {
            const bool complete = text.cend() - source > 2;
            const int high = complete ? hexDigit(source[1]) : -1;
            const int low = complete ? hexDigit(source[2]) : -1;
            if (high < 0 || low < 0)
                return false;
            *target = static_cast<char>(high * 16 + low);
            source += 2;
        } else {
            *target = *source == '+' ? ' ' : *source;
        }
    }
    text.erase(target, text.end());
    return true;
}

} // namespace

UrlPath::QueryParameters decodeQuery(const Poco::URI& uri)
{
    UrlPath::QueryParameters parameters;
    std::string_view rest = uri.getRawQuery();
    if (rest.empty())
        return parameters;
    const bool encoded = rest.find('%') != std::string_view::npos || rest.find('+') != std::string_view::npos;
    parameters.reserve(USUAL_PARAMETERS);
    while (!rest.empty()) {
        const std::string_view parameter = rest.substr(0, rest.find('&'));
        rest.remove_prefix(std::min(parameter.size() + 1, rest.size()));
        const std::size_t equals = std::min(parameter.find('='), parameter.size());
        auto& [key, value] = parameters.emplace_back(
            parameter.substr(0, equals), parameter.substr(std::min(equals + 1, parameter.size())));
        // Poco knows the text of the exception.
        if (encoded && (!decode(key) || !decode(value)))
            return uri.getQueryParameters();
    }
    return parameters;
}

std::vector<std::string> splitPath(const Poco::URI& uri)
{
    std::vector<std::string> segments;
    segments.reserve(USUAL_SEGMENTS);
    std::string_view rest = uri.getPath();
    while (!rest.empty()) {
        const std::string_view segment = rest.substr(0, rest.find('/'));
        if (!segment.empty())
            segments.emplace_back(segment);
        rest.remove_prefix(std::min(segment.size() + 1, rest.size()));
    }
    return segments;
}

} // namespace Zovi::Command
