// What a service does with the object model, from its own namespace and without a word in the library's.

#include "Data/AttributeContainer.h"
#include "Data/AttributeValueArray.h"
#include "Data/ElementBase.h"
#include "Data/ResourceBase.h"
#include "Data/ServiceBase.h"
#include "Data/XObjectGeneric.h"

#include "JsonMatchers.h"

#include <gmock/gmock.h>

#include <Poco/Exception.h>

#include <forward_list>
#include <memory>

namespace Outside
{

using ::testing::ElementsAre;
using ::testing::NotNull;
using Zovi::Data::Attribute;
using Zovi::Data::AttributeBase;
using Zovi::Data::AttributeContainer;
using Zovi::Data::AttributeValue;
using Zovi::Data::AttributeValueArray;
using Zovi::Data::AttributeValueArrayBase;
using Zovi::Data::AttributeValueBase;
using Zovi::Data::AttributeValueInteger;
using Zovi::Data::AttributeValueObjectBase;
using Zovi::Data::AttributeValueStringable;
using Zovi::Data::AttributeValueStringableBase;
using Zovi::Data::ElementBase;
using Zovi::Data::ElementCollection;
using Zovi::Data::ElementGeneric;
using Zovi::Data::GenericObject;
using Zovi::Data::INVALID_XOBJ_ID;
using Zovi::Data::ResourceBase;
using Zovi::Data::XObjectBase;
using Zovi::Data::XObjectId;
using Zovi::Test::compact;
using Zovi::Test::IsJson;

// ---- types of the service's own --------------------------------------------------------------------------

/// An amount in a currency of its own.
struct Money {
    long cents = 0;
};

bool operator==(const Money& left, const Money& right)
{
    return left.cents == right.cents;
}

bool operator<(const Money& left, const Money& right)
{
    return left.cents < right.cents;
}

Poco::Dynamic::Var toJson(const Money& money, int)
{
    return static_cast<double>(money.cents) / 100;
}

class MoneyValue : public AttributeValue<Money, AttributeValueBase>
{
public:
    MoneyValue(const Money& money)
        : AttributeValue(money)
    {
    }
};

/// Something with a text form and no order.
struct Mac {
    std::string text;
    std::string toString() const { return text; }
};

Poco::Dynamic::Var toJson(const Mac& mac, int)
{
    return mac.text;
}

using MacValue = AttributeValueStringable<Mac>;

// ---- the layers that the library has no class for --------------------------------------------------------

class Bytes : public AttributeValue<std::uint64_t, AttributeValueBase>
{
public:
    Bytes(std::uint64_t value)
        : AttributeValue(value)
    {
    }
};

class Ratio : public AttributeValue<double, AttributeValueBase>
{
public:
    Ratio(double value)
        : AttributeValue(value)
    {
    }
};

class Switch : public AttributeValue<bool, AttributeValueBase>
{
public:
    Switch(bool value)
        : AttributeValue(value)
    {
    }
};

// ---- references ------------------------------------------------------------------------------------------

/// Refers to an element and keeps it alive. The JSON form is the library's own.
class OwningReference : public AttributeValue<ElementBase::Ptr, AttributeValueObjectBase>
{
public:
    OwningReference(const ElementBase::Ptr& element)
        : AttributeValue(element)
    {
    }
    const XObjectBase* getReferencedObject() const override { return m_value.get(); }
};

/// Refers to an object that somebody else keeps alive, and renders it in a way of its own: as a text where it
/// would be short.
class LooseReference : public AttributeValue<const XObjectBase*, AttributeValueObjectBase>
{
public:
    LooseReference(const XObjectBase* object)
        : AttributeValue(object)
    {
    }
    const XObjectBase* getReferencedObject() const override { return m_value; }
    Poco::Dynamic::Var toJSON(int level) const override
    {
        if (!m_value)
            return Poco::Dynamic::Var();
        return level < 0 ? Poco::Dynamic::Var(m_value->getName()) : AttributeValueObjectBase::toJSON(level);
    }
};

/// Refers without a value of its own below, straight from the base.
class BareReference : public AttributeValueObjectBase
{
public:
    using value_type = const XObjectBase*;

