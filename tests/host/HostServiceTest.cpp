#include "HostService.h"

#include "JsonMatchers.h"
#include "MadeUpMachine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Zovi::Host
{

using ::testing::ElementsAre;
using Zovi::Test::compact;
using Zovi::Test::IsJson;
using Zovi::Test::MadeUpMachine;

TEST(HostService, OffersTheMachineAsOneService)
{
    const MadeUpMachine machine;
    machine.write("etc/machine-id", "0123456789abcdef0123456789abcdef\n");
    const auto tree = makeHostTree(machine.root()).tree;
    ASSERT_EQ(tree->services().size(), 1U);
    std::vector<std::string> uris{tree->services().front()->reference().uri};
    for (const auto& resource : tree->services().front()->resources())
        uris.push_back(resource->reference().uri);
    EXPECT_THAT(uris, ElementsAre("/host", "/host/processes", "/host/interfaces", "/host/filesystems"));
}

TEST(HostService, OffersNotesWhereTheyCanBeKept)
{
    const MadeUpMachine machine;
    const auto service = makeHostTree(machine.root(), std::make_shared<NoteStore>(":memory:")).service;
    EXPECT_EQ(service->resources().back()->reference().uri, "/host/notes");
}

TEST(HostService, PresentsItself)
{
    const MadeUpMachine machine;
    const auto service = makeHostTree(machine.root()).service;
    service->info().setPort(8080);
    Poco::JSON::Object::Ptr info = service->info().toJSON(0);
    info->remove("resources");
    EXPECT_THAT(compact(info), IsJson(R"({"description":"The machine that this service runs on.","id":")" +
                                      service->reference().id.toString() +
                                      R"(","name":"host","port":8080,"privileges":[],
        "serviceCategories":["machine"],"uri":"/host","versions":["1"]})"));
}

TEST(HostService, TellsTheRegistryOnOneLineWhoItIs)
{
    const MadeUpMachine machine;
    const auto service = makeHostTree(machine.root()).service;
    service->info().setPort(8080);
    const std::string line = toRegistration(*service);
    EXPECT_EQ(line.find('\n'), line.size() - 1);
    EXPECT_THAT(line, IsJson(R"({"description":"The machine that this service runs on.","id":")" +
                             service->reference().id.toString() +
                             R"(","name":"host","port":8080,"privileges":[],"serviceCategories":["machine"],
        "uri":"/host","versions":["1"]})"));
}

TEST(HostService, KeepsItsIds)
{
    const MadeUpMachine machine;
    machine.write("etc/machine-id", "0123456789abcdef0123456789abcdef\n");
    EXPECT_EQ(makeHostTree(machine.root()).service->reference().id,
              makeHostTree(machine.root()).service->reference().id);
}

} // namespace Zovi::Host
