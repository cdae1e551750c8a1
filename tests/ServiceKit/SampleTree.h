#pragma once

#include "ServiceKit/RequestError.h"
#include "ServiceKit/ServiceTree.h"

#include <Poco/Exception.h>
#include <Poco/SharedPtr.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace Zovi::Test
{

inline const Poco::UUID ROOT_ID{"11111111-2222-3333-4444-555555555555"};
inline const Poco::UUID APPLE_ID{"aaaaaaaa-0000-0000-0000-000000000001"};

/// A resource with one element, an apple, that takes writes and answers them with what they brought.
class Basket : public ServiceKit::Resource
{
public:
    explicit Basket(const ServiceKit::Reference& service)
        : Resource(service.child("basket"), "Fruit.")
    {
    }

    Poco::JSON::Object::Ptr specification() const override
    {
        Poco::JSON::Object::Ptr object = new Poco::JSON::Object;
        object->set("name", "basket");
        return object;
    }

    Data::ElementCollection elements() const override { return {apple()}; }

    Data::ElementBase::Ptr element(const Poco::UUID& id) const override
    {
        return id == APPLE_ID ? apple() : Data::ElementBase::Ptr();
    }

    ServiceKit::MethodSet collectionMethods() const override
    {
        return {Method::GET, Method::HEAD, Method::POST};
    }

    ServiceKit::MethodSet elementMethods() const override
    {
        return {Method::GET, Method::HEAD, Method::PUT, Method::DELETE};
    }

    Command::HttpResponse write(const Command::HttpRequest& request) override
    {
        Command::HttpResponse response;
        response.setDataFromText(request.getMessage() + " [written]", "text/plain");
        return response;
    }

private:
    using Method = ServiceKit::MethodSet::Method;

    Data::ElementBase::Ptr apple() const { return makeElement(APPLE_ID, "apple"); }
};

/// An element of the puppet's.
inline Poco::SharedPtr<Data::ElementGeneric> makePuppet(const std::string& name)
{
    return new Data::ElementGeneric("shop", "puppet", name, APPLE_ID, Data::INVALID_XOBJ_ID);
}

/// A resource that is only read, and whose elements come from a function of the test's.
class Puppet : public ServiceKit::Resource
{
public:
    Puppet(const ServiceKit::Reference& service, std::function<Data::ElementCollection()> act,
           const std::string& name = "puppet")
        : Resource(service.child(name), "Does as it is told.")
        , m_act(std::move(act))
    {
    }

    Poco::JSON::Object::Ptr specification() const override { return new Poco::JSON::Object; }
    Data::ElementCollection elements() const override { return m_act(); }
    Data::ElementBase::Ptr element(const Poco::UUID&) const override { return {}; }

private:
    std::function<Data::ElementCollection()> m_act;
};

/// /shop with its resources basket and puppet, and /cdn/window/index.html.
inline std::shared_ptr<const ServiceKit::ServiceTree>
makeSampleTree(std::function<Data::ElementCollection()> act = [] { return Data::ElementCollection(); })
{
    const auto tree = std::make_shared<ServiceKit::ServiceTree>(ROOT_ID);
    const auto shop = std::make_shared<ServiceKit::Service>(tree->root().child("shop"), "Sells fruit.");
    shop->add(std::make_shared<Basket>(shop->reference()));
    shop->add(std::make_shared<Puppet>(shop->reference(), std::move(act)));
    tree->add(shop);
    const auto window = std::make_shared<ServiceKit::StaticFolder>("window");
    window->add("index.html", "<p>Fruit!</p>");
    tree->add(window);
    return tree;
}

} // namespace Zovi::Test
