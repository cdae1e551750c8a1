#include "Command/WebSocketRequestObject.h"

#include "Command/Query/Paging.h"
#include "Command/Query/SortingParameter.h"
#include "JsonMatchers.h"
#include "LogCapture.h"

#include <Poco/Dynamic/VarHolder.h>
#include <Poco/Exception.h>

#include <gmock/gmock.h>

#include <cstdint>
#include <initializer_list>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace
{

/// A value of a foreign type whose conversion to text throws something that Poco does not know.
struct ThrowingValue {
};

} // namespace

namespace Poco::Dynamic
{

template <>
class VarHolderImpl<ThrowingValue> : public VarHolder
{
public:
    explicit VarHolderImpl(const ThrowingValue&) {}

    const std::type_info& type() const override { return typeid(ThrowingValue); }
    void convert(std::string&) const override { throw std::runtime_error("no text"); }

    VarHolder* clone(Placeholder<VarHolder>* holder = nullptr) const override
    {
        return cloneHolder(holder, ThrowingValue());
    }
};

} // namespace Poco::Dynamic

namespace Zovi::Command
{

namespace
{

using Poco::Dynamic::Var;
using Poco::JSON::Array;
using Poco::JSON::Object;
using Test::compact;
using Test::IsJson;
using Test::LogCapture;
using ::testing::IsEmpty;

using Milliseconds = WebSocketRequestObject::milliseconds;
using OptionalLong = Poco::Optional<long>;

constexpr auto LARGEST = std::numeric_limits<std::int64_t>::max();
constexpr auto SMALLEST = std::numeric_limits<std::int64_t>::min();

static_assert(std::is_base_of_v<RequestBase, WebSocketRequestObject>);
static_assert(std::is_convertible_v<WebSocketRequestObject*, RequestBase*>, "the base is public");
static_assert(std::has_virtual_destructor_v<WebSocketRequestObject>);
static_assert(!std::is_default_constructible_v<WebSocketRequestObject>);
static_assert(std::is_copy_constructible_v<WebSocketRequestObject>);
static_assert(std::is_copy_assignable_v<WebSocketRequestObject>);
static_assert(std::is_move_constructible_v<WebSocketRequestObject>);
static_assert(std::is_move_assignable_v<WebSocketRequestObject>);
static_assert(std::is_same_v<WebSocketRequestObject::Type, std::string>);
static_assert(std::is_same_v<Milliseconds, std::int64_t>);
static_assert(std::is_same_v<decltype(DEFAULT_INTERVAL_MS), Milliseconds>);
static_assert(std::is_same_v<decltype(DEFAULT_UPDATELIMT_MS), Milliseconds>);

using ConstRequest = const WebSocketRequestObject&;
static_assert(std::is_same_v<decltype(std::declval<ConstRequest>().getType()), const std::string&>);
static_assert(std::is_same_v<decltype(std::declval<ConstRequest>().getEvent()), const Poco::URI&>);
static_assert(std::is_same_v<decltype(std::declval<ConstRequest>().getAuthorization()), const std::string&>);
static_assert(std::is_same_v<decltype(std::declval<ConstRequest>().getJson()), const Object*>);
static_assert(std::is_same_v<decltype(std::declval<ConstRequest>().getInterval()), Milliseconds>);
static_assert(std::is_same_v<decltype(std::declval<ConstRequest>().getUpdateLimit()), Milliseconds>);
static_assert(
    std::is_same_v<decltype(std::declval<ConstRequest>().getIntervalTimeSpan()), Poco::Clock::ClockDiff>);
static_assert(
    std::is_same_v<decltype(std::declval<ConstRequest>().getUpdateLimitTimeSpan()), Poco::Clock::ClockDiff>);

/// Opens what only derived classes may do.
class Probe : public WebSocketRequestObject
{
public:
    Probe() = default;
    explicit Probe(const std::string& text)
        : WebSocketRequestObject(text)
    {
    }

