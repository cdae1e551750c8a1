#pragma once

#include "Command/UrlPath.h"

#include <Poco/Exception.h>
#include <Poco/RegularExpression.h>
#include <Poco/URI.h>
#include <Poco/UUID.h>

#include <string>
#include <vector>

namespace Zovi::Test
{

/// What an address is read as.
struct PlainAddress {
    std::string url;
    Command::UrlPath::Characteristic characteristic;
    std::string service;
    std::string resource;
    std::string element;
};

namespace Detail
{

inline bool isOneOf(const std::string& segment, const std::string& keyword)
{
    return segment == keyword || segment == "$" + keyword;
}

/// The rule for a segment as Poco applies the pattern itself.
inline bool isWellFormed(const std::string& segment)
{
    static const Poco::RegularExpression pattern("^[.\\w-~]+$", 0, true);
    return pattern.match(segment);
}

inline bool isUuid(const std::string& text)
{
    try {
        const Poco::UUID uuid(text);
        return true;
    } catch (const Poco::SyntaxException&) {
        return false;
    }
}

} // namespace Detail

/// The parse, one test behind the other, on what Poco makes of the URI. Shares no code with the product.
inline PlainAddress parsePlainly(const Poco::URI& uri)
{
    PlainAddress result{uri.toString(), Command::UrlPath::INVALID, "", "", ""};
    std::vector<std::string> segments;
    uri.getPathSegments(segments);
    if (uri.getPath().compare(0, 8, "/api/v1/") == 0)
        segments.erase(segments.begin(), segments.begin() + 2);
    if (segments.empty()) {
        result.characteristic = Command::UrlPath::ROOT;
    } else if (segments.size() == 1) {
        if (Detail::isOneOf(segments[0], "id")) {
            result.characteristic = Command::UrlPath::ROOT_ID;
        } else if (Detail::isWellFormed(segments[0])) {
            result.service = segments[0];
            result.characteristic = Command::UrlPath::SERVICE;
        }
    } else if (segments.size() == 2) {
        if (!Detail::isWellFormed(segments[0]))
            return result;
        result.service = segments[0];
        if (Detail::isOneOf(segments[1], "id")) {
            result.characteristic = Command::UrlPath::SERVICE_ID;
        } else if (Detail::isOneOf(segments[1], "accessrights")) {
            result.resource = segments[1];
            result.characteristic = Command::UrlPath::SERVICE_RESOURCE;
        } else if (Detail::isOneOf(segments[1], "spec")) {
            result.resource = segments[1];
            result.characteristic = Command::UrlPath::SERVICE_SPEC;
        } else if (Detail::isWellFormed(segments[1])) {
            result.resource = segments[1];
            result.characteristic = Command::UrlPath::SERVICE_RESOURCE;
        }
    } else if (segments.size() == 3) {
        if (!Detail::isWellFormed(segments[0]) || !Detail::isWellFormed(segments[1]))
            return result;
        result.service = segments[0];
        result.resource = segments[1];
        if (Detail::isOneOf(segments[2], "id")) {
            result.characteristic = Command::UrlPath::SERVICE_RESOURCE_ID;
        } else if (Detail::isOneOf(segments[2], "spec")) {
            result.characteristic = Command::UrlPath::SERVICE_RESOURCE_SPEC;
        } else if (Detail::isWellFormed(segments[2])) {
            result.element = segments[2];
            if (result.service == "cdn" || Detail::isUuid(result.element))
                result.characteristic = Command::UrlPath::SERVICE_RESOURCE_ELEMENT;
        }
    }
    return result;
}

} // namespace Zovi::Test
