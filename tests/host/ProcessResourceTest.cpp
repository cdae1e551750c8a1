#include "ProcessResource.h"

#include "Elements.h"
#include "JsonMatchers.h"
#include "MadeUpMachine.h"
#include "NoDescriptors.h"
#include "ServiceKit/RequestError.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <unistd.h>

namespace Zovi::Host
{

using ServiceKit::Reference;
using ServiceKit::rootReference;
using Zovi::Test::compact;
using Zovi::Test::IsJson;
using Zovi::Test::MadeUpMachine;
using Zovi::Test::toJson;

namespace
{

const Reference HOST = rootReference(Poco::UUID::dns()).child("host");
const HostIdentity IDENTITY{Poco::UUID::dns(), "boot-1"};

// A user number that no machine has given a name.
const std::string STATUS = "Uid:\t0\t3987654321\t0\t0\nVmRSS:\t100 kB\n";

std::string idOf(const Poco::JSON::Object::Ptr& object)
{
    return object->getValue<std::string>("id");
}

} // namespace

TEST(ProcessResource, DescribesAProcess)
{
    ASSERT_EQ(sysconf(_SC_CLK_TCK), 100);
    const MadeUpMachine machine;
    machine.write("proc/stat", "btime 1767225600\n");
    machine.addProcess(1, 0, "init", STATUS);
    machine.addProcess(20, 1, "cat", STATUS, "1234");
    const auto elements = toJson(ProcessResource(HOST, IDENTITY, machine.root()).elements());
    ASSERT_EQ(elements->size(), 2U);
    const auto init = elements->getObject(0);
    const auto cat = elements->getObject(1);
    EXPECT_FALSE(init->has("parent"));
    EXPECT_THAT(compact(cat), IsJson(R"({"pid":20,"name":"cat","state":"sleeping","user":"3987654321",
        "residentMemory":102400,"cpuTime":3000,"threads":7,"startTime":1767225612340,
        "id":")" + idOf(cat) + R"(","uri":"/host/processes/)" +
                                     idOf(cat) + R"(",
        "parent":{"id":")" + idOf(init) +
                                     R"(","name":"init","uri":"/host/processes/)" + idOf(init) + R"("}})"));
}

TEST(ProcessResource, TakesNoProcessForEndedWhenItCannotLook)
{
    const MadeUpMachine machine;
    machine.addProcess(1, 0, "init", STATUS);
    const ProcessResource processes(HOST, IDENTITY, machine.root());
    const Poco::UUID id(idOf(toJson(processes.elements())->getObject(0)));
    const Zovi::Test::NoDescriptors none;
    EXPECT_THROW(processes.elements(), ServiceKit::RequestError);
    EXPECT_THROW(processes.element(id), ServiceKit::RequestError);
}

TEST(ProcessResource, FindsAProcessByItsId)
{
    const MadeUpMachine machine;
    machine.addProcess(1, 0, "init", STATUS);
    machine.addProcess(20, 1, "cat", STATUS);
    const ProcessResource resource(HOST, IDENTITY, machine.root());
    const auto cat = toJson(resource.elements())->getObject(1);
    EXPECT_EQ(compact(resource.element(Poco::UUID(idOf(cat)))->toJSON(0)), compact(cat));
    EXPECT_TRUE(resource.element(Poco::UUID::dns()).isNull());
    machine.remove("proc/20");
    EXPECT_TRUE(resource.element(Poco::UUID(idOf(cat))).isNull());
}

TEST(ProcessResource, GivesEveryProcessAnIdOfItsOwn)
{
    const auto idWith = [](const HostIdentity& identity, int pid, const std::string& startTicks,
                           const std::string& name) {
        const MadeUpMachine machine;
        machine.addProcess(pid, 0, name, STATUS, startTicks);
        return idOf(toJson(ProcessResource(HOST, identity, machine.root()).elements())->getObject(0));
    };
    const std::string id = idWith(IDENTITY, 20, "1000", "cat");
    EXPECT_EQ(id, idWith(IDENTITY, 20, "1000", "renamed"));
    EXPECT_NE(id, idWith(IDENTITY, 21, "1000", "cat"));
    EXPECT_NE(id, idWith(IDENTITY, 20, "1001", "cat"));
    EXPECT_NE(id, idWith({Poco::UUID::dns(), "boot-2"}, 20, "1000", "cat"));
}

TEST(ProcessResource, KeepsAProcessWhoseParentIsOutOfSight)
{
    const MadeUpMachine machine;
    machine.addProcess(20, 19, "cat", STATUS);
    const auto elements = toJson(ProcessResource(HOST, IDENTITY, machine.root()).elements());
    ASSERT_EQ(elements->size(), 1U);
    EXPECT_FALSE(elements->getObject(0)->has("parent"));
}

TEST(ProcessResource, LeavesOutAProcessThatEndsMeanwhile)
{
    const MadeUpMachine machine;
    machine.addProcess(1, 0, "init", STATUS);
    machine.addProcess(20, 1, "cat", STATUS);
    machine.remove("proc/20/status");
    EXPECT_EQ(toJson(ProcessResource(HOST, IDENTITY, machine.root()).elements())->size(), 1U);
}

TEST(ProcessResource, WritesOutItsParentsAsDeepAsItIsAsked)
{
    const MadeUpMachine machine;
    machine.addProcess(1, 0, "init", STATUS);
    machine.addProcess(20, 1, "shell", STATUS);
    machine.addProcess(300, 20, "cat", STATUS);
    const ProcessResource resource(HOST, IDENTITY, machine.root());
    const auto namesAt = [&resource](int level) {
        // pid where a process is written out, its name where it is not
        std::string names;
        Poco::JSON::Object::Ptr process = resource.elements().back()->toJSON(level);
        for (; process; process = process->getObject("parent"))
            names += "/" + process->get(process->has("pid") ? "pid" : "name").toString();
        return names;
    };
    EXPECT_EQ(namesAt(-1), "/cat");
    EXPECT_EQ(namesAt(0), "/300/shell");
    EXPECT_EQ(namesAt(1), "/300/20/init");
    EXPECT_EQ(namesAt(2), "/300/20/1");
    EXPECT_EQ(namesAt(3), "/300/20/1");
}

TEST(ProcessResource, EndsACircleOfParentsAtTheLevel)
{
    const MadeUpMachine machine;
    machine.addProcess(1, 2, "hen", STATUS);
    machine.addProcess(2, 1, "egg", STATUS);
    const ProcessResource resource(HOST, IDENTITY, machine.root());
    const auto hen = resource.elements().front();
    Poco::JSON::Object::Ptr process = hen->toJSON(3);
    for (const std::string name : {"hen", "egg", "hen", "egg"}) {
        EXPECT_EQ(process->getValue<std::string>("name"), name);
        EXPECT_TRUE(process->has("pid"));
        process = process->getObject("parent");
    }
    EXPECT_EQ(compact(process), compact(hen->toJSON(-1)));
}

TEST(ProcessResource, AsksNothingOfAParentThatIsNotWrittenOut)
{
    const MadeUpMachine machine;
    machine.addProcess(1, 0, "init", STATUS);
    machine.addProcess(20, 1, "cat", STATUS);
    const ProcessResource resource(HOST, IDENTITY, machine.root());
    const auto elements = resource.elements();
    const auto cat = resource.element(elements.back()->getId());
    machine.write("proc/1/status", "Uid:\t0\t3987654322\t0\t0\n");
    const auto parentAt = [&cat](int level) {
        return cat->toJSON(level)->getObject("parent");
    };
    EXPECT_EQ(compact(parentAt(0)), compact(elements.front()->toJSON(-1)));
    EXPECT_EQ(parentAt(1)->getValue<std::string>("user"), "3987654322");
    machine.write("proc/1/status", STATUS);
    EXPECT_EQ(parentAt(1)->getValue<std::string>("user"), "3987654322") << "asked twice";
}

TEST(ProcessResource, ShowsAParentThatHasEndedInItsShortForm)
{
    const MadeUpMachine machine;
    machine.addProcess(1, 0, "init", STATUS);
    machine.addProcess(20, 1, "cat", STATUS);
    machine.remove("proc/1/status");
    const ProcessResource resource(HOST, IDENTITY, machine.root());
    const auto cat = resource.elements().front();
    EXPECT_EQ(compact(cat->toJSON(1)->getObject("parent")), compact(cat->toJSON(0)->getObject("parent")));
}

TEST(ProcessResource, RecordsNoNumberForWhatItGives)
{
    const MadeUpMachine machine;
    machine.addProcess(1, 0, "init", STATUS);
    machine.addProcess(20, 1, "cat", STATUS);
    const ProcessResource resource(HOST, IDENTITY, machine.root());
    const std::size_t before = Zovi::Test::KnownNumbers::count();
    for (const auto& element : resource.elements())
        resource.element(element->getId())->toJSON(3);
    EXPECT_EQ(Zovi::Test::KnownNumbers::count(), before);
}

TEST(ProcessResource, MakesEveryNameValidJson)
{
    const MadeUpMachine machine;
    machine.addProcess(20, 0, "\"\\\n) S 1 (\xFF", STATUS);
    machine.addProcess(21, 20, "child", STATUS);
    const auto elements = toJson(ProcessResource(HOST, IDENTITY, machine.root()).elements());
    const auto parsed = Zovi::Test::parseJson(compact(elements)).extract<Poco::JSON::Array::Ptr>();
    const std::string name = "\"\\\n) S 1 (\xEF\xBF\xBD";
    EXPECT_EQ(parsed->getObject(0)->getValue<std::string>("name"), name);
    EXPECT_EQ(parsed->getObject(1)->getObject("parent")->getValue<std::string>("name"), name);
}

TEST(ProcessResource, SpecifiesEveryAttributeItGives)
{
    const MadeUpMachine machine;
    machine.addProcess(1, 0, "init", STATUS);
    machine.addProcess(20, 1, "cat", STATUS);
    const ProcessResource resource(HOST, IDENTITY, machine.root());
    const auto attributes = resource.specification()->getObject("attributes");
    EXPECT_EQ(attributes->getNames(), toJson(resource.elements())->getObject(1)->getNames());
}

TEST(ProcessResource, SeesTheProcessThatAsks)
{
    const ProcessResource resource(HOST, IDENTITY, "/");
    const auto elements = toJson(resource.elements());
    int found = 0;
    for (std::size_t i = 0; i < elements->size(); ++i)
        found += elements->getObject(static_cast<unsigned>(i))->getValue<int>("pid") == getpid();
    EXPECT_EQ(found, 1);
}

} // namespace Zovi::Host