    using WebSocketRequestObject::copyAndInitFromJsonObject;
    using WebSocketRequestObject::initFromJsonObject;
};

/// Says when it is destroyed.
class DestructionProbe : public WebSocketRequestObject
{
public:
    explicit DestructionProbe(bool& destroyed)
        : m_destroyed(destroyed)
    {
    }
    ~DestructionProbe() override { m_destroyed = true; }

private:
    bool& m_destroyed;
};

/// Puts the two exported defaults back to what they were.
class WebSocketRequestDefaults : public ::testing::Test
{
protected:
    void TearDown() override
    {
        DEFAULT_INTERVAL_MS = m_interval;
        DEFAULT_UPDATELIMT_MS = m_updateLimit;
    }

private:
    const Milliseconds m_interval = DEFAULT_INTERVAL_MS;
    const Milliseconds m_updateLimit = DEFAULT_UPDATELIMT_MS;
};

Object::Ptr objectOf(const std::string& json)
{
    return Test::parseJson(json).extract<Object::Ptr>();
}

/// A good subscription with one more member.
std::string subscriptionWith(const std::string& member)
{
    return R"({"type":"subscribe","event":"/svc/res?x=1",)" + member + "}";
}

Object::Ptr subscriptionWith(const std::string& key, const Var& value)
{
    Object::Ptr result = new Object;
    result->set("type", "subscribe");
    result->set("event", "/svc/res?x=1");
    result->set(key, value);
    return result;
}

void expectDefaults(const WebSocketRequestObject& request)
{
    EXPECT_FALSE(request.hasInterval());
    EXPECT_EQ(request.getInterval(), 0);
    EXPECT_EQ(request.getIntervalTimeSpan(), 0);
    EXPECT_FALSE(request.hasUpdateLimit());
    EXPECT_EQ(request.getUpdateLimit(), 30);
    EXPECT_EQ(request.getUpdateLimitTimeSpan(), 30000);
    EXPECT_FALSE(request.hasAuthorization());
    EXPECT_EQ(request.getAuthorization(), "");
    EXPECT_FALSE(request.isAutosubscribe());
}

/// Nothing was read, not even the type.
void expectNothingRead(const WebSocketRequestObject& request)
{
    EXPECT_FALSE(request.isValid());
    EXPECT_EQ(request.getType(), "");
    EXPECT_EQ(request.getEvent().toString(), "");
    EXPECT_EQ(request.getUri().toString(), "");
    EXPECT_EQ(request.getUrlPath().getCharacteristic(), UrlPath::INVALID);
    EXPECT_FALSE(request.hasAnyCriteria());
    expectDefaults(request);
}

/// Address of the messages that `subscriptionWith` makes.
void expectSubscriptionRead(const WebSocketRequestObject& request)
{
    EXPECT_EQ(request.getType(), "subscribe");
    EXPECT_EQ(request.getEvent().toString(), "/svc/res?x=1");
    EXPECT_EQ(request.getUri().toString(), "/svc/res?x=1");
    EXPECT_EQ(request.getUrlPath().getCharacteristic(), UrlPath::SERVICE_RESOURCE);
    EXPECT_TRUE(request.getUrlPath().hasQueryParameter("x"));
    EXPECT_NE(request.getJson(), nullptr);
}

} // namespace

TEST(WebSocketRequestObject, NamesItsFieldsAndTypes)
{
    EXPECT_EQ(WebSocketRequestObject::FIELD_TYPE, "type");
    EXPECT_EQ(WebSocketRequestObject::FIELD_EVENT, "event");
    EXPECT_EQ(WebSocketRequestObject::FIELD_SUBSCRIPTION_INTERVAL, "interval");
    EXPECT_EQ(WebSocketRequestObject::FIELD_SUBSCRIPTION_UPDATE_LIMIT, "updatelimit");
    EXPECT_EQ(WebSocketRequestObject::FIELD_AUTHORIZATION, "Authorization");
    EXPECT_EQ(WebSocketRequestObject::FIELD_AUTOSUBSCRIBE, "autosubscribe");
    EXPECT_EQ(WebSocketRequestObject::FIELD_DATA, "data");
    EXPECT_EQ(WebSocketRequestObject::FIELD_ERROR, "error");
    EXPECT_EQ(WebSocketRequestObject::TYPE_SUBSCRIBE, "subscribe");
    EXPECT_EQ(WebSocketRequestObject::TYPE_UNSUBSCRIBE, "unsubscribe");
    EXPECT_EQ(WebSocketRequestObject::TYPE_DATA, "data");
}

TEST(WebSocketRequestObject, IsDestroyedThroughItsBase)
{
    bool destroyed = false;
    std::unique_ptr<RequestBase> request = std::make_unique<DestructionProbe>(destroyed);
    request.reset();
    EXPECT_TRUE(destroyed);
}

// What a JSON object says

TEST(WebSocketRequestObject, ReadsEveryFieldOfAnObject)
{
    Object::Ptr json = objectOf(R"({"type":"data","event":"/svc/res/id","interval":1500,)"
                                R"("updatelimit":200,"Authorization":"Bearer x","autosubscribe":true,)"
                                R"("data":{"a":[1]},"other":null})");
    const LogCapture log;
    const WebSocketRequestObject request(json);

    EXPECT_TRUE(request.isValid());
    EXPECT_EQ(request.getType(), "data");
    EXPECT_EQ(request.getEvent().toString(), "/svc/res/id");
    EXPECT_EQ(request.getUri().toString(), "/svc/res/id");
    EXPECT_EQ(request.getUrlPath().getCharacteristic(), UrlPath::SERVICE_RESOURCE_ID);
    EXPECT_TRUE(request.hasInterval());
    EXPECT_EQ(request.getInterval(), 1500);
    EXPECT_EQ(request.getIntervalTimeSpan(), 1500000);
    EXPECT_TRUE(request.hasUpdateLimit());
    EXPECT_EQ(request.getUpdateLimit(), 200);
    EXPECT_EQ(request.getUpdateLimitTimeSpan(), 200000);
    EXPECT_TRUE(request.hasAuthorization());
    EXPECT_EQ(request.getAuthorization(), "Bearer x");
    EXPECT_TRUE(request.isAutosubscribe());
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(WebSocketRequestObject, SharesTheObjectItIsMadeOf)
{
    Object::Ptr json = objectOf(R"({"type":"data","event":"/svc","data":1,"other":[2]})");
    const WebSocketRequestObject request(json);
    EXPECT_EQ(request.getJson(), json.get());
    json->set("later", 3);
    EXPECT_EQ(compact(*request.getJson()),
              R"({"data":1,"event":"/svc","later":3,"other":[2],"type":"data"})");
}

TEST(WebSocketRequestObject, KeepsTheObjectAliveAlone)
{
    Object::Ptr json = objectOf(R"({"type":"data","event":"/svc"})");
    const WebSocketRequestObject request(json);
    json = nullptr;
    EXPECT_EQ(compact(*request.getJson()), R"({"event":"/svc","type":"data"})");
}

TEST(WebSocketRequestObject, NeedsNoMoreThanTypeAndEvent)
{
    const WebSocketRequestObject request(objectOf(R"({"type":"subscribe","event":"/svc?$limit=5"})"));
    EXPECT_TRUE(request.isValid());
    EXPECT_EQ(request.getUrlPath().getService(), "svc");
    EXPECT_TRUE(request.getUrlPath().hasQueryParameter("$limit"));
    EXPECT_TRUE(request.hasPagingCriteria());
    EXPECT_EQ(request.getFirstCriterion<Paging>()->getLimit(), 5);
    expectDefaults(request);
}

TEST(WebSocketRequestObject, ReadsTheCriteriaOfItsEvent)
{
    const WebSocketRequestObject request(
        std::string(R"({"type":"t","event":"/svc/res?$fields=a,b&$sortby=a&$offset=2&$expand=1&$q=b&c=d"})"));
    EXPECT_TRUE(request.isValid());
    EXPECT_TRUE(request.getUrlPath().isValid());
    EXPECT_TRUE(request.hasFieldsCriteria());
    EXPECT_TRUE(request.hasSortbyCriteria());
    EXPECT_TRUE(request.hasPagingCriteria());
    EXPECT_TRUE(request.hasExpandCriteria());
    EXPECT_TRUE(request.hasFreetextCriteria());
    EXPECT_TRUE(request.hasAttributeCriteria());
    EXPECT_EQ(request.getExpansionLevel(), 1U);
}

TEST(WebSocketRequestObject, IsValidWithAQueryThatCondemnsItsAddress)
{
    const WebSocketRequestObject request(
        std::string(R"({"type":"t","event":"/svc/res?$sortby=&$limit=5","interval":7})"));
    EXPECT_TRUE(request.isValid());
    EXPECT_EQ(request.getInterval(), 7);
    EXPECT_FALSE(request.getUrlPath().isValid());
    EXPECT_TRUE(request.hasPagingCriteria()) << "the parameters behind the bad one are read";
}

TEST(WebSocketRequestObject, HasItsCriteriaDespiteABadInterval)
{
    const WebSocketRequestObject request(
        std::string(R"({"type":"t","event":"/svc/res?$limit=5","interval":"100","updatelimit":7})"));
    EXPECT_FALSE(request.isValid());
    EXPECT_TRUE(request.getUrlPath().isValid());
    EXPECT_TRUE(request.hasPagingCriteria());
    EXPECT_EQ(request.getUpdateLimit(), 7);
}

TEST(WebSocketRequestObject, SharesItsCriteriaWithItsCopies)
{
    const WebSocketRequestObject request(std::string(R"({"type":"t","event":"/svc/res?$limit=5"})"));
    const WebSocketRequestObject copy(request);
    EXPECT_EQ(copy.getFirstCriterion<Paging>().get(), request.getFirstCriterion<Paging>().get());
}

TEST(WebSocketRequestObject, AcceptsAnyType)
{
    struct Row {
        const char* json;
        const char* type;
    };
    const Row rows[] = {
        {R"("subscribe")", "subscribe"},
        {R"("unsubscribe")", "unsubscribe"},
        {R"("data")", "data"},
        {R"("error")", "error"},
        {R"("Subscribe")", "Subscribe"},
        {R"("no such type")", "no such type"},
        {R"("")", ""},
        // values that are no text are taken as their text
        {"5", "5"},
        {"-1.5", "-1.5"},
        {"true", "true"},
        {"false", "false"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.json);
        const WebSocketRequestObject request(std::string(R"({"event":"/svc","type":)") + row.json + "}");
        EXPECT_TRUE(request.isValid());
        EXPECT_EQ(request.getType(), row.type);
    }
}

TEST(WebSocketRequestObject, TakesObjectsAndArraysAsTypeByTheirText)
{
    const WebSocketRequestObject array(std::string(R"({"type":[1,"a"],"event":"/svc"})"));
    EXPECT_TRUE(array.isValid());
    EXPECT_THAT(array.getType(), IsJson(R"([1,"a"])"));

    const WebSocketRequestObject request(std::string(R"({"type":{"a":1},"event":"/svc"})"));
    EXPECT_TRUE(request.isValid());
    EXPECT_THAT(request.getType(), IsJson(R"({"a":1})"));
}

TEST(WebSocketRequestObject, AcceptsAnyEventThatIsAUri)
{
    struct Row {
        const char* json;
        const char* uri;
        UrlPath::Characteristic characteristic;
    };
    const Row rows[] = {
        {R"("/")", "/", UrlPath::ROOT},
        {R"("/svc")", "/svc", UrlPath::SERVICE},
        {R"("/api/v1/svc/res")", "/api/v1/svc/res", UrlPath::SERVICE_RESOURCE},
        {R"("svc")", "svc", UrlPath::SERVICE},
        {R"("HTTP://Host/svc")", "http://host/svc", UrlPath::SERVICE},
        // an address that is none leaves the message valid
        {R"("/a/b/c/d")", "/a/b/c/d", UrlPath::INVALID},
        {R"("/svc/res/no-uuid")", "/svc/res/no-uuid", UrlPath::INVALID},
        {R"("/svc/id?x=1")", "/svc/id?x=1", UrlPath::INVALID},
        // the empty address is never parsed: it is that of a request without address
        {R"("")", "", UrlPath::INVALID},
        // a number is taken as its text
        {"5", "5", UrlPath::SERVICE},
        {"true", "true", UrlPath::SERVICE},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.json);
        const WebSocketRequestObject request(std::string(R"({"type":"t","event":)") + row.json + "}");
        EXPECT_TRUE(request.isValid());
        EXPECT_EQ(request.getEvent().toString(), row.uri);
        EXPECT_EQ(request.getUri().toString(), row.uri);
        EXPECT_EQ(request.getUrlPath().getCharacteristic(), row.characteristic);
    }
}

TEST(WebSocketRequestObject, TellsKeysApartByCase)
{
    const WebSocketRequestObject upper(std::string(R"({"Type":"t","event":"/svc"})"));
    EXPECT_FALSE(upper.isValid());

    const WebSocketRequestObject others(subscriptionWith(
        R"("Interval":"x","UPDATELIMIT":"x","authorization":"a","autoSubscribe":"x","AUTHORIZATION":"b")"));
    EXPECT_TRUE(others.isValid());
    expectDefaults(others);
}

TEST(WebSocketRequestObject, IgnoresNullsAmongTheOptionalFields)
{
    const WebSocketRequestObject request(
        subscriptionWith(R"("interval":null,"updatelimit":null,"Authorization":null,"autosubscribe":null)"));
    EXPECT_TRUE(request.isValid());
    expectSubscriptionRead(request);
    expectDefaults(request);
}

TEST(WebSocketRequestObject, CountsAnIntervalOfZeroAsNone)
{
    const WebSocketRequestObject request(subscriptionWith(R"("interval":0)"));
    EXPECT_TRUE(request.isValid());
    EXPECT_FALSE(request.hasInterval());
    EXPECT_EQ(request.getInterval(), 0);
    EXPECT_EQ(request.getIntervalTimeSpan(), 0);
}

TEST(WebSocketRequestObject, CountsAnUpdateLimitOfZeroAsGiven)
{
    const WebSocketRequestObject request(subscriptionWith(R"("updatelimit":0)"));
    EXPECT_TRUE(request.isValid());
    EXPECT_TRUE(request.hasUpdateLimit());
    EXPECT_EQ(request.getUpdateLimit(), 0);
    EXPECT_EQ(request.getUpdateLimitTimeSpan(), 0);
}

TEST(WebSocketRequestObject, TakesEveryIntegerThatFits)
{
    struct Row {
        const char* json;
        Milliseconds milliseconds;
    };
    const Row rows[] = {
        {"1", 1},
        {"-1", -1},
        {"9223372036854775", 9223372036854775},
        {"-9007199254740992", -9007199254740992},
        {"9223372036854775807", LARGEST},
        {"-9223372036854775808", SMALLEST},
        // a truth value is an integer to Poco
        {"true", 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.json);
        const std::string number(row.json);
        const WebSocketRequestObject request(
            subscriptionWith(R"("interval":)" + number + R"(,"updatelimit":)" + number));
        EXPECT_TRUE(request.isValid());
        EXPECT_TRUE(request.hasInterval());
        EXPECT_EQ(request.getInterval(), row.milliseconds);
        EXPECT_TRUE(request.hasUpdateLimit());
        EXPECT_EQ(request.getUpdateLimit(), row.milliseconds);
    }
}

TEST(WebSocketRequestObject, TakesIntegersOfEveryWidth)
{
    const Var values[] = {Poco::Int8(7),  Poco::UInt8(7),  Poco::Int16(7), Poco::UInt16(7),
                          Poco::Int32(7), Poco::UInt32(7), Poco::Int64(7), Poco::UInt64(7)};
    for (const Var& value : values) {
        SCOPED_TRACE(value.type().name());
        const WebSocketRequestObject interval(subscriptionWith("interval", value));
        EXPECT_TRUE(interval.isValid());
        EXPECT_EQ(interval.getInterval(), 7);
        const WebSocketRequestObject updateLimit(subscriptionWith("updatelimit", value));
        EXPECT_TRUE(updateLimit.isValid());
        EXPECT_EQ(updateLimit.getUpdateLimit(), 7);
    }
}

TEST(WebSocketRequestObject, CountsTimeSpansInMicroseconds)
{
    struct Row {
        Milliseconds milliseconds;
        Poco::Clock::ClockDiff microseconds;
    };
    const Row rows[] = {
        {1, 1000},
        {-1, -1000},
        {86400000, 86400000000},
        {9223372036854775, 9223372036854775000},
        {-9223372036854775, -9223372036854775000},
        // beyond 64 bits the product wraps
        {9223372036854776, -9223372036854775616},
        {LARGEST, -1000},
        {SMALLEST, 0},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.milliseconds);
        const OptionalLong limit(row.milliseconds);
        const WebSocketRequestObject request("subscribe", "/svc", limit, limit, nullptr, false);
        EXPECT_EQ(request.getIntervalTimeSpan(), row.microseconds);
        EXPECT_EQ(request.getUpdateLimitTimeSpan(), row.microseconds);
    }
}

TEST(WebSocketRequestObject, KeepsTheAuthorizationAsText)
{
    struct Row {
        const char* json;
        const char* text;
    };
    const Row rows[] = {
        {R"("Basic dXNlcg==")", "Basic dXNlcg=="},
        {R"(" ")", " "},
        {"5", "5"},
        {"1.5", "1.5"},
        {"true", "true"},
        {"false", "false"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.json);
        const WebSocketRequestObject request(subscriptionWith(std::string(R"("Authorization":)") + row.json));
        EXPECT_TRUE(request.isValid());
        EXPECT_TRUE(request.hasAuthorization());
        EXPECT_EQ(request.getAuthorization(), row.text);
    }
}

TEST(WebSocketRequestObject, TakesObjectsAndArraysAsAuthorizationByTheirText)
{
    const WebSocketRequestObject array(subscriptionWith(R"("Authorization":[])"));
    EXPECT_TRUE(array.isValid());
    EXPECT_TRUE(array.hasAuthorization());
    EXPECT_THAT(array.getAuthorization(), IsJson("[]"));

    const WebSocketRequestObject request(subscriptionWith(R"("Authorization":{"user":"u"})"));
    EXPECT_TRUE(request.isValid());
    EXPECT_THAT(request.getAuthorization(), IsJson(R"({"user":"u"})"));
}

TEST(WebSocketRequestObject, CountsAnEmptyAuthorizationAsNone)
{
    const WebSocketRequestObject request(subscriptionWith(R"("Authorization":"")"));
    EXPECT_TRUE(request.isValid());
    EXPECT_FALSE(request.hasAuthorization());
    EXPECT_EQ(request.getAuthorization(), "");
}

TEST(WebSocketRequestObject, ReadsTheAutosubscribeFlag)
{
    const WebSocketRequestObject on(subscriptionWith(R"("autosubscribe":true)"));
    EXPECT_TRUE(on.isValid());
    EXPECT_TRUE(on.isAutosubscribe());
    const WebSocketRequestObject off(subscriptionWith(R"("autosubscribe":false)"));
    EXPECT_TRUE(off.isValid());
    EXPECT_FALSE(off.isAutosubscribe());
}

// What is refused

TEST(WebSocketRequestObject, ReadsNothingFromTextsThatAreNoObject)
{
    const std::string rows[] = {
        "",
        " ",
        "no JSON",
        "{",
        R"({"type":"subscribe","event":"/svc")",
        R"({"type":"subscribe","event":"/svc"}})",
        R"({"type":"subscribe","event":"/svc"} and more)",
        R"({'type':'subscribe','event':'/svc'})",
        R"({"type":"subscribe","event":"/svc",})",
        R"({"type":"subscribe","event":"/svc","interval":NaN})",
        R"({"type":"subscribe","event":"/svc","interval":007})",
        "{\"type\":\"subscribe\",\"event\":\"/svc\xff\"}",
        "\xef\xbb\xbf{\"type\":\"subscribe\",\"event\":\"/svc\"}",
        std::string("\0", 1),
        // JSON, yet no object with a member
        "{}",
        " { } ",
        "[]",
        "[1]",
        R"([{"type":"subscribe","event":"/svc"}])",
        R"("subscribe")",
        "5",
        "0",
        "true",
        "false",
        "null",
        // deeper than the parser goes
        R"({"type":"subscribe","event":"/svc","data":)" + std::string(10000, '[') + std::string(10000, ']') +
            "}",
        std::string(100000, '['),
        std::string(100000, '{'),
    };
    for (const std::string& row : rows) {
        SCOPED_TRACE(row.substr(0, 100));
        const LogCapture log;
        const WebSocketRequestObject request(row);
        EXPECT_EQ(request.getJson(), nullptr);
        expectNothingRead(request);
        EXPECT_THAT(log.texts(), IsEmpty());
    }
}

TEST(WebSocketRequestObject, ReadsNothingWithoutAType)
{
    const std::string rows[] = {
        R"({"event":"/svc/res?x=1","interval":5,"updatelimit":5,"Authorization":"a","autosubscribe":true})",
        R"({"type":null,"event":"/svc/res?x=1","interval":5,"Authorization":"a","autosubscribe":true})",
        R"({"other":1})",
    };
    for (const std::string& row : rows) {
        SCOPED_TRACE(row);
        const LogCapture log;
        const WebSocketRequestObject request(row);
        EXPECT_THAT(compact(*request.getJson()), IsJson(row));
        expectNothingRead(request);
        EXPECT_THAT(log.texts(), IsEmpty());
    }
}

TEST(WebSocketRequestObject, KeepsAnObjectWithoutMembers)
{
    Object::Ptr json = new Object;
    const WebSocketRequestObject request(json);
    EXPECT_EQ(request.getJson(), json.get());
    expectNothingRead(request);
}

TEST(WebSocketRequestObject, ReadsTheTypeAloneWithoutAnEvent)
{
    const char* const rows[] = {
        "",
        R"("event":null,)",
        R"("event":"http://host:99999/svc",)",
        R"("event":"http://host:port/svc",)",
        R"("event":"http://[::1",)",
        R"("event":"/svc/%zz",)",
    };
    for (const std::string row : rows) {
        SCOPED_TRACE(row);
        const LogCapture log;
        const WebSocketRequestObject request(
            "{" + row +
            R"("type":"data","interval":5,"updatelimit":5,"Authorization":"a","autosubscribe":true})");
        EXPECT_FALSE(request.isValid());
        EXPECT_NE(request.getJson(), nullptr);
        EXPECT_EQ(request.getType(), "data");
        EXPECT_EQ(request.getEvent().toString(), "");
        EXPECT_EQ(request.getUrlPath().getCharacteristic(), UrlPath::INVALID);
        expectDefaults(request);
        EXPECT_THAT(log.texts(), IsEmpty());
    }
}

TEST(WebSocketRequestObject, ReadsTypeAndEventIfTheQueryCannotBeDecoded)
{
    const LogCapture log;
    const WebSocketRequestObject request(std::string(
        R"({"type":"data","event":"/svc?x=%zz","interval":5,"updatelimit":5,"Authorization":"a","autosubscribe":true})"));
    EXPECT_FALSE(request.isValid());
    EXPECT_NE(request.getJson(), nullptr);
    EXPECT_EQ(request.getType(), "data");
    EXPECT_EQ(request.getEvent().toString(), "/svc?x=%zz");
    EXPECT_EQ(request.getUrlPath().getCharacteristic(), UrlPath::INVALID);
    EXPECT_FALSE(request.hasAnyCriteria());
    expectDefaults(request);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(WebSocketRequestObject, ReadsTypeAndEventIfASearchIsNoRegularExpression)
{
    const LogCapture log;
    const WebSocketRequestObject request(std::string(
        R"({"type":"data","event":"/svc/res?$limit=5&c=d&$q=(&e=f","interval":5,"autosubscribe":true})"));
    EXPECT_FALSE(request.isValid());
    EXPECT_EQ(request.getType(), "data");
    EXPECT_EQ(request.getEvent().toString(), "/svc/res?$limit=5&c=d&$q=(&e=f");
    EXPECT_TRUE(request.hasAttributeCriteria()) << "the parameters before it were walked";
    EXPECT_FALSE(request.hasFreetextCriteria());
    EXPECT_FALSE(request.hasPagingCriteria()) << "paging is built behind the walk";
    expectDefaults(request);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(WebSocketRequestObject, RefusesLimitsThatAreNoIntegers)
{
    const char* const rows[] = {R"("100")", R"("")", "1.5", "2.0", "1e3", "[]", "[1]", "{}", R"({"a":1})"};
    for (const std::string row : rows) {
        SCOPED_TRACE(row);
        const LogCapture log;
        const std::string rest = R"(,"Authorization":"a","autosubscribe":true)";

        const WebSocketRequestObject interval(
            subscriptionWith(R"("updatelimit":7,"interval":)" + row + rest));
        EXPECT_FALSE(interval.isValid());
        expectSubscriptionRead(interval);
        EXPECT_FALSE(interval.hasInterval());
        EXPECT_EQ(interval.getInterval(), 0);
        EXPECT_EQ(interval.getUpdateLimit(), 7) << "what follows the fault is read";
        EXPECT_EQ(interval.getAuthorization(), "a");
        EXPECT_TRUE(interval.isAutosubscribe());

        const WebSocketRequestObject updateLimit(
            subscriptionWith(R"("interval":7,"updatelimit":)" + row + rest));
        EXPECT_FALSE(updateLimit.isValid());
        expectSubscriptionRead(updateLimit);
        EXPECT_EQ(updateLimit.getInterval(), 7);
        EXPECT_FALSE(updateLimit.hasUpdateLimit());
        EXPECT_EQ(updateLimit.getUpdateLimit(), 30);
        EXPECT_EQ(updateLimit.getAuthorization(), "a");
        EXPECT_TRUE(updateLimit.isAutosubscribe());

        EXPECT_THAT(log.texts(), IsEmpty());
    }
}

TEST(WebSocketRequestObject, RefusesAnAutosubscribeThatIsNoBoolean)
{
    const char* const rows[] = {R"("true")", "1", "0", R"("")", "1.0", "[]", "{}"};
    for (const std::string row : rows) {
        SCOPED_TRACE(row);
        const LogCapture log;
        const WebSocketRequestObject request(
            subscriptionWith(R"("interval":5,"updatelimit":7,"Authorization":"a","autosubscribe":)" + row));
        EXPECT_FALSE(request.isValid());
        expectSubscriptionRead(request);
        EXPECT_EQ(request.getInterval(), 5);
        EXPECT_EQ(request.getUpdateLimit(), 7);
        EXPECT_EQ(request.getAuthorization(), "a");
        EXPECT_FALSE(request.isAutosubscribe());
        EXPECT_THAT(log.texts(), IsEmpty());
    }
}

TEST(WebSocketRequestObject, StopsAtAnIntegerThatDoesNotFit)
{
    const LogCapture log;
    const WebSocketRequestObject interval(subscriptionWith(
        R"("interval":9223372036854775808,"updatelimit":7,"Authorization":"a","autosubscribe":true)"));
    EXPECT_FALSE(interval.isValid());
    expectSubscriptionRead(interval);
    expectDefaults(interval);

    const WebSocketRequestObject updateLimit(subscriptionWith(
        R"("interval":5,"updatelimit":9223372036854775808,"Authorization":"a","autosubscribe":true)"));
    EXPECT_FALSE(updateLimit.isValid());
    expectSubscriptionRead(updateLimit);
    EXPECT_EQ(updateLimit.getInterval(), 5);
    EXPECT_FALSE(updateLimit.hasUpdateLimit());
    EXPECT_FALSE(updateLimit.hasAuthorization());
    EXPECT_FALSE(updateLimit.isAutosubscribe());
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(WebSocketRequestObject, DropsExceptionsOfEveryKind)
{
    const LogCapture log;
    const WebSocketRequestObject type(subscriptionWith("type", ThrowingValue()));
    EXPECT_FALSE(type.isValid());
    EXPECT_EQ(type.getType(), "");
    EXPECT_EQ(type.getEvent().toString(), "");

    const WebSocketRequestObject event(subscriptionWith("event", ThrowingValue()));
    EXPECT_FALSE(event.isValid());
    EXPECT_EQ(event.getType(), "subscribe");
    EXPECT_EQ(event.getEvent().toString(), "");

    Object::Ptr json = subscriptionWith("Authorization", ThrowingValue());
    json->set("interval", 5);
    json->set("autosubscribe", true);
    const WebSocketRequestObject authorization(json);
    EXPECT_FALSE(authorization.isValid());
    expectSubscriptionRead(authorization);
    EXPECT_EQ(authorization.getInterval(), 5);
    EXPECT_FALSE(authorization.hasAuthorization());
    EXPECT_FALSE(authorization.isAutosubscribe()) << "what follows a throwing value is not read";
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(WebSocketRequestObject, ThrowsOnANullObject)
{
    const Object::Ptr none;
    EXPECT_THROW(const WebSocketRequestObject request(none), Poco::NullPointerException);
}

// What a text says

TEST(WebSocketRequestObject, ReadsEveryFieldOfAText)
{
    const LogCapture log;
    const WebSocketRequestObject request(std::string(
        "\n { \"type\" : \"unsubscribe\", \"event\" : \"/svc/res\", \"interval\" : 100, \"updatelimit\" : 0,"
        " \"Authorization\" : \"a\\u00e9\", \"autosubscribe\" : true } \n"));
    EXPECT_TRUE(request.isValid());
    EXPECT_EQ(request.getType(), "unsubscribe");
    EXPECT_EQ(request.getEvent().toString(), "/svc/res");
    EXPECT_EQ(request.getInterval(), 100);
    EXPECT_EQ(request.getUpdateLimit(), 0);
    EXPECT_EQ(request.getAuthorization(), "a\xc3\xa9");
    EXPECT_TRUE(request.isAutosubscribe());
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(WebSocketRequestObject, KeepsTheKeysOfATextInAlphabeticalOrder)
{
    const WebSocketRequestObject request(
        std::string(R"({"type":"data","other":{"b":1,"a":2},"event":"/svc","data":[1,2]})"));
    EXPECT_EQ(compact(*request.getJson()),
              R"({"data":[1,2],"event":"/svc","other":{"a":2,"b":1},"type":"data"})");
}

TEST(WebSocketRequestObject, TakesTheLastOfEqualKeys)
{
    const WebSocketRequestObject request(std::string(R"({"type":"a","type":"b","event":"/x","event":"/y"})"));
    EXPECT_TRUE(request.isValid());
    EXPECT_EQ(request.getType(), "b");
    EXPECT_EQ(request.getEvent().toString(), "/y");
}

TEST(WebSocketRequestObject, ReadsLongTexts)
{
    const std::string longText(1000000, 'a');
    const WebSocketRequestObject request(
        subscriptionWith(R"("Authorization":")" + longText + R"(","data":")" + longText + "\""));
    EXPECT_TRUE(request.isValid());
    EXPECT_EQ(request.getAuthorization(), longText);
}

TEST(WebSocketRequestObject, KeepsNulCharacters)
{
    const WebSocketRequestObject request(subscriptionWith(R"("Authorization":"a\u0000b")"));
    EXPECT_TRUE(request.isValid());
    EXPECT_EQ(request.getAuthorization(), std::string("a\0b", 3));
}

// Messages to send

TEST(WebSocketRequestObject, BuildsAMessageOfTypeAndEvent)
{
    const WebSocketRequestObject request("subscribe", "/svc/res?x=1", OptionalLong(), OptionalLong(), nullptr,
                                         false);
    EXPECT_TRUE(request.isValid());
    expectSubscriptionRead(request);
    expectDefaults(request);
    EXPECT_EQ(compact(*request.getJson()), R"({"event":"/svc/res?x=1","type":"subscribe"})");
}

TEST(WebSocketRequestObject, BuildsAMessageOfEverything)
{
    const std::string authorization = "Bearer \"x\"";
    const WebSocketRequestObject request("data", "/svc", OptionalLong(1000), OptionalLong(50), &authorization,
                                         true);
    EXPECT_TRUE(request.isValid());
    EXPECT_EQ(request.getType(), "data");
    EXPECT_EQ(request.getEvent().toString(), "/svc");
    EXPECT_EQ(request.getUrlPath().getCharacteristic(), UrlPath::SERVICE);
    EXPECT_EQ(request.getInterval(), 1000);
    EXPECT_EQ(request.getUpdateLimit(), 50);
    EXPECT_EQ(request.getAuthorization(), authorization);
    EXPECT_TRUE(request.isAutosubscribe());
    EXPECT_EQ(compact(*request.getJson()),
              R"({"Authorization":"Bearer \"x\"","autosubscribe":true,"event":"/svc","interval":1000,)"
              R"("type":"data","updatelimit":50})");
}

TEST(WebSocketRequestObject, BuildsMessagesThatReadBackEqual)
{
    const std::string authorization = "a\"\\\n\xc3\xa9";
    for (const long milliseconds : {0L, 1L, -1L, LARGEST, SMALLEST}) {
        SCOPED_TRACE(milliseconds);
        const OptionalLong limit(milliseconds);
        const WebSocketRequestObject sent("unsubscribe", "/svc/res?$limit=5&a=b%20c", limit, limit,
                                          &authorization, true);
        const WebSocketRequestObject received(compact(*sent.getJson()));
        EXPECT_TRUE(received.isValid());
        EXPECT_EQ(received.getType(), sent.getType());
        EXPECT_EQ(received.getEvent(), sent.getEvent());
        EXPECT_EQ(received.getUrlPath(), sent.getUrlPath());
        EXPECT_EQ(received.hasInterval(), sent.hasInterval());
        EXPECT_EQ(received.getInterval(), sent.getInterval());
        EXPECT_EQ(received.hasUpdateLimit(), sent.hasUpdateLimit());
        EXPECT_EQ(received.getUpdateLimit(), sent.getUpdateLimit());
        EXPECT_EQ(received.getAuthorization(), sent.getAuthorization());
        EXPECT_EQ(received.isAutosubscribe(), sent.isAutosubscribe());
    }
}

TEST(WebSocketRequestObject, WritesZerosAndEmptyTextsThatAreGiven)
{
    const std::string empty;
    const WebSocketRequestObject request("subscribe", "/svc", OptionalLong(0), OptionalLong(0), &empty,
                                         false);
    EXPECT_TRUE(request.isValid());
    EXPECT_FALSE(request.hasInterval());
    EXPECT_TRUE(request.hasUpdateLimit());
    EXPECT_EQ(request.getUpdateLimit(), 0);
    EXPECT_FALSE(request.hasAuthorization());
    EXPECT_EQ(compact(*request.getJson()),
              R"({"Authorization":"","event":"/svc","interval":0,"type":"subscribe","updatelimit":0})");
}

TEST(WebSocketRequestObject, WritesTheEventAsItIsGiven)
{
    const WebSocketRequestObject request("subscribe", "HTTP://Host/svc", OptionalLong(), OptionalLong(),
                                         nullptr, false);
    EXPECT_EQ(compact(*request.getJson()), R"({"event":"HTTP://Host/svc","type":"subscribe"})");
    EXPECT_EQ(request.getEvent().toString(), "http://host/svc");
    EXPECT_TRUE(request.getJson()->get("event").isString());
    EXPECT_TRUE(request.getJson()->get("type").isString());
}

TEST(WebSocketRequestObject, BuildsInvalidMessagesWithoutTypeOrEvent)
{
    struct Row {
        const char* type;
        const char* event;
        const char* json;
    };
    const Row rows[] = {
        {"", "/svc", R"({"event":"/svc","type":""})"},
        {"subscribe", "", R"({"event":"","type":"subscribe"})"},
        {"", "", R"({"event":"","type":""})"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.json);
        const LogCapture log;
        const WebSocketRequestObject request(row.type, row.event, OptionalLong(), OptionalLong(), nullptr,
                                             false);
        EXPECT_FALSE(request.isValid());
        EXPECT_EQ(request.getType(), row.type);
        EXPECT_EQ(request.getEvent().toString(), row.event);
        EXPECT_EQ(request.getUri().toString(), row.event);
        EXPECT_EQ(compact(*request.getJson()), row.json);
        EXPECT_THAT(log.texts(), IsEmpty());
    }
}

TEST(WebSocketRequestObject, BuildsMessagesOfUnknownTypesAndBadAddresses)
{
    const WebSocketRequestObject request("no such type", "/a/b/c/d", OptionalLong(), OptionalLong(), nullptr,
                                         false);
    EXPECT_TRUE(request.isValid());
    EXPECT_EQ(request.getType(), "no such type");
    EXPECT_FALSE(request.getUrlPath().isValid());
}

TEST(WebSocketRequestObject, ThrowsOutOfItsConstructorIfTheEventCannotBeRead)
{
    for (const std::string event : {"http://host:99999/svc", "/svc/%zz", "/svc?x=%zz"}) {
        SCOPED_TRACE(event);
        EXPECT_THROW(
            WebSocketRequestObject("subscribe", event, OptionalLong(), OptionalLong(), nullptr, false),
            Poco::URISyntaxException);
    }
    EXPECT_THROW(
        WebSocketRequestObject("subscribe", "/svc?$q=(", OptionalLong(), OptionalLong(), nullptr, false),
        Poco::RegularExpressionException);
}

// Another event

TEST(WebSocketRequestObject, ChangesEventDocumentAndAddressTogether)
{
    WebSocketRequestObject request(subscriptionWith(R"("interval":5)"));
    request.setEvent(Poco::URI("HTTP://Host/other?y=2"));
    EXPECT_TRUE(request.isValid());
    EXPECT_EQ(request.getEvent().toString(), "http://host/other?y=2");
    EXPECT_EQ(request.getUri().toString(), "http://host/other?y=2");
    EXPECT_EQ(request.getUrlPath().getCharacteristic(), UrlPath::SERVICE);
    EXPECT_FALSE(request.getUrlPath().hasQueryParameter("x"));
    EXPECT_TRUE(request.getUrlPath().hasQueryParameter("y"));
    EXPECT_EQ(compact(*request.getJson()),
              R"({"event":"http://host/other?y=2","interval":5,"type":"subscribe"})");
    EXPECT_EQ(request.getInterval(), 5);
    EXPECT_EQ(request.getType(), "subscribe");
}

TEST(WebSocketRequestObject, ChangesCriteriaAndDocumentTogether)
{
    WebSocketRequestObject request("t", "/svc/res?$limit=5", OptionalLong(), OptionalLong(), nullptr, false);
    EXPECT_TRUE(request.hasPagingCriteria());
    request.setEvent(Poco::URI("/svc/res?$sortby=a"));
    EXPECT_FALSE(request.hasPagingCriteria());
    EXPECT_TRUE(request.hasSortbyCriteria());
    EXPECT_EQ(compact(*request.getJson()), R"({"event":"/svc/res?$sortby=a","type":"t"})");
}

TEST(WebSocketRequestObject, KeepsItsCriteriaIfTheEventIsTheSame)
{
    WebSocketRequestObject request("t", "/svc/res?$limit=5", OptionalLong(), OptionalLong(), nullptr, false);
    const Poco::SharedPtr<Paging> paging = request.getFirstCriterion<Paging>();
    request.addRenderCriterion(Poco::makeShared<SortingParameter>("a"));
    request.setEvent(Poco::URI("/svc/res?$limit=5"));
    EXPECT_EQ(request.getFirstCriterion<Paging>().get(), paging.get());
    EXPECT_TRUE(request.hasSortbyCriteria()) << "nothing is walked again";
}

TEST(WebSocketRequestObject, ChangesTheEventOfABuiltMessage)
{
    WebSocketRequestObject request("subscribe", "/svc", OptionalLong(), OptionalLong(), nullptr, false);
    request.setEvent(Poco::URI("/svc/res"));
    EXPECT_EQ(compact(*request.getJson()), R"({"event":"/svc/res","type":"subscribe"})");
    EXPECT_EQ(request.getUrlPath().getCharacteristic(), UrlPath::SERVICE_RESOURCE);
}

TEST(WebSocketRequestObject, ChangesTheSharedDocumentWithTheEvent)
{
    Object::Ptr json = subscriptionWith("interval", 5);
    WebSocketRequestObject request(json);
    const WebSocketRequestObject copy(request);
    request.setEvent(Poco::URI("/other"));
    EXPECT_EQ(json->getValue<std::string>("event"), "/other");
    EXPECT_EQ(copy.getJson(), json.get());
    EXPECT_EQ(copy.getEvent().toString(), "/svc/res?x=1");
    EXPECT_EQ(copy.getUri().toString(), "/svc/res?x=1");
}

TEST(WebSocketRequestObject, TakesItsOwnUrisAsTheNewEvent)
{
    WebSocketRequestObject request(subscriptionWith(R"("interval":5)"));
    request.setEvent(request.getEvent());
    expectSubscriptionRead(request);
    request.setEvent(request.getUri());
    expectSubscriptionRead(request);
    request.setEvent(request.getUrlPath().getUri());
    expectSubscriptionRead(request);
    EXPECT_TRUE(request.isValid());
    EXPECT_EQ(request.getJson()->getValue<std::string>("event"), "/svc/res?x=1");
}

TEST(WebSocketRequestObject, DoesNotBecomeValidByAnEvent)
{
    WebSocketRequestObject request(subscriptionWith(R"("interval":"5")"));
    request.setEvent(Poco::URI("/svc"));
    EXPECT_FALSE(request.isValid());
    EXPECT_EQ(request.getUrlPath().getCharacteristic(), UrlPath::SERVICE);
}

TEST(WebSocketRequestObject, StaysValidWithABadAddress)
{
    WebSocketRequestObject request(subscriptionWith(R"("interval":5)"));
    request.setEvent(Poco::URI("/a/b/c/d"));
    EXPECT_TRUE(request.isValid());
    EXPECT_FALSE(request.getUrlPath().isValid());
}

TEST(WebSocketRequestObject, ThrowsOnAnEventWithoutDocument)
{
    WebSocketRequestObject request(std::string("no JSON"));
    EXPECT_THROW(request.setEvent(Poco::URI("/svc")), Poco::NullPointerException);
    EXPECT_EQ(request.getEvent().toString(), "/svc");
    EXPECT_EQ(request.getUri().toString(), "");
    EXPECT_EQ(request.getJson(), nullptr);
    EXPECT_FALSE(request.isValid());
}

TEST(WebSocketRequestObject, ThrowsOnAnEventWhoseQueryCannotBeDecoded)
{
    WebSocketRequestObject request(subscriptionWith(R"("interval":5)"));
    EXPECT_THROW(request.setEvent(Poco::URI("/other?x=%zz")), Poco::URISyntaxException);
    EXPECT_EQ(request.getEvent().toString(), "/other?x=%zz");
    EXPECT_EQ(request.getJson()->getValue<std::string>("event"), "/other?x=%zz");
    EXPECT_EQ(request.getUri().toString(), "/svc/res?x=1");
}

TEST(WebSocketRequestObject, ThrowsOnceOnAnEventWhoseSearchIsNoRegularExpression)
{
    WebSocketRequestObject request(subscriptionWith(R"("interval":5)"));
    const Poco::URI event("/other?$q=(");
    EXPECT_THROW(request.setEvent(event), Poco::RegularExpressionException);
    EXPECT_EQ(request.getEvent(), event);
    EXPECT_EQ(request.getUri(), event);
    EXPECT_EQ(request.getJson()->getValue<std::string>("event"), "/other?$q=(");
    EXPECT_FALSE(request.hasFreetextCriteria());
    request.setEvent(event);
    EXPECT_FALSE(request.hasFreetextCriteria()) << "the address is the same, so nothing is walked again";
}

// Copies

TEST(WebSocketRequestObject, SharesTheDocumentWithItsCopies)
{
    const std::string authorization = "a";
    const WebSocketRequestObject original("data", "/svc?x=1", OptionalLong(5), OptionalLong(7),
                                          &authorization, true);
    WebSocketRequestObject assigned(std::string(""));
    assigned = original;
    for (const WebSocketRequestObject& copy : {original, assigned}) {
        EXPECT_TRUE(copy.isValid());
        EXPECT_EQ(copy.getJson(), original.getJson());
        EXPECT_EQ(copy.getType(), "data");
        EXPECT_EQ(copy.getEvent().toString(), "/svc?x=1");
        EXPECT_EQ(copy.getUrlPath(), original.getUrlPath());
        EXPECT_EQ(copy.getInterval(), 5);
        EXPECT_EQ(copy.getUpdateLimit(), 7);
        EXPECT_EQ(copy.getAuthorization(), "a");
        EXPECT_TRUE(copy.isAutosubscribe());
    }
}

TEST(WebSocketRequestObject, MovesByMember)
{
    WebSocketRequestObject original(subscriptionWith(R"("interval":5,"Authorization":"a")"));
    const Object* const json = original.getJson();
    WebSocketRequestObject moved(std::move(original));
    EXPECT_TRUE(moved.isValid());
    expectSubscriptionRead(moved);
    EXPECT_EQ(moved.getJson(), json);
    EXPECT_EQ(moved.getInterval(), 5);

    WebSocketRequestObject assigned(std::string(""));
    assigned = std::move(moved);
    EXPECT_TRUE(assigned.isValid());
    expectSubscriptionRead(assigned);
    EXPECT_EQ(assigned.getJson(), json);
    EXPECT_EQ(assigned.getAuthorization(), "a");
}

// What derived classes may do

TEST(WebSocketRequestObject, BeginsInvalidForDerivedClasses)
{
    const Probe request;
    EXPECT_EQ(request.getJson(), nullptr);
    expectNothingRead(request);
}

TEST(WebSocketRequestObject, ReadsAnObjectLater)
{
    Probe request;
    Object::Ptr json = subscriptionWith("interval", 5);
    request.initFromJsonObject(json);
    EXPECT_TRUE(request.isValid());
    expectSubscriptionRead(request);
    EXPECT_EQ(request.getJson(), json.get());
    EXPECT_EQ(request.getInterval(), 5);
}

TEST(WebSocketRequestObject, ReadsACopyOfAnObject)
{
    Probe request;
    Object::Ptr json = subscriptionWith("interval", 5);
    const Object::Ptr nested = new Object;
    json->set("data", nested);
    request.copyAndInitFromJsonObject(*json);
    EXPECT_TRUE(request.isValid());
    expectSubscriptionRead(request);
    EXPECT_EQ(request.getInterval(), 5);
    EXPECT_NE(request.getJson(), json.get());
    EXPECT_EQ(request.getJson()->getObject("data").get(), nested.get()) << "only the top level is copied";

    json->set("interval", 6);
    request.setEvent(Poco::URI("/other"));
    EXPECT_EQ(json->getValue<std::string>("event"), "/svc/res?x=1");
    EXPECT_EQ(request.getJson()->getValue<int>("interval"), 5);
}

TEST(WebSocketRequestObject, ReadsACopyThatKeepsItsOrder)
{
    Probe request;
    auto json = std::make_unique<Object>(Poco::JSON_PRESERVE_KEY_ORDER);
    json->set("type", "t");
    json->set("event", "/svc");
    json->set("data", 1);
    request.copyAndInitFromJsonObject(*json);
    json.reset();
    EXPECT_TRUE(request.isValid());
    EXPECT_EQ(compact(*request.getJson()), R"({"type":"t","event":"/svc","data":1})");
}

TEST(WebSocketRequestObject, ReadsACopyOfItsOwnObject)
{
    Probe request(subscriptionWith(R"("interval":5)"));
    const Object* const before = request.getJson();
    request.copyAndInitFromJsonObject(*before);
    EXPECT_TRUE(request.isValid());
    expectSubscriptionRead(request);
    EXPECT_EQ(request.getInterval(), 5);
}

TEST(WebSocketRequestObject, ReadsACopyOfAnEmptyObject)
{
    Probe request;
    request.copyAndInitFromJsonObject(Object());
    ASSERT_NE(request.getJson(), nullptr);
    EXPECT_EQ(compact(*request.getJson()), "{}");
    expectNothingRead(request);
}

TEST(WebSocketRequestObject, KeepsWhatALaterObjectDoesNotSay)
{
    const std::string all =
        subscriptionWith(R"("interval":5,"updatelimit":7,"Authorization":"a","autosubscribe":true)");

    Probe request(all);
    request.initFromJsonObject(objectOf(R"({"type":"data","event":"/other"})"));
    EXPECT_TRUE(request.isValid());
    EXPECT_EQ(request.getType(), "data");
    EXPECT_EQ(request.getUri().toString(), "/other");
    EXPECT_EQ(request.getInterval(), 5);
    EXPECT_EQ(request.getUpdateLimit(), 7);
    EXPECT_EQ(request.getAuthorization(), "a");
    EXPECT_TRUE(request.isAutosubscribe());

    Probe broken(all);
    broken.initFromJsonObject(objectOf(R"({"type":"data"})"));
    EXPECT_TRUE(broken.isValid()) << "the validity is never cleared";
    EXPECT_EQ(broken.getType(), "data");
    EXPECT_EQ(broken.getUri().toString(), "/svc/res?x=1");
    EXPECT_EQ(compact(*broken.getJson()), R"({"type":"data"})");

    Probe faulty(all);
    faulty.initFromJsonObject(subscriptionWith("interval", "5"));
    EXPECT_TRUE(faulty.isValid()) << "nor by a value of another kind";
    EXPECT_EQ(faulty.getInterval(), 5);
}

TEST(WebSocketRequestObject, ReplacesWhatALaterObjectSays)
{
    Probe request(
        subscriptionWith(R"("interval":5,"updatelimit":7,"Authorization":"a","autosubscribe":true)"));
    request.initFromJsonObject(objectOf(
        R"({"type":"t","event":"/svc/res?x=1","interval":0,"updatelimit":1,"Authorization":"","autosubscribe":false})"));
    EXPECT_TRUE(request.isValid());
    EXPECT_FALSE(request.hasInterval());
    EXPECT_EQ(request.getUpdateLimit(), 1);
    EXPECT_FALSE(request.hasAuthorization());
    EXPECT_FALSE(request.isAutosubscribe());
}

TEST(WebSocketRequestObject, WalksTheQueryOfALaterObjectAnew)
{
    Probe request(std::string(R"({"type":"t","event":"/svc/res?$limit=5"})"));
    request.initFromJsonObject(objectOf(R"({"type":"t","event":"/svc/res?$sortby=a"})"));
    EXPECT_FALSE(request.hasPagingCriteria());
    EXPECT_TRUE(request.hasSortbyCriteria());
}

TEST(WebSocketRequestObject, BecomesValidByALaterObject)
{
    Probe request(subscriptionWith(R"("interval":"5")"));
    ASSERT_FALSE(request.isValid());
    request.initFromJsonObject(subscriptionWith("interval", 6));
    EXPECT_TRUE(request.isValid());
    EXPECT_EQ(request.getInterval(), 6);
}

TEST(WebSocketRequestObject, ThrowsOnALaterNullObjectAndHasNoneThen)
{
    Probe request(subscriptionWith(R"("interval":5)"));
    EXPECT_THROW(request.initFromJsonObject(Object::Ptr()), Poco::NullPointerException);
    EXPECT_EQ(request.getJson(), nullptr);
    EXPECT_TRUE(request.isValid());
    EXPECT_EQ(request.getType(), "subscribe");
    EXPECT_EQ(request.getInterval(), 5);
}

// The exported defaults

TEST_F(WebSocketRequestDefaults, AreNoIntervalAndThirtyMilliseconds)
{
    EXPECT_EQ(DEFAULT_INTERVAL_MS, 0);
    EXPECT_EQ(DEFAULT_UPDATELIMT_MS, 30);
}

TEST_F(WebSocketRequestDefaults, StandForWhatAMessageDoesNotSay)
{
    const WebSocketRequestObject silent(subscriptionWith(R"("other":1)"));
    const WebSocketRequestObject zero(subscriptionWith(R"("interval":0,"updatelimit":0)"));
    const WebSocketRequestObject unread(std::string(""));
    DEFAULT_INTERVAL_MS = 500;
    DEFAULT_UPDATELIMT_MS = 250;

    EXPECT_FALSE(silent.hasInterval());
    EXPECT_EQ(silent.getInterval(), 500);
    EXPECT_EQ(silent.getIntervalTimeSpan(), 500000);
    EXPECT_FALSE(silent.hasUpdateLimit());
    EXPECT_EQ(silent.getUpdateLimit(), 250);
    EXPECT_EQ(silent.getUpdateLimitTimeSpan(), 250000);

    EXPECT_FALSE(zero.hasInterval());
    EXPECT_EQ(zero.getInterval(), 500) << "an interval of 0 is none";
    EXPECT_EQ(zero.getIntervalTimeSpan(), 500000);
    EXPECT_EQ(zero.getUpdateLimit(), 0) << "an update limit of 0 is one";
    EXPECT_EQ(zero.getUpdateLimitTimeSpan(), 0);

    EXPECT_EQ(unread.getInterval(), 500);
    EXPECT_EQ(unread.getUpdateLimit(), 250);
}

TEST_F(WebSocketRequestDefaults, GiveWayToWhatAMessageSays)
{
    DEFAULT_INTERVAL_MS = 500;
    DEFAULT_UPDATELIMT_MS = 250;
    const WebSocketRequestObject request(subscriptionWith(R"("interval":-5,"updatelimit":7)"));
    EXPECT_TRUE(request.hasInterval());
    EXPECT_EQ(request.getInterval(), -5);
    EXPECT_EQ(request.getUpdateLimit(), 7);
}

TEST_F(WebSocketRequestDefaults, AreNeverWrittenByAMessage)
{
    const WebSocketRequestObject read(subscriptionWith(R"("interval":5,"updatelimit":7)"));
    const WebSocketRequestObject built("t", "/svc", OptionalLong(5), OptionalLong(7), nullptr, false);
    EXPECT_EQ(read.getInterval(), built.getInterval());
    EXPECT_EQ(DEFAULT_INTERVAL_MS, 0);
    EXPECT_EQ(DEFAULT_UPDATELIMT_MS, 30);
}

TEST_F(WebSocketRequestDefaults, AreWrittenIntoNoDocument)
{
    DEFAULT_INTERVAL_MS = 500;
    DEFAULT_UPDATELIMT_MS = 250;
    const WebSocketRequestObject request("t", "/svc", OptionalLong(), OptionalLong(), nullptr, false);
    EXPECT_EQ(compact(*request.getJson()), R"({"event":"/svc","type":"t"})");
}

} // namespace Zovi::Command
