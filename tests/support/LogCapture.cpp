#include "LogCapture.h"

#include <Logging/Log.h>

#include <Poco/Mutex.h>

namespace Zovi::Test
{

class LogCapture::RecordingChannel : public Poco::Channel
{
public:
    void log(const Poco::Message& message) override
    {
        const std::string& line = message.getText();
        const std::size_t fileEnd = line.find(':');
        const std::size_t positionEnd = line.find(": ");
        Record record{message.getPriority(), line, ""};
        if (positionEnd != std::string::npos && fileEnd < positionEnd) {
            record.text = line.substr(positionEnd + 2);
            record.source = line.substr(0, fileEnd);
        }
        Poco::FastMutex::ScopedLock lock(m_mutex);
        m_records.push_back(record);
    }

    std::vector<Record> records()
    {
        Poco::FastMutex::ScopedLock lock(m_mutex);
        return m_records;
    }

private:
    Poco::FastMutex m_mutex;
    std::vector<Record> m_records;
};

LogCapture::LogCapture(int level)
    : m_channel(new RecordingChannel)
    , m_previousChannel(Logging::Log::Logger().getChannel())
    , m_previousLevel(Logging::Log::Logger().getLevel())
{
    Logging::Log::Logger().setChannel(m_channel);
    Logging::Log::Logger().setLevel(level);
}

LogCapture::~LogCapture()
{
    Logging::Log::Logger().setLevel(m_previousLevel);
    Logging::Log::Logger().setChannel(m_previousChannel);
}

std::vector<LogCapture::Record> LogCapture::records() const
{
    return const_cast<RecordingChannel&>(*m_channel).records();
}

std::vector<std::string> LogCapture::texts() const
{
    std::vector<std::string> result;
    for (const Record& record : records())
        result.push_back(record.text);
    return result;
}

} // namespace Zovi::Test
