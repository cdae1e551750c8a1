// Programs call virtual functions by their place in a table, so that no header may move, insert or drop one.
// Which place each has is tested with its class where a class has many; here are the others, and where every
// table ends.

#include "VirtualSlot.h"

#include <AbstractQuery.h>
#include <Command/HttpRequest.h>
#include <Command/HttpResponse.h>
#include <Command/Query/ExpandParameter.h>
#include <Command/Query/FilterParameter.h>
#include <Command/Query/Paging.h>
#include <Command/Query/SortingParameter.h>
#include <Command/Query/ValueSearch.h>
#include <Command/WebSocketRequestObject.h>
#include <Command/WebSocketResponseObject.h>
#include <Data/AttributeContainer.h>
#include <Data/AttributeValue.h>
#include <Data/ElementBase.h>
#include <Data/ResourceBase.h>
#include <Data/ServiceBase.h>
#include <Http/ZoviHttpCacheHandler.h>
#include <MicroServiceInfo.h>

#include <gtest/gtest.h>

#include <string>
#include <type_traits>
#include <vector>

namespace
{

using namespace Zovi;
using Test::virtualSlot;

/// A class that somebody derived: its own virtual function stands behind those of the base.
template <typename Base>
class Derived : public Base
{
public:
    virtual void own() {}
};

template <typename Base>
std::size_t virtualFunctionsOf()
{
    static_assert(std::has_virtual_destructor_v<Base>);
    return virtualSlot(&Derived<Base>::own);
}

TEST(VirtualOrder, TellsWhereTablesOfCommandsEnd)
{
    EXPECT_EQ(virtualFunctionsOf<Command::QueryParameter>(), 0U);
    EXPECT_EQ(virtualFunctionsOf<Command::RenderCriterion>(), 0U);
    EXPECT_EQ(virtualFunctionsOf<Command::SearchCriterion>(), 0U);
    EXPECT_EQ(virtualFunctionsOf<Command::Paging>(), 0U);
    EXPECT_EQ(virtualFunctionsOf<Command::FilterParameter>(), 0U);
    EXPECT_EQ(virtualFunctionsOf<Command::SortingParameter>(), 0U);
    EXPECT_EQ(virtualFunctionsOf<Command::ExpandParameter>(), 2U);
    EXPECT_EQ(virtualFunctionsOf<Command::LevelExpansion>(), 2U);
    EXPECT_EQ(virtualFunctionsOf<Command::PropertyExpansion>(), 2U);
    EXPECT_EQ(virtualFunctionsOf<Command::AbstractValueSearch>(), 2U);
    EXPECT_EQ(virtualFunctionsOf<Command::AnyValueSearch>(), 2U);
    EXPECT_EQ(virtualFunctionsOf<Command::AttributeValueSearch>(), 2U);
    EXPECT_EQ(virtualFunctionsOf<Command::RequestBase>(), 0U);
    EXPECT_EQ(virtualFunctionsOf<Command::HttpRequest>(), 0U);
    EXPECT_EQ(virtualFunctionsOf<Command::WebSocketRequestObject>(), 0U);
    EXPECT_EQ(virtualFunctionsOf<Command::StatusObject>(), 0U);
    EXPECT_EQ(virtualFunctionsOf<Command::ResponseObject>(), 0U);
    EXPECT_EQ(virtualFunctionsOf<Command::WebSocketResponseObject>(), 0U);
}

TEST(VirtualOrder, TellsWhereTablesOfDataEnd)
{
    EXPECT_EQ(virtualFunctionsOf<Data::AttributeValueBase>(), 7U);
    EXPECT_EQ(virtualFunctionsOf<Data::AttributeValueStringableBase>(), 8U);
    EXPECT_EQ(virtualFunctionsOf<Data::AttributeValueArrayBase>(), 10U);
    EXPECT_EQ(virtualFunctionsOf<Data::AttributeValueObjectBase>(), 8U);
    EXPECT_EQ(virtualFunctionsOf<Data::AttributeBase>(), 6U);
    EXPECT_EQ(virtualFunctionsOf<Data::XObjectBase>(), 14U);
    EXPECT_EQ(virtualFunctionsOf<Data::ElementBase>(), 14U);
    EXPECT_EQ(virtualFunctionsOf<Data::ElementGeneric>(), 14U);
    EXPECT_EQ(virtualFunctionsOf<Data::ResourceBase>(), 19U);
    EXPECT_EQ(virtualFunctionsOf<Data::ServiceBase>(), 23U);
    EXPECT_EQ(virtualFunctionsOf<MicroServiceInfo>(), 23U);
}

TEST(VirtualOrder, KeepsPlainValuesWithoutATable)
{
    EXPECT_FALSE(std::is_polymorphic_v<Command::UrlPath>);
    EXPECT_FALSE(std::is_polymorphic_v<Command::HttpResponse>);
    EXPECT_FALSE(std::is_polymorphic_v<Data::AttributeContainer>);
    EXPECT_FALSE(std::is_polymorphic_v<Net::ZoviHttpCacheHandler>);
}

TEST(VirtualOrder, PutsTheCallOfAQueryBeforeItsDestructor)
{
    using Query = Util::AbstractQuery<std::vector<int>, std::string>;
    using Filter = Util::AbstractFilter<std::vector<int>>;
    const std::size_t beforeTheDestructor = std::size_t{0} - 2;
    EXPECT_EQ(virtualSlot(&Query::operator()), beforeTheDestructor);
    EXPECT_EQ(virtualSlot(&Filter::operator()), beforeTheDestructor);
    // The call and the two entries of the destructor.
    EXPECT_EQ(virtualFunctionsOf<Query>(), 1U);
    EXPECT_EQ(virtualFunctionsOf<Filter>(), 1U);
}

} // namespace
