#include "HostTest.h"
#include "JsonMatchers.h"
#include "RawClient.h"

#include <Poco/DeflatingStream.h>
#include <Poco/Exception.h>
#include <Poco/URI.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/resource.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

using ::testing::AnyOf;
using Zovi::Test::parseJson;
using Zovi::Test::RawAnswer;
using Zovi::Test::RawClient;

namespace
{

const std::string HOST = "Host: localhost\r\n";
const std::string GET_ID = "GET /host/id HTTP/1.1\r\n" + HOST + "\r\n";

/// Asks again and again on fresh connections while it lives.
class FreshClient
{
public:
    explicit FreshClient(const Poco::Net::SocketAddress& address)
        : m_address(address)
        , m_thread([this] { run(); })
    {
    }

    /// Each question must have been answered, before the client would have given up.
    ~FreshClient()
    {
        m_isEnding = true;
        m_thread.join();
        EXPECT_GT(m_count, 0);
        EXPECT_EQ(m_failures, "");
    }

    FreshClient(const FreshClient&) = delete;
    FreshClient& operator=(const FreshClient&) = delete;

private:
    void run()
    {
        do
            ask();
        while (!m_isEnding);
    }

    void ask()
    {
        try {
            RawClient client(m_address);
            client.send(GET_ID);
            const RawAnswer answer = client.receive();
            if (answer.status != 200)
                m_failures += answer.body + "\n";
        } catch (const std::exception& failure) {
            m_failures += std::string(failure.what()) + "\n";
        }
        ++m_count;
    }

    const Poco::Net::SocketAddress m_address;
    std::atomic<bool> m_isEnding = false;
    std::string m_failures;
    int m_count = 0;
    std::thread m_thread;
};

/// One program for all tests. A client asks it all the time meanwhile, and it ends in order at last.
class HostileInput : public Zovi::Test::HostTest
{
protected:
    void SetUp() override { fresh = std::make_unique<FreshClient>(*address); }
    void TearDown() override { fresh.reset(); }

    static RawAnswer ask(const std::string& request)
    {
        RawClient client(*address);
        client.send(request);
        return client.receive();
    }

    /// Refused with `status` and a document, and what follows is no request any more.
    static void expectRefusedAndClosed(const std::string& request, int status)
    {
        RawClient client(*address);
        client.send(request + GET_ID);
        const RawAnswer answer = client.receive();
        EXPECT_EQ(answer.status, status);
        EXPECT_EQ(answer.header("connection"), "Close");
        EXPECT_NO_THROW(parseJson(answer.body)) << answer.body;
        EXPECT_EQ(client.receiveRest(), "");
    }

