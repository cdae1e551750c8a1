#pragma once

#include "Command/QueryFilterJSON.h"
#include "MemberFinder.h"

#include <Poco/JSON/Object.h>

#include <vector>

namespace Zovi::Command
{

/// The searches of a request, applied to object after object. The collections must outlive it.
class ResourceSearch
{
public:
    ResourceSearch(const AttributeValueSearchCollection& attributes,
                   const AnyValueSearchCollection& freetexts);

    /// True if every attribute search finds its attribute in `object` and matches, and the free-text search
    /// matches one of its values; two or more free-text searches accept nothing. Throws what
    /// `AbstractValueSearch::match` throws.
    bool accepts(const Poco::JSON::Object& object);

private:
    bool acceptsAttributes(const Poco::JSON::Object& object);
    bool acceptsFreetexts(const Poco::JSON::Object& object) const;

    struct AttributeSearch {
        const AttributeValueSearch* search;
        MemberFinder attribute;
    };

    /// Without the null pointers.
    std::vector<AttributeSearch> m_attributes;
    std::size_t m_attributeCount;
    const AnyValueSearchCollection& m_freetexts;
};

/// True if `search` matches a value of `object`.
bool hasMatchingValue(const Poco::JSON::Object& object, const AnyValueSearch& search);

} // namespace Zovi::Command
