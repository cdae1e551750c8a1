#include "Timestamp.h"

#include <Poco/Timestamp.h>

namespace Zovi
{

Timestamp Timestamp::createTimestamp()
{
    return Timestamp(Poco::Timestamp().epochMicroseconds() / Poco::Timestamp::TimeDiff(1000));
}

Timestamp Timestamp::createTimestamp(std::int64_t milliseconds)
{
    return Timestamp(milliseconds);
}

} // namespace Zovi
