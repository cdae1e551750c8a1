#include "ServiceKit/ServiceTree.h"

#include "JsonMatchers.h"
#include "SampleTree.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace Zovi::ServiceKit
{

using Command::UrlPath;
using Test::compact;
using Test::IsJson;
using Test::makeSampleTree;
using Test::Puppet;
using Test::ROOT_ID;

namespace
{

std::shared_ptr<Resource> puppetOf(const Reference& service, const std::string& name = "puppet")
{
    return std::make_shared<Puppet>(
        service, [] { return Data::ElementCollection(); }, name);
}

std::string messageOf(const std::function<void()>& operation)
{
    try {
        operation();
    } catch (const Poco::InvalidArgumentException& failure) {
        return failure.message();
    }
    return "not refused";
}

} // namespace

TEST(ServiceTree, FindsServicesAndResourcesWhateverTheirCase)
{
    const auto tree = makeSampleTree();
    EXPECT_EQ(tree->serviceAt(UrlPath("/SHOP/basket")).reference().name, "shop");
    EXPECT_EQ(tree->resourceAt(UrlPath("/shop/Basket")).reference().name, "basket");
    EXPECT_EQ(tree->resourceAt(UrlPath("/shop/basket/id")).reference().name, "basket");
}

TEST(ServiceTree, FindsFiles)
{
    EXPECT_EQ(makeSampleTree()->fileAt(UrlPath("/cdn/window/index.html")).content, "<p>Fruit!</p>");
}

TEST(ServiceTree, TellsWhatMayBeDoneAtAnAddress)
{
    const struct {
        std::string url;
        std::string methods;
    } rows[] = {
        {"/", "GET, HEAD"},
        {"/id", "GET, HEAD"},
        {"/shop", "GET, HEAD"},
        {"/shop/id", "GET, HEAD"},
        {"/shop/spec", "GET, HEAD"},
        {"/shop/accessrights", "GET, HEAD"},
        {"/shop/$accessrights", "GET, HEAD"},
        {"/shop/basket", "GET, HEAD, POST"},
        {"/shop/basket/id", "GET, HEAD"},
        {"/shop/basket/spec", "GET, HEAD"},
        {"/shop/basket/aaaaaaaa-0000-0000-0000-000000000001", "GET, HEAD, PUT, DELETE"},
        {"/shop/puppet", "GET, HEAD"},
        {"/cdn/window/index.html", "GET, HEAD"},
    };
    const auto tree = makeSampleTree();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.url);
        EXPECT_EQ(tree->methodsAt(UrlPath(row.url)).toHeader(), row.methods);
    }
}

TEST(ServiceTree, NamesWhatIsNotThere)
{
    const struct {
        std::string url;
        std::string message;
    } rows[] = {
        {"/other", "no service is called 'other'"},
        {"/other/id", "no service is called 'other'"},
        {"/other/spec", "no service is called 'other'"},
        {"/other/accessrights", "no service is called 'other'"},
        {"/other/basket", "no service is called 'other'"},
        {"/shop/other", "'shop' has no resource 'other'"},
        {"/shop/other/id", "'shop' has no resource 'other'"},
        {"/shop/other/spec", "'shop' has no resource 'other'"},
        {"/shop/other/aaaaaaaa-0000-0000-0000-000000000001", "'shop' has no resource 'other'"},
        {"/cdn", "no service is called 'cdn'"},
        {"/cdn/window", "no service is called 'cdn'"},
        {"/cdn/window/other.html", "no file is called '/cdn/window/other.html'"},
        {"/cdn/window/INDEX.html", "no file is called '/cdn/window/INDEX.html'"},
        {"/cdn/Window/index.html", "no file is called '/cdn/Window/index.html'"},
    };
    const auto tree = makeSampleTree();
    for (const auto& row : rows) {
        SCOPED_TRACE(row.url);
        try {
            tree->methodsAt(UrlPath(row.url));
            ADD_FAILURE() << "not refused";
        } catch (const RequestError& error) {
            EXPECT_EQ(error.status(), Command::HTTPStatus::HTTP_NOT_FOUND);
            EXPECT_EQ(error.what(), row.message);
        }
    }
}

