#include "StateFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

namespace Zovi::Host
{

TEST(StateFolder, IsTheFirstThatIsSet)
{
    const struct {
        std::map<std::string, std::string> variables;
        std::optional<std::filesystem::path> folder;
    } rows[] = {
        {{{"STATE_DIRECTORY", "/var/lib/kyr"}, {"XDG_STATE_HOME", "/x"}, {"HOME", "/h"}}, "/var/lib/kyr"},
        {{{"STATE_DIRECTORY", "/a:/b"}}, "/a"},
        {{{"XDG_STATE_HOME", "/x"}, {"HOME", "/h"}}, "/x/kyr-host"},
        {{{"HOME", "/h"}}, "/h/.local/state/kyr-host"},
        // what is not absolute does not count
        {{{"STATE_DIRECTORY", "a"}, {"XDG_STATE_HOME", "x"}, {"HOME", "/h"}}, "/h/.local/state/kyr-host"},
        {{{"HOME", "h"}}, std::nullopt},
        {{}, std::nullopt},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.variables));
        const auto environment = [&row](const std::string& name) {
            const auto variable = row.variables.find(name);
            return variable == row.variables.end() ? "" : variable->second;
        };
        EXPECT_EQ(stateFolder(environment), row.folder);
    }
}

} // namespace Zovi::Host
