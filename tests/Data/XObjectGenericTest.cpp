#include "Data/XObjectGeneric.h"

#include "JsonMatchers.h"
#include "KeptObject.h"
#include "LogCapture.h"

#include <gmock/gmock.h>

#include <type_traits>

namespace Zovi::Data
{

namespace
{

using Test::compact;
using Test::IsJson;
using Test::KeptObject;
using Test::LogCapture;
using ::testing::IsEmpty;
using ::testing::IsNull;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;
using Text = AttributeValueStringable<std::string>;
using Integer = AttributeValueInteger;

static_assert(std::is_same_v<XObjectGeneric, GenericObject<XObjectBase>>);
static_assert(std::is_base_of_v<XObjectBase, XObjectGeneric>);

const std::string UUID_TEXT = "11111111-2222-3333-4444-555555555555";
const XObjectId NONE = INVALID_XOBJ_ID;

/// Shows the owner that the container names.
class Owned : public XObjectGeneric
{
public:
    using XObjectGeneric::XObjectGeneric;
    XObjectId owner() const { return m_attrContainer.parent(); }
};

XObjectGeneric sample(XObjectId id = NONE)
{
    return XObjectGeneric("a", Poco::UUID(UUID_TEXT), Poco::URI("/x/" + UUID_TEXT), id);
}

template <typename Exception, typename Call>
std::string thrown(Call call)
{
    try {
        call();
    } catch (const Exception& error) {
        return error.message();
    }
    return "nothing thrown";
}

TEST(XObjectGeneric, StartsWithoutAttributes)
{
    const Owned object(5);
    EXPECT_EQ(object.id(), 5);
    EXPECT_EQ(object.owner(), 5);
    EXPECT_EQ(object.size(), 0U);
    EXPECT_THAT(object.getAttributes(), IsEmpty());
}

TEST(XObjectGeneric, IsIdentifiedByNameUuidAndUri)
{
    const XObjectGeneric objects[] = {
        XObjectGeneric("a", Poco::UUID(UUID_TEXT), Poco::URI("http://host/x/" + UUID_TEXT + "/y"), 5),
        XObjectGeneric("a", UUID_TEXT, "http://host/x/" + UUID_TEXT + "/y", 5),
    };
    for (const XObjectGeneric& object : objects) {
        EXPECT_EQ(object.id(), 5);
        EXPECT_EQ(object.size(), 3U);
        EXPECT_EQ(object.getName(), "a");
        EXPECT_EQ(object.getId().toString(), UUID_TEXT);
        EXPECT_EQ(object.getUri().toString(), "http://host/x/" + UUID_TEXT + "/y");
        EXPECT_EQ(object.getAttribute("id")->parent(), 5);
    }
}

TEST(XObjectGeneric, RefusesAUriWhosePathLacksTheUuid)
{
    const Poco::UUID uuid(UUID_TEXT);
    for (const std::string& uri : {std::string("/x"), std::string("http://host"), "/x?id=" + UUID_TEXT,
                                   "#" + UUID_TEXT, std::string("/11111111-2222-3333-4444-55555555555")}) {
        SCOPED_TRACE(uri);
        EXPECT_EQ(thrown<Poco::DataException>([&] { XObjectGeneric("a", uuid, Poco::URI(uri), NONE); }),
                  "Invalid XObject - URI and UUID mismatch");
        EXPECT_EQ(thrown<Poco::DataException>([&] { XObjectGeneric("a", UUID_TEXT, uri, NONE); }),
                  "Invalid XObject - URI and UUID mismatch");
    }
}

TEST(XObjectGeneric, TakesAnEmptyUriUnchecked)
{
    const XObjectGeneric object("a", Poco::UUID(UUID_TEXT), Poco::URI(), NONE);
    EXPECT_TRUE(object.hasValue("uri"));
    EXPECT_TRUE(object.getUri().empty());
    EXPECT_TRUE(XObjectGeneric("a", UUID_TEXT, "", NONE).hasValue("uri"));
}

TEST(XObjectGeneric, PassesOnWhatUuidAndUriRefuse)
{
    EXPECT_THROW(XObjectGeneric("a", std::string("no uuid"), std::string(), NONE), Poco::SyntaxException);
    EXPECT_THROW(XObjectGeneric("a", UUID_TEXT, "http://host:port/" + UUID_TEXT, NONE),
                 Poco::SyntaxException);
    // The UUID is read first.
    EXPECT_EQ(
        thrown<Poco::SyntaxException>([] { XObjectGeneric("a", "no uuid", "http://host:port/", NONE); }),
        thrown<Poco::SyntaxException>([] { Poco::UUID("no uuid"); }));
    XObjectGeneric object(NONE);
    EXPECT_THROW(object.setId(std::string("no uuid")), Poco::SyntaxException);
    EXPECT_THROW(object.setUri(std::string("http://host:port/")), Poco::SyntaxException);
}

TEST(XObjectGeneric, ForwardsToItsAttributes)
{
    XObjectGeneric object(9);
    object.setValue<Integer>("size", 1);
    object.setValue<Attribute<Text>>("text", "b");
    EXPECT_EQ(object.size(), 2U);
    EXPECT_TRUE(object.hasValue("size"));
    EXPECT_FALSE(object.hasValue("absent"));
    EXPECT_EQ(object.getValue("size")->convert<Integer>()->get(), 1);
    EXPECT_THAT(object.getValue("absent"), IsNull());
    EXPECT_EQ(object.getAttribute("size").get(), object.getAttributesRef().at("size").get());
    EXPECT_THAT(object.getAttribute("absent").get(), IsNull());
    EXPECT_THAT(object.getAttributes(), UnorderedElementsAre(Pair("size", object.getAttribute("size")),
                                                             Pair("text", object.getAttribute("text"))));
    EXPECT_EQ(&object.getAttributesRef(), &object.getAttributesRef());

    object.removeValue("size");
    EXPECT_FALSE(object.hasValue("size"));
    object.removeValue("absent");
    EXPECT_EQ(object.size(), 1U);
}

TEST(XObjectGeneric, SetsAttributesInBothForms)
{
    XObjectGeneric object(9);
    EXPECT_TRUE(object.setAttribute(Attribute<Integer>(9, "a", 1)));
    AttributeBase::Ptr pointer = new Attribute<Integer>(9, "b", 2);
    const AttributeBase* attribute = pointer.get();
    EXPECT_TRUE(object.setAttribute(std::move(pointer)));
    EXPECT_EQ(object.getAttribute("b").get(), attribute);
    const LogCapture log;
    EXPECT_FALSE(object.setAttribute(Attribute<Text>(9, "a", "text")));
    EXPECT_EQ(log.texts().size(), 1U);
}

TEST(XObjectGeneric, SetsItsIdentityWithoutBindingItTogether)
{
    XObjectGeneric object(NONE);
    object.setName("a");
    object.setId(UUID_TEXT);
    object.setUri(std::string("/elsewhere"));
    EXPECT_EQ(object.getName(), "a");
    EXPECT_EQ(object.getId().toString(), UUID_TEXT);
    EXPECT_EQ(object.getUri().toString(), "/elsewhere");
    object.setId(Poco::UUID::dns());
    object.setUri(Poco::URI("/b"));
    EXPECT_EQ(object.getId(), Poco::UUID::dns());
    EXPECT_EQ(object.getUri().toString(), "/b");
}

TEST(XObjectGeneric, TellsWhatIsMissingOrOfAnotherType)
{
    const XObjectGeneric bare(NONE);
    using Access = Poco::InvalidAccessException;
    EXPECT_EQ(thrown<Access>([&] { bare.getName(); }), "Attribute name is not set");
    EXPECT_EQ(thrown<Access>([&] { bare.getId(); }), "Attribute id is not set");
    EXPECT_EQ(thrown<Access>([&] { bare.getUri(); }), "Attribute uri is not set");

    XObjectGeneric mistyped(NONE);
    for (const char* name : {"name", "id", "uri"})
        mistyped.setValue<Integer>(name, 1);
    const std::string conflict[] = {"Invalid type for attribute name in AttributeContainer",
                                    "Invalid type for attribute id in AttributeContainer",
                                    "Invalid type for attribute uri in AttributeContainer"};
    EXPECT_EQ(thrown<Access>([&] { mistyped.getName(); }), conflict[0]);
    EXPECT_EQ(thrown<Access>([&] { mistyped.getId(); }), conflict[1]);
    EXPECT_EQ(thrown<Access>([&] { mistyped.getUri(); }), conflict[2]);
    EXPECT_EQ(thrown<Access>([&] { mistyped.setName("a"); }), conflict[0]);
    EXPECT_EQ(thrown<Access>([&] { mistyped.setId(UUID_TEXT); }), conflict[1]);
    EXPECT_EQ(thrown<Access>([&] { mistyped.setUri(Poco::URI("/a")); }), conflict[2]);
    EXPECT_EQ(thrown<Access>([&] { mistyped.setValue<Text>("name", "a"); }), conflict[0]);
}

TEST(XObjectGeneric, ComparesThroughItsAttributes)
{
    const XObjectGeneric object = sample();
    XObjectGeneric renamed(object);
    renamed.setName("b");
    EXPECT_TRUE(object == renamed);
    EXPECT_TRUE(object < renamed);
    EXPECT_THROW((void)(object == XObjectGeneric(NONE)), Poco::InvalidAccessException);
    EXPECT_THROW((void)(object < XObjectGeneric(NONE)), Poco::InvalidAccessException);
}

TEST(XObjectGeneric, RendersAsItsContainerDoes)
{
    XObjectGeneric object = sample();
    object.setValue<Integer>("size", 1);
    const std::string identity = R"("id":")" + UUID_TEXT + R"(","name":"a","uri":"/x/)" + UUID_TEXT + R"(")";
    EXPECT_THAT(compact(object.toJSON(-1)), IsJson("{" + identity + "}"));
    EXPECT_THAT(compact(object.toJSON(0)), IsJson("{" + identity + R"(,"size":1})"));
    EXPECT_THAT(compact(object.toJSON(std::vector<std::string>{"size"})),
                IsJson("{" + identity + R"(,"size":1})"));
    EXPECT_THROW(XObjectGeneric(NONE).toJSON(-1), Poco::InvalidAccessException);
}

TEST(XObjectGeneric, SharesNothingWithACopy)
{
    XObjectGeneric source = sample(5);
    const Owned fromBase(static_cast<const XObjectBase&>(source));
    const XObjectGeneric copy(source);
    XObjectGeneric assigned(7);
    assigned = source;
    source.setName("changed");
    for (const XObjectGeneric* target : {static_cast<const XObjectGeneric*>(&fromBase), &copy,
                                         static_cast<const XObjectGeneric*>(&assigned)}) {
        EXPECT_EQ(target->id(), 5);
        EXPECT_EQ(target->size(), 3U);
        EXPECT_EQ(target->getName(), "a");
        EXPECT_EQ(target->getAttribute("name")->parent(), 5);
    }
    EXPECT_EQ(fromBase.owner(), 5);
}

TEST(XObjectGeneric, CopiesForTheNumberThatTheSourceHasNow)
{
    Owned source(5);
    source.setName("a");
    const Owned thief(std::move(source));
    source.setName("b");
    EXPECT_EQ(source.getAttribute("name")->parent(), 5) << "the container keeps the owner it was made for";
    const Owned copy(static_cast<const XObjectBase&>(source));
    EXPECT_EQ(copy.id(), NONE);
    EXPECT_EQ(copy.owner(), NONE);
    EXPECT_EQ(copy.getAttribute("name")->parent(), NONE);
}

TEST(XObjectGeneric, TakesOverAttributesWithTheirOwner)
{
    Owned source(5);
    source.setName("a");
    const AttributeBase::Ptr name = source.getAttribute("name");
    Owned moved(std::move(source));
    EXPECT_EQ(moved.id(), 5);
    EXPECT_EQ(moved.owner(), 5);
    EXPECT_EQ(moved.getAttribute("name").get(), name.get());
    EXPECT_EQ(source.id(), NONE);
    EXPECT_EQ(source.size(), 0U);

    Owned assigned(7);
    assigned = std::move(moved);
    EXPECT_EQ(assigned.id(), 5);
    EXPECT_EQ(assigned.owner(), 5);
    EXPECT_EQ(assigned.getAttribute("name").get(), name.get());
}

TEST(XObjectGeneric, LosesItsNumberAndKeepsItsAttributesWhenAssignedToItself)
{
    XObjectGeneric object = sample(5);
    XObjectGeneric& self = object;
    object = self;
    EXPECT_EQ(object.id(), NONE);
    EXPECT_EQ(object.getName(), "a");
    object = std::move(self);
    EXPECT_EQ(object.id(), NONE);
    EXPECT_EQ(object.getName(), "a");
}

TEST(XObjectGeneric, BecomesAnObjectThatOnlyItsOwnAttributeKeeps)
{
    for (const bool isMoved : {false, true}) {
        SCOPED_TRACE(isMoved);
        XObjectGeneric object = sample();
        Poco::SharedPtr<XObjectGeneric> kept = new XObjectGeneric(5);
        XObjectGeneric& source = *kept;
        source.setName("a name that is longer than what a string holds itself");
        object.setValue<KeptObject<XObjectGeneric>>("next", kept);
        kept = nullptr;
        if (isMoved)
            object = std::move(source);
        else
            object = source;
        EXPECT_EQ(object.id(), 5);
        EXPECT_EQ(object.getName(), "a name that is longer than what a string holds itself");
        EXPECT_FALSE(object.hasValue("next"));
    }
}

TEST(XObjectGeneric, StaysAsItWasWhenTheSourceCannotBeCopied)
{
    XObjectGeneric source(5);
    source.setName("a");
    const auto stored = source.getAttribute("name");
    const Attribute<Text> taken(std::move(dynamic_cast<Attribute<Text>&>(*source.getAttribute("name"))));
    XObjectGeneric target = sample(7);
    EXPECT_EQ(thrown<Poco::InvalidAccessException>([&] { target = source; }), "attribute name is not set");
    EXPECT_EQ(target.id(), 7);
    EXPECT_EQ(target.getName(), "a");
}

} // namespace

} // namespace Zovi::Data
