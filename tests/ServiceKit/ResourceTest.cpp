#include "ServiceKit/Resource.h"

#include "JsonMatchers.h"
#include "SampleTree.h"
#include "ServerMessages.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace Zovi::ServiceKit
{

using Test::APPLE_ID;
using Test::compact;
using Test::IsJson;
using Test::Puppet;
using Test::ROOT_ID;
using Test::ServerRequest;
using Method = MethodSet::Method;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(MethodSet, ListsItsMethodsInAFixedOrder)
{
    const MethodSet methods{Method::DELETE, Method::GET,  Method::PUT,
                            Method::GET,    Method::POST, Method::HEAD};
    EXPECT_THAT(methods.names(), ElementsAre("GET", "HEAD", "POST", "PUT", "DELETE"));
    EXPECT_EQ(methods.toHeader(), "GET, HEAD, POST, PUT, DELETE");
}

TEST(MethodSet, ContainsWhatItWasMadeOf)
{
    EXPECT_TRUE(MethodSet::readOnly().contains(Method::GET));
    EXPECT_TRUE(MethodSet::readOnly().contains(Method::HEAD));
    EXPECT_FALSE(MethodSet::readOnly().contains(Method::POST));
    EXPECT_FALSE(MethodSet::readOnly().contains(Method::UNSUPPORTED));
    EXPECT_THAT(MethodSet({}).names(), IsEmpty());
    EXPECT_EQ(MethodSet({}).toHeader(), "");
}

TEST(Resource, IsOnlyReadUnlessToldOtherwise)
{
    Puppet puppet(rootReference(ROOT_ID).child("shop"), [] { return Data::ElementCollection(); });
    EXPECT_EQ(puppet.collectionMethods().toHeader(), "GET, HEAD");
    EXPECT_EQ(puppet.elementMethods().toHeader(), "GET, HEAD");
    EXPECT_EQ(puppet.reference().uri, "/shop/puppet");
    EXPECT_EQ(puppet.description(), "Does as it is told.");
}

TEST(Resource, IsAnObjectOfTheModelItself)
{
    const Puppet puppet(rootReference(ROOT_ID).child("shop"), [] { return Data::ElementCollection(); });
    EXPECT_THAT(compact(puppet.object().toJSON(0)),
                IsJson(R"({"description":"Does as it is told.","id":")" + puppet.reference().id.toString() +
                       R"(","name":"puppet","uri":"/shop/puppet"})"));
}

namespace
{

/// A resource that says no more than it has to.
class Crate : public Resource
{
public:
    using Resource::Resource;

    Data::ElementCollection elements() const override
    {
        return {makeElement(idOf("apple"), "apple"), makeElement(idOf("pear"), "pear")};
    }
};

const Reference CRATE = rootReference(ROOT_ID).child("shop").child("crate");

} // namespace

TEST(Resource, SpecifiesTheAttributesThatItWasGiven)
{
    const Crate crate(CRATE, "Fruit.", {{"weight", "integer", "g", "How heavy it is."}});
    EXPECT_THAT(compact(crate.specification()),
                IsJson(compact(
                    makeSpecification("crate", "Fruit.", {{"weight", "integer", "g", "How heavy it is."}}))));
    EXPECT_THAT(compact(Crate(CRATE, "Fruit.").specification()),
                IsJson(compact(makeSpecification("crate", "Fruit.", {}))));
}

TEST(Resource, LooksForAnElementAmongAllOfThem)
{
    const Crate crate(CRATE, "Fruit.");
    const Data::ElementBase::Ptr pear = crate.element(crate.idOf("pear"));
    ASSERT_TRUE(pear);
    EXPECT_EQ(pear->getName(), "pear");
    EXPECT_FALSE(crate.element(crate.idOf("plum")));
}

