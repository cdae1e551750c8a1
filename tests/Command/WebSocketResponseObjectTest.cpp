#include "Command/WebSocketResponseObject.h"

#include "JsonMatchers.h"
#include "LogCapture.h"

#include <Poco/DateTime.h>
#include <Poco/Exception.h>

#include <gmock/gmock.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace Zovi::Command
{

namespace
{

using Poco::Dynamic::Var;
using Poco::JSON::Array;
using Poco::JSON::Object;
using Poco::Net::HTTPResponse;
using Test::compact;
using Test::IsJson;
using Test::LogCapture;
using Test::parseJson;
using ::testing::ElementsAre;
using ::testing::Ge;
using ::testing::IsEmpty;
using ::testing::Le;
using ::testing::SizeIs;

using RequestError = WebSocketResponseObject::RequestError;
using OptionalLong = Poco::Optional<long>;

static_assert(std::is_base_of_v<ResponseObject, WebSocketResponseObject>);
static_assert(std::is_convertible_v<WebSocketResponseObject*, ResponseObject*>, "the base is public");
static_assert(std::has_virtual_destructor_v<WebSocketResponseObject>);
static_assert(!std::is_default_constructible_v<WebSocketResponseObject>);
static_assert(std::is_copy_constructible_v<WebSocketResponseObject>);
static_assert(std::is_copy_assignable_v<WebSocketResponseObject>);
static_assert(std::is_same_v<WebSocketResponseObject::Type, WebSocketRequestObject::Type>);

using ConstResponse = const WebSocketResponseObject&;
static_assert(std::is_same_v<decltype(std::declval<ConstResponse>().getType()), std::string>);
static_assert(std::is_same_v<decltype(std::declval<ConstResponse>().getEvent()), Poco::URI>);
static_assert(std::is_same_v<decltype(std::declval<ConstResponse>().getTimestamp()), Timestamp::timestamp_t>);
static_assert(std::is_same_v<decltype(WebSocketResponseObject::fromJsonString("")), WebSocketResponseObject>);

/// A time that no clock says now: one millisecond after the epoch.
constexpr std::int64_t LONG_AGO = 1;

constexpr const char* EXPANSION_TEXT =
    "Expand is only allowed on elements with the maximum expand level 3. For service or resource the "
    "expand is restricted to level 0.";

/// Opens what only derived classes may do.
class Probe : public WebSocketResponseObject
{
public:
    Probe() = default;
};

/// Says when it is destroyed.
class DestructionProbe : public WebSocketResponseObject
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

WebSocketRequestObject requestOf(const std::string& type, const std::string& event = "/svc/res?x=1")
{
    return WebSocketRequestObject(type, event, OptionalLong(), OptionalLong(), nullptr, false);
}

const WebSocketRequestObject& subscription()
{
    static const WebSocketRequestObject request = requestOf("subscribe");
    return request;
}

std::int64_t now()
{
    return Timestamp::createTimestamp().asMilliseconds();
}

/// Expects that `message` was stamped at some time from `earliest` to now.
void expectStampedSince(std::int64_t earliest, const WebSocketResponseObject& message)
{
    ASSERT_TRUE(message.getObject()->has("timestamp"));
    EXPECT_EQ(message.getObject()->get("timestamp").type(), typeid(Poco::Int64));
    EXPECT_THAT(message.getTimestamp(), Ge(earliest));
    EXPECT_THAT(message.getTimestamp(), Le(now()));
}

/// The text of `message` without its timestamp.
std::string timelessText(const WebSocketResponseObject& message)
{
    const WebSocketResponseObject copy(message);
    copy.getObject()->remove("timestamp");
    return copy.toJsonString();
}

WebSocketResponseObject messageOf(const std::string& json)
{
    return WebSocketResponseObject::fromJsonString(json);
}

Object::Ptr objectOf(const std::string& json)
{
    return parseJson(json).extract<Object::Ptr>();
}

Array::Ptr arrayOf(const std::string& json)
{
    return parseJson(json).extract<Array::Ptr>();
}

/// Expects that `action` throws exactly an `Exception` with `text`.
template <typename Exception, typename Action>
void expectThrow(Action action, const std::string& text)
{
    try {
        action();
        FAIL() << "nothing was thrown";
    } catch (const Exception& failure) {
        EXPECT_EQ(typeid(failure), typeid(Exception));
        EXPECT_EQ(failure.message(), text);
    }
}

template <typename Action>
void expectEmptyValue(Action action)
{
    expectThrow<Poco::InvalidAccessException>(action, "Can not convert empty value.");
}

void expectInvalid(const WebSocketResponseObject& message)
{
    EXPECT_FALSE(message.isValid());
    EXPECT_EQ(message.toJsonString(), R"({"status":"ok"})");
}

} // namespace

TEST(WebSocketResponseObject, NamesItsTypes)
{
    EXPECT_EQ(WebSocketResponseObject::TYPE_SUBSCRIBE, "subscribe");
    EXPECT_EQ(WebSocketResponseObject::TYPE_UNSUBSCRIBE, "unsubscribe");
    EXPECT_EQ(WebSocketResponseObject::TYPE_DATA, "data");
    EXPECT_EQ(WebSocketResponseObject::TYPE_ERROR, "error");
}

TEST(WebSocketResponseObject, NumbersItsErrors)
{
    EXPECT_EQ(static_cast<int>(WebSocketResponseObject::alreadyConnected), 0);
    EXPECT_EQ(static_cast<int>(WebSocketResponseObject::notARootURL), 1);
    EXPECT_EQ(static_cast<int>(WebSocketResponseObject::noData), 2);
    EXPECT_EQ(static_cast<int>(WebSocketResponseObject::badData), 3);
    EXPECT_EQ(static_cast<int>(WebSocketResponseObject::invalideSubscriptionExpansionLevel), 4);
    EXPECT_EQ(static_cast<int>(WebSocketResponseObject::unableToUnsubscribe), 5);
}

TEST(WebSocketResponseObject, IsDestroyedThroughItsBases)
{
    bool destroyed = false;
    std::unique_ptr<ResponseObject> message = std::make_unique<DestructionProbe>(destroyed);
    message.reset();
    EXPECT_TRUE(destroyed);

    destroyed = false;
    std::unique_ptr<StatusObject> status = std::make_unique<DestructionProbe>(destroyed);
    status.reset();
    EXPECT_TRUE(destroyed);
}

TEST(WebSocketResponseObject, BeginsInvalidForDerivedClasses)
{
    const LogCapture log;
    expectInvalid(Probe());
    EXPECT_THAT(log.texts(), IsEmpty());
}

// Acknowledgements

TEST(WebSocketResponseObject, AcknowledgesARequest)
{
    for (const std::string type : {"subscribe", "unsubscribe", "no such type", "Data", "error"}) {
        SCOPED_TRACE(type);
        const LogCapture log;
        const WebSocketResponseObject message(requestOf(type));
        EXPECT_TRUE(message.isValid());
        EXPECT_EQ(message.toJsonString(),
                  R"({"event":"/svc/res?x=1","status":"ok","type":")" + type + R"("})");
        EXPECT_THAT(log.texts(), IsEmpty());
    }
}

TEST(WebSocketResponseObject, StampsTheAcknowledgementOfData)
{
    const std::int64_t before = now();
    const WebSocketResponseObject message(requestOf("data"));
    expectStampedSince(before, message);
    EXPECT_EQ(timelessText(message), R"({"event":"/svc/res?x=1","status":"ok","type":"data"})");
}

TEST(WebSocketResponseObject, WritesTheEventAsTheUriPrintsItself)
{
    const WebSocketResponseObject message(requestOf("subscribe", "HTTP://Host/svc"));
    EXPECT_EQ(message.toJsonString(), R"({"event":"http://host/svc","status":"ok","type":"subscribe"})");
}

TEST(WebSocketResponseObject, AcknowledgesAnInvalidRequestToo)
{
    const WebSocketResponseObject message(WebSocketRequestObject(std::string("no JSON")));
    EXPECT_TRUE(message.isValid());
    EXPECT_EQ(message.toJsonString(), R"({"event":"","status":"ok","type":""})");
}

TEST(WebSocketResponseObject, LeavesTheRequestAlone)
{
    const WebSocketRequestObject request = requestOf("data");
    const std::string before = compact(*request.getJson());
    WebSocketResponseObject message(request);
    message.setEvent(Poco::URI("/other"));
    message.setType("error");
    EXPECT_EQ(compact(*request.getJson()), before);
    EXPECT_EQ(request.getEvent().toString(), "/svc/res?x=1");
}

// Messages with an array

TEST(WebSocketResponseObject, SharesAnArrayAndWritesNoType)
{
    const std::int64_t before = now();
    const Array::Ptr data = arrayOf(R"([{"a":1},2])");
    const WebSocketResponseObject message(subscription(), data);
    EXPECT_TRUE(message.isValid());
    expectStampedSince(before, message);
    EXPECT_EQ(timelessText(message), R"({"data":[{"a":1},2],"event":"/svc/res?x=1","status":"ok"})");
    EXPECT_EQ(message.getDataAsJsonArray().get(), data.get());
    expectEmptyValue([&message] { message.getType(); });
}

TEST(WebSocketResponseObject, StampsAMessageWithoutArrayToo)
{
    const std::int64_t before = now();
    const WebSocketResponseObject message(subscription(), Array::Ptr());
    EXPECT_TRUE(message.isValid());
    EXPECT_FALSE(message.hasData());
    expectStampedSince(before, message);
    EXPECT_EQ(timelessText(message), R"({"event":"/svc/res?x=1","status":"ok"})");
}

TEST(WebSocketResponseObject, KeepsAnEmptyArray)
{
    const WebSocketResponseObject message(subscription(), Array::Ptr(new Array));
    EXPECT_EQ(timelessText(message), R"({"data":[],"event":"/svc/res?x=1","status":"ok"})");
}

// Error messages

TEST(WebSocketResponseObject, IsMadeOfAnErrorCode)
{
    struct Row {
        Poco::UInt16 code;
        const char* text;
        const char* json;
    };
    const Row rows[] = {
        {410, "gone", R"({"code":410,"event":"/svc/res?x=1","message":"gone","type":"error"})"},
        {0, "", R"({"code":0,"event":"/svc/res?x=1","message":"","type":"error"})"},
        {65535, "a\"b", R"({"code":65535,"event":"/svc/res?x=1","message":"a\"b","type":"error"})"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.json);
        const LogCapture log;
        const WebSocketResponseObject message(subscription(), row.code, std::string(row.text));
        EXPECT_TRUE(message.isValid());
        EXPECT_EQ(message.toJsonString(), row.json);
        EXPECT_EQ(message.getObject()->get("code").type(), typeid(Poco::UInt16));
        EXPECT_EQ(message.getStatus(), "");
        EXPECT_THAT(log.texts(), IsEmpty());
    }
}

TEST(WebSocketResponseObject, DoesNotStampTheErrorOfADataRequest)
{
    const LogCapture quiet;
    const WebSocketResponseObject coded(requestOf("data"), 404, "m");
    EXPECT_EQ(coded.toJsonString(), R"({"code":404,"event":"/svc/res?x=1","message":"m","type":"error"})");
    const WebSocketResponseObject named(requestOf("data"), WebSocketResponseObject::badData, "m");
    EXPECT_EQ(named.toJsonString(),
              R"({"code":400,"event":"/svc/res?x=1","message":"Bad subscription.","type":"error"})");
}

TEST(WebSocketResponseObject, IsMadeOfANamedError)
{
    struct Row {
        RequestError error;
        int code;
        std::string text;
    };
    const Row rows[] = {
        {WebSocketResponseObject::noData, 400, "No data"},
        {WebSocketResponseObject::badData, 400, "Bad subscription."},
        {WebSocketResponseObject::invalideSubscriptionExpansionLevel, 400, EXPANSION_TEXT},
        {WebSocketResponseObject::unableToUnsubscribe, 404, "There was no subscription to unsubscribe."},
        // numbers that are no errors
        {static_cast<RequestError>(6), 400, "No data"},
        {static_cast<RequestError>(404), 400, "No data"},
        {static_cast<RequestError>(-1), 400, "No data"},
        {static_cast<RequestError>(std::numeric_limits<int>::max()), 400, "No data"},
        {static_cast<RequestError>(std::numeric_limits<int>::min()), 400, "No data"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(static_cast<int>(row.error));
        const LogCapture log;
        const WebSocketResponseObject message(subscription(), row.error, "for the log only");
        EXPECT_TRUE(message.isValid());
        EXPECT_EQ(message.toJsonString(), R"({"code":)" + std::to_string(row.code) +
                                              R"(,"event":"/svc/res?x=1","message":")" + row.text +
                                              R"(","type":"error"})");
        EXPECT_EQ(message.getObject()->get("code").type(), typeid(Poco::UInt16));

        ASSERT_THAT(log.records(), SizeIs(1));
        EXPECT_EQ(log.records()[0].priority, Poco::Message::PRIO_WARNING);
        EXPECT_EQ(log.records()[0].text, "Warning: " + row.text + "for the log only");
        EXPECT_EQ(log.records()[0].source, "WebSocketResponseObject.cpp");
    }
}

