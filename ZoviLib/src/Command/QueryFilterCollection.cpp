#include "Command/QueryFilterJSON.h"

#include "Command/Query/FilterParameter.h"
#include "Command/Query/Paging.h"
#include "Command/Query/SortingParameter.h"
#include "Command/Query/ValueSearch.h"
#include "Data/XObjectBase.h"
#include "JSONTools.h"
#include "JsonSorting.h"
#include "Logging/LogStream.h"
#include "MemberFinder.h"
#include "Query/MatchingBudget.h"
#include "RequestExpansion.h"
#include "ResourceSearch.h"

#include <numeric>
#include <string>

namespace Zovi::Command
{

namespace
{

using Poco::JSON::Array;
using Poco::JSON::Object;
using JsonObjectArray = QueryFilterJSON::JsonObjectArray;

/// The objects of `array` that `accepts` accepts, in their order. What is no object is left out.
template <typename Accepts>
JsonObjects selectObjects(const Array& array, const Accepts& accepts)
{
    JsonObjects objects;
    objects.reserve(array.size());
    for (const Poco::Dynamic::Var& element : array) {
        const Object* const object = Util::JSONTools::extractJsonObject(element);
        if (object && accepts(*object))
            objects.push_back(object);
    }
    return objects;
}

/// The first sorting of the request, the default one if there is none; a null pointer if that is invalid.
Poco::SharedPtr<SortingParameter> sortingOf(const RequestBase& request)
{
    auto sorting = request.getFirstCriterion<SortingParameter>();
    if (!sorting)
        sorting = new SortingParameter(SortingParameter::defaultOrder());
    return sorting->isValid() ? sorting : nullptr;
}

/// The page to cut from `total` objects; a null pointer if none is cut.
Poco::SharedPtr<Paging> pagingOf(const RequestBase& request, std::size_t total)
{
    auto paging = request.getFirstCriterion<Paging>();
    if (!paging && total > Paging::PAGING_LIMIT_DEFAULT)
        paging = new Paging(Paging::createDefaultPaging());
    return paging && paging->isValid() ? paging : nullptr;
}

std::string idOf(const Object* object)
{
    const auto* const id = object ? MemberFinder(Data::XObjectBase::KEY_ID).find(*object) : nullptr;
    return id ? id->convert<std::string>() : std::string();
}

/// The positions of the objects on the page, and where the page begins in the whole list.
struct Page {
    std::vector<Position> positions;
    int begin = 0;
};

std::vector<Position> inputOrder(std::size_t size)
{
    std::vector<Position> positions(size);
    std::iota(positions.begin(), positions.end(), Position{0});
    return positions;
}

std::vector<Position> orderOf(const JsonObjects& objects, const SortingParameter* sorting)
{
    return sorting ? sortObjects(objects, *sorting, {0, objects.size()}) : inputOrder(objects.size());
}

/// A page that begins at an id can be found in the sorted list only.
Page pageFromId(const JsonObjects& objects, const SortingParameter* sorting, const Paging& paging)
{
    Page page{orderOf(objects, sorting)};
    page.begin =
        paging.applyArrayPaging(page.positions, [&](Position position) { return idOf(objects[position]); });
    return page;
}

/// A page that begins at an index is known beforehand, so that only its objects need be brought into order.
Page pageFromIndex(const JsonObjects& objects, const SortingParameter* sorting, const Paging& paging)
{
    Page page{inputOrder(objects.size())};
    page.begin = paging.applyArrayPaging(page.positions, [](Position) { return std::string(); });
    if (sorting)
        page.positions =
            sortObjects(objects, *sorting, {static_cast<std::size_t>(page.begin), page.positions.size()});
    return page;
}

Page pageOf(const JsonObjects& objects, const SortingParameter* sorting, const Paging* paging)
{
    if (!paging)
        return {orderOf(objects, sorting)};
    return paging->getType() == Paging::TYPE_UUID ? pageFromId(objects, sorting, *paging)
                                                  : pageFromIndex(objects, sorting, *paging);
}

JsonObjectArray copyPage(const JsonObjects& objects, const Page& page)
{
    JsonObjectArray copies;
    copies.reserve(page.positions.size());
    for (const Position position : page.positions)
        copies.push_back(copyObject(*objects[position]));
    return copies;
}

/// The object that describes `page`, which begins at `begin` of `total` objects.
Object::Ptr describePage(const RequestBase& request, const Paging& paging, const JsonObjectArray& page,
                         int begin, std::size_t total)
{
    const std::string firstId = page.empty() ? std::string() : idOf(page.front().get());
    Object::Ptr description(new Object);
    Paging::createPagingInfo(request, paging.getType(), firstId, begin, paging.getLimit(),
                             static_cast<unsigned int>(total), *description);
    return description;
}

void selectFields(const RequestBase& request, JsonObjectArray& objects)
{
    const auto selection = request.getFirstCriterion<FilterParameter>();
    if (!selection || !selection->isValid())
        return;
    for (Object::Ptr& object : objects)
        selection->applyFilter(*object);
}

void writeExpanded(const RequestBase& request, JsonObjectArray& objects, Array& out_array)
{
    const ExpandParameter* const expand = expansionOf(request);
    out_array.clear();
    for (Object::Ptr& object : objects) {
        if (expand)
            expand->apply(*object);
        out_array.add(object);
    }
}

} // namespace

void QueryFilterJSON::filterJSONArrayByQuery(const Array& jsonArray, const RequestBase& reqCommand,
                                             Array& out_pJsonArray, Object::Ptr& out_pagingObject)
{
    AttributeValueSearchCollection attributeSearches;
    AnyValueSearchCollection freetextSearches;
    reqCommand.extractSearchCriteria<AttributeValueSearch>(attributeSearches);
    reqCommand.extractSearchCriteria<AnyValueSearch>(freetextSearches);

    const MatchingBudget budget;
    ResourceSearch search(attributeSearches, freetextSearches);
    const bool isSearch = !attributeSearches.empty() || !freetextSearches.empty();
    const JsonObjects objects =
        selectObjects(jsonArray, [&](const Object& object) { return !isSearch || search.accepts(object); });
    const auto paging = pagingOf(reqCommand, objects.size());
    const Page page = pageOf(objects, sortingOf(reqCommand).get(), paging.get());
    JsonObjectArray copies = copyPage(objects, page);
    if (paging)
        out_pagingObject = describePage(reqCommand, *paging, copies, page.begin, objects.size());
    selectFields(reqCommand, copies);
    writeExpanded(reqCommand, copies, out_pJsonArray);
}

void QueryFilterJSON::filterJSONArrayByQuery(const Array& jsonArray, const RequestBase& reqCommand,
                                             Array& out_pJsonArray)
{
    Object::Ptr pagingObject;
    filterJSONArrayByQuery(jsonArray, reqCommand, out_pJsonArray, pagingObject);
}

void QueryFilterJSON::applySorting(const SortingParameter& order, JsonObjectArray& inout_pJsonArray)
{
    if (!order.isValid()) {
        ZOVI_LOG_ERROR("Cannot apply invalid sorting query");
        return;
    }
    JsonObjects objects;
    for (const Object::Ptr& object : inout_pJsonArray)
        objects.push_back(object.get());
    JsonObjectArray sorted;
    for (const Position position : orderOf(objects, &order))
        sorted.push_back(inout_pJsonArray[position]);
    inout_pJsonArray.swap(sorted);
}

void QueryFilterJSON::applyPaging(const RequestBase& reqCommand, const Paging& paging,
                                  JsonObjectArray& inout_pJsonArray, Object::Ptr& out_pagingObject)
{
    if (!paging.isValid()) {
        ZOVI_LOG_ERROR("Cannot apply invalid paging query");
        return;
    }
    const std::size_t total = inout_pJsonArray.size();
    const int begin = paging.applyArrayPaging(inout_pJsonArray,
                                              [](const Object::Ptr& object) { return idOf(object.get()); });
    out_pagingObject = describePage(reqCommand, paging, inout_pJsonArray, begin, total);
}

} // namespace Zovi::Command
