#include "Data/XObjectBase.h"

#include "LogCapture.h"
#include "VirtualSlot.h"

#include <gmock/gmock.h>

#include <array>
#include <future>
#include <memory>
#include <type_traits>

namespace Zovi::Data
{

namespace
{

using Test::LogCapture;
using Test::virtualSlot;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

static_assert(std::is_abstract_v<XObjectBase> && std::has_virtual_destructor_v<XObjectBase>);

const std::string LOW_UUID = "00000000-2222-3333-4444-555555555555";
const std::string HIGH_UUID = "f0000000-2222-3333-4444-555555555555";
const char* const DUPLICATE = "Notice: Duplicate XObject ID";

/// An object with a number, a name and a UUID, and a view on the table of numbers.
class Numbered : public XObjectBase
{
public:
    explicit Numbered(XObjectId id, std::string name = "a", const std::string& uuid = LOW_UUID)
        : XObjectBase(id)
        , m_name(std::move(name))
        , m_uuid(uuid)
    {
    }

    AttributeMap getAttributes() const override { return {}; }
    AttributeBase::Ptr getAttribute(const std::string&) const override { return nullptr; }
    bool hasValue(const std::string&) const override { return false; }
    std::size_t size() const override { return 0; }
    AttributeValueBase* getValue(const std::string&) const override { return nullptr; }
    std::string getName() const override { return m_name; }
    Poco::UUID getId() const override { return m_uuid; }
    Poco::URI getUri() const override { return Poco::URI(); }
    Poco::JSON::Object::Ptr toJSON(int) const override { return nullptr; }
    Poco::JSON::Object::Ptr toJSON(const std::vector<std::string>&) const override { return nullptr; }

    using XObjectBase::initialize;
    using XObjectBase::resetId;
    using XObjectBase::selectNextId;

    static std::unordered_multiset<std::int64_t>& known() { return m_knownIds; }

private:
    std::string m_name;
    Poco::UUID m_uuid;
};

/// Starts each test with an empty table of numbers.
class XObjectBaseNumber : public ::testing::Test
{
protected:
    XObjectBaseNumber() { Numbered::known().clear(); }

