#include "RequestBody.h"

#include "HTTPEncoderDecoder.h"

#include <Poco/Exception.h>
#include <Poco/InflatingStream.h>

#include <algorithm>
#include <array>
#include <streambuf>
#include <string>

namespace Zovi::Net
{

namespace
{

/// One stage that a body passes on its way from the wire.
class ByteSource
{
public:
    virtual ~ByteSource() = default;

    /// Reads up to `size` bytes, at least one unless the end has been reached, which it may be asked for
    /// again.
    virtual std::size_t read(char* buffer, std::size_t size) = 0;
};

/// The bytes as they come in. It reads the stream's buffer directly: the stream itself would turn an
/// exception of the connection into what looks like the end.
class WireSource : public ByteSource
{
public:
    WireSource(std::istream& source, std::optional<std::uint64_t> declaredLength)
        : m_source(source)
        , m_declaredLength(declaredLength)
    {
    }

    std::size_t read(char* buffer, std::size_t size) override
    {
        if (m_source.bad())
            throw Poco::IOException("The body cannot be read");
        const std::size_t length = m_source.good() ? readBuffer(buffer, size) : 0;
        m_length += length;
        if (length == 0 && m_declaredLength && m_length < *m_declaredLength)
            throw Poco::DataFormatException("The body ends before its declared length");
        return length;
    }

private:
    // Past its end the buffer must not be read again: behind a chunked body stands the next request.
    std::size_t readBuffer(char* buffer, std::size_t size)
    {
        const auto wanted = static_cast<std::streamsize>(size);
        const std::streamsize length = m_source.rdbuf()->sgetn(buffer, wanted);
        if (length < wanted)
            m_source.setstate(std::ios_base::eofbit);
        return static_cast<std::size_t>(length);
    }

    std::istream& m_source;
    std::optional<std::uint64_t> m_declaredLength;
    std::uint64_t m_length = 0;
};

/// Poco's decoder, asked directly for its next bytes, whose exceptions therefore pass.
class Inflater : public Poco::InflatingStreamBuf
{
public:
    using Poco::InflatingStreamBuf::InflatingStreamBuf;

    std::size_t inflate(char* buffer, std::size_t size)
    {
        return static_cast<std::size_t>(readFromDevice(buffer, static_cast<std::streamsize>(size)));
    }
};

/// A piece of coded bytes that the decoder takes its input from.
class Piece : public std::streambuf
{
public:
    void hold(char* bytes, std::size_t length) { setg(bytes, bytes, bytes + length); }
    bool isEmpty() const { return gptr() == egptr(); }
};

/// Undoes gzip or deflate, and makes sure that the coded data end where the body ends.
///
/// The decoder does not tell whether its data were complete or whether bytes were left over. It does show
/// whether it still asks for input. So the last byte of the body is held back until the end of the body is
/// known: a decoder that does not take it has ended too early, and one that asks for more after it has been
/// cut off.
class InflatingSource : public ByteSource
{
public:
    InflatingSource(std::unique_ptr<ByteSource> source, ContentCoding coding, bool mayBeAbsent)
        : m_source(std::move(source))
        , m_name(codingName(coding))
        , m_mayBeAbsent(mayBeAbsent)
        , m_input(&m_piece)
        , m_inflater(m_input, coding == ContentCoding::GZIP ? Poco::InflatingStreamBuf::STREAM_GZIP
                                                            : Poco::InflatingStreamBuf::STREAM_ZLIB)
    {
    }

    std::size_t read(char* buffer, std::size_t size) override
    {
        for (;;) {
            const bool hasInput = offerInput();
            if (!hasInput && m_mayBeAbsent)
                return 0;
            m_mayBeAbsent = false;
            const std::size_t length = inflate(buffer, size, hasInput);
            if (length > 0)
                return length;
            if (!hasAskedForInput())
                return endOfData();
            if (!hasInput)
                failAtEnd();
        }
    }

private:
    // Smaller than what the decoder asks for at a time, so that it always sees the end of a piece.
    static constexpr std::size_t PIECE_SIZE = 16 * 1024;

