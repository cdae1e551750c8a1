#include "Command/HttpRequest.h"

#include "JsonMatchers.h"
#include "LogCapture.h"
#include "LoopbackServer.h"
#include "ServerMessages.h"

#include <HTTPEncoderDecoder.h>
#include <Logging/LogStream.h>
#include <Poco/DeflatingStream.h>
#include <Poco/Exception.h>
#include <Poco/Net/NetException.h>

#include <gmock/gmock.h>

#include <algorithm>
#include <functional>
#include <ios>
#include <sstream>
#include <streambuf>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Zovi::Command
{

namespace
{

using Test::compact;
using Test::IsJson;
using Test::LogCapture;
using Test::LoopbackServer;
using Test::ServerRequest;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

static_assert(std::is_base_of_v<RequestBase, HttpRequest>);
static_assert(std::has_virtual_destructor_v<HttpRequest>);
static_assert(!std::is_copy_constructible_v<HttpRequest> && !std::is_copy_assignable_v<HttpRequest>);
static_assert(!std::is_move_constructible_v<HttpRequest> && !std::is_move_assignable_v<HttpRequest>);
static_assert(sizeof(HttpRequest::RequestType) == 4);
static_assert(
    std::is_same_v<decltype(std::declval<const HttpRequest&>().getContentLength()), std::streamsize>);
static_assert(std::is_same_v<decltype(std::declval<const HttpRequest&>().getUrl()), const std::string&>);
static_assert(std::is_same_v<decltype(std::declval<const HttpRequest&>().getMessage()), const std::string&>);
static_assert(std::is_same_v<decltype(std::declval<const HttpRequest&>().getHttpRequest()),
                             const Poco::Net::HTTPServerRequest&>);

/// A body that comes in one piece, and counts how often its end is met.
class BodyWithEnd : public std::streambuf
{
public:
    explicit BodyWithEnd(const std::string& text)
        : m_text(text)
    {
        setg(m_text.data(), m_text.data(), m_text.data() + m_text.size());
    }

    int ends() const { return m_ends; }

protected:
    int_type underflow() override
    {
        ++m_ends;
        return traits_type::eof();
    }

private:
    std::string m_text;
    int m_ends = 0;
};

/// How a request reads its body.
enum class Reading { AS_IT_CAME, DECODED };

constexpr Reading BOTH_READINGS[] = {Reading::AS_IT_CAME, Reading::DECODED};

/// What became of a request that came over a socket.
struct Received {
    bool made = false;   ///< the constructor did not throw
    std::string failure; ///< what it threw otherwise
    HttpRequest::RequestType type = HttpRequest::UNSUPPORTED;
    std::string url;
    std::string message;
    bool hasMessage = false;
    bool hasContentLength = false;
    std::streamsize contentLength = 0;
    UrlPath::Characteristic characteristic = UrlPath::INVALID;
};

LoopbackServer& server()
{
    static LoopbackServer instance;
    return instance;
}

Received describe(const HttpRequest& request)
{
    Received result;
    result.made = true;
    result.type = request.getType();
    result.url = request.getUrl();
    result.message = request.getMessage();
    result.hasMessage = request.hasMessage();
    result.hasContentLength = request.hasContentLength();
    result.contentLength = request.getContentLength();
    result.characteristic = request.getUrlPath().getCharacteristic();
    return result;
}

Received read(Poco::Net::HTTPServerRequest& request, Poco::Net::HTTPServerResponse& response, Reading reading)
{
    try {
        if (reading == Reading::AS_IT_CAME)
            return describe(HttpRequest(request));
        Net::HTTPEncoderDecoder decoder(request, response);
        return describe(HttpRequest(request, decoder));
    } catch (const Poco::Exception& failure) {
        Received result;
        result.failure = failure.displayText();
        return result;
    }
}

/// What becomes of `bytes` that a client says before it closes its side of the connection.
Received receive(const std::string& bytes, Reading reading = Reading::AS_IT_CAME)
{
    Received result;
    bool handled = false;
    server().exchange(bytes,
                      [&](Poco::Net::HTTPServerRequest& request, Poco::Net::HTTPServerResponse& response) {
                          result = read(request, response, reading);
                          handled = true;
                          response.setContentLength(0);
                          response.send();
                      });
    EXPECT_TRUE(handled) << "no handler saw the request";
    return result;
}

std::string requestHead(const std::string& method, const std::string& url, const std::string& headers = "")
{
    return method + ' ' + url + " HTTP/1.1\r\nHost: localhost\r\nConnection: close\r\n" + headers + "\r\n";
}

std::string lengthHeader(std::size_t length)
{
    return "Content-Length: " + std::to_string(length) + "\r\n";
}

/// A POST of `body` with its length, `headers` besides.
std::string post(const std::string& body, const std::string& headers = "")
{
    return requestHead("POST", "/svc/res", lengthHeader(body.size()) + headers) + body;
}

/// `body` in chunks of `size` bytes at most.
std::string chunked(const std::string& body, std::size_t size)
{
    std::ostringstream result;
    for (std::size_t start = 0; start < body.size(); start += size) {
        const std::string chunk = body.substr(start, size);
        result << std::hex << chunk.size() << "\r\n" << chunk << "\r\n";
    }
    result << "0\r\n\r\n";
    return result.str();
}

std::string chunkedPost(const std::string& wireBody, const std::string& headers = "")
{
    return requestHead("POST", "/svc/res", "Transfer-Encoding: chunked\r\n" + headers) + wireBody;
}

std::string compressed(const std::string& text, Poco::DeflatingStreamBuf::StreamType format)
{
    std::ostringstream result;
    Poco::DeflatingOutputStream coder(result, format);
    coder << text;
    coder.close();
    return result.str();
}

struct Coding {
    std::string header;
    std::function<std::string(const std::string&)> encode;
};

const std::vector<Coding>& codings()
{
    static const std::vector<Coding> all = {
        {"",
         [](const std::string& text) {
             return text;
         }},
        {"Content-Encoding: gzip\r\n",
         [](const std::string& text) {
             return compressed(text, Poco::DeflatingStreamBuf::STREAM_GZIP);
         }},
        {"Content-Encoding: deflate\r\n",
         [](const std::string& text) {
             return compressed(text, Poco::DeflatingStreamBuf::STREAM_ZLIB);
         }},
    };
    return all;
}

std::vector<Coding> compressingCodings()
{
    return {codings().begin() + 1, codings().end()};
}

std::string allBytes()
{
    std::string result;
    for (int value = 0; value < 256; ++value)
        result += static_cast<char>(static_cast<unsigned char>(value));
    return result;
}

/// `size` bytes with little repetition.
std::string bytesOfSize(std::size_t size)
{
    std::string result(size, '\0');
    unsigned int state = 1;
    for (char& byte : result) {
        state = state * 1103515245U + 12345U;
        byte = static_cast<char>(static_cast<unsigned char>(state >> 16U));
    }
    return result;
}

const std::string A_DOCUMENT =
    R"({"text":"a note of some length, so that it is worth compressing","n":[1,2,3]})";

/// A body that breaks off with an exception of its own.
class BreakingBuffer : public std::streambuf
{
public:
    explicit BreakingBuffer(std::string text)
        : m_text(std::move(text))
    {
        setg(m_text.data(), m_text.data(), m_text.data() + m_text.size());
    }

protected:
    int_type underflow() override { throw Poco::TimeoutException("the body did not arrive"); }

private:
    std::string m_text;
};

} // namespace

TEST(HttpRequest, NumbersItsTypes)
{
    EXPECT_EQ(static_cast<int>(HttpRequest::UNSUPPORTED), 0);
    EXPECT_EQ(static_cast<int>(HttpRequest::GET), 1);
    EXPECT_EQ(static_cast<int>(HttpRequest::HEAD), 2);
    EXPECT_EQ(static_cast<int>(HttpRequest::POST), 3);
    EXPECT_EQ(static_cast<int>(HttpRequest::PUT), 4);
    EXPECT_EQ(static_cast<int>(HttpRequest::DELETE), 5);
}

TEST(HttpRequest, MapsTheMethod)
{
    const std::vector<std::pair<std::string, HttpRequest::RequestType>> rows = {
        {"GET", HttpRequest::GET},
        {"HEAD", HttpRequest::HEAD},
        {"POST", HttpRequest::POST},
        {"PUT", HttpRequest::PUT},
        {"DELETE", HttpRequest::DELETE},
        // all others, and the known ones in another case or length
        {"PATCH", HttpRequest::UNSUPPORTED},
        {"OPTIONS", HttpRequest::UNSUPPORTED},
        {"TRACE", HttpRequest::UNSUPPORTED},
        {"CONNECT", HttpRequest::UNSUPPORTED},
        {"get", HttpRequest::UNSUPPORTED},
        {"Head", HttpRequest::UNSUPPORTED},
        {"POSt", HttpRequest::UNSUPPORTED},
        {"put", HttpRequest::UNSUPPORTED},
        {"delete", HttpRequest::UNSUPPORTED},
        {"GE", HttpRequest::UNSUPPORTED},
        {"GETS", HttpRequest::UNSUPPORTED},
        {"DELET", HttpRequest::UNSUPPORTED},
    };
    for (const auto& [method, type] : rows) {
        for (const Reading reading : BOTH_READINGS) {
            SCOPED_TRACE(method);
            LogCapture log;
            const Received received = receive(requestHead(method, "/svc/res"), reading);
            ASSERT_TRUE(received.made) << received.failure;
            EXPECT_EQ(received.type, type);
            EXPECT_FALSE(received.hasMessage);
            EXPECT_EQ(received.characteristic, UrlPath::SERVICE_RESOURCE);
            EXPECT_THAT(log.texts(), IsEmpty());
        }
    }
}

TEST(HttpRequest, ReadsTheBodyOfAnUnknownMethodToo)
{
    for (const char* method : {"PATCH", "get", "GET", "DELETE"}) {
        SCOPED_TRACE(method);
        EXPECT_EQ(receive(requestHead(method, "/svc/res", lengthHeader(4)) + "body").message, "body");
    }
}

TEST(HttpRequest, GivesTheUrlAsItCame)
{
    for (const char* url :
         {"/svc/%72es?$limit=5", "/", "http://other:81/svc?x=a+b%20c", "/a%2Fb", "/svc?x=1#part"}) {
        SCOPED_TRACE(url);
        EXPECT_EQ(receive(requestHead("GET", url)).url, url);
    }
}

TEST(HttpRequest, RefersToTheServerRequest)
{
    ServerRequest serverRequest("GET", "/svc/res?x=1");
    const HttpRequest request(serverRequest);
    EXPECT_EQ(&request.getHttpRequest(), &serverRequest);
    EXPECT_EQ(&request.getUrl(), &serverRequest.getURI());
    EXPECT_EQ(request.getUri(), Poco::URI("/svc/res?x=1"));
    EXPECT_EQ(request.getUrlPath(), UrlPath("/svc/res"));
}

TEST(HttpRequest, ClassifiesItsAddress)
{
    const std::vector<std::pair<std::string, UrlPath::Characteristic>> rows = {
        {"/", UrlPath::ROOT},
        {"/api/v1/svc", UrlPath::SERVICE},
        {"/svc/res/id", UrlPath::SERVICE_RESOURCE_ID},
        {"/svc/res/17", UrlPath::INVALID},
        {"/svc/id?x=1", UrlPath::INVALID},
        {"/a/b/c/d", UrlPath::INVALID},
    };
    for (const auto& [url, characteristic] : rows) {
        SCOPED_TRACE(url);
        const Received received = receive(requestHead("GET", url));
        EXPECT_TRUE(received.made) << received.failure;
        EXPECT_EQ(received.characteristic, characteristic);
    }
}

TEST(HttpRequest, ReadsTheBodyOfAnInvalidAddressToo)
{
    const Received received = receive(requestHead("POST", "/svc/id?x=1", lengthHeader(4)) + "body");
    EXPECT_EQ(received.characteristic, UrlPath::INVALID);
    EXPECT_EQ(received.message, "body");
}

TEST(HttpRequest, LetsAUrlThatIsNoUriThrow)
{
    for (const char* url : {"/a%zz", "http://host:port/", "/svc?x=%zz", "/svc?x=%4"}) {
        for (const Reading reading : BOTH_READINGS) {
            SCOPED_TRACE(url);
            const Received received = receive(requestHead("GET", url), reading);
            EXPECT_FALSE(received.made);
            EXPECT_THAT(received.failure, HasSubstr("Bad URI syntax"));
        }
    }
}

TEST(HttpRequest, ReadsNoBodyIfTheUrlIsRefused)
{
    ServerRequest serverRequest("POST", "/a%zz", "body");
    serverRequest.setContentLength(4);
    EXPECT_THROW(HttpRequest{serverRequest}, Poco::URISyntaxException);
    EXPECT_EQ(serverRequest.stream().get(), 'b');
}

TEST(HttpRequest, ReadsABodyWithItsLength)
{
    for (const Reading reading : BOTH_READINGS) {
        const Received received = receive(post("some text"), reading);
        ASSERT_TRUE(received.made) << received.failure;
        EXPECT_EQ(received.message, "some text");
        EXPECT_TRUE(received.hasMessage);
        EXPECT_TRUE(received.hasContentLength);
        EXPECT_EQ(received.contentLength, 9);
        EXPECT_EQ(received.type, HttpRequest::POST);
    }
}

TEST(HttpRequest, EndsABodyAtItsLength)
{
    EXPECT_EQ(receive(requestHead("POST", "/svc", lengthHeader(4)) + "bodyGET / HTTP/1.1\r\n\r\n").message,
              "body");
}

TEST(HttpRequest, ReadsAChunkedBody)
{
    for (const Reading reading : BOTH_READINGS) {
        for (const std::size_t size : {1U, 3U, 1000U}) {
            SCOPED_TRACE(size);
            const Received received = receive(chunkedPost(chunked("some text", size)), reading);
            ASSERT_TRUE(received.made) << received.failure;
            EXPECT_EQ(received.message, "some text");
            EXPECT_FALSE(received.hasContentLength);
            EXPECT_EQ(received.contentLength, -1);
        }
    }
    EXPECT_FALSE(receive(chunkedPost(chunked("", 1))).hasMessage);
    EXPECT_EQ(receive(chunkedPost("4;name=value\r\nbody\r\n0\r\n\r\n")).message, "body");
}

TEST(HttpRequest, MeetsTheEndOfAChunkedBodyOnlyOnce)
{
    // A second read at the end of the chunks waited for the next request on the connection, and took its
    // first byte when that was there.
    for (const Reading reading : BOTH_READINGS) {
        SCOPED_TRACE(static_cast<int>(reading));
        BodyWithEnd body("some text");
        ServerRequest request("POST", "/svc");
        request.setChunkedTransferEncoding(true);
        request.setBodyBuffer(body);
        if (reading == Reading::AS_IT_CAME) {
            EXPECT_EQ(HttpRequest(request).getMessage(), "some text");
        } else {
            Net::HTTPEncoderDecoder decoder(request, request.response());
            EXPECT_EQ(HttpRequest(request, decoder).getMessage(), "some text");
        }
        EXPECT_EQ(body.ends(), 1);
    }
}

TEST(HttpRequest, ReadsABodyWithoutLengthToTheEndOfTheConnection)
{
    for (const Reading reading : BOTH_READINGS) {
        const Received received = receive(requestHead("POST", "/svc") + "some text", reading);
        ASSERT_TRUE(received.made) << received.failure;
        EXPECT_EQ(received.message, "some text");
        EXPECT_FALSE(received.hasContentLength);
        EXPECT_EQ(received.contentLength, -1);
    }
}

TEST(HttpRequest, HasNoMessageWithoutLengthAndBody)
{
    for (const char* method : {"GET", "HEAD", "POST", "PUT", "DELETE"}) {
        for (const Reading reading : BOTH_READINGS) {
            SCOPED_TRACE(method);
            const Received received = receive(requestHead(method, "/svc"), reading);
            ASSERT_TRUE(received.made) << received.failure;
            EXPECT_FALSE(received.hasMessage);
            EXPECT_EQ(received.message, "");
            EXPECT_FALSE(received.hasContentLength);
            EXPECT_EQ(received.contentLength, -1);
        }
    }
}

TEST(HttpRequest, ReadsNothingIfTheDeclaredLengthIsNotPositive)
{
    struct Row {
        std::string headers;
        std::streamsize length;
    };
    const std::vector<Row> rows = {
        {"Content-Length: 0\r\n", 0},
        {"Content-Length: 0\r\nContent-Encoding: gzip\r\n", 0},
        {"Content-Length:\r\n", -1},
    };
    for (const Row& row : rows) {
        for (const Reading reading : BOTH_READINGS) {
            SCOPED_TRACE(row.headers);
            LogCapture log;
            const Received received =
                receive(requestHead("POST", "/svc", row.headers) + "bytes behind", reading);
            ASSERT_TRUE(received.made) << received.failure;
            EXPECT_FALSE(received.hasMessage);
            EXPECT_TRUE(received.hasContentLength);
            EXPECT_EQ(received.contentLength, row.length);
            EXPECT_THAT(log.texts(), IsEmpty());
        }
    }
}

TEST(HttpRequest, LeavesTheStreamAloneIfTheDeclaredLengthIsZero)
{
    ServerRequest serverRequest("POST", "/svc", "bytes behind");
    serverRequest.setContentLength(0);
    const HttpRequest request(serverRequest);
    EXPECT_FALSE(request.hasMessage());
    EXPECT_TRUE(request.hasContentLength());
    EXPECT_EQ(serverRequest.stream().get(), 'b');
}

TEST(HttpRequest, KeepsEveryByteOfABody)
{
    for (const std::size_t size : {1U, 255U, 8191U, 8192U, 8193U, 16384U, 300000U}) {
        const std::string body = bytesOfSize(size);
        for (const Coding& coding : codings()) {
            SCOPED_TRACE(std::to_string(size) + ' ' + coding.header);
            const Received received = receive(post(coding.encode(body), coding.header), Reading::DECODED);
            ASSERT_TRUE(received.made) << received.failure;
            EXPECT_TRUE(received.message == body);
        }
        EXPECT_TRUE(receive(post(body)).message == body);
        EXPECT_TRUE(receive(chunkedPost(chunked(body, 5000))).message == body);
    }
    EXPECT_EQ(receive(post(allBytes())).message, allBytes());
}

TEST(HttpRequest, DecodesABodyWithADecoderOnly)
{
    for (const Coding& coding : compressingCodings()) {
        SCOPED_TRACE(coding.header);
        const std::string body = coding.encode(A_DOCUMENT);
        EXPECT_EQ(receive(post(body, coding.header), Reading::DECODED).message, A_DOCUMENT);
        EXPECT_EQ(receive(post(body, coding.header)).message, body);
        EXPECT_EQ(receive(chunkedPost(chunked(body, 7), coding.header), Reading::DECODED).message,
                  A_DOCUMENT);
        EXPECT_EQ(receive(requestHead("PUT", "/svc", coding.header) + body, Reading::DECODED).message,
                  A_DOCUMENT);
    }
}

TEST(HttpRequest, DeclaresTheLengthOfTheCodedBody)
{
    const Coding& gzip = codings()[1];
    const std::string body = gzip.encode(A_DOCUMENT);
    const Received received = receive(post(body, gzip.header), Reading::DECODED);
    EXPECT_EQ(received.contentLength, static_cast<std::streamsize>(body.size()));
}

TEST(HttpRequest, ThrowsWhereverABodyWithLengthIsCut)
{
    for (const Coding& coding : codings()) {
        const std::string body = coding.encode(A_DOCUMENT);
        const std::string head = requestHead("POST", "/svc", lengthHeader(body.size()) + coding.header);
        for (std::size_t length = 0; length < body.size(); ++length) {
            for (const Reading reading : BOTH_READINGS) {
                const Received received = receive(head + body.substr(0, length), reading);
                ASSERT_FALSE(received.made) << coding.header << "cut at " << length << " of " << body.size()
                                            << ": " << received.message;
                ASSERT_NE(received.failure, "");
            }
        }
        EXPECT_TRUE(receive(head + body, Reading::DECODED).made);
    }
}

TEST(HttpRequest, SaysHowMuchOfACutBodyArrived)
{
    ServerRequest cut("POST", "/svc", "some te");
    cut.setContentLength(9);
    try {
        const HttpRequest request(cut);
        FAIL() << "nothing was thrown";
    } catch (const Poco::Net::MessageException& failure) {
        EXPECT_EQ(failure.message(), "Incomplete request body: 7 of 9 bytes arrived");
    }
}

TEST(HttpRequest, NeverTakesACutCompressedBodyWithoutLengthForWhole)
{
    for (const Coding& coding : compressingCodings()) {
        const std::string body = coding.encode(A_DOCUMENT);
        for (std::size_t length = 1; length < body.size(); ++length) {
            const Received received = receive(
                requestHead("POST", "/svc", coding.header) + body.substr(0, length), Reading::DECODED);
            ASSERT_FALSE(received.made) << coding.header << "cut at " << length << ": " << received.message;
        }
    }
}

TEST(HttpRequest, NeverTakesACutCompressedBodyInChunksForWhole)
{
    for (const Coding& coding : compressingCodings()) {
        const std::string wire = chunked(coding.encode(A_DOCUMENT), 16);
        for (std::size_t length = 5; length < wire.size(); ++length) {
            const Received received =
                receive(chunkedPost(wire.substr(0, length), coding.header), Reading::DECODED);
            ASSERT_TRUE(!received.made || received.message == A_DOCUMENT)
                << coding.header << "cut at " << length << " of " << wire.size() << ": " << received.message;
        }
    }
}

TEST(HttpRequest, NeverTakesADamagedCompressedBodyForAnother)
{
    for (const Coding& coding : compressingCodings()) {
        const std::string body = coding.encode(A_DOCUMENT);
        for (std::size_t place = 0; place < body.size(); ++place) {
            for (const int mask : {0x01, 0x80, 0xFF}) {
                std::string damaged = body;
                damaged[place] = static_cast<char>(damaged[place] ^ mask);
                const Received received = receive(post(damaged, coding.header), Reading::DECODED);
                ASSERT_TRUE(!received.made || received.message == A_DOCUMENT)
                    << coding.header << "byte " << place << " xor " << mask << ": " << received.message;
            }
        }
    }
}

TEST(HttpRequest, LetsTheDecoderRefuseACodingThatItDoesNotKnow)
{
    const Received refused = receive(post("body", "Content-Encoding: compress\r\n"), Reading::DECODED);
    EXPECT_FALSE(refused.made);
    EXPECT_THAT(refused.failure, HasSubstr("compress"));
    EXPECT_EQ(receive(post("body", "Content-Encoding: compress\r\n")).message, "body");
}

TEST(HttpRequest, LetsTheLimitOfTheDecoderThrow)
{
    for (const Coding& coding : codings()) {
        SCOPED_TRACE(coding.header);
        bool thrown = false;
        server().exchange(
            post(coding.encode(std::string(100000, 'a')), coding.header),
            [&](Poco::Net::HTTPServerRequest& request, Poco::Net::HTTPServerResponse& response) {
                Net::HTTPEncoderDecoder decoder(request, response);
                decoder.setInputLimit(1000);
                try {
                    const HttpRequest read(request, decoder);
                } catch (const Poco::Exception&) {
                    thrown = true;
                }
            });
        EXPECT_TRUE(thrown);
    }
}

TEST(HttpRequest, LetsAFailureOfTheBodyStreamThrow)
{
    for (const bool withLength : {false, true}) {
        for (const Reading reading : BOTH_READINGS) {
            SCOPED_TRACE(std::string(withLength ? "with" : "without") + " length, " +
                         (reading == Reading::DECODED ? "decoded" : "as it came"));
            BreakingBuffer body("part of the bo");
            ServerRequest request("POST", "/svc");
            request.setBodyBuffer(body);
            if (withLength)
                request.setContentLength(20);
            const Received received = read(request, request.response(), reading);
            EXPECT_FALSE(received.made) << received.message;
            EXPECT_THAT(received.failure, HasSubstr("the body did not arrive"));
        }
    }
}

TEST(HttpRequest, GivesItsBodyAsJson)
{
    for (const char* text : {"{}", R"({"a":1})", R"({"a":{"b":[1,null,"c"]},"d":2.5})", " {\"a\":1} \r\n"}) {
        SCOPED_TRACE(text);
        ServerRequest serverRequest("POST", "/svc", text);
        LogCapture log;
        const HttpRequest request(serverRequest);
        EXPECT_THAT(compact(request.asJson()), IsJson(text));
        EXPECT_THAT(log.texts(), IsEmpty());
    }
}

TEST(HttpRequest, GivesNoJsonAndNoLogLineWithoutABody)
{
    ServerRequest serverRequest("POST", "/svc");
    LogCapture log;
    EXPECT_TRUE(HttpRequest(serverRequest).asJson().isNull());
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(HttpRequest, LogsABodyThatIsNoJsonObject)
{
    const std::vector<std::string> refused = {
        "[1]",
        "[]",
        "[{}]",
        "5",
        "true",
        "null",
        R"("text")",
        "text",
        " ",
        "{",
        "}",
        R"({"a":1)",
        R"({"a":})",
        "{'a':1}",
        R"({"a" 1})",
        R"({"a":1,})",
        "\xFF",
        "<a/>",
        std::string(1000, '{'),
    };
    for (const std::string& text : refused) {
        SCOPED_TRACE(text);
        ServerRequest serverRequest("POST", "/svc", text);
        LogCapture log;
        const HttpRequest request(serverRequest);
        EXPECT_THAT(log.texts(), IsEmpty()) << "nobody has asked yet";
        EXPECT_TRUE(request.asJson().isNull());
        ASSERT_THAT(log.texts(), ElementsAre("Error: Parsing JSON obj failed: " + text));
        EXPECT_EQ(log.records()[0].priority, Poco::Message::PRIO_ERROR);
        EXPECT_EQ(log.records()[0].source, "HttpRequest.cpp");
        EXPECT_TRUE(request.getUrlPath().isValid()) << "the request is not condemned";
        EXPECT_EQ(request.getMessage(), text);
    }
}

TEST(HttpRequest, LogsABodyWithLineBreaksAsOneRecord)
{
    const std::string text = "no\r\nError: JSON\n" + std::string(1, '\0');
    LogCapture reference;
    ZOVI_LOG_ERROR("Parsing JSON obj failed: " << text);
    const std::vector<std::string> expected = reference.texts();
    ASSERT_EQ(expected.size(), 1U);

    ServerRequest serverRequest("POST", "/svc", text);
    LogCapture log;
    EXPECT_TRUE(HttpRequest(serverRequest).asJson().isNull());
    EXPECT_EQ(log.texts(), expected);
}

TEST(HttpRequest, LogsNoBadBodyWhenTheLevelIsOff)
{
    ServerRequest serverRequest("POST", "/svc", "[1]");
    LogCapture log(Poco::Message::PRIO_CRITICAL);
    EXPECT_TRUE(HttpRequest(serverRequest).asJson().isNull());
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(HttpRequest, ParsesItsBodyAnewAtEachCall)
{
    ServerRequest good("POST", "/svc", R"({"a":1})");
    const HttpRequest request(good);
    const Poco::JSON::Object::Ptr first = request.asJson();
    Poco::JSON::Object::Ptr changed = request.asJson();
    ASSERT_NE(first.get(), changed.get());
    changed->set("a", 2);
    EXPECT_EQ(compact(first), R"({"a":1})");
    EXPECT_EQ(compact(request.asJson()), R"({"a":1})");

    ServerRequest bad("POST", "/svc", "[1]");
    const HttpRequest badRequest(bad);
    LogCapture log;
    badRequest.asJson();
    badRequest.asJson();
    EXPECT_EQ(log.texts().size(), 2U);
}

} // namespace Zovi::Command
