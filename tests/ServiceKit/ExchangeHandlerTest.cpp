#include "ServiceKit/ExchangeHandler.h"

#include "Gzip.h"
#include "JsonMatchers.h"
#include "LogCapture.h"
#include "RawClient.h"
#include "SampleTree.h"
#include "ServiceKit/HttpServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace Zovi::ServiceKit
{

using Test::gunzip;
using Test::gzip;
using Test::IsJson;
using Test::LogCapture;
using Test::makePuppet;
using Test::makeSampleTree;
using Test::parseJson;
using Test::RawAnswer;
using Test::RawClient;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

namespace
{

const std::string HOST = "Host: localhost\r\n";
const std::string APPLE = "/shop/basket/aaaaaaaa-0000-0000-0000-000000000001";

ServerOptions smallOptions()
{
    ServerOptions options;
    options.exchange.maxUrlLength = 200;
    options.exchange.maxQueryEntries = 5;
    options.exchange.maxBodyLength = 100;
    options.exchange.hostNames = {"fruit.example"};
    options.exchange.origins = {"https://panel.example"};
    return options;
}

/// A server of the sample tree whose puppet does as `act` says.
class SampleServer
{
public:
    explicit SampleServer(std::function<Data::ElementCollection()> act =
                              [] { return Data::ElementCollection(); })
        : m_server(makeSampleTree(std::move(act)), smallOptions())
    {
        m_server.start();
    }

    Poco::Net::SocketAddress address() const { return m_server.address(); }

    RawAnswer ask(const std::string& request) const
    {
        RawClient client(address());
        client.send(request);
        return client.receive(request.compare(0, 5, "HEAD ") == 0);
    }

private:
    HttpServer m_server;
};

std::string get(const std::string& url, const std::string& headers = "")
{
    return "GET " + url + " HTTP/1.1\r\n" + HOST + headers + "\r\n";
}

Poco::Int64 timestampOf(const RawAnswer& answer)
{
    return parseJson(answer.body).extract<Poco::JSON::Object::Ptr>()->getValue<Poco::Int64>("timestamp");
}

std::string errorDocument(int code, const std::string& message)
{
    return "{\"code\":" + std::to_string(code) + ",\"message\":\"" + message + "\",\"status\":\"error\"}";
}

std::string post(const std::string& headers, const std::string& body)
{
    return "POST /shop/basket HTTP/1.1\r\n" + HOST + headers + "\r\n" + body;
}

std::string postWithLength(const std::string& body, const std::string& headers = "")
{
    return post("Content-Length: " + std::to_string(body.size()) + "\r\n" + headers, body);
}

struct Row {
    std::string request;
    int status;
    std::string message;
};

void expectRefusals(const std::vector<Row>& rows)
{
    const SampleServer server;
    for (const Row& row : rows) {
        SCOPED_TRACE(row.request);
        const RawAnswer answer = server.ask(row.request);
        EXPECT_EQ(answer.status, row.status);
        EXPECT_EQ(answer.header("content-type"), "application/json; charset=utf-8");
        EXPECT_THAT(answer.body, IsJson(errorDocument(row.status, row.message)));
    }
}

} // namespace

TEST(ExchangeHandler, AnswersWithTheDocumentAndItsHeaders)
{
    const SampleServer server;
    const RawAnswer answer = server.ask("GET /shop/basket/spec HTTP/1.1\r\n" + HOST + "\r\n");
    EXPECT_EQ(answer.status, 200);
    EXPECT_THAT(answer.body, HasSubstr(R"({"data":{"name":"basket"},"status":"ok","timestamp":)"));
    EXPECT_EQ(answer.header("content-type"), "application/json; charset=utf-8");
    EXPECT_EQ(answer.header("x-content-type-options"), "nosniff");
    EXPECT_EQ(answer.header("vary"), "Accept-Encoding");
    EXPECT_EQ(answer.header("content-encoding"), "");
}

TEST(ExchangeHandler, AnswersHeadWithTheHeadersAlone)
{
    const SampleServer server;
    RawClient client(server.address());
    client.send("HEAD " + APPLE + " HTTP/1.1\r\n" + HOST + "\r\nGET " + APPLE + " HTTP/1.1\r\n" + HOST +
                "\r\n");
    const RawAnswer head = client.receive(true);
    const RawAnswer get = client.receive();
    EXPECT_EQ(head.status, 200);
    EXPECT_EQ(head.header("content-length"), get.header("content-length"));
    EXPECT_EQ(head.header("content-type"), get.header("content-type"));
    EXPECT_EQ(std::to_string(get.body.size()), get.header("content-length"));
}

TEST(ExchangeHandler, AnswersHeadOfAnErrorWithTheHeadersAlone)
{
    const SampleServer server;
    RawClient client(server.address());
    client.send("HEAD /nothing HTTP/1.1\r\n" + HOST + "Connection: close\r\n\r\n");
    EXPECT_EQ(client.receive(true).status, 404);
    EXPECT_EQ(client.receiveRest(), "");
}

TEST(ExchangeHandler, CodesTheAnswerAsTheClientAccepts)
{
    const SampleServer server;
    const RawAnswer answer =
        server.ask("GET /shop/basket/spec HTTP/1.1\r\n" + HOST + "Accept-Encoding: gzip\r\n\r\n");
    EXPECT_EQ(answer.header("content-encoding"), "gzip");
    EXPECT_THAT(gunzip(answer.body), HasSubstr(R"("data":{"name":"basket"})"));
}

TEST(ExchangeHandler, ServesFilesWithAPolicyForPages)
{
    const SampleServer server;
    for (const std::string method : {"GET", "HEAD"}) {
        SCOPED_TRACE(method);
        const RawAnswer answer = server.ask(method + " /cdn/window/index.html HTTP/1.1\r\n" + HOST + "\r\n");
        EXPECT_EQ(answer.status, 200);
        EXPECT_EQ(answer.body, method == "GET" ? "<p>Fruit!</p>" : "");
        EXPECT_EQ(answer.header("content-length"), "13");
        EXPECT_EQ(answer.header("content-type"), "text/html; charset=utf-8");
        EXPECT_EQ(answer.header("x-content-type-options"), "nosniff");
        EXPECT_EQ(answer.header("referrer-policy"), "no-referrer");
        EXPECT_EQ(answer.header("cache-control"), "no-cache");
        EXPECT_EQ(answer.header("content-security-policy"),
                  "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; "
                  "img-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'");
    }
}

TEST(ExchangeHandler, LeadsToNothingButTheFiles)
{
    expectRefusals({
        {"GET /cdn HTTP/1.1\r\n" + HOST + "\r\n", 404, "no service is called 'cdn'"},
        {"GET /cdn/window HTTP/1.1\r\n" + HOST + "\r\n", 404, "no service is called 'cdn'"},
        {"GET /cdn/window/other.html HTTP/1.1\r\n" + HOST + "\r\n", 404,
         "no file is called '/cdn/window/other.html'"},
        {"GET /cdn/window/../../etc/passwd HTTP/1.1\r\n" + HOST + "\r\n", 404,
         "not an address of a service, resource or element: '/cdn/window/../../etc/passwd'"},
        {"GET /cdn/window/..%2Findex.html HTTP/1.1\r\n" + HOST + "\r\n", 404,
         "not an address of a service, resource or element: '/cdn/window/../index.html'"},
        {"GET /cdn/../index.html HTTP/1.1\r\n" + HOST + "\r\n", 404,
         "no file is called '/cdn/../index.html'"},
    });
}

TEST(ExchangeHandler, TagsFilesToo)
{
    const SampleServer server;
    const std::string url = "/cdn/window/index.html";
    const std::string tag = server.ask(get(url)).header("etag");
    EXPECT_THAT(tag, MatchesRegex(R"(W/"[0-9a-f]{8}")"));
    EXPECT_EQ(server.ask(get(url, "If-None-Match: " + tag + "\r\n")).status, 304);
}

TEST(ExchangeHandler, TagsWhatIsReadWhateverItsTimeAndItsCoding)
{
    const SampleServer server;
    const RawAnswer first = server.ask(get("/shop/basket"));
    EXPECT_THAT(first.header("etag"), MatchesRegex(R"(W/"[0-9a-f]{8}")"));
    RawAnswer later = server.ask(get("/shop/basket"));
    while (timestampOf(later) == timestampOf(first))
        later = server.ask(get("/shop/basket"));
    EXPECT_EQ(later.header("etag"), first.header("etag"));
    for (const std::string coding : {"gzip", "deflate", "identity"}) {
        SCOPED_TRACE(coding);
        const RawAnswer coded = server.ask(get("/shop/basket", "Accept-Encoding: " + coding + "\r\n"));
        EXPECT_EQ(coded.header("content-encoding"), coding == "identity" ? "" : coding);
        EXPECT_EQ(coded.header("etag"), first.header("etag"));
    }
    const RawAnswer head = server.ask("HEAD /shop/basket HTTP/1.1\r\n" + HOST + "\r\n");
    EXPECT_EQ(head.header("etag"), first.header("etag"));
}

TEST(ExchangeHandler, GivesOtherDataAnotherTag)
{
    const SampleServer server;
    const std::string tag = server.ask(get("/shop/basket")).header("etag");
    for (const std::string url : {"/", "/shop", "/shop/basket?$limit=1", "/shop/basket/id", "/shop/puppet"}) {
        SCOPED_TRACE(url);
        const RawAnswer answer = server.ask(get(url, "If-None-Match: " + tag + "\r\n"));
        EXPECT_EQ(answer.status, 200);
        EXPECT_NE(answer.header("etag"), tag);
    }
}

TEST(ExchangeHandler, SendsAnewWhatHasChanged)
{
    const auto size = std::make_shared<std::atomic<int>>(1);
    const SampleServer server([size] {
        Poco::SharedPtr<Data::ElementGeneric> element = makePuppet("ball");
        element->setValue<Data::AttributeValueInteger>("size", size->load());
        return Data::ElementCollection{element};
    });
    const RawAnswer first = server.ask(get("/shop/puppet"));
    const std::string condition = "If-None-Match: " + first.header("etag") + "\r\n";
    EXPECT_EQ(server.ask(get("/shop/puppet", condition)).status, 304);
    *size = 2;
    const RawAnswer second = server.ask(get("/shop/puppet", condition));
    EXPECT_EQ(second.status, 200);
    EXPECT_NE(second.header("etag"), first.header("etag"));
    EXPECT_THAT(second.body, HasSubstr(R"("size":2)"));
}

TEST(ExchangeHandler, SendsNothingAgainThatTheClientHolds)
{
    const SampleServer server;
    const std::string tag = server.ask(get("/shop/basket")).header("etag");
    const std::string conditions[] = {
        "If-None-Match: " + tag + "\r\n",
        "If-None-Match: " + tag.substr(2) + "\r\n",
        "If-None-Match: W/\"00000000\", " + tag + "\r\n",
        "If-None-Match: \"x\"\r\nIf-None-Match: " + tag + "\r\n",
        "If-None-Match: *\r\n",
        "If-None-Match: " + tag + "\r\nAccept-Encoding: gzip\r\n",
    };
    for (const std::string method : {"GET", "HEAD"}) {
        for (const std::string& condition : conditions) {
            SCOPED_TRACE(method + " " + condition);
            const RawAnswer answer =
                server.ask(method + " /shop/basket HTTP/1.1\r\n" + HOST + condition + "\r\n");
            EXPECT_EQ(answer.status, 304);
            EXPECT_EQ(answer.header("etag"), tag);
            EXPECT_EQ(answer.header("vary"), "Accept-Encoding");
            for (const std::string header : {"content-length", "content-type", "content-encoding"})
                EXPECT_EQ(answer.headers.count(header), 0U) << header;
        }
    }
}

TEST(ExchangeHandler, KeepsTheConnectionBehindWhatTheClientHolds)
{
    const SampleServer server;
    RawClient client(server.address());
    client.send(get("/id", "If-None-Match: *\r\n") + "HEAD /id HTTP/1.1\r\n" + HOST +
                "If-None-Match: *\r\n\r\n" + get("/id", "Connection: close\r\n"));
    EXPECT_EQ(client.receive().status, 304);
    EXPECT_EQ(client.receive(true).status, 304);
    EXPECT_THAT(client.receive().body, HasSubstr("11111111-2222-3333-4444-555555555555"));
    EXPECT_EQ(client.receiveRest(), "");
}

TEST(ExchangeHandler, TagsNeitherErrorsNorAnswersToWrites)
{
    const SampleServer server;
    const std::string any = "If-None-Match: *\r\n";
    const struct {
        std::string request;
        int status;
    } rows[] = {
        {get("/nothing", any), 404},
        {get("/shop?$limit=x", any), 400},
        {postWithLength("abc", any), 200},
        {"PUT " + APPLE + " HTTP/1.1\r\n" + HOST + any + "Content-Length: 0\r\n\r\n", 200},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.request);
        const RawAnswer answer = server.ask(row.request);
        EXPECT_EQ(answer.status, row.status);
        EXPECT_EQ(answer.headers.count("etag"), 0U);
    }
}

