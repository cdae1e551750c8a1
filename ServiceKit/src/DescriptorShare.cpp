#include "DescriptorShare.h"

#include "Logging/LogStream.h"

#include <sys/resource.h>

#include <algorithm>
#include <limits>

namespace Zovi::ServiceKit
{

namespace
{

/// Parts of what may be open that go to one kind of connection, to those that wait for a thread, and to
/// files.
constexpr std::size_t KINDS = 4;
constexpr std::size_t QUEUES = 8;
constexpr std::size_t FILES = 8;

constexpr std::size_t MANY = std::numeric_limits<int>::max();

template <typename Count>
bool cut(Count& count, std::size_t share)
{
    if (static_cast<std::size_t>(count) <= share)
        return false;
    count = static_cast<Count>(share);
    return true;
}

} // namespace

std::size_t descriptorLimit()
{
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY)
        return MANY;
    return limit.rlim_cur;
}

int highestWaitingDescriptor(std::size_t descriptors)
{
    return static_cast<int>(std::min(descriptors - descriptors / FILES, MANY));
}

ServerOptions withinDescriptors(ServerOptions options, std::size_t descriptors)
{
    const std::size_t share = std::max<std::size_t>(descriptors / KINDS, 1);
    const bool isHttpCut = cut(options.maxConnections, share);
    const bool isLiveCut = cut(options.live.maxConnections, share);
    cut(options.maxQueuedConnections, std::max<std::size_t>(descriptors / QUEUES, 1));
    if (isHttpCut || isLiveCut)
        ZOVI_LOG_WARNING(
            "Only " << options.maxConnections << " connections and " << options.live.maxConnections
                    << " WebSockets are taken: the process may open only " << descriptors << " files");
    return options;
}

} // namespace Zovi::ServiceKit
