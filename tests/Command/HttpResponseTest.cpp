#include "Command/HttpResponse.h"

#include "JsonMatchers.h"
#include "LogCapture.h"
#include "LoopbackServer.h"
#include "ServerMessages.h"

#include <HTTPEncoderDecoder.h>
#include <Logging/LogStream.h>
#include <Poco/Exception.h>
#include <Poco/InflatingStream.h>
#include <Poco/Net/HTTPResponse.h>
#include <Poco/StreamCopier.h>
#include <Poco/String.h>
#include <Poco/URI.h>
#include <Timestamp.h>

#include <gmock/gmock.h>

#include <cstdint>
#include <functional>
#include <iterator>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace Zovi::Command
{

namespace
{

using Net::HTTPEncoderDecoder;
using Poco::JSON::Array;
using Poco::JSON::Object;
using Poco::Net::HTTPServerResponse;
using Test::compact;
using Test::LogCapture;
using Test::LoopbackServer;
using Test::parseJson;
using Test::ServerRequest;
using Test::ServerResponse;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

using Http = Poco::Net::HTTPResponse;

static_assert(std::is_same_v<HTTPStatus, Poco::Net::HTTPResponse::HTTPStatus>);
static_assert(!std::is_polymorphic_v<HttpResponse>);
static_assert(std::is_copy_constructible_v<HttpResponse> && std::is_copy_assignable_v<HttpResponse>);
static_assert(std::is_nothrow_move_constructible_v<HttpResponse>);

const std::string JSON_TYPE = "application/json; charset=utf-8";

constexpr HTTPStatus status(int number)
{
    return static_cast<HTTPStatus>(number);
}

Object::Ptr objectWith(const std::string& key, const Poco::Dynamic::Var& value)
{
    Object::Ptr result = new Object;
    result->set(key, value);
    return result;
}

Array::Ptr arrayOf(std::initializer_list<int> numbers)
{
    Array::Ptr result = new Array;
    for (const int number : numbers)
        result->add(number);
    return result;
}

HttpResponse textResponse(const std::string& text, const std::string& mimetype = "text/plain")
{
    HttpResponse result;
    result.setDataFromText(text, mimetype);
    return result;
}

HttpResponse jsonResponse(const std::string& text)
{
    HttpResponse result;
    result.setDataFromObject(parseJson(text).extract<Object::Ptr>());
    return result;
}

/// Whose JSON breaks off in the middle of being printed, behind `length` characters.
HttpResponse unprintableResponse(std::size_t length)
{
    Object::Ptr object = objectWith("a", std::string(length, 'x'));
    object->set("b", Poco::URI("/cannot/be/converted/to/a/string"));
    HttpResponse result;
    result.setDataFromObject(object);
    return result;
}

template <typename Action>
void expectNotAvailable(Action action, const std::string& message)
{
    try {
        action();
        FAIL() << "nothing was thrown";
    } catch (const Poco::InvalidAccessException& refusal) {
        EXPECT_EQ(refusal.message(), message);
    }
}

/// An answer as a client saw it.
struct Answer {
    std::string raw;
    Http head;
    std::string body;
};

LoopbackServer& server()
{
    static LoopbackServer instance;
    return instance;
}

using Sender = std::function<void(HTTPServerResponse&, HTTPEncoderDecoder&)>;

/// What a client gets that accepts `acceptedCoding` when the handler does what `sender` does.
Answer exchangeWith(const std::string& acceptedCoding, const Sender& sender)
{
    std::string request = "GET /svc HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n";
    if (!acceptedCoding.empty())
        request += "Accept-Encoding: " + acceptedCoding + "\r\n";
    std::string failure;
    Answer result;
    result.raw = server().exchange(request + "\r\n",
                                   [&](Poco::Net::HTTPServerRequest& message, HTTPServerResponse& response) {
                                       try {
                                           HTTPEncoderDecoder coder(message, response);
                                           sender(response, coder);
                                       } catch (const Poco::Exception& exception) {
                                           failure = exception.displayText();
                                       }
                                   });
    EXPECT_EQ(failure, "");
    std::istringstream stream(result.raw);
    try {
        result.head.read(stream);
    } catch (const Poco::Exception& exception) {
        ADD_FAILURE() << exception.displayText() << " in: " << result.raw;
    }
    result.body.assign(std::istreambuf_iterator<char>(stream), {});
    return result;
}

Answer answerOf(const HttpResponse& response, const std::string& acceptedCoding = "",
                bool skipContent = false)
{
    return exchangeWith(acceptedCoding, [&](HTTPServerResponse& message, HTTPEncoderDecoder& coder) {
        response.send(message, coder, skipContent);
    });
}

std::string decoded(const Answer& answer)
{
    const std::string coding = answer.head.get("Content-Encoding", "");
    if (coding.empty())
        return answer.body;
    std::istringstream stream(answer.body);
    Poco::InflatingInputStream inflater(stream, coding == "gzip" ? Poco::InflatingStreamBuf::STREAM_GZIP
                                                                 : Poco::InflatingStreamBuf::STREAM_ZLIB);
    std::string result;
    Poco::StreamCopier::copyToString(inflater, result);
    return result;
}

/// The headers as a log line shows them.
std::string shown(const Poco::Net::NameValueCollection& headers)
{
    std::string result;
    for (const auto& [name, value] : headers)
        result += (result.empty() ? "{\"" : ", \"") + name + "\"=\"" + value + '"';
    return result.empty() ? result : result + '}';
}

/// A message and a coder without a socket; the client accepts `acceptedCoding`.
template <typename Response = ServerResponse>
struct Exchange {
    explicit Exchange(const std::string& acceptedCoding = "")
        : request(requestAccepting(acceptedCoding))
        , coder(*request, response)
    {
    }

    static std::unique_ptr<ServerRequest> requestAccepting(const std::string& acceptedCoding)
    {
        auto result = std::make_unique<ServerRequest>();
        if (!acceptedCoding.empty())
            result->set("Accept-Encoding", acceptedCoding);
        return result;
    }

    std::unique_ptr<ServerRequest> request;
    Response response;
    HTTPEncoderDecoder coder;
};

/// Whose headers are gone as soon as they are sent.
class ForgetfulResponse : public ServerResponse
{
public:
    std::ostream& send() override
    {
        std::ostream& stream = ServerResponse::send();
        clear();
        return stream;
    }
};

/// Whose connection is broken.
class BrokenResponse : public ServerResponse
{
public:
    std::ostream& send() override { throw Poco::IOException("broken connection"); }
};

/// Remembers how much was logged when the data went out.
class WatchingResponse : public ServerResponse
{
public:
    std::ostream& send() override
    {
        logged = log.texts();
        return ServerResponse::send();
    }

    LogCapture log;
    std::vector<std::string> logged = {"not sent"};
};

} // namespace

TEST(HttpResponse, IsOkAndEmptyByDefault)
{
    const HttpResponse response;
    EXPECT_EQ(response.getStatus(), Http::HTTP_OK);
    EXPECT_EQ(response.getMimetype(), "");
    EXPECT_EQ(response.getLocation(), "");
    EXPECT_FALSE(response.hasContent());
    EXPECT_FALSE(response.hasJsonContent());
    EXPECT_FALSE(response.hasTextContent());
}

TEST(HttpResponse, IsMadeOfAStatus)
{
    const HttpResponse response(Http::HTTP_NO_CONTENT);
    EXPECT_EQ(response.getStatus(), Http::HTTP_NO_CONTENT);
    EXPECT_EQ(response.getMimetype(), "");
    EXPECT_FALSE(response.hasContent());
}

TEST(HttpResponse, IsMadeOfAStatusAndADocument)
{
    const ResponseObject document(404, "x");
    const HttpResponse response(Http::HTTP_NOT_FOUND, document);
    EXPECT_EQ(response.getStatus(), Http::HTTP_NOT_FOUND);
    EXPECT_EQ(response.getMimetype(), JSON_TYPE);
    EXPECT_EQ(response.getJson().get(), document.getObject().get());
    EXPECT_FALSE(response.hasTextContent());
}

TEST(HttpResponse, SetsStatusTypeAndLocation)
{
    HttpResponse response;
    response.setStatus(Http::HTTP_CREATED);
    response.setMimetype("text/html");
    response.setLocation("/svc/res/1");
    EXPECT_EQ(response.getStatus(), Http::HTTP_CREATED);
    EXPECT_EQ(response.getMimetype(), "text/html");
    EXPECT_EQ(response.getLocation(), "/svc/res/1");
}

TEST(HttpResponse, IsASuccessWithThreeStatusesOnly)
{
    for (int number = 100; number <= Http::HTTP_NETWORK_AUTHENTICATION_REQUIRED; ++number) {
        SCOPED_TRACE(number);
        const bool expected = number == 200 || number == 201 || number == 202;
        EXPECT_EQ(HttpResponse::isSuccess(status(number)), expected);
        EXPECT_EQ(HttpResponse(status(number)).isSuccess(), expected);
    }
}

TEST(HttpResponse, TakesATextInPlaceOfAnObject)
{
    HttpResponse response;
    response.setDataFromObject(objectWith("a", 1));
    response.setDataFromText("text", "text/plain");
    EXPECT_FALSE(response.hasJsonContent());
    EXPECT_TRUE(response.hasTextContent());
    EXPECT_TRUE(response.hasContent());
    EXPECT_EQ(response.getText(), "text");
    EXPECT_EQ(response.getMimetype(), "text/plain");
}

TEST(HttpResponse, TakesAnObjectInPlaceOfAText)
{
    HttpResponse response = textResponse("text");
    const Object::Ptr object = objectWith("a", 1);
    response.setDataFromObject(object);
    EXPECT_TRUE(response.hasJsonContent());
    EXPECT_FALSE(response.hasTextContent());
    EXPECT_TRUE(response.hasContent());
    EXPECT_EQ(response.getJson().get(), object.get());
    EXPECT_EQ(response.getMimetype(), JSON_TYPE);
}

TEST(HttpResponse, TakesAnEmptyTextForNoContent)
{
    HttpResponse response;
    response.setDataFromObject(objectWith("a", 1));
    response.setDataFromText("", "text/plain");
    EXPECT_FALSE(response.hasContent());
    EXPECT_EQ(response.getMimetype(), "text/plain");
}

TEST(HttpResponse, TakesANullPointerForNoContent)
{
    HttpResponse response = textResponse("text");
    response.setDataFromObject(Object::Ptr());
    EXPECT_FALSE(response.hasContent());
    EXPECT_EQ(response.getMimetype(), JSON_TYPE);
}

TEST(HttpResponse, TakesTheObjectOfADocumentAndNotItsContent)
{
    ResponseObject document;
    HttpResponse byReference = textResponse("text");
    byReference.setDataFromObject(document);
    HttpResponse byPointer = textResponse("text");
    byPointer.setDataFromObject(&document);
    document.setStatus("later");
    for (const HttpResponse& response : {byReference, byPointer}) {
        EXPECT_EQ(response.getJson().get(), document.getObject().get());
        EXPECT_EQ(compact(response.getJson()), R"({"status":"later"})");
        EXPECT_FALSE(response.hasTextContent());
        EXPECT_EQ(response.getMimetype(), JSON_TYPE);
    }
}

TEST(HttpResponse, RefusesANullDocumentAndStaysAsItWas)
{
    HttpResponse response = textResponse("text");
    try {
        response.setDataFromObject(static_cast<const ResponseObject*>(nullptr));
        FAIL() << "nothing was thrown";
    } catch (const Poco::NullPointerException& refusal) {
        EXPECT_EQ(refusal.message(), "Invalid response object");
    }
    EXPECT_EQ(response.getText(), "text");
    EXPECT_EQ(response.getMimetype(), "text/plain");
}

TEST(HttpResponse, MakesADocumentOfAnArray)
{
    const Array::Ptr data = arrayOf({1, 2});
    const Object::Ptr paging = objectWith("limit", 25);
    HttpResponse response = textResponse("text");
    const std::int64_t before = Timestamp::createTimestamp().asMilliseconds();
    response.setDataFromArray(data, paging);
    EXPECT_FALSE(response.hasTextContent());
    EXPECT_EQ(response.getMimetype(), JSON_TYPE);
    EXPECT_EQ(response.getJson()->getArray("data").get(), data.get());
    EXPECT_EQ(response.getJson()->getObject("paging").get(), paging.get());
    EXPECT_GE(response.getJson()->getValue<Poco::Int64>("timestamp"), before);
    response.getJson()->remove("timestamp");
    EXPECT_EQ(compact(response.getJson()), R"({"data":[1,2],"paging":{"limit":25},"status":"ok"})");
}

TEST(HttpResponse, MakesADocumentWithoutWhatIsNull)
{
    HttpResponse response;
    response.setDataFromArray(arrayOf({1}), Object::Ptr());
    EXPECT_FALSE(response.getJson()->has("paging"));
    EXPECT_TRUE(response.getJson()->has("data"));
    response.setDataFromArray(Array::Ptr(), objectWith("limit", 25));
    EXPECT_FALSE(response.getJson()->has("data"));
    EXPECT_TRUE(response.getJson()->has("timestamp"));
    EXPECT_TRUE(response.getJson()->has("paging"));
}

TEST(HttpResponse, RefusesToGiveContentThatIsNotThere)
{
    const HttpResponse empty;
    expectNotAvailable([&] { empty.getText(); }, "Text content is not available");
    expectNotAvailable([&] { empty.getJson(); }, "JSON content is not available");
    const HttpResponse text = textResponse("text");
    expectNotAvailable([&] { text.getJson(); }, "JSON content is not available");
    const HttpResponse json = jsonResponse("{}");
    expectNotAvailable([&] { json.getText(); }, "Text content is not available");
    expectNotAvailable([] { textResponse("").getText(); }, "Text content is not available");
}

TEST(HttpResponse, DropsItsContentAndType)
{
    for (HttpResponse response : {textResponse("text"), jsonResponse("{}")}) {
        response.setStatus(Http::HTTP_CREATED);
        response.setLocation("/svc");
        response.clearData();
        EXPECT_FALSE(response.hasContent());
        EXPECT_EQ(response.getMimetype(), "");
        EXPECT_EQ(response.getStatus(), Http::HTTP_CREATED);
        EXPECT_EQ(response.getLocation(), "/svc");
    }
}

TEST(HttpResponse, SharesItsObjectWithCopiesAndNothingElse)
{
    HttpResponse response = jsonResponse(R"({"a":1})");
    HttpResponse copy(response);
    EXPECT_EQ(copy.getJson().get(), response.getJson().get());
    copy.setStatus(Http::HTTP_GONE);
    copy.setDataFromText("text", "text/plain");
    copy.setLocation("/svc");
    EXPECT_EQ(response.getStatus(), Http::HTTP_OK);
    EXPECT_EQ(response.getLocation(), "");
    EXPECT_EQ(response.getMimetype(), JSON_TYPE);
    EXPECT_EQ(compact(response.getJson()), R"({"a":1})");
    HttpResponse moved;
    moved = std::move(copy);
    EXPECT_EQ(moved.getText(), "text");
}

TEST(HttpResponse, MakesOkAnswersThatShareOneDocument)
{
    const HttpResponse ok = HttpResponse::createStatusOk(Http::HTTP_OK);
    const HttpResponse created = HttpResponse::createStatusOk(Http::HTTP_CREATED);
    EXPECT_EQ(ok.getStatus(), Http::HTTP_OK);
    EXPECT_EQ(created.getStatus(), Http::HTTP_CREATED);
    EXPECT_EQ(ok.getMimetype(), JSON_TYPE);
    EXPECT_EQ(compact(ok.getJson()), R"({"status":"ok"})");
    EXPECT_EQ(ok.getJson().get(), created.getJson().get());
}

TEST(HttpResponse, MakesOkAnswersInManyThreads)
{
    const Object::Ptr expected = HttpResponse::createStatusOk(Http::HTTP_OK).getJson();
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&expected] {
            for (int round = 0; round < 200; ++round)
                EXPECT_EQ(HttpResponse::createStatusOk(Http::HTTP_OK).getJson().get(), expected.get());
        });
    }
    for (std::thread& thread : threads)
        thread.join();
}