TEST(Resource, MakesAnIdOfItselfAndTheKey)
{
    const Crate crate(CRATE, "Fruit.");
    EXPECT_EQ(crate.idOf("pear"), nameBasedId(CRATE.id, "pear"));
    EXPECT_NE(crate.idOf("pear"), crate.idOf("apple"));
}

TEST(Resource, MakesElementsWhoseNamesAreValidText)
{
    const Puppet tin(
        rootReference(ROOT_ID).child("shop"), [] { return Data::ElementCollection(); }, "tin");
    const auto element = tin.makeElement(APPLE_ID, "a\xFF");
    EXPECT_THAT(compact(element->toJSON(0)),
                IsJson(R"({"id":"aaaaaaaa-0000-0000-0000-000000000001","name":"a\uFFFD",
        "uri":"/shop/tin/aaaaaaaa-0000-0000-0000-000000000001"})"));
    EXPECT_EQ(element->service(), "shop");
    EXPECT_EQ(element->resource(), "tin");
    EXPECT_EQ(element->id(), Data::INVALID_XOBJ_ID);
}

TEST(Resource, TakesForAnIdOnlyWhatIsWrittenAsOne)
{
    const Puppet puppet(rootReference(ROOT_ID).child("shop"), [] { return Data::ElementCollection(); });
    const auto idAt = [&puppet](const std::string& id) {
        return puppet.elementId(Command::UrlPath("/shop/puppet/" + id));
    };
    EXPECT_EQ(idAt("aaaaaaaa-0000-0000-0000-000000000001"), APPLE_ID);
    EXPECT_EQ(idAt("AAAAAAAA-0000-0000-0000-000000000001"), APPLE_ID);
    for (const std::string id :
         {"aaaaaaaa000000000000000000000001", "aaaaaaaa-0000-0000-0000-000000000001x"}) {
        SCOPED_TRACE(id);
        try {
            idAt(id);
            ADD_FAILURE() << "not refused";
        } catch (const RequestError& refusal) {
            EXPECT_EQ(refusal.status(), Command::HTTPStatus::HTTP_NOT_FOUND);
            EXPECT_EQ(refusal.what(), "/shop/puppet has no element '" + id + "'");
        }
    }
}

TEST(Resource, RefusesToWriteUnlessItIsOverridden)
{
    Puppet puppet(rootReference(ROOT_ID).child("shop"), [] { return Data::ElementCollection(); });
    ServerRequest request("POST", "/shop/puppet");
    const Command::HttpRequest write(request);
    try {
        puppet.write(write);
        ADD_FAILURE() << "not refused";
    } catch (const RequestError& error) {
        EXPECT_EQ(error.status(), Command::HTTPStatus::HTTP_NOT_IMPLEMENTED);
    }
}

namespace
{

class Listener : public ChangeListener
{
public:
    void onChanged(const Resource& resource) override { changed.push_back(resource.reference().name); }

    std::vector<std::string> changed;
};

class Bell : public Puppet
{
public:
    Bell()
        : Puppet(
              rootReference(ROOT_ID).child("shop"), [] { return Data::ElementCollection(); }, "bell")
    {
    }

    using Puppet::notifyChanged;
};

} // namespace

TEST(Resource, TellsOfNoChangesUnlessItIsOverridden)
{
    EXPECT_FALSE(Bell().tellsOfChanges());
}

TEST(Resource, TellsAllWhoListenAndNobodyElse)
{
    Bell bell;
    bell.notifyChanged();
    const auto first = std::make_shared<Listener>();
    auto second = std::make_shared<Listener>();
    bell.addChangeListener(first);
    bell.addChangeListener(second);
    bell.notifyChanged();
    EXPECT_THAT(second->changed, ::testing::ElementsAre("bell"));
    second.reset();
    bell.notifyChanged();
    bell.addChangeListener(std::make_shared<Listener>());
    bell.notifyChanged();
    EXPECT_THAT(first->changed, ::testing::ElementsAre("bell", "bell", "bell"));
}

} // namespace Zovi::ServiceKit
