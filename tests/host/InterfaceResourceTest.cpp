#include "InterfaceResource.h"

#include "Elements.h"
#include "JsonMatchers.h"
#include "MadeUpMachine.h"
#include "NoDescriptors.h"
#include "ServiceKit/RequestError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Zovi::Host
{

using ServiceKit::Reference;
using ServiceKit::rootReference;
using ::testing::Contains;
using Zovi::Test::compact;
using Zovi::Test::IsJson;
using Zovi::Test::MadeUpMachine;
using Zovi::Test::toJson;

namespace
{

const Reference HOST = rootReference(Poco::UUID::dns()).child("host");

void addInterface(const MadeUpMachine& machine, const std::string& name)
{
    const std::string folder = "sys/class/net/" + name + "/";
    machine.write(folder + "address", "02:00:00:00:00:01\n");
    machine.write(folder + "mtu", "1500\n");
    machine.write(folder + "operstate", "up\n");
    machine.write(folder + "statistics/rx_bytes", "18446744073709551615\n");
    machine.write(folder + "statistics/tx_bytes", "2\n");
    machine.write(folder + "statistics/rx_packets", "3\n");
    machine.write(folder + "statistics/tx_packets", "4\n");
}

AddressesByInterface sampleAddresses()
{
    return {{"eth0", {"192.0.2.7/24", "2001:db8::7/64"}}, {"other", {"192.0.2.8/24"}}};
}

} // namespace

TEST(InterfaceResource, DescribesAnInterface)
{
    const MadeUpMachine machine;
    addInterface(machine, "eth0");
    const auto elements = toJson(InterfaceResource(HOST, machine.root(), sampleAddresses).elements());
    ASSERT_EQ(elements->size(), 1U);
    const std::string id = HOST.child("interfaces").id.toString();
    const std::string elementId = ServiceKit::nameBasedId(Poco::UUID(id), "eth0").toString();
    EXPECT_THAT(compact(elements->getObject(0)),
                IsJson(R"({"id":")" + elementId + R"(","name":"eth0",
        "uri":"/host/interfaces/)" +
                       elementId + R"(","macAddress":"02:00:00:00:00:01","mtu":1500,"state":"up",
        "bytesReceived":18446744073709551615,"bytesSent":2,"packetsReceived":3,"packetsSent":4,
        "addresses":["192.0.2.7/24","2001:db8::7/64"]})"));
}

TEST(InterfaceResource, ListsInterfacesByNameAndNothingElse)
{
    const MadeUpMachine machine;
    addInterface(machine, "lo");
    addInterface(machine, "eth0");
    machine.write("sys/class/net/bonding_masters", "\n");
    machine.write("sys/class/net/vanished/address", "");
    const auto elements = toJson(InterfaceResource(HOST, machine.root(), sampleAddresses).elements());
    ASSERT_EQ(elements->size(), 2U);
    EXPECT_EQ(elements->getObject(0)->getValue<std::string>("name"), "eth0");
    EXPECT_EQ(elements->getObject(1)->getValue<std::string>("name"), "lo");
    EXPECT_EQ(compact(elements->getObject(1)->getArray("addresses")), "[]");
}

TEST(InterfaceResource, LeavesOutAHardwareAddressThatIsNone)
{
    const MadeUpMachine machine;
    addInterface(machine, "tun0");
    machine.write("sys/class/net/tun0/address", "\n");
    const auto elements = toJson(InterfaceResource(HOST, machine.root(), sampleAddresses).elements());
    EXPECT_FALSE(elements->getObject(0)->has("macAddress"));
}

TEST(InterfaceResource, FindsAnInterfaceByItsId)
{
    const MadeUpMachine machine;
    addInterface(machine, "eth0");
    const InterfaceResource resource(HOST, machine.root(), sampleAddresses);
    const auto eth0 = toJson(resource.elements())->getObject(0);
    const Poco::UUID id(eth0->getValue<std::string>("id"));
    EXPECT_EQ(compact(resource.element(id)->toJSON(0)), compact(eth0));
    EXPECT_TRUE(resource.element(Poco::UUID::dns()).isNull());
    machine.remove("sys/class/net/eth0");
    EXPECT_TRUE(resource.element(id).isNull());
}

TEST(InterfaceResource, MakesEveryNameValidJson)
{
    const MadeUpMachine machine;
    addInterface(machine, "e\xFF\"0");
    const auto elements = toJson(InterfaceResource(HOST, machine.root(), sampleAddresses).elements());
    EXPECT_EQ(Zovi::Test::parseJson(compact(elements->getObject(0)))
                  .extract<Poco::JSON::Object::Ptr>()
                  ->getValue<std::string>("name"),
              "e\xEF\xBF\xBD\"0");
}

TEST(InterfaceResource, SpecifiesEveryAttributeItGives)
{
    const MadeUpMachine machine;
    addInterface(machine, "eth0");
    const InterfaceResource resource(HOST, machine.root(), sampleAddresses);
    EXPECT_EQ(resource.specification()->getObject("attributes")->getNames(),
              toJson(resource.elements())->getObject(0)->getNames());
}

TEST(InterfaceResource, AsksTheMachineForAddresses)
{
    EXPECT_THAT(readInterfaceAddresses()["lo"], Contains("127.0.0.1/8"));
}

TEST(InterfaceResource, TakesNoAddressForAbsentWhenItCannotAsk)
{
    const Zovi::Test::NoDescriptors none;
    EXPECT_THROW(readInterfaceAddresses(), ServiceKit::RequestError);
}

} // namespace Zovi::Host
