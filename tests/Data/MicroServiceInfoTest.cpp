#include "MicroServiceInfo.h"

#include "JsonMatchers.h"
#include "KeptObject.h"
#include "LogCapture.h"

#include <Poco/Exception.h>
#include <Poco/JSON/Array.h>
#include <Poco/JSON/Parser.h>

#include <gmock/gmock.h>

#include <memory>
#include <set>
#include <stdexcept>
#include <utility>

namespace Zovi
{

namespace
{

using Data::Attribute;
using Data::AttributeValueInteger;
using Data::AttributeValueStringable;
using Data::AttributeValueStringArray;
using Data::INVALID_XOBJ_ID;
using Test::compact;
using Test::IsJson;
using Test::KeptObject;
using Test::LogCapture;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsNull;
using ::testing::NotNull;
using Texts = std::vector<std::string>;

static_assert(std::is_base_of_v<Data::GenericObject<Data::ServiceBase>, MicroServiceInfo>);
static_assert(std::has_virtual_destructor_v<MicroServiceInfo>);

const std::string UUID_TEXT = "11111111-2222-3333-4444-555555555555";
const std::string OTHER_UUID = "99999999-2222-3333-4444-555555555555";

/// Opens what is there for derived classes.
class OpenInfo : public MicroServiceInfo
{
public:
    explicit OpenInfo(Data::XObjectId id = INVALID_XOBJ_ID)
        : MicroServiceInfo(id)
    {
    }
    using MicroServiceInfo::fromJSON;
    Data::XObjectId owner() const { return m_attrContainer.parent(); }
};

/// Answers by itself what others keep as attributes.
class Renamed : public OpenInfo
{
public:
    std::string getName() const override { return "derived"; }
    std::string getDescription() const override { return "in words"; }
};

/// Throws an `Error` when it is copied, once that is switched on.
template <typename Error>
struct Unreadable {
    Unreadable(const bool& isOn, Error error)
        : m_isOn(&isOn)
        , m_error(error)
    {
    }
    Unreadable(const Unreadable& other)
        : m_isOn(other.m_isOn)
        , m_error(other.m_error)
    {
        if (*m_isOn)
            throw m_error;
    }
    Unreadable& operator=(const Unreadable&) = delete;

private:
    const bool* m_isOn;
    Error m_error;
};

MicroServiceInfo sample()
{
    return MicroServiceInfo(Poco::UUID(UUID_TEXT), Poco::URI("/" + UUID_TEXT), "a", 8080, "b");
}

Poco::JSON::Object::Ptr object(const std::string& text)
{
    return Test::parseJson(text).extract<Poco::JSON::Object::Ptr>();
}

std::unique_ptr<MicroServiceInfo> read(const std::string& text)
{
    return std::unique_ptr<MicroServiceInfo>(MicroServiceInfo::FromJson(object(text)));
}

/// The required members and `more`.
std::string required(const std::string& more = "")
{
    return R"({"name":"a","description":"b","port":8080)" + more + "}";
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

template <typename Call>
std::string invalidAccess(Call call)
{
    return thrown<Poco::InvalidAccessException>(call);
}

TEST(MicroServiceInfo, HasAllAttributesWhenMadeOfItsParts)
{
    const MicroServiceInfo info = sample();
    EXPECT_EQ(info.id(), INVALID_XOBJ_ID);
    EXPECT_EQ(info.getAttribute("port")->parent(), INVALID_XOBJ_ID);
    EXPECT_EQ(info.getIdString(), UUID_TEXT);
    EXPECT_EQ(info.getUriString(), "/" + UUID_TEXT);
    EXPECT_EQ(info.getName(), "a");
    EXPECT_EQ(info.getPort(), 8080U);
    EXPECT_EQ(info.getDescription(), "b");
    EXPECT_THAT(info.getPrivileges(), IsEmpty());
    EXPECT_THAT(info.getServiceCategories(), IsEmpty());
    EXPECT_THAT(info.getVersions(), IsEmpty());
    EXPECT_THAT(info.getAllPorts(), ElementsAre(8080U));
    EXPECT_THAT(info.getResources(), IsEmpty());
    EXPECT_EQ(info.size(), 8U);
    EXPECT_THAT(
        compact(info.toJSON(0)),
        IsJson(
            R"({"id":")" + UUID_TEXT + R"(","uri":"/)" + UUID_TEXT +
            R"(","name":"a","description":"b","port":8080,"privileges":[],"serviceCategories":[],"versions":[]})"));
    EXPECT_THAT(compact(info.toJSON(-1)),
                IsJson(R"({"id":")" + UUID_TEXT + R"(","uri":"/)" + UUID_TEXT + R"(","name":"a"})"));
}

TEST(MicroServiceInfo, KeepsItsAttributesInTheirClasses)
{
    const MicroServiceInfo info = sample();
    using Text = AttributeValueStringable<std::string>;
    for (const char* key : {"name", "description"})
        EXPECT_THAT(info.getAttribute(key).cast<Attribute<Text>>().get(), NotNull()) << key;
    EXPECT_THAT(info.getAttribute("id").cast<Attribute<AttributeValueStringable<Poco::UUID>>>().get(),
                NotNull());
    EXPECT_THAT(info.getAttribute("uri").cast<Attribute<AttributeValueStringable<Poco::URI>>>().get(),
                NotNull());
    EXPECT_THAT(info.getAttribute("port").cast<Attribute<AttributeValueInteger>>().get(), NotNull());
    for (const char* key : {"privileges", "serviceCategories", "versions"})
        EXPECT_THAT(info.getAttribute(key).cast<Attribute<AttributeValueStringArray>>().get(), NotNull())
            << key;
}

TEST(MicroServiceInfo, RefusesAUriWithoutItsUuid)
{
    EXPECT_EQ(thrown<Poco::DataException>(
                  [] { MicroServiceInfo(Poco::UUID(UUID_TEXT), Poco::URI("/a"), "a", 8080, "b"); }),
              "Invalid XObject - URI and UUID mismatch");
    EXPECT_NO_THROW(MicroServiceInfo(Poco::UUID(UUID_TEXT), Poco::URI(), "a", 8080, "b"));
}

TEST(MicroServiceInfo, SetsItsAttributes)
{
    MicroServiceInfo info = sample();
    info.setDescription("c");
    info.setPort(4294967295U);
    const AttributeValueStringArray list(Texts{"x", "y"});
    info.setPrivileges(list);
    info.setServiceCategories(list);
    info.setVersions(list);
    EXPECT_EQ(info.getDescription(), "c");
    EXPECT_EQ(info.getPort(), 4294967295U);
    EXPECT_THAT(info.getPrivileges(), ElementsAre("x", "y"));
    EXPECT_THAT(info.getServiceCategories(), ElementsAre("x", "y"));
    EXPECT_THAT(info.getVersions(), ElementsAre("x", "y"));
    info.setPrivileges(AttributeValueStringArray(Texts{"1"}));
    info.setServiceCategories(AttributeValueStringArray(Texts{"2"}));
    info.setVersions(AttributeValueStringArray(Texts{"3"}));
    EXPECT_THAT(info.getPrivileges(), ElementsAre("1"));
    EXPECT_THAT(info.getServiceCategories(), ElementsAre("2"));
    EXPECT_THAT(info.getVersions(), ElementsAre("3"));
}

TEST(MicroServiceInfo, GivesItsListsInPlaceButForTheVersions)
{
    const MicroServiceInfo info = sample();
    EXPECT_EQ(&info.getPrivilegesAttribute(), info.getValue("privileges"));
    EXPECT_EQ(&info.getServiceCategoriesAttribute(), info.getValue("serviceCategories"));
    static_assert(!std::is_reference_v<decltype(info.getVersionsAttribute())>);
    EXPECT_TRUE(info.getVersionsAttribute().isEmpty());
}

TEST(MicroServiceInfo, TellsWhatIsNotSet)
{
    const OpenInfo info;
    EXPECT_EQ(invalidAccess([&] { info.getPrivileges(); }), "attribute privileges is not set");
    EXPECT_EQ(invalidAccess([&] { info.getPrivilegesAttribute(); }), "attribute privileges is not set");
    EXPECT_EQ(invalidAccess([&] { info.getServiceCategories(); }), "attribute serviceCategories is not set");
    EXPECT_EQ(invalidAccess([&] { info.getServiceCategoriesAttribute(); }),
              "attribute serviceCategories is not set");
    EXPECT_EQ(invalidAccess([&] { info.getVersions(); }), "attribute versions is not set");
    EXPECT_EQ(invalidAccess([&] { info.getVersionsAttribute(); }), "attribute versions is not set");
    EXPECT_EQ(invalidAccess([&] { info.getPort(); }), "Attribute port is not set");
    EXPECT_EQ(invalidAccess([&] { info.getAllPorts(); }), "Attribute port is not set");
    EXPECT_EQ(invalidAccess([&] { info.getIdString(); }), "Attribute id is not set");
    EXPECT_EQ(invalidAccess([&] { info.getUriString(); }), "Attribute uri is not set");
    EXPECT_EQ(info.getDescription(), "");
    EXPECT_THAT(info.getResources(), IsEmpty());
}

TEST(MicroServiceInfo, StartsEmptyForDerivedClasses)
{
    const OpenInfo info(5);
    EXPECT_EQ(info.id(), 5);
    EXPECT_EQ(info.owner(), 5);
    EXPECT_EQ(info.size(), 0U);
}

TEST(MicroServiceInfo, GivesTheLowBitsOfAPortThatIsTooLarge)
{
    MicroServiceInfo info = sample();
    info.setValue<AttributeValueInteger>("port", 0x100000001);
    EXPECT_EQ(info.getPort(), 1U);
    info.setValue<AttributeValueInteger>("port", -1);
    EXPECT_EQ(info.getPort(), 0xFFFFFFFFU);
}

TEST(MicroServiceInfo, DerivesItsUriFromANewId)
{
    MicroServiceInfo info = sample();
    info.updateServiceId(Poco::UUID(OTHER_UUID));
    EXPECT_EQ(info.getIdString(), OTHER_UUID);
    EXPECT_EQ(info.getUriString(), "/" + OTHER_UUID);
}

TEST(MicroServiceInfo, BuildsItsSpecificationOnce)
{
    MicroServiceInfo info = sample();
    const std::string text = R"({"name": a",description": b",resources": {}})";
    EXPECT_EQ(info.getSpecification(), text);
    EXPECT_EQ(&info.getSpecification(), &info.getSpecification());
    info.setDescription("changed");
    info.setName("changed");
    EXPECT_EQ(info.getSpecification(), text);

    const MicroServiceInfo copy(info);
    EXPECT_EQ(copy.getSpecification(), text) << "a copy keeps it";
    const MicroServiceInfo described(static_cast<const Data::ServiceBase&>(info));
    EXPECT_EQ(described.getSpecification(), R"({"name": changed",description": changed",resources": {}})");
}

TEST(MicroServiceInfo, BuildsItsSpecificationWithoutADescriptionButNotWithoutAName)
{
    OpenInfo info;
    EXPECT_EQ(invalidAccess([&] { info.getSpecification(); }), "Attribute name is not set");
    info.setName("a");
    EXPECT_EQ(info.getSpecification(), R"({"name": a",description": ",resources": {}})");
}

TEST(MicroServiceInfo, BuildsItsSpecificationFromWhatDerivedClassesAnswer)
{
    const Renamed info;
    EXPECT_EQ(info.getSpecification(), R"({"name": derived",description": in words",resources": {}})");
}

TEST(MicroServiceInfo, KeepsItsSpecificationWhenMovedOrAssigned)
{
    // Long enough not to be kept inside the string object.
    MicroServiceInfo source(Poco::UUID(UUID_TEXT), Poco::URI(), "a", 1, std::string(100, 'b'));
    const std::string text = source.getSpecification();
    source.setName("changed");
    MicroServiceInfo assigned = sample();
    assigned = source;
    EXPECT_EQ(assigned.getSpecification(), text);
    MicroServiceInfo moved(std::move(source));
    EXPECT_EQ(moved.getSpecification(), text);
    MicroServiceInfo target = sample();
    target = std::move(moved);
    EXPECT_EQ(target.getSpecification(), text);
    MicroServiceInfo& self = target;
    target = self;
    EXPECT_EQ(target.getSpecification(), text);
    target = std::move(self);
    EXPECT_EQ(target.getSpecification(), text);
}

TEST(MicroServiceInfo, BecomesAServiceThatOnlyItsOwnAttributeKeeps)
{
    for (const bool isMoved : {false, true}) {
        SCOPED_TRACE(isMoved);
        MicroServiceInfo info = sample();
        Poco::SharedPtr<MicroServiceInfo> kept = new MicroServiceInfo(sample());
        MicroServiceInfo& source = *kept;
        source.setName("a name that is longer than what a string holds itself");
        const std::string text = source.getSpecification();
        info.setValue<KeptObject<MicroServiceInfo>>("next", kept);
        kept = nullptr;
        if (isMoved)
            info = std::move(source);
        else
            info = source;
        EXPECT_EQ(info.getName(), "a name that is longer than what a string holds itself");
        EXPECT_EQ(info.getSpecification(), text);
    }
}

TEST(MicroServiceInfo, DescribesAnotherService)
{
    MicroServiceInfo source = sample();
    source.setPrivileges(Texts{"p"});
    source.setServiceCategories(Texts{"c"});
    source.setVersions(Texts{"v"});
    source.setValue<AttributeValueInteger>("extra", 1);
    const MicroServiceInfo info(static_cast<const Data::ServiceBase&>(source));
    source.removeValue("extra");
    EXPECT_THAT(compact(info.toJSON(0)), IsJson(compact(source.toJSON(0))))
        << "the eight attributes and no more";
}

TEST(MicroServiceInfo, DescribesAServiceWithoutIdAndUriAndTakesNoNumber)
{
    OpenInfo source(5);
    source.setName("a");
    source.setPort(80);
    source.setVersions(Texts{});
    EXPECT_EQ(invalidAccess([&] { MicroServiceInfo made(static_cast<const Data::ServiceBase&>(source)); }),
              "attribute privileges is not set");
    source.setPrivileges(Texts{});
    source.setServiceCategories(Texts{});
    const LogCapture log;
    const MicroServiceInfo info(static_cast<const Data::ServiceBase&>(source));
    EXPECT_EQ(info.id(), INVALID_XOBJ_ID);
    EXPECT_EQ(info.getAttribute("name")->parent(), INVALID_XOBJ_ID);
    EXPECT_FALSE(info.hasValue("id"));
    EXPECT_FALSE(info.hasValue("uri"));
    EXPECT_EQ(info.getDescription(), "");
    EXPECT_TRUE(info.hasValue("description"));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(MicroServiceInfo, TakesIdAndUriOfAServiceEachByItself)
{
    MicroServiceInfo withId = sample();
    withId.removeValue("uri");
    const MicroServiceInfo identified(static_cast<const Data::ServiceBase&>(withId));
    EXPECT_EQ(identified.getIdString(), UUID_TEXT);
    EXPECT_FALSE(identified.hasValue("uri"));

    MicroServiceInfo withUri = sample();
    withUri.removeValue("id");
    const MicroServiceInfo addressed(static_cast<const Data::ServiceBase&>(withUri));
    EXPECT_EQ(addressed.getUriString(), "/" + UUID_TEXT);
    EXPECT_FALSE(addressed.hasValue("id"));
}

TEST(MicroServiceInfo, HasAnEmptyDescriptionWhenTheAttributeIsEmpty)
{
    MicroServiceInfo info = sample();
    using Text = Attribute<AttributeValueStringable<std::string>>;
    const Text taken(std::move(dynamic_cast<Text&>(*info.getAttribute("description"))));
    EXPECT_TRUE(info.hasValue("description"));
    EXPECT_EQ(info.getDescription(), "");
}

TEST(MicroServiceInfo, CannotDescribeAServiceWithoutAName)
{
    const OpenInfo source;
    EXPECT_EQ(invalidAccess([&] { MicroServiceInfo made(static_cast<const Data::ServiceBase&>(source)); }),
              "Attribute name is not set");
}

TEST(MicroServiceInfo, SharesNothingWithACopyAndMoves)
{
    MicroServiceInfo source = sample();
    const MicroServiceInfo copy(source);
    MicroServiceInfo assigned(Poco::UUID(OTHER_UUID), Poco::URI(), "x", 1, "y");
    assigned = source;
    source.setName("changed");
    EXPECT_EQ(copy.getName(), "a");
    EXPECT_EQ(assigned.getName(), "a");
    MicroServiceInfo moved(std::move(source));
    EXPECT_EQ(moved.getName(), "changed");
    assigned = std::move(moved);
    EXPECT_EQ(assigned.getName(), "changed");
}

TEST(MicroServiceInfo, ReadsWhatItHasWritten)
{
    MicroServiceInfo source = sample();
    source.setPrivileges(Texts{"p"});
    source.setServiceCategories(Texts{"c", "d"});
    source.setVersions(Texts{"1", "2"});
    const auto info = read(compact(source.toJSON(0)));
    ASSERT_THAT(info, NotNull());
    EXPECT_THAT(compact(info->toJSON(0)), IsJson(compact(source.toJSON(0))));
    EXPECT_EQ(info->id(), INVALID_XOBJ_ID);
}

TEST(MicroServiceInfo, ReadsTheRequiredMembersAlone)
{
    const auto info = read(required());
    ASSERT_THAT(info, NotNull());
    EXPECT_FALSE(info->hasValue("id"));
    EXPECT_FALSE(info->hasValue("uri"));
    EXPECT_EQ(invalidAccess([&] { info->getPrivileges(); }), "attribute privileges is not set");
    EXPECT_EQ(invalidAccess([&] { info->getServiceCategories(); }), "attribute serviceCategories is not set");
    EXPECT_THAT(info->getVersions(), IsEmpty());
    EXPECT_EQ(invalidAccess([&] { info->toJSON(-1); }), "Attribute id is not set");
    EXPECT_EQ(compact(info->toJSON(0)), R"({"description":"b","name":"a","port":8080,"versions":[]})");
}

TEST(MicroServiceInfo, ConvertsWhatItReads)
{
    const auto info = read(R"({"name":1,"description":true,"port":"70000","id":")" + UUID_TEXT +
                           R"(","uri":"/elsewhere"})");
    ASSERT_THAT(info, NotNull());
    EXPECT_EQ(info->getName(), "1");
    EXPECT_EQ(info->getDescription(), "true");
    EXPECT_EQ(info->getPort(), 70000U) << "no limit but that of the type";
    EXPECT_EQ(info->getIdString(), UUID_TEXT);
    EXPECT_EQ(info->getUriString(), "/elsewhere") << "not bound to the id";
    EXPECT_EQ(read(R"({"name":"a","description":"b","port":70000})")->getPort(), 70000U);
}

TEST(MicroServiceInfo, ReadsLists)
{
    struct Row {
        const char* json;
        bool isSet; ///< for privileges and categories; versions always are
        Texts list;
    };
    const Row rows[] = {
        {R"(["1","2"])", true, {"1", "2"}},
        // Later entries are converted, but the first decides.
        {R"(["1",2,true])", true, {"1", "2", "true"}},
        {R"([1,"2"])", true, {}},
        {R"([1,2])", true, {}},
        {R"([null,"2"])", true, {}},
        {"[]", false, {}},
        {R"("text")", false, {}},
        {"{}", false, {}},
        {"null", false, {}},
        {"5", false, {}},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.json);
        const std::string json = row.json;
        const auto info = read(required(R"(,"privileges":)" + json + R"(,"serviceCategories":)" + json +
                                        R"(,"versions":)" + json));
        ASSERT_THAT(info, NotNull());
        EXPECT_EQ(info->getVersions(), row.list);
        ASSERT_EQ(info->hasValue("privileges"), row.isSet);
        ASSERT_EQ(info->hasValue("serviceCategories"), row.isSet);
        if (row.isSet) {
            EXPECT_EQ(info->getPrivileges(), row.list);
            EXPECT_EQ(info->getServiceCategories(), row.list);
        }
    }
}

