#include "HTTPCacheHandler.h"

#include "JsonMatchers.h"
#include "RandomSource.h"
#include "ServerMessages.h"

#include <Poco/Exception.h>
#include <Poco/Net/HTTPRequest.h>
#include <Poco/Net/HTTPResponse.h>
#include <Poco/NumberParser.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <bitset>
#include <cmath>
#include <set>
#include <string>
#include <vector>

namespace Zovi::Net
{
namespace
{

using Poco::JSON::Object;
using Poco::Net::HTTPRequest;
using Poco::Net::HTTPResponse;
using Test::compact;
using Test::RandomSource;
using Test::ServerRequest;
using testing::MatchesRegex;

const std::string TEXT = "the content";
const auto CHANGED = HTTPCacheHandler::CONTENT_CHANGED;
const auto UNCHANGED = HTTPCacheHandler::CONTENT_UNCHANGED;

std::string eTagOf(const std::string& text)
{
    HTTPResponse response;
    EXPECT_EQ(HTTPCacheHandler().handleRequest(HTTPRequest(), response, text), CHANGED);
    return response.get("ETag", "no tag");
}

std::string eTagOf(const Object::Ptr& object)
{
    HTTPResponse response;
    EXPECT_EQ(HTTPCacheHandler().handleRequest(HTTPRequest(), response, object), CHANGED);
    return response.get("ETag", "no tag");
}

std::string digitsOf(const std::string& eTag)
{
    return eTag.substr(3, 8);
}

unsigned hashOf(const std::string& text)
{
    return Poco::NumberParser::parseHex(digitsOf(eTagOf(text)));
}

// The outcome for a client whose lines of "If-None-Match" are `lines`, each "@" in them standing for the
// digits of the content's tag.
HTTPCacheHandler::CacheRequestResult outcome(std::vector<std::string> lines)
{
    const std::string digits = digitsOf(eTagOf(TEXT));
    HTTPRequest request;
    for (std::string& line : lines) {
        for (std::size_t place = line.find('@'); place != std::string::npos; place = line.find('@'))
            line.replace(place, 1, digits);
        request.add("If-None-Match", line);
    }
    HTTPResponse response;
    const auto result = HTTPCacheHandler().handleRequest(request, response, TEXT);
    EXPECT_EQ(response.get("ETag", "no tag"), "W/\"" + digits + "\"");
    return result;
}

Object::Ptr parseObject(const std::string& text)
{
    return Test::parseJson(text).extract<Object::Ptr>();
}

TEST(HTTPCacheHandler, NumbersItsResults)
{
    EXPECT_EQ(static_cast<int>(HTTPCacheHandler::CONTENT_CHANGED), 0);
    EXPECT_EQ(static_cast<int>(HTTPCacheHandler::CONTENT_UNCHANGED), 1);
    EXPECT_EQ(static_cast<int>(HTTPCacheHandler::PRECONDITION_VALID), 0);
    EXPECT_EQ(static_cast<int>(HTTPCacheHandler::PRECONDITION_FAILED), 1);
}

TEST(HTTPCacheHandler, WritesAWeakTagOfEightDigits)
{
    for (int i = 0; i < 1000; ++i)
        EXPECT_THAT(eTagOf(std::to_string(i)), MatchesRegex("W/\"[0-9a-f]{8}\""));
}

TEST(HTTPCacheHandler, ReplacesATagThatIsThere)
{
    HTTPResponse response;
    response.set("ETag", "\"old\"");
    HTTPCacheHandler().handleRequest(HTTPRequest(), response, TEXT);
    EXPECT_EQ(response.get("ETag"), eTagOf(TEXT));
    EXPECT_EQ(response.size(), 1U);
}

TEST(HTTPCacheHandler, WritesTheSameTagOnEveryMachine)
{
    struct Row {
        std::string text;
        std::string eTag;
    };
    const Row rows[] = {
        {"", "W/\"05af177e\""},
        {"a", "W/\"29372f5e\""},
        {"\xFF\x80\x7F", "W/\"d8f609a8\""},
        {"12345678", "W/\"1e949b23\""},
        {R"({"status":"ok"})", "W/\"af1957c9\""},
    };
    for (const Row& row : rows)
        EXPECT_EQ(eTagOf(row.text), row.eTag) << row.text;
}

TEST(HTTPCacheHandler, GivesAllFormsOfAContentTheSameTag)
{
    const std::string texts[] = {
        "{}",
        R"({"status":"ok"})",
        R"({"code":404,"message":"element not found","status":"error"})",
        R"({"data":[{"id":1,"name":"a"},{"id":2,"name":null,"on":true}],"status":"ok"})",
        R"({"text":")" + std::string(5000, 'x') + R"(\u0001\"\\","z":-1.5})",
    };
    for (const std::string& text : texts) {
        SCOPED_TRACE(text);
        const Object::Ptr object = parseObject(text);
        const std::string whole = compact(object);
        HTTPResponse response;
        HTTPCacheHandler().handleRequest(HTTPRequest(), response, whole.data(),
                                         static_cast<unsigned int>(whole.size()));
        EXPECT_EQ(response.get("ETag"), eTagOf(whole));
        EXPECT_EQ(eTagOf(object), eTagOf(whole));
    }
}

