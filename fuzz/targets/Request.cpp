// A URL with its dispatch into criteria: a condemned request has an invalid address, a copy answers alike,
// and reading the same URL twice gives the same criteria.

#include "Command/RequestBase.h"

#include "Command/Query/ExpandParameter.h"
#include "Law.h"

#include <Poco/Exception.h>

#include <sstream>

using Zovi::Command::RequestBase;
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
        requireEqual(describe(RequestBase(request)), describe(request), "a copy answers alike");
        requireEqual(describe(RequestBase(uri)), describe(request), "reading twice gives the same");
    } catch (const Poco::Exception&) {
        // Poco refuses the URL, or a search value is no pattern.
    }
    return 0;
}
