#include "MessageHead.h"

#include <Poco/Net/HTTPMessage.h>
#include <Poco/Net/NetException.h>
#include <Poco/String.h>

#include <algorithm>
#include <string_view>

namespace Zovi::ServiceKit
{

namespace
{

using Poco::Net::HTTPMessage;
using Traits = std::streambuf::traits_type;

constexpr int MAX_EMPTY_LINES = 4;

[[noreturn]] void fail(const std::string& reason)
{
    throw Poco::Net::MessageException(reason);
}

bool isControl(char character)
{
    return static_cast<unsigned char>(character) < 0x20 || character == 0x7F;
}

bool isBlank(char character)
{
    return character == ' ' || character == '\t';
}

[[noreturn]] void failOfLength()
{
    fail("the head is longer than " + std::to_string(MAX_HEAD_LENGTH) + " bytes");
}

/// How long a line may be behind `length` bytes of a head: its end and the empty line have to follow.
std::size_t roomBehind(std::size_t length)
{
    constexpr std::size_t ENDS = 4;
    return MAX_HEAD_LENGTH - std::min(MAX_HEAD_LENGTH, length + ENDS);
}

/// A line without its end. It may have `maxLength` bytes.
std::string readLine(std::streambuf& source, std::size_t maxLength)
{
    std::string line;
    for (auto next = source.sbumpc(); Traits::to_char_type(next) != '\n'; next = source.sbumpc()) {
        if (Traits::eq_int_type(next, Traits::eof()))
            fail("the head is incomplete");
        if (line.size() > maxLength) // the last one may be a carriage return
            failOfLength();
        line += Traits::to_char_type(next);
    }
    if (!line.empty() && line.back() == '\r')
        line.pop_back();
    if (line.size() > maxLength)
        failOfLength();
    return line;
}

std::string readFirstLine(std::streambuf& source)
{
    if (Traits::eq_int_type(source.sgetc(), Traits::eof()))
        throw Poco::Net::NoMessageException();
    for (int count = 0; count <= MAX_EMPTY_LINES; ++count) {
        std::string line = readLine(source, roomBehind(0));
        if (!line.empty())
            return line;
    }
    fail("there are too many empty lines");
}

void checkFirstLine(const std::string& line)
{
    if (std::any_of(line.begin(), line.end(), isControl))
        fail("the first line has a control character");
}

/// What says where the body ends.
bool isFraming(const std::string& name)
{
    return Poco::icompare(name, HTTPMessage::CONTENT_LENGTH) == 0 ||
           Poco::icompare(name, HTTPMessage::TRANSFER_ENCODING) == 0;
}

void checkField(const std::string& line)
{
    if (isBlank(line.front()))
        fail("a header field is folded");
    const std::size_t colon = line.find(':');
    if (colon == std::string::npos)
        fail("a header field has no colon");
    if (std::any_of(line.begin(), line.end(), [](char c) { return isControl(c) && c != '\t'; }))
        fail("a header field has a control character");
    const std::string name = line.substr(0, colon);
    if (isFraming(name) && line.find("=?", colon) != std::string::npos)
        fail("an encoded word stands in " + name);
}

} // namespace

std::string readHead(std::streambuf& source)
{
    std::string line = readFirstLine(source);
    checkFirstLine(line);
    std::string head;
    while (!line.empty()) {
        head += line + "\r\n";
        line = readLine(source, roomBehind(head.size()));
        if (!line.empty())
            checkField(line);
    }
    return head + "\r\n";
}

} // namespace Zovi::ServiceKit
