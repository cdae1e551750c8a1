#pragma once

#include "StateFolder.h"

namespace Zovi::Host
{

/// Tells the service manager that started this program that it is ready, by a datagram to `$NOTIFY_SOCKET`, a
/// path or, behind "@", an abstract name. False if nobody wants to know or can be told, which is no reason to
/// end.
bool tellServiceManagerReady(const Environment& environment);

} // namespace Zovi::Host
