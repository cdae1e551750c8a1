#include "Data/AttributeValue.h"

#include "Data/AttributeValueArray.h"

#include <gmock/gmock.h>

#include <limits>
#include <type_traits>

namespace Zovi::Data
{

namespace
{

using Text = AttributeValueStringable<std::string>;
using Uuid = AttributeValueStringable<Poco::UUID>;
using Uri = AttributeValueStringable<Poco::URI>;
using Integer = AttributeValueInteger;

using IntegerLayer = AttributeValue<std::int64_t, AttributeValueBase>;

static_assert(std::is_base_of_v<AttributeValue<std::string, AttributeValueStringableBase>, Text>);
static_assert(std::is_base_of_v<IntegerLayer, Integer>);
static_assert(std::is_same_v<Integer::value_type, std::int64_t>);
static_assert(std::is_same_v<Integer::this_type, IntegerLayer>);
static_assert(std::is_same_v<Uri::value_type, Poco::URI>);
// Values are made through the concrete classes.
static_assert(!std::is_constructible_v<IntegerLayer, std::int64_t>);
static_assert(std::is_copy_constructible_v<Text> && std::is_move_constructible_v<Text>);
static_assert(std::is_copy_assignable_v<Text> && std::is_move_assignable_v<Text>);
static_assert(std::is_copy_constructible_v<Integer> && std::is_move_assignable_v<Integer>);

const std::string LOW_UUID = "00000000-2222-3333-4444-555555555555";
const std::string HIGH_UUID = "f0000000-2222-3333-4444-555555555555";

/// Another class on the layer of `AttributeValueInteger`.
class Counter : public IntegerLayer
{
public:
    explicit Counter(std::int64_t value)
        : IntegerLayer(value)
    {
    }
};

TEST(AttributeValue, NamesTheTypeOfTheHeldValue)
{
    EXPECT_EQ(Text("").type(), typeid(std::string));
    EXPECT_EQ(Uuid(Poco::UUID()).type(), typeid(Poco::UUID));
    EXPECT_EQ(Uri(Poco::URI()).type(), typeid(Poco::URI));
    EXPECT_EQ(Integer(0).type(), typeid(std::int64_t));
}

TEST(AttributeValue, IsNeitherArrayNorReferenceForSingleValues)
{
    const Text text("");
    const Uuid uuid{Poco::UUID()};
    const Uri uri{Poco::URI()};
    const Integer integer(0);
    for (const AttributeValueBase* value :
         {static_cast<const AttributeValueBase*>(&text), static_cast<const AttributeValueBase*>(&uuid),
          static_cast<const AttributeValueBase*>(&uri), static_cast<const AttributeValueBase*>(&integer)}) {
        EXPECT_FALSE(value->isArray());
        EXPECT_FALSE(value->isXObjReference());
    }
}

TEST(AttributeValue, BecomesAGenericValueOfItsOwnTypeOrItsText)
{
    EXPECT_EQ(Integer(5).asGeneric().type(), typeid(std::int64_t));
    EXPECT_EQ(Integer(5).asGeneric().extract<std::int64_t>(), 5);
    EXPECT_EQ(Text("a").asGeneric().extract<std::string>(), "a");
    EXPECT_EQ(Uuid(Poco::UUID(LOW_UUID)).asGeneric().extract<std::string>(), LOW_UUID);
    EXPECT_EQ(Uri(Poco::URI("http://host/a")).asGeneric().extract<std::string>(), "http://host/a");
    // The layer below keeps the type.
    const Uri uri{Poco::URI("http://host/a")};
    const auto generic = uri.AttributeValue<Poco::URI, AttributeValueStringableBase>::asGeneric();
    EXPECT_EQ(generic.type(), typeid(Poco::URI));
}

TEST(AttributeValue, HasTheTextOfWhatItHolds)
{
    EXPECT_EQ(Text("a b").toString(), "a b");
    EXPECT_EQ(Uuid(Poco::UUID(LOW_UUID)).toString(), LOW_UUID);
    EXPECT_EQ(Uri(Poco::URI("http://host/a?b=c#d")).toString(), "http://host/a?b=c#d");
}

TEST(AttributeValue, RendersTheSameJsonAtEveryLevel)
{
    const Text text("a");
    const Uuid uuid{Poco::UUID(LOW_UUID)};
    const Uri uri{Poco::URI("http://host/a")};
    const Integer integer(std::numeric_limits<std::int64_t>::min());
    for (int level : {-1, 0, 5}) {
        SCOPED_TRACE(level);
        EXPECT_EQ(text.toJSON(level).extract<std::string>(), "a");
        EXPECT_EQ(uuid.toJSON(level).extract<std::string>(), LOW_UUID);
        EXPECT_EQ(uri.toJSON(level).extract<std::string>(), "http://host/a");
        EXPECT_EQ(integer.toJSON(level).extract<std::int64_t>(), std::numeric_limits<std::int64_t>::min());
    }
}

TEST(AttributeValue, TakesOverTheValueOfTheSameLayer)
{
    Integer integer(5);
    EXPECT_TRUE(integer.setValue(Integer(6)));
    EXPECT_EQ(integer.get(), 6);
    EXPECT_TRUE(integer.setValue(Counter(7))) << "whatever the class on top of the layer";
    EXPECT_EQ(integer.get(), 7);
    EXPECT_TRUE(integer.setValue(integer));
    EXPECT_EQ(integer.get(), 7);

    Text text("a text too long to be kept inside the string object");
    EXPECT_TRUE(text.setValue(text));
    EXPECT_EQ(text.get(), "a text too long to be kept inside the string object");
}

TEST(AttributeValue, RefusesTheValueOfAnotherLayerAndKeepsItsOwn)
{
    Text text("kept");
    EXPECT_FALSE(text.setValue(Integer(5)));
    EXPECT_FALSE(text.setValue(Uri(Poco::URI("/a"))));
    EXPECT_FALSE(text.setValue(AttributeValueStringArray({Text("a")})));
    EXPECT_EQ(text.get(), "kept");
}

TEST(AttributeValue, ComparesValuesOfOneLayerByTheirOwnOrder)
{
    EXPECT_EQ(Integer(5).compare(Integer(7)), -1);
    EXPECT_EQ(Integer(7).compare(Integer(5)), 1);
    EXPECT_EQ(Integer(5).compare(Integer(5)), 0);
    // As numbers, not as texts.
    EXPECT_EQ(Integer(10).compare(Integer(9)), 1);
    EXPECT_EQ(Integer(-1).compare(Counter(1)), -1);

    EXPECT_EQ(Text("a").compare(Text("ab")), -1) << "a prefix comes first";
    EXPECT_EQ(Text("ab").compare(Text("a")), 1);
    EXPECT_EQ(Text("a").compare(Text("a")), 0);
    EXPECT_EQ(Text("\x7f").compare(Text("\x80")), -1) << "bytes have no sign";
    EXPECT_EQ(Text("B").compare(Text("a")), -1);

    EXPECT_EQ(Uuid(Poco::UUID(LOW_UUID)).compare(Uuid(Poco::UUID(HIGH_UUID))), -1);
    EXPECT_EQ(Uuid(Poco::UUID(HIGH_UUID)).compare(Uuid(Poco::UUID(LOW_UUID))), 1);
    EXPECT_EQ(Uuid(Poco::UUID(LOW_UUID)).compare(Uuid(Poco::UUID(LOW_UUID))), 0);
}

TEST(AttributeValue, ComparesUrisByTheirPathAlone)
{
    const auto uri = [](const char* text) {
        return Uri(Poco::URI(text));
    };
    EXPECT_EQ(uri("http://one/a/b").compare(uri("https://two:8080/a/b?c=d#e")), 0);
    EXPECT_EQ(uri("http://z/a").compare(uri("http://a/b")), -1);
    EXPECT_EQ(uri("http://a/b").compare(uri("http://z/a")), 1);
    EXPECT_TRUE(uri("http://z/a") < uri("http://a/b"));
    EXPECT_TRUE(uri("http://a/b") > uri("http://z/a"));
    // Equality knows the whole URI.
    EXPECT_FALSE(uri("http://one/a") == uri("http://two/a"));
}

TEST(AttributeValue, ComparesValuesOfDifferentLayersByTheirTexts)
{
    EXPECT_EQ(Integer(10).compare(Text("9")), -1);
    EXPECT_EQ(Text("9").compare(Integer(10)), 1);
    EXPECT_EQ(Text("10").compare(Integer(10)), 0);
    // The full text of the URI counts here.
    EXPECT_EQ(Uri(Poco::URI("http://host/a")).compare(Text("/a")), 1);
    EXPECT_EQ(Uri(Poco::URI("http://host/a")).compare(Text("http://host/a")), 0);
    EXPECT_EQ(Uuid(Poco::UUID(LOW_UUID)).compare(Text(LOW_UUID)), 0);
}

TEST(AttributeValue, GivesAndTakesItsValue)
{
    Text text(std::string("a"));
    EXPECT_EQ(text.get(), "a");
    const std::string& held = text;
    EXPECT_EQ(&held, &text.get());
    const std::string longer = "b";
    text.set(longer);
    EXPECT_EQ(text.get(), "b");
    text.set(std::string("c"));
    EXPECT_EQ(text.get(), "c");

    const std::int64_t number = 3;
    EXPECT_EQ(Integer(number).get(), 3);
}

TEST(AttributeValue, ComparesWithValuesByOperators)
{
    EXPECT_TRUE(Text("a") == std::string("a"));
    EXPECT_TRUE(Text("a") == "a");
    EXPECT_FALSE(Text("a") == Text("b"));
    EXPECT_TRUE(Integer(5) == std::int64_t{5});
    EXPECT_TRUE(Integer(5) == 5);
    EXPECT_FALSE(Integer(5) == 6U);
    EXPECT_TRUE(Integer(5) == Integer(5));
    EXPECT_TRUE(Integer(5) < Integer(6));
    EXPECT_FALSE(Integer(6) < Integer(6));
    EXPECT_TRUE(Integer(6) > Integer(5));
    EXPECT_FALSE(Integer(6) > Integer(6));
}

TEST(AttributeValue, CopiesAndMovesItsValue)
{
    Text source("a");
    Text copy(source);
    EXPECT_EQ(copy.get(), "a");
    Text moved(std::move(copy));
    EXPECT_EQ(moved.get(), "a");
    Text assigned("b");
    assigned = source;
    EXPECT_EQ(assigned.get(), "a");
    assigned = Text("c");
    EXPECT_EQ(assigned.get(), "c");
    EXPECT_EQ(source.get(), "a");
}

} // namespace

} // namespace Zovi::Data
