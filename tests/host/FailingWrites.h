#pragma once

namespace Zovi::Test
{

/// What is left of the files of a process that ends in the middle of a write.
enum class WriteEnd {
    BEFORE,         ///< the process is killed: all that was written before
    HALF,           ///< the process is killed: the first half of this write as well
    POWER_LOSS,     ///< the machine ends: what was synchronised before, nothing else
    ODD_POWER_LOSS, ///< the machine ends: every second write of those that were not synchronised as well
};

/// Ends this process at one of the writes to its files: the calls by which SQLite writes, cuts, removes and
/// synchronises are replaced in the program by those beside this.
namespace FailingWrites
{

/// From now on the process ends by SIGKILL at the write with this number, counted from 1.
void arm(long number, WriteEnd end);

/// How many writes there were since `arm`.
long count();

} // namespace FailingWrites

} // namespace Zovi::Test
