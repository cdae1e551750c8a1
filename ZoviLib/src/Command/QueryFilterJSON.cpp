#include "Command/QueryFilterJSON.h"

#include "Command/Query/FilterParameter.h"
#include "Command/Query/ValueSearch.h"
#include "Logging/LogStream.h"
#include "Query/MatchingBudget.h"
#include "RequestExpansion.h"
#include "ResourceSearch.h"

#include <Poco/Bugcheck.h>

#include <algorithm>
#include <utility>

namespace Zovi
{

Poco::JSON::Object::Ptr copyObject(const Poco::JSON::Object& obj)
{
    return new Poco::JSON::Object(obj);
}

} // namespace Zovi

namespace Zovi::Command
{

namespace
{

using Poco::Dynamic::Var;
using Poco::JSON::Object;

bool hasMatchingAttribute(const Object& object, const AttributeValueSearch& search)
{
    const Var* const value = MemberFinder(search.getAttributeName()).find(object);
    return value && search.match(*value);
}

bool hasAnyField(const Object& object, const FilterParameter& selection)
{
    const std::vector<FilterField>& fields = selection.getFields();
    return std::any_of(fields.begin(), fields.end(),
                       [&](const FilterField& field) { return object.has(field.getName()); });
}

} // namespace

void QueryFilterJSON::filterJSONObjectByQuery(const Object& jsonObject, const RequestBase& reqCommand,
                                              Object& out_pJsonObject)
{
    RequestBase::QueryCollection<FilterParameter> filterParams;
    reqCommand.extractRenderCriteria<FilterParameter>(filterParams);
    if (filterParams.empty()) {
        // An assigned object would list its members in the order of those of its source; a moved one does
        // not.
        Object copy(jsonObject);
        out_pJsonObject = std::move(copy);
    } else {
        if (!filterParams.front())
            Poco::Bugcheck::bugcheck(__FILE__, __LINE__);
        filterParams.front()->applyFilter(jsonObject, out_pJsonObject);
    }
    if (const auto expand = expansionOf(reqCommand))
        expand->apply(out_pJsonObject);
}

bool QueryFilterJSON::applyResourceSearch(const Object& pJsonObj,
                                          const AttributeValueSearchCollection& attributeFilter,
                                          const AnyValueSearchCollection& freetextFilter)
{
    const MatchingBudget budget;
    return ResourceSearch(attributeFilter, freetextFilter).accepts(pJsonObj);
}

bool QueryFilterJSON::findContainedFreetexts(const Object& sourceObj,
                                             const AnyValueSearchCollection& freetextsVec)
{
    const MatchingBudget budget;
    return std::all_of(freetextsVec.begin(), freetextsVec.end(),
                       [&](const auto& search) { return search && hasMatchingValue(sourceObj, *search); });
}

bool QueryFilterJSON::findContainedAttributePairs(const Object& sourceObj,
                                                  const AttributeValueSearchCollection& attributePairVec)
{
    const MatchingBudget budget;
    return std::all_of(attributePairVec.begin(), attributePairVec.end(), [&](const auto& search) {
        return search && hasMatchingAttribute(sourceObj, *search);
    });
}

bool QueryFilterJSON::findContainedFields(const Object& sourceObj,
                                          const RequestBase::RenderCollection* fieldFilterVec)
{
    if (!fieldFilterVec) {
        ZOVI_LOG_ERROR("Received invalid pointer for FieldFilter");
        return false;
    }
    return std::all_of(fieldFilterVec->begin(), fieldFilterVec->end(), [&](const auto& criterion) {
        return !criterion || hasAnyField(sourceObj, static_cast<const FilterParameter&>(*criterion));
    });
}

} // namespace Zovi::Command
