#pragma once

#include "Utf8.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace Zovi::ServiceKit
{

/// What a frame of a WebSocket carries.
enum class Opcode : std::uint8_t {
    CONTINUATION = 0x0,
    TEXT = 0x1,
    BINARY = 0x2,
    CLOSE = 0x8,
    PING = 0x9,
    PONG = 0xA,
};

/// Why a WebSocket is closed, as a close frame tells it.
enum class CloseCode : std::uint16_t {
    NORMAL = 1000,
    GOING_AWAY = 1001,
    PROTOCOL_ERROR = 1002,
    UNSUPPORTED_DATA = 1003,
    INVALID_PAYLOAD = 1007,
    MESSAGE_TOO_BIG = 1009,
    INTERNAL_ERROR = 1011,
};

/// Whether a close frame may carry `code`.
bool isSendableCloseCode(std::uint16_t code);

/// A whole frame as a server sends it: in one piece and not masked.
std::string makeFrame(Opcode opcode, std::string_view payload);

/// A close frame without a reason in words.
std::string makeCloseFrame(std::uint16_t code);

/// What a client has said with one frame, or with a message of several.
struct FrameEvent {
    enum class Kind {
        TEXT,    ///< a whole message: `payload` is valid UTF-8
        PING,    ///< to be answered with `payload`
        PONG,    ///< an answer to a ping
        CLOSE,   ///< `code` is that of the client, NORMAL if it told none
        FAILURE, ///< not to be understood; the connection is to be closed with `code`
    };

    Kind kind;
    std::string payload;
    std::uint16_t code = 0;
};

/// Reads what a client sends: frames that come in any pieces, messages that come in any number of frames,
/// control frames in between.
///
/// It keeps no more than one message up to its limit. What cannot be right is refused at the first byte that
/// shows it.
class FrameReader
{
public:
    /// Refuses messages of more than `maxMessageLength` bytes, before they have come.
    explicit FrameReader(std::size_t maxMessageLength);

    /// Takes bytes from the front of `input` up to the end of the next event; nothing if more bytes are
    /// needed, and then `input` is used up. Not to be called any more after a close or a failure.
    std::optional<FrameEvent> read(std::string_view& input);

private:
    static constexpr std::size_t MAX_HEADER_LENGTH = 14;

    std::optional<FrameEvent> readHeader(std::string_view& input);
    std::optional<FrameEvent> beginFrame();
    std::optional<FrameEvent> beginData();
    std::optional<FrameEvent> readPayload(std::string_view& input);
    std::optional<FrameEvent> endFrame();
    FrameEvent endControl();
    std::size_t headerLength() const;
    std::uint64_t declaredLength() const;
    bool isControl() const;
    std::string unmask(std::string_view bytes);

    std::size_t m_maxMessageLength;

    std::array<unsigned char, MAX_HEADER_LENGTH> m_header{};
    std::size_t m_headerSize = 0; ///< bytes of the header that have come
    bool m_isInPayload = false;

    Opcode m_opcode = Opcode::TEXT;
    bool m_isFinal = true;
    std::uint64_t m_left = 0; ///< bytes of the payload that have not come
    std::size_t m_maskPosition = 0;
    std::string m_control;

    bool m_isInMessage = false;
    std::string m_message;
    Utf8Validator m_validator;
};

} // namespace Zovi::ServiceKit
