#include "Http/ZoviHttpCacheHandler.h"

#include "Command/ResponseObject.h"
#include "JsonMatchers.h"
#include "LogCapture.h"

#include <Poco/Exception.h>

#include <gmock/gmock.h>

#include <cstdint>
#include <limits>
#include <string>
#include <type_traits>
#include <typeinfo>

namespace Zovi::Net
{

namespace
{

using Command::HttpResponse;
using Command::ResponseObject;
using Poco::Dynamic::Var;
using Poco::JSON::Array;
using Poco::JSON::Object;
using Poco::Net::HTTPRequest;
using Test::compact;
using Test::LogCapture;
using Test::parseJson;
using ::testing::IsEmpty;
using ::testing::SizeIs;

const auto CHANGED = HTTPCacheHandler::CONTENT_CHANGED;
const auto UNCHANGED = HTTPCacheHandler::CONTENT_UNCHANGED;
const std::string NO_TAG = "no tag";

static_assert(std::is_base_of_v<HTTPCacheHandler, ZoviHttpCacheHandler>);
static_assert(std::is_convertible_v<ZoviHttpCacheHandler*, HTTPCacheHandler*>, "the base is public");
static_assert(std::is_default_constructible_v<ZoviHttpCacheHandler>);
static_assert(std::is_empty_v<ZoviHttpCacheHandler>, "it has no fields");
static_assert(!std::is_polymorphic_v<ZoviHttpCacheHandler>);
static_assert(ZoviHttpCacheHandler::CONTENT_CHANGED == 0 && ZoviHttpCacheHandler::CONTENT_UNCHANGED == 1);
static_assert(ZoviHttpCacheHandler::PRECONDITION_VALID == 0 &&
              ZoviHttpCacheHandler::PRECONDITION_FAILED == 1);

/// What a handler answered and which ETag it wrote.
struct Answer {
    HTTPCacheHandler::CacheRequestResult result;
    std::string eTag;
};

HTTPRequest requestFor(const std::string& eTag)
{
    HTTPRequest request;
    if (!eTag.empty())
        request.set("If-None-Match", eTag);
    return request;
}

/// What `Handler` makes of `content`, of a client that holds what `eTag` names.
template <typename Handler = ZoviHttpCacheHandler, typename Content>
Answer ask(const Content& content, const std::string& eTag = "")
{
    Poco::Net::HTTPResponse response;
    const auto result = Handler().handleRequest(requestFor(eTag), response, content);
    return {result, response.get("ETag", NO_TAG)};
}

Object::Ptr objectOf(const std::string& json)
{
    return parseJson(json).extract<Object::Ptr>();
}

HttpResponse answerWith(const Object::Ptr& json)
{
    HttpResponse answer;
    answer.setDataFromObject(json);
    return answer;
}

HttpResponse answerWithText(const std::string& text)
{
    HttpResponse answer;
    answer.setDataFromText(text, "text/plain");
    return answer;
}

/// A document that cannot be printed, since it has a null pointer inside.
Object::Ptr unprintable()
{
    Object::Ptr json = objectOf(R"({"timestamp":5})");
    json->set("data", Object::Ptr());
    return json;
}

void expectMissingDataWarning(const LogCapture& log)
{
    ASSERT_THAT(log.records(), SizeIs(1));
    EXPECT_EQ(log.records()[0].priority, Poco::Message::PRIO_WARNING);
    EXPECT_EQ(log.records()[0].text, "Warning: Missing data for ETag creation.");
    EXPECT_EQ(log.records()[0].source, "ZoviHttpCacheHandler.cpp");
}

} // namespace

// Objects

TEST(ZoviHttpCacheHandler, RecognisesADocumentThatDiffersInItsTimestampAlone)
{
    const LogCapture log;
    const Answer first = ask(objectOf(R"({"data":[1],"status":"ok","timestamp":1})"));
    EXPECT_EQ(first.result, CHANGED);
    ASSERT_NE(first.eTag, NO_TAG);

    const Answer second = ask(objectOf(R"({"data":[1],"status":"ok","timestamp":2})"), first.eTag);
    EXPECT_EQ(second.result, UNCHANGED);
    EXPECT_EQ(second.eTag, first.eTag);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(ZoviHttpCacheHandler, TellsDocumentsApartThatDifferElsewhere)
{
    const std::string eTag = ask(objectOf(R"({"data":[1],"status":"ok","timestamp":1})")).eTag;
    for (const std::string json :
         {R"({"data":[2],"status":"ok","timestamp":1})", R"({"data":[1],"status":"error","timestamp":1})",
          R"({"data":[1],"paging":{},"status":"ok","timestamp":1})", R"({"data":[1],"timestamp":1})",
          R"({"data":[1],"status":"ok","Timestamp":1})"}) {
        SCOPED_TRACE(json);
        const Answer answer = ask(objectOf(json), eTag);
        EXPECT_EQ(answer.result, CHANGED);
        EXPECT_NE(answer.eTag, eTag);
    }
}

TEST(ZoviHttpCacheHandler, CountsATimestampFurtherInside)
{
    const std::string eTag = ask(objectOf(R"({"data":{"timestamp":1},"timestamp":1})")).eTag;
    EXPECT_EQ(ask(objectOf(R"({"data":{"timestamp":2},"timestamp":1})"), eTag).result, CHANGED);
}

TEST(ZoviHttpCacheHandler, GivesADocumentTheTagThatItsBaseGivesItWithoutTimestamp)
{
    const Object::Ptr timeless = objectOf(R"({"data":{"a":[1,2.5,null]},"status":"ok"})");
    const std::string expected = ask<HTTPCacheHandler>(timeless).eTag;
    EXPECT_EQ(ask(timeless).eTag, expected);
    EXPECT_EQ(ask(objectOf(R"({"data":{"a":[1,2.5,null]},"status":"ok","timestamp":1})")).eTag, expected);
    EXPECT_EQ(ask(timeless, expected).result, UNCHANGED);
}

TEST(ZoviHttpCacheHandler, LeavesTheDocumentAsItWas)
{
    for (const std::string json :
         {R"({"data":[1],"status":"ok","timestamp":1767225600000})", R"({"timestamp":-1})", R"({"a":1})",
          "{}", R"({"a":0,"timestamp":9223372036854775807,"z":{"timestamp":"x"}})"}) {
        SCOPED_TRACE(json);
        const Object::Ptr document = objectOf(json);
        const std::string eTag = ask(document).eTag;
        EXPECT_EQ(compact(document), json);
        ask(document, eTag);
        EXPECT_EQ(compact(document), json) << "nor when the client has it";
    }
}

TEST(ZoviHttpCacheHandler, PutsTheTimestampBackAsAnInteger)
{
    struct Row {
        Var before;
        Poco::Int64 after;
    };
    const Row rows[] = {
        {Poco::Int64(7), 7},
        {std::numeric_limits<Poco::Int64>::min(), std::numeric_limits<Poco::Int64>::min()},
        {7, 7},
        {Poco::UInt64(7), 7},
        {std::string("-7"), -7},
        {7.0, 7},
        {true, 1},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.before.type().name());
        const ResponseObject document;
        document.getObject()->set("timestamp", row.before);
        ask(document.getObject());
        EXPECT_EQ(document.getObject()->get("timestamp").type(), typeid(Poco::Int64));
        EXPECT_EQ(document.getObject()->getValue<Poco::Int64>("timestamp"), row.after);
    }
}

TEST(ZoviHttpCacheHandler, SharesTheValuesOfTheDocumentAsBefore)
{
    const Array::Ptr data = new Array;
    const ResponseObject document(data);
    const Object* const object = document.getObject().get();
    ask(document.getObject());
    EXPECT_EQ(document.getObject().get(), object);
    EXPECT_EQ(document.getDataAsJsonArray().get(), data.get());
}

TEST(ZoviHttpCacheHandler, IgnoresTheTimestampOfAnObjectThatKeepsItsOrder)
{
    Object::Ptr document = new Object(Poco::JSON_PRESERVE_KEY_ORDER);
    document->set("z", 1);
    document->set("timestamp", 2);
    document->set("a", 3);
    const Answer first = ask(document);
    EXPECT_EQ(compact(document), R"({"z":1,"a":3,"timestamp":2})");
    document->set("timestamp", 4);
    EXPECT_EQ(ask(document, first.eTag).result, UNCHANGED);
}

TEST(ZoviHttpCacheHandler, ReplacesTheTagOfTheResponse)
{
    Poco::Net::HTTPResponse response;
    response.set("ETag", "\"old\"");
    ZoviHttpCacheHandler().handleRequest(HTTPRequest(), response, objectOf(R"({"timestamp":1})"));
    EXPECT_EQ(response.get("ETag"), ask(objectOf("{}")).eTag);
}

TEST(ZoviHttpCacheHandler, KeepsNothingBetweenCalls)
{
    const ZoviHttpCacheHandler handler;
    const Object::Ptr document = objectOf(R"({"data":1,"timestamp":1})");
    Poco::Net::HTTPResponse first;
    Poco::Net::HTTPResponse second;
    EXPECT_EQ(handler.handleRequest(HTTPRequest(), first, document), CHANGED);
    EXPECT_EQ(handler.handleRequest(HTTPRequest(), second, document), CHANGED);
    EXPECT_EQ(first.get("ETag"), second.get("ETag"));
}

TEST(ZoviHttpCacheHandler, WarnsOfAMissingObject)
{
    for (const std::string eTag : {"*", ""}) {
        const LogCapture log;
        const Answer answer = ask(Object::Ptr(), eTag);
        EXPECT_EQ(answer.result, CHANGED);
        EXPECT_EQ(answer.eTag, NO_TAG);
        expectMissingDataWarning(log);
    }
}

TEST(ZoviHttpCacheHandler, DoesNotWarnBelowItsLevel)
{
    const LogCapture log(Poco::Message::PRIO_ERROR);
    EXPECT_EQ(ask(Object::Ptr()).result, CHANGED);
    EXPECT_EQ(ask(HttpResponse()).result, CHANGED);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(ZoviHttpCacheHandler, ThrowsOnATimestampThatIsNoInteger)
{
    struct Row {
        const char* json;
        const std::type_info& exception;
    };
    const Row rows[] = {
        {R"({"timestamp":"now"})", typeid(Poco::SyntaxException)},
        {R"({"timestamp":""})", typeid(Poco::SyntaxException)},
        {R"({"timestamp":9223372036854775808})", typeid(Poco::RangeException)},
        {R"({"timestamp":1e300})", typeid(Poco::RangeException)},
        {R"({"timestamp":{}})", typeid(Poco::BadCastException)},
        {R"({"timestamp":[]})", typeid(Poco::BadCastException)},
        {R"({"timestamp":null})", typeid(Poco::InvalidAccessException)},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.json);
        const Object::Ptr document = objectOf(row.json);
        const std::string before = compact(document);
        Poco::Net::HTTPResponse response;
        try {
            ZoviHttpCacheHandler().handleRequest(HTTPRequest(), response, document);
            ADD_FAILURE() << "nothing was thrown";
        } catch (const Poco::Exception& failure) {
            EXPECT_EQ(typeid(failure), row.exception) << failure.displayText();
        }
        EXPECT_EQ(compact(document), before) << "the key is still there";
        EXPECT_FALSE(response.has("ETag"));
    }
}

TEST(ZoviHttpCacheHandler, LosesTheTimestampIfTheDocumentCannotBePrinted)
{
    const Object::Ptr document = unprintable();
    Poco::Net::HTTPResponse response;
    EXPECT_THROW(ZoviHttpCacheHandler().handleRequest(HTTPRequest(), response, document),
                 Poco::NullPointerException);
    EXPECT_FALSE(document->has("timestamp"));
    EXPECT_TRUE(document->has("data"));
    EXPECT_FALSE(response.has("ETag"));
}

// Texts and bytes

TEST(ZoviHttpCacheHandler, TakesTextsAndBytesAsItsBaseDoes)
{
    for (const std::string& text : {std::string("text"), std::string(), std::string("a\0b", 3),
                                    std::string(R"({"data":1,"timestamp":1})")}) {
        SCOPED_TRACE(text);
        const std::string expected = ask<HTTPCacheHandler>(text).eTag;
        EXPECT_EQ(ask(text).eTag, expected);
        EXPECT_EQ(ask(text, expected).result, UNCHANGED);

        Poco::Net::HTTPResponse response;
        const auto length = static_cast<unsigned int>(text.size());
        EXPECT_EQ(ZoviHttpCacheHandler().handleRequest(requestFor(expected), response, text.data(), length),
                  UNCHANGED);
        EXPECT_EQ(response.get("ETag"), expected);
        EXPECT_EQ(ZoviHttpCacheHandler().handleRequest(HTTPRequest(), response, text.data(), length),
                  CHANGED);
    }
}

TEST(ZoviHttpCacheHandler, CountsATimestampInAText)
{
    const std::string eTag = ask(std::string(R"({"timestamp":1})")).eTag;
    EXPECT_EQ(ask(std::string(R"({"timestamp":2})"), eTag).result, CHANGED);
}

// Answers

TEST(ZoviHttpCacheHandler, TakesTheDocumentOfAnAnswer)
{
    const LogCapture log;
    const Object::Ptr document = objectOf(R"({"data":[1],"status":"ok","timestamp":1})");
    const Answer first = ask(answerWith(document));
    EXPECT_EQ(first.result, CHANGED);
    EXPECT_EQ(first.eTag, ask(document).eTag);
    EXPECT_EQ(compact(document), R"({"data":[1],"status":"ok","timestamp":1})");

    const Answer second =
        ask(answerWith(objectOf(R"({"data":[1],"status":"ok","timestamp":2})")), first.eTag);
    EXPECT_EQ(second.result, UNCHANGED);
    EXPECT_EQ(second.eTag, first.eTag);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(ZoviHttpCacheHandler, TakesAnAnswerOfTheSameDataAtAnotherTime)
{
    const ResponseObject document(Object::Ptr(objectOf(R"({"a":1})")));
    const HttpResponse answer(Command::HTTPStatus::HTTP_OK, document);
    const std::string eTag = ask(answer).eTag;
    document.getObject()->set("timestamp", Poco::Int64(1));
    EXPECT_EQ(ask(answer, eTag).result, UNCHANGED);
    EXPECT_EQ(document.getObject()->getValue<Poco::Int64>("timestamp"), 1);
}

TEST(ZoviHttpCacheHandler, TakesTheTextOfAnAnswer)
{
    const LogCapture log;
    const std::string text = R"({"data":1,"timestamp":1})";
    const Answer first = ask(answerWithText(text));
    EXPECT_EQ(first.result, CHANGED);
    EXPECT_EQ(first.eTag, ask(text).eTag);
    EXPECT_EQ(ask(answerWithText(text), first.eTag).result, UNCHANGED);
    EXPECT_EQ(ask(answerWithText(R"({"data":1,"timestamp":2})"), first.eTag).result, CHANGED)
        << "a timestamp in a text counts";
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(ZoviHttpCacheHandler, OnlyReadsTheSharedAnswerOfSuccess)
{
    const HttpResponse answer = HttpResponse::createStatusOk();
    const Answer first = ask(answer);
    EXPECT_EQ(first.eTag, ask(objectOf(R"({"status":"ok"})")).eTag);
    EXPECT_EQ(ask(answer, first.eTag).result, UNCHANGED);
    EXPECT_EQ(compact(answer.getJson()), R"({"status":"ok"})");
}

TEST(ZoviHttpCacheHandler, LooksAtTheContentOfAnAnswerAlone)
{
    HttpResponse answer = answerWithText("text");
    const std::string eTag = ask(answer).eTag;
    answer.setStatus(Command::HTTPStatus::HTTP_NOT_FOUND);
    answer.setMimetype("text/html");
    answer.setLocation("/svc");
    EXPECT_EQ(ask(answer, eTag).result, UNCHANGED);
}

TEST(ZoviHttpCacheHandler, WarnsOfAnAnswerWithoutContent)
{
    for (const HttpResponse& answer : {HttpResponse(), answerWithText(""), answerWith(Object::Ptr())}) {
        const LogCapture log;
        const Answer told = ask(answer, "*");
        EXPECT_EQ(told.result, CHANGED);
        EXPECT_EQ(told.eTag, NO_TAG);
        expectMissingDataWarning(log);
    }
}

TEST(ZoviHttpCacheHandler, ThrowsFromAnAnswerAsFromItsDocument)
{
    const Object::Ptr badTime = objectOf(R"({"timestamp":"now"})");
    EXPECT_THROW(ask(answerWith(badTime)), Poco::SyntaxException);
    EXPECT_EQ(compact(badTime), R"({"timestamp":"now"})");

    const Object::Ptr document = unprintable();
    EXPECT_THROW(ask(answerWith(document)), Poco::NullPointerException);
    EXPECT_FALSE(document->has("timestamp"));
}

} // namespace Zovi::Net
