#include "Note.h"

#include "JSONTools.h"
#include "ServiceKit/RequestError.h"
#include "ServiceKit/Text.h"

#include <algorithm>

namespace Zovi::Host
{

namespace
{

[[noreturn]] void refuse(const std::string& message)
{
    throw ServiceKit::RequestError(Command::HTTPStatus::HTTP_BAD_REQUEST, message);
}

bool isControl(char character)
{
    const auto byte = static_cast<unsigned char>(character);
    return byte < 0x20 || byte == 0x7F;
}

/// The characters of valid UTF-8: every byte but those that continue one.
std::size_t lengthOf(const std::string& text)
{
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](char byte) { return (byte & 0xC0) != 0x80; }));
}

std::string readText(const Poco::Dynamic::Var& value, const std::string& key, std::size_t maxLength)
{
    if (!value.isString())
        refuse("'" + key + "' must be a text");
    const auto& text = value.extract<std::string>();
    if (text.find('\0') != std::string::npos)
        refuse("'" + key + "' must not hold a NUL character");
    if (lengthOf(text) > maxLength)
        refuse("'" + key + "' must have " + std::to_string(maxLength) + " characters at most");
    return text;
}

std::string readName(const Poco::Dynamic::Var& value)
{
    const std::string name = readText(value, "name", NoteContent::MAX_NAME_LENGTH);
    if (std::any_of(name.begin(), name.end(), isControl))
        refuse("'name' must be a single line without control characters");
    if (name.find_first_not_of(' ') == std::string::npos)
        refuse("'name' must not be blank");
    return name;
}

bool readFlag(const Poco::Dynamic::Var& value, const std::string& key)
{
    if (!value.isBoolean())
        refuse("'" + key + "' must be true or false");
    return value.extract<bool>();
}

} // namespace

NoteContent parseNoteContent(const std::string& body)
{
    Poco::JSON::Object::Ptr object;
    if (!Util::JSONTools::parseJSONString(body, object))
        refuse("the body must be a JSON object with the 'name' of the note");
    NoteContent content;
    for (const auto& [key, value] : *object) {
        if (key == "name")
            content.name = readName(value);
        else if (key == "text")
            content.text = readText(value, key, NoteContent::MAX_TEXT_LENGTH);
        else if (key == "pinned")
            content.isPinned = readFlag(value, key);
        else
            refuse(ServiceKit::inQuotes(key) + " cannot be set, only 'name', 'text' and 'pinned' can");
    }
    if (content.name.empty())
        refuse("'name' is missing");
    return content;
}

} // namespace Zovi::Host
