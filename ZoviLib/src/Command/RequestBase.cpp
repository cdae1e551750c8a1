#include "Command/RequestBase.h"

#include "Logging/LogStream.h"

#include <utility>

namespace Zovi::Command
{

RequestBase::RequestBase() = default;

RequestBase::RequestBase(const Poco::URI& uri)
    : RequestBase(Poco::URI(uri), UrlPath::QueryParameters())
{
}

RequestBase::RequestBase(Poco::URI&& uri, UrlPath::QueryParameters&& decodedQuery)
    : m_urlPath(std::move(uri), decodedQuery)
{
    buildCriteria(decodedQuery);
}

RequestBase::RequestBase(const UrlPath& path)
    : m_urlPath(path)
{
    initialize();
}

RequestBase::RequestBase(const std::string& url)
    : RequestBase(Poco::URI(url), UrlPath::QueryParameters())
{
}

RequestBase::~RequestBase() = default;

void RequestBase::initializeFromUri(const Poco::URI& uri)
{
    if (uri == m_urlPath.getUri())
        return;
    UrlPath::QueryParameters decodedQuery;
    m_urlPath = UrlPath(Poco::URI(uri), decodedQuery);
    renderCriteria.clear();
    searchCriteria.clear();
    buildCriteria(decodedQuery);
}

void RequestBase::initialize()
{
    UrlPath::QueryParameters decodedQuery;
    try {
        decodedQuery = m_urlPath.getQueryParameters();
    } catch (const Poco::Exception& failure) {
        ZOVI_LOG_WARNING("Request initilisation failed due to: " << failure.displayText());
        m_urlPath.setCharacteristicInvalid();
        return;
    }
    buildCriteria(decodedQuery);
}

void RequestBase::buildCriteria(const UrlPath::QueryParameters& decodedQuery)
{
    if (decodedQuery.empty())
        return;
    if (m_urlPath.isReservedKeyword()) {
        m_urlPath.setCharacteristicInvalid();
        return;
    }
    PendingPaging paging;
    for (const auto& [key, value] : decodedQuery)
        dispatchParameter(key, value, paging);
    dispatchPaging(paging);
}

} // namespace Zovi::Command
