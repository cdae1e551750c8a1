#include "ResourceSearch.h"

#include "Command/Query/ValueSearch.h"

#include <algorithm>
#include <cstdint>

namespace Zovi::Command
{

using Poco::Dynamic::Var;
using Poco::JSON::Object;

ResourceSearch::ResourceSearch(const AttributeValueSearchCollection& attributes,
                               const AnyValueSearchCollection& freetexts)
    : m_attributeCount(attributes.size())
    , m_freetexts(freetexts)
{
    for (const auto& search : attributes) {
        if (search)
            m_attributes.push_back({search.get(), MemberFinder(search->getAttributeName())});
    }
}

bool ResourceSearch::accepts(const Object& object)
{
    return acceptsAttributes(object) && acceptsFreetexts(object);
}

// Meant so: a missing attribute fails the object, but does not end the walk as a wrong value does.
bool ResourceSearch::acceptsAttributes(const Object& object)
{
    std::uint16_t matches = 0;
    for (AttributeSearch& wanted : m_attributes) {
        const Var* const value = wanted.attribute.find(object);
        if (!value)
            continue;
        if (!wanted.search->match(*value))
            break;
        ++matches;
    }
    return m_attributeCount == matches;
}

// Meant so: the first hit of any search ends the count at 1, so that two searches or more never pass.
bool ResourceSearch::acceptsFreetexts(const Object& object) const
{
    const bool isHit = std::any_of(m_freetexts.begin(), m_freetexts.end(), [&](const auto& search) {
        return search && hasMatchingValue(object, *search);
    });
    return m_freetexts.size() == (isHit ? 1U : 0U);
}

bool hasMatchingValue(const Object& object, const AnyValueSearch& search)
{
    return std::any_of(object.begin(), object.end(),
                       [&](const auto& member) { return search.match(member.second); });
}

} // namespace Zovi::Command
