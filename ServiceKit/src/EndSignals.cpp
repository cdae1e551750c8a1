#include "ServiceKit/EndSignals.h"

#include <csignal>

namespace Zovi::ServiceKit
{

namespace
{

sigset_t endSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

} // namespace

EndSignals::EndSignals()
{
    const sigset_t signals = endSignals();
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::signal(SIGPIPE, SIG_IGN);
}

void EndSignals::wait() const
{
    const sigset_t signals = endSignals();
    int signal = 0;
    while (sigwait(&signals, &signal) != 0) {
    }
}

} // namespace Zovi::ServiceKit