    BareReference(const XObjectBase* object)
        : m_object(object)
    {
    }
    const std::type_info& type() const override { return typeid(value_type); }
    Zovi::Data::GenericValue asGeneric() const override { return m_object->getId().toString(); }
    const XObjectBase* getReferencedObject() const override { return m_object; }
    const value_type& get() const { return m_object; }

private:
    const XObjectBase* m_object;
};

/// Refers by something that has a JSON form of its own, and renders the level that it is given.
class MoneyReference : public AttributeValue<Money, AttributeValueObjectBase>
{
public:
    MoneyReference(const Money& money)
        : AttributeValue(money)
    {
    }
    const XObjectBase* getReferencedObject() const override { return nullptr; }
    Poco::Dynamic::Var toJSON(int level) const override { return level; }
};

/// What a weak pointer refers to; it has neither an order nor a JSON form.
class WeakReference : public AttributeValue<std::weak_ptr<XObjectBase>, AttributeValueObjectBase>
{
public:
    WeakReference(const std::weak_ptr<XObjectBase>& object)
        : AttributeValue(object)
    {
    }
    const XObjectBase* getReferencedObject() const override { return m_value.lock().get(); }
};

// ---- objects ---------------------------------------------------------------------------------------------

std::string uuidOf(int number)
{
    return "00000000-0000-0000-0000-00000000000" + std::to_string(number);
}

ElementGeneric* newElement(const std::string& name, int number)
{
    return new ElementGeneric("host", "processes", name, uuidOf(number), INVALID_XOBJ_ID);
}

std::string identity(const std::string& name, int number)
{
    return R"("id":")" + uuidOf(number) + R"(","name":")" + name + R"(","uri":"/host/processes/)" +
           uuidOf(number) + "\"";
}

/// The resource that lists the elements it was given.
class Processes : public GenericObject<ResourceBase>
{
public:
    explicit Processes(ElementCollection elements)
        : GenericObject("processes", uuidOf(9), "/host/" + uuidOf(9), INVALID_XOBJ_ID)
        , m_elements(std::move(elements))
    {
        setValue<AttributeValueStringable<std::string>>(KEY_DESCRIPTION, "what runs");
    }

    std::string getDescription() const override
    {
        return m_attrContainer.getValue<AttributeValueStringable<std::string>>(KEY_DESCRIPTION);
    }
    const std::string& getSpecification() const override { return m_specification; }
    bool hasElement(XObjectId id) const override { return getElement(id).get() != nullptr; }
    ElementBase::Ptr getElement(XObjectId id) const override
    {
        for (const ElementBase::Ptr& element : m_elements) {
            if (element->id() == id)
                return element;
        }
        return nullptr;
    }
    ElementCollection getElements() const override { return m_elements; }

private:
    std::string m_specification = "spec";
    ElementCollection m_elements;
};

// ---- tests -----------------------------------------------------------------------------------------------

TEST(OutsideUse, HoldsATypeOfItsOwn)
{
    MoneyValue value(Money{150});
    EXPECT_EQ(value.type(), typeid(Money));
    EXPECT_EQ(value.get().cents, 150);
    EXPECT_EQ(value.asGeneric().extract<Money>().cents, 150);
    EXPECT_EQ(value.toJSON(0).extract<double>(), 1.5);
    EXPECT_EQ(value.compare(MoneyValue(Money{151})), -1);
    EXPECT_EQ(value.compare(MoneyValue(Money{149})), 1);
    EXPECT_TRUE(value == Money{150});
    EXPECT_TRUE(value.setValue(MoneyValue(Money{2})));
    EXPECT_FALSE(value.setValue(AttributeValueInteger(3)));
    EXPECT_EQ(value.get().cents, 2);
}

