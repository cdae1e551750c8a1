#include "HostIdentity.h"

#include "MadeUpMachine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Zovi::Host
{

using Zovi::Test::MadeUpMachine;

namespace
{

const std::string MACHINE_ID = "0123456789abcdef0123456789abcdef";

Poco::UUID machineWith(const std::string& file, const std::string& text)
{
    const MadeUpMachine machine;
    machine.write(file, text);
    return readHostIdentity(machine.root()).machine;
}

} // namespace

TEST(HostIdentity, FollowsFromTheMachineIdAndDoesNotShowIt)
{
    const Poco::UUID id = machineWith("etc/machine-id", MACHINE_ID + "\n");
    EXPECT_EQ(id, machineWith("etc/machine-id", MACHINE_ID));
    EXPECT_EQ(id, machineWith("var/lib/dbus/machine-id", MACHINE_ID));
    EXPECT_NE(id, machineWith("etc/machine-id", "another"));
    EXPECT_NE(id, Poco::UUID(MACHINE_ID));
}

TEST(HostIdentity, FallsBackOnTheHostName)
{
    const Poco::UUID id = machineWith("proc/sys/kernel/hostname", "box\n");
    EXPECT_EQ(id, machineWith("proc/sys/kernel/hostname", "box\n"));
    EXPECT_NE(id, machineWith("proc/sys/kernel/hostname", "other\n"));
    EXPECT_FALSE(machineWith("nothing", "").isNull());
}

TEST(HostIdentity, TellsTheStartsOfAMachineApart)
{
    const MadeUpMachine machine;
    EXPECT_EQ(readHostIdentity(machine.root()).boot, "");
    machine.write("proc/sys/kernel/random/boot_id", "b3c50f3a\n");
    EXPECT_EQ(readHostIdentity(machine.root()).boot, "b3c50f3a");
}

} // namespace Zovi::Host
