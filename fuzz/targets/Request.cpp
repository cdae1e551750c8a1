// A URL with its dispatch into criteria: each parameter becomes the criterion that its key asks for, the
// plain rules condemn the same requests, a copy answers alike, and reading the same URL twice gives the same.

#include "Command/RequestBase.h"

#include "Command/Query/ExpandParameter.h"
#include "Law.h"
#include "PlainQuery.h"

#include <Poco/Exception.h>

#include <algorithm>
#include <sstream>

using Zovi::Command::RequestBase;
using Zovi::Command::UrlPath;
using Zovi::Fuzz::require;
using Zovi::Fuzz::requireEqual;

namespace
{

std::string describe(const RequestBase& request)
{
    std::ostringstream text;
    text << request.getUrlPath().getCharacteristic() << request.hasFieldsCriteria()
         << request.hasSortbyCriteria() << request.hasPagingCriteria() << request.hasExpandCriteria()
         << request.hasPropertyExpandCriteria() << request.hasFreetextCriteria()
         << request.hasAttributeCriteria() << ' ' << request.getExpansionLevel();
    std::vector<std::string> properties;
    text << request.getExpansionProperties(properties);
    for (const std::string& property : properties)
        text << ' ' << property;
    return text.str();
}

template <typename IsWanted>
bool hasAny(const Poco::URI::QueryParameters& query, const IsWanted& isWanted)
{
    return std::any_of(query.begin(), query.end(), [&](const auto& entry) { return isWanted(entry.first); });
}

bool isOneOf(const std::string& key, std::initializer_list<const char*> keys)
{
    return std::find(keys.begin(), keys.end(), key) != keys.end();
}

/// What holds of every request, condemned or not, and what of those that are not.
void checkDispatch(const RequestBase& request, const Poco::URI::QueryParameters& query)
{
    const auto has = [&query](std::initializer_list<const char*> keys) {
        return hasAny(query, [keys](const std::string& key) { return isOneOf(key, keys); });
    };
    const bool hasAttribute = hasAny(query, [](const std::string& key) {
        return !isOneOf(key, {"$q", "$fields", "$sortby", "$expand", "$offset", "$limit"});
    });
    require(request.hasAttributeCriteria() == hasAttribute, "any other key searches in an attribute");
    require(request.hasFreetextCriteria() == has({"$q"}), "\"$q\" searches in all");
    if (!request.getUrlPath().isValid())
        return;
    require(request.hasFieldsCriteria() == has({"$fields"}), "\"$fields\" selects fields");
    require(request.hasSortbyCriteria() == has({"$sortby"}), "\"$sortby\" sorts");
    require(request.hasPagingCriteria() == has({"$offset", "$limit"}), "\"$offset\" and \"$limit\" cut");
    require((request.hasExpandCriteria() || request.hasPropertyExpandCriteria()) == has({"$expand"}),
            "\"$expand\" expands");
}

/// An address with a query is good if it is good without, if no reserved word stands there, and if the plain
/// rules do not condemn the query.
void checkValidity(const RequestBase& request, const Poco::URI& uri)
{
    Poco::URI address(uri);
    address.setRawQuery("");
    const UrlPath path(address);
    std::vector<std::string> log;
    const Zovi::Test::PlainEvaluation plain("/service/resource?" + uri.getRawQuery(), log);
    require(request.getUrlPath().isValid() ==
                (path.isValid() && !path.isReservedKeyword() && plain.isValid()),
            "the plain rules condemn the same requests");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    try {
        const Poco::URI uri(Zovi::Fuzz::textOf(data, size));
        const RequestBase request(uri);
        require(request.hasAnyCriteria() == (request.hasRenderCriteria() || request.hasSearchCriteria()),
                "any criterion renders or searches");
        require(request.getExpansionLevel() <= Zovi::Command::LevelExpansion::MAX_LEVEL,
                "a level is bounded");
        const Poco::URI::QueryParameters query = uri.getQueryParameters();
        if (query.empty() || request.getUrlPath().isReservedKeyword()) {
            require(!request.hasAnyCriteria(), "without a query there is no criterion");
        } else if (!UrlPath(Poco::URI(uri.getPath())).isReservedKeyword()) {
            checkDispatch(request, query);
            checkValidity(request, uri);
        }
        requireEqual(describe(RequestBase(request)), describe(request), "a copy answers alike");
        requireEqual(describe(RequestBase(uri)), describe(request), "reading twice gives the same");
    } catch (const Poco::Exception&) {
        // Poco refuses the URL, or a search value is no pattern.
    }
    return 0;
}
