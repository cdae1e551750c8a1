#include "Logging/LogStream.h"

#include <locale>
#include <string>

namespace Logging
{

namespace
{

const std::string_view CUT_MARK = "... [cut]";

bool isControl(unsigned char character)
{
    return (character < 0x20 && character != '\t') || character == 0x7F;
}

// UTF-8 writes the control characters from U+0080 to U+009F, among them a line end, in two bytes of which
// this is the first.
const unsigned char FIRST_OF_CONTROL = 0xC2;

bool isSecondOfControl(const std::string& text, unsigned char character)
{
    return character >= 0x80 && character <= 0x9F && !text.empty() &&
           static_cast<unsigned char>(text.back()) == FIRST_OF_CONTROL;
}

bool isContinuation(unsigned char character)
{
    return (character & 0xC0U) == 0x80U;
}

void appendEscaped(std::string& record, unsigned char character)
{
    static const char* const HEX_DIGITS = "0123456789ABCDEF";
    switch (character) {
    case '\n':
        record += "\\n";
        break;
    case '\r':
        record += "\\r";
        break;
    default:
        record += "\\x";
        record += HEX_DIGITS[character >> 4U];
        record += HEX_DIGITS[character & 0x0FU];
        break;
    }
}

} // namespace

/// Collects the text of one record. It never holds more than a record may have, whatever is written to it.
class LogStream::RecordBuffer : public std::streambuf
{
public:
    explicit RecordBuffer(Poco::LogStreamBuf& target)
        : m_target(target)
    {
    }

    void writeRecord()
    {
        if (!m_hasText)
            return;
        if (m_isCut)
            m_record += CUT_MARK;
        const Poco::Message message(m_target.logger().name(), m_record, m_target.getPriority());
        // Before the channel is called: if it throws, the record is not written again.
        clear();
        m_target.logger().log(message);
    }

protected:
    int_type overflow(int_type character) override
    {
        if (!traits_type::eq_int_type(character, traits_type::eof()))
            put(static_cast<unsigned char>(traits_type::to_char_type(character)));
        return traits_type::not_eof(character);
    }

    std::streamsize xsputn(const char* text, std::streamsize length) override
    {
        for (std::streamsize i = 0; i < length; ++i)
            put(static_cast<unsigned char>(text[i]));
        return length;
    }

    int sync() override
    {
        writeRecord();
        return 0;
    }

private:
    void clear()
    {
        m_record.clear();
        m_hasText = false;
        m_pendingLineFeed = false;
        m_isCut = false;
    }

    // The line feed that ends a statement is no part of the text: it is held back until more follows.
    void put(unsigned char character)
    {
        if (m_pendingLineFeed)
            append('\n');
        m_pendingLineFeed = character == '\n';
        m_hasText = true;
        if (!m_pendingLineFeed)
            append(character);
    }

    void append(unsigned char character)
    {
        if (m_isCut)
            return;
        const std::size_t length = m_record.size();
        if (isSecondOfControl(m_record, character)) {
            m_record.pop_back();
            appendEscaped(m_record, FIRST_OF_CONTROL);
            appendEscaped(m_record, character);
        } else if (isControl(character)) {
            appendEscaped(m_record, character);
        } else {
            m_record += static_cast<char>(character);
        }
        if (m_record.size() > MAX_RECORD_LENGTH)
            cut(length, character);
    }

    // Cuts before `character`, whose text began at `length`, and before the UTF-8 sequence that it belongs
    // to.
    void cut(std::size_t length, unsigned char character)
    {
        m_isCut = true;
        m_record.resize(length);
        for (int i = 0; i < 3 && isContinuation(character) && !m_record.empty(); ++i) {
            character = static_cast<unsigned char>(m_record.back());
            m_record.pop_back();
        }
    }

    Poco::LogStreamBuf& m_target;
    std::string m_record;
    bool m_hasText = false;
    bool m_pendingLineFeed = false;
    bool m_isCut = false;
};

LogStream::LogStream(Poco::Logger& logger, Poco::Message::Priority priority)
    : Poco::LogStream(logger, priority)
    , m_record(std::make_unique<RecordBuffer>(*Poco::LogIOS::rdbuf()))
{
    std::ostream::rdbuf(m_record.get());
    // A number in a record reads the same whatever language the service speaks.
    imbue(std::locale::classic());
}

LogStream::~LogStream()
{
    try {
        m_record->writeRecord();
    } catch (...) {
        // A log channel that fails must not end the program that logs.
    }
}

LogStream& LogStream::addDefaultOutput(std::string_view file, int line)
{
    const std::size_t slash = file.find_last_of('/');
    *this << (slash == std::string_view::npos ? file : file.substr(slash + 1)) << ':' << line << ": ";
    return *this;
}

} // namespace Logging
