// Objects with typed attributes, their identity and their JSON form.

#include <Data/AttributeBase.h>
#include <Data/AttributeContainer.h>
#include <Data/AttributeValue.h>
#include <Data/AttributeValueArray.h>
#include <Data/ElementBase.h>
#include <MicroServiceInfo.h>

#include <Poco/Exception.h>

#include <iostream>
#include <memory>
#include <string>

using namespace Zovi::Data;

namespace
{

const std::string CELLAR_ID = "00000000-0000-4000-8000-0000000000a1";
const std::string BOILER_ID = "00000000-0000-4000-8000-000000000001";

using Text = AttributeValueStringable<std::string>;

void show(const Poco::JSON::Object::Ptr& object)
{
    object->stringify(std::cout);
    std::cout << '\n';
}

// [ratio]
/// A value class for numbers with a fraction, which the library leaves to its users.
class Ratio : public AttributeValue<double, AttributeValueBase>
{
public:
    Ratio(double value)
        : AttributeValue(value)
    {
    }
};
// [/ratio]

// [reference]
/// A value that refers to an element and keeps it alive.
class Room : public AttributeValue<ElementBase::Ptr, AttributeValueObjectBase>
{
public:
    Room(const ElementBase::Ptr& room)
        : AttributeValue(room)
    {
    }

    const XObjectBase* getReferencedObject() const override { return get().get(); }
};
// [/reference]

ElementBase::Ptr makeCellar()
{
    Poco::SharedPtr<ElementGeneric> cellar(
        new ElementGeneric("plant", "rooms", "cellar", CELLAR_ID, INVALID_XOBJ_ID));
    cellar->setValue<AttributeValueInteger>("floor", -1);
    return cellar;
}

// [create]
ElementGeneric makeBoiler()
{
    ElementGeneric boiler("plant", "devices", "boiler", BOILER_ID, INVALID_XOBJ_ID);
    boiler.setValue<Text>("state", "running");
    boiler.setValue<AttributeValueInteger>("starts", 10);
    boiler.setValue<Ratio>("load", 1.5);
    boiler.setValue<AttributeValueStringArray>("tags", {Text("heat"), Text("water")});
    boiler.setValue<Room>("room", makeCellar());
    return boiler;
}
// [/create]

void json()
{
    std::cout << "[json]\n";
    // [json]
    const ElementGeneric boiler = makeBoiler();
    show(boiler.toJSON(-1));
    show(boiler.toJSON(0));
    show(boiler.toJSON(1));
    show(boiler.toJSON({"room"}));
    // [/json]
}

void reading()
{
    std::cout << "[read]\n";
    // [read]
    const ElementGeneric boiler = makeBoiler();
    std::cout << boiler.getName() << " has " << boiler.size() << " attributes\n";
    if (const auto* value = boiler.getValue("load"))
        std::cout << "load " << value->convert<Ratio>()->get() << '\n';
    if (!boiler.getValue("pressure"))
        std::cout << "no pressure\n";
    for (const auto& [name, attribute] : boiler.getAttributesRef())
        std::cout << name << (attribute->isArray() ? " []" : "")
                  << (attribute->isXObjReference() ? " ->" : "") << '\n';
    // [/read]
}

void types()
{
    std::cout << "[types]\n";
    // [types]
    ElementGeneric boiler = makeBoiler();
    boiler.setValue<AttributeValueInteger>("starts", 11); // the type that it has
    try {
        boiler.setValue<Text>("starts", "many");
    } catch (const Poco::InvalidAccessException& refusal) {
        std::cout << refusal.message() << '\n';
    }
    boiler.removeValue("starts");
    boiler.setValue<Text>("starts", "many"); // a name that is free takes any type
    // [/types]
    show(boiler.toJSON(0));
}

void containers()
{
    std::cout << "[sharing]\n";
    // [sharing]
    AttributeContainer original(INVALID_XOBJ_ID);
    original.setValue("starts", AttributeValueInteger(1));
    AttributeContainer sharing(original);
    const AttributeContainer own = AttributeContainer::deepCopy(original);

    original.setValue("starts", AttributeValueInteger(2));
    std::cout << "sharing " << sharing.getValue<AttributeValueInteger>("starts").get() << ", own "
              << own.getValue<AttributeValueInteger>("starts").get() << '\n';
    // [/sharing]
}

void identity()
{
    std::cout << "[identity]\n";
    // [identity]
    const ElementGeneric boiler = makeBoiler();
    const ElementGeneric same = boiler.copy();
    const ElementGeneric renamed("plant", "devices", "kettle", BOILER_ID, INVALID_XOBJ_ID);
    std::cout << boiler.getUri().toString() << '\n'
              << (boiler == same) << (boiler == renamed) << (boiler < renamed) << '\n';
    // [/identity]

    std::cout << "[mismatch]\n";
    // [mismatch]
    try {
        const XObjectGeneric object("boiler", BOILER_ID, "/plant/devices/somewhere-else", INVALID_XOBJ_ID);
    } catch (const Poco::DataException& refusal) {
        std::cout << refusal.message() << '\n';
    }
    // [/mismatch]
}

void service()
{
    std::cout << "[service]\n";
    // [service]
    const Poco::UUID id("00000000-0000-4000-8000-0000000000f1");
    Zovi::MicroServiceInfo info(id, Poco::URI("/" + id.toString()), "plant", 8080,
                                "The plant in the cellar.");
    info.setVersions({Text("1")});
    show(info.toJSON(0));

    const std::unique_ptr<Zovi::MicroServiceInfo> read(Zovi::MicroServiceInfo::FromJson(info.toJSON(0)));
    std::cout << read->getName() << " at port " << read->getPort() << '\n';
    // [/service]
}

} // namespace

int main()
{
    json();
    reading();
    types();
    containers();
    identity();
    service();
    return 0;
}