TEST(ExchangeHandler, HandsAllowedWritesToTheResource)
{
    const SampleServer server;
    const std::string requests[] = {
        postWithLength("abc"),
        post("Transfer-Encoding: chunked\r\n", "1\r\na\r\n2;x\r\nbc\r\n0\r\n\r\n"),
        postWithLength(gzip("abc"), "Content-Encoding: gzip\r\n"),
        "PUT " + APPLE + " HTTP/1.1\r\n" + HOST + "Content-Length: 3\r\n\r\nabc",
        "DELETE " + APPLE + " HTTP/1.1\r\n" + HOST + "Content-Length: 3\r\n\r\nabc",
        // the same from a page of the service itself, and from one that it was told of
        postWithLength("abc", "Origin: http://localhost\r\n"),
        postWithLength("abc", "Origin: https://panel.example\r\n"),
    };
    for (const std::string& request : requests) {
        SCOPED_TRACE(request);
        EXPECT_EQ(server.ask(request).body, "abc [written]");
    }
    EXPECT_EQ(server.ask("DELETE " + APPLE + " HTTP/1.1\r\n" + HOST + "\r\n").body, " [written]");
    EXPECT_EQ(server.ask(postWithLength("")).body, " [written]");
}

TEST(ExchangeHandler, RefusesAHostThatIsNotItsOwn)
{
    const std::string missing = "the Host header is missing";
    expectRefusals({
        {"GET / HTTP/1.1\r\n\r\n", 400, missing},
        {"GET / HTTP/1.1\r\n" + HOST + HOST + "\r\n", 400, "there is more than one Host header"},
        {"GET / HTTP/1.1\r\nHost: a b\r\n\r\n", 400, "malformed host: 'a b'"},
        {"GET / HTTP/1.1\r\nHost: evil.example\r\n\r\n", 421, "this service is not the host 'evil.example'"},
        {"GET / HTTP/1.1\r\nHost: 10.1.2.3\r\n\r\n", 421, "this service is not the host '10.1.2.3'"},
        {"GET / HTTP/1.0\r\nHost: evil.example\r\n\r\n", 421, "this service is not the host 'evil.example'"},
        {"GET http://evil.example/ HTTP/1.1\r\n" + HOST + "\r\n", 421,
         "this service is not the host 'evil.example'"},
        {"POST /shop/basket HTTP/1.1\r\nHost: evil.example\r\nContent-Length: 1\r\n\r\na", 421,
         "this service is not the host 'evil.example'"},
    });
}

