#include "RegisteredServices.h"

#include "JsonMatchers.h"
#include "LogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Zovi::Registry
{

using Test::compact;
using Test::IsJson;
using Test::LogCapture;

namespace
{

const std::string ID = "6ba7b810-9dad-11d1-80b4-00c04fd430c8";

std::string described(const std::string& name)
{
    return R"({"name":")" + name + R"(","description":"Sells fruit.","port":8080,"id":")" + ID +
           R"(","uri":"/shop","versions":["1"]})";
}

class RegisteredServicesTest : public testing::Test
{
protected:
    RegisteredServices services{ServiceKit::rootReference(Poco::UUID::dns()).child("registry")};
};

} // namespace

TEST_F(RegisteredServicesTest, ShowServicesAsTheyDescribeThemselves)
{
    ASSERT_TRUE(services.add(described("shop")));
    const std::string shop = R"({"description":"Sells fruit.","id":")" + ID +
                             R"(","name":"shop","port":8080,"uri":"/registry/services/)" + ID +
                             R"(","versions":["1"]})";
    ASSERT_EQ(services.elements().size(), 1U);
    EXPECT_THAT(compact(services.elements().front()->toJSON(0)), IsJson(shop));
    EXPECT_THAT(compact(services.element(Poco::UUID(ID))->toJSON(0)), IsJson(shop));
    EXPECT_TRUE(services.element(Poco::UUID::uri()).isNull());
}

TEST_F(RegisteredServicesTest, ForgetAServiceThatGoes)
{
    services.remove(services.add(described("shop")));
    EXPECT_TRUE(services.elements().empty());
}

TEST_F(RegisteredServicesTest, KeepTheLatestThatAServiceSays)
{
    const auto first = services.add(described("shop"));
    services.add(described("market"));
    services.remove(first);
    ASSERT_EQ(services.elements().size(), 1U);
    EXPECT_EQ(services.elements().front()->getName(), "market");
}

TEST_F(RegisteredServicesTest, TakeNothingElse)
{
    const LogCapture log;
    for (const std::string text : {"", "hello", "[]", "{}", R"({"name":"a","description":"b"})",
                                   R"({"name":"a","description":"b","port":1})"}) {
        SCOPED_TRACE(text);
        EXPECT_FALSE(services.add(text));
    }
    EXPECT_TRUE(services.elements().empty());
}

TEST_F(RegisteredServicesTest, TellOfEveryChange)
{
    class Counter : public ServiceKit::ChangeListener
    {
    public:
        void onChanged(const ServiceKit::Resource&) override { ++changes; }
        int changes = 0;
    };
    const auto counter = std::make_shared<Counter>();
    services.addChangeListener(counter);
    EXPECT_TRUE(services.tellsOfChanges());
    const auto first = services.add(described("shop"));
    const auto second = services.add(described("shop"));
    services.remove(first);
    EXPECT_EQ(counter->changes, 2);
    services.remove(second);
    EXPECT_EQ(counter->changes, 3);
}

} // namespace Zovi::Registry