TEST(WebSocketResponseObject, WarnsOfANamedErrorWithoutText)
{
    const LogCapture log;
    const WebSocketResponseObject message(subscription(), WebSocketResponseObject::noData, "");
    EXPECT_THAT(log.texts(), ElementsAre("Warning: No data"));
}

TEST(WebSocketResponseObject, DoesNotWarnBelowItsLevel)
{
    const LogCapture log(Poco::Message::PRIO_ERROR);
    const WebSocketResponseObject message(subscription(), WebSocketResponseObject::badData, "x");
    EXPECT_THAT(log.texts(), IsEmpty());
    EXPECT_EQ(message.getMessage(), "Bad subscription.");
}

TEST(WebSocketResponseObject, ThrowsOnErrorsWithoutMessage)
{
    const LogCapture log;
    expectThrow<Poco::NotImplementedException>(
        [] {
            const WebSocketResponseObject message(subscription(), WebSocketResponseObject::alreadyConnected,
                                                  "x");
        },
        "websocket::sendError alreadyConnected");
    expectThrow<Poco::NotImplementedException>(
        [] {
            const WebSocketResponseObject message(subscription(), WebSocketResponseObject::notARootURL, "x");
        },
        "websocket::sendError notARootURL");
    EXPECT_THAT(log.texts(), IsEmpty());
}

