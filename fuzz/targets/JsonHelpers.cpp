// The JSON helpers: parsing never throws, only an object counts as one, and what is printed is what Poco
// prints and reads back.

#include "JSONTools.h"

#include "JSONPrinter.h"
#include "Law.h"

#include <sstream>

using Poco::JSON::Object;
using Zovi::Fuzz::require;
using Zovi::Fuzz::requireEqual;
using Zovi::Util::JSONPrinter;
using Zovi::Util::JSONTools;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Object::Ptr object;
    if (!JSONTools::parseJSONString(Zovi::Fuzz::textOf(data, size), object))
        return 0;
    require(!object.isNull(), "what was parsed is there");
    const Object* found = nullptr;
    require(JSONTools::testJsonObject(Poco::Dynamic::Var(object), &found) && found == object.get(),
            "an object is one");
    require(!JSONTools::testJsonArray(Poco::Dynamic::Var(object)), "an object is no array");
    std::ostringstream plain;
    object->stringify(plain);
    const std::string printed = JSONPrinter::toString(*object);
    requireEqual(printed, plain.str(), "the printer gives what Poco gives");
    return 0;
}
