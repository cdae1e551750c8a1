#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Zovi::Host
{

/// Throws a `ServiceKit::RequestError` with status 503 if `error`, of a call to the system, says that this
/// process or the machine has no descriptor or memory left: what could not be asked is not to be taken for
/// absent.
void requireRoom(int error);

/// The content of a file of the kernel's, which may be gone at any moment. Nothing if it cannot be read
/// whole. Throws as `requireRoom` does.
std::optional<std::string> readFile(const std::filesystem::path& path);

/// The same without the white space at its end.
std::optional<std::string> readLine(const std::filesystem::path& path);

/// The names in a folder, in no order; none if it cannot be read. Throws as `requireRoom` does.
std::vector<std::string> namesIn(const std::filesystem::path& folder);

/// `text` as a decimal number, nothing if it is anything else.
template <typename Number>
std::optional<Number> toNumber(std::string_view text);

/// The next word of `text`, which begins behind blanks and ends before one; it is cut off `text`. Empty if
/// there is none.
std::string_view takeWord(std::string_view& text);

/// The next line of `text`, without its end; it is cut off `text`, which is not empty.
std::string_view takeLine(std::string_view& text);

} // namespace Zovi::Host
