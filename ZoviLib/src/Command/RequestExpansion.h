#pragma once

#include "Command/Query/ExpandParameter.h"
#include "Command/RequestBase.h"

namespace Zovi::Command
{

/// The expansion that `request` asks for: the first to a depth, or if there is none the first of named
/// fields; a null pointer if there is neither. It belongs to the request.
inline const ExpandParameter* expansionOf(const RequestBase& request)
{
    if (request.hasExpandCriteria())
        return request.getFirstCriterion<LevelExpansion>().get();
    if (request.hasPropertyExpandCriteria())
        return request.getFirstCriterion<PropertyExpansion>().get();
    return nullptr;
}

} // namespace Zovi::Command
