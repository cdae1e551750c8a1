#pragma once

#include <Poco/URI.h>

#include <string>

namespace Zovi::ServiceKit
{

/// What is wrong with the query of `uri`, a condemned one: it names the parameter at fault, found by trying
/// each one alone, and what would be expected of it.
std::string describeQueryFault(const Poco::URI& uri);

} // namespace Zovi::ServiceKit
