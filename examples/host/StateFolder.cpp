#include "StateFolder.h"

namespace Zovi::Host
{

std::optional<std::filesystem::path> stateFolder(const Environment& environment)
{
    const std::string given = environment("STATE_DIRECTORY");
    const std::filesystem::path candidates[] = {
        given.substr(0, given.find(':')),
        std::filesystem::path(environment("XDG_STATE_HOME")) / "kyr-host",
        std::filesystem::path(environment("HOME")) / ".local/state/kyr-host",
    };
    for (const std::filesystem::path& candidate : candidates) {
        if (candidate.is_absolute())
            return candidate;
    }
    return std::nullopt;
}

} // namespace Zovi::Host