TEST(MicroServiceInfo, ReadsListsHeldByThemselvesButForTheVersions)
{
    Poco::JSON::Array list;
    list.add("x");
    Poco::JSON::Object::Ptr json = object(required());
    for (const char* key : {"privileges", "serviceCategories", "versions"})
        json->set(key, list);
    const std::unique_ptr<MicroServiceInfo> info(MicroServiceInfo::FromJson(json));
    ASSERT_THAT(info, NotNull());
    EXPECT_THAT(info->getPrivileges(), ElementsAre("x"));
    EXPECT_THAT(info->getServiceCategories(), ElementsAre("x"));
    EXPECT_THAT(info->getVersions(), IsEmpty());
}

TEST(MicroServiceInfo, TakesANullPointerToAListForNone)
{
    Poco::JSON::Object::Ptr json = object(required());
    for (const char* key : {"privileges", "serviceCategories", "versions"})
        json->set(key, Poco::JSON::Array::Ptr());
    const std::unique_ptr<MicroServiceInfo> info(MicroServiceInfo::FromJson(json));
    ASSERT_THAT(info, NotNull());
    EXPECT_FALSE(info->hasValue("privileges"));
    EXPECT_THAT(info->getVersions(), IsEmpty());
}

TEST(MicroServiceInfo, GivesNothingForNoJson)
{
    const LogCapture log;
    EXPECT_THAT(MicroServiceInfo::FromJson(Poco::JSON::Object::Ptr()), IsNull());
    EXPECT_THAT(log.texts(), IsEmpty());
    EXPECT_FALSE(OpenInfo().fromJSON(Poco::JSON::Object::Ptr()));
}

