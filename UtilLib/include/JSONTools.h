#pragma once

#include "UtilLibExport.h"

#include <Poco/Dynamic/Var.h>
#include <Poco/JSON/Array.h>
#include <Poco/JSON/Object.h>

#include <string>

namespace Zovi::Util
{

/// Looks into JSON values without copying them.
///
/// An object or array is recognised whether a value holds it by pointer or by itself; a null pointer and an
/// empty value are neither. Any thread may call these; the values must not change meanwhile.
class KYRUTIL_API JSONTools
{
public:
    /// Parses `text`. True, with the object in `out`, if it is a JSON object; false, with `out` as it was,
    /// for anything else, an array included. Nesting deeper than 128 levels and numbers that fit neither a
    /// 64-bit integer nor a double are refused, too. Never throws.
    static bool parseJSONString(const std::string& text, Poco::JSON::Object::Ptr& out);

    /// True if `value` holds an object; then `*out`, unless `out` is null, points to it. The pointer is good
    /// as long as the value is not changed. Otherwise `*out` stays as it was.
    static bool testJsonObject(const Poco::Dynamic::Var& value, const Poco::JSON::Object** out = nullptr);

    /// The same for an array.
    static bool testJsonArray(const Poco::Dynamic::Var& value, const Poco::JSON::Array** out = nullptr);

    /// The object or array that `value` holds, a null pointer if it holds none.
    static const Poco::JSON::Object* extractJsonObject(const Poco::Dynamic::Var& value);
    static const Poco::JSON::Array* extractJsonArray(const Poco::Dynamic::Var& value);
};

} // namespace Zovi::Util
