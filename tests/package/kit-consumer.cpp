// A user of the service kit: its headers and its library are all that is needed to serve a tree.

#include <ServiceKit/HttpServer.h>
#include <ServiceKit/ServiceTree.h>

#include <iostream>
#include <memory>

int main()
{
    using namespace Zovi::ServiceKit;
    const auto tree = std::make_shared<ServiceTree>(Poco::UUID("11111111-2222-3333-4444-555555555555"));
    tree->add(std::make_shared<Service>(tree->root().child("garden"), "What grows here."));
    HttpServer server(tree, ServerOptions());
    server.start();
    const bool isListening = server.address().port() != 0;
    server.stop();
    std::cout << (isListening ? "the kit serves\n" : "the kit does not listen\n");
    return isListening ? 0 : 1;
}
