#include "Logging/LogStream.h"

#include "LogCapture.h"

#include <Poco/Channel.h>
#include <Poco/Exception.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <locale>
#include <string>

namespace Logging
{
namespace
{

using testing::ElementsAre;
using testing::EndsWith;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;
using Zovi::Test::LogCapture;

const std::string CUT_MARK = "... [cut]";

// The text of the one record that writing `text` makes.
std::string logged(const std::string& text)
{
    const LogCapture log;
    {
        LogStream stream(Log::Logger(), Poco::Message::PRIO_ERROR);
        stream << text << std::endl;
    }
    const auto records = log.records();
    EXPECT_THAT(records, SizeIs(1));
    return records.empty() ? "" : log.texts().front();
}

// The same without a source position, so that nothing is taken off the text.
std::string loggedWhole(const std::string& text)
{
    return logged("file.cpp:1: " + text);
}

class FailingChannel : public Poco::Channel
{
public:
    void log(const Poco::Message&) override
    {
        ++calls;
        throw Poco::IOException("disk full");
    }

    int calls = 0;
};

struct ChangesNumbers : std::numpunct<char> {
    char do_thousands_sep() const override { return '\''; }
    std::string do_grouping() const override { return "\3"; }
};

TEST(LogStream, WritesARecordWithItsPriorityAndPosition)
{
    const LogCapture log;
    LogStream stream(Log::Logger(), Poco::Message::PRIO_WARNING);
    stream.addDefaultOutput("/some/where/Source.cpp", 4711) << "text " << 7 << std::endl;
    ASSERT_THAT(log.records(), SizeIs(1));
    EXPECT_EQ(log.records()[0].priority, Poco::Message::PRIO_WARNING);
    EXPECT_EQ(log.records()[0].source, "Source.cpp");
    EXPECT_EQ(log.records()[0].text, "text 7");
}

TEST(LogStream, GivesItselfAfterThePosition)
{
    const LogCapture log;
    LogStream stream(Log::Logger(), Poco::Message::PRIO_ERROR);
    EXPECT_EQ(&stream.addDefaultOutput("Source.cpp", 1), &stream);
}

TEST(LogStream, MakesOneRecordOfEachFlushedText)
{
    const LogCapture log;
    LogStream stream(Log::Logger(), Poco::Message::PRIO_ERROR);
    stream << "a:1: one" << std::endl << "a:1: two\n" << std::flush << std::flush;
    EXPECT_THAT(log.texts(), ElementsAre("one", "two"));
}

TEST(LogStream, WritesWhatIsLeftWhenItIsDestroyed)
{
    const LogCapture log;
    {
        LogStream stream(Log::Logger(), Poco::Message::PRIO_ERROR);
        stream << "a:1: left";
        EXPECT_THAT(log.texts(), IsEmpty());
    }
    EXPECT_THAT(log.texts(), ElementsAre("left"));
}

TEST(LogStream, WritesNothingAtAllWithoutText)
{
    const LogCapture log;
    {
        LogStream stream(Log::Logger(), Poco::Message::PRIO_ERROR);
        stream << std::flush;
    }
    EXPECT_THAT(log.texts(), IsEmpty());
}

TEST(LogStream, EscapesControlCharacters)
{
    struct Row {
        std::string text;
        std::string record;
    };
    const Row rows[] = {
        {"a\nb", "a\\nb"},
        {"a\r\nb", "a\\r\\nb"},
        {"a\n\nb", "a\\n\\nb"},
        {"\nb", "\\nb"},
        {std::string("a\0b", 3), "a\\x00b"},
        {"\x1B[31mred", "\\x1B[31mred"},
        {"a\x7F", "a\\x7F"},
        {"a\x1F", "a\\x1F"},
        {"a\tb", "a\tb"},
        // control characters beyond ASCII: next line and the one-character form of ESC [
        {"a\xC2\x85"
         "b",
         "a\\xC2\\x85b"},
        {"\xC2\x9B"
         "31m",
         "\\xC2\\x9B31m"},
        // neighbours that are none
        {"\xC2\xA0", "\xC2\xA0"},
        {"\xC3\x85", "\xC3\x85"},
        {"\xE2\x82\xAC", "\xE2\x82\xAC"},
        {"a\\nb", "a\\nb"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.record);
        EXPECT_EQ(loggedWhole(row.text), row.record);
    }
}

TEST(LogStream, LetsNobodyForgeALine)
{
    const std::string forged = "x\r\nhost.cpp:1: Error: forged";
    EXPECT_EQ(loggedWhole(forged), "x\\r\\nhost.cpp:1: Error: forged");
}

TEST(LogStream, KeepsARecordOfTheGreatestLength)
{
    const std::string text(LogStream::MAX_RECORD_LENGTH, 'x');
    EXPECT_EQ(logged(text), text);
}

TEST(LogStream, CutsALongerRecordAndSaysSo)
{
    const std::string longest(LogStream::MAX_RECORD_LENGTH, 'x');
    EXPECT_EQ(logged(longest + "y"), longest + CUT_MARK);
    EXPECT_EQ(logged(longest + std::string(10 * 1024 * 1024, 'y')), longest + CUT_MARK);
}

TEST(LogStream, CountsTheLengthAfterEscaping)
{
    const std::string record = logged(std::string(LogStream::MAX_RECORD_LENGTH, '\x01'));
    EXPECT_THAT(record, SizeIs(LogStream::MAX_RECORD_LENGTH + CUT_MARK.size()));
    EXPECT_THAT(record, StartsWith("\\x01\\x01"));
    EXPECT_THAT(record, EndsWith("\\x01" + CUT_MARK));
}

TEST(LogStream, CutsNoCharacterInTwo)
{
    for (const std::string character : {"\xC3\xA4", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "\xC2\x85"}) {
        for (std::size_t room = 0; room < character.size(); ++room) {
            const std::string before(LogStream::MAX_RECORD_LENGTH - room, 'x');
            EXPECT_EQ(logged(before + character + "rest"), before + CUT_MARK)
                << character << " with " << room;
        }
    }
}

TEST(LogStream, BeginsTheNextRecordAnew)
{
    const LogCapture log;
    LogStream stream(Log::Logger(), Poco::Message::PRIO_ERROR);
    stream << std::string(20000, 'x') << std::endl << "a:1: next" << std::endl;
    ASSERT_THAT(log.texts(), SizeIs(2));
    EXPECT_EQ(log.texts()[1], "next");
}

TEST(LogStream, WritesNumbersTheSameInEveryLocale)
{
    const std::locale previous = std::locale::global(std::locale(std::locale(), new ChangesNumbers));
    const LogCapture log;
    ZOVI_LOG_ERROR(1234567);
    std::locale::global(previous);
    EXPECT_THAT(log.texts(), ElementsAre("Error: 1234567"));
}

TEST(LogStream, LetsNoFailureOfTheChannelReachTheStatement)
{
    const LogCapture restoresTheChannel;
    Poco::AutoPtr<FailingChannel> channel = new FailingChannel;
    Log::Logger().setChannel(channel);
    EXPECT_NO_THROW(ZOVI_LOG_ERROR("text"));
    EXPECT_EQ(channel->calls, 1);
    EXPECT_NO_THROW(LogStream(Log::Logger(), Poco::Message::PRIO_ERROR) << "left");
    EXPECT_EQ(channel->calls, 2);
}

TEST(LogStream, PrefixesEachLevel)
{
    const LogCapture log;
    ZOVI_LOG_ERROR("text");
    ZOVI_LOG_WARNING("text " << 1);
    ZOVI_LOG_NOTICE("text");
    ZOVI_LOG_DEBUG("text");
    ZOVI_LOG_TRACE("text");
    EXPECT_THAT(log.texts(),
                ElementsAre("Error: text", "Warning: text 1", "Notice: text", "Debug: text", "Trace: text"));
    const Poco::Message::Priority priorities[] = {Poco::Message::PRIO_ERROR, Poco::Message::PRIO_WARNING,
                                                  Poco::Message::PRIO_NOTICE, Poco::Message::PRIO_DEBUG,
                                                  Poco::Message::PRIO_TRACE};
    for (std::size_t i = 0; i < log.records().size(); ++i) {
        EXPECT_EQ(log.records()[i].priority, priorities[i]);
        EXPECT_EQ(log.records()[i].source, "LogStreamTest.cpp");
    }
}

TEST(LogStream, EvaluatesNothingWhenTheLevelIsOff)
{
    const LogCapture log(Poco::Message::PRIO_ERROR);
    int evaluated = 0;
    ZOVI_LOG_WARNING(++evaluated);
    EXPECT_EQ(evaluated, 0);
    ZOVI_LOG_ERROR(++evaluated);
    EXPECT_EQ(evaluated, 1);
}

} // namespace
} // namespace Logging
