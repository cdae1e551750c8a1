#include "Data/ZoviDataUtil.h"

#include "Data/AttributeValue.h"
#include "Data/AttributeValueArray.h"
#include "JsonMatchers.h"

#include <gmock/gmock.h>

#include <array>
#include <limits>
#include <list>
#include <set>
#include <string_view>
#include <type_traits>

namespace Zovi::Data::Util
{

namespace
{

using Poco::Dynamic::Var;
using Test::compact;

/// Renders differently from what it holds.
class Shouting : public AttributeValueStringable<std::string>
{
public:
    using AttributeValueStringable<std::string>::AttributeValueStringable;
    Var toJSON(int) const override { return toString() + "!"; }
};

/// A reference that renders the level it was given.
class LevelReference : public AttributeValue<std::int64_t, AttributeValueObjectBase>
{
public:
    LevelReference()
        : AttributeValue(0)
    {
    }
    const XObjectBase* getReferencedObject() const override { return nullptr; }
    Var toJSON(int level) const override { return level; }
};

template <typename Range>
std::string arrayText(const Range& range, int level = 0)
{
    const Var json = toJson(range, level);
    EXPECT_EQ(json.type(), typeid(Poco::JSON::Array::Ptr));
    return compact(json.extract<Poco::JSON::Array::Ptr>());
}

TEST(ToJson, WritesTextsUuidsAndUrisAsStrings)
{
    EXPECT_EQ(toJson(std::string("a"), 0).extract<std::string>(), "a");
    EXPECT_EQ(toJson("a", 0).extract<std::string>(), "a");
    EXPECT_EQ(toJson(std::string_view("abc", 2), 0).extract<std::string>(), "ab");
    EXPECT_EQ(arrayText(std::vector<std::string_view>{"b", "a"}), R"(["b","a"])");
    const std::string uuid = "11111111-2222-3333-4444-555555555555";
    EXPECT_EQ(toJson(Poco::UUID(uuid), 0).extract<std::string>(), uuid);
    EXPECT_EQ(toJson(Poco::URI("http://host/a?b=c"), 0).extract<std::string>(), "http://host/a?b=c");
}

TEST(ToJson, KeepsTheTypeOfNumbers)
{
    EXPECT_EQ(toJson(std::int64_t{-5}, 0).extract<std::int64_t>(), -5);
    const auto largest = std::numeric_limits<std::uint64_t>::max();
    EXPECT_EQ(toJson(largest, 0).extract<std::uint64_t>(), largest);
    EXPECT_EQ(toJson(0.5, 0).extract<double>(), 0.5);
    EXPECT_EQ(toJson(true, 0).extract<bool>(), true);
    // Smaller ones widen.
    EXPECT_EQ(toJson(-5, 0).extract<std::int64_t>(), -5);
    EXPECT_EQ(toJson(std::uint8_t{5}, 0).extract<std::uint64_t>(), 5U);
    EXPECT_EQ(toJson(0.5F, 0).extract<double>(), 0.5);
}

TEST(ToJson, WritesWhatAValueHolds)
{
    EXPECT_EQ(toJson(AttributeValueInteger(5), 0).extract<std::int64_t>(), 5);
    EXPECT_EQ(toJson(AttributeValueStringable<Poco::URI>(Poco::URI("/a")), 0).extract<std::string>(), "/a");
    EXPECT_EQ(toJson(Shouting("a"), 0).extract<std::string>(), "a");
    EXPECT_EQ(arrayText(AttributeValueStringArray(std::vector<std::string>{"b", "a"})), R"(["b","a"])");
}

TEST(ToJson, LeavesReferencesToThemselves)
{
    EXPECT_EQ(toJson(LevelReference(), 3).extract<int>(), 3);
    EXPECT_EQ(arrayText(std::vector<LevelReference>(2), -1), "[-1,-1]");
    EXPECT_EQ(arrayText(std::vector<std::vector<LevelReference>>{std::vector<LevelReference>(1)}, 2),
              "[[2]]");
    // A value that is known by its base alone renders itself as well.
    const LevelReference reference;
    EXPECT_EQ(toJson(static_cast<const AttributeValueBase&>(reference), 4).extract<int>(), 4);
}

TEST(ToJson, PassesGenericValuesThrough)
{
    EXPECT_EQ(toJson(Var(5), 0).extract<int>(), 5);
    EXPECT_TRUE(toJson(Var(), 0).isEmpty());
}

TEST(ToJson, WritesEveryRangeAsAnArray)
{
    EXPECT_EQ(arrayText(std::vector<std::string>{}), "[]");
    EXPECT_EQ(arrayText(std::vector<std::string>{"b", "a"}), R"(["b","a"])");
    EXPECT_EQ(arrayText(std::list<int>{2, 1}), "[2,1]");
    EXPECT_EQ(arrayText(std::set<std::string>{"b", "a"}), R"(["a","b"])");
    EXPECT_EQ(arrayText(std::array<bool, 2>{true, false}), "[true,false]");
    EXPECT_EQ(arrayText(std::vector<bool>{true, false}), "[true,false]");
    const int numbers[] = {1, 2};
    EXPECT_EQ(arrayText(numbers), "[1,2]");
    EXPECT_EQ(arrayText(std::initializer_list<double>{0.5}), "[0.5]");
    EXPECT_EQ(arrayText(std::vector<std::vector<int>>{{1}, {}, {2, 3}}), "[[1],[],[2,3]]");
    EXPECT_EQ(arrayText(std::vector<AttributeValueInteger>{AttributeValueInteger(7)}), "[7]");
}

TEST(ToJson, MakesANewArrayEachTime)
{
    const std::vector<int> range{1};
    EXPECT_NE(toJson(range, 0).extract<Poco::JSON::Array::Ptr>().get(),
              toJson(range, 0).extract<Poco::JSON::Array::Ptr>().get());
}

/// What nobody has said how to render.
struct Unknown {
};
static_assert(!Detail::HasToJson<Unknown>::value);
static_assert(!Detail::HasToJson<Unknown*>::value);
static_assert(Detail::HasToJson<std::string>::value);
static_assert(Detail::HasToJson<std::vector<int>>::value);

} // namespace

} // namespace Zovi::Data::Util
