#include "Data/AttributeContainer.h"

#include "Data/XObjectBase.h"
#include "JsonMatchers.h"
#include "LogCapture.h"

#include <gmock/gmock.h>

#include <limits>
#include <type_traits>

namespace Zovi::Data
{

namespace
{

using Test::compact;
using Test::IsJson;
using Test::LogCapture;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::IsNull;
using ::testing::NotNull;
using Text = AttributeValueStringable<std::string>;
using Uri = AttributeValueStringable<Poco::URI>;
using Uuid = AttributeValueStringable<Poco::UUID>;
using Integer = AttributeValueInteger;
using TextAttribute = Attribute<Text>;
using IntegerAttribute = Attribute<Integer>;

static_assert(!std::is_polymorphic_v<AttributeContainer>);
static_assert(std::is_same_v<AttributeMap, std::map<std::string, AttributeBase::Ptr>>);

const std::string UUID_TEXT = "11111111-2222-3333-4444-555555555555";

/// Holds a text in another layer than `Text` does.
class PlainText : public AttributeValue<std::string, AttributeValueBase>
{
public:
    PlainText(const std::string& text)
        : AttributeValue(text)
    {
    }
};

/// Renders the level that it was given.
class LevelValue : public Integer
{
public:
    using Integer::Integer;
    Poco::Dynamic::Var toJSON(int level) const override { return level; }
};

/// The same as a text.
class LevelText : public Text
{
public:
    using Text::Text;
    Poco::Dynamic::Var toJSON(int level) const override { return level; }
};

AttributeBase::Ptr text(XObjectId parent, const std::string& name, const std::string& value)
{
    return new TextAttribute(parent, name, value);
}

AttributeBase::Ptr emptyText(XObjectId parent, const std::string& name)
{
    TextAttribute* attribute = new TextAttribute(parent, name, "");
    const TextAttribute taken(std::move(*attribute));
    return attribute;
}

template <typename Exception, typename Call>
std::string thrown(Call call)
{
    try {
        call();
    } catch (const Exception& error) {
        EXPECT_STREQ(error.className(), Exception().className()) << "this very class";
        return error.message();
    }
    return "nothing thrown";
}

AttributeContainer identified()
{
    AttributeContainer container(1);
    container.setValue("id", Uuid(Poco::UUID(UUID_TEXT)));
    container.setValue("name", Text("a"));
    container.setValue("uri", Uri(Poco::URI("/a")));
    container.setValue("level", LevelValue(0));
    return container;
}

TEST(AttributeContainer, StartsEmptyForItsOwner)
{
    const AttributeContainer container(9);
    EXPECT_EQ(container.parent(), 9);
    EXPECT_EQ(container.size(), 0U);
    EXPECT_THAT(container.getAttributes(), IsEmpty());
    EXPECT_EQ(container.begin(), container.end());
    AttributeContainer open(9);
    EXPECT_EQ(open.begin(), open.end());
}

TEST(AttributeContainer, TakesOverAMapWithItsKeys)
{
    const AttributeBase::Ptr own = text(9, "own", "a");
    AttributeMap map{{"key", own}};
    LogCapture log;
    const AttributeContainer container(9, std::move(map));
    EXPECT_THAT(log.texts(), IsEmpty());
    EXPECT_EQ(container.getAttribute("key").get(), own.get()) << "shared, not copied";
    EXPECT_FALSE(container.contains("own"));
}

TEST(AttributeContainer, CopiesAnAttributeOfAnotherOwnerAndWarns)
{
    const AttributeBase::Ptr foreign = text(5, "foreign", "a");
    LogCapture log;
    const AttributeContainer container(9, AttributeMap{{"key", foreign}});
    EXPECT_EQ(container.getAttribute("key")->parent(), 9);
    EXPECT_NE(container.getAttribute("key").get(), foreign.get());
    EXPECT_EQ(foreign->parent(), 5);
    ASSERT_THAT(log.texts(),
                ElementsAre("Warning: AttributeContainer is initialized with Attribute 'foreign' of an "
                            "unrelated XObject. Attribute is copied and fixed"));
    EXPECT_EQ(log.records()[0].priority, Poco::Message::PRIO_WARNING);
    EXPECT_EQ(log.records()[0].source, "AttributeContainer.cpp");
}

TEST(AttributeContainer, DropsSingleNullEntries)
{
    const auto keysOf = [](AttributeMap map) {
        const AttributeContainer container(9, std::move(map));
        std::vector<std::string> keys;
        for (const auto& entry : container)
            keys.push_back(entry.first);
        return keys;
    };
    EXPECT_THAT(keysOf({{"a", nullptr}}), IsEmpty());
    EXPECT_THAT(keysOf({{"a", nullptr}, {"b", text(9, "b", "")}}), ElementsAre("b"));
    EXPECT_THAT(keysOf({{"a", text(9, "a", "")}, {"b", nullptr}}), ElementsAre("a"));
    EXPECT_THAT(keysOf({{"a", nullptr}, {"b", text(9, "b", "")}, {"c", nullptr}}), ElementsAre("b"));
}

TEST(AttributeContainer, ChecksTheEntryBehindANullEntry)
{
    LogCapture log;
    const AttributeContainer container(9, AttributeMap{{"a", nullptr}, {"b", text(5, "b", "")}});
    EXPECT_EQ(container.getAttribute("b")->parent(), 9);
    EXPECT_EQ(log.texts().size(), 1U);
}

TEST(AttributeContainer, RefusesTwoNullEntriesInARow)
{
    AttributeBase::Ptr kept = text(9, "a", "");
    AttributeMap map{{"a", kept}, {"b", nullptr}, {"c", nullptr}};
    EXPECT_THROW(AttributeContainer(9, std::move(map)), Poco::NullPointerException);
    EXPECT_EQ(kept.referenceCount(), 1) << "the entries are gone with the container";
}

TEST(AttributeContainer, RefusesAnEmptyAttributeOfAnotherOwner)
{
    LogCapture log;
    EXPECT_EQ(thrown<Poco::InvalidAccessException>([] {
                  AttributeContainer(9, AttributeMap{{"key", emptyText(5, "port")}});
              }),
              "attribute port is not set");
    EXPECT_THAT(log.texts(), ElementsAre(HasSubstr("'port' of an unrelated XObject")));

    const AttributeContainer container(9, AttributeMap{{"key", emptyText(9, "port")}});
    EXPECT_TRUE(container.contains("key")) << "an empty one of its own is none of the copy's business";
}

TEST(AttributeContainer, SharesItsAttributesWithAPlainCopy)
{
    AttributeContainer source(9);
    source.setValue("a", Integer(1));
    const AttributeContainer copy(source);
    EXPECT_EQ(copy.parent(), 9);
    EXPECT_EQ(copy.getAttribute("a").get(), source.getAttribute("a").get());
    AttributeContainer assigned(5);
    assigned = source;
    EXPECT_EQ(assigned.parent(), 9);
    EXPECT_EQ(assigned.getAttribute("a").get(), source.getAttribute("a").get());
    source.setAttribute(IntegerAttribute(9, "a", 2));
    EXPECT_EQ(copy.getValue<Integer>("a").get(), 2);

    const AttributeContainer moved(std::move(assigned));
    EXPECT_EQ(moved.parent(), 9);
    EXPECT_EQ(moved.size(), 1U);
}

TEST(AttributeContainer, CopiesDeeplyForTheSameOrAnotherOwner)
{
    AttributeContainer source(9, AttributeMap{{"key", text(9, "own", "a")}});
    const AttributeContainer same = AttributeContainer::deepCopy(source);
    const AttributeContainer other = AttributeContainer::deepCopy(7, source.getAttributes());
    EXPECT_EQ(same.parent(), 9);
    EXPECT_EQ(other.parent(), 7);
    for (const AttributeContainer* copy : {&same, &other}) {
        EXPECT_EQ(copy->size(), 1U);
        EXPECT_EQ(copy->getAttribute("key")->getName(), "own");
        EXPECT_EQ(copy->getAttribute("key")->parent(), copy->parent());
        EXPECT_NE(copy->getAttribute("key").get(), source.getAttribute("key").get());
    }
    source.getValue("key")->setValue(Text("changed"));
    EXPECT_EQ(same.getValue<Text>("key").get(), "a");
}

TEST(AttributeContainer, CannotCopyNullEntriesOrEmptyAttributes)
{
    EXPECT_THROW(AttributeContainer::deepCopy(9, AttributeMap{{"a", nullptr}}), Poco::NullPointerException);
    EXPECT_EQ(thrown<Poco::InvalidAccessException>([] {
                  AttributeContainer::deepCopy(9, AttributeMap{{"a", emptyText(9, "port")}});
              }),
              "attribute port is not set");
}

TEST(AttributeContainer, FindsAttributesByName)
{
    AttributeContainer container(9, AttributeMap{{"a", text(9, "a", "1")}, {"empty", emptyText(9, "empty")}});
    EXPECT_TRUE(container.contains("a"));
    EXPECT_TRUE(container.contains("empty"));
    EXPECT_FALSE(container.contains("b"));
    EXPECT_FALSE(container.contains("A"));
    EXPECT_EQ(container.size(), 2U);
    EXPECT_THAT(container.getAttribute("a").get(), NotNull());
    EXPECT_THAT(container.getAttribute("b").get(), IsNull());
    EXPECT_THAT(container.getValue("b"), IsNull());
    EXPECT_THAT(container.getValue("empty"), IsNull());
    EXPECT_EQ(container.getValue("a"), container.getAttribute("a")->getValueBase());
    EXPECT_EQ(container.getValue<Text>("a").get(), "1");
    EXPECT_EQ(container.getValue<AttributeValueStringableBase>("a").toString(), "1");
}

TEST(AttributeContainer, TellsWhyATypedValueCannotBeRead)
{
    AttributeContainer container(9, AttributeMap{{"a", text(9, "a", "1")}, {"empty", emptyText(9, "empty")}});
    const auto reading = [&](const std::string& name) {
        return thrown<Poco::InvalidAccessException>([&] { container.getValue<Integer>(name); });
    };
    EXPECT_EQ(reading("b"), "Attribute b is not set");
    EXPECT_EQ(reading("empty"), "Attribute empty is not set");
    EXPECT_EQ(reading("a"), "Invalid type for attribute a in AttributeContainer");
}

TEST(AttributeContainer, RaisesOnReadingANullEntry)
{
    AttributeContainer container(9);
    container.setValue("a", Integer(1));
    container.begin()->second = nullptr;
    EXPECT_TRUE(container.contains("a"));
    EXPECT_THAT(container.getAttribute("a").get(), IsNull());
    EXPECT_THROW(container.getValue("a"), Poco::NullPointerException);
    EXPECT_THROW(container.getValue<Integer>("a"), Poco::NullPointerException);
}

TEST(AttributeContainer, RemovesEntries)
{
    AttributeContainer container(9);
    container.setValue("a", Integer(1));
    container.setValue("b", Integer(2));
    container.setValue("c", Integer(3));
    container.removeValue("absent");
    EXPECT_EQ(container.size(), 3U);
    container.removeValue("a");
    EXPECT_FALSE(container.contains("a"));
    EXPECT_EQ(container.size(), 2U);
    container.clear();
    EXPECT_EQ(container.size(), 0U);
}

TEST(AttributeContainer, StoresACopyOfAnAttributeItIsShown)
{
    AttributeContainer container(9);
    const TextAttribute attribute(9, "a", "1");
    EXPECT_TRUE(container.setAttribute(attribute));
    EXPECT_NE(container.getAttribute("a").get(), &attribute);
    EXPECT_TRUE(container.setAttribute(TextAttribute(5, "b", "2")));
    EXPECT_EQ(container.getAttribute("b")->parent(), 9);
}

TEST(AttributeContainer, DeletesByAnEmptyAttribute)
{
    AttributeContainer container(9);
    container.setValue("a", Integer(1));
    EXPECT_TRUE(container.setAttribute(*emptyText(9, "absent")));
    EXPECT_EQ(container.size(), 1U);
    EXPECT_TRUE(container.setAttribute(*emptyText(9, "a"))) << "whatever its type";
    EXPECT_EQ(container.size(), 0U);
}

TEST(AttributeContainer, DeletesByAnAttributeOfItsOwnThatWasEmptied)
{
    AttributeContainer container(9);
    container.setValue("a", Text("1"));
    auto& stored = dynamic_cast<TextAttribute&>(*container.begin()->second);
    const TextAttribute taken(std::move(stored));
    EXPECT_TRUE(container.setAttribute(stored));
    EXPECT_FALSE(container.contains("a"));
}

TEST(AttributeContainer, WritesIntoTheAttributeThatIsThere)
{
    AttributeContainer container(9);
    container.setValue("a", Text("1"));
    const AttributeBase::Ptr holder = container.getAttribute("a");
    const AttributeValueBase* value = holder->getValueBase();
    EXPECT_TRUE(container.setAttribute(TextAttribute(5, "a", "2")));
    EXPECT_EQ(container.getAttribute("a").get(), holder.get());
    EXPECT_EQ(holder->getValueBase(), value) << "the value object stays too";
    EXPECT_EQ(holder->parent(), 9);
    EXPECT_EQ(container.getValue<Text>("a").get(), "2");
    EXPECT_TRUE(container.setAttribute(*holder)) << "even from itself";
    EXPECT_EQ(container.getValue<Text>("a").get(), "2");
}

TEST(AttributeContainer, TakesAValueOfTheSameTypeByItsLayer)
{
    AttributeContainer container(9);
    container.setValue("number", Integer(1));
    container.setValue("text", Text("1"));
    LogCapture log;
    EXPECT_TRUE(container.setAttribute(Attribute<LevelValue>(9, "number", 2))) << "another class, same layer";
    EXPECT_EQ(container.getValue<Integer>("number").get(), 2);
    EXPECT_TRUE(container.setAttribute(Attribute<PlainText>(9, "text", "2")))
        << "though the layer refuses it";
    EXPECT_EQ(container.getValue<Text>("text").get(), "1");
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(AttributeContainer, RefusesAnotherValueTypeUnderAName)
{
    struct Row {
        AttributeBase::Ptr there;
        AttributeBase::Ptr offered;
    };
    const Row rows[] = {
        {new IntegerAttribute(9, "a", 1), text(9, "a", "2")},
        {text(9, "a", "/u"), new Attribute<Uri>(9, "a", Poco::URI("/u"))},
        {new Attribute<AttributeValueStringArray>(9, "a", AttributeValueStringArray()), text(9, "a", "2")},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.there->type().name());
        AttributeContainer container(9, AttributeMap{{"a", row.there}});
        LogCapture log;
        EXPECT_FALSE(container.setAttribute(*row.offered));
        ASSERT_THAT(log.texts(),
                    ElementsAre("Error: AttributeContainer::setAttribute - type conflict for attribute a"));
        EXPECT_EQ(log.records()[0].priority, Poco::Message::PRIO_ERROR);
        EXPECT_EQ(container.getAttribute("a").get(), row.there.get());
        EXPECT_EQ(container.size(), 1U);
    }
    const LogCapture log;
    AttributeContainer container(9);
    container.setValue("a", Integer(1));
    EXPECT_FALSE(container.setAttribute(TextAttribute(9, "a", "2")));
    EXPECT_EQ(container.getValue<Integer>("a").get(), 1);
}

TEST(AttributeContainer, RaisesOnWritingIntoAnEmptyAttribute)
{
    AttributeContainer container(9, AttributeMap{{"a", emptyText(9, "a")}});
    EXPECT_THROW(container.setAttribute(TextAttribute(9, "a", "2")), Poco::NullPointerException);
}

TEST(AttributeContainer, ReplacesANullEntryByACopy)
{
    AttributeContainer container(9);
    container.setValue("a", Integer(1));
    container.begin()->second = nullptr;
    const TextAttribute attribute(9, "a", "2");
    EXPECT_TRUE(container.setAttribute(attribute));
    EXPECT_EQ(container.getValue<Text>("a").get(), "2");
    EXPECT_NE(container.getAttribute("a").get(), &attribute);
}

TEST(AttributeContainer, TakesOverAPointerToAnAttributeOfItsOwner)
{
    AttributeContainer container(9);
    AttributeBase::Ptr pointer = text(9, "a", "1");
    const AttributeBase* object = pointer.get();
    EXPECT_TRUE(container.setAttribute(std::move(pointer)));
    EXPECT_THAT(pointer.get(), IsNull());
    EXPECT_EQ(container.getAttribute("a").get(), object);
}

TEST(AttributeContainer, CopiesFromAPointerThatItCannotTakeOver)
{
    AttributeContainer container(9);
    AttributeBase::Ptr foreign = text(5, "a", "1");
    const AttributeBase::Ptr alsoForeign = foreign;
    EXPECT_TRUE(container.setAttribute(std::move(foreign)));
    EXPECT_THAT(foreign.get(), IsNull());
    EXPECT_NE(container.getAttribute("a").get(), alsoForeign.get());
    EXPECT_EQ(container.getAttribute("a")->parent(), 9);

    const AttributeBase::Ptr stored = container.getAttribute("a");
    AttributeBase::Ptr present = text(9, "a", "2");
    EXPECT_TRUE(container.setAttribute(std::move(present)));
    EXPECT_THAT(present.get(), IsNull());
    EXPECT_EQ(container.getAttribute("a").get(), stored.get());
    EXPECT_EQ(container.getValue<Text>("a").get(), "2");

    for (const char* name : {"a", "absent"}) {
        AttributeBase::Ptr empty = emptyText(9, name);
        EXPECT_TRUE(container.setAttribute(std::move(empty)));
        EXPECT_THAT(empty.get(), IsNull());
        EXPECT_FALSE(container.contains(name));
    }
}

TEST(AttributeContainer, FillsANullEntryByACopyOfWhatAPointerHolds)
{
    AttributeContainer container(9);
    container.setValue("a", Integer(1));
    container.begin()->second = nullptr;
    AttributeBase::Ptr pointer = text(9, "a", "1");
    const AttributeBase::Ptr held = pointer;
    EXPECT_TRUE(container.setAttribute(std::move(pointer)));
    EXPECT_THAT(pointer.get(), IsNull());
    EXPECT_NE(container.getAttribute("a").get(), held.get());
    EXPECT_EQ(container.getValue<Text>("a").get(), "1");
}

TEST(AttributeContainer, LeavesAPointerAloneThatItRefuses)
{
    AttributeContainer container(9);
    container.setValue("a", Integer(1));
    LogCapture log;
    AttributeBase::Ptr conflicting = text(9, "a", "1");
    const AttributeBase* object = conflicting.get();
    EXPECT_FALSE(container.setAttribute(std::move(conflicting)));
    EXPECT_EQ(conflicting.get(), object);
    EXPECT_THAT(log.texts(),
                ElementsAre("Error: AttributeContainer::setAttribute - type conflict for attribute a"));
}

TEST(AttributeContainer, RefusesANullPointerInSilence)
{
    AttributeContainer container(9);
    LogCapture log;
    EXPECT_FALSE(container.setAttribute(AttributeBase::Ptr()));
    EXPECT_EQ(container.size(), 0U);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(AttributeContainer, SetsTypedValues)
{
    AttributeContainer container(9);
    container.setValue("a", Integer(1));
    const AttributeBase::Ptr attribute = container.getAttribute("a");
    EXPECT_EQ(attribute->parent(), 9);
    EXPECT_EQ(attribute->getName(), "a");
    const Integer two(2);
    container.setValue("a", two);
    EXPECT_EQ(container.getAttribute("a").get(), attribute.get());
    EXPECT_EQ(container.getValue<Integer>("a").get(), 2);
    container.setValue<Integer>("a", 3);
    EXPECT_EQ(container.getValue<Integer>("a").get(), 3);
}

TEST(AttributeContainer, SetsATypedValueInPlaceOfANullEntry)
{
    AttributeContainer container(9);
    container.setValue("a", Integer(1));
    container.begin()->second = nullptr;
    container.setValue("a", Text("1"));
    EXPECT_EQ(container.getValue<Text>("a").get(), "1");
}

TEST(AttributeContainer, RaisesOnATypedValueOfAnotherClass)
{
    AttributeContainer container(9);
    container.setValue("a", Integer(1));
    LogCapture log;
    EXPECT_EQ(thrown<Poco::InvalidAccessException>([&] { container.setValue("a", Text("2")); }),
              "Invalid type for attribute a in AttributeContainer");
    // The same value type is not enough: the class counts.
    EXPECT_EQ(thrown<Poco::InvalidAccessException>([&] { container.setValue("a", LevelValue(2)); }),
              "Invalid type for attribute a in AttributeContainer");
    EXPECT_EQ(container.getValue<Integer>("a").get(), 1);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(AttributeContainer, RendersExactlyTheIdentityAtANegativeLevel)
{
    const AttributeContainer container = identified();
    for (int level : {-1, -5, std::numeric_limits<int>::min()}) {
        SCOPED_TRACE(level);
        EXPECT_THAT(compact(container.toJSON(level)),
                    IsJson(R"({"id":")" + UUID_TEXT + R"(","name":"a","uri":"/a"})"));
    }
}

TEST(AttributeContainer, RendersEveryAttributeOneLevelDown)
{
    const AttributeContainer container = identified();
    for (int level : {0, 1, 3}) {
        SCOPED_TRACE(level);
        EXPECT_THAT(compact(container.toJSON(level)),
                    IsJson(R"({"id":")" + UUID_TEXT + R"(","level":)" + std::to_string(level - 1) +
                           R"(,"name":"a","uri":"/a"})"));
    }
    EXPECT_NE(container.toJSON(0).get(), container.toJSON(0).get()) << "a new object each time";
}

TEST(AttributeContainer, RendersUnderTheKeysAndLeavesOutEmptyAttributes)
{
    const AttributeContainer container(
        9, AttributeMap{{"key", text(9, "own", "1")}, {"empty", emptyText(9, "empty")}});
    EXPECT_EQ(compact(container.toJSON(0)), R"({"key":"1"})");
    EXPECT_EQ(compact(container.toJSON(std::vector<std::string>{"empty"})), R"({"key":"1"})");
    EXPECT_EQ(compact(AttributeContainer(9).toJSON(0)), "{}");
}

TEST(AttributeContainer, CannotRenderAnIdentityThatIsNotThere)
{
    AttributeContainer container(9);
    const auto rendering = [&] {
        return thrown<Poco::InvalidAccessException>([&] { container.toJSON(-1); });
    };
    EXPECT_EQ(rendering(), "Attribute id is not set");
    container.setValue("id", Uuid(Poco::UUID(UUID_TEXT)));
    EXPECT_EQ(rendering(), "Attribute name is not set");
    container.setValue("name", Text("a"));
    EXPECT_EQ(rendering(), "Attribute uri is not set");
    EXPECT_NO_THROW(container.toJSON(0));
    for (const char* key : {"uri", "name", "id"}) {
        container.removeValue(key);
        container.setValue(key, Integer(1));
        EXPECT_EQ(rendering(), std::string("Invalid type for attribute ") + key + " in AttributeContainer");
    }
}

TEST(AttributeContainer, RendersItsIdentityAtTheLevelGiven)
{
    AttributeContainer container = identified();
    container.removeValue("name");
    container.setValue("name", LevelText("a"));
    EXPECT_THAT(compact(container.toJSON(-5)),
                IsJson(R"({"id":")" + UUID_TEXT + R"(","name":-5,"uri":"/a"})"));
}

TEST(AttributeContainer, RendersIntoAnObjectThatSortsItsKeys)
{
    const AttributeContainer container = identified();
    for (Poco::JSON::Object::Ptr object :
         {container.toJSON(-1), container.toJSON(0), container.toJSON(std::vector<std::string>{})}) {
        object->set("a", 1);
        EXPECT_EQ(object->getNames().front(), "a");
        EXPECT_FALSE(object->getEscapeUnicode());
    }
}

TEST(AttributeContainer, RendersEveryAttributeWhateverTheFields)
{
    AttributeContainer container(9, AttributeMap{{"key", new Attribute<LevelValue>(9, "own", 0)}});
    container.setValue("other", LevelValue(0));
    const auto rendered = [&](const std::vector<std::string>& fields) {
        return compact(container.toJSON(fields));
    };
    EXPECT_EQ(rendered({}), R"({"key":-1,"other":-1})");
    EXPECT_EQ(rendered({"other"}), R"({"key":-1,"other":0})");
    EXPECT_EQ(rendered({"own", "absent"}), R"({"key":0,"other":-1})")
        << "by the attribute's name, not the key";
    EXPECT_EQ(rendered({"key", "OTHER"}), R"({"key":-1,"other":-1})");
}

TEST(AttributeContainer, RaisesABugCheckOnRenderingANullEntry)
{
    AttributeContainer container = identified();
    container.begin()->second = nullptr;
    EXPECT_THROW(container.toJSON(0), Poco::BugcheckException);
    EXPECT_THROW(container.toJSON(std::vector<std::string>{}), Poco::BugcheckException);
    try {
        container.toJSON(0);
    } catch (const Poco::BugcheckException& error) {
        EXPECT_THAT(error.message(), HasSubstr("AttributeContainer.cpp"));
    }
}

} // namespace

} // namespace Zovi::Data
