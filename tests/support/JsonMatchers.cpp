#include "JsonMatchers.h"

#include <Poco/Exception.h>
#include <Poco/JSON/Parser.h>

#include <set>
#include <sstream>

namespace Zovi::Test
{

namespace
{

using Poco::Dynamic::Var;

template <typename Json>
std::string toCompact(const Json& json)
{
    std::ostringstream text;
    json.stringify(text, 0, -1);
    return text.str();
}

std::string show(const Var& value)
{
    return value.isEmpty() ? "null" : Var::toString(value);
}

std::string difference(const std::string& path, const std::string& actual, const std::string& expected)
{
    return "at " + (path.empty() ? "the top" : path) + ": " + actual + " instead of " + expected;
}

std::string compare(const std::string& path, const Var& actual, const Var& expected);

std::string compareObjects(const std::string& path, const Poco::JSON::Object& actual,
                           const Poco::JSON::Object& expected)
{
    std::set<std::string> names;
    for (const auto& name : actual.getNames())
        names.insert(name);
    for (const auto& name : expected.getNames())
        names.insert(name);
    for (const auto& name : names) {
        const std::string memberPath = path + "/" + name;
        if (!expected.has(name))
            return difference(memberPath, show(actual.get(name)), "nothing");
        if (!actual.has(name))
            return difference(memberPath, "nothing", show(expected.get(name)));
        const std::string found = compare(memberPath, actual.get(name), expected.get(name));
        if (!found.empty())
            return found;
    }
    return {};
}

std::string compareArrays(const std::string& path, const Poco::JSON::Array& actual,
                          const Poco::JSON::Array& expected)
{
    for (unsigned int i = 0; i < actual.size() && i < expected.size(); ++i) {
        const std::string found = compare(path + "/" + std::to_string(i), actual.get(i), expected.get(i));
        if (!found.empty())
            return found;
    }
    if (actual.size() != expected.size())
        return difference(path, std::to_string(actual.size()) + " elements",
                          std::to_string(expected.size()) + " elements");
    return {};
}

std::string compare(const std::string& path, const Var& actual, const Var& expected)
{
    using Poco::JSON::Array;
    using Poco::JSON::Object;
    if (actual.type() == typeid(Object::Ptr) && expected.type() == typeid(Object::Ptr))
        return compareObjects(path, *actual.extract<Object::Ptr>(), *expected.extract<Object::Ptr>());
    if (actual.type() == typeid(Array::Ptr) && expected.type() == typeid(Array::Ptr))
        return compareArrays(path, *actual.extract<Array::Ptr>(), *expected.extract<Array::Ptr>());
    if (actual.isEmpty() != expected.isEmpty() || actual.isString() != expected.isString() ||
        actual.isBoolean() != expected.isBoolean() || show(actual) != show(expected))
        return difference(path, show(actual), show(expected));
    return {};
}

} // namespace

Var parseJson(const std::string& text)
{
    Poco::JSON::Parser parser;
    return parser.parse(text);
}

std::string compact(const Poco::JSON::Object& object)
{
    return toCompact(object);
}

std::string compact(const Poco::JSON::Object::Ptr& object)
{
    return object ? toCompact(*object) : "no object";
}

std::string compact(const Poco::JSON::Array& array)
{
    return toCompact(array);
}

std::string compact(const Poco::JSON::Array::Ptr& array)
{
    return array ? toCompact(*array) : "no array";
}

std::string firstJsonDifference(const std::string& actual, const std::string& expected)
{
    Var actualJson;
    try {
        actualJson = parseJson(actual);
    } catch (const Poco::Exception& failure) {
        return "no JSON (" + failure.displayText() + "): " + actual;
    }
    return compare("", actualJson, parseJson(expected));
}

} // namespace Zovi::Test
