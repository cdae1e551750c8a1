#include "Command/ResponseObject.h"

#include "JsonMatchers.h"

#include <Poco/Exception.h>
#include <Timestamp.h>

#include <gmock/gmock.h>

#include <cstdint>
#include <limits>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Zovi::Command
{

namespace
{

using Poco::Dynamic::Var;
using Poco::JSON::Array;
using Poco::JSON::Object;
using Test::compact;
using Test::parseJson;
using ::testing::Ge;
using ::testing::Le;

static_assert(std::has_virtual_destructor_v<StatusObject>);
static_assert(std::has_virtual_destructor_v<ResponseObject>);
static_assert(std::is_base_of_v<StatusObject, ResponseObject>);
static_assert(sizeof(ResponseObject) == sizeof(StatusObject));
static_assert(std::is_same_v<StatusObject::JsonFieldName, std::string>);
static_assert(std::is_same_v<StatusObject::StatusCode, std::string>);
static_assert(std::is_copy_constructible_v<ResponseObject> && std::is_copy_assignable_v<ResponseObject>);

/// A time that no clock says now: one millisecond after the epoch.
constexpr Poco::Int64 LONG_AGO = 1;

std::string text(const StatusObject& document)
{
    return compact(document.getObject());
}

Array::Ptr arrayOf(std::initializer_list<int> numbers)
{
    Array::Ptr result = new Array;
    for (const int number : numbers)
        result->add(number);
    return result;
}

Object::Ptr objectWith(const std::string& key, const Var& value)
{
    Object::Ptr result = new Object;
    result->set(key, value);
    return result;
}

std::int64_t now()
{
    return Timestamp::createTimestamp().asMilliseconds();
}

Poco::Int64 timestampOf(const StatusObject& document)
{
    return document.getObject()->getValue<Poco::Int64>("timestamp");
}

/// The document without its timestamp.
std::string timelessText(const ResponseObject& document)
{
    ResponseObject copy(document);
    copy.getObject()->remove("timestamp");
    return text(copy);
}

/// Expects that `document` was stamped at some time from `earliest` to now.
void expectStampedSince(std::int64_t earliest, const ResponseObject& document)
{
    ASSERT_TRUE(document.getObject()->has("timestamp"));
    EXPECT_EQ(document.getObject()->get("timestamp").type(), typeid(Poco::Int64));
    EXPECT_THAT(timestampOf(document), Ge(earliest));
    EXPECT_THAT(timestampOf(document), Le(now()));
}

void expectNoTimestamp(const ResponseObject& document)
{
    EXPECT_FALSE(document.getObject()->has("timestamp"));
}

template <typename Action>
void expectInvalidResponseObject(Action action)
{
    try {
        action();
        FAIL() << "nothing was thrown";
    } catch (const Poco::NullPointerException& refusal) {
        EXPECT_EQ(refusal.message(), "Invalid response object");
    }
}

/// Opens the copy operations that only derived classes have.
class CopyProbe : public ResponseObject
{
public:
    using ResponseObject::copy;
};

} // namespace

TEST(StatusObject, NamesItsFieldsAndWords)
{
    EXPECT_EQ(StatusObject::STATUS_OK, "ok");
    EXPECT_EQ(StatusObject::STATUS_ERROR, "error");
    EXPECT_EQ(StatusObject::STATUS_NONE, "");
    EXPECT_EQ(StatusObject::FIELD_STATUS, "status");
    EXPECT_EQ(StatusObject::FIELD_MESSAGE, "message");
    EXPECT_EQ(StatusObject::FIELD_ERROR_CODE, "code");
}

TEST(StatusObject, NumbersItsErrorCodes)
{
    EXPECT_EQ(static_cast<int>(StatusObject::syntax_error), 400);
    EXPECT_EQ(static_cast<int>(StatusObject::access_denied), 403);
    EXPECT_EQ(static_cast<int>(StatusObject::subscription_uri_invalid), 404);
    EXPECT_EQ(static_cast<int>(StatusObject::gone), 410);
    EXPECT_EQ(static_cast<int>(StatusObject::maximum_number_of_event_subscriptions_reached), 503);
}

TEST(StatusObject, SaysOkAtFirst)
{
    const StatusObject document;
    EXPECT_EQ(text(document), R"({"status":"ok"})");
    EXPECT_EQ(document.getStatus(), "ok");
}

TEST(StatusObject, IsMadeAsAnError)
{
    const StatusObject document(404, "element not found");
    EXPECT_EQ(text(document), R"({"code":404,"message":"element not found","status":"error"})");
    EXPECT_EQ(document.getStatus(), "error");
}

TEST(StatusObject, SetsAndRemovesTheStatus)
{
    StatusObject document;
    document.setStatus("busy");
    EXPECT_EQ(text(document), R"({"status":"busy"})");
    EXPECT_EQ(document.getStatus(), "busy");
    document.setStatus("");
    EXPECT_EQ(text(document), "{}");
    EXPECT_EQ(document.getStatus(), "");
    document.setStatus(StatusObject::STATUS_NONE);
    EXPECT_EQ(text(document), "{}") << "removing what is not there changes nothing";
    document.setStatus(StatusObject::STATUS_OK);
    EXPECT_EQ(text(document), R"({"status":"ok"})");
}

TEST(StatusObject, TakesErrorCodesOfAllThreeKinds)
{
    StatusObject plain;
    plain.setErrorStatus(-7, "a");
    EXPECT_EQ(text(plain), R"({"code":-7,"message":"a","status":"error"})");
    EXPECT_TRUE(plain.getObject()->get("code").isInteger());
    EXPECT_TRUE(plain.getObject()->get("message").isString());

    StatusObject additional;
    additional.setErrorStatus(StatusObject::maximum_number_of_event_subscriptions_reached, "b");
    EXPECT_EQ(text(additional), R"({"code":503,"message":"b","status":"error"})");
    EXPECT_TRUE(additional.getObject()->get("code").isInteger());

    StatusObject http;
    http.setErrorStatus(Poco::Net::HTTPResponse::HTTP_FORBIDDEN, "c");
    EXPECT_EQ(text(http), R"({"code":403,"message":"c","status":"error"})");
    EXPECT_TRUE(http.getObject()->get("code").isInteger());
}

TEST(StatusObject, KeepsAnyIntegerCodeAndAnyMessage)
{
    for (const int code : {0, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        const StatusObject document(code, "");
        EXPECT_EQ(document.getObject()->getValue<int>("code"), code);
        EXPECT_EQ(text(document),
                  R"({"code":)" + std::to_string(code) + R"(,"message":"","status":"error"})");
    }
    EXPECT_EQ(StatusObject(1, "a\"b\n").getObject()->getValue<std::string>("message"), "a\"b\n");
}

TEST(StatusObject, ReplacesAnEarlierError)
{
    StatusObject document(404, "first");
    document.setErrorStatus(500, "second");
    EXPECT_EQ(text(document), R"({"code":500,"message":"second","status":"error"})");
}

TEST(StatusObject, LeavesCodeAndMessageWhenTheStatusBecomesOk)
{
    StatusObject document(404, "x");
    document.setStatus(StatusObject::STATUS_OK);
    EXPECT_EQ(text(document), R"({"code":404,"message":"x","status":"ok"})");
    document.setStatus("");
    EXPECT_EQ(text(document), R"({"code":404,"message":"x"})");
}

TEST(StatusObject, GivesNoStatusForAnEmptyValue)
{
    StatusObject document;
    document.getObject()->set("status", Var());
    EXPECT_EQ(document.getStatus(), StatusObject::STATUS_NONE);
    document.getObject()->set("status", std::string());
    EXPECT_EQ(document.getStatus(), "");
}

TEST(StatusObject, RefusesAStatusThatIsNoText)
{
    for (const Var& value : {Var(5), Var(true), Var(2.5), Var(arrayOf({1})), Var(objectWith("a", 1))}) {
        SCOPED_TRACE(value.type().name());
        StatusObject document;
        document.getObject()->set("status", value);
        EXPECT_THROW(document.getStatus(), Poco::BadCastException);
    }
}

TEST(StatusObject, HandsOutItsOwnObject)
{
    const StatusObject document;
    EXPECT_EQ(document.getObject().get(), document.getObject().get());
    document.getObject()->set("status", "changed");
    EXPECT_EQ(document.getStatus(), "changed");

    Object::Ptr survivor;
    {
        survivor = StatusObject(404, "x").getObject();
    }
    EXPECT_EQ(compact(survivor), R"({"code":404,"message":"x","status":"error"})");
}

TEST(StatusObject, IsADocumentOfItsOwn)
{
    const StatusObject one;
    const StatusObject other;
    EXPECT_NE(one.getObject().get(), other.getObject().get());
}

TEST(StatusObject, SharesItsObjectWithCopies)
{
    StatusObject document;
    StatusObject copy(document);
    copy.setStatus("changed");
    EXPECT_EQ(document.getStatus(), "changed");
    StatusObject assigned(404, "x");
    assigned = document;
    EXPECT_EQ(assigned.getObject().get(), document.getObject().get());
}

TEST(ResponseObject, NamesItsFields)
{
    EXPECT_EQ(ResponseObject::FIELD_PAGING, "paging");
    EXPECT_EQ(ResponseObject::FIELD_PAGING_OFFSET_ID, "offsetId");
    EXPECT_EQ(ResponseObject::FIELD_PAGING_OFFSET, "offset");
    EXPECT_EQ(ResponseObject::FIELD_PAGING_LIMIT, "limit");
    EXPECT_EQ(ResponseObject::FIELD_PAGING_TOTAL, "total");
    EXPECT_EQ(ResponseObject::FIELD_PAGING_TOTAL_PAGES, "totalPages");
    EXPECT_EQ(ResponseObject::FIELD_PAGING_PREVIOUS, "previous");
    EXPECT_EQ(ResponseObject::FIELD_PAGING_NEXT, "next");
    EXPECT_EQ(ResponseObject::FIELD_TIMESTAMP, "timestamp");
    EXPECT_EQ(ResponseObject::FIELD_DATA, "data");
    EXPECT_EQ(ResponseObject::FIELD_SERVICE, "service");
}

TEST(ResponseObject, SaysOkAtFirstWithoutDataAndTimestamp)
{
    const ResponseObject document;
    EXPECT_EQ(text(document), R"({"status":"ok"})");
    EXPECT_FALSE(document.hasData());
}

TEST(ResponseObject, IsMadeAsAnErrorWithoutTimestamp)
{
    const ResponseObject document(404, "x");
    EXPECT_EQ(text(document), R"({"code":404,"message":"x","status":"error"})");
    expectNoTimestamp(document);
}

TEST(ResponseObject, IsMadeOfAnArray)
{
    const std::int64_t before = now();
    const Array::Ptr data = arrayOf({1, 2});
    const ResponseObject document(data);
    EXPECT_EQ(timelessText(document), R"({"data":[1,2],"status":"ok"})");
    expectStampedSince(before, document);
    EXPECT_EQ(document.getDataAsJsonArray().get(), data.get()) << "the array is shared";
}

TEST(ResponseObject, IsMadeOfAnObject)
{
    const std::int64_t before = now();
    Object::Ptr data = objectWith("a", 1);
    const ResponseObject document(data);
    EXPECT_EQ(timelessText(document), R"({"data":{"a":1},"status":"ok"})");
    expectStampedSince(before, document);
    EXPECT_EQ(document.getDataAsJsonObject().get(), data.get()) << "the object is shared";
    EXPECT_EQ(timelessText(ResponseObject(objectWith("data", arrayOf({1})))),
              R"({"data":[1],"status":"ok"})");
}

TEST(ResponseObject, IsStampedEvenWhenItIsMadeOfNoData)
{
    const std::int64_t before = now();
    const ResponseObject noArray{Array::Ptr()};
    EXPECT_EQ(timelessText(noArray), R"({"status":"ok"})");
    expectStampedSince(before, noArray);
    const ResponseObject noObject{Object::Ptr()};
    EXPECT_EQ(timelessText(noObject), R"({"status":"ok"})");
    expectStampedSince(before, noObject);
}

TEST(ResponseObject, SetsAnArrayAsData)
{
    ResponseObject document;
    const std::int64_t before = now();
    Array::Ptr data = arrayOf({1});
    document.setData(data);
    expectStampedSince(before, document);
    EXPECT_TRUE(document.hasData());
    EXPECT_TRUE(document.getDataAsJsonObject().isNull());
    EXPECT_EQ(document.getDataAsJsonArray().get(), data.get());
    data->add(2);
    EXPECT_EQ(timelessText(document), R"({"data":[1,2],"status":"ok"})") << "the array is shared";
}

TEST(ResponseObject, SetsAnObjectAsData)
{
    ResponseObject document;
    const std::int64_t before = now();
    Object::Ptr data = objectWith("a", 1);
    document.setData(data);
    expectStampedSince(before, document);
    EXPECT_TRUE(document.hasData());
    EXPECT_TRUE(document.getDataAsJsonArray().isNull());
    EXPECT_EQ(document.getDataAsJsonObject().get(), data.get());
    data->set("b", 2);
    EXPECT_EQ(timelessText(document), R"({"data":{"a":1,"b":2},"status":"ok"})") << "the object is shared";
}

TEST(ResponseObject, ReplacesDataAndItsTime)
{
    ResponseObject document(arrayOf({1}));
    document.setCustomField("timestamp", LONG_AGO);
    const std::int64_t before = now();
    document.setData(objectWith("a", 1));
    EXPECT_EQ(timelessText(document), R"({"data":{"a":1},"status":"ok"})");
    expectStampedSince(before, document);
}

TEST(ResponseObject, TakesTheDataOfAnObjectThatIsAResponseBodyItself)
{
    struct Row {
        Var inner;
        std::string expected;
    };
    const std::vector<Row> rows = {
        {arrayOf({1}), R"({"data":[1],"status":"ok"})"},
        {objectWith("a", 1), R"({"data":{"a":1},"status":"ok"})"},
        {objectWith("data", 1), R"({"data":{"data":1},"status":"ok"})"},
        {5, R"({"data":5,"status":"ok"})"},
        {std::string(), R"({"data":"","status":"ok"})"},
        {Var(), R"({"data":null,"status":"ok"})"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.expected);
        ResponseObject document;
        const std::int64_t before = now();
        Object::Ptr body = objectWith("data", row.inner);
        body->set("status", "error");
        body->set("timestamp", LONG_AGO);
        document.setData(body);
        EXPECT_EQ(timelessText(document), row.expected) << "nothing but the data is taken";
        EXPECT_TRUE(document.hasData());
        expectStampedSince(before, document);
    }
    const Array::Ptr shared = arrayOf({1});
    ResponseObject document;
    document.setData(objectWith("data", shared));
    EXPECT_EQ(document.getDataAsJsonArray().get(), shared.get());
}

TEST(ResponseObject, TakesOnlyTheExactKeyForAResponseBody)
{
    ResponseObject document;
    document.setData(objectWith("Data", arrayOf({1})));
    EXPECT_EQ(timelessText(document), R"({"data":{"Data":[1]},"status":"ok"})");
}

TEST(ResponseObject, IgnoresNullPointersAsData)
{
    ResponseObject fresh;
    fresh.setData(Array::Ptr());
    fresh.setData(Object::Ptr());
    EXPECT_EQ(text(fresh), R"({"status":"ok"})");

    ResponseObject filled(arrayOf({1}));
    filled.setCustomField("timestamp", LONG_AGO);
    filled.setData(Array::Ptr());
    filled.setData(Object::Ptr());
    EXPECT_EQ(text(filled), R"({"data":[1],"status":"ok","timestamp":1})");
}

TEST(ResponseObject, HasDataWhateverTheirValue)
{
    for (const Var& value : {Var(), Var(0), Var(false), Var(std::string())}) {
        ResponseObject document;
        document.setCustomField("data", value);
        EXPECT_TRUE(document.hasData());
        EXPECT_TRUE(document.getDataAsJsonArray().isNull());
        EXPECT_TRUE(document.getDataAsJsonObject().isNull());
    }
}

TEST(ResponseObject, GivesNoDataOfTheOtherKindOrOfNone)
{
    const ResponseObject fresh;
    EXPECT_TRUE(fresh.getDataAsJsonArray().isNull());
    EXPECT_TRUE(fresh.getDataAsJsonObject().isNull());
    for (const Var& value : {Var("[1]"), Var("{}"), Var(2.5), Var(Array::Ptr()), Var(Object::Ptr()),
                             Var(std::vector<Var>{1, 2})}) {
        SCOPED_TRACE(value.type().name());
        ResponseObject document;
        document.setCustomField("data", value);
        EXPECT_TRUE(document.hasData());
        EXPECT_TRUE(document.getDataAsJsonArray().isNull());
        EXPECT_TRUE(document.getDataAsJsonObject().isNull());
    }
}

TEST(ResponseObject, RecognisesDataThatAreHeldByValue)
{
    ResponseObject document;
    document.setCustomField("data", *arrayOf({1, 2}));
    EXPECT_EQ(compact(document.getDataAsJsonArray()), "[1,2]");
    EXPECT_TRUE(document.getDataAsJsonObject().isNull());
    document.setCustomField("data", *objectWith("a", 1));
    EXPECT_EQ(compact(document.getDataAsJsonObject()), R"({"a":1})");
    EXPECT_TRUE(document.getDataAsJsonArray().isNull());
}

TEST(ResponseObject, SetsPagingWithoutStamping)
{
    ResponseObject document;
    const Object::Ptr paging = objectWith("limit", 25);
    document.setPaging(paging);
    EXPECT_EQ(text(document), R"({"paging":{"limit":25},"status":"ok"})");
    EXPECT_EQ(document.getPaging().get(), paging.get()) << "the object is shared";

    ResponseObject stamped;
    stamped.setCustomField("timestamp", LONG_AGO);
    stamped.setPaging(paging);
    EXPECT_EQ(timestampOf(stamped), LONG_AGO);
}

TEST(ResponseObject, IgnoresANullPointerAsPaging)
{
    ResponseObject document;
    document.setPaging(Object::Ptr());
    EXPECT_EQ(text(document), R"({"status":"ok"})");
    document.setPaging(objectWith("limit", 25));
    document.setPaging(Object::Ptr());
    EXPECT_EQ(text(document), R"({"paging":{"limit":25},"status":"ok"})");
}

TEST(ResponseObject, GivesNoPagingIfThereIsNone)
{
    ResponseObject document;
    EXPECT_TRUE(document.getPaging().isNull());
    document.setCustomField("paging", Var());
    EXPECT_TRUE(document.getPaging().isNull());
}

TEST(ResponseObject, SetsAnyKeyByHand)
{
    ResponseObject document(arrayOf({1}));
    document.setCustomField("service", "svc");
    document.setCustomField("status", "busy");
    document.setCustomField("data", 5);
    document.setCustomField("timestamp", LONG_AGO);
    document.setCustomField("", true);
    EXPECT_EQ(text(document), R"({"":true,"data":5,"service":"svc","status":"busy","timestamp":1})");
    document.setCustomField("status", 5);
    EXPECT_THROW(document.getStatus(), Poco::BadCastException);
}

TEST(ResponseObject, StampsTheCurrentTime)
{
    ResponseObject document;
    document.setCustomField("timestamp", "of another type");
    const std::int64_t before = now();
    document.setTimeStamp();
    expectStampedSince(before, document);
    EXPECT_THAT(timestampOf(document), Ge(1577836800000)) << "milliseconds, not seconds";
}

TEST(ResponseObject, SortsItsKeysWhateverTheOrderTheyCameIn)
{
    ResponseObject document;
    document.setCustomField("zebra", 1);
    document.setCustomField("timestamp", LONG_AGO);
    document.setPaging(new Object);
    document.setCustomField("ant", 2);
    document.setCustomField("data", arrayOf({}));
    EXPECT_EQ(text(document), R"({"ant":2,"data":[],"paging":{},"status":"ok","timestamp":1,"zebra":1})");
}

TEST(ResponseObject, KeepsDataWhenItBecomesAnError)
{
    ResponseObject document;
    document.setCustomField("data", arrayOf({1}));
    document.setErrorStatus(500, "x");
    EXPECT_EQ(text(document), R"({"code":500,"data":[1],"message":"x","status":"error"})");
    document.setStatus(StatusObject::STATUS_OK);
    EXPECT_EQ(text(document), R"({"code":500,"data":[1],"message":"x","status":"ok"})");
}

TEST(ResponseObject, CopiesTheTopLevelAndSharesTheRest)
{
    ResponseObject document(arrayOf({1}));
    document.setCustomField("timestamp", LONG_AGO);
    ResponseObject copy(document);
    EXPECT_NE(copy.getObject().get(), document.getObject().get());
    EXPECT_EQ(text(copy), R"({"data":[1],"status":"ok","timestamp":1})") << "the time is that of the source";
    copy.setStatus("changed");
    copy.setCustomField("own", 1);
    EXPECT_EQ(text(document), R"({"data":[1],"status":"ok","timestamp":1})");
    document.getDataAsJsonArray()->add(2);
    EXPECT_EQ(text(copy), R"({"data":[1,2],"own":1,"status":"changed","timestamp":1})");
}

TEST(ResponseObject, CopiesADocumentWithoutStatusAsOneWithout)
{
    ResponseObject document;
    document.setStatus("");
    EXPECT_EQ(text(ResponseObject(document)), "{}");
    const ResponseObject error(404, "x");
    EXPECT_EQ(text(ResponseObject(error)), text(error));
}

TEST(ResponseObject, AssignsTheContentAndKeepsItsOwnObject)
{
    ResponseObject source(arrayOf({1}));
    source.setCustomField("timestamp", LONG_AGO);
    ResponseObject target(404, "x");
    target.setCustomField("own", 1);
    const Object::Ptr own = target.getObject();
    ResponseObject& result = (target = source);
    EXPECT_EQ(&result, &target);
    EXPECT_EQ(target.getObject().get(), own.get());
    EXPECT_EQ(text(target), R"({"data":[1],"status":"ok","timestamp":1})")
        << "the time is that of the source";
    target.setStatus("changed");
    EXPECT_EQ(source.getStatus(), "ok");
    source.getDataAsJsonArray()->add(2);
    EXPECT_EQ(compact(target.getDataAsJsonArray()), "[1,2]");
}

TEST(ResponseObject, IsEmptiedByAssignmentToItself)
{
    ResponseObject document(arrayOf({1}));
    const ResponseObject& itself = document;
    document = itself;
    EXPECT_EQ(text(document), "{}");
}

TEST(ResponseObject, NeverLosesItsObjectToAMove)
{
    ResponseObject source(404, "x");
    const ResponseObject target(std::move(source));
    EXPECT_EQ(text(target), R"({"code":404,"message":"x","status":"error"})");
    ASSERT_FALSE(source.getObject().isNull()); // NOLINT(bugprone-use-after-move): that is what is tested
    StatusObject status;
    const StatusObject moved(std::move(status));
    ASSERT_FALSE(status.getObject().isNull()); // NOLINT(bugprone-use-after-move)
    EXPECT_EQ(text(moved), R"({"status":"ok"})");
}

TEST(ResponseObject, ReplacesItsContentByThatOfAnotherDocument)
{
    ResponseObject source(404, "x");
    source.setCustomField("list", arrayOf({1}));
    ResponseObject target(arrayOf({1}));
    target.setCustomField("own", 1);
    const Object::Ptr own = target.getObject();
    target.copyObject(&source);
    EXPECT_EQ(text(target), R"({"code":404,"list":[1],"message":"x","status":"error"})")
        << "no timestamp comes from nowhere";
    EXPECT_EQ(target.getObject().get(), own.get());
    source.getObject()->getArray("list")->add(2);
    EXPECT_EQ(text(target), R"({"code":404,"list":[1,2],"message":"x","status":"error"})");
    target.setStatus("changed");
    EXPECT_EQ(source.getStatus(), "error");
}

TEST(ResponseObject, ReplacesItsContentByThatOfAnyObject)
{
    Object::Ptr source = objectWith("b", arrayOf({1}));
    source->set("a", Var());
    ResponseObject target(404, "x");
    target.copyObject(source.get());
    EXPECT_EQ(text(target), R"({"a":null,"b":[1]})") << "the status is gone too";
    target.copyObject(Object::Ptr(new Object).get());
    EXPECT_EQ(text(target), "{}");
}

TEST(ResponseObject, RenewsTheTimeWhenItReplacesItsContent)
{
    ResponseObject source;
    source.setCustomField("timestamp", LONG_AGO);
    ResponseObject fromDocument;
    std::int64_t before = now();
    fromDocument.copyObject(&source);
    expectStampedSince(before, fromDocument);
    EXPECT_EQ(timestampOf(source), LONG_AGO);

    ResponseObject fromObject;
    before = now();
    fromObject.copyObject(source.getObject().get());
    expectStampedSince(before, fromObject);

    ResponseObject fromEmptyTime;
    before = now();
    fromEmptyTime.copyObject(objectWith("timestamp", Var()).get());
    expectStampedSince(before, fromEmptyTime);
}

TEST(ResponseObject, DropsItsOwnTimeWhenTheOtherContentHasNone)
{
    ResponseObject target(arrayOf({1}));
    target.copyObject(Object::Ptr(objectWith("a", 1)).get());
    EXPECT_EQ(text(target), R"({"a":1})");
}

TEST(ResponseObject, SortsTheKeysOfAnOrderedSource)
{
    Object ordered(Poco::JSON_PRESERVE_KEY_ORDER);
    ordered.set("b", 1);
    ordered.set("a", 2);
    ResponseObject target;
    target.copyObject(&ordered);
    EXPECT_EQ(text(target), R"({"a":2,"b":1})");
}

TEST(ResponseObject, RefusesToCopyFromNullPointersAndStaysAsItWas)
{
    ResponseObject document;
    document.setCustomField("timestamp", LONG_AGO);
    expectInvalidResponseObject([&document] { document.copyObject(static_cast<const Object*>(nullptr)); });
    expectInvalidResponseObject(
        [&document] { document.copyObject(static_cast<const ResponseObject*>(nullptr)); });
    EXPECT_EQ(text(document), R"({"status":"ok","timestamp":1})");
}

TEST(ResponseObject, IsEmptiedWhenItReplacesItsContentByItsOwn)
{
    ResponseObject document(arrayOf({1}));
    document.copyObject(&document);
    EXPECT_EQ(text(document), "{}");
    ResponseObject other(arrayOf({1}));
    other.copyObject(other.getObject().get());
    EXPECT_EQ(text(other), "{}");
}

TEST(ResponseObject, ReplacesItsContentByAValueOfItsOwn)
{
    ResponseObject document(parseJson(R"({"a":{"b":[1]}})").extract<Object::Ptr>());
    const Object* inner = document.getDataAsJsonObject().get();
    document.copyObject(inner);
    EXPECT_EQ(text(document), R"({"a":{"b":[1]}})") << "the value lives until it has been read";
}

TEST(ResponseObject, LetsDerivedClassesCopyWithoutRenewingTheTime)
{
    ResponseObject source;
    source.setCustomField("timestamp", LONG_AGO);
    CopyProbe fromDocument;
    fromDocument.copy(source);
    EXPECT_EQ(text(fromDocument), R"({"status":"ok","timestamp":1})");
    CopyProbe fromObject;
    fromObject.copy(objectWith("timestamp", LONG_AGO).get());
    EXPECT_EQ(text(fromObject), R"({"timestamp":1})");
}

TEST(ResponseObject, IsWrittenCompactOnOneLine)
{
    ResponseObject document;
    document.setCustomField("data", parseJson(R"({"list":[1,{"a":null},[]],"text":"a\nb \" c"})"));
    const std::string expected = R"({"data":{"list":[1,{"a":null},[]],"text":"a\nb \" c"},"status":"ok"})";
    std::ostringstream byReference;
    EXPECT_EQ(&(byReference << document), &byReference);
    EXPECT_EQ(byReference.str(), expected);
    std::ostringstream byPointer;
    const ResponseObject* pointer = &document;
    EXPECT_EQ(&(byPointer << pointer), &byPointer);
    EXPECT_EQ(byPointer.str(), expected);
    std::ostringstream fresh;
    fresh << ResponseObject();
    EXPECT_EQ(fresh.str(), R"({"status":"ok"})");
}

TEST(ResponseObject, RefusesToWriteANullPointer)
{
    std::ostringstream stream;
    expectInvalidResponseObject([&stream] { stream << static_cast<const ResponseObject*>(nullptr); });
    EXPECT_EQ(stream.str(), "");
}

} // namespace Zovi::Command