// Setters

TEST(WebSocketResponseObject, StampsWithTheTypeDataAlone)
{
    for (const std::string type : {"subscribe", "unsubscribe", "error", "", "Data", "data ", "DATA"}) {
        SCOPED_TRACE(type);
        WebSocketResponseObject message(subscription());
        message.setType(type);
        EXPECT_EQ(message.getType(), type);
        EXPECT_FALSE(message.getObject()->has("timestamp"));
    }
    const std::int64_t before = now();
    WebSocketResponseObject message(subscription());
    message.setType(WebSocketResponseObject::TYPE_DATA);
    EXPECT_EQ(message.getType(), "data");
    expectStampedSince(before, message);
}

TEST(WebSocketResponseObject, StampsAnewWithEveryTypeData)
{
    const std::int64_t before = now();
    WebSocketResponseObject message(requestOf("data"));
    message.setCustomField("timestamp", LONG_AGO);
    message.setType("data");
    expectStampedSince(before, message);
}

TEST(WebSocketResponseObject, KeepsTheStampWithOtherTypes)
{
    WebSocketResponseObject message(requestOf("data"));
    message.setCustomField("timestamp", LONG_AGO);
    message.setType("subscribe");
    EXPECT_EQ(message.toJsonString(),
              R"({"event":"/svc/res?x=1","status":"ok","timestamp":1,"type":"subscribe"})");
}

