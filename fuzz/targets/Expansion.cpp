// The two forms of an expansion, on a document that is finished: members are only taken away, doing it twice
// gives what doing it once gave, and what is left is what the plain evaluation leaves.

#include "Command/Query/ExpandParameter.h"

#include "Documents.h"
#include "JSONPrinter.h"
#include "Law.h"
#include "PlainQuery.h"

#include <Poco/NumberParser.h>

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

std::string answerOf(const ExpandParameter& expansion, const std::string& text)
{
    Object::Ptr object = parseObject(text);
    const std::string exception = Zovi::Fuzz::exceptionOf([&] { expansion.apply(*object); });
    return exception == "none" ? Zovi::Test::describe(*object) + " valid" : exception;
}

/// A text that is a number asks for a level, any other one names properties.
void checkPlainly(const std::string& value, const LevelExpansion& level, const std::string& text)
{
    const Object::Ptr object = parseObject(text);
    int number = 0;
    const bool isNumber = Poco::NumberParser::tryParse(value, number, ',');
    if (!object || value.empty() || (isNumber && !level.isValid()))
        return;
    const PropertyExpansion properties(value);
    const ExpandParameter& expansion = isNumber ? static_cast<const ExpandParameter&>(level) : properties;
    requireEqual(answerOf(expansion, text),
                 Zovi::Fuzz::plainAnswer(Zovi::Fuzz::urlWith("$expand", value), *object),
                 "the result is that of the plain evaluation");
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
    checkPlainly(value, level, text);
    return 0;
}
