#include "HostTest.h"
#include "JsonMatchers.h"
#include "NotifySocket.h"
#include "RawClient.h"

#include <Poco/InflatingStream.h>
#include <Poco/Net/HTTPClientSession.h>
#include <Poco/Net/HTTPRequest.h>
#include <Poco/Net/HTTPResponse.h>
#include <Poco/StreamCopier.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/prctl.h>
#include <unistd.h>

#include <chrono>
#include <limits>
#include <memory>
#include <string>
#include <vector>

using Poco::JSON::Array;
using Poco::JSON::Object;
using Poco::Net::HTTPRequest;
using Poco::Net::HTTPResponse;
using ::testing::HasSubstr;
using ::testing::IsSupersetOf;
using ::testing::StartsWith;
using ::testing::UnorderedElementsAre;
using Zovi::Test::HostProgram;
using Zovi::Test::parseJson;
using Zovi::Test::RawAnswer;
using Zovi::Test::RawClient;

namespace
{

using Clock = std::chrono::steady_clock;

/// How long the host waits for the rest of a request.
constexpr std::chrono::seconds REQUEST_TIMEOUT{10};

/// Any other process may end between two questions.
const std::string OWN_PROCESS = "/host/processes?pid=" + std::to_string(getpid());

/// One program for all tests that only ask.
class HostHttp : public Zovi::Test::HostTest
{
protected:
    struct Answer {
        HTTPResponse head;
        std::string body;
    };

    static Answer ask(const std::string& method, const std::string& url, const std::string& coding = "")
    {
        Poco::Net::HTTPClientSession session(*address);
        HTTPRequest request(method, url, HTTPRequest::HTTP_1_1);
        if (method != HTTPRequest::HTTP_GET && method != HTTPRequest::HTTP_HEAD)
            request.setContentLength(0);
        if (!coding.empty())
            request.set("Accept-Encoding", coding);
        session.sendRequest(request);
        Answer answer;
        std::istream& body = session.receiveResponse(answer.head);
        Poco::StreamCopier::copyToString(body, answer.body);
        return answer;
    }

    static Object::Ptr document(const std::string& url)
    {
        const Answer answer = ask(HTTPRequest::HTTP_GET, url);
        EXPECT_EQ(answer.head.getStatus(), HTTPResponse::HTTP_OK) << answer.body;
        const auto object = parseJson(answer.body).extract<Object::Ptr>();
        EXPECT_EQ(object->getValue<std::string>("status"), "ok");
        EXPECT_TRUE(object->has("timestamp"));
        return object;
    }

    static Object::Ptr objectAt(const std::string& url) { return document(url)->getObject("data"); }
    static Array::Ptr arrayAt(const std::string& url) { return document(url)->getArray("data"); }

    /// The first element that the query selects, a null pointer if there is none.
    static Object::Ptr firstAt(const std::string& url)
    {
        const Array::Ptr elements = arrayAt(url);
        return elements->size() == 0 ? Object::Ptr() : elements->getObject(0);
    }
};

std::string textOf(const Object::Ptr& object, const std::string& key)
{
    return object->getValue<std::string>(key);
}

} // namespace

TEST_F(HostHttp, AnswersGetAndHeadAtEveryAddress)
{
    const std::string process = textOf(firstAt(OWN_PROCESS), "uri");
    const std::vector<std::string> urls{
        "/",
        "/api/v1/",
        "/id",
        "/host",
        "/host/id",
        "/host/spec",
        "/host/accessrights",
        "/host/processes",
        "/host/processes/id",
        "/host/processes/spec",
        process,
        "/host/interfaces",
        "/host/interfaces/id",
        "/host/interfaces/spec",
        "/host/filesystems",
        "/host/filesystems/id",
        "/host/filesystems/spec",
        "/api/v1/host/processes",
    };
    for (const std::string& url : urls) {
        SCOPED_TRACE(url);
        document(url);
        const Answer head = ask(HTTPRequest::HTTP_HEAD, url);
        EXPECT_EQ(head.head.getStatus(), HTTPResponse::HTTP_OK);
        EXPECT_GT(head.head.getContentLength(), 0);
        EXPECT_EQ(head.body, "");
    }
}

