#include "Command/UrlPath.h"

#include "RandomSource.h"

#include <Poco/Exception.h>
#include <Poco/URI.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Zovi::Command
{

namespace
{

using Test::RandomSource;

/// An address whose query can be set to what no constructor lets through.
class ExposedPath : public UrlPath
{
public:
    explicit ExposedPath(const std::string& rawQuery) { uri.setRawQuery(rawQuery); }
};

/// The pairs, or the exception with its text.
template <typename Source>
std::string outcomeOf(const Source& source)
{
    std::string text;
    try {
        for (const auto& [key, value] : source.getQueryParameters())
            text += "[" + key + "|" + value + "]";
    } catch (const Poco::Exception& failure) {
        text = failure.displayText();
    }
    return text;
}

void expectPocosOutcome(const std::string& rawQuery)
{
    Poco::URI uri;
    uri.setRawQuery(rawQuery);
    ASSERT_EQ(outcomeOf(ExposedPath(rawQuery)), outcomeOf(uri)) << "'" << rawQuery << "'";
}

} // namespace

TEST(QueryDecoder, DecodesAsPocoDoes)
{
    const std::string queries[] = {
        "",      "a",      "a=",      "a=b",      "=b",      "=",           "&",       "&&",       "a&b",
        "a=b&",  "&a=b",   "a==b",    "a=b=c",    "a=?",     "?a=b+c",      "a+b=c+d", "%41=%42",  "a=%26b",
        "a%3Db", "a=%2b+", "a=%00b",  "a=%C3%A4", "a%",      "a%4",         "a=%",     "a=%4&b=5", "a=%4",
        "a=%zz", "a=%4z",  "a=%z4&b", "%%41",     "a=%2541", "a=1&a=2&A=3", "+=+",     "a=b#c",    "a;b=c",
    };
    for (const std::string& query : queries)
        ASSERT_NO_FATAL_FAILURE(expectPocosOutcome(query));
}

TEST(QueryDecoder, TakesTheHexadecimalDigitsThatPocoTakes)
{
    for (int byte = 1; byte < 256; ++byte) {
        const auto character = static_cast<char>(byte);
        ASSERT_NO_FATAL_FAILURE(expectPocosOutcome(std::string("a=%4") + character));
        ASSERT_NO_FATAL_FAILURE(expectPocosOutcome(std::string("a=%") + character + "4"));
    }
}

TEST(QueryDecoder, DecodesRandomQueriesAsPocoDoes)
{
    RandomSource random;
    for (int round = 0; round < 20000; ++round) {
        std::string query;
        for (std::size_t count = random.below(20); count > 0; --count)
            query += random.oneIn(30) ? random.byte() : random.oneOf("aB4&&==%%+?2f/$,");
        SCOPED_TRACE("round " + std::to_string(round) + ", seed " + std::to_string(random.seed()));
        ASSERT_NO_FATAL_FAILURE(expectPocosOutcome(query));
    }
}

TEST(QueryDecoder, ThrowsOutOfAnAddressAsPocoDoes)
{
    for (const char* text : {"/svc?a=%", "/svc?a=%4", "/svc?%zz=1", "/svc?a=1&b=%4z"}) {
        SCOPED_TRACE(text);
        try {
            const UrlPath path{std::string(text)};
            ADD_FAILURE() << "does not throw";
        } catch (const Poco::URISyntaxException& failure) {
            EXPECT_EQ(failure.displayText(), outcomeOf(Poco::URI(text)));
        }
    }
}

} // namespace Zovi::Command
