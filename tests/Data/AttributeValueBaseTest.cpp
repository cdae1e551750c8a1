#include "Data/AttributeValueBase.h"

#include "Data/AttributeValue.h"
#include "Data/AttributeValueArray.h"
#include "Data/XObjectGeneric.h"
#include "VirtualSlot.h"

#include <gmock/gmock.h>

#include <Poco/Exception.h>

#include <type_traits>

namespace Zovi::Data
{

namespace
{

using Test::virtualSlot;
using ::testing::ElementsAre;
using ::testing::IsNull;
using ::testing::NotNull;
using ::testing::StrEq;

static_assert(std::is_same_v<GenericValue, Poco::Dynamic::Var>);
static_assert(std::is_abstract_v<AttributeValueBase> && std::has_virtual_destructor_v<AttributeValueBase>);
static_assert(std::is_abstract_v<AttributeValueStringableBase>);
static_assert(std::is_abstract_v<AttributeValueArrayBase>);
static_assert(std::is_abstract_v<AttributeValueObjectBase>);

/// The least that a value must implement.
class PlainValue : public AttributeValueBase
{
public:
    explicit PlainValue(GenericValue value)
        : m_value(std::move(value))
    {
    }

    const std::type_info& type() const override { return m_value.type(); }
    GenericValue asGeneric() const override { return m_value; }
    Poco::Dynamic::Var toJSON(int) const override { return m_value; }

private:
    GenericValue m_value;
};

/// Says that it is an array and a reference, and is neither.
class Pretender : public PlainValue
{
public:
    Pretender()
        : PlainValue(GenericValue())
    {
    }

    bool isXObjReference() const override { return true; }
    bool isArray() const override { return true; }
};

/// The least that an array must implement.
class PlainArray : public AttributeValueArrayBase
{
public:
    const std::type_info& type() const override { return typeid(void); }
    GenericValue asGeneric() const override { return GenericValue(); }
    Poco::Dynamic::Var toJSON(int) const override { return Poco::Dynamic::Var(); }
    std::vector<const AttributeValueBase*> getValueArray() const override { return {&m_element}; }
    std::vector<AttributeValueBase*> getValueArray() override { return {&m_element}; }
    std::size_t size() const override { return 1; }

    AttributeValueInteger m_element{7};
};

/// The least that a reference must implement.
class PlainReference : public AttributeValueObjectBase
{
public:
    explicit PlainReference(const XObjectBase* object)
        : m_object(object)
    {
    }