TEST(HttpResponse, MakesErrorAnswers)
{
    struct Row {
        HttpResponse response;
        int expectedStatus;
        std::string expectedDocument;
    };
    const std::vector<Row> rows = {
        {HttpResponse::createError(Http::HTTP_NOT_FOUND, ""), 404,
         R"({"code":404,"message":"element not found","status":"error"})"},
        {HttpResponse::createError(Http::HTTP_NOT_FOUND, "no such thing"), 404,
         R"({"code":404,"message":"no such thing","status":"error"})"},
        {HttpResponse::createError(Http::HTTP_BAD_REQUEST, 1234, "text"), 400,
         R"({"code":1234,"message":"text","status":"error"})"},
        {HttpResponse::createError(Http::HTTP_BAD_REQUEST, -1, ""), 400,
         R"({"code":-1,"message":"invalid request","status":"error"})"},
        {HttpResponse::createError(Http::HTTP_BAD_REQUEST, 0, ""), 400,
         R"({"code":0,"message":"invalid request","status":"error"})"},
        {HttpResponse::createError(Http::HTTP_SERVICE_UNAVAILABLE, ""), 503,
         R"({"code":503,"message":"service unavailable","status":"error"})"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.expectedDocument);
        EXPECT_EQ(row.response.getStatus(), row.expectedStatus);
        EXPECT_EQ(row.response.getMimetype(), JSON_TYPE);
        EXPECT_EQ(compact(row.response.getJson()), row.expectedDocument);
        EXPECT_TRUE(row.response.getJson()->get("code").isInteger());
    }
    const auto one = HttpResponse::createError(Http::HTTP_GONE, "");
    const auto other = HttpResponse::createError(Http::HTTP_GONE, "");
    EXPECT_NE(one.getJson().get(), other.getJson().get()) << "an error document is not shared";
}