TEST(ExchangeHandler, AnswersUnderEachOfItsNames)
{
    const SampleServer server;
    for (const std::string request :
         {"GET / HTTP/1.1\r\nHost: LOCALHOST:99\r\n\r\n", "GET / HTTP/1.1\r\nHost: 127.0.0.1:8080\r\n\r\n",
          "GET / HTTP/1.1\r\nHost: Fruit.Example\r\n\r\n", "GET / HTTP/1.0\r\n\r\n",
          "GET http://localhost/ HTTP/1.1\r\nHost: localhost\r\n\r\n"}) {
        SCOPED_TRACE(request);
        EXPECT_EQ(server.ask(request).status, 200);
    }
}

TEST(ExchangeHandler, RefusesWritesFromForeignPages)
{
    expectRefusals({
        {postWithLength("a", "Origin: http://evil.example\r\n"), 403,
         "pages of 'http://evil.example' may not write here"},
        {postWithLength("a", "Origin: null\r\n"), 403, "pages of 'null' may not write here"},
        {postWithLength("a", "Origin: http://localhost\r\nOrigin: http://evil.example\r\n"), 403,
         "pages of 'http://evil.example' may not write here"},
        {"PUT " + APPLE + " HTTP/1.1\r\n" + HOST +
             "Origin: http://localhost:3000\r\nContent-Length: 0\r\n\r\n",
         403, "pages of 'http://localhost:3000' may not write here"},
        {"DELETE " + APPLE + " HTTP/1.1\r\n" + HOST + "Origin: https://localhost\r\n\r\n", 403,
         "pages of 'https://localhost' may not write here"},
    });
    const SampleServer server;
    EXPECT_EQ(server.ask("GET / HTTP/1.1\r\n" + HOST + "Origin: http://evil.example\r\n\r\n").status, 200);
}