    // False if the body is used up.
    bool offerInput()
    {
        m_input.clear();
        if (!m_piece.isEmpty())
            return true;
        std::size_t length = 0;
        std::size_t added = 0;
        do {
            if (m_heldBack)
                m_bytes[length++] = *m_heldBack;
            m_heldBack.reset();
            added = m_source->read(m_bytes.data() + length, m_bytes.size() - length);
            length += added;
            if (added > 0)
                m_heldBack = m_bytes[--length];
        } while (length == 0 && added > 0);
        m_piece.hold(m_bytes.data(), length);
        return length > 0;
    }

    bool hasAskedForInput() const { return !m_input.good(); }

    // The decoder meets a cut with an exception or without one, by the state that it is in.
    std::size_t inflate(char* buffer, std::size_t size, bool hasInput)
    {
        try {
            return m_inflater.inflate(buffer, size);
        } catch (const Poco::IOException& failure) {
            if (!hasInput && hasAskedForInput())
                failAtEnd();
            fail("is damaged (" + failure.message() + ")");
        }
    }

    std::size_t endOfData() const
    {
        if (!m_piece.isEmpty() || m_heldBack)
            fail("is followed by other data");
        return 0;
    }

    [[noreturn]] void failAtEnd() const { fail("ends early"); }

    [[noreturn]] void fail(const std::string& fault) const
    {
        throw Poco::DataFormatException("The " + m_name + " body " + fault);
    }

    std::unique_ptr<ByteSource> m_source;
    std::string m_name;
    bool m_mayBeAbsent;
    std::array<char, PIECE_SIZE> m_bytes;
    std::optional<char> m_heldBack;
    Piece m_piece;
    std::istream m_input;
    Inflater m_inflater;
};

/// Lets no more than a number of bytes pass.
class LimitedSource : public ByteSource
{
public:
    LimitedSource(std::unique_ptr<ByteSource> source, std::uint64_t limit)
        : m_source(std::move(source))
        , m_limit(limit)
        , m_left(limit)
    {
    }

    std::size_t read(char* buffer, std::size_t size) override
    {
        // One byte more than is left tells a body that ends at the limit from one that goes past it.
        if (m_left < size)
            size = static_cast<std::size_t>(m_left) + 1;
        const std::size_t length = m_source->read(buffer, size);
        if (length > m_left)
            throw ContentTooLargeException("The body is larger than " + std::to_string(m_limit) + " bytes");
        m_left -= length;
        return length;
    }

private:
    std::unique_ptr<ByteSource> m_source;
    std::uint64_t m_limit;
    std::uint64_t m_left;
};

class SourceBuf : public std::streambuf
{
public:
    explicit SourceBuf(std::unique_ptr<ByteSource> source)
        : m_source(std::move(source))
    {
    }

protected:
    int_type underflow() override
    {
        const std::size_t length = m_source->read(m_bytes.data(), m_bytes.size());
        setg(m_bytes.data(), m_bytes.data(), m_bytes.data() + length);
        return length == 0 ? traits_type::eof() : traits_type::to_int_type(m_bytes.front());
    }

private:
    std::unique_ptr<ByteSource> m_source;
    std::array<char, 8 * 1024> m_bytes;
};

class SourceStream : public std::istream
{
public:
    explicit SourceStream(std::unique_ptr<ByteSource> source)
        : std::istream(nullptr)
        , m_buffer(std::move(source))
    {
        rdbuf(&m_buffer);
        // Lets what the buffer throws reach the reader.
        exceptions(std::ios_base::badbit);
    }

private:
    SourceBuf m_buffer;
};

} // namespace

std::unique_ptr<std::istream> openRequestBody(std::istream& source, const RequestBodyRules& rules)
{
    std::unique_ptr<ByteSource> body = std::make_unique<WireSource>(source, rules.declaredLength);
    if (rules.coding != ContentCoding::IDENTITY)
        body = std::make_unique<InflatingSource>(std::move(body), rules.coding, rules.mayBeAbsent);
    if (rules.limit > 0)
        body = std::make_unique<LimitedSource>(std::move(body), rules.limit);
    return std::make_unique<SourceStream>(std::move(body));
}

} // namespace Zovi::Net
