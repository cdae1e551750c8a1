#include "Command/UrlPath.h"

#include "Logging/LogStream.h"
#include "QueryDecoder.h"

#include <Poco/String.h>
#include <Poco/UUID.h>

#include <algorithm>
#include <string_view>
#include <utility>

namespace Zovi
{

namespace
{

const std::string KEY_API = "api";
const std::string KEY_VERSION = "v1";
const std::string KEY_ESCAPE = "$";

} // namespace

namespace Command
{

const std::string UrlPath::URI_ROOT = "/";
const std::string UrlPath::URI_ROOT_API = "/" + KEY_API + "/" + KEY_VERSION + "/";

const std::string UrlPath::RESERVED_KEY_ID = "id";
const std::string UrlPath::RESERVED_KEY_SPEC = "spec";
const std::string UrlPath::RESERVED_KEY_RIGHTS = "accessrights";

const std::string UrlPath::QUERY_FREETEXT_SEARCH = KEY_ESCAPE + "q";
const std::string UrlPath::QUERY_WILDCARD = "%";
const std::string UrlPath::QUERY_WILDCARD_HTML = "%25";
const std::string UrlPath::QUERY_FIELDS = KEY_ESCAPE + "fields";
const std::string UrlPath::QUERY_SORTBY = KEY_ESCAPE + "sortby";
const std::string UrlPath::QUERY_PAGING_OFFSET = KEY_ESCAPE + "offset";
const std::string UrlPath::QUERY_PAGING_LIMIT = KEY_ESCAPE + "limit";
const std::string UrlPath::QUERY_EXPAND = KEY_ESCAPE + "expand";

namespace
{

/// The one service whose elements may have any well-formed name.
const std::string_view FREE_ELEMENT_SERVICE = "cdn";

bool isSegmentCharacter(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9') || character == '_' || character == '-' ||
           character == '.' || character == '~';
}

bool isWellFormed(const std::string& segment)
{
    return !segment.empty() && std::all_of(segment.begin(), segment.end(), isSegmentCharacter);
}

/// A reserved word counts bare and with the escape in front.
bool isReservedWord(std::string_view segment, const std::string& word)
{
    if (!segment.empty() && segment.front() == KEY_ESCAPE.front())
        segment.remove_prefix(1);
    return segment == word;
}

bool isUuid(const std::string& text)
{
    Poco::UUID uuid;
    return uuid.tryParse(text);
}

} // namespace

UrlPath::UrlPath() = default;

UrlPath::UrlPath(const Poco::URI& uriInput)
    : uri(uriInput)
{
    parse(decodeQuery(uri));
}

UrlPath::UrlPath(const std::string& url)
    : uri(url)
{
    parse(decodeQuery(uri));
}

UrlPath::UrlPath(Poco::URI&& uriInput, QueryParameters& decodedQuery)
    : uri(std::move(uriInput))
{
    decodedQuery = decodeQuery(uri);
    parse(decodedQuery);
}

void UrlPath::parse(const QueryParameters& decodedQuery)
{
    queryParameter.insert(decodedQuery.begin(), decodedQuery.end());
    std::vector<std::string> segments = splitPath(uri);

    if (uri.getPath() == URI_ROOT) {
        characteristic = ROOT;
        return;
    }
    if (uri.getPath().compare(0, URI_ROOT_API.size(), URI_ROOT_API) == 0) {
        segments.erase(segments.begin(), segments.begin() + 2);
        ZOVI_LOG_DEBUG("removed API part of URI");
    }
    switch (segments.size()) {
    case 0:
        characteristic = ROOT;
        break;
    case 1:
        classifyRootLevel(segments[0]);
        break;
    case 2:
        classifyServiceLevel(segments[0], segments[1]);
        break;
    case 3:
        classifyResourceLevel(segments[0], segments[1], segments[2]);
        break;
    default:
        break;
    }
}

void UrlPath::classifyRootLevel(const std::string& first)
{
    if (isReservedWord(first, RESERVED_KEY_ID)) {
        characteristic = ROOT_ID;
    } else if (isWellFormed(first)) {
        service = first;
        characteristic = SERVICE;
    }
}

void UrlPath::classifyServiceLevel(const std::string& first, const std::string& second)
{
    if (!isWellFormed(first))
        return;
    service = first;
    if (isReservedWord(second, RESERVED_KEY_ID)) {
        characteristic = SERVICE_ID;
    } else if (isReservedWord(second, RESERVED_KEY_RIGHTS)) {
        // Meant so: to all later code the access rights are a resource like any other.
        resource = second;
        characteristic = SERVICE_RESOURCE;
    } else if (isReservedWord(second, RESERVED_KEY_SPEC)) {
        resource = second;
        characteristic = SERVICE_SPEC;
    } else if (isWellFormed(second)) {
        resource = second;
        characteristic = SERVICE_RESOURCE;
    }
}

void UrlPath::classifyResourceLevel(const std::string& first, const std::string& second,
                                    const std::string& third)
{
    if (!isWellFormed(first) || !isWellFormed(second))
        return;
    service = first;
    resource = second;
    if (isReservedWord(third, RESERVED_KEY_ID)) {
        characteristic = SERVICE_RESOURCE_ID;
    } else if (isReservedWord(third, RESERVED_KEY_SPEC)) {
        characteristic = SERVICE_RESOURCE_SPEC;
    } else if (isWellFormed(third)) {
        element = third;
        if (service == FREE_ELEMENT_SERVICE || isUuid(element))
            characteristic = SERVICE_RESOURCE_ELEMENT;
    }
}

bool UrlPath::isServiceEqual(const std::string& other) const
{
    return Poco::icompare(service, other) == 0;
}

bool UrlPath::isResourceEqual(const std::string& other) const
{
    return Poco::icompare(resource, other) == 0;
}

bool UrlPath::isElementEqual(const std::string& other) const
{
    return Poco::icompare(element, other) == 0;
}

bool UrlPath::isReservedKeyword(Characteristic value)
{
    switch (value) {
    case ROOT_ID:
    case SERVICE_ID:
    case SERVICE_SPEC:
    case SERVICE_RIGHTS:
    case SERVICE_RESOURCE_ID:
    case SERVICE_RESOURCE_SPEC:
        return true;
    default:
        return false;
    }
}

bool UrlPath::hasQueryParameter(const std::string& queryKeyword) const
{
    return queryParameter.find(queryKeyword) != queryParameter.end();
}

std::vector<std::string> UrlPath::getQueryParameters(const std::string& queryKeyword) const
{
    std::vector<std::string> values;
    const auto [first, last] = queryParameter.equal_range(queryKeyword);
    for (auto parameter = first; parameter != last; ++parameter)
        values.push_back(parameter->second);
    return values;
}

UrlPath::QueryParameters UrlPath::getQueryParameters() const
{
    return decodeQuery(uri);
}

bool UrlPath::operator==(const UrlPath& rhs) const
{
    return characteristic == rhs.characteristic && service == rhs.service && resource == rhs.resource &&
           element == rhs.element;
}

// Meant so: a field that compares greater does not decide, the next one is asked.
bool UrlPath::operator<(const UrlPath& rhs) const
{
    if (isValid() && rhs.isValid()) {
        const int level = getCharacteristicLevel(characteristic);
        const int rhsLevel = getCharacteristicLevel(rhs.characteristic);
        if (level != rhsLevel)
            return level < rhsLevel;
    }
    // The empty text is less than any other, so that an absent element or resource needs no case of its own.
    return element < rhs.element || resource < rhs.resource || (!service.empty() && service < rhs.service);
}

int UrlPath::getCharacteristicLevel(Characteristic value)
{
    switch (value) {
    case INVALID:
        return -1;
    case ROOT:
    case ROOT_ID:
        return 0;
    case SERVICE:
    case SERVICE_ID:
    case SERVICE_SPEC:
    case SERVICE_RIGHTS:
        return 1;
    case SERVICE_RESOURCE:
    case SERVICE_RESOURCE_ID:
    case SERVICE_RESOURCE_SPEC:
        return 2;
    case SERVICE_RESOURCE_ELEMENT:
        return 3;
    }
    ZOVI_LOG_ERROR("Invalid characteristics found. " << static_cast<int>(value));
    return -1;
}

int UrlPath::compareCharacteristic(Characteristic left, Characteristic right)
{
    return getCharacteristicLevel(right) - getCharacteristicLevel(left);
}

} // namespace Command
} // namespace Zovi