TEST(HttpResponse, HasDefaultMessages)
{
    const std::vector<std::pair<int, std::string>> rows = {
        {200, "ok"},
        {201, "ok"},
        {202, "ok"},
        {400, "invalid request"},
        {403, "access forbidden"},
        {404, "element not found"},
        {409, "element has gone"},
        {410, "element has gone"},
        {500, "internal processing error"},
        {501, "operation not available"},
        // reasons of the HTTP library
        {204, "no content"},
        {304, "not modified"},
        {405, "method not allowed"},
        {413, "request entity too large"},
        {418, "i'm a teapot"},
        {503, "service unavailable"},
    };
    for (const auto& [number, message] : rows) {
        SCOPED_TRACE(number);
        EXPECT_EQ(getDefaultMessage(status(number)), message);
    }
}

TEST(HttpResponse, HasTheReasonInLowerCaseForAnyOtherStatus)
{
    for (int number = 100; number <= Http::HTTP_NETWORK_AUTHENTICATION_REQUIRED; ++number) {
        switch (number) {
        case 200:
        case 201:
        case 202:
        case 400:
        case 403:
        case 404:
        case 409:
        case 410:
        case 500:
        case 501:
            continue;
        default:
            EXPECT_EQ(getDefaultMessage(status(number)),
                      Poco::toLower(Http::getReasonForStatus(status(number))))
                << number;
        }
    }
}