TEST_F(HostHttp, LeadsFromTheRootToEveryElement)
{
    const Object::Ptr host = arrayAt("/")->getObject(0);
    EXPECT_EQ(textOf(host, "name"), "host");
    EXPECT_EQ(textOf(objectAt(textOf(host, "uri") + "/id"), "id"), textOf(host, "id"));
    const Array::Ptr resources = objectAt(textOf(host, "uri"))->getArray("resources");
    ASSERT_EQ(resources->size(), 4U);
    for (unsigned i = 0; i < resources->size(); ++i) {
        const std::string uri = textOf(resources->getObject(i), "uri");
        SCOPED_TRACE(uri);
        EXPECT_EQ(textOf(objectAt(uri + "/id"), "id"), textOf(resources->getObject(i), "id"));
        const Array::Ptr elements = arrayAt(uri == "/host/processes" ? OWN_PROCESS : uri);
        // A machine may be closed in so far that it shows nothing but its processes, and nobody has written
        // notes.
        if (elements->size() == 0 && uri != "/host/processes")
            continue;
        const Object::Ptr first = elements->getObject(0);
        EXPECT_EQ(textOf(first, "uri"), uri + "/" + textOf(first, "id"));
        EXPECT_EQ(textOf(objectAt(textOf(first, "uri")), "name"), textOf(first, "name"));
        const auto attributes = objectAt(uri + "/spec")->getObject("attributes")->getNames();
        EXPECT_THAT(attributes, IsSupersetOf(first->getNames()));
    }
}

