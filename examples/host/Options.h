#pragma once

#include "ServiceKit/HttpServer.h"

#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace Zovi::Host
{

/// What the command line asks for.
struct Options {
    enum class Task { SERVE, SHOW_HELP, SHOW_VERSION };

    Task task = Task::SERVE;
    ServiceKit::ServerOptions server;

    /// The file for the notes; nothing stands for the usual place.
    std::optional<std::string> database;

    /// Whether the registry of the machine is told of the service.
    bool isRegistered = true;
};

/// Thrown for a command line that makes no sense; its text names what does not.
class OptionError : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// Reads the arguments behind the name of the program. A value follows its option as the next argument, or
/// behind "=".
Options parseOptions(const std::vector<std::string>& arguments);

/// What `--help` shows, and `--version`; both end with a line feed.
std::string helpText();
std::string versionText();

} // namespace Zovi::Host
