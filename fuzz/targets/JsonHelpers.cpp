// The JSON helpers: parsing never throws, only an object counts as one, no number is read as another one, and
// what is printed is what Poco prints and reads back.

#include "JSONTools.h"

#include "JSONPrinter.h"
#include "Law.h"

#include <set>
#include <sstream>

using Poco::JSON::Object;
using Zovi::Fuzz::require;
using Zovi::Fuzz::requireEqual;
using Zovi::Util::JSONPrinter;
using Zovi::Util::JSONTools;

namespace
{

/// The numbers of a document, without the strings in it.
std::set<std::string> numbersOf(const std::string& text)
{
    std::set<std::string> numbers;
    std::string number;
    bool isInString = false;
    for (std::size_t i = 0; i <= text.size(); ++i) {
        const char character = i < text.size() ? text[i] : ' ';
        if (isInString && character == '\\')
            ++i;
        else if (character == '"')
            isInString = !isInString;
        if (!isInString && std::string("+-.0123456789eE").find(character) != std::string::npos &&
            i < text.size()) {
            number += character;
        } else if (!number.empty()) {
            numbers.insert(number);
            number.clear();
        }
    }
    return numbers;
}

/// Fractions may be written in another way; words have an "e" as well.
bool isInteger(const std::string& number)
{
    return number.find_first_of(".eE") == std::string::npos;
}

void checkNumbers(const std::string& text, const std::string& printed)
{
    std::set<std::string> given;
    for (const std::string& number : numbersOf(text)) {
        if (!isInteger(number) && number != "e")
            return;
        given.insert(number == "-0" ? "0" : number);
    }
    for (const std::string& number : numbersOf(printed))
        require(!isInteger(number) || given.count(number) > 0, "no number is read as another one");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Object::Ptr object;
    const std::string text = Zovi::Fuzz::textOf(data, size);
    if (!JSONTools::parseJSONString(text, object))
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
    checkNumbers(text, printed);
    return 0;
}
