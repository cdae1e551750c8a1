#include "Data/ElementBase.h"

#include "JsonMatchers.h"
#include "LogCapture.h"

#include <gmock/gmock.h>

#include <type_traits>

namespace Zovi::Data
{

namespace
{

using Test::compact;
using Test::IsJson;
using Test::LogCapture;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Text = AttributeValueStringable<std::string>;

static_assert(std::is_abstract_v<ElementBase>);
static_assert(std::is_base_of_v<GenericObject<ElementBase>, ElementGeneric>);
static_assert(std::has_virtual_destructor_v<ElementGeneric>);
static_assert(sizeof(ElementGeneric) == sizeof(GenericObject<ElementBase>));
static_assert(std::is_same_v<ElementBase::Ptr, Poco::SharedPtr<ElementBase>>);
static_assert(std::is_same_v<ElementCollection, std::vector<ElementBase::Ptr>>);

const std::string UUID_TEXT = "abcdef01-2222-3333-4444-555555555555";
const std::string PATH = "/svc/res/" + UUID_TEXT;
const XObjectId NONE = INVALID_XOBJ_ID;
const char* const BAD_PATH = "Error: Failed to get Element infos from invalid path - needs to be in format: "
                             "<service>/<resource>/<uuid>";

/// The base made concrete, with its constructors and its reading of a URI open.
class OpenElement : public GenericObject<ElementBase>
{
public:
    using GenericObject<ElementBase>::GenericObject;
    using ElementBase::initialize;
    XObjectId owner() const { return m_attrContainer.parent(); }
};

/// An element by way of the constructors of `ElementBase`.
template <typename... Arguments>
class Made : public ElementBase
{
public:
    explicit Made(Arguments... arguments)
        : ElementBase(std::forward<Arguments>(arguments)...)
    {
    }

