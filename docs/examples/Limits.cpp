// Every limit with its value as it is built.

#include <Command/Query/ExpandParameter.h>
#include <Command/Query/Paging.h>
#include <Command/WebSocketRequestObject.h>
#include <JSONTools.h>
#include <Logging/LogStream.h>
#include <ServiceKit/HttpServer.h>
#include <ServiceKit/Text.h>

#include <NoteResource.h>

#include <chrono>
#include <cstdint>
#include <iostream>
#include <string>

using namespace Zovi;

namespace
{

void show(const std::string& name, const std::string& value)
{
    std::cout << name << ": " << value << '\n';
}

template <typename T>
void count(const std::string& name, T value)
{
    show(name, std::to_string(value));
}

void size(const std::string& name, std::uint64_t bytes)
{
    constexpr std::uint64_t KIB = 1024;
    const bool isMebibytes = bytes % (KIB * KIB) == 0;
    show(name, std::to_string(bytes / (isMebibytes ? KIB * KIB : KIB)) + (isMebibytes ? " MiB" : " KiB"));
}

void time(const std::string& name, std::chrono::milliseconds time)
{
    const bool isSeconds = time.count() % 1000 == 0;
    show(name, std::to_string(time.count() / (isSeconds ? 1000 : 1)) + (isSeconds ? " s" : " ms"));
}

void list(const std::string& name, const std::vector<std::string>& values)
{
    show(name, values.empty() ? "none" : values.front());
}

ServiceKit::ServerOptions frugalOptions()
{
    // [set]
    ServiceKit::ServerOptions options;
    options.port = 8081;
    options.maxConnections = 16;
    options.exchange.maxBodyLength = 64 * 1024;
    options.exchange.hostNames.push_back("shelf.example");
    options.live.maxConnections = 32;
    // [/set]
    return options;
}

// Each of these takes all members of its structure: when one is added, this does not compile until the page
// has it too.

void exchange()
{
    std::cout << "[exchange]\n";
    const ServiceKit::ExchangeOptions options;
    const auto& [maxUrlLength, maxQueryEntries, maxBodyLength, hostNames, origins] = options;
    size("maxUrlLength", maxUrlLength);
    count("maxQueryEntries", maxQueryEntries);
    size("maxBodyLength", maxBodyLength);
    list("hostNames", hostNames);
    list("origins", origins);
}

void server()
{
    std::cout << "[server]\n";
    const ServiceKit::ServerOptions options;
    const auto& [listenAddress, port, maxConnections, maxQueuedConnections, requestTimeout, answerTimeout,
                 idleTimeout, maxRequestsPerConnection, stopTimeout, exchangeOptions, liveOptions] = options;
    static_cast<void>(exchangeOptions);
    static_cast<void>(liveOptions);
    show("listenAddress", listenAddress);
    count("port", port);
    count("maxConnections", maxConnections);
    count("maxQueuedConnections", maxQueuedConnections);
    time("requestTimeout", requestTimeout);
    time("answerTimeout", answerTimeout);
    time("idleTimeout", idleTimeout);
    count("maxRequestsPerConnection", maxRequestsPerConnection);
    time("stopTimeout", stopTimeout);
}

void live()
{
    std::cout << "[live]\n";
    const ServiceKit::LiveOptions options;
    const auto& [maxConnections, maxSubscriptionsPerConnection, maxSubscriptions, maxMessageLength,
                 evaluationThreads, shortestPollPeriod, shortestInterval, pingPeriod, sendTimeout,
                 closeTimeout] = options;
    count("maxConnections", maxConnections);
    count("maxSubscriptionsPerConnection", maxSubscriptionsPerConnection);
    count("maxSubscriptions", maxSubscriptions);
    size("maxMessageLength", maxMessageLength);
    count("evaluationThreads", evaluationThreads);
    time("shortestPollPeriod", shortestPollPeriod);
    time("shortestInterval", shortestInterval);
    time("pingPeriod", pingPeriod);
    time("sendTimeout", sendTimeout);
    time("closeTimeout", closeTimeout);
}

int deepestJson()
{
    Poco::JSON::Object::Ptr ignored;
    int depth = 1;
    for (std::string text = "{}"; Util::JSONTools::parseJSONString(text, ignored);
         text = "{\"a\":" + text + "}")
        ++depth;
    return depth - 1;
}

void library()
{
    std::cout << "[library]\n";
    count("Paging::PAGING_LIMIT_DEFAULT", Command::Paging::PAGING_LIMIT_DEFAULT);
    count("Paging::PAGING_LIMIT_MAX", Command::Paging::PAGING_LIMIT_MAX);
    count("LevelExpansion::MAX_LEVEL", Command::LevelExpansion::MAX_LEVEL);
    count("JSONTools::parseJSONString", deepestJson());
    size("LogStream::MAX_RECORD_LENGTH", Logging::LogStream::MAX_RECORD_LENGTH);
    count("DEFAULT_INTERVAL_MS", DEFAULT_INTERVAL_MS);
    count("DEFAULT_UPDATELIMT_MS", DEFAULT_UPDATELIMT_MS);
}

void notes()
{
    std::cout << "[notes]\n";
    count("name", Host::NoteContent::MAX_NAME_LENGTH);
    count("text", Host::NoteContent::MAX_TEXT_LENGTH);
    count("number of notes", Host::NoteResource::MAX_NOTES);
}

} // namespace

int main()
{
    static_cast<void>(frugalOptions());
    server();
    exchange();
    live();
    library();
    notes();
}