TEST_F(HostHttp, ShowsTheProcessThatAsks)
{
    const std::string name = "\"who\" (is) it?";
    ASSERT_EQ(prctl(PR_SET_NAME, name.c_str()), 0);
    const Object::Ptr self = firstAt(OWN_PROCESS);
    ASSERT_FALSE(self.isNull());
    EXPECT_EQ(textOf(self, "name"), name);
    EXPECT_GT(self->getValue<Poco::Int64>("residentMemory"), 1'000'000);
    EXPECT_GE(self->getValue<int>("threads"), 1);
    const Poco::Int64 age =
        document("/")->getValue<Poco::Int64>("timestamp") - self->getValue<Poco::Int64>("startTime");
    EXPECT_GT(age, -10'000);
    EXPECT_LT(age, 600'000);
    // The service is a child of this test.
    const Object::Ptr service = firstAt("/host/processes?pid=" + std::to_string(program->id()));
    ASSERT_FALSE(service.isNull());
    ASSERT_FALSE(service->getObject("parent").isNull());
    EXPECT_EQ(textOf(service->getObject("parent"), "id"), textOf(self, "id"));
}

TEST_F(HostHttp, ShowsTheLargestProcessesFirst)
{
    const Object::Ptr answer =
        document("/host/processes?$sortby=-residentMemory&$limit=5&$fields=residentMemory,state");
    const Array::Ptr largest = answer->getArray("data");
    ASSERT_GE(largest->size(), 2U);
    EXPECT_LE(largest->size(), 5U);
    EXPECT_GE(answer->getObject("paging")->getValue<unsigned>("total"), largest->size());
    Poco::Int64 previous = std::numeric_limits<Poco::Int64>::max();
    for (unsigned i = 0; i < largest->size(); ++i) {
        const Object::Ptr process = largest->getObject(i);
        EXPECT_THAT(process->getNames(),
                    UnorderedElementsAre("id", "name", "residentMemory", "state", "uri"));
        EXPECT_LE(process->getValue<Poco::Int64>("residentMemory"), previous);
        previous = process->getValue<Poco::Int64>("residentMemory");
    }
}

TEST_F(HostHttp, LeadsFromPageToPage)
{
    const Object::Ptr first = document("/host/processes?$limit=1&$fields=pid&$sortby=pid");
    ASSERT_EQ(first->getArray("data")->size(), 1U);
    const std::string next = textOf(first->getObject("paging"), "next");
    const Object::Ptr second = document(next);
    ASSERT_EQ(second->getArray("data")->size(), 1U);
    EXPECT_LT(first->getArray("data")->getObject(0)->getValue<int>("pid"),
              second->getArray("data")->getObject(0)->getValue<int>("pid"));
    EXPECT_EQ(textOf(second->getObject("paging"), "previous"),
              "/host/processes?$limit=1&$offset=0&$fields=pid&$sortby=pid");
}

TEST_F(HostHttp, NamesTheParameterThatIsRefused)
{
    const struct {
        std::string query;
        std::string message;
    } rows[] = {
        {"$limit=5&$expand=4&name=x", "parameter '$expand' is '4', expected "},
        {"$sortby=name&$sortby=pid", "parameter '$sortby' stands more than once"},
        {"$q=(", "parameter '$q' is '(', expected "},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.query);
        const Answer answer = ask("GET", "/host/processes?" + row.query);
        EXPECT_EQ(answer.head.getStatus(), HTTPResponse::HTTP_BAD_REQUEST);
        const auto object = parseJson(answer.body).extract<Object::Ptr>();
        EXPECT_THAT(textOf(object, "message"), StartsWith(row.message));
    }
}

TEST_F(HostHttp, ShowsTheLoopbackInterface)
{
    const Object::Ptr loopback = firstAt("/host/interfaces?name=lo");
    if (loopback.isNull())
        GTEST_SKIP() << "this machine shows no interfaces";
    EXPECT_GT(loopback->getValue<Poco::Int64>("bytesReceived"), 0);
    EXPECT_THAT(Zovi::Test::compact(loopback->getArray("addresses")), HasSubstr("127.0.0.1/8"));
}

TEST_F(HostHttp, ShowsTheRootFilesystem)
{
    const Object::Ptr root = firstAt("/host/filesystems?mountPoint=/");
    if (root.isNull())
        GTEST_SKIP() << "the root of this machine is no mount point";
    EXPECT_GT(root->getValue<Poco::Int64>("size"), 0);
    EXPECT_LE(root->getValue<Poco::Int64>("free"), root->getValue<Poco::Int64>("size"));
}

TEST_F(HostHttp, SaysWhatIsNotThereOrNotAllowed)
{
    const struct {
        std::string method;
        std::string url;
        int status;
        std::string message;
    } rows[] = {
        {"GET", "/nothing", 404, "no service is called 'nothing'"},
        {"GET", "/host/nothing", 404, "'host' has no resource 'nothing'"},
        {"GET", "/host/processes/17", 404,
         "not an address of a service, resource or element: '/host/processes/17'"},
        {"GET", "/host/processes/00000000-0000-0000-0000-000000000000", 404,
         "/host/processes has no element '00000000-0000-0000-0000-000000000000'"},
        {"GET", "/a/b/c/d", 404, "not an address of a service, resource or element: '/a/b/c/d'"},
        {"GET", "/host/id?x=1", 400, "this address takes no query: 'x=1'"},
        {"GET", "/host?%zz", 400, "malformed query: '%zz'"},
        {"POST", "/host/processes", 405, "'/host/processes' allows only GET, HEAD"},
        {"PUT", "/", 405, "'/' allows only GET, HEAD"},
        {"DELETE", "/host", 405, "'/host' allows only GET, HEAD"},
        {"PATCH", "/host", 501, "unknown method 'PATCH'"},
        {"OPTIONS", "/host", 501, "unknown method 'OPTIONS'"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.method + " " + row.url);
        const Answer answer = ask(row.method, row.url);
        EXPECT_EQ(answer.head.getStatus(), row.status);
        EXPECT_EQ(answer.head.getContentType(), "application/json; charset=utf-8");
        EXPECT_EQ(answer.head.get("Allow", ""), row.status == 405 ? "GET, HEAD" : "");
        EXPECT_THAT(answer.body,
                    Zovi::Test::IsJson("{\"code\":" + std::to_string(row.status) + ",\"message\":\"" +
                                       row.message + "\",\"status\":\"error\"}"));
    }
}

TEST_F(HostHttp, CompressesWhatTheClientTakesCompressed)
{
    const Answer answer = ask(HTTPRequest::HTTP_GET, "/host/spec", "gzip");
    EXPECT_EQ(answer.head.get("Content-Encoding", ""), "gzip");
    EXPECT_EQ(answer.head.get("Vary", ""), "Accept-Encoding");
    std::istringstream coded(answer.body);
    Poco::InflatingInputStream decoder(coded, Poco::InflatingStreamBuf::STREAM_GZIP);
    std::string text;
    Poco::StreamCopier::copyToString(decoder, text);
    EXPECT_EQ(textOf(parseJson(text).extract<Object::Ptr>()->getObject("data"), "name"), "host");
    const Answer head = ask(HTTPRequest::HTTP_HEAD, "/host/spec", "gzip");
    EXPECT_EQ(head.head.get("Content-Encoding", ""), "gzip");
    EXPECT_EQ(head.body, "");
}

TEST_F(HostHttp, RefusesForeignHostsAndMalformedMessages)
{
    const std::string port = std::to_string(address->port());
    const struct {
        std::string request;
        int status;
    } rows[] = {
        {"GET / HTTP/1.1\r\nHost: localhost:" + port + "\r\n\r\n", 200},
        {"GET / HTTP/1.1\nHost: localhost\n\n", 200},
        {"GET / HTTP/1.1\r\nHost: evil.example\r\n\r\n", 421},
        {"GET / HTTP/1.1\r\n\r\n", 400},
        {"GET / HTTP/1.1\r\nHost: localhost\r\nHost: localhost\r\n\r\n", 400},
        {"GET / HTTP/1.1\r\nHost: localhost\r\nX: " + std::string(20'000, 'x') + "\r\n\r\n", 400},
        {"GET /" + std::string(9'000, 'x') + " HTTP/1.1\r\nHost: localhost\r\n\r\n", 414},
        {"get / HTTP/1.1\r\nHost: localhost\r\n\r\n", 501},
        {"POST /host/processes HTTP/1.1\r\nHost: localhost\r\nOrigin: http://evil.example\r\n"
         "Content-Length: 0\r\n\r\n",
         403},
        {"\r\n\r\n\r\n\r\n", 400},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.request.substr(0, 200));
        RawClient client(*address);
        client.send(row.request);
        client.endSending();
        const RawAnswer answer = client.receive();
        EXPECT_EQ(answer.status, row.status);
        EXPECT_NO_THROW(parseJson(answer.body));
    }
}

TEST(HostProgram, EndsCleanlyOnASignalAlthoughConnectionsAreOpen)
{
    for (const int signal : {SIGTERM, SIGINT}) {
        SCOPED_TRACE(signal);
        HostProgram program;
        const Poco::Net::SocketAddress address = program.waitForAddress();
        RawClient silent(address);
        RawClient idle(address);
        idle.send("GET /id HTTP/1.1\r\nHost: localhost\r\n\r\n");
        EXPECT_EQ(idle.receive().status, 200);
        RawClient half(address);
        half.send("GET /id HT");
        const auto begin = Clock::now();
        program.sendSignal(signal);
        EXPECT_EQ(program.wait(), 0);
        EXPECT_LT(Clock::now() - begin, REQUEST_TIMEOUT);
        EXPECT_EQ(program.restOfErrors(), "");
    }
}

TEST(HostProgram, PrintsAddressesToTry)
{
    HostProgram program;
    const std::string authority = program.waitForAddress().toString();
    program.sendSignal(SIGTERM);
    EXPECT_EQ(program.wait(), 0);
    const std::string output = program.restOfOutput();
    EXPECT_THAT(output, HasSubstr("  curl -s http://" + authority + "/host/processes\n"));
    EXPECT_THAT(output, HasSubstr("  http://" + authority + "/cdn/explorer/index.html\n"));
}

TEST(HostProgram, TellsTheServiceManagerThatItCanBeReached)
{
    const std::string name = "@kyr-host-test-" + std::to_string(getpid());
    const Zovi::Test::NotifySocket manager(name);
    HostProgram program({"--port", "0", "--no-registry", "--database", ":memory:"},
                        {{"NOTIFY_SOCKET", name}});
    EXPECT_EQ(manager.wait(), "READY=1");
    RawClient client(program.waitForAddress());
    client.send("GET /id HTTP/1.1\r\nHost: localhost\r\n\r\n");
    EXPECT_EQ(client.receive().status, 200);
}

TEST(HostProgram, SaysThatThePortIsInUse)
{
    HostProgram first;
    const std::string port = std::to_string(first.waitForAddress().port());
    HostProgram second({"--port", port});
    EXPECT_EQ(second.wait(), 1);
    EXPECT_THAT(second.restOfErrors(),
                StartsWith("kyr-host: cannot listen on 127.0.0.1 port " + port + ": "));
    EXPECT_EQ(second.restOfOutput(), "");
}

TEST(HostProgram, SaysThatItCannotListenOnAForeignAddress)
{
    HostProgram program({"--listen", "192.0.2.123", "--port", "0"});
    EXPECT_EQ(program.wait(), 1);
    EXPECT_THAT(program.restOfErrors(), StartsWith("kyr-host: cannot listen on 192.0.2.123 port 0: "));
}

TEST(HostProgram, ShowsHelpAndVersionAndRefusesOtherOptions)
{
    HostProgram help({"--help"});
    EXPECT_EQ(help.wait(), 0);
    EXPECT_THAT(help.restOfOutput(), StartsWith("Usage: kyr-host "));
    HostProgram version({"--version"});
    EXPECT_EQ(version.wait(), 0);
    EXPECT_THAT(version.restOfOutput(), StartsWith("kyr-host "));
    HostProgram wrong({"--prot", "80"});
    EXPECT_EQ(wrong.wait(), 2);
    EXPECT_EQ(wrong.restOfErrors(), "kyr-host: unknown option '--prot'\nSee kyr-host --help.\n");
}
