#include "Command/RequestBase.h"

#include "Logging/LogStream.h"

namespace Zovi::Command
{

RequestBase::RequestBase() = default;

RequestBase::RequestBase(const Poco::URI& uri)
    : m_urlPath(uri)
{
    initialize();
}

RequestBase::RequestBase(const UrlPath& path)
    : m_urlPath(path)
{
    initialize();
}

RequestBase::RequestBase(const std::string& url)
    : m_urlPath(url)
{
    initialize();
}

RequestBase::~RequestBase() = default;

void RequestBase::initializeFromUri(const Poco::URI& uri)
{
    if (uri == m_urlPath.getUri())
        return;
    m_urlPath = UrlPath(uri);
    initialize();
}

bool RequestBase::hasRenderCriterion(const std::type_info& type) const
{
    return renderCriteria.find(type.name()) != renderCriteria.end();
}

bool RequestBase::hasSearchCriterion(const std::type_info& type) const
{
    return searchCriteria.find(type.name()) != searchCriteria.end();
}

void RequestBase::initialize()
{
    renderCriteria.clear();
    searchCriteria.clear();

    UrlPath::QueryParameters parameters;
    try {
        parameters = m_urlPath.getQueryParameters();
    } catch (const Poco::Exception& failure) {
        ZOVI_LOG_WARNING("Request initilisation failed due to: " << failure.displayText());
        m_urlPath.setCharacteristicInvalid();
        return;
    }
    if (parameters.empty())
        return;
    if (m_urlPath.isReservedKeyword()) {
        m_urlPath.setCharacteristicInvalid();
        return;
    }
    PendingPaging paging;
    for (const auto& [key, value] : parameters)
        dispatchParameter(key, value, paging);
    dispatchPaging(paging);
}

} // namespace Zovi::Command
