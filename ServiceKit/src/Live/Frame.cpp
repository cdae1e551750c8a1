#include "Live/Frame.h"

#include <algorithm>
#include <utility>

namespace Zovi::ServiceKit
{

namespace
{

constexpr unsigned char FINAL_BIT = 0x80;
constexpr unsigned char RESERVED_BITS = 0x70;
constexpr unsigned char OPCODE_BITS = 0x0F;
constexpr unsigned char MASK_BIT = 0x80;
constexpr unsigned char LENGTH_BITS = 0x7F;

constexpr std::size_t MAX_SHORT_LENGTH = 125;
constexpr unsigned char LENGTH_IN_2_BYTES = 126;
constexpr unsigned char LENGTH_IN_8_BYTES = 127;

constexpr std::size_t FIXED_LENGTH = 2;
constexpr std::size_t MASK_LENGTH = 4;

FrameEvent failure(CloseCode code)
{
    return {FrameEvent::Kind::FAILURE, {}, static_cast<std::uint16_t>(code)};
}

bool isKnown(Opcode opcode)
{
    switch (opcode) {
    case Opcode::CONTINUATION:
    case Opcode::TEXT:
    case Opcode::BINARY:
    case Opcode::CLOSE:
    case Opcode::PING:
    case Opcode::PONG:
        return true;
    }
    return false;
}

std::size_t extendedLengthSize(unsigned char shortLength)
{
    if (shortLength == LENGTH_IN_8_BYTES)
        return 8;
    return shortLength == LENGTH_IN_2_BYTES ? 2 : 0;
}

void appendBigEndian(std::string& bytes, std::uint64_t number, std::size_t size)
{
    while (size-- > 0)
        bytes += static_cast<char>(number >> (8 * size) & 0xFF);
}

std::uint16_t closeCodeOf(std::string_view payload)
{
    return static_cast<std::uint16_t>(static_cast<unsigned char>(payload[0]) << 8 |
                                      static_cast<unsigned char>(payload[1]));
}

FrameEvent readClose(std::string_view payload)
{
    if (payload.empty())
        return {FrameEvent::Kind::CLOSE, {}, static_cast<std::uint16_t>(CloseCode::NORMAL)};
    if (payload.size() < 2 || !isSendableCloseCode(closeCodeOf(payload)))
        return failure(CloseCode::PROTOCOL_ERROR);
    Utf8Validator reason;
    reason.accept(payload.substr(2));
    if (!reason.isComplete())
        return failure(CloseCode::INVALID_PAYLOAD);
    return {FrameEvent::Kind::CLOSE, {}, closeCodeOf(payload)};
}

} // namespace

bool isSendableCloseCode(std::uint16_t code)
{
    // Between them stand the codes that only tell a program of its own side, and those that nobody has
    // given a meaning.
    static constexpr std::pair<std::uint16_t, std::uint16_t> RANGES[] = {
        {1000, 1003}, {1007, 1014}, {3000, 4999}};
    return std::any_of(std::begin(RANGES), std::end(RANGES),
                       [code](const auto& range) { return code >= range.first && code <= range.second; });
}

std::string makeFrame(Opcode opcode, std::string_view payload)
{
    const bool isShort = payload.size() <= MAX_SHORT_LENGTH;
    const bool isLong = payload.size() > UINT16_MAX;
    std::string frame;
    frame.reserve(payload.size() + MAX_SHORT_LENGTH);
    frame += static_cast<char>(FINAL_BIT | static_cast<unsigned char>(opcode));
    if (isShort)
        frame += static_cast<char>(payload.size());
    else
        frame += static_cast<char>(isLong ? LENGTH_IN_8_BYTES : LENGTH_IN_2_BYTES);
    appendBigEndian(frame, payload.size(), isShort ? 0 : isLong ? 8 : 2);
    frame += payload;
    return frame;
}

std::string makeCloseFrame(std::uint16_t code)
{
    std::string payload;
    appendBigEndian(payload, code, 2);
    return makeFrame(Opcode::CLOSE, payload);
}

FrameReader::FrameReader(std::size_t maxMessageLength)
    : m_maxMessageLength(maxMessageLength)
{
}

std::optional<FrameEvent> FrameReader::read(std::string_view& input)
{
    while (!input.empty()) {
        std::optional<FrameEvent> event = m_isInPayload ? readPayload(input) : readHeader(input);
        if (event)
            return event;
    }
    return std::nullopt;
}

std::optional<FrameEvent> FrameReader::readHeader(std::string_view& input)
{
    m_header[m_headerSize++] = static_cast<unsigned char>(input.front());
    input.remove_prefix(1);
    if (m_headerSize < FIXED_LENGTH || m_headerSize < headerLength())
        return std::nullopt;
    return beginFrame();
}

std::size_t FrameReader::headerLength() const
{
    return FIXED_LENGTH + extendedLengthSize(m_header[1] & LENGTH_BITS) +
           ((m_header[1] & MASK_BIT) != 0 ? MASK_LENGTH : 0);
}

std::uint64_t FrameReader::declaredLength() const
{
    const unsigned char shortLength = m_header[1] & LENGTH_BITS;
    const std::size_t size = extendedLengthSize(shortLength);
    std::uint64_t length = size == 0 ? shortLength : 0;
    for (std::size_t i = 0; i < size; ++i)
        length = length << 8 | m_header[FIXED_LENGTH + i];
    return length;
}

bool FrameReader::isControl() const
{
    return m_opcode >= Opcode::CLOSE;
}

std::optional<FrameEvent> FrameReader::beginFrame()
{
    m_opcode = static_cast<Opcode>(m_header[0] & OPCODE_BITS);
    m_isFinal = (m_header[0] & FINAL_BIT) != 0;
    m_left = declaredLength();
    m_maskPosition = 0;
    const bool isMasked = (m_header[1] & MASK_BIT) != 0;
    const std::size_t lengthSize = extendedLengthSize(m_header[1] & LENGTH_BITS);
    const bool isShortest = lengthSize == 0 || m_left > (lengthSize == 2 ? MAX_SHORT_LENGTH : UINT16_MAX);
    if ((m_header[0] & RESERVED_BITS) != 0 || !isKnown(m_opcode) || !isMasked || !isShortest)
        return failure(CloseCode::PROTOCOL_ERROR);
    if (isControl() && (!m_isFinal || m_left > MAX_SHORT_LENGTH))
        return failure(CloseCode::PROTOCOL_ERROR);
    if (!isControl()) {
        if (std::optional<FrameEvent> refusal = beginData())
            return refusal;
    }
    m_isInPayload = true;
    return m_left == 0 ? endFrame() : std::nullopt;
}

std::optional<FrameEvent> FrameReader::beginData()
{
    if (m_isInMessage != (m_opcode == Opcode::CONTINUATION))
        return failure(CloseCode::PROTOCOL_ERROR);
    if (m_opcode == Opcode::BINARY)
        return failure(CloseCode::UNSUPPORTED_DATA);
    if (m_left > m_maxMessageLength - m_message.size())
        return failure(CloseCode::MESSAGE_TOO_BIG);
    m_isInMessage = true;
    return std::nullopt;
}

std::optional<FrameEvent> FrameReader::readPayload(std::string_view& input)
{
    const auto length = static_cast<std::size_t>(std::min<std::uint64_t>(m_left, input.size()));
    const std::string bytes = unmask(input.substr(0, length));
    input.remove_prefix(length);
    m_left -= length;
    if (isControl())
        m_control += bytes;
    else if (m_validator.accept(bytes))
        m_message += bytes;
    else
        return failure(CloseCode::INVALID_PAYLOAD);
    return m_left == 0 ? endFrame() : std::nullopt;
}

std::string FrameReader::unmask(std::string_view bytes)
{
    const unsigned char* mask = &m_header[headerLength() - MASK_LENGTH];
    std::string plain(bytes);
    for (char& character : plain)
        character = static_cast<char>(static_cast<unsigned char>(character) ^ mask[m_maskPosition++ % 4]);
    return plain;
}

std::optional<FrameEvent> FrameReader::endFrame()
{
    m_isInPayload = false;
    m_headerSize = 0;
    if (isControl())
        return endControl();
    if (!m_isFinal)
        return std::nullopt;
    if (!m_validator.isComplete())
        return failure(CloseCode::INVALID_PAYLOAD);
    m_isInMessage = false;
    m_validator = {};
    return FrameEvent{FrameEvent::Kind::TEXT, std::exchange(m_message, {})};
}

FrameEvent FrameReader::endControl()
{
    std::string payload = std::exchange(m_control, {});
    if (m_opcode == Opcode::CLOSE)
        return readClose(payload);
    return {m_opcode == Opcode::PING ? FrameEvent::Kind::PING : FrameEvent::Kind::PONG, std::move(payload)};
}

} // namespace Zovi::ServiceKit
