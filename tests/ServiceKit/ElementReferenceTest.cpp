#include "ServiceKit/ElementReference.h"

#include "JsonMatchers.h"
#include "SampleTree.h"
#include "ServiceKit/Values.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace Zovi::ServiceKit
{

namespace
{

using Test::compact;
using Test::IsJson;

/// People who refer to each other in a circle. Counts how often one of them is looked up.
class People : public Resource
{
public:
    People()
        : Resource(rootReference(Test::ROOT_ID).child("town").child("people"), "Who lives here.")
    {
    }

    Data::ElementCollection elements() const override { return {person("Ann", "Bob"), person("Bob", "Ann")}; }

    Data::ElementBase::Ptr element(const Poco::UUID& id) const override
    {
        ++lookups;
        return Resource::element(id);
    }

    ElementReference refer(const std::string& name) const { return ElementLink(*this, idOf(name), name); }

    std::string uriOf(const std::string& name) const { return "/town/people/" + idOf(name).toString(); }

    /// The short form.
    std::string briefly(const std::string& name) const
    {
        return R"({"id":")" + idOf(name).toString() + R"(","name":")" + name + R"(","uri":")" + uriOf(name) +
               R"("})";
    }

    /// The form at level 0, with `friendForm` in place of the friend.
    std::string inFull(const std::string& name, const std::string& friendForm) const
    {
        return R"({"friend":)" + friendForm + "," + briefly(name).substr(1);
    }

    mutable int lookups = 0;

private:
    Data::ElementBase::Ptr person(const std::string& name, const std::string& friendName) const
    {
        auto element = makeElement(idOf(name), name);
        element->setValue<ElementReference>("friend", {*this, idOf(friendName), friendName});
        return element;
    }
};

std::string textOf(const ElementReference& reference, int level)
{
    return compact(reference.toJSON(level).extract<Poco::JSON::Object::Ptr>());
}

} // namespace

TEST(ElementReference, TellsIdNameAndAddressWithoutALookUp)
{
    const People people;
    EXPECT_THAT(textOf(people.refer("Ann"), -1), IsJson(people.briefly("Ann")));
    EXPECT_EQ(people.lookups, 0);
}

TEST(ElementReference, TellsAllThatTheElementSays)
{
    const People people;
    EXPECT_THAT(textOf(people.refer("Ann"), 0), IsJson(people.inFull("Ann", people.briefly("Bob"))));
}

TEST(ElementReference, EndsACircleAtTheLevel)
{
    const People people;
    EXPECT_THAT(
        textOf(people.refer("Ann"), 2),
        IsJson(people.inFull("Ann", people.inFull("Bob", people.inFull("Ann", people.briefly("Bob"))))));
}

TEST(ElementReference, LooksItsElementUpOnce)
{
    const People people;
    const ElementReference reference = people.refer("Ann");
    const Data::XObjectBase* object = reference.getReferencedObject();
    EXPECT_EQ(reference.getReferencedObject(), object);
    reference.toJSON(0);
    EXPECT_EQ(people.lookups, 1);
}

TEST(ElementReference, TellsWhatItKnowsOfAnElementThatIsGone)
{
    const People people;
    EXPECT_THAT(textOf(people.refer("Cid"), 0), IsJson(people.briefly("Cid")));
}

TEST(ElementReference, IsKnownAsAReference)
{
    const People people;
    const ElementReference reference = people.refer("Ann");
    EXPECT_TRUE(reference.isXObjReference());
    const Data::XObjectBase* object = nullptr;
    ASSERT_TRUE(reference.convert(object));
    EXPECT_EQ(object->getId(), people.idOf("Ann"));
}

TEST(ElementReference, RefersToAnotherElementWhenItIsSetAnew)
{
    const People people;
    ElementReference reference = people.refer("Ann");
    reference.toJSON(0);
    ASSERT_TRUE(reference.setValue(people.refer("Bob")));
    EXPECT_THAT(textOf(reference, -1), IsJson(people.briefly("Bob")));
    EXPECT_THAT(textOf(reference, 0), IsJson(people.inFull("Bob", people.briefly("Ann"))));
}

} // namespace Zovi::ServiceKit