TEST(HttpResponse, SendsATextWithTypeAndLength)
{
    const Answer answer = answerOf(textResponse("some text", "text/html"));
    EXPECT_EQ(answer.head.getStatus(), Http::HTTP_OK);
    EXPECT_EQ(answer.head.getReason(), "OK");
    EXPECT_EQ(answer.head.get("Content-Type"), "text/html");
    EXPECT_EQ(answer.head.get("Content-Length"), "9");
    EXPECT_FALSE(answer.head.has("Transfer-Encoding"));
    EXPECT_FALSE(answer.head.has("Location"));
    EXPECT_FALSE(answer.head.has("Content-Encoding"));
    EXPECT_EQ(answer.body, "some text");
}

TEST(HttpResponse, SendsItsStatusWithTheReason)
{
    for (const int number : {200, 202, 400, 404, 418, 500, 503}) {
        SCOPED_TRACE(number);
        const Answer answer = answerOf(HttpResponse::createError(status(number), "x"));
        EXPECT_EQ(answer.head.getStatus(), number);
        EXPECT_EQ(answer.head.getReason(), Http::getReasonForStatus(status(number)));
    }
}

TEST(HttpResponse, SendsJsonCompactOnOneLine)
{
    const std::string text = R"({"a":[1,{"b":null},[]],"c":{},"d":"e\nf \" g"})";
    const Answer answer = answerOf(jsonResponse(text));
    EXPECT_EQ(answer.body, text);
    EXPECT_EQ(answer.head.get("Content-Type"), JSON_TYPE);
    EXPECT_EQ(answer.head.getContentLength(), static_cast<std::streamsize>(text.size()));
}

