#include "HostService.h"
#include "LastResort.h"
#include "Options.h"
#include "RegistryLink.h"
#include "ServiceKit/EndSignals.h"
#include "ServiceManager.h"
#include "StateFolder.h"

#include <Poco/Environment.h>
#include <Poco/Exception.h>
#include <Poco/Net/DNS.h>

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <exception>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace
{

using namespace Zovi;

constexpr int EXIT_USAGE = 2;

constexpr rlim_t WANTED_DESCRIPTORS = 4096;

/// A little less than the two seconds that are promised.
constexpr std::chrono::milliseconds STOP_TIME(1'800);

void addMachineName(ServiceKit::ExchangeOptions& options)
{
    const std::string name = Poco::Net::DNS::hostName();
    options.hostNames.push_back(name);
    options.hostNames.push_back(name + ".local");
}

std::string variable(const std::string& name)
{
    return Poco::Environment::get(name, "");
}

std::shared_ptr<Host::NoteStore> openUsualNotes()
{
    const auto folder = Host::stateFolder(variable);
    if (!folder)
        throw Host::NoteStoreError("no folder to keep notes in, see --help");
    std::filesystem::create_directories(*folder);
    return std::make_shared<Host::NoteStore>((*folder / "notes.sqlite").string());
}

/// A file that somebody names must be good. If the usual one is not, the machine can still be looked at.
std::shared_ptr<Host::NoteStore> openNotes(const std::optional<std::string>& file)
{
    if (file)
        return std::make_shared<Host::NoteStore>(*file);
    try {
        return openUsualNotes();
    } catch (const std::runtime_error& failure) {
        std::cerr << "kyr-host: serves no notes: " << failure.what() << "\n";
        return {};
    }
}

void printAddresses(const Poco::Net::SocketAddress& address, const ServiceKit::Service& service)
{
    // Who listens on every address can be reached by this one.
    const std::string host = address.host().isWildcard() ? "localhost" : "";
    const std::string authority =
        host.empty() ? address.toString() : host + ":" + std::to_string(address.port());
    std::cout << "kyr-host listens on " << address.toString() << ". Try:\n";
    std::vector<std::string> paths{"/", service.reference().uri};
    for (const auto& resource : service.resources())
        paths.push_back(resource->reference().uri);
    for (const std::string& path : paths)
        std::cout << "  curl -s http://" << authority << path << "\n";
    std::cout << "or in a browser:\n  http://" << authority << "/cdn/explorer/index.html\n" << std::flush;
}

/// A thousand WebSockets need more descriptors than a process is given at first.
void raiseDescriptorLimit()
{
    rlimit limit{};
    if (getrlimit(RLIMIT_NOFILE, &limit) != 0)
        return;
    limit.rlim_cur = std::min<rlim_t>(std::max<rlim_t>(limit.rlim_cur, WANTED_DESCRIPTORS), limit.rlim_max);
    setrlimit(RLIMIT_NOFILE, &limit);
}

/// A file that may not grow any more is an error of who writes to it, and not the end of the program.
void ignoreFileSizeLimit()
{
    std::signal(SIGXFSZ, SIG_IGN);
}

int serve(const Host::Options& arguments)
{
    ServiceKit::ServerOptions options = arguments.server;
    raiseDescriptorLimit();
    ignoreFileSizeLimit();
    addMachineName(options.exchange);
    const Host::HostTree host = Host::makeHostTree("/", openNotes(arguments.database));
    ServiceKit::HttpServer server(host.tree, options);
    try {
        // A name server may keep this waiting, so the signals still end the program at once.
        server.listen();
    } catch (const Poco::Exception& failure) {
        std::cerr << "kyr-host: cannot listen on " << options.listenAddress << " port " << options.port
                  << ": " << failure.displayText() << "\n";
        return EXIT_FAILURE;
    }
    host.service->info().setPort(server.address().port());
    const ServiceKit::EndSignals signals;
    server.start();
    printAddresses(server.address(), *host.service);
    Host::tellServiceManagerReady(variable);
    std::optional<Host::RegistryLink> registry;
    if (arguments.isRegistered)
        registry.emplace(Host::toRegistration(*host.service), Host::machineRegistry());
    signals.wait();
    Host::endProcessAfter(STOP_TIME);
    registry.reset();
    server.stop();
    return EXIT_SUCCESS;
}

int run(const Host::Options& options)
{
    switch (options.task) {
    case Host::Options::Task::SHOW_HELP:
        std::cout << Host::helpText();
        return EXIT_SUCCESS;
    case Host::Options::Task::SHOW_VERSION:
        std::cout << Host::versionText();
        return EXIT_SUCCESS;
    case Host::Options::Task::SERVE:
        break;
    }
    return serve(options);
}

} // namespace

int main(int argc, char** argv)
{
    try {
        return run(Host::parseOptions({argv + 1, argv + argc}));
    } catch (const Host::OptionError& failure) {
        std::cerr << "kyr-host: " << failure.what() << "\nSee kyr-host --help.\n";
        return EXIT_USAGE;
    } catch (const Poco::Exception& failure) {
        std::cerr << "kyr-host: " << failure.displayText() << "\n";
    } catch (const std::exception& failure) {
        std::cerr << "kyr-host: " << failure.what() << "\n";
    }
    return EXIT_FAILURE;
}