TEST(OutsideUse, HoldsATextFormOfItsOwnWithoutAnOrder)
{
    const MacValue value(Mac{"b"});
    EXPECT_EQ(value.toString(), "b");
    EXPECT_EQ(value.asGeneric().extract<std::string>(), "b");
    EXPECT_EQ(value.toJSON(0).extract<std::string>(), "b");
    EXPECT_EQ(value.compare(MacValue(Mac{"c"})), -1) << "by the texts";
    EXPECT_EQ(value.compare(MacValue(Mac{"a"})), 1);
}

TEST(OutsideUse, HoldsAnAttributeOfItsOwnValueClass)
{
    using Price = Attribute<MoneyValue>;
    ElementGeneric element("shop", "goods", "a", uuidOf(1), INVALID_XOBJ_ID);
    element.setValue<Price>("price", Money{150});
    element.setValue<MoneyValue>("rebate", Money{50});
    EXPECT_TRUE(element.setAttribute(Price(INVALID_XOBJ_ID, "tax", Money{20})));
    EXPECT_EQ(element.getAttribute("price")->type(), typeid(Money));
    EXPECT_EQ(element.getValue("price")->convert<MoneyValue>()->get().cents, 150);
    EXPECT_THAT(element.getAttribute("tax").cast<Price>().get(), NotNull());
    EXPECT_THAT(compact(element.toJSON(0)),
                IsJson(R"({"id":")" + uuidOf(1) + R"(","name":"a","uri":"/shop/goods/)" + uuidOf(1) +
                       R"(","price":1.5,"rebate":0.5,"tax":0.2})"));

    const ElementGeneric copy(element);
    element.setValue<Price>("price", Money{1});
    EXPECT_EQ(copy.getValue("price")->convert<MoneyValue>()->get().cents, 150);
}

TEST(OutsideUse, HoldsAnArrayOfItsOwnElements)
{
    using Prices = AttributeValueArray<MoneyValue>;
    Prices prices{MoneyValue(Money{200}), MoneyValue(Money{50})};
    EXPECT_EQ(prices.type(), typeid(std::vector<MoneyValue>));
    EXPECT_TRUE(prices.isArray());
    EXPECT_TRUE(prices.hasElement(Money{50}));
    EXPECT_FALSE(prices.hasElement(MoneyValue(Money{51})));
    prices.addElement(Money{100});
    EXPECT_EQ(compact(prices.toJSON(0).extract<Poco::JSON::Array::Ptr>()), "[2,0.5,1]");
    EXPECT_EQ(prices.compare(Prices{MoneyValue(Money{200})}), 1);
    EXPECT_EQ(prices.asGeneric().extract<std::vector<Poco::Dynamic::Var>>()[1].extract<Money>().cents, 50);

    using Macs = AttributeValueArray<MacValue>;
    const Macs macs{MacValue(Mac{"b"}), MacValue(Mac{"a"})};
    EXPECT_THAT(macs.simplify(), ElementsAre("b", "a"));
}

