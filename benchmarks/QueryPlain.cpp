#include "QueryData.h"

#include <Command/Query/ExpandParameter.h>
#include <Command/Query/FilterParameter.h>
#include <Command/Query/Paging.h>
#include <Command/Query/SortingParameter.h>
#include <Command/Query/ValueSearch.h>
#include <Command/QueryFilterJSON.h>
#include <Command/SortingFilter.h>

#include <Poco/RegularExpression.h>
#include <Poco/String.h>
#include <Poco/URI.h>

#include <vector>

// The evaluation as its rules read: every object is copied, every comparison asks the objects for their
// members, and every search compiles and runs an expression.

namespace Zovi::Benchmark
{

namespace
{

using namespace Zovi::Command;
using Poco::Dynamic::Var;
using Poco::JSON::Array;
using Poco::JSON::Object;
using Objects = std::vector<Object::Ptr>;

struct Compare {
    Util::CompareResult operator()(const Object::Ptr& a, const Object::Ptr& b, const std::string& name) const
    {
        if (a.get() == b.get() || (!a->has(name) && !b->has(name)))
            return Util::UNKNOWN;
        if (!b->has(name))
            return Util::GREATER;
        return a->has(name) ? compareValues(a->get(name), b->get(name)) : Util::LESS;
    }

    static Util::CompareResult compareValues(const Var& lhs, const Var& rhs)
    {
        if (lhs.isInteger() && rhs.isInteger()) {
            return lhs.isSigned()
                       ? Util::CompareHelper::compare(lhs.convert<Poco::Int64>(), rhs.convert<Poco::Int64>())
                       : Util::CompareHelper::compare(lhs.convert<Poco::UInt64>(),
                                                      rhs.convert<Poco::UInt64>());
        }
        if (lhs.isNumeric() && rhs.isNumeric())
            return Util::CompareHelper::compare(lhs.convert<double>(), rhs.convert<double>());
        return Util::CompareHelper::convertResult(lhs.toString().compare(rhs.toString()));
    }
};

using Sort = SortingFilter<Objects, Compare, Object::Ptr>;

/// The searches of the query: plain equality for an attribute, an expression for "$q".
bool isFound(const Object& object, const Poco::URI::QueryParameters& parameters,
             const Poco::RegularExpression& freetext, bool hasFreetext)
{
    for (const auto& [name, value] : parameters) {
        if (name.front() != '$' && (!object.has(name) || object.get(name).toString() != value))
            return false;
    }
    if (!hasFreetext)
        return true;
    for (const auto& [name, value] : object) {
        if (freetext.match(value.toString(), 0))
            return true;
    }
    return false;
}

Objects search(const Array& collection, const Poco::URI::QueryParameters& parameters)
{
    std::string expression;
    for (const auto& [name, value] : parameters) {
        if (name == "$q")
            expression = "^" + Poco::replace(value, "%", ".*") + "$";
    }
    const Poco::RegularExpression freetext(expression);
    Objects found;
    for (const Var& element : collection) {
        const Object::Ptr object = element.extract<Object::Ptr>();
        if (isFound(*object, parameters, freetext, !expression.empty()))
            found.push_back(new Object(*object));
    }
    return found;
}

} // namespace

Answer answerPlainly(const Array& collection, const std::string& url)
{
    const RequestBase request{Poco::URI(url)};
    Objects objects = search(collection, request.getUri().getQueryParameters());

    auto sorting = request.getFirstCriterion<SortingParameter>();
    Sort(sorting ? *sorting : SortingParameter::defaultOrder()).apply(objects);

    Answer answer;
    auto paging = request.getFirstCriterion<Paging>();
    if (!paging && objects.size() > Paging::PAGING_LIMIT_DEFAULT)
        paging = new Paging(Paging::createDefaultPaging());
    if (paging) {
        const auto idOf = [](const Object::Ptr& object) {
            return object->get("id").toString();
        };
        const std::size_t total = objects.size();
        const int begin = paging->applyArrayPaging(objects, idOf);
        answer.paging = new Object;
        Paging::createPagingInfo(request, paging->getType(), objects.empty() ? "" : idOf(objects.front()),
                                 begin, paging->getLimit(), static_cast<unsigned>(total), *answer.paging);
    }
    const auto fields = request.getFirstCriterion<FilterParameter>();
    for (Object::Ptr& object : objects) {
        if (fields)
            fields->applyFilter(*object);
        answer.objects.add(object);
    }
    return answer;
}

} // namespace Zovi::Benchmark
