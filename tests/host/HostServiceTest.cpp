#include "HostService.h"

#include "MadeUpMachine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Zovi::Host
{

using ::testing::ElementsAre;
using Zovi::Test::MadeUpMachine;

TEST(HostService, OffersTheMachineAsOneService)
{
    const MadeUpMachine machine;
    machine.write("etc/machine-id", "0123456789abcdef0123456789abcdef\n");
    const auto tree = makeHostTree(machine.root());
    ASSERT_EQ(tree->services().size(), 1U);
    std::vector<std::string> uris{tree->services().front()->reference().uri};
    for (const auto& resource : tree->services().front()->resources())
        uris.push_back(resource->reference().uri);
    EXPECT_THAT(uris, ElementsAre("/host", "/host/processes", "/host/interfaces", "/host/filesystems"));
}

TEST(HostService, KeepsItsIds)
{
    const MadeUpMachine machine;
    machine.write("etc/machine-id", "0123456789abcdef0123456789abcdef\n");
    EXPECT_EQ(makeHostTree(machine.root())->services().front()->reference().id,
              makeHostTree(machine.root())->services().front()->reference().id);
}

} // namespace Zovi::Host