    std::unique_ptr<FreshClient> fresh;
};

std::string post(const std::string& headers, const std::string& body)
{
    return "POST /host/notes HTTP/1.1\r\n" + HOST + headers + "\r\n" + body;
}

std::string postWithLength(const std::string& body, const std::string& headers = "")
{
    return post(headers + "Content-Length: " + std::to_string(body.size()) + "\r\n", body);
}

bool isControl(int byte)
{
    return byte < 0x20 || byte == 0x7F;
}

/// Two lengths that differ, in the one order and in the other, and lengths that are none.
std::vector<std::string> ambiguousLengths()
{
    const std::string lengths[] = {"3",   "4",   "0",  "03", "+3",  "-3", "0x3",
                                   "3,3", "3 3", "3;", "",   "3.0", "1e1"};
    std::vector<std::string> heads;
    for (const std::string& first : lengths) {
        for (const std::string& second : lengths)
            heads.push_back("Content-Length: " + first + "\r\nContent-Length: " + second + "\r\n");
    }
    return heads;
}

/// A length beside chunks, in the one order and in the other.
std::vector<std::string> lengthsBesideChunks()
{
    std::vector<std::string> heads;
    for (const std::string coding : {"chunked", "Chunked", "CHUNKED"}) {
        for (const std::string length : {"0", "3", "13", "999999"}) {
            const std::string chunks = "Transfer-Encoding: " + coding + "\r\n";
            const std::string bytes = "Content-Length: " + length + "\r\n";
            heads.push_back(chunks + bytes);
            heads.push_back(bytes + chunks);
            heads.push_back(bytes + "X: y\r\n" + chunks);
        }
    }
    return heads;
}

/// Fields that one reader takes for a length or a coding, and another does not.
std::vector<std::string> disguisedFields()
{
    std::vector<std::string> heads;
    for (const std::string field : {"Content-Length: 3", "Transfer-Encoding: chunked"}) {
        const std::size_t colon = field.find(':');
        const std::string name = field.substr(0, colon);
        const std::string value = field.substr(colon + 2);
        for (const std::string blank : {" ", "\t", "\v", "\f", "\r"})
            heads.push_back(name + blank + ": " + value + "\r\n");
        for (const std::string mark : {"\v", "\f", "\x7F", "\x01", "\r"}) {
            heads.push_back(name + ":" + mark + value + "\r\n");
            heads.push_back(name + ": " + value + mark + "\r\n");
        }
        heads.push_back(std::string(name + ": " + value) + '\0' + "\r\n");
        heads.push_back(name + ":\r\n " + value + "\r\n");
        heads.push_back("X: y\r\n " + field + "\r\n");
        heads.push_back(" " + field + "\r\n");
        heads.push_back("X: y\r" + field + "\r\n");
        heads.push_back("X\r\n" + field + "\r\n");
        heads.push_back(name + "\r\n");
        heads.push_back(name + ": =?us-ascii?q?" + value + "?=\r\n");
        heads.push_back("(" + name + "): " + value + "\r\n");
        heads.push_back("\"" + name + "\": " + value + "\r\n");
        heads.push_back(": " + field + "\r\n");
    }
    return heads;
}

std::vector<std::string> malformedChunks()
{
    return {
        "\r\n\r\n",
        "x\r\n",
        " 3\r\nabc\r\n0\r\n\r\n",
        "+3\r\nabc\r\n0\r\n\r\n",
        "-3\r\nabc\r\n0\r\n\r\n",
        "0x3\r\nabc\r\n0\r\n\r\n",
        "3x\r\nabc\r\n0\r\n\r\n",
        "3\nabc\r\n0\r\n\r\n",
        "3\r\nabc\n0\r\n\r\n",
        "3\r\nabcd\r\n0\r\n\r\n",
        "4\r\nabc\r\n0\r\n\r\n",
        "3\r\nab\r\n0\r\n\r\n",
        "3\rabc\r\n0\r\n\r\n",
        "3;a\nb\r\nabc\r\n0\r\n\r\n",
        "3;" + std::string(10'000, 'x') + "\r\nabc\r\n0\r\n\r\n",
        "ffffffffffffffff\r\nabc\r\n0\r\n\r\n",
        "10000000000000003\r\nabc\r\n0\r\n\r\n",
        std::string(100, '0') + "3\r\nabc\r\n0\r\n\r\n",
        "3\r\nabc\r\n0\r\nX: y\n\r\n",
        "3\r\nabc\r\n0\r\n" + std::string(100'000, 'x') + "\r\n\r\n",
        "3\r\nabc\r\n0\n\n",
        std::string("3\0\r\nabc\r\n0\r\n\r\n", 15),
        "3\r\n\r\nabc\r\n0\r\n\r\n",
        "G\r\nabc\r\n0\r\n\r\n",
        "{\"name\":\"a\"}",
    };
}

/// A mebibyte of zeros and then more of them, as long as `length` allows, coded as gzip without an end.
std::string inflatingBody(std::size_t length)
{
    std::ostringstream coded;
    Poco::DeflatingOutputStream coder(coded, Poco::DeflatingStreamBuf::STREAM_GZIP);
    const std::string zeros(1024 * 1024, '\0');
    coder << zeros;
    coder.flush();
    std::string body = coded.str();
    coder << zeros;
    coder.flush();
    const std::string more = coded.str().substr(body.size());
    coder.close();
    while (body.size() + more.size() <= length)
        body += more;
    return body;
}

void sendIfOpen(RawClient& client, const std::string& text)
{
    try {
        client.send(text);
    } catch (const Poco::IOException&) {
        // The server has closed.
    }
}

/// Each connection of the test's own takes a descriptor.
void raiseDescriptorLimit()
{
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
}

std::string escape(const std::string& text)
{
    std::string url;
    Poco::URI::encode(text, "!#$%&'()*+,/:;=?@[]{}|^\\\"<>`~", url);
    return url;
}

} // namespace

TEST_F(HostileInput, MayHaveAnyByteInAHeaderField)
{
    for (int byte = 0; byte < 256; ++byte) {
        SCOPED_TRACE(byte);
        for (const std::string name :
             {"X", "Accept-Encoding", "If-None-Match", "Connection", "Origin", "Cookie", "Expect", "Range"}) {
            const std::string request =
                "GET /host/id HTTP/1.1\r\n" + HOST + name + ": a" + static_cast<char>(byte) + "b\r\n\r\n";
            const bool isRefused = isControl(byte) && byte != '\t';
            EXPECT_EQ(ask(request).status, isRefused ? 400 : 200) << name;
        }
    }
}

TEST_F(HostileInput, MayHaveAnyByteInItsFirstLine)
{
    for (int byte = 0; byte < 256; ++byte) {
        SCOPED_TRACE(byte);
        const std::string text(1, static_cast<char>(byte));
        for (const std::string& line : {"GET /host/" + text + " HTTP/1.1", "GET" + text + " /host HTTP/1.1",
                                        "GET /host?a=" + text + " HTTP/1.1", "GET /host HTTP/1." + text}) {
            const RawAnswer answer = ask(line + "\r\n" + HOST + "\r\n");
            EXPECT_THAT(answer.status, AnyOf(200, 400, 404, 405, 501, 505)) << line;
            EXPECT_NO_THROW(parseJson(answer.body)) << answer.body;
            if (isControl(byte) && byte != '\n') {
                EXPECT_EQ(answer.status, 400) << line;
            }
        }
    }
}

TEST_F(HostileInput, IsRefusedWhereTwoReadersMayDifferAboutItsEnd)
{
    std::vector<std::string> heads = ambiguousLengths();
    for (const auto& more : {lengthsBesideChunks(), disguisedFields()})
        heads.insert(heads.end(), more.begin(), more.end());
    std::set<std::string> requests;
    for (const std::string& head : heads)
        requests.insert(post(head, "3\r\nabc\r\n0\r\n\r\n"));
    for (const std::string& chunks : malformedChunks())
        requests.insert(post("Transfer-Encoding: chunked\r\n", chunks));
    EXPECT_GE(requests.size(), 200U);
    for (const std::string& request : requests) {
        SCOPED_TRACE(request.substr(0, 300));
        expectRefusedAndClosed(request, 400);
    }
}

TEST_F(HostileInput, IsRefusedWithAnyOtherTransferCoding)
{
    for (const std::string coding :
         {"", "identity", "gzip", "gzip, chunked", "chunked, chunked", "chunked;a=b", "\"chunked\"",
          "x\r\nTransfer-Encoding: chunked", "chunked\r\nTransfer-Encoding: chunked"}) {
        SCOPED_TRACE(coding);
        expectRefusedAndClosed(post("Transfer-Encoding: " + coding + "\r\n", "3\r\nabc\r\n0\r\n\r\n"), 501);
    }
}

TEST_F(HostileInput, CostsNoMemoryWhenItInflates)
{
    const std::string body = inflatingBody(1'000'000); // nearly a gigabyte
    ASSERT_GT(body.size(), 900'000U);
    const long before = program->peakMemory();
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(ask(postWithLength(body, "Content-Encoding: gzip\r\n")).status, 413);
        EXPECT_THAT(ask(postWithLength(body, "Content-Encoding: gzip, gzip\r\n")).status,
                    AnyOf(400, 413, 415));
    }
    EXPECT_LT(program->peakMemory(), before + 64 * 1024);
}

TEST_F(HostileInput, IsRefusedHoweverDeepItsJsonGoes)
{
    const std::size_t depth = 1'000'000;
    for (const std::string& body :
         {std::string(depth, '['), std::string(depth, '{'), "{\"name\":" + std::string(depth, '['),
          "{\"name\":" + std::string(depth / 2, '[') + std::string(depth / 2, ']') + "}",
          std::string(depth, '"'), std::string(depth, '\\'), std::string(depth, ']')}) {
        SCOPED_TRACE(body.substr(0, 20));
        const RawAnswer answer = ask(postWithLength(body));
        EXPECT_EQ(answer.status, 400);
        EXPECT_LT(answer.body.size(), 1'000U);
        EXPECT_NO_THROW(parseJson(answer.body)) << answer.body;
    }
    std::string nested;
    for (int i = 0; i < 100'000; ++i)
        nested += "{\"name\":";
    EXPECT_EQ(ask(postWithLength(nested)).status, 400);
}

TEST_F(HostileInput, TakesLittleTimeWhateverItSearchesFor)
{
    ASSERT_EQ(ask(postWithLength("{\"name\":\"a\",\"text\":\"" + std::string(9'999, 'a') + "!\"}")).status,
              201);
    const std::string many(25, '%');
    for (const std::string& pattern : {std::string("(a+)+$"),
                                       std::string("(a*)*b"),
                                       std::string("(a|a)*b"),
                                       std::string("(a|aa)+$"),
                                       std::string("(.|a)*"),
                                       std::string("(.*)*(.*)*(.*)*b"),
                                       std::string("((a+)+)+\\1b"),
                                       std::string("(?=(a+)+b)a"),
                                       std::string("(?R)?a*b"),
                                       std::string("(a{1,1000}){1,1000}b"),
                                       std::string("((((a{0,9}){0,9}){0,9}){0,9}){0,9}b"),
                                       std::string("a*a*a*a*a*a*a*a*a*a*a*a*b"),
                                       std::string("(*LIMIT_MATCH=4000000000)(a+)+$"),
                                       std::string("(*LIMIT_RECURSION=4000000000)(.|a)*"),
                                       std::string("%a%a%a%a%a%a%a%a%a%a%b"),
                                       many,
                                       std::string(2'000, '('),
                                       std::string(2'000, '['),
                                       std::string(500, '(') + "a" + std::string(500, ')') + "*b",
                                       std::string("\\"),
                                       std::string("a\0b", 3),
                                       std::string("(?<n>a+)+\\k<n>b"),
                                       std::string("(?>(a+)+)b"),
                                       std::string("[^b]*?[^c]*?[^d]*?e")}) {
        SCOPED_TRACE(pattern.substr(0, 100));
        for (const std::string key : {"text", "$q", "name"}) {
            const RawAnswer answer =
                ask("GET /host/notes?" + key + "=" + escape(pattern) + " HTTP/1.1\r\n" + HOST + "\r\n");
            EXPECT_THAT(answer.status, AnyOf(200, 400)) << key << ": " << answer.body;
            EXPECT_NO_THROW(parseJson(answer.body)) << answer.body;
        }
    }
}

TEST_F(HostileInput, TakesLittleTimeHoweverLargeItsQueryIs)
{
    std::string many;
    for (int i = 0; i < 1'500; ++i)
        many += "&a" + std::to_string(i % 100) + "=";
    for (const std::string& query :
         {"$fields=" + std::string(7'000, ','),
          "$fields=" + std::string(3'000, '(') + std::string(3'000, ')'),
          "$sortby=" + std::string(7'000, '-'), "$expand=" + std::string(7'000, '9'),
          "$limit=" + std::string(7'000, '9'), "$offset=-" + std::string(7'000, '9'), many,
          std::string(7'000, '&'), std::string(7'000, '='), "$q=" + std::string(7'000, '%')}) {
        SCOPED_TRACE(query.substr(0, 60));
        const RawAnswer answer = ask("GET /host/processes?" + query + " HTTP/1.1\r\n" + HOST + "\r\n");
        EXPECT_THAT(answer.status, AnyOf(200, 400)) << answer.body;
        EXPECT_NO_THROW(parseJson(answer.body)) << answer.body;
    }
}

TEST_F(HostileInput, KeepsNobodyAwayWhenItDrips)
{
    constexpr int CROWD = 1'000;
    raiseDescriptorLimit();
    std::vector<RawClient> dripping;
    for (int i = 0; i < CROWD; ++i) {
        dripping.emplace_back(*address);
        sendIfOpen(dripping.back(), "GET /host/id HTTP/1.1\r\nX: ");
    }
    std::promise<void> isEnough;
    std::thread drip([&dripping, end = isEnough.get_future()] {
        // A byte each now and then, long before any single read would take too long.
        do {
            for (RawClient& client : dripping)
                sendIfOpen(client, "x");
        } while (end.wait_for(std::chrono::milliseconds(20)) != std::future_status::ready);
    });
    for (int i = 0; i < 20; ++i)
        EXPECT_EQ(ask(GET_ID).status, 200);
    isEnough.set_value();
    drip.join();
}
