#include "Options.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Zovi::Host
{

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::MatchesRegex;

namespace
{

std::string originFault(const std::string& text)
{
    return "--origin needs http or https and a host, like https://panel.example, not '" + text + "'";
}

} // namespace

TEST(Options, ServesOnTheLoopbackAddressUnlessToldOtherwise)
{
    const Options options = parseOptions({});
    EXPECT_EQ(options.task, Options::Task::SERVE);
    EXPECT_EQ(options.server.listenAddress, "127.0.0.1");
    EXPECT_EQ(options.server.port, 8080);
    EXPECT_EQ(options.database, std::nullopt);
    EXPECT_TRUE(options.isRegistered);
}

TEST(Options, TakesAValueBehindTheOptionOrAnEqualsSign)
{
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"--listen", "::1", "--port", "0", "--host-name", "a", "--host-name", "b",
                                   "--origin", "https://a", "--origin", "http://b:81", "--database", "x.db"},
          std::vector<std::string>{"--listen=::1", "--port=0", "--host-name=a", "--host-name=b",
                                   "--origin=https://a", "--origin=http://b:81", "--database=x.db"}}) {
        const Options options = parseOptions(arguments);
        EXPECT_EQ(options.server.listenAddress, "::1");
        EXPECT_EQ(options.server.port, 0);
        EXPECT_THAT(options.server.exchange.hostNames, ElementsAre("a", "b"));
        EXPECT_THAT(options.server.exchange.origins, ElementsAre("https://a", "http://b:81"));
        EXPECT_EQ(options.database, "x.db");
    }
}

TEST(Options, TellsTheRegistryUnlessItMustNot)
{
    EXPECT_FALSE(parseOptions({"--no-registry"}).isRegistered);
}

TEST(Options, ShowsHelpAndVersion)
{
    EXPECT_EQ(parseOptions({"--help"}).task, Options::Task::SHOW_HELP);
    EXPECT_EQ(parseOptions({"--version"}).task, Options::Task::SHOW_VERSION);
    EXPECT_THAT(versionText(), MatchesRegex("kyr-host [0-9]+\\.[0-9]+\\.[0-9]+\n"));
    for (const char* option : {"--listen", "--port", "--host-name", "--origin", "--database", "--no-registry",
                               "--help", "--version"})
        EXPECT_THAT(helpText(), HasSubstr(option));
}

TEST(Options, NamesWhatMakesNoSense)
{
    const struct {
        std::vector<std::string> arguments;
        std::string message;
    } rows[] = {
        {{"--nothing"}, "unknown option '--nothing'"},
        {{"8080"}, "unknown option '8080'"},
        {{""}, "unknown option ''"},
        {{"--port"}, "--port needs a value"},
        {{"--port="}, "--port needs a value"},
        {{"--database"}, "--database needs a value"},
        {{"--listen", ""}, "--listen needs a value"},
        {{"--port", "x"}, "--port: a port is a number from 0 to 65535, not 'x'"},
        {{"--port", "65536"}, "--port: a port is a number from 0 to 65535, not '65536'"},
        {{"--port", "-1"}, "--port: a port is a number from 0 to 65535, not '-1'"},
        {{"--port", "80x"}, "--port: a port is a number from 0 to 65535, not '80x'"},
        {{"--origin", "panel.example"}, originFault("panel.example")},
        {{"--origin", "ftp://panel.example"}, originFault("ftp://panel.example")},
        {{"--origin", "https://"}, originFault("https://")},
        {{"--origin", "https://panel.example/"}, originFault("https://panel.example/")},
        {{"--origin", "https://panel.example?a"}, originFault("https://panel.example?a")},
        {{"--origin", "https://me@panel.example"}, originFault("https://me@panel.example")},
        {{"--origin", "*"}, originFault("*")},
        {{"--help=yes"}, "--help takes no value"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.message);
        try {
            parseOptions(row.arguments);
            ADD_FAILURE() << "not refused";
        } catch (const OptionError& error) {
            EXPECT_EQ(error.what(), row.message);
        }
    }
}

} // namespace Zovi::Host
