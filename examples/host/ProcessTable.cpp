#include "ProcessTable.h"

#include "FileText.h"

#include <utility>
#include <vector>

namespace Zovi::Host
{

namespace
{

// Positions of the fields behind the name, counted from the state letter.
enum StatField { STATE = 0, PARENT = 1, USER_TICKS = 11, SYSTEM_TICKS = 12, THREADS = 17, START_TICKS = 19 };

template <typename Number>
bool assign(Number& target, std::string_view text)
{
    const std::optional<Number> number = toNumber<Number>(text);
    if (number)
        target = *number;
    return number.has_value();
}

std::vector<std::string_view> splitWords(std::string_view text)
{
    std::vector<std::string_view> words;
    for (std::string_view word = takeWord(text); !word.empty(); word = takeWord(text))
        words.push_back(word);
    return words;
}

/// Splits "<key>:<rest>" and gives the rest if the key is the one wanted.
std::optional<std::string_view> valueOf(std::string_view line, std::string_view key)
{
    if (line.substr(0, key.size()) != key || line.substr(key.size(), 1) != ":")
        return std::nullopt;
    return line.substr(key.size() + 1);
}

} // namespace

std::optional<ProcessStat> parseProcessStat(std::string_view text)
{
    const std::size_t open = text.find(" (");
    const std::size_t close = text.rfind(") ");
    if (open == std::string_view::npos || close == std::string_view::npos || close < open + 2)
        return std::nullopt;
    const std::vector<std::string_view> fields = splitWords(text.substr(close + 2));
    if (fields.size() <= START_TICKS || fields[STATE].size() != 1)
        return std::nullopt;

    ProcessStat stat;
    stat.name = text.substr(open + 2, close - open - 2);
    stat.state = fields[STATE].front();
    const bool isComplete =
        assign(stat.pid, text.substr(0, open)) && assign(stat.parentPid, fields[PARENT]) &&
        assign(stat.userTicks, fields[USER_TICKS]) && assign(stat.systemTicks, fields[SYSTEM_TICKS]) &&
        assign(stat.threads, fields[THREADS]) && assign(stat.startTicks, fields[START_TICKS]);
    return isComplete ? std::optional(stat) : std::nullopt;
}

std::optional<ProcessStatus> parseProcessStatus(std::string_view text)
{
    ProcessStatus status;
    bool hasUser = false;
    while (!text.empty()) {
        const std::string_view line = takeLine(text);
        if (std::optional<std::string_view> ids = valueOf(line, "Uid")) {
            takeWord(*ids);
            hasUser = assign(status.userId, takeWord(*ids));
        } else if (std::optional<std::string_view> size = valueOf(line, "VmRSS")) {
            std::uint64_t kibibytes = 0;
            assign(kibibytes, takeWord(*size));
            status.residentMemory = kibibytes * 1024;
        }
    }
    return hasUser ? std::optional(status) : std::nullopt;
}

std::optional<std::int64_t> parseBootTime(std::string_view text)
{
    while (!text.empty()) {
        std::string_view line = takeLine(text);
        if (takeWord(line) == "btime")
            return toNumber<std::int64_t>(takeWord(line));
    }
    return std::nullopt;
}

std::string toStateName(char state)
{
    static const std::pair<char, const char*> NAMES[] = {
        {'R', "running"}, {'S', "sleeping"}, {'D', "waiting"}, {'T', "stopped"}, {'t', "traced"},
        {'Z', "zombie"},  {'X', "dead"},     {'x', "dead"},    {'I', "idle"},    {'P', "parked"},
    };
    for (const auto& [letter, name] : NAMES) {
        if (letter == state)
            return name;
    }
    return "unknown";
}

ProcessTable::ProcessTable(const std::filesystem::path& root)
    : m_folder(root / "proc")
{
}

std::map<std::int32_t, ProcessStat> ProcessTable::readAll() const
{
    std::map<std::int32_t, ProcessStat> processes;
    for (const std::string& name : namesIn(m_folder)) {
        if (!toNumber<std::int32_t>(name))
            continue;
        const std::optional<std::string> text = readFile(m_folder / name / "stat");
        std::optional<ProcessStat> stat = text ? parseProcessStat(*text) : std::nullopt;
        if (stat)
            processes.emplace(stat->pid, std::move(*stat));
    }
    return processes;
}

std::optional<ProcessStatus> ProcessTable::readStatus(std::int32_t pid) const
{
    const std::optional<std::string> text = readFile(m_folder / std::to_string(pid) / "status");
    return text ? parseProcessStatus(*text) : std::nullopt;
}

std::int64_t ProcessTable::readBootTime() const
{
    const std::optional<std::string> text = readFile(m_folder / "stat");
    return text ? parseBootTime(*text).value_or(0) : 0;
}

} // namespace Zovi::Host