TEST(OutsideUse, HoldsUnsignedNumbersRatiosAndTruths)
{
    Bytes bytes(18446744073709551615U);
    EXPECT_EQ(bytes.type(), typeid(std::uint64_t));
    EXPECT_EQ(bytes.toJSON(0).extract<std::uint64_t>(), 18446744073709551615U);
    EXPECT_EQ(bytes.asGeneric().extract<std::uint64_t>(), 18446744073709551615U);
    EXPECT_EQ(bytes.compare(Bytes(9)), 1);
    EXPECT_TRUE(bytes.setValue(Bytes(7)));
    EXPECT_TRUE(bytes == 7);
    EXPECT_FALSE(bytes.setValue(AttributeValueInteger(8)));

    Ratio ratio(0.25);
    EXPECT_EQ(ratio.type(), typeid(double));
    EXPECT_EQ(ratio.toJSON(0).extract<double>(), 0.25);
    EXPECT_EQ(ratio.compare(Ratio(0.5)), -1);
    EXPECT_EQ(ratio.compare(Ratio(0.25)), 0);
    EXPECT_TRUE(ratio.setValue(Ratio(1)));
    EXPECT_EQ(ratio.get(), 1);

    Switch onOff(false);
    EXPECT_EQ(onOff.type(), typeid(bool));
    EXPECT_EQ(onOff.toJSON(0).extract<bool>(), false);
    EXPECT_EQ(onOff.compare(Switch(true)), -1);
    EXPECT_TRUE(onOff.setValue(Switch(true)));
    EXPECT_TRUE(onOff.get());

    ElementGeneric element("svc", "res", "a", uuidOf(1), INVALID_XOBJ_ID);
    element.setValue<Bytes>("size", 5);
    element.setValue<Ratio>("load", 0.5);
    element.setValue<Switch>("on", true);
    element.removeValue("id");
    element.removeValue("uri");
    EXPECT_THAT(compact(element.toJSON(0)), IsJson(R"({"load":0.5,"name":"a","on":true,"size":5})"));
}

TEST(OutsideUse, RefersToAnElement)
{
    const ElementBase::Ptr parent = newElement("init", 1);
    const OwningReference reference(parent);
    EXPECT_TRUE(reference.isXObjReference());
    EXPECT_FALSE(reference.isArray());
    EXPECT_TRUE(OwningReference::isXObjReferenceType());
    const XObjectBase* object = nullptr;
    EXPECT_TRUE(static_cast<const AttributeValueBase&>(reference).convert(object));
    EXPECT_EQ(object, parent.get());
    EXPECT_FALSE(static_cast<const AttributeValueBase&>(OwningReference(nullptr)).convert(object));
    EXPECT_TRUE(OwningReference(nullptr).toJSON(0).isEmpty());

    const Attribute<OwningReference> attribute(INVALID_XOBJ_ID, "parent", parent);
    EXPECT_TRUE(attribute.isXObjReference());
    EXPECT_EQ(attribute.type(), typeid(ElementBase::Ptr));
}

TEST(OutsideUse, RendersReferencesByLevel)
{
    const ElementBase::Ptr grandparent = newElement("init", 1);
    ElementGeneric* shell = newElement("shell", 2);
    shell->setValue<OwningReference>("parent", grandparent);
    ElementGeneric process("host", "processes", "top", uuidOf(3), INVALID_XOBJ_ID);
    process.setValue<OwningReference>("parent", ElementBase::Ptr(shell));

    const std::string top = identity("top", 3);
    const std::string shellIdentity = identity("shell", 2);
    const std::string init = identity("init", 1);
    const std::string full = "{" + top + R"(,"parent":{)" + shellIdentity + R"(,"parent":{)" + init + "}}}";
    const std::string expected[] = {
        "{" + top + "}", "{" + top + R"(,"parent":{)" + shellIdentity + "}}", full, full, full,
    };
    for (int level = -1; level <= 3; ++level) {
        SCOPED_TRACE(level);
        EXPECT_THAT(compact(process.toJSON(level)), IsJson(expected[level + 1]));
    }
    using Fields = std::vector<std::string>;
    EXPECT_THAT(compact(process.toJSON(Fields{"parent"})), IsJson(full));
    EXPECT_THAT(compact(process.toJSON(Fields{})), IsJson(expected[1]));
}

