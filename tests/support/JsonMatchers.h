#pragma once

#include <Poco/Dynamic/Var.h>
#include <Poco/JSON/Array.h>
#include <Poco/JSON/Object.h>

#include <gmock/gmock.h>

#include <string>

namespace Zovi::Test
{

/// What `text` parses to; throws what Poco's parser throws.
Poco::Dynamic::Var parseJson(const std::string& text);

/// The compact text of `object`.
std::string compact(const Poco::JSON::Object& object);
std::string compact(const Poco::JSON::Object::Ptr& object);
std::string compact(const Poco::JSON::Array& array);
std::string compact(const Poco::JSON::Array::Ptr& array);

/// Empty if both texts are the same JSON, else the first path at which they differ with both values.
std::string firstJsonDifference(const std::string& actual, const std::string& expected);

/// Matches a text that is the same JSON as `expected`, whatever its key order and blanks. A failure shows the
/// first path that differs and both values.
MATCHER_P(IsJson, expected, "is the JSON " + std::string(expected))
{
    const std::string difference = firstJsonDifference(arg, expected);
    *result_listener << difference;
    return difference.empty();
}

} // namespace Zovi::Test
