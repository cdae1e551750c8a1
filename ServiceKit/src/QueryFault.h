#pragma once

#include <Poco/JSON/Array.h>
#include <Poco/URI.h>

#include <string>

namespace Zovi::ServiceKit
{

/// What is wrong with the query of `uri`, a condemned one: it names the parameter at fault, found by trying
/// each one alone, and what would be expected of it.
std::string describeQueryFault(const Poco::URI& uri);

/// The same for a query that compiles, but whose search takes too much effort on `array`.
std::string describeSearchFault(const Poco::URI& uri, const Poco::JSON::Array& array);

} // namespace Zovi::ServiceKit
