// The two forms of an expansion, on a document that is finished: members are only taken away, and doing it
// twice gives what doing it once gave.

#include "Command/Query/ExpandParameter.h"

#include "Documents.h"
#include "JSONPrinter.h"
#include "Law.h"

#include <fuzzer/FuzzedDataProvider.h>

using Poco::JSON::Object;
using Zovi::Command::ExpandParameter;
using Zovi::Command::LevelExpansion;
using Zovi::Command::PropertyExpansion;
using Zovi::Fuzz::parseObject;
using Zovi::Fuzz::require;
using Zovi::Fuzz::requireEqual;
using Zovi::Util::JSONPrinter;

namespace
{

void checkExpansion(const ExpandParameter& expansion, const std::string& text)
{
    Object::Ptr object = parseObject(text);
    if (!object)
        return;
    try {
        const std::size_t size = object->size();
        expansion.apply(*object);
        require(object->size() == size, "the first layer stays whole");
        const std::string once = JSONPrinter::toString(*object);
        expansion.apply(*object);
        requireEqual(JSONPrinter::toString(*object), once, "expanding twice gives what once gave");
    } catch (const Poco::BadCastException&) {
        // An array that begins with an object and holds something else as well.
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    const std::string value = input.ConsumeRandomLengthString(64);
    const LevelExpansion level(value);
    require(level.isValid() ? level.getLevel() <= LevelExpansion::MAX_LEVEL : level.getLevel() == 0,
            "a level is bounded, and 0 if it is refused");
    const std::string text = input.ConsumeRemainingBytesAsString();
    checkExpansion(level, text);
    checkExpansion(PropertyExpansion(value), text);
    return 0;
}
