#include "Data/AttributeBase.h"

#include "VirtualSlot.h"

#include <gmock/gmock.h>

#include <type_traits>

namespace Zovi::Data
{

namespace
{

using Test::virtualSlot;
using ::testing::ElementsAre;
using ::testing::IsNull;
using ::testing::NotNull;
using Text = AttributeValueStringable<std::string>;
using TextAttribute = Attribute<Text>;
using IntegerAttribute = Attribute<AttributeValueInteger>;
using ArrayAttribute = Attribute<AttributeValueStringArray>;

static_assert(std::is_same_v<AttributeBase::Ptr, Poco::SharedPtr<AttributeBase>>);
static_assert(std::is_abstract_v<AttributeBase> && std::has_virtual_destructor_v<AttributeBase>);
static_assert(std::is_same_v<IntegerAttribute::attr_value_type, AttributeValueInteger>);
static_assert(std::is_same_v<IntegerAttribute::value_type, std::int64_t>);
static_assert(!std::is_constructible_v<TextAttribute, XObjectId, std::string, Poco::URI>);

/// Makes an attribute without a value.
class EmptyAttribute : public TextAttribute
{
public:
    EmptyAttribute(XObjectId parent, const std::string& name)
        : TextAttribute(parent, name)
    {
    }
};

template <typename Call>
std::string invalidAccess(Call call)
{
    try {
        call();
    } catch (const Poco::InvalidAccessException& error) {
        return error.message();
    }
    return "nothing thrown";
}

TEST(AttributeBase, KeepsItsVirtualFunctionsInOrder)
{
    EXPECT_EQ(virtualSlot(&AttributeBase::type), 0U);
    EXPECT_EQ(virtualSlot(&AttributeBase::getName), 1U);
    EXPECT_EQ(virtualSlot(&AttributeBase::getValueBase), 2U);
    EXPECT_EQ(virtualSlot(&AttributeBase::isXObjReference), 3U);
    EXPECT_EQ(virtualSlot(&AttributeBase::isArray), 4U);
    using Copy = AttributeBase* (AttributeBase::*)(XObjectId) const;
    EXPECT_EQ(virtualSlot(static_cast<Copy>(&AttributeBase::copy)), 5U);
}

TEST(Attribute, NamesTheTypeOfItsValue)
{
    EXPECT_EQ(TextAttribute(1, "a", "b").type(), typeid(std::string));
    EXPECT_EQ(Attribute<AttributeValueStringable<Poco::URI>>(1, "a", Poco::URI()).type(), typeid(Poco::URI));
    EXPECT_EQ(Attribute<AttributeValueStringable<Poco::UUID>>(1, "a", Poco::UUID()).type(),
              typeid(Poco::UUID));
    EXPECT_EQ(IntegerAttribute(1, "a", 2).type(), typeid(std::int64_t));
    EXPECT_EQ(ArrayAttribute(1, "a", AttributeValueStringArray()).type(), typeid(std::vector<Text>));
}

TEST(Attribute, IsAnArrayOrNotEvenWithoutAValue)
{
    ArrayAttribute array(1, "a", AttributeValueStringArray());
    const ArrayAttribute taken(std::move(array));
    for (const AttributeBase* attribute :
         {static_cast<const AttributeBase*>(&array), static_cast<const AttributeBase*>(&taken)}) {
        EXPECT_TRUE(attribute->isArray());
        EXPECT_FALSE(attribute->isXObjReference());
        EXPECT_EQ(attribute->type(), typeid(std::vector<Text>));
    }
    const EmptyAttribute empty(1, "a");
    EXPECT_FALSE(empty.isArray());
    EXPECT_FALSE(empty.isXObjReference());
    EXPECT_EQ(empty.type(), typeid(std::string));
}

TEST(Attribute, IsMadeOfTheHeldValueOrTheValueClass)
{
    const std::string text = "text";
    EXPECT_EQ(TextAttribute(1, "a", text).getValue(), "text");
    EXPECT_EQ(TextAttribute(1, "a", Text("text")).getValue(), "text");
    const AttributeValueStringArray array(std::vector<std::string>{"x"});
    EXPECT_THAT(ArrayAttribute(1, "a", array).getAttributeValue().simplify(), ElementsAre("x"));
    EXPECT_THAT(array.simplify(), ElementsAre("x"));

    const IntegerAttribute attribute(3, "port", 80);
    EXPECT_EQ(attribute.parent(), 3);
    EXPECT_EQ(attribute.getName(), "port");
    EXPECT_EQ(attribute.getValue(), 80);
    EXPECT_EQ(attribute.getAttributeValue().get(), 80);
    EXPECT_EQ(attribute.getValueBase(), &attribute.getAttributeValue());
    EXPECT_FALSE(attribute.isEmpty());
}

TEST(Attribute, IsNotEmptyWhenItsValueIs)
{
    EXPECT_FALSE(TextAttribute(1, "a", "").isEmpty());
    EXPECT_FALSE(ArrayAttribute(1, "a", AttributeValueStringArray()).isEmpty());
}

TEST(Attribute, GivesItsValueOpenToChangeThroughTheBase)
{
    const IntegerAttribute attribute(1, "a", 1);
    EXPECT_TRUE(attribute.getValueBase()->setValue(AttributeValueInteger(2)));
    EXPECT_EQ(attribute.getValue(), 2);
}

TEST(Attribute, ReplacesItsValueByEveryForm)
{
    TextAttribute attribute(1, "a", "0");
    const Text value("1");
    attribute.setValue(value);
    EXPECT_EQ(attribute.getValue(), "1");
    attribute.setValue(Text("2"));
    EXPECT_EQ(attribute.getValue(), "2");
    const std::string text = "3";
    attribute.setValue(text);
    EXPECT_EQ(attribute.getValue(), "3");
    attribute.setValue(std::string("4"));
    EXPECT_EQ(attribute.getValue(), "4");
    attribute.setValue(attribute.getAttributeValue());
    EXPECT_EQ(attribute.getValue(), "4");
    attribute.setValue(attribute.getValue());
    EXPECT_EQ(attribute.getValue(), "4");
}

TEST(Attribute, GainsAValueWhenEmpty)
{
    EmptyAttribute attribute(1, "a");
    EXPECT_TRUE(attribute.isEmpty());
    EXPECT_THAT(attribute.getValueBase(), IsNull());
    attribute.setValue("text");
    EXPECT_FALSE(attribute.isEmpty());
    EXPECT_EQ(attribute.getValue(), "text");
}

TEST(Attribute, NamesItselfWhenReadEmpty)
{
    const EmptyAttribute attribute(1, "port");
    EXPECT_EQ(invalidAccess([&] { attribute.getValue(); }), "attribute port is not set");
    EXPECT_EQ(invalidAccess([&] { attribute.getAttributeValue(); }), "attribute port is not set");
}

TEST(Attribute, CopiesForAnotherOwnerWithoutSharing)
{
    IntegerAttribute source(3, "port", 80);
    const AttributeBase::Ptr copy = source.copy(7);
    EXPECT_EQ(copy->parent(), 7);
    EXPECT_EQ(copy->getName(), "port");
    EXPECT_NE(copy->getValueBase(), source.getValueBase());
    EXPECT_EQ(copy->getValueBase()->compare(*source.getValueBase()), 0);
    EXPECT_TRUE(copy->getValueBase()->setValue(AttributeValueInteger(81)));
    EXPECT_EQ(source.getValue(), 80);
    EXPECT_EQ(source.parent(), 3);
    EXPECT_THAT(dynamic_cast<const IntegerAttribute*>(copy.get()), NotNull());
}

TEST(Attribute, CopiesForItsOwnOwnerByDefault)
{
    const IntegerAttribute source(3, "port", 80);
    const AttributeBase::Ptr copy = source.copy();
    EXPECT_EQ(copy->parent(), 3);
    EXPECT_EQ(copy->getName(), "port");
    EXPECT_NE(copy->getValueBase(), source.getValueBase());
}

TEST(Attribute, CannotBeCopiedForAnOwnerOnceItsValueWasMovedAway)
{
    IntegerAttribute source(3, "port", 80);
    const IntegerAttribute target(std::move(source));
    EXPECT_EQ(target.getValue(), 80);
    EXPECT_EQ(invalidAccess([&] { source.copy(7); }), "attribute port is not set");
    EXPECT_EQ(invalidAccess([&] { source.copy(); }), "attribute port is not set");
}

TEST(Attribute, KeepsNameAndOwnerWhenMovedFrom)
{
    TextAttribute source(3, "name", "text");
    const TextAttribute target(std::move(source));
    EXPECT_EQ(target.parent(), 3);
    EXPECT_EQ(target.getName(), "name");
    EXPECT_EQ(source.parent(), 3);
    EXPECT_EQ(source.getName(), "name");
    EXPECT_TRUE(source.isEmpty());
}

TEST(Attribute, CopiesByConstructorWithOwner)
{
    const TextAttribute source(3, "name", "text");
    TextAttribute copy(source);
    EXPECT_EQ(copy.parent(), 3);
    EXPECT_EQ(copy.getName(), "name");
    copy.setValue("other");
    EXPECT_EQ(source.getValue(), "text");
    EXPECT_TRUE(TextAttribute(EmptyAttribute(3, "name")).isEmpty());
}

TEST(Attribute, KeepsItsOwnerWhenAssigned)
{
    const TextAttribute source(3, "name", "text");
    TextAttribute target(9, "other", "old");
    target = source;
    EXPECT_EQ(target.parent(), 9);
    EXPECT_EQ(target.getName(), "name");
    EXPECT_EQ(target.getValue(), "text");
    EXPECT_NE(target.getValueBase(), source.getValueBase());

    TextAttribute giver(4, "given", "gift");
    target = std::move(giver);
    EXPECT_EQ(target.parent(), 9);
    EXPECT_EQ(target.getName(), "given");
    EXPECT_EQ(target.getValue(), "gift");
    EXPECT_EQ(giver.getName(), "given");
    EXPECT_TRUE(giver.isEmpty());

    TextAttribute& self = target;
    target = self;
    target = std::move(self);
    EXPECT_EQ(target.getValue(), "gift");
}

} // namespace

} // namespace Zovi::Data
