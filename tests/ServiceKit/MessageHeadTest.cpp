#include "MessageHead.h"

#include <Poco/Net/NetException.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace Zovi::ServiceKit
{

namespace
{

const std::string GET = "GET / HTTP/1.1\r\n";

/// What is read of `text`, and what is left, apart by a bar.
std::string readAndLeave(const std::string& text)
{
    std::stringbuf source(text);
    const std::string head = readHead(source);
    return head + "|" + text.substr(text.size() - static_cast<std::size_t>(source.in_avail()));
}

/// A head of so many bytes.
std::string headOf(std::size_t length)
{
    const std::string begin = GET + "X: ";
    const std::string end = "\r\n\r\n";
    return begin + std::string(length - begin.size() - end.size(), 'x') + end;
}

/// One whose first line has all of its bytes.
std::string firstLineOf(std::size_t length)
{
    return std::string(length - 4, 'x') + "\r\n\r\n";
}

} // namespace

TEST(MessageHead, ReadsUpToItsEmptyLine)
{
    const struct {
        std::string text;
        std::string read;
    } rows[] = {
        {GET + "\r\n", GET + "\r\n|"},
        {GET + "A: b\r\nC:\r\n\r\nbody", GET + "A: b\r\nC:\r\n\r\n|body"},
        {"\r\n\n" + GET + "\r\n" + GET, GET + "\r\n|" + GET},
        // a line feed alone ends a line as well
        {"GET / HTTP/1.1\nA: b\n\n\n", GET + "A: b\r\n\r\n|\n"},
        {GET + "A:\tb\t: =?c?=\r\n\r\n", GET + "A:\tb\t: =?c?=\r\n\r\n|"},
        {GET + "A: \x80\xFF\r\n\r\n", GET + "A: \x80\xFF\r\n\r\n|"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text);
        EXPECT_EQ(readAndLeave(row.text), row.read);
    }
}

TEST(MessageHead, TakesUpToItsLongestLength)
{
    for (const std::string& head : {headOf(MAX_HEAD_LENGTH), firstLineOf(MAX_HEAD_LENGTH)})
        EXPECT_TRUE(readAndLeave(head) == head + "|");
}

TEST(MessageHead, RefusesWhatAnotherReaderMayTakeForSomethingElse)
{
    const struct {
        std::string text;
        std::string message;
    } rows[] = {
        {GET + " A: b\r\n\r\n", "a header field is folded"},
        {GET + "A: b\r\n\tc\r\n\r\n", "a header field is folded"},
        {GET + "A\r\n\r\n", "a header field has no colon"},
        {GET + "A: b\rC: d\r\n\r\n", "a header field has a control character"},
        {GET + "A: b\r\r\n\r\n", "a header field has a control character"},
        {GET + std::string("A: \0\r\n\r\n", 8), "a header field has a control character"},
        {GET + "Content-Length: \v3\r\n\r\n", "a header field has a control character"},
        {GET + "Transfer-Encoding: chunked\x7F\r\n\r\n", "a header field has a control character"},
        {GET + "Content-Length: =?us-ascii?q?3?=\r\n\r\n", "an encoded word stands in Content-Length"},
        {GET + "transfer-encoding: =?us-ascii?q?chunked?=\r\n\r\n",
         "an encoded word stands in transfer-encoding"},
        {"GET\t/ HTTP/1.1\r\n\r\n", "the first line has a control character"},
        {"GET / HTTP/1.1\r\r\n\r\n", "the first line has a control character"},
        {"\r\n\r\n\r\n\r\n\r\n" + GET + "\r\n", "there are too many empty lines"},
        {headOf(MAX_HEAD_LENGTH + 1), "the head is longer than 65536 bytes"},
        {headOf(2 * MAX_HEAD_LENGTH), "the head is longer than 65536 bytes"},
        {firstLineOf(MAX_HEAD_LENGTH + 1), "the head is longer than 65536 bytes"},
        {std::string(MAX_HEAD_LENGTH + 1, 'x'), "the head is longer than 65536 bytes"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.text.substr(0, 100));
        try {
            readAndLeave(row.text);
            ADD_FAILURE() << "not refused";
        } catch (const Poco::Net::MessageException& failure) {
            EXPECT_EQ(failure.message(), row.message);
        }
    }
}

TEST(MessageHead, RefusesEveryHeadThatIsCutOff)
{
    const std::string whole = "\r\n" + GET + "A: b\r\n\r\n";
    for (std::size_t length = 1; length < whole.size(); ++length) {
        SCOPED_TRACE(length);
        try {
            readAndLeave(whole.substr(0, length));
            ADD_FAILURE() << "not refused";
        } catch (const Poco::Net::MessageException& failure) {
            EXPECT_EQ(failure.message(), "the head is incomplete");
        }
    }
    EXPECT_THROW(readAndLeave(""), Poco::Net::NoMessageException);
}

} // namespace Zovi::ServiceKit
