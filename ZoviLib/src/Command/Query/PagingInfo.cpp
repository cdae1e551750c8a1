#include "Command/Query/Paging.h"

#include "Command/RequestBase.h"
#include "Command/ResponseObject.h"
#include "Logging/LogStream.h"

#include <Poco/NumberFormatter.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace Zovi::Command
{

namespace
{

/// The numbers are 32 bits wide and wrap: this is what a list of more than 2^31 elements is told.
Poco::Int32 wrapped(Poco::Int64 number)
{
    return static_cast<Poco::Int32>(static_cast<Poco::UInt32>(number));
}

/// A page, the indices that a list of `total` elements has, and where its neighbours begin.
struct PageWalk {
    PageWalk(int pageOffset, int pageLimit, unsigned int listTotal)
        : offset(pageOffset)
        , limit(pageLimit)
        , total(listTotal)
        , maxListIndex(wrapped(Poco::Int64{listTotal} - 1))
        , minListIndex(wrapped(-Poco::Int64{listTotal}))
        , nextOffset(neighbour(Poco::Int64{offset} + limit))
        , prevOffset(neighbour(Poco::Int64{offset} - limit))
    {
    }

    bool isInRange() const { return offset >= minListIndex && offset <= maxListIndex; }

    void findNeighbours();
    unsigned int totalPages() const;

    Poco::Int32 offset;
    Poco::Int32 limit;
    Poco::UInt32 total;
    Poco::Int32 maxListIndex;
    Poco::Int32 minListIndex;
    Poco::Int64 nextOffset;
    Poco::Int64 prevOffset;
    bool showNext = false;
    bool showPrev = false;

private:
    /// The one limit whose absolute value is beyond 32 bits is computed with in full, so that its
    /// neighbours lie outside the list; with any other the neighbours wrap.
    Poco::Int64 neighbour(Poco::Int64 index) const
    {
        return limit == std::numeric_limits<Poco::Int32>::min() ? index : wrapped(index);
    }

    Poco::UInt32 pageSize() const { return static_cast<Poco::UInt32>(std::abs(Poco::Int64{limit})); }
    Poco::UInt32 distanceFromStart() const;
};

/// An offset from the front has the indices from 0 on, one from the end those up to -1. A negative limit
/// walks towards lower indices.
void PageWalk::findNeighbours()
{
    const bool fromFront = offset >= 0;
    const bool forward = limit >= 0;
    if (forward) {
        prevOffset = std::max<Poco::Int64>(prevOffset, fromFront ? 0 : minListIndex);
        showNext = fromFront ? nextOffset <= maxListIndex : nextOffset < 0;
    } else {
        prevOffset = std::min<Poco::Int64>(prevOffset, fromFront ? maxListIndex : -1);
        showNext = nextOffset >= (fromFront ? 0 : minListIndex);
    }
    showNext = showNext && isInRange();
    showPrev = isInRange() && prevOffset != offset;
}

/// How many elements lie between this page and the end of the list at which its walk began. Asked only for a
/// page in range.
Poco::UInt32 PageWalk::distanceFromStart() const
{
    const Poco::Int64 index = offset;
    if (limit > 0)
        return static_cast<Poco::UInt32>(offset >= 0 ? index : index - minListIndex);
    return static_cast<Poco::UInt32>(offset >= 0 ? maxListIndex - index : -index - 1);
}

unsigned int PageWalk::totalPages() const
{
    if (limit == 0)
        return 1;
    const Poco::UInt32 size = pageSize();
    auto pages = static_cast<unsigned int>(std::ceil(static_cast<double>(total) / static_cast<double>(size)));
    if (!showNext && !showPrev)
        return pages;
    // A walk need not begin at a multiple of the limit: there may be a partial page at either end, and the
    // quotient has allowed for both only if together they exceed one page.
    const Poco::UInt32 front = distanceFromStart() % size;
    const Poco::UInt32 end = (total - front) % size;
    if (front > 0 && end > 0 && size >= front + end)
        ++pages;
    return pages;
}

/// The parameters of the request that a link keeps.
std::string keptParameters(const RequestBase& request)
{
    std::string parameters;
    for (const auto& [key, value] : request.getUri().getQueryParameters()) {
        if (key != UrlPath::QUERY_PAGING_OFFSET && key != UrlPath::QUERY_PAGING_LIMIT)
            parameters.append("&").append(key).append("=").append(value);
    }
    return parameters;
}

std::string listPath(const UrlPath& address)
{
    std::string path = UrlPath::URI_ROOT + address.getService();
    if (!address.getResource().empty())
        path.append("/").append(address.getResource());
    return path;
}

/// Composes the links to the pages of one list.
class PageLinks
{
public:
    PageLinks(const RequestBase& request, int limit)
        : m_head(listPath(request.getUrlPath()) + "?" + UrlPath::QUERY_PAGING_LIMIT + "=" +
                 Poco::NumberFormatter::format(limit) + "&" + UrlPath::QUERY_PAGING_OFFSET + "=")
        , m_tail(keptParameters(request))
    {
    }

    std::string to(Poco::Int64 offset) const
    {
        return m_head + Poco::NumberFormatter::format(offset) + m_tail;
    }

private:
    std::string m_head;
    std::string m_tail;
};

void logDoubts(const PageWalk& page)
{
    if (!page.isInRange()) {
        ZOVI_LOG_ERROR("Paging offset value " << page.offset << " outside of range. (" << page.minListIndex
                                              << "..." << page.maxListIndex << ")");
    }
    if (page.limit == 0)
        ZOVI_LOG_ERROR("Cannot apply paging for a limit value of " << 0);
}

} // namespace

void Paging::createPagingInfo(const RequestBase& reqCommand, PagingType type, const std::string& id,
                              int offset, int limit, unsigned int pagingTotal,
                              Poco::JSON::Object& out_pagingObject)
{
    if (type == TYPE_TOTAL)
        out_pagingObject.set(ResponseObject::FIELD_PAGING_TOTAL, pagingTotal);
    if (type != TYPE_UUID && type != TYPE_INDEX)
        return;

    PageWalk page(offset, limit, pagingTotal);
    page.findNeighbours();
    logDoubts(page);

    if (!id.empty())
        out_pagingObject.set(ResponseObject::FIELD_PAGING_OFFSET_ID, id);
    out_pagingObject.set(ResponseObject::FIELD_PAGING_OFFSET, offset);
    out_pagingObject.set(ResponseObject::FIELD_PAGING_LIMIT, limit);
    out_pagingObject.set(ResponseObject::FIELD_PAGING_TOTAL, pagingTotal);
    out_pagingObject.set(ResponseObject::FIELD_PAGING_TOTAL_PAGES, page.totalPages());
    if (!page.showPrev && !page.showNext)
        return;
    const PageLinks links(reqCommand, limit);
    if (page.showPrev)
        out_pagingObject.set(ResponseObject::FIELD_PAGING_PREVIOUS, links.to(page.prevOffset));
    if (page.showNext)
        out_pagingObject.set(ResponseObject::FIELD_PAGING_NEXT, links.to(page.nextOffset));
}

} // namespace Zovi::Command
