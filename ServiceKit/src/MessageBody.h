#pragma once

#include <array>
#include <cstdint>
#include <streambuf>

namespace Zovi::ServiceKit
{

/// The body of a message in chunks, read from the connection behind it.
///
/// It takes nothing for a body that is not one: a malformed or incomplete chunk throws
/// `Poco::Net::MessageException` out of the reading operation, in place of an end that looks like the real
/// one. Extensions of chunks and trailers are read and dropped. It reads not one byte beyond the body.
class ChunkedBody : public std::streambuf
{
public:
    /// `source` must outlive it.
    explicit ChunkedBody(std::streambuf& source);

    /// Whether the body has been read to its end.
    bool isComplete() const { return m_isComplete; }

protected:
    int_type underflow() override;

private:
    void beginChunk();
    void readSize();
    void skipExtension(char character);
    void skipTrailers();
    char readCharacter();
    void expect(char character);

    std::streambuf& m_source;
    std::uint64_t m_left = 0;
    bool m_isComplete = false;
    std::array<char, 4096> m_bytes{};
};

/// The body of a message with a declared length. It ends early if the connection does: `isComplete` tells.
class FixedLengthBody : public std::streambuf
{
public:
    /// `source` must outlive it.
    FixedLengthBody(std::streambuf& source, std::uint64_t length);

    /// Whether the body has been read to its end.
    bool isComplete() const { return m_left == 0; }

protected:
    int_type underflow() override;

private:
    std::streambuf& m_source;
    std::uint64_t m_left;
    std::array<char, 4096> m_bytes{};
};

} // namespace Zovi::ServiceKit