TEST(MicroServiceInfo, GivesNothingForJsonItCannotReadAndLogsWhy)
{
    struct Row {
        std::string json;
        const char* reason; ///< the kind of exception
    };
    const Row rows[] = {
        {R"({"description":"b","port":80})", "Invalid access"},
        {R"({"name":"a","port":80})", "Invalid access"},
        {R"({"name":"a","description":"b"})", "Invalid access"},
        {R"({"name":null,"description":"b","port":80})", "Invalid access"},
        {R"({"name":"a","description":"b","port":"http"})", "Syntax error"},
        {R"({"name":"a","description":"b","port":-1})", "Out of range"},
        {R"({"name":"a","description":"b","port":4294967296})", "Out of range"},
        {required(R"(,"id":"no uuid")"), "Syntax error"},
        {required(R"(,"id":null)"), "Invalid access"},
        {required(R"(,"uri":"http://host:port/")"), "Bad URI syntax"},
        {required(R"(,"uri":null)"), "Invalid access"},
        {required(R"(,"versions":["1",null])"), "Invalid access"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.json);
        const LogCapture log;
        EXPECT_THAT(read(row.json), IsNull());
        ASSERT_THAT(
            log.texts(),
            ElementsAre(std::string("Error: Invalid JSON object for MicroServiceInfo - ") + row.reason));
        EXPECT_EQ(log.records()[0].priority, Poco::Message::PRIO_ERROR);
    }
}

TEST(MicroServiceInfo, GivesNothingForAStandardExceptionThatIsNotOfPoco)
{
    Poco::JSON::Object::Ptr json = object(required());
    bool isOn = false;
    json->set("name", Unreadable(isOn, std::runtime_error("unreadable")));
    isOn = true;
    const LogCapture log;
    EXPECT_THAT(MicroServiceInfo::FromJson(json), IsNull());
    EXPECT_THAT(log.texts(), ElementsAre("Error: Invalid JSON object for MicroServiceInfo - unreadable"));
}

TEST(MicroServiceInfo, LetsThroughWhatIsNoStandardException)
{
    Poco::JSON::Object::Ptr json = object(required());
    bool isOn = false;
    json->set("name", Unreadable(isOn, 42));
    isOn = true;
    const LogCapture log;
    EXPECT_THROW(MicroServiceInfo::FromJson(json), int);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(MicroServiceInfo, ReadsTheMembersInTheirOrder)
{
    const Poco::Dynamic::Var badList = Zovi::Test::parseJson(R"(["x",null])");
    const std::pair<const char*, Poco::Dynamic::Var> badMembers[] = {
        {"name", Poco::Dynamic::Var()},
        {"description", Poco::Dynamic::Var()},
        {"port", std::string("http")},
        {"id", std::string("no uuid")},
        {"uri", std::string("http://host:port/")},
        {"privileges", badList},
        {"serviceCategories", badList},
        {"versions", badList},
    };
    std::set<std::string> readBefore;
    for (const auto& [key, value] : badMembers) {
        SCOPED_TRACE(key);
        Poco::JSON::Object::Ptr json =
            object(required(R"(,"id":")" + UUID_TEXT +
                            R"(","uri":"/a","privileges":["p"],"serviceCategories":["c"],"versions":["v"])"));
        json->set(key, value);
        OpenInfo info;
        EXPECT_THROW(info.fromJSON(json), Poco::Exception);
        std::set<std::string> set;
        for (const auto& attribute : info.getAttributesRef())
            set.insert(attribute.first);
        EXPECT_EQ(set, readBefore);
        readBefore.insert(key);
    }
}

TEST(MicroServiceInfo, KeepsWhatItReadBeforeAFailure)
{
    OpenInfo info;
    EXPECT_EQ(invalidAccess([&] { info.fromJSON(object(R"({"name":"a","description":"b"})")); }),
              "Can not convert empty value.");
    EXPECT_EQ(info.getName(), "a");
    EXPECT_EQ(info.getDescription(), "b");
    EXPECT_TRUE(info.fromJSON(object(required())));
    EXPECT_EQ(info.getPort(), 8080U);
}

} // namespace

} // namespace Zovi