TEST(HttpResponse, SendsErrorDocuments)
{
    const Answer answer = answerOf(HttpResponse::createError(Http::HTTP_NOT_FOUND, ""));
    EXPECT_EQ(answer.head.getStatus(), Http::HTTP_NOT_FOUND);
    EXPECT_EQ(answer.body, R"({"code":404,"message":"element not found","status":"error"})");
}

TEST(HttpResponse, SendsOkAnswers)
{
    const Answer answer = answerOf(HttpResponse::createStatusOk(Http::HTTP_ACCEPTED));
    EXPECT_EQ(answer.head.getStatus(), Http::HTTP_ACCEPTED);
    EXPECT_EQ(answer.body, R"({"status":"ok"})");
}

TEST(HttpResponse, SendsEveryByteOfAText)
{
    std::string text;
    for (int value = 0; value < 256; ++value)
        text += static_cast<char>(static_cast<unsigned char>(value));
    while (text.size() < 1000000)
        text += text;
    for (const char* coding : {"", "gzip", "deflate"}) {
        SCOPED_TRACE(coding);
        const Answer answer = answerOf(textResponse(text), coding);
        EXPECT_EQ(answer.head.getContentLength(), static_cast<std::streamsize>(answer.body.size()));
        EXPECT_EQ(answer.head.get("Content-Encoding", ""), coding);
        EXPECT_TRUE(decoded(answer) == text);
    }
}

TEST(HttpResponse, SendsALocationOnlyWithAnElementThatWasCreated)
{
    struct Row {
        int status;
        std::string location;
        bool sent;
    };
    const std::vector<Row> rows = {
        {201, "/svc/res/1", true},  {201, "", false},           {200, "/svc/res/1", false},
        {202, "/svc/res/1", false}, {204, "/svc/res/1", false}, {301, "/svc/res/1", false},
        {302, "/svc/res/1", false}, {307, "/svc/res/1", false}, {404, "/svc/res/1", false},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(std::to_string(row.status) + ' ' + row.location);
        HttpResponse response(status(row.status));
        response.setLocation(row.location);
        for (const bool skipContent : {false, true}) {
            const Answer answer = answerOf(response, "", skipContent);
            EXPECT_EQ(answer.head.has("Location"), row.sent);
            EXPECT_EQ(answer.head.get("Location", ""), row.sent ? row.location : "");
        }
    }
}

TEST(HttpResponse, SendsAnEmptyBodyWithoutTypeAndCoding)
{
    HttpResponse cleared = jsonResponse(R"({"a":1})");
    cleared.clearData();
    for (const HttpResponse& response : {HttpResponse(), cleared}) {
        for (const char* coding : {"", "gzip", "deflate", "gzip, deflate"}) {
            for (const bool skipContent : {false, true}) {
                SCOPED_TRACE(coding);
                const Answer answer = answerOf(response, coding, skipContent);
                EXPECT_EQ(answer.body, "");
                EXPECT_EQ(answer.head.get("Content-Length"), "0");
                EXPECT_FALSE(answer.head.has("Content-Type"));
                EXPECT_FALSE(answer.head.has("Content-Encoding"));
            }
        }
    }
}

