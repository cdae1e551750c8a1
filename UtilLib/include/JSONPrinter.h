#pragma once

#include <Poco/JSON/Array.h>
#include <Poco/JSON/Object.h>

#include <iosfwd>
#include <string>

namespace Zovi::Util
{

/// Writes JSON documents as compact text: on one line, without a blank.
///
///     {"id":7,"items":[1,"a\"b",null],"name":"eth0"}
///
/// The text is byte for byte that of `stringify(out, 0, -1)` of the document, for whatever a value holds:
/// members in the order of the document, insertion order included, nested values whether they are held by
/// pointer or by themselves, Unicode escaped as the document that is printed says. It is written several
/// times as fast, and the document is only read, so that threads may print documents that share values.
///
/// Throws what `stringify` throws, for instance `Poco::NullPointerException` for a null pointer among the
/// values; what stands before that value has then been written.
class JSONPrinter
{
public:
    /// Writes the text of `object` to `out`.
    static void print(const Poco::JSON::Object& object, std::ostream& out);

    /// Writes the text of `array` to `out`.
    static void print(const Poco::JSON::Array& array, std::ostream& out);

    /// The text of `object`.
    static std::string toString(const Poco::JSON::Object& object);

    /// The text of `array`.
    static std::string toString(const Poco::JSON::Array& array);
};

} // namespace Zovi::Util