TEST(ExchangeHandler, RefusesMethodsThatAreNotKnown)
{
    expectRefusals({
        {"PATCH / HTTP/1.1\r\n" + HOST + "\r\n", 501, "unknown method 'PATCH'"},
        {"OPTIONS * HTTP/1.1\r\n" + HOST + "\r\n", 501, "unknown method 'OPTIONS'"},
        {"get / HTTP/1.1\r\n" + HOST + "\r\n", 501, "unknown method 'get'"},
        {"BREW /nothing HTTP/1.1\r\n" + HOST + "Content-Length: 3\r\n\r\nabc", 501, "unknown method 'BREW'"},
    });
}

TEST(ExchangeHandler, TellsWhichMethodsAnAddressAllows)
{
    const SampleServer server;
    const struct {
        std::string method;
        std::string url;
        std::string allowed;
    } rows[] = {
        {"POST", "/", "GET, HEAD"},
        {"PUT", "/shop", "GET, HEAD"},
        {"DELETE", "/shop/spec", "GET, HEAD"},
        {"PUT", "/shop/basket", "GET, HEAD, POST"},
        {"POST", APPLE, "GET, HEAD, PUT, DELETE"},
        {"POST", "/shop/puppet", "GET, HEAD"},
        {"POST", "/cdn/window/index.html", "GET, HEAD"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.method + " " + row.url);
        const RawAnswer answer =
            server.ask(row.method + " " + row.url + " HTTP/1.1\r\n" + HOST + "Content-Length: 0\r\n\r\n");
        EXPECT_EQ(answer.status, 405);
        EXPECT_EQ(answer.header("allow"), row.allowed);
        EXPECT_THAT(answer.body, IsJson(errorDocument(405, "'" + row.url + "' allows only " + row.allowed)));
    }
}

