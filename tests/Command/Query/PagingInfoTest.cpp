#include "Command/Query/Paging.h"

#include "Command/RequestBase.h"
#include "JsonMatchers.h"
#include "LogCapture.h"
#include "RandomSource.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace Zovi::Command
{

namespace
{

using Poco::JSON::Object;
using Test::compact;
using Test::LogCapture;
using Test::RandomSource;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr int LOWEST = std::numeric_limits<int>::min();
constexpr int HIGHEST = std::numeric_limits<int>::max();

RequestBase request(const std::string& url)
{
    return RequestBase(Poco::URI(url));
}

/// The paging object in the order in which its members were set.
std::string infoOf(const RequestBase& command, Paging::PagingType type, const std::string& id, int offset,
                   int limit, unsigned int total)
{
    Object info(Poco::JSON_PRESERVE_KEY_ORDER);
    Paging::createPagingInfo(command, type, id, offset, limit, total, info);
    return compact(info);
}

std::string infoOf(int offset, int limit, unsigned int total)
{
    static const RequestBase COMMAND = request("/s/r");
    return infoOf(COMMAND, Paging::TYPE_INDEX, "", offset, limit, total);
}

std::string link(int limit, int offset)
{
    return "/s/r?$limit=" + std::to_string(limit) + "&$offset=" + std::to_string(offset);
}

std::string expectedInfo(int offset, int limit, unsigned int total, unsigned int pages,
                         const std::string& previous, const std::string& next)
{
    std::string text = "{\"offset\":" + std::to_string(offset) + ",\"limit\":" + std::to_string(limit) +
                       ",\"total\":" + std::to_string(total) + ",\"totalPages\":" + std::to_string(pages);
    if (!previous.empty())
        text += ",\"previous\":\"" + previous + "\"";
    if (!next.empty())
        text += ",\"next\":\"" + next + "\"";
    return text + "}";
}

/// JSON escapes the slash.
std::string unescaped(std::string text)
{
    for (std::size_t at = text.find("\\/"); at != std::string::npos; at = text.find("\\/"))
        text.erase(at, 1);
    return text;
}

} // namespace

TEST(PagingInfo, TellsWhereAPageStands)
{
    const std::string NONE;
    struct Row {
        unsigned int total;
        int offset;
        int limit;
        unsigned int pages;
        std::string previous;
        std::string next;
    };
    const Row rows[] = {
        // forward from the front
        {10, 0, 4, 3, NONE, link(4, 4)},
        {10, 4, 4, 3, link(4, 0), link(4, 8)},
        {10, 8, 4, 3, link(4, 4), NONE},
        {10, 1, 4, 4, link(4, 0), link(4, 5)},
        {10, 3, 4, 3, link(4, 0), link(4, 7)},
        {4, 0, 4, 1, NONE, NONE},
        {5, 0, 4, 2, NONE, link(4, 4)},
        {1, 0, 1, 1, NONE, NONE},
        {10, 6, 4, 3, link(4, 2), NONE},
        {10, 9, 25, 2, link(25, 0), NONE},
        // backward from the front: "next" has lower indices
        {10, 9, -4, 3, NONE, link(-4, 5)},
        {10, 5, -4, 3, link(-4, 9), link(-4, 1)},
        {10, 1, -4, 3, link(-4, 5), NONE},
        {10, 8, -4, 4, link(-4, 9), link(-4, 4)},
        {10, 0, -4, 4, link(-4, 4), NONE},
        {10, 4, -4, 4, link(-4, 8), link(-4, 0)},
        // forward from an index that counts from the end
        {10, -10, 4, 3, NONE, link(4, -6)},
        {10, -6, 4, 3, link(4, -10), link(4, -2)},
        {10, -2, 4, 3, link(4, -6), NONE},
        {10, -9, 4, 4, link(4, -10), link(4, -5)},
        {10, -4, 4, 3, link(4, -8), NONE},
        // backward from there
        {10, -1, -4, 3, NONE, link(-4, -5)},
        {10, -5, -4, 3, link(-4, -1), link(-4, -9)},
        {10, -9, -4, 3, link(-4, -5), NONE},
        {10, -2, -4, 4, link(-4, -1), link(-4, -6)},
        {10, -6, -4, 4, link(-4, -2), link(-4, -10)},
        {10, -7, -4, 3, link(-4, -3), NONE},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE("total " + std::to_string(row.total) + ", offset " + std::to_string(row.offset) +
                     ", limit " + std::to_string(row.limit));
        LogCapture log;
        EXPECT_EQ(unescaped(infoOf(row.offset, row.limit, row.total)),
                  expectedInfo(row.offset, row.limit, row.total, row.pages, row.previous, row.next));
        EXPECT_THAT(log.texts(), IsEmpty());
    }
}

TEST(PagingInfo, ReportsAnOffsetOutsideTheList)
{
    struct Row {
        unsigned int total;
        int offset;
        int limit;
        unsigned int pages;
        std::string line;
    };
    const Row rows[] = {
        {0, 0, 25, 0, "Error: Paging offset value 0 outside of range. (0...-1)"},
        {0, -1, -25, 0, "Error: Paging offset value -1 outside of range. (0...-1)"},
        {10, 10, 4, 3, "Error: Paging offset value 10 outside of range. (-10...9)"},
        {10, 10, -4, 3, "Error: Paging offset value 10 outside of range. (-10...9)"},
        {10, -11, 4, 3, "Error: Paging offset value -11 outside of range. (-10...9)"},
        {10, -11, -4, 3, "Error: Paging offset value -11 outside of range. (-10...9)"},
        {10, HIGHEST, HIGHEST, 1, "Error: Paging offset value 2147483647 outside of range. (-10...9)"},
        {10, LOWEST, LOWEST, 1, "Error: Paging offset value -2147483648 outside of range. (-10...9)"},
        // more elements than 32 bits can count with a sign
        {3000000000U, 0, 100, 30000000,
         "Error: Paging offset value 0 outside of range. (1294967296...-1294967297)"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.line);
        LogCapture log;
        EXPECT_EQ(infoOf(row.offset, row.limit, row.total),
                  expectedInfo(row.offset, row.limit, row.total, row.pages, "", ""));
        EXPECT_THAT(log.texts(), ElementsAre(row.line));
        EXPECT_EQ(log.records().front().priority, Poco::Message::PRIO_ERROR);
    }
}

TEST(PagingInfo, ReportsALimitOfZero)
{
    LogCapture log;
    EXPECT_EQ(unescaped(infoOf(3, 0, 10)), expectedInfo(3, 0, 10, 1, "", link(0, 3)));
    EXPECT_EQ(unescaped(infoOf(-3, 0, 10)), expectedInfo(-3, 0, 10, 1, "", link(0, -3)));
    EXPECT_THAT(log.texts(), ElementsAre("Error: Cannot apply paging for a limit value of 0",
                                         "Error: Cannot apply paging for a limit value of 0"));
}

TEST(PagingInfo, ReportsBothDoubtsInTheirOrder)
{
    LogCapture log;
    EXPECT_EQ(infoOf(0, 0, 0), expectedInfo(0, 0, 0, 1, "", ""));
    EXPECT_THAT(log.texts(), ElementsAre("Error: Paging offset value 0 outside of range. (0...-1)",
                                         "Error: Cannot apply paging for a limit value of 0"));
}

TEST(PagingInfo, ReportsNothingBelowTheErrorLevel)
{
    LogCapture log(Poco::Message::PRIO_CRITICAL);
    EXPECT_EQ(infoOf(0, 0, 0), expectedInfo(0, 0, 0, 1, "", ""));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(PagingInfo, HasOnlyTheTotalIfThatIsAskedFor)
{
    LogCapture log;
    EXPECT_EQ(infoOf(request("/s/r"), Paging::TYPE_TOTAL, "id", 99, 0, 10), R"({"total":10})");
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(PagingInfo, SetsNothingForAnUnknownType)
{
    LogCapture log;
    EXPECT_EQ(infoOf(request("/s/r"), static_cast<Paging::PagingType>(3), "id", 99, 0, 10), "{}");
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(PagingInfo, NamesTheFirstElementAndLinksByNumber)
{
    const std::string expected = R"({"offsetId":"first","offset":4,"limit":4,"total":10,"totalPages":3,)"
                                 R"("previous":"/s/r?$limit=4&$offset=0","next":"/s/r?$limit=4&$offset=8"})";
    EXPECT_EQ(unescaped(infoOf(request("/s/r"), Paging::TYPE_UUID, "first", 4, 4, 10)), expected);
    EXPECT_EQ(unescaped(infoOf(request("/s/r"), Paging::TYPE_INDEX, "first", 4, 4, 10)), expected);
}

TEST(PagingInfo, HasNumbersOfTheirTypes)
{
    Object info;
    Paging::createPagingInfo(request("/s/r"), Paging::TYPE_INDEX, "x", 0, 4, 10, info);
    EXPECT_EQ(info.get("offset").type(), typeid(int));
    EXPECT_EQ(info.get("limit").type(), typeid(int));
    EXPECT_EQ(info.get("total").type(), typeid(unsigned int));
    EXPECT_EQ(info.get("totalPages").type(), typeid(unsigned int));
    EXPECT_TRUE(info.get("offsetId").isString());
    EXPECT_TRUE(info.get("next").isString());
}

TEST(PagingInfo, KeepsOtherMembers)
{
    Object info;
    info.set("other", 1);
    info.set("total", 99);
    info.set("previous", "stays");
    Paging::createPagingInfo(request("/s/r"), Paging::TYPE_INDEX, "", 0, 4, 4, info);
    EXPECT_EQ(compact(info),
              R"({"limit":4,"offset":0,"other":1,"previous":"stays","total":4,"totalPages":1})");
}

TEST(PagingInfo, LinksKeepTheOtherParametersOfTheRequest)
{
    struct Row {
        std::string url;
        std::string next;
    };
    const Row rows[] = {
        {"/s/r", "/s/r?$limit=4&$offset=8"},
        {"/s/r?$offset=4&$limit=4&$fields=a&$sortby=-b", "/s/r?$limit=4&$offset=8&$fields=a&$sortby=-b"},
        {"/s/r?z=1&$limit=4&a=2&$offset=4&a=1", "/s/r?$limit=4&$offset=8&z=1&a=2&a=1"},
        {"/s/r?$Limit=4&empty=&bare", "/s/r?$limit=4&$offset=8&$Limit=4&empty=&bare="},
        // decoded, and not encoded again
        {"/s/r?name=a%20b%26c%3Dd+e", "/s/r?$limit=4&$offset=8&name=a b&c=d e"},
        {"/s/r?%24limit=4&%24fields=a", "/s/r?$limit=4&$offset=8&$fields=a"},
        // the path has neither scheme nor host nor root nor element
        {"http://host:81/api/v1/s/r?a=1", "/s/r?$limit=4&$offset=8&a=1"},
        {"/s", "/s?$limit=4&$offset=8"},
        {"/", "/?$limit=4&$offset=8"},
        {"", "/?$limit=4&$offset=8"},
        {"/cdn/r/element", "/cdn/r?$limit=4&$offset=8"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.url);
        Object info;
        Paging::createPagingInfo(request(row.url), Paging::TYPE_INDEX, "", 4, 4, 10, info);
        EXPECT_EQ(info.get("next").toString(), row.next);
        std::string previous = row.next;
        previous.replace(previous.find("offset=8"), 8, "offset=0");
        EXPECT_EQ(info.get("previous").toString(), previous);
    }
}

TEST(PagingInfo, PutsTheNeighboursOfAnUnboundedLimitOutsideTheList)
{
    LogCapture log;
    EXPECT_EQ(unescaped(infoOf(5, LOWEST, 10)), expectedInfo(5, LOWEST, 10, 2, link(LOWEST, 9), ""));
    EXPECT_EQ(infoOf(9, LOWEST, 10), expectedInfo(9, LOWEST, 10, 1, "", ""));
    EXPECT_EQ(unescaped(infoOf(-5, LOWEST, 10)), expectedInfo(-5, LOWEST, 10, 2, link(LOWEST, -1), ""));
    EXPECT_EQ(infoOf(-1, LOWEST, 10), expectedInfo(-1, LOWEST, 10, 1, "", ""));
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(PagingInfo, WrapsTheNeighboursOfALargeLimit)
{
    EXPECT_EQ(unescaped(infoOf(1, HIGHEST, 10)),
              expectedInfo(1, HIGHEST, 10, 2, link(HIGHEST, 0), link(HIGHEST, LOWEST)));
    EXPECT_EQ(unescaped(infoOf(0, HIGHEST, 10)), expectedInfo(0, HIGHEST, 10, 1, "", ""));
}

namespace
{

int wrapped(std::int64_t number)
{
    const std::int64_t remainder = number & 0xFFFFFFFF;
    return static_cast<int>(remainder > HIGHEST ? remainder - 0x100000000 : remainder);
}

struct PlainInfo {
    std::string text;
    std::vector<std::string> log;
};

/// The paging object rule by rule.
PlainInfo plainInfo(int offset, int limit, unsigned int total)
{
    const bool unbounded = limit == LOWEST;
    const std::int64_t sum = std::int64_t{offset} + limit;
    const std::int64_t difference = std::int64_t{offset} - limit;
    const std::int64_t next = unbounded ? sum : wrapped(sum);
    std::int64_t previous = unbounded ? difference : wrapped(difference);
    const std::int64_t maximum = wrapped(std::int64_t{total} - 1);
    const std::int64_t minimum = wrapped(-std::int64_t{total});

    bool showNext = false;
    if (offset >= 0 && limit >= 0) {
        previous = std::max<std::int64_t>(previous, 0);
        showNext = next <= maximum;
    } else if (offset >= 0) {
        previous = std::min(previous, maximum);
        showNext = next >= 0;
    } else if (limit >= 0) {
        previous = std::max(previous, minimum);
        showNext = next < 0;
    } else {
        previous = std::min<std::int64_t>(previous, -1);
        showNext = next >= minimum;
    }

    PlainInfo info;
    bool showPrevious = true;
    if (offset < minimum || offset > maximum) {
        showNext = showPrevious = false;
        info.log.push_back("Error: Paging offset value " + std::to_string(offset) + " outside of range. (" +
                           std::to_string(minimum) + "..." + std::to_string(maximum) + ")");
    }
    if (previous == offset)
        showPrevious = false;

    std::int64_t pages = 1;
    if (limit == 0) {
        info.log.push_back("Error: Cannot apply paging for a limit value of 0");
    } else {
        const std::int64_t size = limit < 0 ? -std::int64_t{limit} : limit;
        pages = total / size + (total % size == 0 ? 0 : 1);
        if (showNext || showPrevious) {
            std::int64_t distance = 0;
            if (offset >= 0)
                distance = limit > 0 ? offset : maximum - offset;
            else
                distance = limit > 0 ? offset - minimum : -std::int64_t{offset} - 1;
            const std::int64_t front = distance % size;
            const std::int64_t end = (total - front) % size;
            if (front > 0 && end > 0 && size >= front + end)
                ++pages;
        }
    }
    info.text = expectedInfo(offset, limit, total, static_cast<unsigned int>(pages),
                             showPrevious ? link(limit, static_cast<int>(previous)) : "",
                             showNext ? link(limit, static_cast<int>(next)) : "");
    return info;
}

std::vector<int> edgesOf32Bits()
{
    return {LOWEST,
            LOWEST + 1,
            LOWEST + 299,
            LOWEST + 301,
            -301,
            -300,
            -101,
            -100,
            -2,
            -1,
            0,
            1,
            2,
            100,
            101,
            299,
            300,
            HIGHEST - 300,
            HIGHEST - 299,
            HIGHEST - 1,
            HIGHEST};
}

void expectPlainInfo(int offset, int limit, unsigned int total)
{
    const PlainInfo expected = plainInfo(offset, limit, total);
    ASSERT_EQ(unescaped(infoOf(offset, limit, total)), expected.text);
}

} // namespace

TEST(PagingInfo, FollowsItsRulesForAllEdgesOf32Bits)
{
    std::vector<unsigned int> totals = {2147483646, 2147483647, 2147483648,
                                        2147483649, 4294967294, 4294967295};
    for (unsigned int total = 0; total <= 300; ++total)
        totals.push_back(total);
    LogCapture log(Poco::Message::PRIO_FATAL);
    for (unsigned int total : totals) {
        for (int offset : edgesOf32Bits()) {
            for (int limit : edgesOf32Bits())
                ASSERT_NO_FATAL_FAILURE(expectPlainInfo(offset, limit, total));
        }
    }
}

TEST(PagingInfo, FollowsItsRulesForRandomPages)
{
    RandomSource random;
    for (int round = 0; round < 20000; ++round) {
        const auto total = static_cast<unsigned int>(random.below(40));
        const int offset = static_cast<int>(random.below(100)) - 50;
        const int limit = static_cast<int>(random.below(30)) - 15;
        SCOPED_TRACE("round " + std::to_string(round) + ", seed " + std::to_string(random.seed()));
        LogCapture log;
        ASSERT_NO_FATAL_FAILURE(expectPlainInfo(offset, limit, total));
        ASSERT_EQ(log.texts(), plainInfo(offset, limit, total).log);
    }
}

} // namespace Zovi::Command