TEST(WebSocketResponseObject, SetsEventAndMessage)
{
    WebSocketResponseObject message(subscription());
    message.setEvent(Poco::URI("HTTP://Host/a%20b?c=%41"));
    message.setMessage("first");
    message.setMessage("a \"text\"\n");
    EXPECT_EQ(message.toJsonString(),
              R"({"event":"http://host/a%20b?c=%41","message":"a \"text\"\n","status":"ok",)"
              R"("type":"subscribe"})");
    EXPECT_TRUE(message.getObject()->get("event").isString());
    message.setEvent(Poco::URI());
    message.setMessage("");
    EXPECT_EQ(message.toJsonString(), R"({"event":"","message":"","status":"ok","type":"subscribe"})");
}

TEST(WebSocketResponseObject, DoesNotChangeItsValidityByItsSetters)
{
    Probe message;
    message.setType("data");
    message.setEvent(Poco::URI("/svc"));
    message.setMessage("m");
    message.setError(HTTPResponse::HTTP_NOT_FOUND, "m");
    EXPECT_FALSE(message.isValid());

    WebSocketResponseObject valid(subscription());
    valid.setError(HTTPResponse::HTTP_NOT_FOUND, "m");
    EXPECT_TRUE(valid.isValid());
}

// Data

TEST(WebSocketResponseObject, SharesAnObjectAsData)
{
    const Object::Ptr data = objectOf(R"({"a":{"b":1}})");
    const ResponseObject source(data);
    WebSocketResponseObject message(subscription());
    const std::int64_t before = now();
    message.setData(&source);
    EXPECT_EQ(message.getDataAsJsonObject().get(), data.get());
    EXPECT_EQ(timelessText(message),
              R"({"data":{"a":{"b":1}},"event":"/svc/res?x=1","status":"ok","type":"data"})");
    expectStampedSince(before, message);
}

TEST(WebSocketResponseObject, SharesAnArrayAsData)
{
    const Array::Ptr data = arrayOf("[1,[2]]");
    const ResponseObject source(data);
    WebSocketResponseObject message(subscription());
    const std::int64_t before = now();
    message.setData(&source);
    EXPECT_EQ(message.getDataAsJsonArray().get(), data.get());
    EXPECT_EQ(timelessText(message),
              R"({"data":[1,[2]],"event":"/svc/res?x=1","status":"ok","type":"data"})");
    expectStampedSince(before, message);
}

TEST(WebSocketResponseObject, KeepsEmptyData)
{
    const ResponseObject object{Object::Ptr(new Object)};
    const ResponseObject array{Array::Ptr(new Array)};
    WebSocketResponseObject message(subscription());
    message.setData(&object);
    EXPECT_EQ(timelessText(message), R"({"data":{},"event":"/svc/res?x=1","status":"ok","type":"data"})");
    message.setData(&array);
    EXPECT_EQ(timelessText(message), R"({"data":[],"event":"/svc/res?x=1","status":"ok","type":"data"})");
}

TEST(WebSocketResponseObject, TakesDataWholeThatHaveDataInside)
{
    const Object::Ptr data = objectOf(R"({"data":[1],"other":2})");
    ResponseObject source;
    source.setCustomField("data", data);
    WebSocketResponseObject message(subscription());
    message.setData(&source);
    EXPECT_EQ(message.getDataAsJsonObject().get(), data.get());
    EXPECT_EQ(timelessText(message),
              R"({"data":{"data":[1],"other":2},"event":"/svc/res?x=1","status":"ok","type":"data"})");
}

TEST(WebSocketResponseObject, TakesNothingButTheData)
{
    ResponseObject source(arrayOf("[1]"));
    source.setPaging(objectOf(R"({"total":5})"));
    source.setErrorStatus(500, "m");
    source.setCustomField("custom", 1);
    source.setCustomField("timestamp", LONG_AGO);
    const std::string sourceText = compact(source.getObject());
    const std::int64_t before = now();
    WebSocketResponseObject message(subscription());
    message.setData(&source);
    EXPECT_EQ(timelessText(message), R"({"data":[1],"event":"/svc/res?x=1","status":"ok","type":"data"})");
    expectStampedSince(before, message);
    EXPECT_EQ(compact(source.getObject()), sourceText);
}

TEST(WebSocketResponseObject, KeepsItsOwnPagingWithNewData)
{
    const ResponseObject source(arrayOf("[1]"));
    WebSocketResponseObject message(subscription());
    message.setPaging(objectOf(R"({"total":5})"));
    message.setData(&source);
    EXPECT_EQ(compact(message.getPaging()), R"({"total":5})");
}

