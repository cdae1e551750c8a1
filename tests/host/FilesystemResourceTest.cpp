#include "FilesystemResource.h"

#include "Elements.h"
#include "JsonMatchers.h"
#include "MadeUpMachine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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

const char* const MOUNTS = "27 1 254:0 / / rw - ext4 /dev/vda rw\n"
                           "22 27 0:21 / /proc rw - proc proc rw\n"
                           "23 27 0:22 / /locked rw - ext4 /dev/vdb rw\n"
                           "24 27 0:23 / /far rw - nfs4 server:/ rw\n";

std::optional<Capacity> sampleCapacity(const std::string& mountPoint)
{
    EXPECT_NE(mountPoint, "/far") << "may take forever";
    if (mountPoint == "/locked")
        return std::nullopt;
    return mountPoint == "/proc" ? Capacity{0, 0} : Capacity{5'000'000'000'000, 1024};
}

std::string idOf(const std::string& mountPoint)
{
    return ServiceKit::nameBasedId(HOST.child("filesystems").id, mountPoint).toString();
}

} // namespace

TEST(FilesystemResource, DescribesWhatHasRoom)
{
    const MadeUpMachine machine;
    machine.write("proc/self/mountinfo", MOUNTS);
    const auto elements = toJson(FilesystemResource(HOST, machine.root(), sampleCapacity).elements());
    EXPECT_THAT(compact(elements), IsJson(R"([
        {"id":")" + idOf("/") + R"(","name":"/","uri":"/host/filesystems/)" +
                                          idOf("/") + R"(",
         "mountPoint":"/","type":"ext4","size":5000000000000,"free":1024},
        {"id":")" + idOf("/far") + R"(","name":"/far","uri":"/host/filesystems/)" +
                                          idOf("/far") + R"(",
         "mountPoint":"/far","type":"nfs4"}])"));
}

TEST(FilesystemResource, FindsAFilesystemByItsId)
{
    const MadeUpMachine machine;
    machine.write("proc/self/mountinfo", MOUNTS);
    const FilesystemResource resource(HOST, machine.root(), sampleCapacity);
    EXPECT_EQ(compact(resource.element(Poco::UUID(idOf("/")))->toJSON(0)),
              compact(toJson(resource.elements())->getObject(0)));
    EXPECT_TRUE(resource.element(Poco::UUID(idOf("/proc"))).isNull());
    EXPECT_TRUE(resource.element(Poco::UUID(idOf("/none"))).isNull());
}

TEST(FilesystemResource, MakesEveryMountPointValidJson)
{
    const MadeUpMachine machine;
    machine.write("proc/self/mountinfo", "1 1 0:1 / /a\\012\xFF rw - ext4 x rw\n");
    const auto element =
        toJson(FilesystemResource(HOST, machine.root(), sampleCapacity).elements())->getObject(0);
    const auto parsed = Zovi::Test::parseJson(compact(element)).extract<Poco::JSON::Object::Ptr>();
    EXPECT_EQ(parsed->getValue<std::string>("mountPoint"), "/a\n\xEF\xBF\xBD");
    EXPECT_EQ(parsed->getValue<std::string>("name"), "/a\n\xEF\xBF\xBD");
}

TEST(FilesystemResource, SpecifiesEveryAttributeItGives)
{
    const MadeUpMachine machine;
    machine.write("proc/self/mountinfo", MOUNTS);
    const FilesystemResource resource(HOST, machine.root(), sampleCapacity);
    EXPECT_EQ(resource.specification()->getObject("attributes")->getNames(),
              toJson(resource.elements())->getObject(0)->getNames());
}

TEST(FilesystemResource, AsksTheMachineForItsRoom)
{
    const std::optional<Capacity> capacity = readCapacity("/");
    ASSERT_TRUE(capacity);
    EXPECT_GT(capacity->size, 0U);
    EXPECT_LE(capacity->free, capacity->size);
    EXPECT_FALSE(readCapacity("/no/such/folder"));
}

} // namespace Zovi::Host
