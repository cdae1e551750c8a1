#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace Zovi::Host
{

/// What the kernel's one-line state of a process tells.
struct ProcessStat {
    std::int32_t pid = 0;
    std::string name; ///< any bytes but NUL: blanks, parentheses, line feeds
    char state = '?';
    std::int32_t parentPid = 0; ///< 0 for none, or for one that is out of sight
    std::uint64_t userTicks = 0;
    std::uint64_t systemTicks = 0;
    std::int64_t threads = 0;
    std::uint64_t startTicks = 0; ///< since the start of the machine
};

/// What the kernel's longer description adds.
struct ProcessStatus {
    std::uint32_t userId = 0;         ///< the effective one
    std::uint64_t residentMemory = 0; ///< bytes; 0 for a thread of the kernel
};

/// Reads the text of a `/proc/<pid>/stat`; nothing if it is malformed or cut off. The name ends at the last
/// parenthesis, since it may hold parentheses itself.
std::optional<ProcessStat> parseProcessStat(std::string_view text);

/// Reads the text of a `/proc/<pid>/status`; nothing if it has no line on the user.
std::optional<ProcessStatus> parseProcessStatus(std::string_view text);

/// The start of the machine in seconds of the Unix epoch, from the text of `/proc/stat`.
std::optional<std::int64_t> parseBootTime(std::string_view text);

/// The word for a state letter, "unknown" for one that is not known.
std::string toStateName(char state);

/// The processes of a machine as they stand in the folder `proc` under a root.
class ProcessTable
{
public:
    explicit ProcessTable(const std::filesystem::path& root);

    /// All processes by their number. One that ends meanwhile is left out.
    std::map<std::int32_t, ProcessStat> readAll() const;

    /// Nothing if the process has ended.
    std::optional<ProcessStatus> readStatus(std::int32_t pid) const;

    /// Seconds of the Unix epoch, 0 if it cannot be told.
    std::int64_t readBootTime() const;

private:
    std::filesystem::path m_folder;
};

} // namespace Zovi::Host
