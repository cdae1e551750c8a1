#include "ServiceKit/Reference.h"

#include "JsonMatchers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Zovi::ServiceKit
{

using Test::compact;
using Test::IsJson;

TEST(Reference, MakesTheUuidOfANameByTheStandard)
{
    // The example of the standard: version 5 of "www.example.com" among the names of the DNS.
    const Poco::UUID dns("6ba7b810-9dad-11d1-80b4-00c04fd430c8");
    EXPECT_EQ(nameBasedId(dns, "www.example.com").toString(), "2ed6657d-e927-568b-95e1-2665a8aea6a2");
}

TEST(Reference, GivesDifferentNamesAndSpacesDifferentIds)
{
    const Poco::UUID a = nameBasedId(Poco::UUID::null(), "a");
    EXPECT_EQ(a, nameBasedId(Poco::UUID::null(), "a"));
    EXPECT_NE(a, nameBasedId(Poco::UUID::null(), "b"));
    EXPECT_NE(a, nameBasedId(a, "a"));
}

TEST(Reference, TakesForAnIdOnlyWhatIsWrittenAsOne)
{
    const Poco::UUID id("2ed6657d-e927-568b-95e1-2665a8aea6a2");
    EXPECT_EQ(parseId("2ed6657d-e927-568b-95e1-2665a8aea6a2"), id);
    EXPECT_EQ(parseId("2ED6657D-e927-568B-95e1-2665a8aea6a2"), id);
    for (const std::string text :
         {"", "a", "2ed6657de927568b95e12665a8aea6a2", "2ed6657d-e927-568b-95e1-2665a8aea6a",
          "2ed6657d-e927-568b-95e1-2665a8aea6a2x", "2ed6657d-e927-568b-95e1-2665a8aea6ag"})
        EXPECT_EQ(parseId(text), std::nullopt) << text;
}

TEST(Reference, AddressesChildrenByNameAndElementsById)
{
    const Reference root = rootReference(Poco::UUID::dns());
    EXPECT_EQ(root.uri, "/");
    EXPECT_EQ(root.id, Poco::UUID::dns());
    const Reference service = root.child("shop");
    EXPECT_EQ(service.uri, "/shop");
    EXPECT_EQ(service.name, "shop");
    EXPECT_EQ(service.id, nameBasedId(root.id, "shop"));
    EXPECT_EQ(service.child("basket").uri, "/shop/basket");

    const Poco::UUID id("00000000-0000-0000-0000-00000000000a");
    const Reference element = service.child("basket").element(id, "apple");
    EXPECT_EQ(element.uri, "/shop/basket/00000000-0000-0000-0000-00000000000a");
    EXPECT_EQ(element.name, "apple");
    EXPECT_EQ(element.id, id);
}

TEST(Reference, TellsAnObjectOfTheModelWhoItIs)
{
    Data::XObjectGeneric object(Data::INVALID_XOBJ_ID);
    Reference{Poco::UUID::dns(), "name", "/x y?"}.identify(object);
    EXPECT_THAT(compact(object.toJSON(0)),
                IsJson(R"({"id":"6ba7b810-9dad-11d1-80b4-00c04fd430c8","name":"name","uri":"/x%20y%3F"})"));
}

} // namespace Zovi::ServiceKit
