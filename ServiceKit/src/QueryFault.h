#pragma once

#include <Poco/Exception.h>
#include <Poco/URI.h>

#include <string>

namespace Zovi::ServiceKit
{

/// What is wrong with the query of `uri`, a condemned one: it names the parameter at fault, found by trying
/// each one alone, and what would be expected of it.
std::string describeQueryFault(const Poco::URI& uri);

/// The same for a query that compiles, but whose evaluation ended in `exception`, as a search does that takes
/// too much effort.
std::string describeSearchFault(const Poco::URI& uri, const Poco::RegularExpressionException& exception);

} // namespace Zovi::ServiceKit
