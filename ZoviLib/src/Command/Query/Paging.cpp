#include "Command/Query/Paging.h"

#include "Data/XObjectBase.h"
#include "Logging/LogStream.h"

#include <Poco/NumberParser.h>
#include <Poco/UUID.h>

#include <algorithm>
#include <limits>
#include <utility>
#include <vector>

namespace Zovi::Command
{

namespace
{

/// The limit without a positive counterpart in 32 bits: its absolute value stays negative there, so that it
/// passes the bound. Meant so.
constexpr Poco::Int32 UNBOUNDED_BACKWARD = std::numeric_limits<Poco::Int32>::min();

bool exceedsMaximum(Poco::Int32 limit)
{
    const Poco::Int32 maximum = Paging::PAGING_LIMIT_MAX;
    return limit > maximum || (limit < -maximum && limit != UNBOUNDED_BACKWARD);
}

std::string memberId(const Poco::JSON::Object& object)
{
    const std::string& key = Data::XObjectBase::KEY_ID;
    return object.has(key) ? object.get(key).convert<std::string>() : std::string();
}

/// The id of an element, empty if there is none or if it is no text.
std::string elementId(const Poco::Dynamic::Var& element)
{
    try {
        if (element.type() == typeid(Poco::JSON::Object))
            return memberId(element.extract<Poco::JSON::Object>());
        if (element.type() != typeid(Poco::JSON::Object::Ptr))
            return {};
        const auto& object = element.extract<Poco::JSON::Object::Ptr>();
        return object ? memberId(*object) : std::string();
    } catch (...) {
        return {};
    }
}

/// `element`, with a container that it holds by value put behind a pointer.
Poco::Dynamic::Var heldByPointer(const Poco::Dynamic::Var& element)
{
    if (element.type() == typeid(Poco::JSON::Object))
        return Poco::JSON::Object::Ptr(new Poco::JSON::Object(element.extract<Poco::JSON::Object>()));
    if (element.type() == typeid(Poco::JSON::Array))
        return Poco::JSON::Array::Ptr(new Poco::JSON::Array(element.extract<Poco::JSON::Array>()));
    return element;
}

} // namespace

Paging::Paging(const std::string& offsetpart, const std::string& limitpart)
{
    if (offsetpart.empty() && limitpart.empty()) {
        m_valid = false;
        return;
    }
    bool forcedPaging = false;
    bool offsetConfigured = false;
    bool limitConfigured = false;
    if (!offsetpart.empty())
        parseOffset(offsetpart, offsetConfigured);
    if (limitpart.empty())
        m_limit = PAGING_LIMIT_DEFAULT;
    else
        parseLimit(limitpart, forcedPaging, limitConfigured);
    updatePagingRequestType(forcedPaging, offsetConfigured, limitConfigured);
}

Paging::Paging(int offset, int limit)
    : m_numberOffset(offset)
    , m_limit(limit)
{
}

Paging Paging::createDefaultPaging()
{
    return Paging(0, PAGING_LIMIT_DEFAULT);
}

void Paging::parseOffset(const std::string& text, bool& offsetConfigured)
{
    Poco::UUID uuid;
    if (uuid.tryParse(text)) {
        m_uuidOffset = text;
        m_type = TYPE_UUID;
        offsetConfigured = true;
        return;
    }
    offsetConfigured = Poco::NumberParser::tryParse(text, m_numberOffset, ',');
    if (!offsetConfigured)
        m_valid = false;
}

void Paging::parseLimit(const std::string& text, bool& forcedPaging, bool& limitConfigured)
{
    if (!Poco::NumberParser::tryParse(text, m_limit, ',')) {
        m_valid = false;
        return;
    }
    if (m_limit == 0) {
        m_type = TYPE_TOTAL;
        return;
    }
    limitConfigured = true;
    if (exceedsMaximum(m_limit)) {
        ZOVI_LOG_WARNING("Reset paging limit to maximum allowed value (" << PAGING_LIMIT_MAX << ")");
        m_limit = m_limit > 0 ? PAGING_LIMIT_MAX : -PAGING_LIMIT_MAX;
        forcedPaging = true;
    }
}

void Paging::updatePagingRequestType(bool forcedPaging, bool offsetConfigured, bool limitConfigured)
{
    if (forcedPaging)
        m_pagingRequestType = FORCED;
    else if (offsetConfigured)
        m_pagingRequestType = limitConfigured ? OFFSET_LIMIT : OFFSET;
    else
        m_pagingRequestType = limitConfigured ? LIMIT : NONE;
}

Paging::Slice Paging::sliceFrom(Poco::Int64 anchor, Poco::Int64 size) const
{
    if (anchor < 0 || anchor >= size)
        return {0, 0};
    const Poco::Int64 limit = m_limit;
    if (limit >= 0)
        return {anchor, std::min(size - anchor, limit)};
    const Poco::Int64 count = std::min(anchor + 1, -limit);
    return {anchor + 1 - count, count};
}

int Paging::applyArrayPaging(Poco::JSON::Array& inout_jsonArray) const
{
    const auto size = static_cast<Poco::Int64>(inout_jsonArray.size());
    const bool haveIds = size > 0 && inout_jsonArray.isObject(0);
    const auto elements = inout_jsonArray.begin();
    const Slice slice = sliceOf(size, [&](Poco::Int64 index) {
        return haveIds ? elementId(elements[static_cast<std::ptrdiff_t>(index)]) : std::string();
    });
    if (slice.count < size) {
        std::vector<Poco::Dynamic::Var> kept;
        kept.reserve(static_cast<std::size_t>(slice.count));
        const auto first = elements + static_cast<std::ptrdiff_t>(slice.start);
        std::transform(first, first + static_cast<std::ptrdiff_t>(slice.count), std::back_inserter(kept),
                       heldByPointer);
        inout_jsonArray.clear();
        for (const Poco::Dynamic::Var& element : kept)
            inout_jsonArray.add(element);
    }
    return static_cast<int>(slice.start);
}

} // namespace Zovi::Command
