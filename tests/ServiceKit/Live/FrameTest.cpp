#include "Live/Frame.h"

#include "ClientFrames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Zovi::ServiceKit
{

using Test::clientClose;
using Test::ClientFrame;
using Test::clientText;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace
{

constexpr std::size_t MAX_LENGTH = 1000;

/// What a reader makes of `bytes`, a line for each event; it stops behind a close or a failure.
std::vector<std::string> readAll(const std::string& bytes, std::size_t pieceLength = std::string::npos)
{
    std::vector<std::string> lines;
    FrameReader reader(MAX_LENGTH);
    for (std::size_t i = 0; i < bytes.size(); i += std::min(pieceLength, bytes.size() - i)) {
        std::string_view input = std::string_view(bytes).substr(i, pieceLength);
        while (const std::optional<FrameEvent> event = reader.read(input)) {
            switch (event->kind) {
            case FrameEvent::Kind::TEXT:
                lines.push_back("text " + event->payload);
                break;
            case FrameEvent::Kind::PING:
                lines.push_back("ping " + event->payload);
                break;
            case FrameEvent::Kind::PONG:
                lines.push_back("pong " + event->payload);
                break;
            case FrameEvent::Kind::CLOSE:
                lines.push_back("close " + std::to_string(event->code));
                return lines;
            case FrameEvent::Kind::FAILURE:
                lines.push_back("failure " + std::to_string(event->code));
                return lines;
            }
        }
    }
    return lines;
}

std::string frame(unsigned char opcode, const std::string& payload, bool isFinal = true)
{
    return ClientFrame{opcode, payload, isFinal}.bytes();
}

constexpr bool NOT_FINAL = false;

} // namespace

TEST(Frame, WritesTheShortestLength)
{
    const struct {
        std::size_t length;
        std::string head;
    } rows[] = {
        {0, std::string("\x81\x00", 2)},
        {125, "\x81\x7D"},
        {126, std::string("\x81\x7E\x00\x7E", 4)},
        {65535, "\x81\x7E\xFF\xFF"},
        {65536, std::string("\x81\x7F\x00\x00\x00\x00\x00\x01\x00\x00", 10)},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.length);
        const std::string payload(row.length, 'x');
        EXPECT_EQ(makeFrame(Opcode::TEXT, payload), row.head + payload);
    }
}

TEST(Frame, WritesControlFrames)
{
    EXPECT_EQ(makeFrame(Opcode::PING, ""), std::string("\x89\x00", 2));
    EXPECT_EQ(makeFrame(Opcode::PONG, "abc"), "\x8A\x03"
                                              "abc");
    EXPECT_EQ(makeCloseFrame(1001), "\x88\x02\x03\xE9");
}

TEST(Frame, TellsWhichCloseCodesMayBeSent)
{
    const struct {
        std::uint16_t first;
        std::uint16_t last;
        bool isSendable;
    } rows[] = {
        {0, 999, false},     {1000, 1003, true}, {1004, 1006, false},       {1007, 1014, true},
        {1015, 2999, false}, {3000, 4999, true}, {5000, UINT16_MAX, false},
    };
    for (const auto& row : rows) {
        for (unsigned int code = row.first; code <= row.last; ++code)
            EXPECT_EQ(isSendableCloseCode(static_cast<std::uint16_t>(code)), row.isSendable) << code;
    }
}

TEST(FrameReader, ReadsMessagesOfEveryLength)
{
    for (const std::size_t length : {0, 1, 125, 126, 127, 999, 1000}) {
        SCOPED_TRACE(length);
        const std::string text(length, 'x');
        EXPECT_THAT(readAll(clientText(text)), ElementsAre("text " + text));
    }
}

TEST(FrameReader, ReadsWhatComesInAnyPieces)
{
    const std::string bytes = frame(0x1, "gr\xC3", NOT_FINAL) + frame(0x9, "?") +
                              frame(0x0, "\xBC\xC3\x9F", true) + clientText("second") + frame(0xA, "!") +
                              clientClose(3000, "enough");
    for (std::size_t length = 1; length <= bytes.size(); ++length) {
        SCOPED_TRACE(length);
        EXPECT_THAT(readAll(bytes, length),
                    ElementsAre("ping ?", "text gr\xC3\xBC\xC3\x9F", "text second", "pong !", "close 3000"));
    }
}

