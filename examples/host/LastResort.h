#pragma once

#include <chrono>

namespace Zovi::Host
{

/// Ends the process with exit code 0 when `time` is over, unless it has ended until then: a thread that waits
/// for a file which never comes cannot be told to stop. Nothing is cleaned up then; what must survive is on
/// the disk.
void endProcessAfter(std::chrono::milliseconds time);

} // namespace Zovi::Host
