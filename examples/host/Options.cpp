#include "Options.h"

#include "ServiceKit/Text.h"

#include <Poco/Exception.h>

#include <cstdint>
#include <optional>

namespace Zovi::Host
{

namespace
{

constexpr std::uint16_t DEFAULT_PORT = 8080;

std::uint16_t parsePort(const std::string& text)
{
    try {
        return ServiceKit::toPort(text);
    } catch (const Poco::InvalidArgumentException& failure) {
        throw OptionError("--port: " + failure.message());
    }
}

/// Browsers name an origin by scheme and host alone: anything else would never be met.
std::string parseOrigin(const std::string& text)
{
    const std::size_t scheme = text.find("://");
    const bool isWeb = text.rfind("http://", 0) == 0 || text.rfind("https://", 0) == 0;
    if (!isWeb || scheme + 3 == text.size() || text.find_first_of("/?# @", scheme + 3) != std::string::npos)
        throw OptionError("--origin needs http or https and a host, like https://panel.example, not " +
                          ServiceKit::inQuotes(text));
    return text;
}

/// Walks the arguments.
class ArgumentReader
{
public:
    explicit ArgumentReader(const std::vector<std::string>& arguments)
        : m_arguments(arguments)
    {
    }

    /// The next option; nothing at the end.
    std::optional<std::string> nextOption()
    {
        if (m_value)
            throw OptionError(m_option + " takes no value");
        if (m_position == m_arguments.size())
            return std::nullopt;
        const std::string& argument = m_arguments[m_position++];
        const std::size_t equals = argument.find('=');
        m_option = argument.substr(0, equals);
        if (equals != std::string::npos)
            m_value = argument.substr(equals + 1);
        return m_option;
    }

    /// The value of the option that was read last.
    std::string value()
    {
        if (!m_value && m_position < m_arguments.size())
            m_value = m_arguments[m_position++];
        if (!m_value || m_value->empty())
            throw OptionError(m_option + " needs a value");
        std::string value = *m_value;
        m_value.reset();
        return value;
    }

private:
    const std::vector<std::string>& m_arguments;
    std::size_t m_position = 0;
    std::string m_option;
    std::optional<std::string> m_value;
};

} // namespace

Options parseOptions(const std::vector<std::string>& arguments)
{
    Options options;
    options.server.port = DEFAULT_PORT;
    ArgumentReader reader(arguments);
    while (const std::optional<std::string> option = reader.nextOption()) {
        if (*option == "--listen")
            options.server.listenAddress = reader.value();
        else if (*option == "--port")
            options.server.port = parsePort(reader.value());
        else if (*option == "--host-name")
            options.server.exchange.hostNames.push_back(reader.value());
        else if (*option == "--origin")
            options.server.exchange.origins.push_back(parseOrigin(reader.value()));
        else if (*option == "--database")
            options.database = reader.value();
        else if (*option == "--no-registry")
            options.isRegistered = false;
        else if (*option == "--help")
            options.task = Options::Task::SHOW_HELP;
        else if (*option == "--version")
            options.task = Options::Task::SHOW_VERSION;
        else
            throw OptionError("unknown option " + ServiceKit::inQuotes(*option));
    }
    return options;
}

std::string helpText()
{
    return "Usage: kyr-host [OPTION]...\n"
           "Serves the processes, network interfaces and filesystems of this machine over HTTP, and\n"
           "keeps notes.\n"
           "\n"
           "  --listen ADDRESS    listen on this address (127.0.0.1); 0.0.0.0 and :: mean every one\n"
           "  --port NUMBER       listen on this TCP port (8080); 0 takes any free one\n"
           "  --host-name NAME    answer also requests for this host name, may be repeated;\n"
           "                      localhost, the machine's name and its addresses need not be told\n"
           "  --origin ORIGIN     let pages of this origin write and follow, may be repeated; the service's\n"
           "                      own page may, unless a proxy changes its scheme or name\n"
           "  --database FILE     keep the notes in this SQLite file; ':memory:' forgets them at the end\n"
           "  --no-registry       do not tell the service registry of this machine of the service\n"
           "  --help              show this text and end\n"
           "  --version           show the version and end\n"
           "\n"
           "Without --database the notes are in notes.sqlite in $STATE_DIRECTORY, in\n"
           "$XDG_STATE_HOME/kyr-host or in $HOME/.local/state/kyr-host, the first that is set. If that\n"
           "cannot be used, it says so and serves all but the notes.\n"
           "\n"
           "If a service registry listens at [::1]:80, now or later, it is told name, port and description\n"
           "of the service, for as long as the service runs.\n"
           "\n"
           "It ends on SIGINT and SIGTERM. There is no protection by password: whoever reaches the\n"
           "address may read everything, and write notes.\n";
}

std::string versionText()
{
    return "kyr-host " KYR_HOST_VERSION "\n";
}

} // namespace Zovi::Host
