#include "QueryFault.h"

#include "Command/QueryFilterJSON.h"
#include "JsonMatchers.h"

#include <Poco/Exception.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Zovi::ServiceKit
{

using ::testing::HasSubstr;
using ::testing::StartsWith;

namespace
{

std::string faultOf(const std::string& query, const std::string& path = "/shop/basket")
{
    return describeQueryFault(Poco::URI(path + "?" + query));
}

} // namespace

TEST(QueryFault, NamesTheParameterAndItsValueAndWhatIsExpected)
{
    const struct {
        const char* query;
        const char* start;
        const char* expectation;
    } ROWS[] = {
        {"$fields=a,,b", "parameter '$fields' is 'a,,b', expected ", "field names"},
        {"$sortby=", "parameter '$sortby' is '', expected ", "descending order"},
        {"$expand=4", "parameter '$expand' is '4', expected ", "level from 0 to 3"},
        {"$offset=first", "parameter '$offset' is 'first', expected ", "an index"},
        {"$limit=abc", "parameter '$limit' is 'abc', expected ", "number of elements"},
        {"$q=(", "parameter '$q' is '(', expected ", "regular expression"},
        {"name=(%25", "parameter 'name' is '(%', expected ", "regular expression"},
    };
    for (const auto& row : ROWS) {
        SCOPED_TRACE(row.query);
        EXPECT_THAT(faultOf(row.query), StartsWith(row.start));
        EXPECT_THAT(faultOf(row.query), HasSubstr(row.expectation));
    }
}

TEST(QueryFault, FindsTheOneParameterAmongGoodOnes)
{
    EXPECT_THAT(faultOf("$limit=5&$sortby=-size&$expand=9&name=apple"),
                StartsWith("parameter '$expand' is '9'"));
}

TEST(QueryFault, TellsOfAParameterThatStandsTwice)
{
    EXPECT_EQ(faultOf("$limit=5&name=a&name=b&$limit=6"), "parameter '$limit' stands more than once");
    EXPECT_EQ(faultOf("$sortby=a&$sortby=b"), "parameter '$sortby' stands more than once");
    EXPECT_EQ(faultOf("$expand=1&$expand=a"), "parameter '$expand' stands more than once");
    EXPECT_EQ(faultOf("$offset=1&$offset=2"), "parameter '$offset' stands more than once");
}

TEST(QueryFault, TellsThatAnAddressTakesNoQuery)
{
    EXPECT_EQ(faultOf("x=1", "/shop/id"), "this address takes no query: 'x=1'");
    EXPECT_EQ(faultOf("x=1", "/shop/basket/spec"), "this address takes no query: 'x=1'");
}

TEST(QueryFault, ReplacesWhatCannotStandInADocument)
{
    EXPECT_THAT(faultOf("$limit=%ff%0a"),
                StartsWith("parameter '$limit' is '\xEF\xBF\xBD\xEF\xBF\xBD', expected"));
}

TEST(QueryFault, FindsTheSearchThatTakesTooMuchEffort)
{
    const std::string hostile = "(?:(a)|b)*\\1b: +";
    const auto faultOf = [](const std::string& query, const Poco::RegularExpressionException& exception) {
        return describeSearchFault(Poco::URI("/shop/basket?" + query), exception);
    };
    const std::string expected = ", expected a pattern that takes less effort to match";
    const Poco::RegularExpressionException tooDeep("PCRE error -21", hostile);
    const std::string encoded = "(?:(a)%7Cb)*%5C1b:%20%2B";
    EXPECT_EQ(faultOf("$q=" + encoded, tooDeep), "parameter '$q' is '" + hostile + "'" + expected);
    EXPECT_EQ(faultOf("$fields=" + encoded + "&size=1&name=" + encoded + "&$q=" + encoded, tooDeep),
              "parameter '$q' is '" + hostile + "'" + expected);
    EXPECT_EQ(faultOf("$q=b&$fields=" + encoded + "%25&size=1&name=" + encoded + "%25",
                      Poco::RegularExpressionException("PCRE error -21", hostile + '%')),
              "parameter 'name' is '" + hostile + "%'" + expected);
    const std::string unknown = "a search pattern takes too much effort to match";
    EXPECT_EQ(faultOf("name=b&$limit=1", tooDeep), unknown);
    EXPECT_EQ(faultOf("name=b", Poco::RegularExpressionException("b")), unknown);
}

/// What the criteria throw is what the description is made of.
TEST(QueryFault, UnderstandsWhatTheSearchesThrow)
{
    const Poco::URI uri("/shop/basket?size=1&name=(?:(a)%7Cb)*%5C1b%25");
    const auto array = Zovi::Test::parseJson(R"([{"size":1,"name":")" + std::string(10000, 'a') + R"("}])")
                           .extract<Poco::JSON::Array::Ptr>();
    try {
        Poco::JSON::Array found;
        Command::QueryFilterJSON::filterJSONArrayByQuery(*array, Command::RequestBase(uri), found);
        ADD_FAILURE() << "no exception";
    } catch (const Poco::RegularExpressionException& exception) {
        EXPECT_THAT(describeSearchFault(uri, exception),
                    StartsWith("parameter 'name' is '(?:(a)|b)*\\1b%', expected a pattern that takes less"));
    }
}

} // namespace Zovi::ServiceKit
