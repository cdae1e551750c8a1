// A text from outside in the log, as often as it likes: one statement makes one record, on one line, of
// bounded length; what is not cut is written as it is, but for its control characters.

#include "Logging/LogStream.h"

#include "Law.h"
#include "LogCapture.h"

#include <fuzzer/FuzzedDataProvider.h>

using Zovi::Fuzz::require;
using Zovi::Fuzz::requireEqual;

namespace
{

const std::string CUT_MARK = "... [cut]";

bool isSecondOfControl(unsigned char character)
{
    return character >= 0x80 && character <= 0x9F;
}

/// UTF-8 has control characters of one byte and of two.
bool isEscaped(const std::string& text, std::size_t place)
{
    const auto at = [&text](std::size_t index) {
        return index < text.size() ? static_cast<unsigned char>(text[index]) : static_cast<unsigned char>(0);
    };
    const unsigned char character = at(place);
    if ((character < 0x20 && character != '\t') || character == 0x7F)
        return true;
    if (character == 0xC2)
        return isSecondOfControl(at(place + 1));
    return isSecondOfControl(character) && place > 0 && at(place - 1) == 0xC2;
}

std::string escape(char character)
{
    if (character == '\n')
        return "\\n";
    if (character == '\r')
        return "\\r";
    static const char* const DIGITS = "0123456789ABCDEF";
    const auto byte = static_cast<unsigned char>(character);
    return std::string("\\x") + DIGITS[byte >> 4U] + DIGITS[byte & 15U];
}

std::string plainRecord(const std::string& text)
{
    std::string record;
    for (std::size_t i = 0; i < text.size(); ++i)
        record += isEscaped(text, i) ? escape(text[i]) : std::string(1, text[i]);
    return record;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    const auto times = input.ConsumeIntegralInRange<std::size_t>(1, 40);
    const std::string piece = input.ConsumeRemainingBytesAsString();
    std::string text;
    while (text.size() < times * piece.size())
        text += piece;

    const Zovi::Test::LogCapture log;
    ZOVI_LOG_NOTICE(text);
    const std::vector<std::string> texts = log.texts();
    require(texts.size() == 1, "one statement makes one record");
    const std::string& record = texts.front();
    require(record.size() <= Logging::LogStream::MAX_RECORD_LENGTH + CUT_MARK.size(), "a record is bounded");
    for (std::size_t i = 0; i < record.size(); ++i)
        require(!isEscaped(record, i), "no control character reaches the log");
    if (record.size() < Logging::LogStream::MAX_RECORD_LENGTH - 100)
        requireEqual(record.substr(record.find(' ') + 1), plainRecord(text), "a record is what was written");
    return 0;
}