TEST(HttpResponse, ReplacesWhatTheHandlerSaidOfTypeAndChunks)
{
    const Answer answer = exchangeWith("", [](HTTPServerResponse& message, HTTPEncoderDecoder& coder) {
        message.setChunkedTransferEncoding(true);
        message.setContentType("image/png");
        message.setStatusAndReason(Http::HTTP_GONE, "of old");
        message.set("X-Own", "stays");
        textResponse("text").send(message, coder, false);
    });
    EXPECT_FALSE(answer.head.has("Transfer-Encoding"));
    EXPECT_EQ(answer.head.get("Content-Type"), "text/plain");
    EXPECT_EQ(answer.head.get("X-Own"), "stays");
    EXPECT_EQ(answer.head.getStatus(), Http::HTTP_OK);
    EXPECT_EQ(answer.head.getReason(), "OK");
    EXPECT_EQ(answer.body, "text");

    const Answer untyped = exchangeWith("", [](HTTPServerResponse& message, HTTPEncoderDecoder& coder) {
        message.setChunkedTransferEncoding(true);
        message.setContentType("image/png");
        HttpResponse().send(message, coder, true);
    });
    EXPECT_FALSE(untyped.head.has("Content-Type"));
    EXPECT_FALSE(untyped.head.has("Transfer-Encoding"));
}

TEST(HttpResponse, EncodesTheBodyAsTheClientAccepts)
{
    const std::string text = R"({"a":"a text of some length, a text of some length, a text of some length"})";
    for (const char* coding : {"gzip", "deflate"}) {
        SCOPED_TRACE(coding);
        const Answer answer = answerOf(jsonResponse(text), coding);
        EXPECT_EQ(answer.head.get("Content-Encoding", ""), coding);
        EXPECT_EQ(answer.head.get("Vary", ""), "Accept-Encoding");
        EXPECT_EQ(answer.head.getContentLength(), static_cast<std::streamsize>(answer.body.size()));
        EXPECT_FALSE(answer.head.has("Transfer-Encoding"));
        EXPECT_NE(answer.body, text);
        EXPECT_EQ(decoded(answer), text);
    }
    EXPECT_EQ(answerOf(jsonResponse(text)).head.get("Vary", ""), "Accept-Encoding");
}

TEST(HttpResponse, SendsTheHeadersOfTheFullAnswerWithoutItsBody)
{
    const std::string text(5000, 'a');
    for (const char* coding : {"", "gzip", "deflate"}) {
        for (HttpResponse response : {textResponse(text), jsonResponse(R"({"a":1})"), HttpResponse()}) {
            SCOPED_TRACE(coding);
            response.setStatus(Http::HTTP_CREATED);
            response.setLocation("/svc/res/1");
            Answer full = answerOf(response, coding);
            Answer head = answerOf(response, coding, true);
            EXPECT_EQ(head.body, "");
            EXPECT_EQ(head.head.get("Content-Length"), std::to_string(full.body.size()));
            full.head.erase("Date");
            head.head.erase("Date");
            EXPECT_EQ(shown(head.head), shown(full.head));
            EXPECT_EQ(head.head.getStatus(), full.head.getStatus());
        }
    }
}

TEST(HttpResponse, HandsTheWholeBodyOverAtOnce)
{
    Exchange<> full;
    textResponse("text").send(full.response, full.coder, false);
    EXPECT_TRUE(full.response.sentBuffer());
    EXPECT_EQ(full.response.body(), "text");

    Exchange<> head;
    textResponse("text").send(head.response, head.coder, true);
    EXPECT_TRUE(head.response.sent());
    EXPECT_FALSE(head.response.sentBuffer());
    EXPECT_EQ(head.response.body(), "");
    EXPECT_EQ(head.response.getContentLength(), 4);
}

TEST(HttpResponse, IsNotUsedUpBySending)
{
    const HttpResponse response = jsonResponse(R"({"a":1})");
    EXPECT_EQ(answerOf(response).body, answerOf(response).body);
    EXPECT_EQ(compact(response.getJson()), R"({"a":1})");
}

TEST(HttpResponse, WarnsOfASecondSendAndDoesNothing)
{
    LogCapture log(Poco::Message::PRIO_DEBUG);
    std::string headers;
    const Answer answer = exchangeWith("", [&](HTTPServerResponse& message, HTTPEncoderDecoder& coder) {
        textResponse("first").send(message, coder, false);
        headers = shown(message);
        HttpResponse::createError(Http::HTTP_NOT_FOUND, "").send(message, coder, false);
        HttpResponse::createError(Http::HTTP_NOT_FOUND, "").send(message, coder, true);
        EXPECT_EQ(message.getStatus(), Http::HTTP_OK);
        EXPECT_EQ(shown(message), headers);
    });
    EXPECT_EQ(answer.body, "first");
    const std::string warning = "Warning: HTTP response was already send!";
    ASSERT_THAT(log.texts(), ElementsAre(warning, warning));
    EXPECT_EQ(log.records()[0].priority, Poco::Message::PRIO_WARNING);
    EXPECT_EQ(log.records()[0].source, "HttpResponse.cpp");
}