TEST(HTTPCacheHandler, HashesAnObjectOfAnyLengthAsItsText)
{
    for (std::size_t length = 0; length < 3000; ++length) {
        Object::Ptr object = new Object;
        object->set("text", std::string(length, 'x'));
        ASSERT_EQ(eTagOf(object), eTagOf(compact(object))) << length;
    }
}

TEST(HTTPCacheHandler, LeavesTheObjectAsItIs)
{
    const Object::Ptr object = parseObject(R"({"b":1,"a":[{"c":2}]})");
    EXPECT_EQ(eTagOf(object), eTagOf(object));
    EXPECT_EQ(compact(object), R"({"a":[{"c":2}],"b":1})");
}

TEST(HTTPCacheHandler, HashesContentOfNoBytes)
{
    HTTPResponse response;
    HTTPCacheHandler().handleRequest(HTTPRequest(), response, nullptr, 0);
    EXPECT_EQ(response.get("ETag"), eTagOf(""));
}

TEST(HTTPCacheHandler, TakesMissingContentAsChanged)
{
    HTTPRequest request;
    request.set("If-None-Match", "*");
    HTTPResponse response;
    EXPECT_EQ(HTTPCacheHandler().handleRequest(request, response, Object::Ptr()), CHANGED);
    EXPECT_EQ(HTTPCacheHandler().handleRequest(request, response, nullptr, 1), CHANGED);
    EXPECT_TRUE(response.empty());
}

TEST(HTTPCacheHandler, WritesNoTagWhenTheObjectCannotBePrinted)
{
    Object::Ptr object = new Object;
    object->set("member", Object::Ptr());
    HTTPResponse response;
    EXPECT_THROW(HTTPCacheHandler().handleRequest(HTTPRequest(), response, object),
                 Poco::NullPointerException);
    EXPECT_TRUE(response.empty());
}

TEST(HTTPCacheHandler, FindsContentUnchangedThatTheClientNames)
{
    const std::vector<std::vector<std::string>> rows = {
        {R"(W/"@")"},
        {R"("@")"},
        {R"(  W/"@"  )"},
        {"\tW/\"@\"\t"},
        {"*"},
        {" * "},
        // lists
        {R"("a", W/"@")"},
        {R"(W/"@", "a")"},
        {R"("a",W/"@","b")"},
        {R"(W/"00000000","@",W/"ffffffff")"},
        {R"(,, W/"@" ,,)"},
        {R"("a"	,	"@")"},
        // commas and other things inside foreign tags
        {R"("a,b", "@")"},
        {R"(",", "@")"},
        {R"("", "@")"},
        {R"("W/", "@")"},
        {R"("a b", "@")"},
        {R"("*", "@")"},
        // next to garbage
        {R"(garbage, "@")"},
        {R"(W/garbage, "@")"},
        {R"(W/, "@")"},
        {R"(w/"a", "@")"},
        {R"("a"b, "@")"},
        {R"(*, "@")"},
        {R"("@", "open)"},
        // several lines
        {R"("a")", R"(W/"@")"},
        {R"(W/"@")", R"("a")"},
        {"garbage", "", R"("@")"},
    };
    for (const auto& lines : rows) {
        SCOPED_TRACE(testing::PrintToString(lines));
        EXPECT_EQ(outcome(lines), UNCHANGED);
    }
}

