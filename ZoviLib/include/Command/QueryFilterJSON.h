#pragma once

#include "Command/RequestBase.h"
#include "ZoviExport.h"

#include <Poco/JSON/Array.h>
#include <Poco/JSON/Object.h>

#include <vector>

namespace Zovi
{

/// A new object with the members of `obj`, whose nested objects and arrays the two then share.
KYRZOVI_API Poco::JSON::Object::Ptr copyObject(const Poco::JSON::Object& obj);

} // namespace Zovi

namespace Zovi::Command
{

class Paging;
class SortingParameter;

/// Applies the criteria of a request to JSON documents that a service has built.
///
///     HttpRequest request(serverRequest, coder);
///     Poco::JSON::Array::Ptr page(new Poco::JSON::Array);
///     Poco::JSON::Object::Ptr paging;
///     QueryFilterJSON::filterJSONArrayByQuery(*everything, request, *page, paging);
///     HttpResponse response(HTTPStatus::HTTP_OK);
///     response.setDataFromArray(page, paging);
///
/// The output shares nested objects and arrays with the input, and what shapes the output changes them in
/// place: a slice in "$fields" cuts the shared array, "$expand" takes members out of the shared objects. A
/// service therefore gives each request documents of its own, freshly built.
///
/// No state; calls on different documents may run at the same time.
class KYRZOVI_API QueryFilterJSON
{
public:
    /// A collection on its way through the steps.
    using JsonObjectArray = std::vector<Poco::JSON::Object::Ptr>;

    /// Makes `out_pJsonArray` the answer of the collection `jsonArray` to `reqCommand`. The steps:
    ///
    /// 1. search: the objects that every attribute search and the free-text search accept. Two or more
    ///    free-text searches accept nothing. What is no object is dropped;
    /// 2. sort by the fields of "$sortby", by "id" if there is none. An object without the field goes first,
    ///    or last where the field is descending. Integers compare as integers, other numbers as `double`,
    ///    objects by their "id", arrays by their size and then by their elements, all else as text;
    /// 3. cut the page of "$offset" and "$limit"; without them the first 25 if there are more than 25;
    /// 4. select the fields of "$fields";
    /// 5. expand as "$expand" says, where a level goes before names.
    ///
    /// An invalid criterion is left out, but one for expansion. The order of equal objects is not promised,
    /// but is the same for each page of one collection.
    ///
    /// `out_pagingObject` becomes a new object that describes the page, with the number of objects that the
    /// search found; if no page was cut it stays as it was.
    ///
    /// The objects of the output are new ones, so that the top level of the input stays as it was;
    /// `out_pJsonArray` may be `jsonArray` itself. It is not touched before step 5: an exception from a step
    /// before leaves it as it was, one from step 5 leaves the objects done so far in it.
    ///
    /// Throws `Poco::InvalidAccessException` if a search or a sort comes upon a null, and what
    /// `Poco::Dynamic::Var` throws on integers of different signedness that do not compare, on values without
    /// a text, and on a null "id" where the page begins; `Poco::RegularExpressionException` if a search
    /// pattern exceeds its limits; what `ExpandParameter::apply` throws.
    static void filterJSONArrayByQuery(const Poco::JSON::Array& jsonArray, const RequestBase& reqCommand,
                                       Poco::JSON::Array& out_pJsonArray,
                                       Poco::JSON::Object::Ptr& out_pagingObject);

    /// The same without a description of the page; the page is cut all the same.
    static void filterJSONArrayByQuery(const Poco::JSON::Array& jsonArray, const RequestBase& reqCommand,
                                       Poco::JSON::Array& out_pJsonArray);

    /// Makes `out_pJsonObject` the answer of the element `jsonObject`, another object, to `reqCommand`: the
    /// fields that the first "$fields" selects, valid or not, expanded as "$expand" says. Searches, sorting
    /// and paging play no part.
    ///
    /// Throws `Poco::BugcheckException`, and leaves the output as it was, if the first field selection of the
    /// request is a null pointer; what `ExpandParameter::apply` throws.
    static void filterJSONObjectByQuery(const Poco::JSON::Object& jsonObject, const RequestBase& reqCommand,
                                        Poco::JSON::Object& out_pJsonObject);

    /// True if each search matches at least one value of `sourceObj`. A null pointer matches nothing. Throws
    /// what `AbstractValueSearch::match` throws.
    static bool findContainedFreetexts(const Poco::JSON::Object& sourceObj,
                                       const AnyValueSearchCollection& freetextsVec);

    /// True if for each search `sourceObj` has the attribute with a value that matches. A null pointer
    /// matches nothing. Throws what `AbstractValueSearch::match` throws.
    static bool findContainedAttributePairs(const Poco::JSON::Object& sourceObj,
                                            const AttributeValueSearchCollection& attributePairVec);

    /// True if `sourceObj` has at least one field of each selection. All criteria must be `FilterParameter`s,
    /// which is not checked; null pointers among them are skipped. False, with an error in the log, if
    /// `fieldFilterVec` itself is null.
    static bool findContainedFields(const Poco::JSON::Object& sourceObj,
                                    const RequestBase::RenderCollection* fieldFilterVec);

private:
    /// Grants tests the single steps.
    friend struct QueryFilterJSONSteps;

    static bool applyResourceSearch(const Poco::JSON::Object& pJsonObj,
                                    const AttributeValueSearchCollection& attributeFilter,
                                    const AnyValueSearchCollection& freetextFilter);

    static void applySorting(const SortingParameter& order, JsonObjectArray& inout_pJsonArray);

    static void applyPaging(const RequestBase& reqCommand, const Paging& paging,
                            JsonObjectArray& inout_pJsonArray, Poco::JSON::Object::Ptr& out_pagingObject);
};

} // namespace Zovi::Command
