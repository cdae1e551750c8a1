#include "FileText.h"

#include "ServiceKit/RequestError.h"

#include <cerrno>
#include <charconv>
#include <cstdint>
#include <fstream>
#include <system_error>

namespace Zovi::Host
{

namespace
{

const std::string_view BLANKS = " \t\r\n";

} // namespace

void requireRoom(int error)
{
    if (error == EMFILE || error == ENFILE || error == ENOMEM)
        throw ServiceKit::RequestError(Command::HTTPStatus::HTTP_SERVICE_UNAVAILABLE,
                                       "cannot look at the machine: " +
                                           std::generic_category().message(error));
}

std::optional<std::string> readFile(const std::filesystem::path& path)
{
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    if (!file.is_open())
        requireRoom(errno);
    std::string text;
    char buffer[8192];
    // A read of a process that has ended fails with an error, which the stream does not tell from the end of
    // the file; what it leaves is empty or lacks its last line.
    while (file.read(buffer, sizeof buffer) || file.gcount() > 0)
        text.append(buffer, static_cast<std::size_t>(file.gcount()));
    if (!file.is_open() || file.bad())
        return std::nullopt;
    return text;
}

std::optional<std::string> readLine(const std::filesystem::path& path)
{
    std::optional<std::string> text = readFile(path);
    if (text)
        text->erase(text->find_last_not_of(BLANKS) + 1);
    return text;
}

std::vector<std::string> namesIn(const std::filesystem::path& folder)
{
    std::vector<std::string> names;
    std::error_code error;
    std::filesystem::directory_iterator entry(folder, error);
    while (!error && entry != std::filesystem::directory_iterator()) {
        names.push_back(entry->path().filename().string());
        entry.increment(error);
    }
    requireRoom(error.value());
    return names;
}

template <typename Number>
std::optional<Number> toNumber(std::string_view text)
{
    Number number{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isWhole = error == std::errc() && end == text.data() + text.size();
    return isWhole ? std::optional(number) : std::nullopt;
}

template std::optional<std::int32_t> toNumber(std::string_view);
template std::optional<std::uint32_t> toNumber(std::string_view);
template std::optional<std::int64_t> toNumber(std::string_view);
template std::optional<std::uint64_t> toNumber(std::string_view);

std::string_view takeWord(std::string_view& text)
{
    const std::size_t begin = text.find_first_not_of(BLANKS);
    text.remove_prefix(begin == std::string_view::npos ? text.size() : begin);
    const std::string_view word = text.substr(0, text.find_first_of(BLANKS));
    text.remove_prefix(word.size());
    return word;
}

std::string_view takeLine(std::string_view& text)
{
    const std::size_t end = text.find('\n');
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    return line;
}

} // namespace Zovi::Host
