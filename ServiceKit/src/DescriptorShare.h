#pragma once

#include "ServiceKit/HttpServer.h"

#include <cstddef>

namespace Zovi::ServiceKit
{

/// How many files and sockets this process may have open at once.
std::size_t descriptorLimit();

/// The highest descriptor that a connection without a whole request may have where `descriptors` may be open.
int highestWaitingDescriptor(std::size_t descriptors);

/// `options` with no more connections of each kind than leave a process that may open `descriptors` enough of
/// them for the others, and for the files that its resources read. A warning in the log tells of what is cut.
ServerOptions withinDescriptors(ServerOptions options, std::size_t descriptors);

} // namespace Zovi::ServiceKit
