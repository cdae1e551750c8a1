#include "Note.h"

#include "ServiceKit/RequestError.h"

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

std::string readName(ServiceKit::Body& body)
{
    const std::string name = body.text("name", NoteContent::MAX_NAME_LENGTH);
    if (std::any_of(name.begin(), name.end(), isControl))
        refuse("'name' must be a single line without control characters");
    if (name.find_first_not_of(' ') == std::string::npos)
        refuse("'name' must not be blank");
    return name;
}

} // namespace

NoteContent parseNoteContent(ServiceKit::Body body)
{
    NoteContent content;
    content.name = readName(body);
    if (body.has("text"))
        content.text = body.text("text", NoteContent::MAX_TEXT_LENGTH);
    if (body.has("pinned"))
        content.isPinned = body.flag("pinned");
    body.refuseOthers();
    return content;
}

} // namespace Zovi::Host
