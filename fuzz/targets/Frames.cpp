// What comes over a WebSocket: however the bytes are cut into pieces, the same is read from them; texts are
// UTF-8 and no longer than allowed; the reader never holds more than a message may have; what it has read
// reads back equal when it is sent again in fragments.

#include "Live/Frame.h"

#include "ClientFrames.h"
#include "Law.h"

#include <Poco/UTF8Encoding.h>

#include <fuzzer/FuzzedDataProvider.h>
#include <sanitizer/allocator_interface.h>

#include <optional>
#include <string>
#include <string_view>

using Zovi::Fuzz::require;
using Zovi::Fuzz::requireEqual;
using Zovi::ServiceKit::FrameEvent;
using Zovi::ServiceKit::FrameReader;
using Zovi::Test::ClientFrame;

namespace
{

constexpr std::size_t MAX_CONTROL_LENGTH = 125;

bool isUtf8(const std::string& text)
{
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    const auto* const end = bytes + text.size();
    while (bytes < end) {
        const auto isLead = [bytes](unsigned char mask, unsigned char value) {
            return (*bytes & mask) == value;
        };
        const int length = isLead(0x80, 0) ? 1 : isLead(0xE0, 0xC0) ? 2 : isLead(0xF0, 0xE0) ? 3 : 4;
        if (end - bytes < length || !Poco::UTF8Encoding::isLegal(bytes, length))
            return false;
        bytes += length;
    }
    return true;
}

bool isRefusal(std::uint16_t code)
{
    return code == 1002 || code == 1003 || code == 1007 || code == 1009;
}

void checkEvent(const FrameEvent& event, std::size_t maxMessageLength)
{
    switch (event.kind) {
    case FrameEvent::Kind::TEXT:
        require(event.payload.size() <= maxMessageLength, "no text is longer than allowed");
        require(isUtf8(event.payload), "every text is UTF-8");
        break;
    case FrameEvent::Kind::PING:
    case FrameEvent::Kind::PONG:
        require(event.payload.size() <= MAX_CONTROL_LENGTH, "no control frame is longer than they may be");
        break;
    case FrameEvent::Kind::CLOSE:
        require(Zovi::ServiceKit::isSendableCloseCode(event.code), "a close has a code that may be sent");
        break;
    case FrameEvent::Kind::FAILURE:
        require(isRefusal(event.code), "a refusal has a code that tells why");
        break;
    }
}

bool isEnd(const FrameEvent& event)
{
    return event.kind == FrameEvent::Kind::CLOSE || event.kind == FrameEvent::Kind::FAILURE;
}

std::string describe(const FrameEvent& event)
{
    return std::to_string(static_cast<int>(event.kind)) + " " + std::to_string(event.code) + " " +
           event.payload + "\n";
}

/// All that a reader tells of `bytes` when `nextLength` of them come at a time.
template <typename NextLength>
std::string readInPieces(std::string_view bytes, std::size_t maxMessageLength, NextLength nextLength)
{
    std::string events;
    FrameReader reader(maxMessageLength);
    while (!bytes.empty()) {
        std::string_view input = bytes.substr(0, nextLength());
        bytes.remove_prefix(input.size());
        while (const std::optional<FrameEvent> event = reader.read(input)) {
            checkEvent(*event, maxMessageLength);
            events += describe(*event);
            if (isEnd(*event))
                return events;
        }
        require(input.empty(), "all is taken when there is no more to tell");
    }
    return events;
}

void checkPieces(const std::string& bytes, std::size_t maxMessageLength, FuzzedDataProvider& cuts)
{
    const std::string whole = readInPieces(bytes, maxMessageLength, [&bytes] { return bytes.size(); });
    requireEqual(readInPieces(bytes, maxMessageLength, [] { return std::size_t{1}; }), whole,
                 "single bytes tell the same");
    requireEqual(readInPieces(bytes, maxMessageLength,
                              [&cuts] { return cuts.ConsumeIntegralInRange<std::size_t>(1, 200); }),
                 whole, "pieces tell the same");
}

/// A string may have twice the room that it needs.
void checkMemory(std::string_view input, std::size_t maxMessageLength)
{
    const std::size_t before = __sanitizer_get_current_allocated_bytes();
    FrameReader reader(maxMessageLength);
    while (!input.empty()) {
        std::string_view piece = input.substr(0, 1);
        input.remove_prefix(1);
        const std::optional<FrameEvent> event = reader.read(piece);
        if (event && isEnd(*event))
            return;
        require(event || __sanitizer_get_current_allocated_bytes() <=
                             before + 2 * (maxMessageLength + MAX_CONTROL_LENGTH) + 256,
                "no more is held than one message");
    }
}

void checkFragments(const std::string& text, FuzzedDataProvider& cuts)
{
    std::string bytes;
    std::size_t begin = 0;
    do {
        const std::size_t length = cuts.ConsumeIntegralInRange<std::size_t>(0, 300);
        const bool isLast = length == 0 || begin + length >= text.size();
        bytes += ClientFrame{static_cast<unsigned char>(begin == 0 ? 1 : 0),
                             text.substr(begin, isLast ? text.size() : length), isLast}
                     .bytes();
        begin = isLast ? text.size() : begin + length;
    } while (begin < text.size());
    requireEqual(readInPieces(bytes, text.size(), [] { return std::size_t{64}; }),
                 isUtf8(text) ? describe({FrameEvent::Kind::TEXT, text})
                              : describe({FrameEvent::Kind::FAILURE, {}, 1007}),
                 "what is sent in fragments is read as a whole");
}

void checkControl(const std::string& text)
{
    const std::string bytes = ClientFrame{9, text.substr(0, MAX_CONTROL_LENGTH), false}.bytes();
    requireEqual(readInPieces(bytes, text.size(), [] { return std::size_t{64}; }),
                 describe({FrameEvent::Kind::FAILURE, {}, 1002}), "no control frame comes in fragments");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    const std::size_t maxMessageLength = input.ConsumeIntegralInRange<std::size_t>(0, 2000);
    const std::string text = input.ConsumeRandomLengthString(500);
    const std::string cutting = input.ConsumeRandomLengthString(32);
    FuzzedDataProvider cuts(reinterpret_cast<const std::uint8_t*>(cutting.data()), cutting.size());
    const std::string bytes = input.ConsumeRemainingBytesAsString();
    checkPieces(bytes, maxMessageLength, cuts);
    checkMemory(bytes, maxMessageLength);
    checkFragments(text, cuts);
    checkControl(text);
    return 0;
}
