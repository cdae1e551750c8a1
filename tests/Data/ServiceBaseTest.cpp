#include "Data/ServiceBase.h"

#include "LogCapture.h"
#include "VirtualSlot.h"

#include <gmock/gmock.h>

#include <type_traits>

namespace Zovi::Data
{

namespace
{

using Test::LogCapture;
using Test::virtualSlot;
using ::testing::ElementsAre;

static_assert(std::is_abstract_v<ServiceBase> && std::is_base_of_v<XObjectBase, ServiceBase>);
static_assert(sizeof(ServiceBase) == sizeof(XObjectBase));

/// A service at the port 8080.
class OnePort : public GenericObject<ServiceBase>
{
public:
    using GenericObject<ServiceBase>::GenericObject;

    std::vector<std::string> getPrivileges() const override { return {}; }
    std::vector<std::string> getServiceCategories() const override { return {}; }
    std::vector<std::string> getVersions() const override { return {}; }
    std::string getDescription() const override { return ""; }
    std::uint32_t getPort() const override { return 8080; }
    const std::string& getSpecification() const override { return m_specification; }
    void updateServiceId(const Poco::UUID& newId) override { setId(newId); }
    ResourceCollection getResources() const override { return {}; }

private:
    std::string m_specification;
};

/// A service with a second port.
class TwoPorts : public OnePort
{
public:
    using OnePort::OnePort;
    std::vector<std::uint32_t> getAllPorts() const override { return {8080, 8081}; }
};

TEST(ServiceBase, KeepsItsVirtualFunctionsInOrder)
{
    EXPECT_EQ(virtualSlot(&ServiceBase::getPrivileges), 14U);
    EXPECT_EQ(virtualSlot(&ServiceBase::getServiceCategories), 15U);
    EXPECT_EQ(virtualSlot(&ServiceBase::getVersions), 16U);
    EXPECT_EQ(virtualSlot(&ServiceBase::getDescription), 17U);
    EXPECT_EQ(virtualSlot(&ServiceBase::getPort), 18U);
    EXPECT_EQ(virtualSlot(&ServiceBase::getSpecification), 19U);
    EXPECT_EQ(virtualSlot(&ServiceBase::updateServiceId), 20U);
    EXPECT_EQ(virtualSlot(&ServiceBase::getAllPorts), 21U);
    EXPECT_EQ(virtualSlot(&ServiceBase::getResources), 22U);
}

TEST(ServiceBase, NamesItsKeys)
{
    EXPECT_EQ(ServiceBase::KEY_PRIVILEGES, "privileges");
    EXPECT_EQ(ServiceBase::KEY_SERVICE_CATEGORIES, "serviceCategories");
    EXPECT_EQ(ServiceBase::KEY_VERSIONS, "versions");
    EXPECT_EQ(ServiceBase::KEY_PORT, "port");
    EXPECT_EQ(ServiceBase::KEY_DESCRIPTION, "description");
    EXPECT_NE(&ServiceBase::KEY_DESCRIPTION, &ResourceBase::KEY_DESCRIPTION) << "each has its own";
}

TEST(ServiceBase, HasThePortItNamesUnlessItHasMore)
{
    EXPECT_THAT(OnePort(INVALID_XOBJ_ID).getAllPorts(), ElementsAre(8080));
    const TwoPorts service(INVALID_XOBJ_ID);
    EXPECT_THAT(static_cast<const ServiceBase&>(service).getAllPorts(), ElementsAre(8080, 8081));
}

TEST(ServiceBase, CopiesOrMovesTheNumberOfAnyObject)
{
    const LogCapture log;
    XObjectGeneric source(5);
    source.setName("a");
    const OnePort copy(source);
    EXPECT_EQ(copy.id(), 5);
    EXPECT_EQ(source.id(), 5);
    EXPECT_EQ(copy.getName(), "a");
    const OnePort moved(std::move(source));
    EXPECT_EQ(moved.id(), 5);
    EXPECT_EQ(source.id(), INVALID_XOBJ_ID);
}

TEST(ServiceBase, CopiesAndMovesItsNumber)
{
    const LogCapture log;
    OnePort source(5);
    const OnePort copy(source);
    EXPECT_EQ(copy.id(), 5);
    OnePort assigned(6);
    assigned = copy;
    EXPECT_EQ(assigned.id(), 5);
    OnePort taken(7);
    taken = std::move(assigned);
    EXPECT_EQ(taken.id(), 5);
    EXPECT_EQ(assigned.id(), INVALID_XOBJ_ID);
}

} // namespace

} // namespace Zovi::Data
