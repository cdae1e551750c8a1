#include "MessageBody.h"

#include <Poco/Net/NetException.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <iterator>
#include <sstream>
#include <string>

namespace Zovi::ServiceKit
{

namespace
{

std::string readAll(std::streambuf& body)
{
    return {std::istreambuf_iterator<char>(&body), std::istreambuf_iterator<char>()};
}

std::string readChunks(const std::string& text)
{
    std::stringbuf source(text);
    ChunkedBody body(source);
    return readAll(body);
}

} // namespace

TEST(ChunkedBody, JoinsTheChunks)
{
    const struct {
        std::string text;
        std::string body;
    } rows[] = {
        {"0\r\n\r\n", ""},
        {"3\r\nabc\r\n0\r\n\r\n", "abc"},
        {"1\r\na\r\n00A\r\n\r\n23456789\r\n000\r\n\r\n", "a\r\n23456789"},
        {"1;name=value\r\na\r\n0;x\r\n\r\n", "a"},    // extensions
        {"1 \r\na\r\n0\t;x\r\n\r\n", "a"},            // blanks behind the size
        {"1\r\na\r\n0\r\nX: y\r\nZ: w\r\n\r\n", "a"}, // trailers
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(readChunks(row.text), row.body);
    }
}

TEST(ChunkedBody, ReadsChunksThatAreLargerThanItsBuffer)
{
    const std::string large(0x12345, 'x');
    EXPECT_EQ(readChunks("12345\r\n" + large + "\r\n0\r\n\r\n"), large);
}

TEST(ChunkedBody, LeavesWhatFollows)
{
    std::stringbuf source("1\r\na\r\n0\r\n\r\nGET /");
    ChunkedBody body(source);
    EXPECT_FALSE(body.isComplete());
    EXPECT_EQ(readAll(body), "a");
    EXPECT_TRUE(body.isComplete());
    EXPECT_EQ(readAll(source), "GET /");
}

TEST(ChunkedBody, RefusesEveryBodyThatIsCutOff)
{
    const std::string whole = "3;x=y\r\nabc\r\n0\r\nX: y\r\n\r\n";
    EXPECT_EQ(readChunks(whole), "abc");
    for (std::size_t length = 0; length < whole.size(); ++length) {
        SCOPED_TRACE(whole.substr(0, length));
        EXPECT_THROW(readChunks(whole.substr(0, length)), Poco::Net::MessageException);
    }
}

TEST(ChunkedBody, NamesWhatIsMalformed)
{
    const struct {
        std::string text;
        std::string message;
    } rows[] = {
        {"\r\n\r\n", "a chunk has no size"},
        {"x\r\n", "a chunk has no size"},
        {" 1\r\na\r\n", "a chunk has no size"},
        {"-1\r\n", "a chunk has no size"},
        {"1x\r\n", "the size of a chunk is malformed"},
        {"1\na\n0\n\n", "the size of a chunk is malformed"},
        {"1234567890123456\r\n", "a chunk is too long"},
        {"1;a\nb\r\n", "the extension of a chunk is malformed"},
        {"1;" + std::string(300, 'x') + "\r\na\r\n0\r\n\r\n", "the extension of a chunk is malformed"},
        {"1\rxa\r\n", "a line of the chunks does not end as it must"},
        {"1\r\nab\r\n0\r\n\r\n", "a line of the chunks does not end as it must"},
        {"0\r\nX: y\n\r\n", "the trailers behind the chunks are malformed"},
        {"0\r\n" + std::string(9000, 'x') + "\r\n\r\n", "the trailers behind the chunks are malformed"},
        {"3\r\nab", "a chunk is incomplete"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        try {
            readChunks(row.text);
            ADD_FAILURE() << "not refused";
        } catch (const Poco::Net::MessageException& failure) {
            EXPECT_EQ(failure.message(), row.message);
        }
    }
}

TEST(FixedLengthBody, ReadsItsLengthAndLeavesWhatFollows)
{
    const std::string large(10'000, 'x');
    std::stringbuf source(large + "GET /");
    FixedLengthBody body(source, large.size());
    EXPECT_FALSE(body.isComplete());
    EXPECT_EQ(readAll(body), large);
    EXPECT_TRUE(body.isComplete());
    EXPECT_EQ(readAll(source), "GET /");
}

TEST(FixedLengthBody, IsIncompleteWhenTheConnectionEndsEarly)
{
    std::stringbuf source("ab");
    FixedLengthBody body(source, 3);
    EXPECT_EQ(readAll(body), "ab");
    EXPECT_FALSE(body.isComplete());
}

} // namespace Zovi::ServiceKit