TEST(ServiceTree, RefusesNamesThatCannotBeAddressed)
{
    const Reference root = rootReference(ROOT_ID);
    for (const std::string name : {"", "id", "$id", "a b", "a/b", "a?b", "a%2Fb", "\xC3\xA4"}) {
        SCOPED_TRACE(name);
        EXPECT_EQ(messageOf([&] { Service(root.child(name), ""); }),
                  "Not usable as an address: '/" + name + "'");
    }
    for (const std::string name : {"", "id", "spec", "accessrights", "$spec", "a b", "a/b"}) {
        SCOPED_TRACE(name);
        Service service(root.child("shop"), "");
        EXPECT_EQ(messageOf([&] { service.add(puppetOf(service.reference(), name)); }),
                  "Not usable as an address: '/shop/" + name + "'");
    }
}

TEST(ServiceTree, PresentsAServiceAsItIsToldTo)
{
    Service service(rootReference(ROOT_ID).child("shop"), "Sells fruit.");
    EXPECT_FALSE(service.info().hasValue("port"));
    EXPECT_EQ(compact(service.info().toJSON(0)->getArray("resources")), "[]");
    service.add(puppetOf(service.reference()));
    service.info().setPort(8080);
    service.info().setVersions(std::vector<std::string>{"1"});
    EXPECT_THAT(compact(service.info().toJSON(0)), IsJson(R"({"description":"Sells fruit.","id":")" +
                                                          service.reference().id.toString() +
                                                          R"(","name":"shop","port":8080,"privileges":[],
        "resources":[{"id":")" + service.reference().child("puppet").id.toString() +
                                                          R"(","name":"puppet","uri":"/shop/puppet"}],
        "serviceCategories":[],"uri":"/shop","versions":["1"]})"));
}

TEST(ServiceTree, RefusesANameThatIsTaken)
{
    ServiceTree tree(ROOT_ID);
    const auto shop = std::make_shared<Service>(tree.root().child("shop"), "");
    shop->add(puppetOf(shop->reference()));
    EXPECT_EQ(messageOf([&] { shop->add(puppetOf(shop->reference())); }), "Name is taken: 'puppet'");
    tree.add(shop);
    const auto again = std::make_shared<Service>(tree.root().child("SHOP"), "");
    EXPECT_EQ(messageOf([&] { tree.add(again); }), "Name is taken: 'SHOP'");
    EXPECT_EQ(tree.services().size(), 1U);
}

TEST(ServiceTree, RefusesNullPointers)
{
    ServiceTree tree(ROOT_ID);
    Service service(tree.root().child("shop"), "");
    EXPECT_EQ(messageOf([&] { service.add(nullptr); }), "Nothing to add");
    EXPECT_EQ(messageOf([&] { tree.add(std::shared_ptr<const Service>()); }), "Nothing to add");
    EXPECT_EQ(messageOf([&] { tree.add(std::shared_ptr<const StaticFolder>()); }), "Nothing to add");
    EXPECT_TRUE(service.resources().empty());
    EXPECT_TRUE(tree.services().empty());
}

TEST(ServiceTree, KeepsTheNamesOfFilesForFiles)
{
    ServiceTree tree(ROOT_ID);
    for (const std::string name : {"cdn", "CDN"}) {
        const auto service = std::make_shared<Service>(tree.root().child(name), "");
        EXPECT_EQ(messageOf([&] { tree.add(service); }), "Name is taken: '" + name + "'");
    }
    tree.add(std::make_shared<StaticFolder>("window"));
    EXPECT_EQ(messageOf([&] { tree.add(std::make_shared<StaticFolder>("Window")); }),
              "Name is taken: 'Window'");
}

} // namespace Zovi::ServiceKit
