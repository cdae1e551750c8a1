#pragma once

#include "Command/RequestBase.h"

namespace Zovi::Command::Namesakes
{

/// Adds a criterion of a class that is defined in another source file and whose run-time type name is also
/// that of a different class, in `RequestBaseTest.cpp`.
void addRenderNamesake(RequestBase& request);
void addSearchNamesake(RequestBase& request);

} // namespace Zovi::Command::Namesakes
