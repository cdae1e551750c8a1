#include "Logging/Log.h"

#include <Poco/ConsoleChannel.h>

#include <iostream>

namespace Logging
{

namespace
{

const char* const LOGGER_NAME = "Zovi";

Poco::Channel::Ptr standardErrorChannel()
{
    return new Poco::ConsoleChannel(std::cerr);
}

// A logger that the service has made itself, or a root that it has configured, is respected; only a
// logger that nobody has given a channel gets the default one.
Poco::Logger::Ptr findOrCreateLogger()
{
    if (Poco::Logger::Ptr existing = Poco::Logger::has(LOGGER_NAME)) {
        if (!existing->getChannel())
            existing->setChannel(standardErrorChannel());
        return existing;
    }
    if (Poco::Logger::root().getChannel())
        return Poco::Logger::Ptr(&Poco::Logger::get(LOGGER_NAME), true);
    return Poco::Logger::Ptr(
        &Poco::Logger::create(LOGGER_NAME, standardErrorChannel(), Poco::Message::PRIO_NOTICE), true);
}

} // namespace

Poco::Logger& Log::Logger()
{
    // The reference that is never given back keeps the logger alive through Poco::Logger::shutdown() and
    // through the destructors of static objects, which may log.
    static Poco::Logger& logger = *findOrCreateLogger().duplicate();
    return logger;
}

bool Log::IsLogLevelActive(int priority)
{
    return Logger().is(priority);
}

} // namespace Logging