TEST(ExchangeHandler, RefusesAddressesAndQueries)
{
    expectRefusals({
        {"GET /nothing HTTP/1.1\r\n" + HOST + "\r\n", 404, "no service is called 'nothing'"},
        {"POST /nothing HTTP/1.1\r\n" + HOST + "Content-Length: 0\r\n\r\n", 404,
         "no service is called 'nothing'"},
        {"DELETE /shop/nothing HTTP/1.1\r\n" + HOST + "\r\n", 404, "'shop' has no resource 'nothing'"},
        {"GET /a/b/c/d HTTP/1.1\r\n" + HOST + "\r\n", 404,
         "not an address of a service, resource or element: '/a/b/c/d'"},
        {"GET /shop/basket/17?x=1 HTTP/1.1\r\n" + HOST + "\r\n", 404,
         "not an address of a service, resource or element: '/shop/basket/17'"},
        {"GET /shop/id?x=1 HTTP/1.1\r\n" + HOST + "\r\n", 400, "this address takes no query: 'x=1'"},
        {"GET /shop?%zz=1 HTTP/1.1\r\n" + HOST + "\r\n", 400, "malformed query: '%zz=1'"},
        {"GET /%zz HTTP/1.1\r\n" + HOST + "\r\n", 400, "malformed URL: '/%zz'"},
        {"GET shop HTTP/1.1\r\n" + HOST + "\r\n", 400, "malformed URL, it must begin with '/': 'shop'"},
        {"GET ftp://localhost/ HTTP/1.1\r\n" + HOST + "\r\n", 400,
         "malformed URL, it must begin with '/': 'ftp://localhost/'"},
        {"GET /" + std::string(200, 'a') + " HTTP/1.1\r\n" + HOST + "\r\n", 414,
         "a URL may have 200 bytes at most"},
    });
}

