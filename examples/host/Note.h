#pragma once

#include "ServiceKit/Body.h"

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
/// Throws what `ServiceKit::Body` throws, and likewise where the name is blank or has control characters.
NoteContent parseNoteContent(ServiceKit::Body body);

} // namespace Zovi::Host
