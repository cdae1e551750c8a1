#include "MemberFinder.h"

#include "JsonMatchers.h"

#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <vector>

namespace Zovi::Command
{

namespace
{

using Poco::JSON::Object;
using Test::parseJson;

Object::Ptr object(const std::string& text)
{
    return parseJson(text).extract<Object::Ptr>();
}

/// What the finder gives, as text; "none" for nothing.
std::string found(MemberFinder& finder, const Object& object)
{
    const Poco::Dynamic::Var* const value = finder.find(object);
    return value ? value->convert<std::string>() : "none";
}

} // namespace

TEST(MemberFinder, GivesTheValueInItsPlace)
{
    const std::string name = "b";
    const Object::Ptr document = object(R"({"a":1,"b":2})");
    MemberFinder finder(name);
    for (const char* turn : {"searched", "guessed"}) {
        SCOPED_TRACE(turn);
        EXPECT_EQ(finder.find(*document), &std::next(document->begin())->second);
    }
}

TEST(MemberFinder, FindsItWhereverItStandsInTheNextObject)
{
    struct Row {
        const char* document;
        const char* value;
    };
    const std::vector<Row> rows{
        {R"({"m":"first"})", "first"},
        {R"({"a":0,"b":0,"m":"last of three"})", "last of three"},
        {R"({"a":0,"b":0,"m":"the same place","x":0})", "the same place"},
        {R"({"m":"fewer members than the place","x":0})", "fewer members than the place"},
        {R"({"a":0,"m":"another place","x":0})", "another place"},
        {R"({"a":0,"b":0,"c":0,"d":0,"m":"far behind"})", "far behind"},
        {R"({})", "none"},
        {R"({"a":0,"b":0,"c":0,"d":0,"e":"of another name"})", "none"},
    };
    const std::string name = "m";
    for (const Row& before : rows) {
        for (const Row& row : rows) {
            SCOPED_TRACE(std::string(before.document) + ", then " + row.document);
            MemberFinder finder(name);
            EXPECT_EQ(found(finder, *object(before.document)), before.value);
            EXPECT_EQ(found(finder, *object(row.document)), row.value);
        }
    }
}

} // namespace Zovi::Command
