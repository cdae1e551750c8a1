#pragma once

#include "UtilLibExport.h"

#include <cstdint>

namespace Zovi
{

/// A point in time, counted in milliseconds of the Unix epoch, UTC. A plain value.
class KYRUTIL_API Timestamp
{
public:
    /// A number of milliseconds.
    using timestamp_t = std::int64_t;

    /// The current time.
    static Timestamp createTimestamp();

    /// The time `milliseconds` after the epoch, before it if negative.
    static Timestamp createTimestamp(std::int64_t milliseconds);

    /// Milliseconds since the epoch.
    timestamp_t asMilliseconds() const { return m_milliseconds; }

private:
    explicit Timestamp(timestamp_t milliseconds)
        : m_milliseconds(milliseconds)
    {
    }

    timestamp_t m_milliseconds;
};

} // namespace Zovi
