#include "QueryFault.h"

#include "Command/RequestBase.h"
#include "ServiceKit/Text.h"

#include <set>

namespace Zovi::ServiceKit
{

namespace
{

using Command::RequestBase;
using Command::UrlPath;

/// What each query key takes, and whether it may stand once only.
struct Expectation {
    const std::string& key;
    bool isUnique;
    const char* text;
};

const char* const EXPECTED_PATTERN =
    "texts separated by commas, % for any text; a regular expression in them must be well-formed";

const Expectation* findExpectation(const std::string& key)
{
    static const Expectation EXPECTATIONS[] = {
        {UrlPath::QUERY_FIELDS, false,
         "field names separated by commas, an array with its own paging as name($offset:0,$limit:10)"},
        {UrlPath::QUERY_SORTBY, true,
         "field names separated by commas, with - in front for descending order"},
        {UrlPath::QUERY_EXPAND, true, "a level from 0 to 3, or field names separated by commas"},
        {UrlPath::QUERY_PAGING_OFFSET, true,
         "an index, which counts from the end if negative, or the id of an element"},
        {UrlPath::QUERY_PAGING_LIMIT, true,
         "a number of elements, which runs backward if negative, or 0 for the total alone"},
    };
    for (const Expectation& expectation : EXPECTATIONS) {
        if (key == expectation.key)
            return &expectation;
    }
    return nullptr;
}

/// An attribute is compared with a value that has no wildcard as it stands.
bool isPattern(const std::string& key, const std::string& value)
{
    return key == UrlPath::QUERY_FREETEXT_SEARCH ||
           (!findExpectation(key) && value.find('%') != std::string::npos);
}

const char* expectedText(const std::string& key)
{
    const Expectation* expectation = findExpectation(key);
    return expectation ? expectation->text : EXPECTED_PATTERN;
}

Poco::URI addressOf(const Poco::URI& uri)
{
    Poco::URI address;
    address.setPath(uri.getPath());
    return address;
}

Poco::URI withParameter(const Poco::URI& address, const std::string& key, const std::string& value)
{
    Poco::URI uri = address;
    uri.addQueryParameter(key, value);
    return uri;
}

/// What the criterion warns of is in the log already, and now once more: rather that than a second way of
/// reading queries.
bool isRefusedAlone(const Poco::URI& address, const std::string& key, const std::string& value)
{
    try {
        return !RequestBase(withParameter(address, key, value)).getUrlPath().isValid();
    } catch (const Poco::RegularExpressionException&) {
        return true;
    }
}

std::string describeParameter(const std::string& key, const std::string& value)
{
    return "parameter " + inQuotes(key) + " is " + inQuotes(value);
}

std::string describeRepetition(const UrlPath::QueryParameters& parameters)
{
    std::set<std::string> seen;
    for (const auto& [key, value] : parameters) {
        const Expectation* expectation = findExpectation(key);
        if (expectation && expectation->isUnique && !seen.insert(key).second)
            return "parameter " + inQuotes(key) + " stands more than once";
    }
    return {};
}

} // namespace

std::string describeQueryFault(const Poco::URI& uri)
{
    const Poco::URI address = addressOf(uri);
    const UrlPath::QueryParameters parameters = uri.getQueryParameters();
    if (UrlPath(address).isReservedKeyword())
        return "this address takes no query: " + inQuotes(uri.getRawQuery());
    for (const auto& [key, value] : parameters) {
        if (isRefusedAlone(address, key, value))
            return describeParameter(key, value) + ", expected " + expectedText(key);
    }
    const std::string repetition = describeRepetition(parameters);
    return repetition.empty() ? "malformed query: " + inQuotes(uri.getRawQuery()) : repetition;
}

std::string describeSearchFault(const Poco::URI& uri, const Poco::RegularExpressionException& exception)
{
    const std::string& text = exception.message();
    const std::size_t colon = text.find(": ");
    const std::string value = colon == std::string::npos ? "" : text.substr(colon + 2);
    for (const auto& [key, candidate] : uri.getQueryParameters()) {
        if (isPattern(key, candidate) && candidate == value)
            return describeParameter(key, value) + ", expected a pattern that takes less effort to match";
    }
    return "a search pattern takes too much effort to match";
}

} // namespace Zovi::ServiceKit
