#pragma once

#include "UtilLibExport.h"

#include <Poco/Logger.h>

namespace Logging
{

/// Access to the one logger that all libraries of this family write to.
///
/// Out of the box the level is notice and lines go to the standard error stream. A service changes both
/// through Poco's own interface:
///
///     Logging::Log::Logger().setLevel(Poco::Message::PRIO_DEBUG);
///     Logging::Log::Logger().setChannel(myChannel);
///
/// Level and channel that the service gave to `Poco::Logger::root()` before the first use here are taken
/// over, as Poco does for any new logger. No other configuration exists.
class KYRUTIL_API Log
{
public:
    /// The logger named "Zovi", made at the first call. It lives to the end of the process.
    /// Any thread may call this.
    static Poco::Logger& Logger();

    /// True if a record of `priority`, a value of `Poco::Message::Priority`, would be written now.
    /// Costs one comparison; any thread may call this.
    static bool IsLogLevelActive(int priority);
};

} // namespace Logging
