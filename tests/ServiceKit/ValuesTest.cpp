#include "ServiceKit/Values.h"

#include "Data/XObjectGeneric.h"
#include "JsonMatchers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iterator>
#include <limits>
#include <set>
#include <string>
#include <vector>

namespace Zovi::ServiceKit
{

using Test::compact;
using Test::IsJson;
using ::testing::ElementsAre;

TEST(Values, AreWrittenOutAsWhatTheyAre)
{
    Data::XObjectGeneric object(Data::INVALID_XOBJ_ID);
    object.setValue<Text>("text", "a \"b\"");
    object.setValue<TextList>("list", {Text("a"), Text("b")});
    object.setValue<Integer>("integer", std::numeric_limits<std::int64_t>::min());
    object.setValue<Number>("number", 1.25);
    object.setValue<Flag>("flag", true);
    object.setValue<Counter>("counter", std::numeric_limits<std::uint64_t>::max());
    EXPECT_THAT(compact(object.toJSON(0)),
                IsJson(R"({"text":"a \"b\"","list":["a","b"],"integer":-9223372036854775808,"number":1.25,
        "flag":true,"counter":18446744073709551615})"));
}

TEST(Values, TakeTextsFromWhereverTheyStand)
{
    const std::vector<std::string> tags{"heat", "water"};
    const std::set<std::string> sorted(tags.begin(), tags.end());
    const char* const literals[] = {"heat", "water"};
    Data::XObjectGeneric object(Data::INVALID_XOBJ_ID);
    object.setValue<TextList>("vector", tags);
    object.setValue<TextList>("set", {sorted.begin(), sorted.end()});
    object.setValue<TextList>("array", {std::begin(literals), std::end(literals)});
    object.setValue<TextList>("two", {"heat", "water"});
    object.setValue<TextList>("three", {"heat", "water", "a b"});
    object.setValue<TextList>("one", {"heat"});
    object.setValue<TextList>("strings", {tags[0], tags[1]});
    object.setValue<TextList>("values", {Text("heat"), Text("water")});
    object.setValue<TextList>("none", {});
    EXPECT_THAT(compact(object.toJSON(0)),
                IsJson(R"({"vector":["heat","water"],"set":["heat","water"],"array":["heat","water"],
        "two":["heat","water"],"three":["heat","water","a b"],"one":["heat"],"strings":["heat","water"],
        "values":["heat","water"],"none":[]})"));
}

TEST(Values, ReplaceTextsByOthers)
{
    Data::XObjectGeneric object(Data::INVALID_XOBJ_ID);
    object.setValue<TextList>("tags", {"heat", "water"});
    object.setValue<TextList>("tags", std::vector<std::string>{"cold"});
    EXPECT_THAT(compact(object.toJSON(0)), IsJson(R"({"tags":["cold"]})"));
    const auto attribute = object.getAttribute("tags").cast<Data::Attribute<TextList>>();
    EXPECT_THAT(attribute->getValue().simplify(), ElementsAre("cold"));
    EXPECT_TRUE(attribute->isArray());
}

TEST(Values, FindATextInAList)
{
    Data::XObjectGeneric object(Data::INVALID_XOBJ_ID);
    object.setValue<TextList>("tags", {"heat", "water"});
    const TextList* tags = object.getValue("tags")->convert<TextList>();
    EXPECT_TRUE(tags->hasElement(std::string("water")));
    EXPECT_FALSE(tags->hasElement(std::string("cold")));
    EXPECT_EQ(tags->get().size(), 2u);
}

} // namespace Zovi::ServiceKit