TEST(ExchangeHandler, RefusesAQueryOfTooManyEntries)
{
    const std::string rest =
        " is too long or one too many: a query may have 5 parameters and entries of their lists at most";
    expectRefusals({
        {get("/shop/basket?$sortby=a,b,c,d,e,f"), 400, "parameter '$sortby'" + rest},
        {get("/shop/basket?$fields=a,b&$sortby=a,b%2Cc,d"), 400, "parameter '$sortby'" + rest},
        {get("/shop/basket?a=1&b=2&c=3&d=4&e=5&f=6"), 400, "parameter 'f'" + rest},
        {get("/shop/basket?$fields=items($offset:0,$limit:1),a,b,c,d"), 400, "parameter '$fields'" + rest},
    });
    const SampleServer server;
    EXPECT_EQ(server.ask(get("/shop/basket?$sortby=a,b,c,d,e")).status, 200);
    EXPECT_EQ(server.ask(get("/shop/basket?a=1&b=2&c=3&d=4,5")).status, 200);
}

TEST(ExchangeHandler, RefusesHeadsThatTwoReadersMayTakeForDifferentMessages)
{
    const std::string get = "GET / HTTP/1.1\r\n" + HOST;
    expectRefusals({
        {"GET / HTTP/2.0\r\n" + HOST + "\r\n", 505, "unknown protocol version: 'HTTP/2.0'"},
        {"GET / x HTTP/1.1\r\n" + HOST + "\r\n", 505, "unknown protocol version: 'x'"},
        {get + "Content-Length : 3\r\n\r\nabc", 400, "malformed header name: 'Content-Length '"},
        {get + "Content-Length: 3\r\nContent-Length: 4\r\n\r\nabc", 400,
         "there is more than one Content-Length"},
        {get + "Content-Length: 3\r\nContent-Length: 3\r\n\r\nabc", 400,
         "there is more than one Content-Length"},
        {get + "Content-Length: -1\r\n\r\n", 400, "malformed Content-Length: '-1'"},
        {get + "Content-Length: +1\r\n\r\na", 400, "malformed Content-Length: '+1'"},
        {get + "Content-Length:\r\n\r\na", 400, "malformed Content-Length: ''"},
        {get + "Transfer-Encoding: chunked\r\nContent-Length: 1\r\n\r\n0\r\n\r\n", 400,
         "Content-Length and Transfer-Encoding exclude each other"},
        {get + "Transfer-Encoding: gzip, chunked\r\n\r\n", 501, "the only known transfer coding is chunked"},
        {get + "Transfer-Encoding: x\r\nTransfer-Encoding: chunked\r\n\r\n", 501,
         "the only known transfer coding is chunked"},
        {"GET / HTTP/1.0\r\nTransfer-Encoding: chunked\r\n\r\n", 400, "HTTP/1.0 has no Transfer-Encoding"},
    });
}

