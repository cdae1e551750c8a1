#pragma once

namespace Zovi::Test
{

/// Lets one allocation of this thread fail: the operators new of the program are replaced by those beside
/// this.
///
///     FailingAllocations::arm(3);           // the third allocation from now throws std::bad_alloc
///     operation();
///     FailingAllocations::disarm();
namespace FailingAllocations
{

/// From now on the allocation with this number, counted from 1, throws `std::bad_alloc`; those behind it do
/// not.
void arm(long number);

/// No allocation fails any more. False if fewer were made than the number that was armed.
bool disarm();

/// How many blocks of all threads are allocated and not freed.
long liveBlocks();

} // namespace FailingAllocations

} // namespace Zovi::Test
