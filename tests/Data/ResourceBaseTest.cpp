#include "Data/ResourceBase.h"

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
using ::testing::IsNull;
using ::testing::SizeIs;

static_assert(std::is_abstract_v<ResourceBase> && std::is_base_of_v<XObjectBase, ResourceBase>);
static_assert(sizeof(ResourceBase) == sizeof(XObjectBase));
static_assert(std::is_same_v<ResourceCollection, std::vector<Poco::SharedPtr<ResourceBase>>>);

/// A resource with the elements 0 and 1.
class TwoElements : public GenericObject<ResourceBase>
{
public:
    explicit TwoElements(XObjectId id)
        : GenericObject(id)
    {
        for (XObjectId element : {0, 1})
            m_elements.push_back(
                new ElementGeneric("svc", "res", std::to_string(element), Poco::UUID::dns(), element));
    }

    std::string getDescription() const override { return "two"; }
    const std::string& getSpecification() const override { return m_specification; }
    bool hasElement(XObjectId id) const override { return id == 0 || id == 1; }
    ElementBase::Ptr getElement(XObjectId id) const override
    {
        return hasElement(id) ? m_elements[static_cast<std::size_t>(id)] : ElementBase::Ptr();
    }
    ElementCollection getElements() const override { return m_elements; }

private:
    std::string m_specification = "spec";
    ElementCollection m_elements;
};

TEST(ResourceBase, KeepsItsVirtualFunctionsInOrder)
{
    EXPECT_EQ(virtualSlot(&ResourceBase::getDescription), 14U);
    EXPECT_EQ(virtualSlot(&ResourceBase::getSpecification), 15U);
    EXPECT_EQ(virtualSlot(&ResourceBase::hasElement), 16U);
    EXPECT_EQ(virtualSlot(&ResourceBase::getElement), 17U);
    EXPECT_EQ(virtualSlot(&ResourceBase::getElements), 18U);
}

TEST(ResourceBase, NamesItsKey)
{
    EXPECT_EQ(ResourceBase::KEY_DESCRIPTION, "description");
}

TEST(ResourceBase, IsReadThroughItsInterface)
{
    const TwoElements resource(5);
    const ResourceBase& base = resource;
    EXPECT_EQ(base.id(), 5);
    EXPECT_EQ(base.getDescription(), "two");
    EXPECT_EQ(base.getSpecification(), "spec");
    EXPECT_TRUE(base.hasElement(1));
    EXPECT_EQ(base.getElement(1)->getName(), "1");
    EXPECT_THAT(base.getElement(2).get(), IsNull());
    EXPECT_THAT(base.getElements(), SizeIs(2));
}

TEST(ResourceBase, CopiesAndMovesItsNumber)
{
    const LogCapture log;
    TwoElements source(5);
    source.setName("a");
    const TwoElements copy(source);
    EXPECT_EQ(copy.id(), 5);
    EXPECT_EQ(copy.getName(), "a");
    const TwoElements moved(std::move(source));
    EXPECT_EQ(moved.id(), 5);
    EXPECT_EQ(source.id(), INVALID_XOBJ_ID);
    TwoElements assigned(6);
    assigned = copy;
    EXPECT_EQ(assigned.id(), 5);
    TwoElements taken(7);
    taken = std::move(assigned);
    EXPECT_EQ(taken.id(), 5);
    EXPECT_EQ(assigned.id(), INVALID_XOBJ_ID);
}

} // namespace

} // namespace Zovi::Data