TEST(ExchangeHandler, RefusesBodies)
{
    const std::string tooLong = "a body may have 100 bytes at most";
    const std::string bomb = gzip(std::string(1'000'000, 'x'));
    expectRefusals({
        {post("", "abc"), 411, "a body needs a Content-Length or chunks"},
        {"PUT " + APPLE + " HTTP/1.1\r\n" + HOST + "\r\n", 411, "a body needs a Content-Length or chunks"},
        {post("Content-Length: 101\r\n", ""), 413, tooLong},
        {post("Transfer-Encoding: chunked\r\n", "65\r\n" + std::string(101, 'x') + "\r\n0\r\n\r\n"), 413,
         "The body is larger than 100 bytes"},
        {post("Transfer-Encoding: chunked\r\nContent-Encoding: gzip\r\n",
              "ff\r\n" + bomb.substr(0, 255) + "\r\n0\r\n\r\n"),
         413, "The body is larger than 100 bytes"},
        {postWithLength("abc", "Content-Encoding: br\r\n"), 415, "unknown content coding 'br'"},
        {postWithLength("abc", "Content-Encoding: gzip, br\r\n"), 415, "unknown content coding 'gzip, br'"},
        {postWithLength("abc", "Content-Encoding: \x80\r\n"), 415, "unknown content coding '\xEF\xBF\xBD'"},
        {post("Transfer-Encoding: chunked\r\n", "xyz\r\n"), 400, "damaged body: a chunk has no size"},
    });
    const SampleServer server;
    EXPECT_EQ(server.ask(postWithLength(std::string(100, 'x'))).status, 200);
    EXPECT_EQ(server.ask(postWithLength("no gzip", "Content-Encoding: gzip\r\n")).status, 400);
}

TEST(ExchangeHandler, RefusesABodyThatEndsEarly)
{
    const SampleServer server;
    const std::string coded = gzip("a text that is long enough to be cut");
    for (const std::string& request :
         {post("Content-Length: 5\r\n", "abc"), post("Transfer-Encoding: chunked\r\n", "5\r\nabc"),
          post("Transfer-Encoding: chunked\r\n", "3\r\nabc\r\n"),
          postWithLength(coded.substr(0, coded.size() - 1), "Content-Encoding: gzip\r\n")}) {
        SCOPED_TRACE(request);
        RawClient client(server.address());
        client.send(request);
        client.endSending();
        const RawAnswer answer = client.receive();
        EXPECT_EQ(answer.status, 400);
        EXPECT_THAT(answer.body, HasSubstr("damaged body: "));
    }
}

TEST(ExchangeHandler, ClosesTheConnectionBehindABodyThatIsUnread)
{
    const SampleServer server;
    const std::string smuggled = "GET /id HTTP/1.1\r\n" + HOST + "\r\n";
    const std::string length = "Content-Length: " + std::to_string(smuggled.size()) + "\r\n";
    const std::string requests[] = {
        "POST /nothing HTTP/1.1\r\n" + HOST + length + "\r\n" + smuggled,
        "PUT /shop HTTP/1.1\r\n" + HOST + length + "\r\n" + smuggled,
        "PATCH / HTTP/1.1\r\n" + HOST + length + "\r\n" + smuggled,
        "GET / HTTP/1.1\r\nHost: evil.example\r\n" + length + "\r\n" + smuggled,
        post("", smuggled),
        post("Content-Length: 101\r\n", smuggled),
        post("Transfer-Encoding: chunked\r\n", "xyz\r\n" + smuggled),
        "GET / HTTP/1.1\r\n" + HOST + "Content-Length: 0\r\nContent-Length: 9\r\n\r\n" + smuggled,
    };
    for (const std::string& request : requests) {
        SCOPED_TRACE(request);
        RawClient client(server.address());
        client.send(request);
        const RawAnswer answer = client.receive();
        EXPECT_GE(answer.status, 400);
        EXPECT_EQ(answer.header("connection"), "Close");
        EXPECT_EQ(client.receiveRest(), "");
    }
}

TEST(ExchangeHandler, KeepsTheConnectionWhereNothingIsUnread)
{
    const SampleServer server;
    RawClient client(server.address());
    const std::string get = "GET /id HTTP/1.1\r\n" + HOST + "\r\n";
    client.send("GET /nothing HTTP/1.1\r\n" + HOST + "\r\n" + postWithLength("a") + "GET /id HTTP/1.1\r\n" +
                HOST + "Content-Length: 3\r\n\r\nabc" +
                post("Transfer-Encoding: chunked\r\n", "1\r\na\r\n0\r\n\r\n") + get);
    EXPECT_EQ(client.receive().status, 404);
    EXPECT_EQ(client.receive().body, "a [written]");
    EXPECT_EQ(client.receive().status, 200);
    EXPECT_EQ(client.receive().body, "a [written]");
    EXPECT_THAT(client.receive().body, HasSubstr("11111111-2222-3333-4444-555555555555"));
}