TEST(HTTPCacheHandler, FindsContentChangedThatTheClientDoesNotName)
{
    const std::vector<std::vector<std::string>> rows = {
        {},
        {""},
        {" "},
        {","},
        {R"(W/"00000000")"},
        {R"("a", "b")"},
        {R"("")"},
        // nearly the tag
        {"@"},
        {"W/@"},
        {R"(w/"@")"},
        {R"(W"@")"},
        {R"(W/ "@")"},
        {R"(W/W/"@")"},
        {R"('@')"},
        {R"("@)"},
        {R"(@")"},
        {R"(" @")"},
        {R"("@ ")"},
        {R"("@0")"},
        {R"("0@")"},
        {R"("0x@")"},
        {R"("@"x)"},
        {R"(x"@")"},
        {R"("@" "@")"},
        {R"("@";"@")"},
        {R"(""@"")"},
        {R"("W/"@"")"},
        // as long as a tag, with characters that stand beside the digits
        {R"("0000000g", "0000000G", "0000000`", "0000000:", "0000000/", "0x000000", "-0000000", " 0000000")"},
        // the tag inside of another, or behind a quote that is open
        {R"("a,@,b")"},
        {R"("a,W/"@")"},
        {R"(x"a, W/"@")"},
        {R"("a, "@")"},
        // no sign for any
        {"**"},
        {"*, *"},
        {R"("*")"},
        {R"(W/"*")"},
        {R"(*, "a")"},
        {"*", R"("a")"},
    };
    for (const auto& lines : rows) {
        SCOPED_TRACE(testing::PrintToString(lines));
        EXPECT_EQ(outcome(lines), CHANGED);
    }
}

TEST(HTTPCacheHandler, TellsTheCaseOfDigits)
{
    // a text whose tag has letters in it
    std::string text;
    for (int i = 0; digitsOf(eTagOf(text)).find_first_of("abcdef") == std::string::npos; ++i)
        text = std::to_string(i);
    std::string eTag = eTagOf(text);
    for (char& character : eTag)
        character =
            character >= 'a' && character <= 'f' ? static_cast<char>(character - 'a' + 'A') : character;
    HTTPRequest request;
    HTTPResponse response;
    request.set("If-None-Match", eTag);
    EXPECT_EQ(HTTPCacheHandler().handleRequest(request, response, text), CHANGED);
}

TEST(HTTPCacheHandler, SurvivesRandomConditions)
{
    RandomSource random;
    const std::string digits = digitsOf(eTagOf(TEXT));
    const std::vector<std::string> pieces = {"\"", "W/", ",", " ", "*", "a", digits, "\t", "w", "\xFF"};
    for (int round = 0; round < 20000; ++round) {
        std::string value;
        for (std::size_t i = random.below(12); i > 0; --i)
            value += random.pick(pieces);
        const bool mayBeNamed =
            value.find('"' + digits + '"') != std::string::npos || value.find('*') != std::string::npos;
        EXPECT_TRUE(mayBeNamed || outcome({value}) == CHANGED) << value;
    }
}

TEST(HTTPCacheHandler, RecognisesItsOwnTagInTheNextRequest)
{
    Object::Ptr object = parseObject(R"({"data":{"id":7},"status":"ok"})");
    HTTPRequest request;
    request.set("If-None-Match", eTagOf(object));
    HTTPResponse response;
    EXPECT_EQ(HTTPCacheHandler().handleRequest(request, response, object), UNCHANGED);
    EXPECT_EQ(response.get("ETag"), eTagOf(object));
    object->set("status", "error");
    EXPECT_EQ(HTTPCacheHandler().handleRequest(request, response, object), CHANGED);
    EXPECT_EQ(response.get("ETag"), eTagOf(object));
}

TEST(HTTPCacheHandler, TakesServerMessages)
{
    ServerRequest request;
    request.set("If-None-Match", "*");
    EXPECT_EQ(HTTPCacheHandler().handleRequest(request, request.response(), TEXT), UNCHANGED);
    EXPECT_EQ(request.response().get("ETag"), eTagOf(TEXT));
}

// How often each bit of the hash flips when `change` alters a text: half the time if the hash mixes well.
template <typename Change>
void expectHalfOfTheBitsToFlip(const std::vector<std::string>& texts, Change change)
{
    std::vector<int> flips(32, 0);
    int pairs = 0;
    for (const std::string& text : texts) {
        for (std::size_t place = 0; place < text.size(); ++place) {
            std::string other = text;
            if (!change(other[place]))
                continue;
            const std::bitset<32> difference(hashOf(text) ^ hashOf(other));
            EXPECT_TRUE(difference.any()) << text << " and " << other;
            for (std::size_t bit = 0; bit < 32; ++bit)
                flips[bit] += difference[bit] ? 1 : 0;
            ++pairs;
        }
    }
    ASSERT_GT(pairs, 1000);
    // five standard deviations of a fair coin
    const double tolerance = 5 * 0.5 / std::sqrt(pairs);
    for (std::size_t bit = 0; bit < 32; ++bit)
        EXPECT_NEAR(static_cast<double>(flips[bit]) / pairs, 0.5, tolerance) << "bit " << bit;
}

std::vector<std::string> documents()
{
    std::vector<std::string> texts;
    for (int i = 0; i < 400; ++i) {
        texts.push_back(R"({"id":)" + std::to_string(i * 7919) + R"(,"name":"eth)" + std::to_string(i) +
                        R"("})");
        texts.push_back(std::string(static_cast<std::size_t>(i % 40), '0') + std::to_string(i));
    }
    return texts;
}

TEST(HTTPCacheHandler, FlipsHalfOfTheBitsForOneDigit)
{
    expectHalfOfTheBitsToFlip(documents(), [](char& character) {
        if (character < '0' || character > '9')
            return false;
        character = character == '9' ? '0' : static_cast<char>(character + 1);
        return true;
    });
}

TEST(HTTPCacheHandler, FlipsHalfOfTheBitsForOneBit)
{
    for (const unsigned bit : {0U, 3U, 7U}) {
        expectHalfOfTheBitsToFlip(documents(), [bit](char& character) {
            character = static_cast<char>(static_cast<unsigned char>(character) ^ (1U << bit));
            return true;
        });
    }
}

TEST(HTTPCacheHandler, TellsContentsApart)
{
    // numbers in sequence, zeros of each length, and transpositions: what sums and checksums confuse
    std::set<std::string> texts;
    for (int i = 0; i < 10000; ++i)
        texts.insert("{\"value\":" + std::to_string(i) + "}");
    for (std::size_t length = 0; length < 200; ++length)
        texts.insert(std::string(length, '\0'));
    std::string words = "aaaaaaaabbbbbbbbccccccccdddddddd";
    do {
        texts.insert(words);
        std::rotate(words.begin(), words.begin() + 1, words.end());
    } while (words != "aaaaaaaabbbbbbbbccccccccdddddddd");
    texts.insert("bbbbbbbbaaaaaaaaccccccccdddddddd");
    std::set<std::string> tags;
    for (const std::string& text : texts)
        tags.insert(eTagOf(text));
    EXPECT_EQ(tags.size(), texts.size());
}

TEST(HTTPCacheHandler, HoldsAnIfMatchToStrongComparison)
{
    struct Row {
        std::vector<std::string> lines;
        HTTPCacheHandler::PreconditionResult result;
    };
    const auto valid = HTTPCacheHandler::PRECONDITION_VALID;
    const auto failed = HTTPCacheHandler::PRECONDITION_FAILED;
    const Row rows[] = {
        {{}, valid},          {{"*"}, valid},   {{" * "}, valid}, {{R"(W/"01234567")"}, failed},
        {{R"("a")"}, failed}, {{""}, failed},   {{"x"}, failed},  {{R"("a", "b")"}, failed},
        {{"*", "x"}, failed}, {{"**"}, failed},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.lines));
        HTTPRequest request("PUT", "/");
        for (const std::string& line : row.lines)
            request.add("If-Match", line);
        request.set("If-None-Match", "*");
        EXPECT_EQ(HTTPCacheHandler().checkRequestHeader(request), row.result);
    }
}

} // namespace
} // namespace Zovi::Net