    const std::type_info& type() const override { return typeid(const XObjectBase*); }
    GenericValue asGeneric() const override { return GenericValue(); }
    const XObjectBase* getReferencedObject() const override { return m_object; }

private:
    const XObjectBase* m_object;
};

/// A reference that denies it.
class DenyingReference : public PlainReference
{
public:
    using PlainReference::PlainReference;
    bool isXObjReference() const override { return false; }
};

/// An array that denies it.
class DenyingArray : public PlainArray
{
public:
    bool isArray() const override { return false; }
};

TEST(AttributeValueBase, KeepsItsVirtualFunctionsInOrder)
{
    EXPECT_EQ(virtualSlot(&AttributeValueBase::type), 0U);
    EXPECT_EQ(virtualSlot(&AttributeValueBase::asGeneric), 1U);
    EXPECT_EQ(virtualSlot(&AttributeValueBase::toJSON), 2U);
    EXPECT_EQ(virtualSlot(&AttributeValueBase::isXObjReference), 3U);
    EXPECT_EQ(virtualSlot(&AttributeValueBase::isArray), 4U);
    EXPECT_EQ(virtualSlot(&AttributeValueBase::setValue), 5U);
    EXPECT_EQ(virtualSlot(&AttributeValueBase::compare), 6U);

    EXPECT_EQ(virtualSlot(&AttributeValueStringableBase::toString), 7U);

    using ConstForm = std::vector<const AttributeValueBase*> (AttributeValueArrayBase::*)() const;
    using PlainForm = std::vector<AttributeValueBase*> (AttributeValueArrayBase::*)();
    EXPECT_EQ(virtualSlot(static_cast<ConstForm>(&AttributeValueArrayBase::getValueArray)), 7U);
    EXPECT_EQ(virtualSlot(static_cast<PlainForm>(&AttributeValueArrayBase::getValueArray)), 8U);
    EXPECT_EQ(virtualSlot(&AttributeValueArrayBase::size), 9U);

    EXPECT_EQ(virtualSlot(&AttributeValueObjectBase::getReferencedObject), 7U);
}

TEST(AttributeValueBase, AnswersForTheClassWithoutAValue)
{
    EXPECT_FALSE(AttributeValueBase::isXObjReferenceType());
    EXPECT_FALSE(AttributeValueBase::isArrayType());
    EXPECT_FALSE(AttributeValueStringableBase::isXObjReferenceType());
    EXPECT_FALSE(AttributeValueStringableBase::isArrayType());
    EXPECT_FALSE(AttributeValueArrayBase::isXObjReferenceType());
    EXPECT_TRUE(AttributeValueArrayBase::isArrayType());
    EXPECT_TRUE(AttributeValueObjectBase::isXObjReferenceType());
    EXPECT_FALSE(AttributeValueObjectBase::isArrayType());
}

TEST(AttributeValueBase, IsNeitherArrayNorReferenceUnlessItsBaseSaysSo)
{
    const PlainValue plain(GenericValue(1));
    EXPECT_FALSE(plain.isArray());
    EXPECT_FALSE(plain.isXObjReference());

    const PlainArray array;
    EXPECT_TRUE(array.isArray());
    EXPECT_FALSE(array.isXObjReference());

    const PlainReference reference(nullptr);
    EXPECT_FALSE(reference.isArray());
    EXPECT_TRUE(reference.isXObjReference());
}

TEST(AttributeValueBase, TakesOverNoValueByItself)
{
    PlainValue value{GenericValue(1)};
    EXPECT_FALSE(value.setValue(PlainValue(GenericValue(2))));
    EXPECT_EQ(value.asGeneric().convert<int>(), 1);
}

TEST(AttributeValueBase, ComparesByTheTextsOfTheGenericValues)
{
    struct Row {
        GenericValue left;
        GenericValue right;
        int expected;
    };
    const Row rows[] = {
        {std::string("a"), std::string("b"), -1},
        {std::string("b"), std::string("a"), 1},
        {std::string("a"), std::string("a"), 0},
        // Even two integers compare as texts.
        {10, 9, -1},
        {9, 10, 1},
        // An empty value is neither before nor behind anything.
        {GenericValue(), std::string("a"), 0},
        {std::string("a"), GenericValue(), 0},
    };
    int number = 0;
    for (const Row& row : rows) {
        SCOPED_TRACE(number++);
        EXPECT_EQ(PlainValue(row.left).compare(PlainValue(row.right)), row.expected);
    }
}

TEST(AttributeValueBase, PassesOnWhatTheGenericComparisonThrows)
{
    // A shared pointer to something unknown has no text form.
    const PlainValue unprintable{GenericValue(Poco::SharedPtr<int>(new int(1)))};
    EXPECT_THROW(unprintable.compare(PlainValue(GenericValue(1))), Poco::BadCastException);
}

TEST(AttributeValueBase, ConvertsToTheClassesThatItIs)
{
    AttributeValueInteger integer(5);
    AttributeValueBase& value = integer;
    const AttributeValueBase& constValue = integer;
    EXPECT_EQ(value.convert<AttributeValueInteger>(), &integer);
    EXPECT_EQ(constValue.convert<AttributeValueInteger>(), &integer);
    static_assert(std::is_same_v<decltype(value.convert<AttributeValueInteger>()), AttributeValueInteger*>);
    static_assert(
        std::is_same_v<decltype(constValue.convert<AttributeValueInteger>()), const AttributeValueInteger*>);
    EXPECT_THAT(value.convert<AttributeValueStringable<std::string>>(), IsNull());
    EXPECT_THAT(constValue.convert<AttributeValueStringableBase>(), IsNull());
}

TEST(AttributeValueBase, GivesPointersToTheElementsOfAnArray)
{
    const PlainArray array;
    std::vector<const AttributeValueBase*> elements{nullptr, nullptr};
    EXPECT_TRUE(array.convert(elements));
    EXPECT_THAT(elements, ElementsAre(&array.m_element));
}

TEST(AttributeValueBase, RefusesElementsOfWhatIsNoArray)
{
    const AttributeValueInteger integer(5);
    const Pretender pretender;
    const DenyingArray denying;
    for (const AttributeValueBase* value : {static_cast<const AttributeValueBase*>(&integer),
                                            static_cast<const AttributeValueBase*>(&pretender),
                                            static_cast<const AttributeValueBase*>(&denying)}) {
        std::vector<const AttributeValueBase*> elements{&integer};
        EXPECT_FALSE(value->convert(elements));
        EXPECT_THAT(elements, ElementsAre(&integer)) << "left as it was";
    }
}

TEST(AttributeValueBase, GivesTheReferencedObject)
{
    const XObjectGeneric object(INVALID_XOBJ_ID);
    const PlainReference reference(&object);
    const XObjectBase* referenced = nullptr;
    EXPECT_TRUE(static_cast<const AttributeValueBase&>(reference).convert(referenced));
    EXPECT_EQ(referenced, &object);
}

TEST(AttributeValueBase, RefusesTheObjectOfWhatRefersToNone)
{
    const XObjectGeneric object(INVALID_XOBJ_ID);
    const AttributeValueInteger integer(5);
    const Pretender pretender;
    const PlainReference nowhere(nullptr);
    const DenyingReference denying(&object);
    for (const AttributeValueBase* value : {static_cast<const AttributeValueBase*>(&integer),
                                            static_cast<const AttributeValueBase*>(&pretender),
                                            static_cast<const AttributeValueBase*>(&nowhere),
                                            static_cast<const AttributeValueBase*>(&denying)}) {
        const XObjectBase* referenced = &object;
        EXPECT_FALSE(value->convert(referenced));
        EXPECT_EQ(referenced, &object) << "left as it was";
    }
}

TEST(AttributeValueStringableBase, ConvertsToItsTextWithoutHidingTheOtherConversions)
{
    const AttributeValueStringable<std::string> value("text");
    const AttributeValueStringableBase& base = value;
    std::string text;
    EXPECT_TRUE(base.convert(text));
    EXPECT_EQ(text, "text");
    EXPECT_THAT(base.convert<AttributeValueStringable<std::string>>(), NotNull());
    std::vector<const AttributeValueBase*> elements;
    EXPECT_FALSE(base.convert(elements));
    const XObjectBase* object = nullptr;
    EXPECT_FALSE(base.convert(object));
}

TEST(AttributeValueObjectBase, RendersTheReferencedObjectAtTheLevelGiven)
{
    XObjectGeneric object("a", "11111111-2222-3333-4444-555555555555", "", INVALID_XOBJ_ID);
    object.setValue<AttributeValueInteger>("size", 3);
    const PlainReference reference(&object);
    EXPECT_EQ(reference.toJSON(-1).extract<Poco::JSON::Object::Ptr>()->size(), 3U);
    EXPECT_EQ(reference.toJSON(0).extract<Poco::JSON::Object::Ptr>()->size(), 4U);
    EXPECT_TRUE(PlainReference(nullptr).toJSON(0).isEmpty());
}

} // namespace

} // namespace Zovi::Data