TEST(ExchangeHandler, ReflectsNothingThatBreaksHeadersOrDocuments)
{
    const SampleServer server;
    const RawAnswer answer = server.ask("GET /%22%0d%0aX-Evil:%201%ff HTTP/1.1\r\n" + HOST + "\r\n");
    EXPECT_EQ(answer.status, 404);
    EXPECT_EQ(answer.header("x-evil"), "");
    const std::string mark = "\xEF\xBF\xBD";
    EXPECT_THAT(answer.body,
                IsJson(errorDocument(404, "not an address of a service, resource or element: '/\\\"" + mark +
                                              mark + "X-Evil: 1" + mark + "'")));
}

TEST(ExchangeHandler, TurnsEveryExceptionIntoADocumentAndALogLine)
{
    const struct {
        std::function<Data::ElementCollection()> act;
        std::string logged;
    } rows[] = {
        {[]() -> Data::ElementCollection { throw Poco::IOException("disk"); }, "I/O error: disk"},
        {[]() -> Data::ElementCollection { throw std::runtime_error("no luck"); }, "no luck"},
        {[]() -> Data::ElementCollection { throw 17; }, "unknown exception"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.logged);
        const SampleServer server(row.act);
        const LogCapture log(Poco::Message::PRIO_ERROR);
        const RawAnswer answer = server.ask("GET /shop/puppet HTTP/1.1\r\n" + HOST + "\r\n");
        EXPECT_EQ(answer.status, 500);
        EXPECT_THAT(answer.body, IsJson(errorDocument(500, "internal processing error")));
        EXPECT_THAT(log.texts(), ElementsAre("Error: Request failed: GET /shop/puppet: " + row.logged));
    }
}

TEST(ExchangeHandler, ReportsADocumentThatCannotBePrinted)
{
    class Unprintable : public Data::AttributeValue<std::string, Data::AttributeValueBase>
    {
    public:
        Unprintable(const std::string& value)
            : AttributeValue(value)
        {
        }
        Poco::Dynamic::Var toJSON(int) const override
        {
            struct Opaque {
            };
            return std::vector<Poco::Dynamic::Var>{Poco::Dynamic::Var(Opaque())};
        }
    };
    const SampleServer server([] {
        Poco::SharedPtr<Data::ElementGeneric> element = makePuppet("sealed");
        element->setValue<Unprintable>("items", "");
        return Data::ElementCollection{element};
    });
    const LogCapture log(Poco::Message::PRIO_ERROR);
    for (const std::string coding : {"identity", "gzip"}) {
        SCOPED_TRACE(coding);
        RawClient client(server.address());
        client.send("GET /shop/puppet HTTP/1.1\r\n" + HOST + "Accept-Encoding: " + coding + "\r\n\r\n");
        const RawAnswer answer = client.receive();
        EXPECT_EQ(answer.status, 500);
        const std::string body = coding == "gzip" ? gunzip(answer.body) : answer.body;
        EXPECT_THAT(body, IsJson(errorDocument(500, "internal processing error")));
        EXPECT_EQ(answer.headers.count("etag"), 0U);
    }
    EXPECT_EQ(log.texts().size(), 2U);
}

TEST(ExchangeHandler, AnswersWhatAResourceRefuses)
{
    const SampleServer server([]() -> Data::ElementCollection {
        throw RequestError(Command::HTTPStatus::HTTP_SERVICE_UNAVAILABLE, "later");
    });
    const LogCapture log(Poco::Message::PRIO_ERROR);
    const RawAnswer answer = server.ask("GET /shop/puppet HTTP/1.1\r\n" + HOST + "\r\n");
    EXPECT_EQ(answer.status, 503);
    EXPECT_THAT(answer.body, IsJson(errorDocument(503, "later")));
    EXPECT_THAT(log.texts(), IsEmpty());
}

} // namespace Zovi::ServiceKit
