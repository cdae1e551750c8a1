#pragma once

#include <Poco/UUID.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace Zovi::Host
{

/// What a client writes into a note. Both texts are valid UTF-8.
struct NoteContent {
    static constexpr std::size_t MAX_NAME_LENGTH = 200;    ///< in characters
    static constexpr std::size_t MAX_TEXT_LENGTH = 10'000; ///< in characters

    std::string name; ///< one line, not blank
    std::string text;
    bool isPinned = false;
};

struct Note {
    Poco::UUID id;
    NoteContent content;
    std::int64_t created = 0; ///< milliseconds since the Unix epoch, as is the next
    std::int64_t modified = 0;
};

/// Reads the body of a request. Accepted: `{"name":"Milk","text":"Two bottles.","pinned":true}`, of which all
/// but the name may be left out. Refused: `{"name":""}`.
///
/// Throws `ServiceKit::RequestError` with status 400 and a message that names the attribute at fault for what
/// is no JSON object, an attribute that a client cannot set, a missing name, a value of another type or over
/// its limit, and a text with characters that nobody can read. What is no valid UTF-8 is no JSON.
NoteContent parseNoteContent(const std::string& body);

} // namespace Zovi::Host
