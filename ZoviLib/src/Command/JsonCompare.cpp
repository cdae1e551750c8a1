#include "JsonCompare.h"

#include "Data/XObjectBase.h"
#include "JSONTools.h"

#include <Poco/JSON/Array.h>
#include <Poco/JSON/Object.h>

#include <string>

namespace Zovi::Command
{

namespace
{

using Poco::Dynamic::Var;
using Util::CompareHelper;
using Util::CompareResult;
using Util::JSONTools;

/// Arrays nested deeper than this are equal.
const int RECURSION_LIMIT = 2;

CompareResult compareValues(const Var& lhs, const Var& rhs, int recursion);

template <typename Number>
CompareResult compareAs(const Var& lhs, const Var& rhs)
{
    const Number left = lhs.convert<Number>();
    return CompareHelper::compare<Number>(left, rhs.convert<Number>());
}

// Meant so: the left value alone decides how the two are read, and the right one may not fit.
CompareResult compareIntegers(const Var& lhs, const Var& rhs)
{
    return lhs.isSigned() ? compareAs<Poco::Int64>(lhs, rhs) : compareAs<Poco::UInt64>(lhs, rhs);
}

CompareResult compareIds(const Poco::JSON::Object& lhs, const Poco::JSON::Object& rhs)
{
    const std::string& key = Data::XObjectBase::KEY_ID;
    const std::string left = lhs.optValue<std::string>(key, "");
    return CompareHelper::convertResult(left.compare(rhs.optValue<std::string>(key, "")));
}

CompareResult compareArrays(const Poco::JSON::Array& lhs, const Poco::JSON::Array& rhs, int recursion)
{
    if (lhs.size() != rhs.size())
        return lhs.size() < rhs.size() ? Util::LESS : Util::GREATER;
    for (auto left = lhs.begin(), right = rhs.begin(); left != lhs.end(); ++left, ++right) {
        const CompareResult result = compareValues(*left, *right, recursion + 1);
        if (result != Util::EQUAL)
            return result;
    }
    return Util::EQUAL;
}

CompareResult compareTexts(const Var& lhs, const Var& rhs)
{
    if (lhs.type() == typeid(std::string) && rhs.type() == typeid(std::string))
        return CompareHelper::convertResult(lhs.extract<std::string>().compare(rhs.extract<std::string>()));
    const std::string left = lhs.convert<std::string>();
    return CompareHelper::convertResult(left.compare(rhs.convert<std::string>()));
}

CompareResult compareValues(const Var& lhs, const Var& rhs, int recursion)
{
    if (recursion > RECURSION_LIMIT)
        return Util::EQUAL;
    if (lhs.isInteger() && rhs.isInteger())
        return compareIntegers(lhs, rhs);
    if (lhs.isNumeric() && rhs.isNumeric())
        return compareAs<double>(lhs, rhs);
    if (const auto* left = JSONTools::extractJsonObject(lhs)) {
        const auto* right = JSONTools::extractJsonObject(rhs);
        return right ? compareIds(*left, *right) : Util::LESS;
    }
    if (const auto* left = JSONTools::extractJsonArray(lhs)) {
        const auto* right = JSONTools::extractJsonArray(rhs);
        return right ? compareArrays(*left, *right, recursion) : Util::LESS;
    }
    return compareTexts(lhs, rhs);
}

} // namespace

CompareResult compareJson(const Var& lhs, const Var& rhs)
{
    return compareValues(lhs, rhs, 0);
}

} // namespace Zovi::Command
