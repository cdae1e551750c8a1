#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

namespace Zovi::Host
{

/// Gives the value of an environment variable, an empty text if it is not set.
using Environment = std::function<std::string(const std::string& name)>;

/// The folder for what the program keeps between its runs: the first of `$STATE_DIRECTORY`, which a service
/// manager sets, else `$XDG_STATE_HOME/kyr-host`, else `$HOME/.local/state/kyr-host`; nothing if none of them
/// is set to an absolute path.
std::optional<std::filesystem::path> stateFolder(const Environment& environment);

} // namespace Zovi::Host