TEST(WebSocketResponseObject, ReplacesEarlierDataAndStampsAnew)
{
    const ResponseObject first(arrayOf("[1]"));
    const ResponseObject second(objectOf(R"({"a":2})"));
    WebSocketResponseObject message(subscription());
    message.setData(&first);
    message.setCustomField("timestamp", LONG_AGO);
    const std::int64_t before = now();
    message.setData(&second);
    EXPECT_EQ(timelessText(message),
              R"({"data":{"a":2},"event":"/svc/res?x=1","status":"ok","type":"data"})");
    expectStampedSince(before, message);
}

TEST(WebSocketResponseObject, IgnoresAResponseWithoutData)
{
    const ResponseObject source;
    WebSocketResponseObject message(subscription());
    message.setData(&source);
    EXPECT_EQ(message.toJsonString(), R"({"event":"/svc/res?x=1","status":"ok","type":"subscribe"})");

    const ResponseObject first(arrayOf("[1]"));
    message.setData(&first);
    message.setCustomField("timestamp", LONG_AGO);
    const std::string before = message.toJsonString();
    message.setData(&source);
    EXPECT_EQ(message.toJsonString(), before);
}

TEST(WebSocketResponseObject, TakesItsOwnData)
{
    const Object::Ptr data = objectOf(R"({"a":1})");
    WebSocketResponseObject message(subscription());
    message.setData(&message);
    EXPECT_EQ(message.getType(), "subscribe") << "there were no data yet";
    message.setCustomField("data", data);
    message.setData(&message);
    EXPECT_EQ(message.getDataAsJsonObject().get(), data.get());
    EXPECT_EQ(message.getType(), "data");
}

TEST(WebSocketResponseObject, ThrowsOnNullInsteadOfData)
{
    WebSocketResponseObject message(subscription());
    expectThrow<Poco::NullPointerException>([&message] { message.setData(nullptr); },
                                            "Invalid response object");
    EXPECT_EQ(message.toJsonString(), R"({"event":"/svc/res?x=1","status":"ok","type":"subscribe"})");
}

TEST(WebSocketResponseObject, ThrowsOnDataThatAreNeitherObjectNorArray)
{
    const Var rows[] = {Var(),     Var("text"),   Var(std::string()), Var(5),          Var(1.5),
                        Var(true), Object::Ptr(), Array::Ptr(),       Poco::DateTime()};
    for (const Var& row : rows) {
        SCOPED_TRACE(row.isEmpty() ? "empty" : row.type().name());
        ResponseObject source;
        source.setCustomField("data", row);
        WebSocketResponseObject message(subscription());
        expectThrow<Poco::BugcheckException>([&] { message.setData(&source); }, "Invalid response object");
        EXPECT_EQ(message.toJsonString(), R"({"event":"/svc/res?x=1","status":"ok","type":"subscribe"})");
    }
}

// From data to an error

TEST(WebSocketResponseObject, BecomesAnError)
{
    WebSocketResponseObject message(subscription());
    message.setError(HTTPResponse::HTTP_GONE, "element has gone");
    EXPECT_EQ(message.toJsonString(),
              R"({"code":410,"event":"/svc/res?x=1","message":"element has gone","type":"error"})");
    EXPECT_TRUE(message.getObject()->get("code").isInteger());
    EXPECT_EQ(message.getStatus(), "");
}

