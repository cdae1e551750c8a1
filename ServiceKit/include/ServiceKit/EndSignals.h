#pragma once

namespace Zovi::ServiceKit
{

/// Lets a program wait for SIGINT and SIGTERM, and end as it wants to:
///
///     const EndSignals signals;
///     server.start();
///     signals.wait();
///     server.stop();
///
/// It is made before any thread begins, since threads inherit what it changes: the two signals are held back
/// from then on, also before `wait` is called, and SIGPIPE is ignored, so that writing to a client that has
/// left fails and does not end the program. Nothing is undone at the end of its life.
class EndSignals
{
public:
    EndSignals();

    /// Returns when one of the two signals has come.
    void wait() const;
};

} // namespace Zovi::ServiceKit