TEST(OutsideUse, EndsACircleOfReferencesByTheLevel)
{
    ElementGeneric parent("host", "processes", "shell", uuidOf(1), INVALID_XOBJ_ID);
    ElementGeneric child("host", "processes", "top", uuidOf(2), INVALID_XOBJ_ID);
    child.setValue<BareReference>("parent", &parent);
    parent.setValue<AttributeValueArray<BareReference>>("children", {BareReference(&child)});

    const std::string p = identity("shell", 1);
    const std::string c = identity("top", 2);
    const std::string expected[] = {
        "{" + c + "}",
        "{" + c + R"(,"parent":{)" + p + "}}",
        "{" + c + R"(,"parent":{)" + p + R"(,"children":[{)" + c + "}]}}",
        "{" + c + R"(,"parent":{)" + p + R"(,"children":[{)" + c + R"(,"parent":{)" + p + "}}]}}",
        "{" + c + R"(,"parent":{)" + p + R"(,"children":[{)" + c + R"(,"parent":{)" + p +
            R"(,"children":[{)" + c + "}]}}]}}",
    };
    for (int level = -1; level <= 3; ++level) {
        SCOPED_TRACE(level);
        EXPECT_THAT(compact(child.toJSON(level)), IsJson(expected[level + 1]));
    }
}

TEST(OutsideUse, EndsAnElementThatIsItsOwnParentByTheLevel)
{
    ElementGeneric element("host", "processes", "init", uuidOf(1), INVALID_XOBJ_ID);
    element.setValue<BareReference>("parent", &element);
    const std::string self = identity("init", 1);
    std::string expected = "{" + self + "}";
    for (int level = -1; level <= 3; ++level) {
        SCOPED_TRACE(level);
        EXPECT_THAT(compact(element.toJSON(level)), IsJson(expected));
        expected = "{" + self + R"(,"parent":)" + expected + "}";
    }
}

TEST(OutsideUse, RendersReferencesInAWayOfItsOwn)
{
    ElementGeneric parent("host", "processes", "init", uuidOf(1), INVALID_XOBJ_ID);
    ElementGeneric child("host", "processes", "top", uuidOf(2), INVALID_XOBJ_ID);
    child.setValue<LooseReference>("parent", &parent);
    child.setValue<LooseReference>("tracer", nullptr);
    EXPECT_THAT(compact(child.toJSON(0)),
                IsJson("{" + identity("top", 2) + R"(,"parent":"init","tracer":null})"));
    EXPECT_THAT(compact(child.toJSON(1)), IsJson("{" + identity("top", 2) + R"(,"parent":{)" +
                                                 identity("init", 1) + R"(},"tracer":null})"));
}

TEST(OutsideUse, HoldsAnArrayOfReferences)
{
    using References = AttributeValueArray<OwningReference>;
    const ElementBase::Ptr first = newElement("a", 1);
    const ElementBase::Ptr second = newElement("b", 2);
    References references;
    references.addElement(first);
    references.addElement(OwningReference(second));
    EXPECT_TRUE(References::isXObjReferenceType());
    EXPECT_TRUE(References::isArrayType());
    EXPECT_TRUE(references.isXObjReference());
    EXPECT_TRUE(references.isArray());
    EXPECT_TRUE(references.hasElement(second));

    const AttributeValueBase& base = references;
    const XObjectBase* object = nullptr;
    EXPECT_FALSE(base.convert(object)) << "the array itself refers to no single object";
    std::vector<const AttributeValueBase*> elements;
    ASSERT_TRUE(base.convert(elements));
    EXPECT_TRUE(elements[1]->convert(object));
    EXPECT_EQ(object, second.get());

    const std::string shortForm = "[{" + identity("a", 1) + "},{" + identity("b", 2) + "}]";
    EXPECT_EQ(compact(references.toJSON(-1).extract<Poco::JSON::Array::Ptr>()), shortForm);
    const Attribute<References> attribute(INVALID_XOBJ_ID, "children", references);
    EXPECT_TRUE(attribute.isXObjReference());
    EXPECT_TRUE(attribute.isArray());
}

TEST(OutsideUse, LeavesReferencesInAnArrayToThemselvesWhateverTheyHold)
{
    const AttributeValueArray<MoneyReference> references{MoneyReference(Money{150})};
    for (int level : {-1, 2}) {
        SCOPED_TRACE(level);
        EXPECT_EQ(compact(references.toJSON(level).extract<Poco::JSON::Array::Ptr>()),
                  "[" + std::to_string(level) + "]");
    }
    EXPECT_EQ(Zovi::Data::Util::toJson(MoneyReference(Money{150}), 3).extract<int>(), 3);
}