    AttributeMap getAttributes() const override { return {}; }
    AttributeBase::Ptr getAttribute(const std::string&) const override { return nullptr; }
    bool hasValue(const std::string&) const override { return false; }
    std::size_t size() const override { return 0; }
    AttributeValueBase* getValue(const std::string&) const override { return nullptr; }
    std::string getName() const override { return ""; }
    Poco::UUID getId() const override { return Poco::UUID(); }
    Poco::URI getUri() const override { return Poco::URI(); }
    Poco::JSON::Object::Ptr toJSON(int) const override { return nullptr; }
    Poco::JSON::Object::Ptr toJSON(const std::vector<std::string>&) const override { return nullptr; }
};

XObjectGeneric plainObject(const std::string& path = PATH, XObjectId id = NONE)
{
    XObjectGeneric object(id);
    object.setName("a");
    object.setId(UUID_TEXT);
    object.setUri(path);
    return object;
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

void expectSample(const ElementGeneric& element)
{
    EXPECT_EQ(element.service(), "svc");
    EXPECT_EQ(element.resource(), "res");
    EXPECT_EQ(element.getName(), "a");
    EXPECT_EQ(element.getId().toString(), UUID_TEXT);
    EXPECT_EQ(element.getUri().toString(), PATH);
    EXPECT_EQ(element.size(), 3U);
}

TEST(ElementBase, TakesItsNamesAsGiven)
{
    const Made<std::string, std::string, XObjectId> named("svc", "res", 5);
    EXPECT_EQ(named.service(), "svc");
    EXPECT_EQ(named.resource(), "res");
    EXPECT_EQ(named.id(), 5);
    const Made<XObjectId> nameless(6);
    EXPECT_EQ(nameless.service(), "");
    EXPECT_EQ(nameless.resource(), "");
    EXPECT_EQ(nameless.id(), 6);
}

TEST(ElementBase, ReadsItsNamesFromAUri)
{
    using FromUri = Made<Poco::URI, XObjectId>;
    for (const char* uri : {"/svc/res/x", "svc/res/x", "http://host:80/svc/res/x?a=b#c", "/svc//res/x/"}) {
        SCOPED_TRACE(uri);
        const FromUri element(Poco::URI(uri), 5);
        EXPECT_EQ(element.service(), "svc");
        EXPECT_EQ(element.resource(), "res");
        EXPECT_EQ(element.id(), 5);
    }
}

TEST(ElementBase, RefusesAUriThatHasNotThreeSegments)
{
    using FromUri = Made<Poco::URI, XObjectId>;
    for (const char* uri : {"", "/", "/svc", "/svc/res", "/svc/res/", "/svc/res/a/b", "http://svc/res/x",
                            "//host/svc/res/x", "/svc/res?x"}) {
        SCOPED_TRACE(uri);
        LogCapture log;
        EXPECT_EQ(thrown<Poco::InvalidArgumentException>([&] { FromUri(Poco::URI(uri), 5); }),
                  "Invalid Element URI");
        ASSERT_THAT(log.texts(), ElementsAre(BAD_PATH));
        EXPECT_EQ(log.records()[0].priority, Poco::Message::PRIO_ERROR);
    }
}

TEST(ElementBase, GivesTheThirdSegmentUnchecked)
{
    OpenElement element(NONE);
    std::string third = "before";
    element.initialize(Poco::URI("/svc/res/no%20uuid"), &third);
    EXPECT_EQ(third, "no uuid");
    EXPECT_EQ(element.service(), "svc");
    element.initialize(Poco::URI("/svc2/res2/x"), nullptr);
    EXPECT_EQ(element.resource(), "res2");
    element.initialize("a", "b");
    EXPECT_EQ(element.service(), "a");
    EXPECT_EQ(element.resource(), "b");
}

TEST(ElementBase, KeepsItsNamesWhenAUriIsRefused)
{
    OpenElement element(NONE);
    element.initialize("svc", "res");
    std::string third = "before";
    const LogCapture log;
    EXPECT_THROW(element.initialize(Poco::URI("/x"), &third), Poco::InvalidArgumentException);
    EXPECT_EQ(element.service(), "svc");
    EXPECT_EQ(element.resource(), "res");
    EXPECT_EQ(third, "before");
}

TEST(ElementBase, CopiesOrMovesTheNumberOfAnyObjectWithAUri)
{
    XObjectGeneric source = plainObject(PATH, 5);
    const Made<const XObjectBase&> copy(source);
    EXPECT_EQ(copy.id(), 5);
    EXPECT_EQ(source.id(), 5);
    EXPECT_EQ(copy.service(), "svc");
    EXPECT_EQ(copy.resource(), "res");

    const LogCapture log;
    const Made<XObjectBase&&> moved(std::move(source));
    EXPECT_EQ(moved.id(), 5);
    EXPECT_EQ(source.id(), NONE);
    EXPECT_EQ(source.getUri().toString(), PATH) << "only the number has moved";
    EXPECT_EQ(moved.service(), "svc");
}

TEST(ElementBase, CannotBeMadeOfAnObjectWithoutAUri)
{
    XObjectGeneric bare(NONE);
    EXPECT_EQ(thrown<Poco::InvalidAccessException>([&] { Made<const XObjectBase&>{bare}; }),
              "Attribute uri is not set");
    EXPECT_EQ(thrown<Poco::InvalidAccessException>([&] { Made<XObjectBase&&>{std::move(bare)}; }),
              "Attribute uri is not set");
}

TEST(ElementBase, KeepsItsNamesWhenAssignedToItself)
{
    OpenElement element(5);
    element.initialize("svc", "res");
    OpenElement& self = element;
    element = std::move(self);
    EXPECT_EQ(element.service(), "svc");
    EXPECT_EQ(element.resource(), "res");
    EXPECT_EQ(element.id(), NONE);
}

TEST(ElementGeneric, IsMadeOfItsParts)
{
    const ElementGeneric element("svc", "res", "a", Poco::UUID(UUID_TEXT), NONE);
    expectSample(element);
    EXPECT_EQ(element.id(), NONE);
    const ElementGeneric fromText("svc", "res", "a", UUID_TEXT, 5);
    expectSample(fromText);
    EXPECT_EQ(fromText.id(), 5);
}

TEST(ElementGeneric, RefusesAUuidTextThatIsNotInItsUsualForm)
{
    const std::string upper = "ABCDEF01-2222-3333-4444-555555555555";
    EXPECT_EQ(thrown<Poco::DataException>([&] { ElementGeneric("svc", "res", "a", upper, NONE); }),
              "Invalid XObject - URI and UUID mismatch");
    EXPECT_THROW(ElementGeneric("svc", "res", "a", std::string("no uuid"), NONE), Poco::SyntaxException);
}

TEST(ElementGeneric, RebuildsItsUriFromTheOneGiven)
{
    for (const std::string& uri : {PATH, "https://host:8080" + PATH + "?a=b#c", "/svc//res/" + UUID_TEXT}) {
        SCOPED_TRACE(uri);
        const ElementGeneric element(Poco::URI(uri), "a", 5);
        expectSample(element);
        EXPECT_EQ(element.id(), 5);
        EXPECT_EQ(element.getAttribute("uri")->parent(), 5);
    }
}

TEST(ElementGeneric, KeepsTheUuidInItsUriAsItWasGiven)
{
    const std::string upper = "/svc/res/ABCDEF01-2222-3333-4444-555555555555";
    const ElementGeneric element(Poco::URI(upper), "a", NONE);
    EXPECT_EQ(element.getUri().toString(), upper);
    EXPECT_EQ(element.getId().toString(), UUID_TEXT);
}

TEST(ElementGeneric, RefusesAUriThatIsNoElements)
{
    for (const char* uri : {"/svc/res", "/svc/res/a/b"}) {
        SCOPED_TRACE(uri);
        LogCapture log;
        EXPECT_EQ(thrown<Poco::InvalidArgumentException>([&] { ElementGeneric(Poco::URI(uri), "a", NONE); }),
                  "Invalid Element URI");
        EXPECT_THAT(log.texts(), ElementsAre(BAD_PATH));
    }
    EXPECT_THROW(ElementGeneric(Poco::URI("/svc/res/no-uuid"), "a", NONE), Poco::SyntaxException);
}

TEST(ElementGeneric, TakesTheNamesOfAnotherElement)
{
    OpenElement source(5);
    source.initialize("svc", "res");
    source.setName("b");
    const ElementGeneric copy(static_cast<const ElementBase&>(source));
    EXPECT_EQ(copy.service(), "svc") << "not read from a URI, which there is none";
    EXPECT_EQ(copy.resource(), "res");
    EXPECT_EQ(copy.id(), 5);
    source.setName("changed");
    EXPECT_EQ(copy.getName(), "b");
}

TEST(ElementGeneric, IsMadeOfAPlainObject)
{
    XObjectGeneric source = plainObject(PATH, 5);
    const ElementGeneric copy(source);
    expectSample(copy);
    EXPECT_EQ(copy.id(), 5);
    EXPECT_NE(copy.getAttribute("name").get(), source.getAttribute("name").get());

    const AttributeBase::Ptr name = source.getAttribute("name");
    const LogCapture log;
    const ElementGeneric moved(std::move(source));
    expectSample(moved);
    EXPECT_EQ(moved.id(), 5);
    EXPECT_EQ(moved.getAttribute("name").get(), name.get());
    EXPECT_EQ(source.id(), NONE);
    EXPECT_EQ(source.size(), 0U);
}

TEST(ElementGeneric, KeepsTheOwnerOfAttributesItTakesFromAPlainObject)
{
    const LogCapture log;
    XObjectGeneric source = plainObject(PATH, 6);
    const OpenElement copy(source);
    EXPECT_EQ(copy.owner(), 6);
    const OpenElement moved(std::move(source));
    EXPECT_EQ(moved.owner(), 6);
    EXPECT_EQ(moved.id(), 6);
}

TEST(ElementGeneric, KeepsTheOwnerOfAttributesWhoseObjectHasGivenItsNumberAway)
{
    const LogCapture log;
    XObjectGeneric source = plainObject(PATH, 6);
    const Made<XObjectBase&&> thief(std::move(source));
    ASSERT_EQ(source.id(), NONE);
    const OpenElement copy(source);
    EXPECT_EQ(copy.id(), NONE);
    EXPECT_EQ(copy.owner(), 6);
    EXPECT_EQ(copy.getAttribute("name")->parent(), 6);
    const OpenElement moved(std::move(source));
    EXPECT_EQ(moved.id(), NONE);
    EXPECT_EQ(moved.owner(), 6);
}

TEST(ElementGeneric, ReportsADuplicateWhenMadeOfAnyNumberedObject)
{
    const XObjectGeneric source = plainObject(PATH, 5);
    const LogCapture log;
    {
        const ElementGeneric element(static_cast<const XObjectBase&>(source));
        expectSample(element);
        EXPECT_EQ(element.id(), 5);
        EXPECT_THAT(log.texts(), ElementsAre("Notice: Duplicate XObject ID"));
        const XObjectGeneric another(5);
        EXPECT_EQ(log.texts().size(), 1U) << "the number is no longer recorded";
    }
    const XObjectGeneric unnumbered = plainObject();
    const ElementGeneric element(static_cast<const XObjectBase&>(unnumbered));
    expectSample(element);
    EXPECT_EQ(log.texts().size(), 1U);
}

TEST(ElementGeneric, CannotBeMadeOfAnObjectThatIsNoElement)
{
    const XObjectGeneric resource = plainObject("/svc/" + UUID_TEXT);
    LogCapture log;
    EXPECT_EQ(thrown<Poco::InvalidArgumentException>(
                  [&] { ElementGeneric(static_cast<const XObjectBase&>(resource)); }),
              "Invalid Element URI");
    EXPECT_THAT(log.texts(), ElementsAre(BAD_PATH));
    EXPECT_EQ(thrown<Poco::InvalidArgumentException>([&] { ElementGeneric{resource}; }),
              "Invalid Element URI");
}

TEST(ElementGeneric, SharesNothingWithACopy)
{
    ElementGeneric source("svc", "res", "a", UUID_TEXT, NONE);
    const ElementGeneric constructed(source);
    const ElementGeneric copied = source.copy();
    ElementGeneric assigned("x", "y", "z", UUID_TEXT, NONE);
    assigned = source;
    source.setName("changed");
    for (const ElementGeneric* copy : {&constructed, &copied, static_cast<const ElementGeneric*>(&assigned)})
        expectSample(*copy);
}

TEST(ElementGeneric, MovesAttributesAndNames)
{
    ElementGeneric source("svc", "res", "a", UUID_TEXT, 5);
    ElementGeneric moved(std::move(source));
    expectSample(moved);
    EXPECT_EQ(moved.id(), 5);
    EXPECT_EQ(source.id(), NONE);
    ElementGeneric assigned("x", "y", "z", UUID_TEXT, 6);
    assigned = std::move(moved);
    expectSample(assigned);
    EXPECT_EQ(assigned.id(), 5);
}

TEST(ElementGeneric, RendersItsAttributesAndNothingElse)
{
    ElementGeneric element("svc", "res", "a", UUID_TEXT, NONE);
    element.setValue<Text>("state", "running");
    EXPECT_THAT(compact(element.toJSON(0)), IsJson(R"({"id":")" + UUID_TEXT + R"(","name":"a","uri":")" +
                                                   PATH + R"(","state":"running"})"));
}

TEST(ElementGeneric, IsAnElementToWhoHoldsIt)
{
    const ElementCollection elements{new ElementGeneric("svc", "res", "a", UUID_TEXT, NONE)};
    EXPECT_EQ(elements[0]->service(), "svc");
    EXPECT_EQ(elements[0].cast<ElementGeneric>().get(), elements[0].get());
}

} // namespace

} // namespace Zovi::Data
