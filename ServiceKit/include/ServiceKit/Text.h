#pragma once

#include <string>
#include <string_view>

namespace Zovi::ServiceKit
{

/// `text` with every byte that is no part of valid UTF-8 turned into U+FFFD, so that it may stand in a JSON
/// document. Overlong forms, surrogates and numbers above U+10FFFF are no valid UTF-8. Valid text comes back
/// as it was.
std::string toValidUtf8(std::string_view text);

/// A text of somebody else's between single quotes, for use in a message: valid UTF-8, control characters
/// replaced by U+FFFD, and cut behind `MAX_QUOTED_LENGTH` bytes with "..." in place of the rest.
std::string inQuotes(std::string_view text);

/// The most bytes that `inQuotes` takes of a text.
constexpr std::size_t MAX_QUOTED_LENGTH = 80;

} // namespace Zovi::ServiceKit
