#include "HeaderFields.h"

#include <Poco/Ascii.h>

#include <algorithm>

namespace Zovi::Net
{

std::string joinedHeader(const Poco::Net::NameValueCollection& headers, const std::string& name)
{
    std::string joined;
    for (const auto& [headerName, value] : headers) {
        if (!equalsIgnoringCase(headerName, name))
            continue;
        if (!joined.empty())
            joined += ", ";
        joined += value;
    }
    return joined;
}

std::string_view trimmed(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

std::vector<std::string_view> splitTrimmed(std::string_view text, char separator)
{
    std::vector<std::string_view> parts;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(separator), text.size());
        const std::string_view part = trimmed(text.substr(0, end));
        if (!part.empty())
            parts.push_back(part);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return parts;
}

bool equalsIgnoringCase(std::string_view left, std::string_view right)
{
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return Poco::Ascii::toLower(a) == Poco::Ascii::toLower(b); });
}

} // namespace Zovi::Net
