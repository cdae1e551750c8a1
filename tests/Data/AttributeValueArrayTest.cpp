#include "Data/AttributeValueArray.h"

#include "JsonMatchers.h"

#include <gmock/gmock.h>

#include <type_traits>

namespace Zovi::Data
{

namespace
{

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;
using Text = AttributeValueStringable<std::string>;
using Array = AttributeValueStringArray;

static_assert(std::is_same_v<Array, AttributeValueArray<AttributeValueStringable<std::string>>>);
static_assert(std::is_same_v<Array::value_type, std::vector<Text>>);
static_assert(std::is_same_v<Array::element_type, Text>);
static_assert(std::is_same_v<Array::element_value_type, std::string>);
static_assert(std::is_same_v<Array::iterator, std::vector<Text>::iterator>);
static_assert(std::is_same_v<Array::const_iterator, std::vector<Text>::const_iterator>);

Array arrayOf(const std::vector<std::string>& texts)
{
    return Array(texts);
}

std::string jsonOf(const AttributeValueBase& value, int level)
{
    return Test::compact(value.toJSON(level).extract<Poco::JSON::Array::Ptr>());
}

TEST(AttributeValueArray, IsMadeOfNothingElementsOrTexts)
{
    EXPECT_THAT(Array().simplify(), IsEmpty());
    const std::vector<Text> elements{Text("a"), Text("b")};
    EXPECT_THAT(Array(elements).simplify(), ElementsAre("a", "b"));
    EXPECT_THAT(Array(std::vector<Text>{Text("c")}).simplify(), ElementsAre("c"));
    EXPECT_THAT((Array{Text("d"), Text("e")}.simplify()), ElementsAre("d", "e"));
    EXPECT_THAT(Array(std::vector<std::string>{"f", "g"}).simplify(), ElementsAre("f", "g"));
}

TEST(AttributeValueArray, IsAnEmptyArrayWhenMadeOfNoTexts)
{
    const Array array = arrayOf({});
    EXPECT_TRUE(array.isArray());
    EXPECT_FALSE(array.isXObjReference());
    EXPECT_EQ(array.size(), 0U);
    EXPECT_TRUE(array.isEmpty());
    EXPECT_EQ(jsonOf(array, 0), "[]");
}

TEST(AttributeValueArray, NamesItsTypeAndKind)
{
    EXPECT_EQ(Array().type(), typeid(std::vector<Text>));
    EXPECT_TRUE(Array::isArrayType());
    EXPECT_FALSE(Array::isXObjReferenceType());
}

TEST(AttributeValueArray, MakesElementsOfTextsByWayOfTheHeldValue)
{
    using Uuids = AttributeValueArray<AttributeValueStringable<Poco::UUID>>;
    const std::string text = "00000000-2222-3333-4444-555555555555";
    EXPECT_THAT(Uuids(std::vector<std::string>{text}).simplify(), ElementsAre(text));
}

TEST(AttributeValueArray, RendersItsElementsInOrderAtEveryLevel)
{
    for (int level : {-1, 0, 5}) {
        SCOPED_TRACE(level);
        EXPECT_EQ(jsonOf(arrayOf({"b", "a"}), level), R"(["b","a"])");
    }
    EXPECT_NE(arrayOf({}).toJSON(0).extract<Poco::JSON::Array::Ptr>().get(),
              arrayOf({}).toJSON(0).extract<Poco::JSON::Array::Ptr>().get());
}

TEST(AttributeValueArray, BecomesAVectorOfGenericValues)
{
    const auto generic = arrayOf({"a", "b"}).asGeneric().extract<std::vector<GenericValue>>();
    ASSERT_THAT(generic, SizeIs(2));
    EXPECT_EQ(generic[0].extract<std::string>(), "a");
    EXPECT_EQ(generic[1].extract<std::string>(), "b");
}

TEST(AttributeValueArray, ComparesElementByElement)
{
    struct Row {
        std::vector<std::string> left;
        std::vector<std::string> right;
        int expected;
    };
    const Row rows[] = {
        {{"a"}, {"a", "b"}, -1}, {{"a", "b"}, {"a"}, 1}, {{}, {"a"}, -1},   {{}, {}, 0},
        {{"a", "b"}, {"b"}, -1}, {{"b"}, {"a", "z"}, 1}, {{"a"}, {"a"}, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(::testing::PrintToString(row.left) + " and " + ::testing::PrintToString(row.right));
        EXPECT_EQ(arrayOf(row.left).compare(arrayOf(row.right)), row.expected);
    }
}

TEST(AttributeValueArray, ComparesNumbersAsNumbersAndUrisByTheirPath)
{
    using Integers = AttributeValueArray<AttributeValueInteger>;
    EXPECT_EQ((Integers{AttributeValueInteger(10)}.compare(Integers{AttributeValueInteger(9)})), 1);
    using Uris = AttributeValueArray<AttributeValueStringable<Poco::URI>>;
    const auto uris = [](const char* text) {
        return Uris(std::vector<std::string>{text});
    };
    EXPECT_EQ(uris("http://one/a").compare(uris("http://two/a")), 0);
}

TEST(AttributeValueArray, TakesOverTheElementsOfAnother)
{
    Array array = arrayOf({"a"});
    EXPECT_TRUE(array.setValue(arrayOf({"b", "c"})));
    EXPECT_THAT(array.simplify(), ElementsAre("b", "c"));
    EXPECT_TRUE(array.setValue(array));
    EXPECT_THAT(array.simplify(), ElementsAre("b", "c"));
    EXPECT_FALSE(array.setValue(Text("d")));
    EXPECT_THAT(array.simplify(), ElementsAre("b", "c"));
}

TEST(AttributeValueArray, AppendsElements)
{
    Array array;
    const Text first("a");
    array.addElement(first);
    array.addElement(Text("b"));
    EXPECT_THAT(array.simplify(), ElementsAre("a", "b"));
    EXPECT_EQ(array.size(), 2U);
    EXPECT_FALSE(array.isEmpty());
}

TEST(AttributeValueArray, KnowsItsElements)
{
    const Array array = arrayOf({"a", "b"});
    EXPECT_TRUE(array.hasElement(Text("b")));
    EXPECT_FALSE(array.hasElement(Text("c")));
    EXPECT_TRUE(array.hasElement(std::string("a")));
    EXPECT_FALSE(array.hasElement(std::string("")));
    EXPECT_EQ(array.getElement(1).get(), "b");
}

TEST(AttributeValueArray, RemovesElements)
{
    Array array = arrayOf({"a", "b", "c", "d"});
    array.removeElement(1);
    EXPECT_THAT(array.simplify(), ElementsAre("a", "c", "d"));
    const Array::const_iterator second = array.begin() + 1;
    const auto next = array.removeElement(second);
    EXPECT_EQ(next->get(), "d");
    const auto behindTheLast = array.removeElement(Array::const_iterator(next));
    EXPECT_EQ(behindTheLast, array.end());
    EXPECT_THAT(array.simplify(), ElementsAre("a"));
}

TEST(AttributeValueArray, RefusesIndicesOutOfRange)
{
    Array array = arrayOf({"a"});
    const auto textOf = [](const auto& call) {
        try {
            call();
        } catch (const Poco::InvalidArgumentException& error) {
            return error.message();
        }
        return std::string("nothing thrown");
    };
    EXPECT_EQ(textOf([&] { array.getElement(1); }), "Invalid array index 1");
    EXPECT_EQ(textOf([&] { array.removeElement(7); }), "Invalid array index 7");
    EXPECT_THAT(array.simplify(), ElementsAre("a"));
}

TEST(AttributeValueArray, IteratesOverItsElements)
{
    Array array = arrayOf({"a", "b"});
    for (Text& element : array)
        element.set(element.get() + "!");
    const Array& constant = array;
    std::string all;
    for (const Text& element : constant)
        all += element.get();
    EXPECT_EQ(all, "a!b!");
}

TEST(AttributeValueArray, PointsToTheElementsInside)
{
    Array array = arrayOf({"a", "b"});
    const Array& constant = array;
    EXPECT_THAT(constant.getValueArray(), ElementsAre(&constant.getElement(0), &constant.getElement(1)));
    const std::vector<AttributeValueBase*> elements = array.getValueArray();
    ASSERT_THAT(elements, SizeIs(2));
    EXPECT_TRUE(elements[0]->setValue(Text("changed")));
    EXPECT_THAT(array.simplify(), ElementsAre("changed", "b"));

    std::vector<const AttributeValueBase*> converted;
    EXPECT_TRUE(static_cast<const AttributeValueBase&>(array).convert(converted));
    EXPECT_THAT(converted, ElementsAre(&array.getElement(0), &array.getElement(1)));
}

TEST(AttributeValueArray, WritesOutElementsWithoutATextFormAsGenericValues)
{
    const AttributeValueArray<AttributeValueInteger> numbers{AttributeValueInteger(1),
                                                             AttributeValueInteger(-2)};
    EXPECT_THAT(numbers.simplify(), ElementsAre("1", "-2"));
}

} // namespace

} // namespace Zovi::Data