TEST(FrameReader, JoinsFragmentsEmptyOnesIncluded)
{
    EXPECT_THAT(readAll(frame(0x1, "", NOT_FINAL) + frame(0x0, "a", NOT_FINAL) + frame(0x0, "", NOT_FINAL) +
                        frame(0x0, "b", NOT_FINAL) + frame(0x0, "")),
                ElementsAre("text ab"));
}

TEST(FrameReader, TakesAHundredThousandFragments)
{
    std::string bytes = frame(0x1, "", NOT_FINAL);
    for (int i = 0; i < 100'000; ++i)
        bytes += frame(0x0, i % 200 == 0 ? "x" : "", NOT_FINAL);
    EXPECT_THAT(readAll(bytes + frame(0x0, "")), ElementsAre("text " + std::string(500, 'x')));
}

TEST(FrameReader, TakesControlFramesUpToTheirLimit)
{
    const std::string longest(125, 'x');
    EXPECT_THAT(readAll(frame(0x9, "") + frame(0x9, longest) + frame(0xA, longest)),
                ElementsAre("ping ", "ping " + longest, "pong " + longest));
}

TEST(FrameReader, WaitsForTheRestOfAFrame)
{
    const std::string bytes = clientText("abc");
    for (std::size_t length = 0; length < bytes.size(); ++length)
        EXPECT_THAT(readAll(bytes.substr(0, length)), IsEmpty()) << length;
}

TEST(FrameReader, RefusesFramesThatBreakTheProtocol)
{
    const struct {
        const char* what;
        std::string bytes;
    } rows[] = {
        {"unmasked", ClientFrame{0x1, "x", true, false}.bytes()},
        {"unmasked and empty", ClientFrame{0x1, "", true, false}.bytes()},
        {"unmasked ping", ClientFrame{0x9, "", true, false}.bytes()},
        {"reserved bit 1", ClientFrame{0x1, "x", true, true, 4}.bytes()},
        {"reserved bit 2", ClientFrame{0x1, "x", true, true, 2}.bytes()},
        {"reserved bit 3", ClientFrame{0x1, "x", true, true, 1}.bytes()},
        {"reserved bit of a ping", ClientFrame{0x9, "", true, true, 4}.bytes()},
        {"short length in two bytes", ClientFrame{0x1, "x", true, true, 0, 2}.bytes()},
        {"125 in two bytes", ClientFrame{0x1, std::string(125, 'x'), true, true, 0, 2}.bytes()},
        {"short length in eight bytes", ClientFrame{0x1, "x", true, true, 0, 8}.bytes()},
        {"126 in eight bytes", ClientFrame{0x1, std::string(126, 'x'), true, true, 0, 8}.bytes()},
        {"ping in fragments", frame(0x9, "", NOT_FINAL)},
        {"close in fragments", frame(0x8, "", NOT_FINAL)},
        {"long ping", frame(0x9, std::string(126, 'x'))},
        {"long close", clientClose(1000, std::string(124, 'x'))},
        {"continuation of nothing", frame(0x0, "x")},
        {"continuation behind the end", clientText("x") + frame(0x0, "x")},
        {"message within a message", frame(0x1, "x", NOT_FINAL) + clientText("y")},
        {"binary message within a message", frame(0x1, "x", NOT_FINAL) + frame(0x2, "y")},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        const std::vector<std::string> lines = readAll(row.bytes);
        ASSERT_FALSE(lines.empty());
        EXPECT_EQ(lines.back(), "failure 1002");
    }
}

TEST(FrameReader, RefusesUnknownOpcodes)
{
    for (const int opcode : {0x3, 0x4, 0x5, 0x6, 0x7, 0xB, 0xC, 0xD, 0xE, 0xF})
        EXPECT_THAT(readAll(frame(static_cast<unsigned char>(opcode), "")), ElementsAre("failure 1002"))
            << opcode;
}

TEST(FrameReader, RefusesBinaryMessages)
{
    EXPECT_THAT(readAll(frame(0x2, "x")), ElementsAre("failure 1003"));
    EXPECT_THAT(readAll(frame(0x2, "", NOT_FINAL)), ElementsAre("failure 1003"));
}

TEST(FrameReader, RefusesLongMessagesBeforeTheyCome)
{
    const std::string noMask(4, '\0');
    const struct {
        const char* what;
        std::string bytes;
    } rows[] = {
        {"one more than allowed", ClientFrame{}.head(1001) + noMask},
        {"2^31 - 1", ClientFrame{}.head(0x7FFFFFFF) + noMask},
        {"2^63", ClientFrame{}.head(0x8000000000000000) + noMask},
        {"2^64 - 1", ClientFrame{}.head(0xFFFFFFFFFFFFFFFF) + noMask},
        {"fragments together",
         frame(0x1, std::string(600, 'x'), NOT_FINAL) + ClientFrame{0x0}.head(401) + noMask},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_THAT(readAll(row.bytes), ElementsAre("failure 1009"));
    }
}

TEST(FrameReader, CountsEachMessageByItself)
{
    const std::string text(1000, 'x');
    EXPECT_THAT(readAll(clientText(text) + clientText(text)), ElementsAre("text " + text, "text " + text));
}

TEST(FrameReader, RefusesTextThatIsNoUtf8)
{
    const struct {
        const char* what;
        std::string bytes;
    } rows[] = {
        {"stray byte", clientText("a\x80")},
        {"overlong", clientText("\xC0\xAF")},
        {"surrogate", clientText("\xED\xA0\x80")},
        {"too big", clientText("\xF4\x90\x80\x80")},
        {"cut at the end", clientText("\xE2\x82")},
        {"cut at the end of the last fragment", frame(0x1, "\xE2", NOT_FINAL) + frame(0x0, "\x82")},
        {"wrong in the next fragment", frame(0x1, "\xE2\x82", NOT_FINAL) + frame(0x0, "a")},
        {"a fragment before the end", frame(0x1, "\xFF", NOT_FINAL)},
        {"the reason of a close", clientClose(1000, "\xFF")},
        {"the cut reason of a close", clientClose(1000, "\xC3")},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.what);
        EXPECT_THAT(readAll(row.bytes), ElementsAre("failure 1007"));
    }
}

