#pragma once

#include <Poco/Channel.h>
#include <Poco/Message.h>

#include <string>
#include <vector>

namespace Zovi::Test
{

/// Catches what is logged while it lives; afterwards level and channel are what they were.
///
///     LogCapture log;
///     UrlPath::getCharacteristicLevel(unknown);
///     EXPECT_THAT(log.texts(), ElementsAre("Error: Invalid characteristics found. 99"));
class LogCapture
{
public:
    struct Record {
        Poco::Message::Priority priority;
        std::string text;   ///< what the statement wrote, without the source position
        std::string source; ///< base name of the source file that the record names
    };

    explicit LogCapture(int level = Poco::Message::PRIO_TRACE);
    ~LogCapture();

    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// The records so far, in order.
    std::vector<Record> records() const;

    /// The texts of the records so far, in order.
    std::vector<std::string> texts() const;

private:
    class RecordingChannel;
    Poco::AutoPtr<RecordingChannel> m_channel;
    Poco::Channel::Ptr m_previousChannel;
    int m_previousLevel;
};

} // namespace Zovi::Test
