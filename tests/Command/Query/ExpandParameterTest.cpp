#include "Command/Query/ExpandParameter.h"

#include "Data/XObjectBase.h"
#include "JsonMatchers.h"
#include "LogCapture.h"
#include "VirtualSlot.h"

#include <Poco/JSON/Array.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Zovi::Command
{

namespace
{

using Poco::Dynamic::Var;
using Poco::JSON::Array;
using Poco::JSON::Object;
using Test::compact;
using Test::LogCapture;
using Test::parseJson;
using Test::virtualSlot;
using testing::ElementsAre;
using testing::IsEmpty;

Object::Ptr objectOf(const std::string& json)
{
    return parseJson(json).extract<Object::Ptr>();
}

std::string expanded(const ExpandParameter& expansion, const std::string& json)
{
    Object::Ptr object = objectOf(json);
    expansion.apply(*object);
    return compact(*object);
}

/// An object of the model that tells how it was asked to render itself.
class AskedObject : public Data::XObjectBase
{
public:
    Data::AttributeMap getAttributes() const override { return {}; }
    Data::AttributeBase::Ptr getAttribute(const std::string& /*name*/) const override { return {}; }
    bool hasValue(const std::string& /*name*/) const override { return false; }
    std::size_t size() const override { return 0; }
    Data::AttributeValueBase* getValue(const std::string& /*name*/) const override { return nullptr; }
    std::string getName() const override { return {}; }
    Poco::UUID getId() const override { return {}; }
    Poco::URI getUri() const override { return {}; }

    Object::Ptr toJSON(int expandLevel) const override
    {
        Object::Ptr answer(new Object);
        answer->set("level", expandLevel);
        return answer;
    }

    Object::Ptr toJSON(const std::vector<std::string>& fields) const override
    {
        Object::Ptr answer(new Object);
        for (const std::string& field : fields)
            answer->set(field, true);
        return answer;
    }
};

} // namespace

TEST(ExpandParameter, KeepsItsVirtualFunctionsInOrder)
{
    using ToModel = Object::Ptr (ExpandParameter::*)(const Data::XObjectBase&) const;
    using ToDocument = void (ExpandParameter::*)(Object&) const;
    EXPECT_EQ(virtualSlot(static_cast<ToModel>(&ExpandParameter::apply)), 0U);
    EXPECT_EQ(virtualSlot(static_cast<ToDocument>(&ExpandParameter::apply)), 1U);
}

TEST(LevelExpansion, TakesALevelFromZeroToThree)
{
    struct Row {
        std::string text;
        std::uint32_t level;
    };
    const Row rows[] = {{"0", 0},   {"1", 1},   {"2", 2},  {"3", 3}, {"+3", 3}, {" 2", 2},
                        {"0,2", 2}, {"003", 3}, {"-0", 0}, {"-", 0}, {",", 0}};
    for (const Row& row : rows) {
        SCOPED_TRACE(row.text);
        const LevelExpansion expansion(row.text);
        EXPECT_TRUE(expansion.isValid());
        EXPECT_EQ(expansion.getLevel(), row.level);
    }
}

TEST(LevelExpansion, RefusesEveryOtherText)
{
    LogCapture log;
    for (const char* text :
         {"", "4", "-1", "-2147483648", "2147483647", "1,000", "99999999999", "a", "1a", "1 ", "1.0", "2;"}) {
        SCOPED_TRACE(text);
        const LevelExpansion expansion(text);
        EXPECT_FALSE(expansion.isValid());
        EXPECT_EQ(expansion.getLevel(), 0U);
    }
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(LevelExpansion, AsksAnObjectOfTheModelForItsLevel)
{
    EXPECT_EQ(compact(LevelExpansion("2").apply(AskedObject())), R"({"level":2})");
    EXPECT_EQ(compact(LevelExpansion("9").apply(AskedObject())), R"({"level":0})");
}

TEST(LevelExpansion, TrimsADocumentBelowItsLevel)
{
    const std::string json = R"({"a":{"id":1,"name":2,"uri":3,"x":4,"deep":{"id":5,"x":{"id":6,"x":7}}},)"
                             R"("b":[{"id":8,"x":9,"deep":{"id":10,"x":11}}],"c":[1,2],"d":"text","e":null})";
    struct Row {
        std::string level;
        std::string expected;
    };
    const Row rows[] = {
        {"0", R"({"a":{"id":1,"name":2,"uri":3},"b":[{"id":8}],"c":[1,2],"d":"text","e":null})"},
        {"1", R"({"a":{"deep":{"id":5},"id":1,"name":2,"uri":3,"x":4},)"
              R"("b":[{"deep":{"id":10},"id":8,"x":9}],"c":[1,2],"d":"text","e":null})"},
        {"2", R"({"a":{"deep":{"id":5,"x":{"id":6}},"id":1,"name":2,"uri":3,"x":4},)"
              R"("b":[{"deep":{"id":10,"x":11},"id":8,"x":9}],"c":[1,2],"d":"text","e":null})"},
        {"3", R"({"a":{"deep":{"id":5,"x":{"id":6,"x":7}},"id":1,"name":2,"uri":3,"x":4},)"
              R"("b":[{"deep":{"id":10,"x":11},"id":8,"x":9}],"c":[1,2],"d":"text","e":null})"},
        // an invalid level has the level 0
        {"4", R"({"a":{"id":1,"name":2,"uri":3},"b":[{"id":8}],"c":[1,2],"d":"text","e":null})"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("level " + row.level);
        EXPECT_EQ(expanded(LevelExpansion(row.level), json), row.expected);
    }
}

TEST(LevelExpansion, EmptiesAnObjectThatNothingIdentifies)
{
    EXPECT_EQ(expanded(LevelExpansion("0"), R"({"a":{"x":1,"ID":2}})"), R"({"a":{}})");
}

TEST(LevelExpansion, DoesNotDescendIntoTheMembersOfAReference)
{
    EXPECT_EQ(expanded(LevelExpansion("0"), R"({"a":{"id":{"x":1},"name":[{"x":2}],"y":3}})"),
              R"({"a":{"id":{"x":1},"name":[{"x":2}]}})");
}

TEST(LevelExpansion, LeavesArraysAloneWhoseFirstElementIsNoObject)
{
    const std::string json = R"({"a":[[{"x":1}]],"b":[1,{"x":2}],"c":[null,{"x":3}],"d":[]})";
    EXPECT_EQ(expanded(LevelExpansion("0"), json), json);
}

TEST(LevelExpansion, LeavesAloneWhatIsHeldByValue)
{
    Array list;
    list.add(objectOf(R"({"x":1})"));
    Array values;
    values.add(*objectOf(R"({"x":2})"));
    Object object;
    object.set("list", list);
    object.set("values", Array::Ptr(new Array(values)));
    object.set("object", *objectOf(R"({"x":3})"));
    LevelExpansion("0").apply(object);
    EXPECT_EQ(compact(object), R"({"list":[{"x":1}],"object":{"x":3},"values":[{"x":2}]})");
}

TEST(LevelExpansion, PassesOverNullPointers)
{
    Array::Ptr array(new Array);
    array->add(Object::Ptr());
    array->add(objectOf(R"({"x":1})"));
    Object object;
    object.set("array", array);
    object.set("nullArray", Array::Ptr());
    object.set("nullObject", Object::Ptr());
    LevelExpansion("0").apply(object);
    EXPECT_EQ(compact(array->getObject(1)), "{}");
}

TEST(LevelExpansion, ThrowsOnAMixedArrayAndKeepsWhatIsDone)
{
    Object::Ptr object = objectOf(R"({"a":[{"x":1},{"x":2},3,{"x":4}]})");
    EXPECT_THROW(LevelExpansion("0").apply(*object), Poco::BadCastException);
    EXPECT_EQ(compact(*object), R"({"a":[{},{},3,{"x":4}]})");

    Object::Ptr withNull = objectOf(R"({"a":[{"x":1},null]})");
    EXPECT_THROW(LevelExpansion("0").apply(*withNull), Poco::InvalidAccessException);

    Object::Ptr withArray = objectOf(R"({"a":[{"x":1},[{"x":2}]]})");
    EXPECT_THROW(LevelExpansion("0").apply(*withArray), Poco::BadCastException);

    Object::Ptr withValue = objectOf(R"({"a":[{"x":1}]})");
    withValue->getArray("a")->add(*objectOf(R"({"x":2})"));
    EXPECT_THROW(LevelExpansion("0").apply(*withValue), Poco::BadCastException);
    EXPECT_EQ(compact(*withValue), R"({"a":[{},{"x":2}]})");
}

TEST(LevelExpansion, TrimsWhatOthersShare)
{
    Object::Ptr object = objectOf(R"({"a":{"id":1,"x":2}})");
    const Object::Ptr shared = object->getObject("a");
    LevelExpansion("0").apply(*object);
    EXPECT_EQ(compact(shared), R"({"id":1})");
}

TEST(LevelExpansion, KeepsTheOrderOfInsertion)
{
    Object::Ptr inner(new Object(Poco::JSON_PRESERVE_KEY_ORDER));
    for (const char* key : {"uri", "x", "name", "a", "id"})
        inner->set(key, 1);
    Object object;
    object.set("a", inner);
    LevelExpansion("0").apply(object);
    EXPECT_EQ(compact(object), R"({"a":{"uri":1,"name":1,"id":1}})");
}

TEST(PropertyExpansion, TakesTheNamesBetweenTheCommas)
{
    EXPECT_THAT(PropertyExpansion("a").getFieldsExpansion(), ElementsAre("a"));
    EXPECT_THAT(PropertyExpansion("a, b,,").getFieldsExpansion(), ElementsAre("a", "b"));
    EXPECT_THAT(PropertyExpansion(" b ,a,b").getFieldsExpansion(), ElementsAre("b", "a", "b"));
    EXPECT_THAT(PropertyExpansion("a b.c").getFieldsExpansion(), ElementsAre("a b.c"));
    EXPECT_THAT(PropertyExpansion("").getFieldsExpansion(), IsEmpty());
    EXPECT_THAT(PropertyExpansion(" , ,").getFieldsExpansion(), IsEmpty());
    EXPECT_TRUE(PropertyExpansion("").isValid());
    EXPECT_TRUE(PropertyExpansion("a, b,,").isValid());
}

TEST(PropertyExpansion, AsksAnObjectOfTheModelForItsFields)
{
    EXPECT_EQ(compact(PropertyExpansion("a,b").apply(AskedObject())), R"({"a":true,"b":true})");
}

TEST(PropertyExpansion, WritesOutTheNamedFieldsOnly)
{
    const std::string json = R"({"a":{"id":1,"x":2,"deep":{"id":3,"x":4}},"b":{"id":5,"x":6},)"
                             R"("c":[{"id":7,"x":8,"deep":{"id":9,"x":10}}],"d":[{"id":11,"x":12}],"e":[1]})";
    struct Row {
        std::string fields;
        std::string expected;
    };
    const Row rows[] = {
        {"", R"({"a":{"id":1},"b":{"id":5},"c":[{"id":7}],"d":[{"id":11}],"e":[1]})"},
        {"a", R"({"a":{"deep":{"id":3},"id":1,"x":2},"b":{"id":5},"c":[{"id":7}],"d":[{"id":11}],"e":[1]})"},
        {"c,b",
         R"({"a":{"id":1},"b":{"id":5,"x":6},"c":[{"deep":{"id":9},"id":7,"x":8}],"d":[{"id":11}],"e":[1]})"},
        // neither an absent name nor another case, nor a name of a deeper layer
        {"absent,A,deep", R"({"a":{"id":1},"b":{"id":5},"c":[{"id":7}],"d":[{"id":11}],"e":[1]})"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.fields);
        EXPECT_EQ(expanded(PropertyExpansion(row.fields), json), row.expected);
    }
}

TEST(PropertyExpansion, ComparesNamesAtTheFirstLayerOnly)
{
    EXPECT_EQ(expanded(PropertyExpansion("a"), R"({"a":{"a":{"id":1,"x":2}}})"), R"({"a":{"a":{"id":1}}})");
}

TEST(PropertyExpansion, ThrowsOnAMixedArray)
{
    Object::Ptr object = objectOf(R"({"a":[{"x":1},2]})");
    EXPECT_THROW(PropertyExpansion("b").apply(*object), Poco::BadCastException);
    EXPECT_EQ(compact(*object), R"({"a":[{},2]})");
}

} // namespace Zovi::Command
