#include "OwnHosts.h"

#include <Poco/Ascii.h>
#include <Poco/String.h>

#include <algorithm>
#include <string_view>

namespace Zovi::ServiceKit
{

namespace
{

bool isPort(std::string_view text)
{
    return text.size() <= 5 &&
           std::all_of(text.begin(), text.end(), [](char c) { return Poco::Ascii::isDigit(c); });
}

bool isNameCharacter(char character)
{
    return Poco::Ascii::isAlphaNumeric(static_cast<unsigned char>(character)) || character == '.' ||
           character == '-' || character == '_';
}

bool isName(std::string_view text)
{
    return !text.empty() && std::all_of(text.begin(), text.end(), isNameCharacter);
}

bool isIPv6(const std::string& text)
{
    Poco::Net::IPAddress address;
    return Poco::Net::IPAddress::tryParse(text, address) && address.family() == Poco::Net::IPAddress::IPv6;
}

/// An IPv4 client of a socket that listens on both families has an address with a prefix.
std::string withoutMapping(const std::string& address)
{
    static const std::string PREFIX = "::ffff:";
    const bool isMapped =
        address.compare(0, PREFIX.size(), PREFIX) == 0 && address.find('.') != std::string::npos;
    return isMapped ? address.substr(PREFIX.size()) : address;
}

/// A link-local address is known on its machine with the interface behind it, which a client does not send.
std::string comparable(const Poco::Net::IPAddress& address)
{
    const std::string text = address.toString();
    return withoutMapping(text.substr(0, text.find('%')));
}

bool isSameAddress(const std::string& host, const Poco::Net::IPAddress& connectedTo)
{
    Poco::Net::IPAddress address;
    return Poco::Net::IPAddress::tryParse(host, address) && comparable(address) == comparable(connectedTo);
}

bool containsIgnoringCase(const std::vector<std::string>& texts, const std::string& text)
{
    return std::any_of(texts.begin(), texts.end(),
                       [&text](const std::string& other) { return Poco::icompare(other, text) == 0; });
}

std::string withoutDefaultPort(const std::string& authority)
{
    static const std::string DEFAULT_PORT = ":80";
    const std::size_t length = authority.size();
    const bool hasDefaultPort =
        length > DEFAULT_PORT.size() &&
        authority.compare(length - DEFAULT_PORT.size(), std::string::npos, DEFAULT_PORT) == 0;
    return hasDefaultPort ? authority.substr(0, length - DEFAULT_PORT.size()) : authority;
}

} // namespace

std::optional<std::string> hostOf(const std::string& authority)
{
    const bool isBracketed = !authority.empty() && authority.front() == '[';
    const std::size_t end = isBracketed ? authority.find(']') : authority.find(':');
    if (isBracketed && end == std::string::npos)
        return std::nullopt;
    const std::string host = isBracketed ? authority.substr(1, end - 1) : authority.substr(0, end);
    const std::string rest = end == std::string::npos ? "" : authority.substr(isBracketed ? end + 1 : end);
    if (!rest.empty() && (rest.front() != ':' || !isPort(std::string_view(rest).substr(1))))
        return std::nullopt;
    if (isBracketed ? !isIPv6(host) : !isName(host))
        return std::nullopt;
    return Poco::toLower(host);
}

bool isOwnHost(const std::string& host, const std::vector<std::string>& names,
               const Poco::Net::IPAddress& connectedTo)
{
    return host == "localhost" || containsIgnoringCase(names, host) || isSameAddress(host, connectedTo);
}

bool isOwnOrigin(const std::string& origin, const std::string& authority,
                 const std::vector<std::string>& origins)
{
    return Poco::icompare(withoutDefaultPort(origin), "http://" + withoutDefaultPort(authority)) == 0 ||
           containsIgnoringCase(origins, origin);
}

} // namespace Zovi::ServiceKit