TEST(FrameReader, BeginsEachMessageWithAnewCheckOfItsText)
{
    EXPECT_THAT(readAll(clientText("\xC3\xBC") + clientText("\xC3\xBC")),
                ElementsAre("text \xC3\xBC", "text \xC3\xBC"));
}

TEST(FrameReader, TellsTheCodeOfAClose)
{
    EXPECT_THAT(readAll(frame(0x8, "")), ElementsAre("close 1000"));
    for (const int code : {1000, 1001, 1002, 1003, 1007, 1008, 1009, 1010, 1011, 3000, 3999, 4000, 4999})
        EXPECT_THAT(readAll(clientClose(static_cast<std::uint16_t>(code), "bye")),
                    ElementsAre("close " + std::to_string(code)));
}

TEST(FrameReader, RefusesClosesThatMakeNoSense)
{
    EXPECT_THAT(readAll(frame(0x8, "x")), ElementsAre("failure 1002"));
    for (const int code : {0, 999, 1004, 1005, 1006, 1015, 1016, 1100, 2000, 2999, 5000, 65535})
        EXPECT_THAT(readAll(clientClose(static_cast<std::uint16_t>(code))), ElementsAre("failure 1002"))
            << code;
}

TEST(FrameReader, LeavesWhatFollowsAnEvent)
{
    const std::string bytes = clientText("a") + clientText("b");
    std::string_view input = bytes;
    FrameReader reader(MAX_LENGTH);
    EXPECT_EQ(reader.read(input)->payload, "a");
    EXPECT_EQ(input, clientText("b"));
}

} // namespace Zovi::ServiceKit
