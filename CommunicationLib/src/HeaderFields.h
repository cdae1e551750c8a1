#pragma once

#include <Poco/Net/NameValueCollection.h>

#include <string>
#include <string_view>
#include <vector>

namespace Zovi::Net
{

/// The values of all lines of a header, joined by commas as HTTP lets them be; empty if there is none.
std::string joinedHeader(const Poco::Net::NameValueCollection& headers, const std::string& name);

/// `text` without the blanks and tabs around it.
std::string_view trimmed(std::string_view text);

/// The parts of `text` between the separators, each trimmed; empty ones are left out.
std::vector<std::string_view> splitTrimmed(std::string_view text, char separator);

/// True if both are the same but for the case of ASCII letters.
bool equalsIgnoringCase(std::string_view left, std::string_view right);

} // namespace Zovi::Net
