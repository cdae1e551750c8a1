#pragma once

#include <functional>
#include <string>

namespace Zovi::Test
{

/// What became of a check in a process of its own.
struct OwnNetworkOutcome {
    enum Kind {
        RAN,       ///< the check ran; `text` is what it gave, empty if all was well
        REFUSED,   ///< the machine does not allow a network of one's own; `text` says what it refused
        BROKEN_OFF ///< the process ended in any other way; `text` says how
    };
    Kind kind;
    std::string text;
};

enum class Loopback { UP, DOWN };

/// Runs `check` in a child process whose network nobody else uses: no service of the machine listens there,
/// every port is free, and the loopback interface is as told. The parent must have no other threads.
///
///     const OwnNetworkOutcome outcome = runInOwnNetwork(Loopback::UP, [] {
///         return connectsTo("::1", 80) ? "somebody listens" : "";
///     });
OwnNetworkOutcome runInOwnNetwork(Loopback loopback, const std::function<std::string()>& check);

} // namespace Zovi::Test
