#include "MessageBody.h"

#include <Poco/Ascii.h>
#include <Poco/Net/NetException.h>

#include <algorithm>
#include <string>

namespace Zovi::ServiceKit
{

namespace
{

constexpr int MAX_SIZE_DIGITS = 15;
constexpr int MAX_EXTENSION_LENGTH = 256;
constexpr int MAX_TRAILER_LENGTH = 8 * 1024;

[[noreturn]] void fail(const std::string& reason)
{
    throw Poco::Net::MessageException(reason);
}

unsigned hexadecimalValue(char digit)
{
    if (Poco::Ascii::isDigit(digit))
        return static_cast<unsigned>(digit - '0');
    return static_cast<unsigned>(Poco::Ascii::toLower(digit) - 'a') + 10;
}

} // namespace

ChunkedBody::ChunkedBody(std::streambuf& source)
    : m_source(source)
{
}

ChunkedBody::int_type ChunkedBody::underflow()
{
    if (m_left == 0 && !m_isComplete)
        beginChunk();
    if (m_isComplete)
        return traits_type::eof();
    const std::uint64_t wanted = std::min<std::uint64_t>(m_left, m_bytes.size());
    const std::streamsize count = m_source.sgetn(m_bytes.data(), static_cast<std::streamsize>(wanted));
    if (count <= 0)
        fail("a chunk is incomplete");
    m_left -= static_cast<std::uint64_t>(count);
    if (m_left == 0) {
        expect('\r');
        expect('\n');
    }
    setg(m_bytes.data(), m_bytes.data(), m_bytes.data() + count);
    return traits_type::to_int_type(m_bytes.front());
}

void ChunkedBody::beginChunk()
{
    readSize();
    if (m_left > 0)
        return;
    skipTrailers();
    m_isComplete = true;
}

void ChunkedBody::readSize()
{
    char character = readCharacter();
    if (!Poco::Ascii::isHexDigit(character))
        fail("a chunk has no size");
    for (int digits = 1; Poco::Ascii::isHexDigit(character); ++digits, character = readCharacter()) {
        if (digits > MAX_SIZE_DIGITS)
            fail("a chunk is too long");
        m_left = m_left * 16 + hexadecimalValue(character);
    }
    skipExtension(character);
}

void ChunkedBody::skipExtension(char character)
{
    if (character != '\r' && character != ';' && character != ' ' && character != '\t')
        fail("the size of a chunk is malformed");
    for (int length = 0; character != '\r'; ++length, character = readCharacter()) {
        if (length > MAX_EXTENSION_LENGTH || character == '\n')
            fail("the extension of a chunk is malformed");
    }
    expect('\n');
}

void ChunkedBody::skipTrailers()
{
    int length = 0;
    for (bool isLineEmpty = false; !isLineEmpty;) {
        isLineEmpty = true;
        for (char character = readCharacter(); character != '\r'; character = readCharacter()) {
            isLineEmpty = false;
            if (++length > MAX_TRAILER_LENGTH || character == '\n')
                fail("the trailers behind the chunks are malformed");
        }
        expect('\n');
    }
}

char ChunkedBody::readCharacter()
{
    const int_type character = m_source.sbumpc();
    if (traits_type::eq_int_type(character, traits_type::eof()))
        fail("a chunk is incomplete");
    return traits_type::to_char_type(character);
}

void ChunkedBody::expect(char character)
{
    if (readCharacter() != character)
        fail("a line of the chunks does not end as it must");
}

FixedLengthBody::FixedLengthBody(std::streambuf& source, std::uint64_t length)
    : m_source(source)
    , m_left(length)
{
}

FixedLengthBody::int_type FixedLengthBody::underflow()
{
    const std::uint64_t wanted = std::min<std::uint64_t>(m_left, m_bytes.size());
    const std::streamsize count =
        wanted > 0 ? m_source.sgetn(m_bytes.data(), static_cast<std::streamsize>(wanted)) : 0;
    if (count <= 0)
        return traits_type::eof();
    m_left -= static_cast<std::uint64_t>(count);
    setg(m_bytes.data(), m_bytes.data(), m_bytes.data() + count);
    return traits_type::to_int_type(m_bytes.front());
}

} // namespace Zovi::ServiceKit
