#include "RegistrationServer.h"
#include "ServiceKit/EndSignals.h"
#include "ServiceKit/HttpServer.h"
#include "ServiceRegistryConnection.h"

#include <Poco/Exception.h>

#include <cstdint>
#include <iostream>
#include <memory>
#include <mutex>
#include <string>

namespace
{

using namespace Zovi;

constexpr std::uint16_t DEFAULT_PORT = 8079;

/// All ids of the registry follow from this one.
const Poco::UUID ROOT_ID("d3f1a7c2-5f0a-4c87-9c39-0f6c2b7f7a11");

Poco::Net::ServerSocket listenForServices()
{
    const Poco::Net::SocketAddress address(ServiceRegistryConnection::ADDRESS,
                                           ServiceRegistryConnection::PORT);
    try {
        Poco::Net::ServerSocket socket;
        socket.bind6(address, true, false, true);
        socket.listen();
        return socket;
    } catch (const Poco::Exception& failure) {
        throw Poco::IOException("cannot listen on " + address.toString() +
                                ", where services look for a registry: " + failure.displayText());
    }
}

void print(const std::string& text)
{
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    std::cout << text << std::endl;
}

void serve(std::uint16_t port)
{
    const auto tree = std::make_shared<ServiceKit::ServiceTree>(ROOT_ID);
    const auto service = std::make_shared<ServiceKit::Service>(tree->root().child("registry"),
                                                               "Knows the services of this machine.");
    const auto services = std::make_shared<Registry::RegisteredServices>(service->reference());
    service->add(services);
    tree->add(service);

    ServiceKit::ServerOptions options;
    options.port = port;
    ServiceKit::HttpServer server(tree, options);
    server.listen();
    service->info().setPort(server.address().port());
    const Poco::Net::ServerSocket socket = listenForServices();
    const ServiceKit::EndSignals signals;
    server.start();
    print("kyr-registry waits for services at " + socket.address().toString() + ". Try:\n  curl -s http://" +
          server.address().toString() + services->reference().uri);
    const Registry::RegistrationServer registrations(services, socket, print);
    signals.wait();
}

std::uint16_t parsePort(int argc, char** argv)
{
    if (argc == 1)
        return DEFAULT_PORT;
    if (argc == 3 && std::string(argv[1]) == "--port")
        return ServiceKit::toPort(argv[2]);
    throw Poco::InvalidArgumentException("usage: kyr-registry [--port NUMBER]");
}

} // namespace

/// A registry to try services with: it prints who comes and goes, and serves what they say of themselves.
int main(int argc, char** argv)
{
    try {
        serve(parsePort(argc, argv));
        return EXIT_SUCCESS;
    } catch (const Poco::Exception& failure) {
        std::cerr << "kyr-registry: " << failure.displayText() << "\n";
        return EXIT_FAILURE;
    }
}