TEST(OutsideUse, RefersByAPointerWithoutAnOrder)
{
    const std::shared_ptr<XObjectBase> object(newElement("a", 1));
    const WeakReference reference(object);
    EXPECT_EQ(reference.getReferencedObject(), object.get());
    EXPECT_EQ(compact(reference.toJSON(-1).extract<Poco::JSON::Object::Ptr>()), "{" + identity("a", 1) + "}");
    EXPECT_THROW(reference.compare(reference), Poco::BadCastException) << "it has no text form either";
    EXPECT_EQ(AttributeValueArray<WeakReference>{reference}.size(), 1U);
}

TEST(OutsideUse, OffersAResource)
{
    const ElementBase::Ptr element = newElement("a", 1);
    const Processes resource(ElementCollection{element});
    const ResourceBase& base = resource;
    EXPECT_EQ(base.getDescription(), "what runs");
    EXPECT_EQ(base.getElement(INVALID_XOBJ_ID).get(), element.get());
    EXPECT_FALSE(base.hasElement(5));
    EXPECT_THAT(compact(base.toJSON(0)),
                IsJson(R"({"description":"what runs","id":")" + uuidOf(9) +
                       R"(","name":"processes","uri":"/host/)" + uuidOf(9) + R"("})"));
    EXPECT_THAT(
        compact(base.toJSON(-1)),
        IsJson(R"({"id":")" + uuidOf(9) + R"(","name":"processes","uri":"/host/)" + uuidOf(9) + R"("})"));
    const Processes copy(resource);
    EXPECT_EQ(copy.getName(), "processes");
}

TEST(OutsideUse, RendersRangesOfItsOwnTypes)
{
    namespace Util = Zovi::Data::Util;
    const auto text = [](const Poco::Dynamic::Var& json) {
        return compact(json.extract<Poco::JSON::Array::Ptr>());
    };
    EXPECT_EQ(Util::toJson(Money{150}, 0).extract<double>(), 1.5);
    EXPECT_EQ(text(Util::toJson(std::vector<Money>{{50}, {150}}, 0)), "[0.5,1.5]");
    EXPECT_EQ(text(Util::toJson(std::forward_list<MoneyValue>{Money{50}}, 0)), "[0.5]");
    EXPECT_EQ(text(Util::toJson(std::vector<std::vector<Mac>>{{Mac{"a"}}, {}}, 0)), R"([["a"],[]])");
    const ElementBase::Ptr element = newElement("a", 1);
    EXPECT_EQ(text(Util::toJson(std::vector<OwningReference>{element}, -1)), "[{" + identity("a", 1) + "}]");
}

TEST(OutsideUse, RecognisesWhatTheLibraryMade)
{
    // The value of "name" is made inside the library, the classes are asked for here.
    const ElementGeneric element(Poco::URI("/host/processes/" + uuidOf(1)), "a", INVALID_XOBJ_ID);
    const AttributeBase::Ptr name = element.getAttribute(XObjectBase::KEY_NAME);
    using Text = AttributeValueStringable<std::string>;
    EXPECT_THAT(dynamic_cast<const Attribute<Text>*>(name.get()), NotNull());
    EXPECT_THAT(name->getValueBase()->convert<Text>(), NotNull());
    EXPECT_THAT(name->getValueBase()->convert<AttributeValueStringableBase>(), NotNull());
    EXPECT_TRUE(name->getValueBase()->setValue(Text("b")));
    EXPECT_EQ(element.getName(), "b");
    EXPECT_THAT(dynamic_cast<const GenericObject<ElementBase>*>(static_cast<const XObjectBase*>(&element)),
                NotNull());
}

} // namespace Outside
