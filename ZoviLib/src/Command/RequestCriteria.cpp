#include "Command/RequestBase.h"

#include "Command/Query/ExpandParameter.h"
#include "Command/Query/FilterParameter.h"
#include "Command/Query/Paging.h"
#include "Command/Query/SortingParameter.h"
#include "Command/Query/ValueSearch.h"
#include "Logging/LogStream.h"

#include <Poco/NumberParser.h>

namespace Zovi::Command
{

/// What each query key turns into. A member of the request, so that it can condemn the address.
struct RequestBase::Dispatch {
    using Handler = void (*)(RequestBase& request, const std::string& value, PendingPaging& paging);

    struct Row {
        const std::string& key;
        Handler handle;
    };

    static void fields(RequestBase& request, const std::string& value, PendingPaging& paging);
    static void sortby(RequestBase& request, const std::string& value, PendingPaging& paging);
    static void expand(RequestBase& request, const std::string& value, PendingPaging& paging);
    static void offset(RequestBase& request, const std::string& value, PendingPaging& paging);
    static void limit(RequestBase& request, const std::string& value, PendingPaging& paging);
    static void freetext(RequestBase& request, const std::string& value, PendingPaging& paging);

    static void condemn(RequestBase& request) { request.m_urlPath.setCharacteristicInvalid(); }

    /// Adds a criterion that shapes the output, or condemns the request if the criterion is invalid.
    template <typename T>
    static void acceptRender(RequestBase& request, const Poco::SharedPtr<T>& criterion)
    {
        if (criterion->isValid())
            request.addRenderCriterion(criterion);
        else
            condemn(request);
    }

    /// Keeps the text of a paging key, which may stand once and not be empty.
    static void keepOnce(RequestBase& request, const std::string& value, std::string& pending);
};

void RequestBase::Dispatch::fields(RequestBase& request, const std::string& value, PendingPaging& /*paging*/)
{
    acceptRender(request, Poco::makeShared<FilterParameter>(value));
}

void RequestBase::Dispatch::sortby(RequestBase& request, const std::string& value, PendingPaging& /*paging*/)
{
    if (value.empty() || request.hasSortbyCriteria())
        condemn(request);
    else
        acceptRender(request, Poco::makeShared<SortingParameter>(value));
}

void RequestBase::Dispatch::expand(RequestBase& request, const std::string& value, PendingPaging& /*paging*/)
{
    if (value.empty() || request.hasExpandCriteria() || request.hasPropertyExpandCriteria()) {
        condemn(request);
        return;
    }
    int level = 0;
    if (Poco::NumberParser::tryParse(value, level, ','))
        acceptRender(request, Poco::makeShared<LevelExpansion>(value));
    else
        acceptRender(request, Poco::makeShared<PropertyExpansion>(value));
}

void RequestBase::Dispatch::keepOnce(RequestBase& request, const std::string& value, std::string& pending)
{
    if (value.empty() || !pending.empty())
        condemn(request);
    else
        pending = value;
}

void RequestBase::Dispatch::offset(RequestBase& request, const std::string& value, PendingPaging& paging)
{
    keepOnce(request, value, paging.offset);
}

void RequestBase::Dispatch::limit(RequestBase& request, const std::string& value, PendingPaging& paging)
{
    keepOnce(request, value, paging.limit);
}

void RequestBase::Dispatch::freetext(RequestBase& request, const std::string& value,
                                     PendingPaging& /*paging*/)
{
    const auto search = Poco::makeShared<AnyValueSearch>(value);
    if (search->isValid())
        request.addSearchCriterion(search);
    else
        condemn(request);
}

void RequestBase::dispatchParameter(const std::string& key, const std::string& value, PendingPaging& paging)
{
    static const Dispatch::Row ROWS[] = {
        {UrlPath::QUERY_FIELDS, Dispatch::fields},      {UrlPath::QUERY_SORTBY, Dispatch::sortby},
        {UrlPath::QUERY_EXPAND, Dispatch::expand},      {UrlPath::QUERY_PAGING_OFFSET, Dispatch::offset},
        {UrlPath::QUERY_PAGING_LIMIT, Dispatch::limit}, {UrlPath::QUERY_FREETEXT_SEARCH, Dispatch::freetext},
    };
    for (const Dispatch::Row& row : ROWS) {
        if (key == row.key)
            return row.handle(*this, value, paging);
    }
    // Any other key names an attribute, whose search is taken whatever its value.
    addSearchCriterion(Poco::makeShared<AttributeValueSearch>(key, value));
}

void RequestBase::dispatchPaging(const PendingPaging& paging)
{
    if (!paging.offset.empty() || !paging.limit.empty())
        Dispatch::acceptRender(*this, Poco::makeShared<Paging>(paging.offset, paging.limit));
}

bool RequestBase::hasFieldsCriteria() const
{
    return renderCriteria.count(keyOf<FilterParameter>()) > 0;
}

bool RequestBase::hasSortbyCriteria() const
{
    return renderCriteria.count(keyOf<SortingParameter>()) > 0;
}

bool RequestBase::hasPagingCriteria() const
{
    return renderCriteria.count(keyOf<Paging>()) > 0;
}

bool RequestBase::hasExpandCriteria() const
{
    return renderCriteria.count(keyOf<LevelExpansion>()) > 0;
}

bool RequestBase::hasPropertyExpandCriteria() const
{
    return renderCriteria.count(keyOf<PropertyExpansion>()) > 0;
}

bool RequestBase::hasFreetextCriteria() const
{
    return searchCriteria.count(keyOf<AnyValueSearch>()) > 0;
}

bool RequestBase::hasAttributeCriteria() const
{
    return searchCriteria.count(keyOf<AttributeValueSearch>()) > 0;
}

unsigned int RequestBase::getExpansionLevel() const
{
    QueryCollection<LevelExpansion> expansions;
    extractRenderCriteria<LevelExpansion>(expansions);
    if (expansions.empty())
        return 0;
    if (expansions.size() > 1)
        ZOVI_LOG_WARNING("Multiple expansion levels found!");
    return expansions.front()->getLevel();
}

bool RequestBase::getExpansionProperties(std::vector<std::string>& expands) const
{
    QueryCollection<PropertyExpansion> expansions;
    extractRenderCriteria<PropertyExpansion>(expansions);
    if (expansions.empty())
        return false;
    expands = expansions.front()->getFieldsExpansion();
    return true;
}

} // namespace Zovi::Command