TEST(HttpResponse, LeavesAnAnswerAloneThatSomebodyElseSent)
{
    LogCapture log;
    Exchange<> exchange;
    exchange.response.send() << "by hand";
    textResponse("text").send(exchange.response, exchange.coder, false);
    EXPECT_EQ(exchange.response.body(), "by hand");
    EXPECT_TRUE(exchange.response.empty()) << shown(exchange.response);
    EXPECT_THAT(log.texts(), ElementsAre("Warning: HTTP response was already send!"));
}

TEST(HttpResponse, WarnsOfNothingWhenTheLevelIsOff)
{
    LogCapture log(Poco::Message::PRIO_ERROR);
    Exchange<> exchange;
    textResponse("text").send(exchange.response, exchange.coder, false);
    textResponse("text").send(exchange.response, exchange.coder, false);
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(HttpResponse, TracesHeadersAndBody)
{
    LogCapture log;
    Exchange<> exchange;
    textResponse("ok").send(exchange.response, exchange.coder, false);
    ASSERT_THAT(
        log.texts(),
        ElementsAre("Trace: HTTP Response:\t"
                    R"({"Content-Type"="text/plain", "Vary"="Accept-Encoding", "Content-Length"="2"})",
                    "Trace: HTTP Response-Body:\tok"));
    for (const LogCapture::Record& record : log.records()) {
        EXPECT_EQ(record.priority, Poco::Message::PRIO_TRACE);
        EXPECT_EQ(record.source, "HttpResponse.cpp");
    }
}

TEST(HttpResponse, TracesTheHeadersAloneWithoutABody)
{
    LogCapture log;
    Exchange<> exchange;
    textResponse("ok").send(exchange.response, exchange.coder, true);
    ASSERT_THAT(
        log.texts(),
        ElementsAre("Trace: HTTP Response:\t"
                    R"({"Content-Type"="text/plain", "Vary"="Accept-Encoding", "Content-Length"="2"})"));
    EXPECT_EQ(log.records()[0].priority, Poco::Message::PRIO_TRACE);
}

TEST(HttpResponse, TracesTheHeadersInTheirOwnOrder)
{
    LogCapture log;
    std::string headers;
    exchangeWith("", [&](HTTPServerResponse& message, HTTPEncoderDecoder& coder) {
        message.add("Set-Cookie", "b=2");
        message.add("A", R"(quoted "value")");
        message.add("Set-Cookie", "a=1");
        message.add("Empty", "");
        HttpResponse::createStatusOk(Http::HTTP_OK).send(message, coder, false);
        headers = shown(message);
    });
    EXPECT_THAT(log.texts(), ElementsAre("Trace: HTTP Response:\t" + headers,
                                         R"(Trace: HTTP Response-Body:	{"status":"ok"})"));
    EXPECT_THAT(headers, HasSubstr(R"("A"="quoted "value"", "Empty"="")"));
}

TEST(HttpResponse, TracesASingleHeader)
{
    class OneHeaderResponse : public ServerResponse
    {
    public:
        std::ostream& send() override
        {
            clear();
            set("X", "y");
            return ServerResponse::send();
        }
    };
    LogCapture log;
    Exchange<OneHeaderResponse> exchange;
    textResponse("ok").send(exchange.response, exchange.coder, true);
    EXPECT_THAT(log.texts(), ElementsAre(R"(Trace: HTTP Response:	{"X"="y"})"));
}

TEST(HttpResponse, TracesNoBracesIfThereAreNoHeaders)
{
    for (const bool skipContent : {false, true}) {
        LogCapture log;
        Exchange<ForgetfulResponse> exchange;
        textResponse("ok").send(exchange.response, exchange.coder, skipContent);
        ASSERT_FALSE(log.texts().empty());
        EXPECT_EQ(log.texts()[0], "Trace: HTTP Response:\t");
    }
}

TEST(HttpResponse, TracesAnEmptyBody)
{
    LogCapture log;
    Exchange<> exchange;
    HttpResponse().send(exchange.response, exchange.coder, false);
    ASSERT_EQ(log.texts().size(), 2U);
    EXPECT_THAT(log.texts()[0], EndsWith(R"("Content-Length"="0"})"));
    EXPECT_EQ(log.texts()[1], "Trace: HTTP Response-Body:\t");
}

TEST(HttpResponse, TracesTheBodyAsItWentOut)
{
    std::vector<std::string> texts;
    std::string body;
    {
        LogCapture log;
        Exchange<> exchange("gzip");
        textResponse(std::string(1000, 'a')).send(exchange.response, exchange.coder, false);
        body = exchange.response.body();
        texts = log.texts();
    }
    ASSERT_THAT(body, StartsWith("\x1F\x8B"));
    LogCapture reference;
    ZOVI_LOG_TRACE("HTTP Response-Body:\t" << body);
    ASSERT_EQ(texts.size(), 2U);
    ASSERT_EQ(reference.texts().size(), 1U);
    EXPECT_EQ(texts[1], reference.texts()[0]);
}

TEST(HttpResponse, TracesOnlyWhenTheDataWentOut)
{
    for (const bool skipContent : {false, true}) {
        Exchange<WatchingResponse> exchange;
        textResponse("ok").send(exchange.response, exchange.coder, skipContent);
        EXPECT_THAT(exchange.response.logged, IsEmpty());
        EXPECT_EQ(exchange.response.log.texts().size(), skipContent ? 1U : 2U);
    }
}

TEST(HttpResponse, TracesNothingWhenTheLevelIsOff)
{
    LogCapture log(Poco::Message::PRIO_DEBUG);
    for (const bool skipContent : {false, true}) {
        Exchange<> exchange;
        textResponse("ok").send(exchange.response, exchange.coder, skipContent);
    }
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(HttpResponse, LetsAFailureOfTheConnectionThrow)
{
    for (const bool skipContent : {false, true}) {
        for (const char* coding : {"", "gzip"}) {
            LogCapture log;
            Exchange<BrokenResponse> exchange(coding);
            try {
                textResponse("text").send(exchange.response, exchange.coder, skipContent);
                FAIL() << "nothing was thrown";
            } catch (const Poco::IOException& failure) {
                EXPECT_EQ(failure.message(), "broken connection");
            }
            EXPECT_THAT(log.texts(), IsEmpty());
        }
    }
}

TEST(HttpResponse, LetsAFailureToPrintThrowAndHasSentNothing)
{
    for (const char* coding : {"", "gzip", "deflate"}) {
        for (const std::size_t length : {1U, 100000U}) {
            for (const bool skipContent : {false, true}) {
                SCOPED_TRACE(std::string(coding) + ' ' + std::to_string(length));
                LogCapture log;
                Exchange<> exchange(coding);
                EXPECT_THROW(unprintableResponse(length).send(exchange.response, exchange.coder, skipContent),
                             Poco::BadCastException);
                EXPECT_FALSE(exchange.response.sent());
                EXPECT_EQ(exchange.response.body(), "");
                EXPECT_THAT(log.texts(), IsEmpty());
            }
        }
    }
}

// The coder wrote into a buffer of the call, which is gone after it.
TEST(HttpResponse, LeavesNothingOpenToTheCallerAfterAFailureToPrint)
{
    for (const char* coding : {"", "gzip", "deflate"}) {
        for (const std::size_t length : {1U, 100000U}) {
            SCOPED_TRACE(std::string(coding) + ' ' + std::to_string(length));
            Exchange<> exchange(coding);
            EXPECT_THROW(unprintableResponse(length).send(exchange.response, exchange.coder, false),
                         Poco::BadCastException);
            EXPECT_TRUE(exchange.coder.close());
            EXPECT_FALSE(exchange.response.has("Content-Encoding"));
        }
    }
}

TEST(HttpResponse, CanBeFollowedByAnErrorAfterAFailureToPrint)
{
    for (const char* coding : {"", "gzip", "deflate"}) {
        SCOPED_TRACE(coding);
        const Answer answer = exchangeWith(coding, [](HTTPServerResponse& message,
                                                      HTTPEncoderDecoder& coder) {
            try {
                unprintableResponse(100000).send(message, coder, false);
                ADD_FAILURE() << "nothing was thrown";
            } catch (const Poco::Exception&) {
                HttpResponse::createError(Http::HTTP_INTERNAL_SERVER_ERROR, "").send(message, coder, false);
            }
        });
        EXPECT_EQ(answer.head.getStatus(), Http::HTTP_INTERNAL_SERVER_ERROR);
        EXPECT_EQ(answer.head.get("Content-Encoding", ""), coding);
        EXPECT_EQ(answer.head.getContentLength(), static_cast<std::streamsize>(answer.body.size()));
        EXPECT_EQ(decoded(answer), R"({"code":500,"message":"internal processing error","status":"error"})");
    }
}

TEST(HttpResponse, AnnouncesNoCodingForAnEmptyAnswerAfterAFailureToPrint)
{
    const Answer answer = exchangeWith("gzip", [](HTTPServerResponse& message, HTTPEncoderDecoder& coder) {
        try {
            unprintableResponse(100000).send(message, coder, false);
        } catch (const Poco::Exception&) {
            HttpResponse(Http::HTTP_INTERNAL_SERVER_ERROR).send(message, coder, false);
        }
    });
    EXPECT_EQ(answer.head.get("Content-Length"), "0");
    EXPECT_FALSE(answer.head.has("Content-Encoding"));
    EXPECT_EQ(answer.body, "");
}

TEST(HttpResponse, KeepsACodingThatTheServiceAnnouncedAfterAFailureToPrint)
{
    for (const char* coding : {"", "gzip"}) {
        SCOPED_TRACE(coding);
        Exchange<> exchange(coding);
        exchange.response.set("Content-Encoding", "br");
        EXPECT_THROW(unprintableResponse(100).send(exchange.response, exchange.coder, false),
                     Poco::Exception);
        EXPECT_EQ(exchange.response.get("Content-Encoding", "none"), "br");
    }
}

} // namespace Zovi::Command
