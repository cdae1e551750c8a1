// Where the log lines of the library go, and how a service decides it.

#include <Command/RequestBase.h>
#include <Logging/Log.h>
#include <Logging/LogStream.h>

#include <Poco/Channel.h>
#include <Poco/ConsoleChannel.h>
#include <Poco/FormattingChannel.h>
#include <Poco/Message.h>
#include <Poco/PatternFormatter.h>

#include <iostream>
#include <string>

namespace
{

// [channel]
/// A channel of one's own: what is logged goes wherever `log` puts it.
class Sentences : public Poco::Channel
{
public:
    void log(const Poco::Message& message) override
    {
        std::cout << "priority " << message.getPriority() << " from " << message.getSource() << ": "
                  << message.getText() << '\n';
    }
};
// [/channel]

void set()
{
    // [set]
    Logging::Log::Logger().setChannel(new Sentences);
    Logging::Log::Logger().setLevel(Poco::Message::PRIO_DEBUG);
    // [/set]
}

void write()
{
    std::cout << "[write]\n";
    // [write]
    const std::string name = "boiler\nError: forged";
    ZOVI_LOG_ERROR("no such device: " << name);
    ZOVI_LOG_WARNING("only " << 3 << " devices answer");
    ZOVI_LOG_NOTICE("started");
    ZOVI_LOG_DEBUG("asking the devices");
    ZOVI_LOG_TRACE("this level is off, and nothing of this is evaluated");
    // [/write]
}

void ask()
{
    std::cout << "[ask]\n";
    // [ask]
    if (Logging::Log::IsLogLevelActive(Poco::Message::PRIO_TRACE))
        std::cout << "something that is worth computing for the log alone\n";
    else
        std::cout << "not computed\n";
    // [/ask]
}

void format()
{
    std::cout << "[format]\n" << std::flush;
    // [format]
    Poco::AutoPtr<Poco::PatternFormatter> pattern(new Poco::PatternFormatter("%q %s | %t"));
    Poco::AutoPtr<Poco::ConsoleChannel> console(new Poco::ConsoleChannel(std::cout));
    Logging::Log::Logger().setChannel(new Poco::FormattingChannel(pattern, console));
    ZOVI_LOG_NOTICE("started");
    // [/format]
}

} // namespace

int main()
{
    set();
    write();
    ask();
    format();
    return 0;
}
