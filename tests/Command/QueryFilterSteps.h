#pragma once

#include <Command/Query/Paging.h>
#include <Command/Query/SortingParameter.h>
#include <Command/QueryFilterJSON.h>

namespace Zovi::Command
{

/// Calls the single steps, which only the class itself may call otherwise.
struct QueryFilterJSONSteps {
    static bool search(const Poco::JSON::Object& object, const AttributeValueSearchCollection& attributes,
                       const AnyValueSearchCollection& freetexts)
    {
        return QueryFilterJSON::applyResourceSearch(object, attributes, freetexts);
    }

    static void sort(const SortingParameter& order, QueryFilterJSON::JsonObjectArray& objects)
    {
        QueryFilterJSON::applySorting(order, objects);
    }

    static void cutPage(const RequestBase& request, const Paging& paging,
                        QueryFilterJSON::JsonObjectArray& objects, Poco::JSON::Object::Ptr& pagingObject)
    {
        QueryFilterJSON::applyPaging(request, paging, objects, pagingObject);
    }
};

} // namespace Zovi::Command