    LogCapture m_log;
};

TEST(XObjectBase, KeepsItsVirtualFunctionsInOrder)
{
    EXPECT_EQ(virtualSlot(&XObjectBase::getAttributes), 0U);
    EXPECT_EQ(virtualSlot(&XObjectBase::getAttribute), 1U);
    EXPECT_EQ(virtualSlot(&XObjectBase::hasValue), 2U);
    EXPECT_EQ(virtualSlot(&XObjectBase::size), 3U);
    EXPECT_EQ(virtualSlot(&XObjectBase::getValue), 4U);
    EXPECT_EQ(virtualSlot(&XObjectBase::getName), 5U);
    EXPECT_EQ(virtualSlot(&XObjectBase::getId), 6U);
    EXPECT_EQ(virtualSlot(&XObjectBase::getUri), 7U);
    using ByLevel = Poco::JSON::Object::Ptr (XObjectBase::*)(int) const;
    using ByFields = Poco::JSON::Object::Ptr (XObjectBase::*)(const std::vector<std::string>&) const;
    EXPECT_EQ(virtualSlot(static_cast<ByLevel>(&XObjectBase::toJSON)), 8U);
    EXPECT_EQ(virtualSlot(static_cast<ByFields>(&XObjectBase::toJSON)), 9U);
    EXPECT_EQ(virtualSlot(&XObjectBase::operator<), 10U);
    EXPECT_EQ(virtualSlot(&XObjectBase::operator>), 11U);
    EXPECT_EQ(virtualSlot(&XObjectBase::operator==), 12U);
    EXPECT_EQ(virtualSlot(&XObjectBase::operator!=), 13U);
}

TEST(XObjectBase, NamesTheIdentityAttributes)
{
    EXPECT_EQ(XObjectBase::KEY_NAME, "name");
    EXPECT_EQ(XObjectBase::KEY_ID, "id");
    EXPECT_EQ(XObjectBase::KEY_URI, "uri");
    for (const char* name : {"id", "name", "uri"})
        EXPECT_TRUE(XObjectBase::isXObjectAttribute(name)) << name;
    for (const char* name : {"ID", "Name", "URI", "description", "", "id ", "ids"})
        EXPECT_FALSE(XObjectBase::isXObjectAttribute(name)) << name;
}

TEST_F(XObjectBaseNumber, StaysAsItIsWhenThereIsNothingToInitialize)
{
    Numbered object(7);
    object.initialize();
    EXPECT_EQ(object.id(), 7);
    EXPECT_THAT(Numbered::known(), IsEmpty());
}

TEST_F(XObjectBaseNumber, IsNoneByDefaultAndThenTouchesNothing)
{
    Numbered::known().insert(INVALID_XOBJ_ID);
    {
        const Numbered object(INVALID_XOBJ_ID);
        EXPECT_EQ(object.id(), INVALID_XOBJ_ID);
    }
    EXPECT_THAT(Numbered::known(), ElementsAre(INVALID_XOBJ_ID));
    EXPECT_THAT(m_log.texts(), IsEmpty());
}

TEST_F(XObjectBaseNumber, IsNotRecordedByConstruction)
{
    const Numbered object(5);
    const Numbered namesake(5);
    EXPECT_EQ(object.id(), 5);
    EXPECT_EQ(namesake.id(), 5);
    EXPECT_THAT(Numbered::known(), IsEmpty());
    EXPECT_THAT(m_log.texts(), IsEmpty());
}

TEST_F(XObjectBaseNumber, IsTakenWithANoticeWhenRecorded)
{
    const Numbered original(5);
    const Numbered copy(original);
    const Numbered duplicate(5);
    EXPECT_EQ(duplicate.id(), 5);
    ASSERT_THAT(m_log.texts(), ElementsAre(DUPLICATE));
    EXPECT_EQ(m_log.records()[0].priority, Poco::Message::PRIO_NOTICE);
    EXPECT_EQ(m_log.records()[0].source, "XObjectBase.cpp");
}

TEST_F(XObjectBaseNumber, IsRecordedOncePerCopyAndForgottenWithTheFirstToDie)
{
    const Numbered a(5);
    {
        const Numbered b(a);
        const Numbered c(b);
        EXPECT_EQ(b.id(), 5);
        EXPECT_EQ(Numbered::known().count(5), 2U);
    }
    EXPECT_THAT(Numbered::known(), IsEmpty());

    auto* b = new Numbered(a);
    const Numbered c(a);
    EXPECT_EQ(Numbered::known().count(5), 2U);
    delete b;
    EXPECT_THAT(Numbered::known(), IsEmpty()) << "though two objects of that number live on";
    EXPECT_EQ(c.id(), 5);
    EXPECT_THAT(m_log.texts(), IsEmpty());
}

TEST_F(XObjectBaseNumber, IsRecordedByACopyEvenIfThereIsNone)
{
    {
        const Numbered none(INVALID_XOBJ_ID);
        const Numbered copy(none);
        EXPECT_EQ(copy.id(), INVALID_XOBJ_ID);
    }
    EXPECT_THAT(Numbered::known(), ElementsAre(INVALID_XOBJ_ID)) << "and never removed";
}

TEST_F(XObjectBaseNumber, IsGivenUpAndCopiedByAssignment)
{
    const Numbered source(5);
    Numbered target(7);
    const Numbered recordOfTheTarget(target);
    ASSERT_THAT(Numbered::known(), ElementsAre(7));
    target = source;
    EXPECT_EQ(target.id(), 5);
    EXPECT_EQ(source.id(), 5);
    EXPECT_THAT(Numbered::known(), ElementsAre(5));
    Numbered another(8);
    another = source;
    EXPECT_EQ(Numbered::known().count(5), 2U);
    EXPECT_THAT(m_log.texts(), IsEmpty()) << "though the number was recorded already";
}

TEST_F(XObjectBaseNumber, IsLostWhenAssignedToItself)
{
    Numbered object(5);
    Numbered& self = object;
    object = self;
    EXPECT_EQ(object.id(), INVALID_XOBJ_ID);
    EXPECT_THAT(Numbered::known(), ElementsAre(INVALID_XOBJ_ID));

    Numbered::known().clear();
    Numbered moved(6);
    Numbered& alsoMoved = moved;
    moved = std::move(alsoMoved);
    EXPECT_EQ(moved.id(), INVALID_XOBJ_ID);
    EXPECT_THAT(Numbered::known(), IsEmpty());
}

TEST_F(XObjectBaseNumber, MovesWithoutARecord)
{
    Numbered source(5);
    {
        const Numbered target(std::move(source));
        EXPECT_EQ(target.id(), 5);
        EXPECT_EQ(source.id(), INVALID_XOBJ_ID);
        EXPECT_THAT(Numbered::known(), IsEmpty());
    }
    EXPECT_THAT(m_log.texts(), IsEmpty());
}

TEST_F(XObjectBaseNumber, MovesWithANoticeWhenRecordedAndIsForgottenThen)
{
    const Numbered original(5);
    Numbered copy(original);
    const Numbered another(original);
    ASSERT_EQ(Numbered::known().count(5), 2U);
    const Numbered target(std::move(copy));
    EXPECT_EQ(target.id(), 5);
    EXPECT_EQ(copy.id(), INVALID_XOBJ_ID);
    EXPECT_THAT(m_log.texts(), ElementsAre(DUPLICATE));
    EXPECT_THAT(Numbered::known(), IsEmpty());
}

TEST_F(XObjectBaseNumber, MovesByAssignment)
{
    Numbered source(5);
    Numbered target(7);
    const Numbered recordOfTheTarget(target);
    const Numbered recordOfTheSource(source);
    target = std::move(source);
    EXPECT_EQ(target.id(), 5);
    EXPECT_EQ(source.id(), INVALID_XOBJ_ID);
    EXPECT_THAT(Numbered::known(), IsEmpty());
    EXPECT_THAT(m_log.texts(), ElementsAre(DUPLICATE));
}

TEST_F(XObjectBaseNumber, StaysWithTheTargetWhenAMovedObjectDies)
{
    auto source = std::make_unique<Numbered>(5);
    const Numbered target(std::move(*source));
    const Numbered copy(target);
    source.reset();
    EXPECT_EQ(target.id(), 5);
    EXPECT_THAT(Numbered::known(), ElementsAre(5));
}

TEST_F(XObjectBaseNumber, CanBeReset)
{
    Numbered object(5);
    const Numbered copy(object);
    object.resetId(8);
    EXPECT_EQ(object.id(), 8);
    EXPECT_THAT(Numbered::known(), IsEmpty()) << "the old one is forgotten, the new one not recorded";
    object.resetId(INVALID_XOBJ_ID);
    EXPECT_EQ(object.id(), INVALID_XOBJ_ID);

    Numbered recorded(8);
    const Numbered record(recorded);
    object.resetId(8);
    EXPECT_EQ(object.id(), 8);
    EXPECT_THAT(m_log.texts(), ElementsAre(DUPLICATE));
    // The own number is given up before the new one is looked at.
    recorded.resetId(8);
    EXPECT_EQ(m_log.texts().size(), 1U);
}

// The one test that asks for numbers: which comes next depends on what was given before.
TEST_F(XObjectBaseNumber, IsSelectedAnewOnlyOnceItIsRecorded)
{
    EXPECT_EQ(Numbered::selectNextId(), 0);
    EXPECT_EQ(Numbered::selectNextId(), 0);
    const Numbered zero(0);
    EXPECT_EQ(Numbered::selectNextId(), 0) << "an object alone does not record it";
    {
        const Numbered copy(zero);
        EXPECT_EQ(Numbered::selectNextId(), 1);
        EXPECT_THAT(Numbered::known(), ElementsAre(0)) << "what was selected is not recorded";
    }
    EXPECT_EQ(Numbered::selectNextId(), 1) << "a number that has become free again is not gone back to";
    Numbered::known().insert({1, 2, 4});
    EXPECT_EQ(Numbered::selectNextId(), 3);
    EXPECT_THAT(Numbered::known(), UnorderedElementsAre(1, 2, 4));
}

TEST_F(XObjectBaseNumber, IsSelectedAndGivenUpOnSeveralThreads)
{
    // None of these is ever the next number, so that the order of the tests does not matter.
    const std::size_t objectsOfAThread = 500;
    std::array<std::vector<std::unique_ptr<Numbered>>, 4> objects;
    XObjectId number = 1000000;
    for (auto& ofAThread : objects) {
        while (ofAThread.size() < objectsOfAThread) {
            Numbered::known().insert(++number);
            ofAThread.push_back(std::make_unique<Numbered>(number));
        }
    }
    ASSERT_EQ(Numbered::known().size(), objects.size() * objectsOfAThread);
    std::vector<std::future<void>> threads;
    for (auto& ofAThread : objects) {
        threads.push_back(std::async(std::launch::async, [&ofAThread] {
            for (auto& object : ofAThread) {
                EXPECT_NE(Numbered::selectNextId(), object->id());
                object.reset();
            }
        }));
    }
    for (auto& thread : threads)
        thread.get();
    EXPECT_THAT(Numbered::known(), IsEmpty());
}

TEST(XObjectBaseOrder, GoesByNameAndThenByUuid)
{
    struct Row {
        Numbered left;
        Numbered right;
        bool less;
        bool greater;
        bool equal;
    };
    const XObjectId none = INVALID_XOBJ_ID;
    const Row rows[] = {
        // Different names decide, whatever the UUIDs.
        {Numbered(none, "a", HIGH_UUID), Numbered(none, "b", LOW_UUID), true, false, false},
        {Numbered(none, "b", LOW_UUID), Numbered(none, "a", HIGH_UUID), false, true, false},
        {Numbered(none, "B", LOW_UUID), Numbered(none, "a", LOW_UUID), true, false, true},
        // Equal names leave it to the UUIDs.
        {Numbered(none, "a", LOW_UUID), Numbered(none, "a", HIGH_UUID), true, false, false},
        {Numbered(none, "a", HIGH_UUID), Numbered(none, "a", LOW_UUID), false, true, false},
        // Equality knows the UUID alone, and never the number.
        {Numbered(1, "a", LOW_UUID), Numbered(2, "b", LOW_UUID), true, false, true},
        {Numbered(1, "a", LOW_UUID), Numbered(1, "a", HIGH_UUID), true, false, false},
        {Numbered(none, "a", LOW_UUID), Numbered(none, "a", LOW_UUID), false, false, true},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.left.getName() + " " + row.left.getId().toString() + " and " + row.right.getName() +
                     " " + row.right.getId().toString());
        const XObjectBase& left = row.left;
        const XObjectBase& right = row.right;
        EXPECT_EQ(left < right, row.less);
        EXPECT_EQ(left > right, row.greater);
        EXPECT_EQ(left == right, row.equal);
        EXPECT_EQ(left != right, !row.equal);
    }
}

/// Equal to everything.
class Equal : public Numbered
{
public:
    using Numbered::Numbered;
    bool operator==(const XObjectBase&) const override { return true; }
};

TEST(XObjectBaseOrder, NegatesTheOverriddenEquality)
{
    const Equal equal(INVALID_XOBJ_ID, "a", LOW_UUID);
    const Numbered other(INVALID_XOBJ_ID, "a", HIGH_UUID);
    EXPECT_FALSE(static_cast<const XObjectBase&>(equal) != other);
}

} // namespace

} // namespace Zovi::Data