TEST(WebSocketResponseObject, LosesStatusAndTimestampAsAnErrorAndKeepsDataAndPaging)
{
    const LogCapture log;
    const ResponseObject source(objectOf(R"({"a":1})"));
    WebSocketResponseObject message(subscription());
    message.setData(&source);
    message.setPaging(objectOf(R"({"total":5})"));
    message.setError(HTTPResponse::HTTP_INTERNAL_SERVER_ERROR, "m");
    EXPECT_EQ(message.toJsonString(),
              R"({"code":500,"data":{"a":1},"event":"/svc/res?x=1","message":"m","paging":{"total":5},)"
              R"("type":"error"})");
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(WebSocketResponseObject, BecomesAnotherError)
{
    WebSocketResponseObject message(subscription(), 404, "first");
    message.setError(HTTPResponse::HTTP_FORBIDDEN, "");
    EXPECT_EQ(message.toJsonString(), R"({"code":403,"event":"/svc/res?x=1","message":"","type":"error"})");
}

TEST(WebSocketResponseObject, BecomesAnErrorWithoutEvent)
{
    Probe message;
    message.setError(HTTPResponse::HTTP_BAD_REQUEST, "m");
    EXPECT_EQ(message.toJsonString(), R"({"code":400,"message":"m","type":"error"})");
}

// Paging

TEST(WebSocketResponseObject, RemovesThePagingObject)
{
    const Object::Ptr paging = objectOf(R"({"total":5})");
    WebSocketResponseObject message(subscription());
    message.resetPagingObject();
    EXPECT_EQ(message.toJsonString(), R"({"event":"/svc/res?x=1","status":"ok","type":"subscribe"})");
    message.setPaging(paging);
    EXPECT_EQ(message.getPaging().get(), paging.get());
    message.resetPagingObject();
    EXPECT_TRUE(message.getPaging().isNull());
    EXPECT_EQ(message.toJsonString(), R"({"event":"/svc/res?x=1","status":"ok","type":"subscribe"})");
    message.resetPagingObject();
    EXPECT_EQ(message.toJsonString(), R"({"event":"/svc/res?x=1","status":"ok","type":"subscribe"})");
    EXPECT_EQ(compact(paging), R"({"total":5})");
}

// Getters

TEST(WebSocketResponseObject, ReadsWhatItsConstructorsWrote)
{
    const WebSocketResponseObject message(subscription(), 404, "text");
    EXPECT_EQ(message.getType(), "error");
    EXPECT_EQ(message.getEvent().toString(), "/svc/res?x=1");
    EXPECT_EQ(message.getMessage(), "text");
    EXPECT_EQ(message.getData(), "");
}

TEST(WebSocketResponseObject, ThrowsOnRequiredKeysThatAreMissing)
{
    for (const std::string json : {R"({"other":1})", R"({"type":null,"event":null,"timestamp":null})"}) {
        SCOPED_TRACE(json);
        const LogCapture log;
        const WebSocketResponseObject message = messageOf(json);
        EXPECT_TRUE(message.isValid());
        expectEmptyValue([&message] { message.getType(); });
        expectEmptyValue([&message] { message.getEvent(); });
        expectEmptyValue([&message] { message.getTimestamp(); });
        EXPECT_THAT(log.texts(), IsEmpty());
    }
}

TEST(WebSocketResponseObject, GivesEmptyTextsForDataAndMessageThatAreMissing)
{
    for (const std::string json : {R"({"other":1})", R"({"data":null,"message":null})"}) {
        SCOPED_TRACE(json);
        const WebSocketResponseObject message = messageOf(json);
        EXPECT_EQ(message.getData(), "");
        EXPECT_EQ(message.getMessage(), "");
    }
}

TEST(WebSocketResponseObject, ConvertsTypeMessageAndDataToText)
{
    struct Row {
        const char* json;
        const char* text;
    };
    const Row rows[] = {
        {R"("text")", "text"}, {R"("")", ""},    {"5", "5"},
        {"-1.5", "-1.5"},      {"true", "true"}, {"false", "false"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.json);
        const std::string value(row.json);
        const WebSocketResponseObject message =
            messageOf(R"({"type":)" + value + R"(,"message":)" + value + R"(,"data":)" + value + "}");
        EXPECT_EQ(message.getType(), row.text);
        EXPECT_EQ(message.getMessage(), row.text);
        EXPECT_EQ(message.getData(), row.text);
    }
}

TEST(WebSocketResponseObject, GivesDataAsTheJsonText)
{
    const std::string object = R"({"a":[1,{"b":"c"}],"d":null})";
    const WebSocketResponseObject withObject = messageOf(R"({"data":)" + object + "}");
    EXPECT_THAT(withObject.getData(), IsJson(object));

    const std::string array = R"([1,[2,{"a":3}],"b"])";
    const WebSocketResponseObject withArray = messageOf(R"({"data":)" + array + "}");
    EXPECT_THAT(withArray.getData(), IsJson(array));
}

TEST(WebSocketResponseObject, GivesNestedValuesAsPocoConvertsThemToText)
{
    for (const std::string value :
         {"{}", "[]", R"({"a":[1,{"b":"c"}],"d":null})", R"([1,[2,{"a":3}],"b"])"}) {
        SCOPED_TRACE(value);
        const std::string expected = parseJson(value).toString();
        const WebSocketResponseObject message =
            messageOf(R"({"type":)" + value + R"(,"message":)" + value + R"(,"data":)" + value + "}");
        EXPECT_EQ(message.getType(), expected);
        EXPECT_EQ(message.getMessage(), expected);
        EXPECT_EQ(message.getData(), expected);
    }
}

TEST(WebSocketResponseObject, ReadsTheEventAsAUri)
{
    const Poco::URI uri = messageOf(R"({"event":"HTTP://Host:81/svc?a=b"})").getEvent();
    EXPECT_EQ(uri.getHost(), "host");
    EXPECT_EQ(uri.getPort(), 81);
    EXPECT_EQ(uri.getQuery(), "a=b");
    EXPECT_EQ(messageOf(R"({"event":5})").getEvent().toString(), "5");
    EXPECT_EQ(messageOf(R"({"event":""})").getEvent().toString(), "");
    EXPECT_EQ(messageOf(R"({"event":"/svc?x=%zz"})").getEvent().toString(), "/svc?x=%zz");
}

TEST(WebSocketResponseObject, ThrowsOnAnEventThatIsNoUri)
{
    for (const std::string event : {"http://host:99999/svc", "http://host:port/svc", "/svc/%zz"}) {
        SCOPED_TRACE(event);
        const WebSocketResponseObject message = messageOf(R"({"event":")" + event + R"("})");
        EXPECT_TRUE(message.isValid());
        EXPECT_THROW(message.getEvent(), Poco::URISyntaxException);
    }
}

TEST(WebSocketResponseObject, ConvertsTheTimestamp)
{
    struct Row {
        const char* json;
        std::int64_t milliseconds;
    };
    const Row rows[] = {
        {"0", 0},
        {"-1", -1},
        {"1767225600000", 1767225600000},
        {"9223372036854775807", std::numeric_limits<std::int64_t>::max()},
        {"-9223372036854775808", std::numeric_limits<std::int64_t>::min()},
        // values of other kinds, as far as they convert
        {R"("12")", 12},
        {"2.0", 2},
        {"true", 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.json);
        EXPECT_EQ(messageOf(std::string(R"({"timestamp":)") + row.json + "}").getTimestamp(),
                  row.milliseconds);
    }
}

TEST(WebSocketResponseObject, ThrowsOnATimestampThatDoesNotConvert)
{
    EXPECT_THROW(messageOf(R"({"timestamp":"now"})").getTimestamp(), Poco::SyntaxException);
    EXPECT_THROW(messageOf(R"({"timestamp":9223372036854775808})").getTimestamp(), Poco::RangeException);
    EXPECT_THROW(messageOf(R"({"timestamp":1e300})").getTimestamp(), Poco::RangeException);
    EXPECT_THROW(messageOf(R"({"timestamp":{}})").getTimestamp(), Poco::BadCastException);
    EXPECT_THROW(messageOf(R"({"timestamp":[1]})").getTimestamp(), Poco::BadCastException);
}

// Text out

TEST(WebSocketResponseObject, WritesOneCompactLineInAlphabeticalOrder)
{
    WebSocketResponseObject message(requestOf("data", "/svc"));
    message.setCustomField("timestamp", LONG_AGO);
    message.setCustomField("data", parseJson(R"({"b":[1,2.5,"x",null,true,{"c":{}}],"a":[]})"));
    message.setCustomField("another", "\xc3\xa9\"\\\n\t\x01");
    EXPECT_EQ(
        message.toJsonString(),
        "{\"another\":\"\xc3\xa9\\\"\\\\\\n\\t\\u0001\",\"data\":{\"a\":[],\"b\":[1,2.5,\"x\",null,true,"
        "{\"c\":{}}]},\"event\":\"/svc\",\"status\":\"ok\",\"timestamp\":1,\"type\":\"data\"}");
}

TEST(WebSocketResponseObject, WritesWhatThePrinterOfTheObjectWrites)
{
    Object ordered(Poco::JSON_PRESERVE_KEY_ORDER);
    ordered.set("z", 1);
    ordered.set("a", 2);
    WebSocketResponseObject message(subscription());
    message.setCustomField("byValue", Object(ordered));
    message.setCustomField("byPointer", Object::Ptr(new Object(ordered)));
    message.setCustomField("arrayByValue", *arrayOf("[1]"));
    message.setCustomField("slashes", "a/b</script>");
    message.setCustomField("invalid", std::string("\xff\x80"));
    message.setCustomField("nul", std::string("a\0b", 3));
    message.setCustomField("number", -0.1);
    message.setCustomField("unsigned", std::numeric_limits<Poco::UInt64>::max());
    message.setCustomField("time", Poco::DateTime(2024, 2, 29));
    message.setCustomField("", Var());
    EXPECT_EQ(message.toJsonString(), compact(message.getObject()));
}

TEST(WebSocketResponseObject, ThrowsWhatThePrinterThrows)
{
    WebSocketResponseObject message(subscription());
    message.setCustomField("data", Object::Ptr());
    EXPECT_THROW(message.toJsonString(), Poco::NullPointerException);
    EXPECT_THROW(compact(message.getObject()), Poco::NullPointerException);
}

TEST(WebSocketResponseObject, WritesInvalidAndEmptyMessages)
{
    Probe message;
    EXPECT_EQ(message.toJsonString(), R"({"status":"ok"})");
    message.setStatus("");
    EXPECT_EQ(message.toJsonString(), "{}");
}

// Text in

TEST(WebSocketResponseObject, ReadsAnyObjectWithAMember)
{
    for (const std::string json :
         {R"({"a":null})", R"({"":0})", R"({"status":"error"})", R"({"data":[1,{"b":2}]})",
          R"({"event":"/svc","status":"ok","timestamp":1,"type":"data"})", R"({"event":5,"type":[]})"}) {
        SCOPED_TRACE(json);
        const LogCapture log;
        const WebSocketResponseObject message = messageOf(json);
        EXPECT_TRUE(message.isValid());
        EXPECT_EQ(message.toJsonString(), json) << "nothing is added";
        EXPECT_THAT(log.texts(), IsEmpty());
    }
}

TEST(WebSocketResponseObject, ReadsWhatItWrote)
{
    const ResponseObject source(objectOf(R"({"a":[1,"\u00e9\n"]})"));
    WebSocketResponseObject sent(subscription());
    sent.setData(&source);
    sent.setPaging(objectOf(R"({"total":5})"));
    sent.setMessage("m");
    const WebSocketResponseObject received = messageOf(sent.toJsonString());
    EXPECT_TRUE(received.isValid());
    EXPECT_EQ(received.toJsonString(), sent.toJsonString());
    EXPECT_EQ(received.getType(), sent.getType());
    EXPECT_EQ(received.getEvent(), sent.getEvent());
    EXPECT_EQ(received.getTimestamp(), sent.getTimestamp());
    EXPECT_EQ(received.getMessage(), sent.getMessage());
    EXPECT_EQ(received.getStatus(), "ok");
    EXPECT_EQ(compact(received.getPaging()), R"({"total":5})");
    EXPECT_EQ(compact(received.getDataAsJsonObject()), compact(source.getDataAsJsonObject()));
}

TEST(WebSocketResponseObject, SortsTheKeysOfAText)
{
    EXPECT_EQ(messageOf(R"( { "b" : 1 , "a" : { "d" : 2 , "c" : 3 } } )").toJsonString(),
              R"({"a":{"c":3,"d":2},"b":1})");
}

TEST(WebSocketResponseObject, ChangesAMessageThatWasRead)
{
    WebSocketResponseObject message = messageOf(R"({"type":"data","event":"/svc","timestamp":1,"data":[1]})");
    message.setError(HTTPResponse::HTTP_NOT_FOUND, "m");
    EXPECT_EQ(message.toJsonString(),
              R"({"code":404,"data":[1],"event":"/svc","message":"m","type":"error"})");
}

TEST(WebSocketResponseObject, ReadsNothingFromAnEmptyTextInSilence)
{
    const LogCapture log;
    expectInvalid(messageOf(""));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(WebSocketResponseObject, LogsTextsThatAreNoObject)
{
    const char* const rows[] = {
        "{}",
        " { } ",
        "[]",
        "[1]",
        "[{}]",
        "5",
        R"("a")",
        "true",
        "null",
        "{",
        "}",
        R"({"a":)",
        R"({"a":1} more)",
        R"({"a":1}})",
        R"({'a':1})",
        R"({"a":1,})",
        "no JSON",
        " ",
    };
    for (const std::string row : rows) {
        SCOPED_TRACE(row);
        const LogCapture log;
        expectInvalid(messageOf(row));
        ASSERT_THAT(log.records(), SizeIs(1));
        EXPECT_EQ(log.records()[0].priority, Poco::Message::PRIO_ERROR);
        EXPECT_EQ(log.records()[0].text, "Error: The data '" + row + "' is not valid for json parsing");
        EXPECT_EQ(log.records()[0].source, "WebSocketResponseObject.cpp");
    }
}

TEST(WebSocketResponseObject, SurvivesHostileTexts)
{
    const std::string rows[] = {
        std::string(100000, '['),
        std::string(100000, '{'),
        R"({"a":)" + std::string(10000, '[') + std::string(10000, ']') + "}",
        std::string("{\"a\":\0}", 7),
        std::string("\0", 1),
        "{\"a\":\"\xff\"}",
        "\xef\xbb\xbf{\"a\":1}",
        R"({"a":"\ud800"})",
        "line\nfeed",
    };
    for (const std::string& row : rows) {
        SCOPED_TRACE(row.substr(0, 100));
        const LogCapture log;
        expectInvalid(messageOf(row));
        EXPECT_THAT(log.records(), SizeIs(1)) << "one text makes one line";
    }
}

TEST(WebSocketResponseObject, DoesNotLogBelowItsLevel)
{
    const LogCapture log(Poco::Message::PRIO_CRITICAL);
    expectInvalid(messageOf("no JSON"));
    EXPECT_THAT(log.texts(), IsEmpty());
}

// Copies

TEST(WebSocketResponseObject, CopiesItsTopLevelAndSharesTheRest)
{
    Object::Ptr data = objectOf(R"({"a":1})");
    const ResponseObject source(data);
    WebSocketResponseObject original(subscription());
    original.setData(&source);
    original.setCustomField("timestamp", LONG_AGO);

    WebSocketResponseObject copy(original);
    EXPECT_TRUE(copy.isValid());
    EXPECT_NE(copy.getObject().get(), original.getObject().get());
    EXPECT_EQ(copy.toJsonString(), original.toJsonString()) << "the time is kept";
    EXPECT_EQ(copy.getDataAsJsonObject().get(), data.get());

    copy.setMessage("copy");
    EXPECT_EQ(original.getMessage(), "");
    original.setType("other");
    EXPECT_EQ(copy.getType(), "data");
    data->set("a", 2);
    EXPECT_THAT(copy.getData(), IsJson(R"({"a":2})"));
}

TEST(WebSocketResponseObject, AssignsItsTopLevelAndItsValidity)
{
    const WebSocketResponseObject original(requestOf("data"), arrayOf("[1]"));
    WebSocketResponseObject target = messageOf("");
    const Object::Ptr held = target.getObject();
    target = original;
    EXPECT_TRUE(target.isValid());
    EXPECT_EQ(target.toJsonString(), original.toJsonString());
    EXPECT_EQ(target.getObject().get(), held.get());
    EXPECT_NE(target.getObject().get(), original.getObject().get());
    EXPECT_EQ(target.getDataAsJsonArray().get(), original.getDataAsJsonArray().get());

    target = messageOf("");
    expectInvalid(target);
    EXPECT_TRUE(original.isValid());
}

TEST(WebSocketResponseObject, CopiesInvalidMessages)
{
    const WebSocketResponseObject original = messageOf("");
    const WebSocketResponseObject copy(original);
    expectInvalid(copy);
}

TEST(WebSocketResponseObject, StaysWholeWhenItIsMoved)
{
    WebSocketResponseObject original(subscription());
    WebSocketResponseObject moved(std::move(original));
    EXPECT_TRUE(moved.isValid());
    EXPECT_EQ(moved.toJsonString(), R"({"event":"/svc/res?x=1","status":"ok","type":"subscribe"})");
    original = moved;
    EXPECT_EQ(original.toJsonString(), moved.toJsonString());
}

} // namespace Zovi::Command
