#pragma once

#include "FailingAllocations.h"

#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <set>
#include <string>

namespace Zovi::Test
{

/// Gives what came of it as a text.
using Operation = std::function<std::string()>;

/// What an operation gives in place of its result when it is to throw nothing.
using Promised = std::set<std::string>;

/// False if an exception has ended `operation` for want of memory.
inline bool isFulfilled(const Operation& operation, std::string& result)
{
    try {
        result = operation();
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

/// Runs `operation` with its first, second, ... allocation failing, until it needs no more. It ends in the
/// exception that says so, or as if nothing had failed, or in one of `promised`; `check` is asked after each
/// run.
inline void failEachAllocation(
    const Operation& operation, const std::function<void()>& check = [] {}, const Promised& promised = {})
{
    const std::string expected = operation();
    bool hasFailed = true;
    for (long number = 1; hasFailed; ++number) {
        SCOPED_TRACE("allocation " + std::to_string(number));
        std::string result;
        result.reserve(sizeof result); // so that it has a block of its own, before and after
        const long before = FailingAllocations::liveBlocks();
        FailingAllocations::arm(number);
        const bool hasResult = isFulfilled(operation, result);
        hasFailed = FailingAllocations::disarm();
        const long after = FailingAllocations::liveBlocks();
        ASSERT_EQ(after, before) << "blocks leaked";
        if (hasResult && promised.count(result) == 0) {
            ASSERT_EQ(result, expected);
        }
        check();
    }
}

} // namespace Zovi::Test
