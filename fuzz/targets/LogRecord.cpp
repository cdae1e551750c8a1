// A text from outside in the log: one statement makes one record, on one line, of bounded length.

#include "Logging/LogStream.h"

#include "Law.h"
#include "LogCapture.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    using Zovi::Fuzz::require;
    const Zovi::Test::LogCapture log;
    ZOVI_LOG_NOTICE(Zovi::Fuzz::textOf(data, size));
    const std::vector<std::string> texts = log.texts();
    require(texts.size() == 1, "one statement makes one record");
    require(texts.front().size() <= Logging::LogStream::MAX_RECORD_LENGTH + 64, "a record is bounded");
    for (const char character : texts.front())
        require(static_cast<unsigned char>(character) >= 0x20 || character == '\t',
                "no control character reaches the log");
    return 0;
}
