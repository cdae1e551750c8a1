#pragma once

#include <Poco/JSON/Array.h>
#include <Poco/JSON/Object.h>

namespace Zovi::ServiceKit
{

/// Makes `object` one that every reader of JSON understands, whatever its values come from: numbers that JSON
/// does not have, infinite ones and those that are none, are left out, and each byte of a text that is no
/// part of valid UTF-8 becomes U+FFFD. So are the objects and arrays in it. What needs no change is not
/// written to.
void makePrintable(Poco::JSON::Object& object);

/// The same of the elements of an array.
void makePrintable(Poco::JSON::Array& array);

} // namespace Zovi::ServiceKit
