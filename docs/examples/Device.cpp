// A service as it runs on a device: behind a proxy that speaks TLS, and with a log that somebody sets.

#include <Logging/LogStream.h>
#include <ServiceKit/EndSignals.h>
#include <ServiceKit/HttpServer.h>

#include <Poco/AutoPtr.h>
#include <Poco/Environment.h>
#include <Poco/Exception.h>
#include <Poco/FileChannel.h>
#include <Poco/FormattingChannel.h>
#include <Poco/PatternFormatter.h>

#include <cstdint>
#include <iostream>
#include <memory>
#include <string>

using namespace Zovi;
using namespace Zovi::ServiceKit;

namespace
{

void setLevel()
{
    // [level]
    if (Poco::Environment::has("SHELF_LOG"))
        Logging::Log::Logger().setLevel(Poco::Environment::get("SHELF_LOG"));
    // [/level]
}

void logToFile(const std::string& path)
{
    // [file]
    Poco::AutoPtr<Poco::FileChannel> file(new Poco::FileChannel(path));
    file->setProperty("rotation", "1 M");
    file->setProperty("purgeCount", "5");
    Poco::AutoPtr<Poco::PatternFormatter> pattern(new Poco::PatternFormatter("%Y-%m-%d %H:%M:%S.%i %t"));
    Logging::Log::Logger().setChannel(new Poco::FormattingChannel(pattern, file));
    // [/file]
}

ServerOptions optionsBehindProxy(std::uint16_t port)
{
    ServerOptions options;
    options.port = port;
    // [proxy]
    options.exchange.hostNames.push_back("shelf.example");
    options.exchange.origins.push_back("https://shelf.example");
    // [/proxy]
    return options;
}

void serve(std::uint16_t port)
{
    const EndSignals signals;
    const auto tree = std::make_shared<ServiceTree>(Poco::UUID("8d6a0aa4-1e5e-4a3c-9d2e-5d1b8c9f0a11"));
    tree->add(std::make_shared<Service>(tree->root().child("shelf"), "What there is to read."));
    HttpServer server(tree, optionsBehindProxy(port));
    server.start();
    ZOVI_LOG_NOTICE("serves");
    std::cout << "listens on http://" << server.address().toString() << std::endl;
    signals.wait();
}

} // namespace

int main(int argc, char** argv)
{
    try {
        setLevel();
        if (argc > 2)
            logToFile(argv[2]);
        serve(toPort(argc > 1 ? argv[1] : "8081"));
        return 0;
    } catch (const Poco::Exception& failure) {
        std::cerr << failure.displayText() << std::endl;
        return 1;
    }
}
