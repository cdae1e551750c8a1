#include "ServiceManager.h"

#include "NotifySocket.h"

#include <Poco/TemporaryFile.h>

#include <gtest/gtest.h>

#include <sys/un.h>
#include <unistd.h>

#include <string>

namespace Zovi::Host
{

namespace
{

Environment withSocket(const std::string& name)
{
    return [name](const std::string& variable) {
        return variable == "NOTIFY_SOCKET" ? name : "";
    };
}

/// As long as a name may be, with its "@" or the byte that ends it.
std::string longestName()
{
    std::string name = "@kyr-host-test-" + std::to_string(getpid());
    name.resize(sizeof(sockaddr_un::sun_path) - 1, 'x');
    return name;
}

} // namespace

TEST(ServiceManager, IsToldOnceThatTheServiceIsReady)
{
    const Poco::TemporaryFile file;
    for (const std::string& name :
         {file.path(), "@kyr-host-test-" + std::to_string(getpid()), longestName()}) {
        SCOPED_TRACE(name);
        const Zovi::Test::NotifySocket manager(name);
        EXPECT_TRUE(tellServiceManagerReady(withSocket(name)));
        EXPECT_EQ(manager.received(), "READY=1");
        EXPECT_EQ(manager.received(), "");
    }
}

TEST(ServiceManager, IsNotToldWhereThereIsNone)
{
    const Poco::TemporaryFile file;
    for (const std::string& name :
         {std::string(), file.path(), std::string("@"), longestName(), longestName() + "x"}) {
        SCOPED_TRACE(name);
        EXPECT_FALSE(tellServiceManagerReady(withSocket(name)));
    }
}

} // namespace Zovi::Host
