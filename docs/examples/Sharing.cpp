// What is shared, who owns it, and what several threads may do.

#include <Command/HttpResponse.h>
#include <Command/QueryFilterJSON.h>
#include <Command/RequestBase.h>
#include <Command/ResponseObject.h>

#include <Poco/JSON/Parser.h>

#include <atomic>
#include <iostream>
#include <string>
#include <thread>
#include <vector>

using namespace Zovi::Command;

namespace
{

// [fresh]
Poco::JSON::Array::Ptr allDevices()
{
    return Poco::JSON::Parser()
        .parse(
            R"([{"id":"1","name":"boiler","room":{"id":"7","name":"cellar","uri":"/plant/rooms/7","floor":-1}}])")
        .extract<Poco::JSON::Array::Ptr>();
}
// [/fresh]

void show(const Poco::JSON::Array& array)
{
    array.stringify(std::cout);
    std::cout << '\n';
}

void cut()
{
    std::cout << "[cut]\n";
    // [cut]
    const Poco::JSON::Array::Ptr kept = allDevices();
    Poco::JSON::Array answer;
    QueryFilterJSON::filterJSONArrayByQuery(*kept, RequestBase(Poco::URI("/plant/devices?$expand=0")),
                                            answer);
    show(*kept);
    // [/cut]
}

void documents()
{
    std::cout << "[documents]\n";
    // [documents]
    ResponseObject document;
    const HttpResponse response(HTTPStatus::HTTP_OK, document); // shares the document
    const ResponseObject copy(document);                        // has its own
    document.setCustomField("revision", 7);
    response.getJson()->stringify(std::cout);
    std::cout << ' ' << copy << '\n';
    // [/documents]
}

void threads()
{
    std::cout << "[threads]\n";
    // [threads]
    std::atomic<unsigned int> found{0};
    std::vector<std::thread> workers;
    for (int number = 0; number < 4; ++number) {
        workers.emplace_back([&found] {
            const RequestBase request(Poco::URI("/plant/devices?name=boiler"));
            Poco::JSON::Array answer;
            QueryFilterJSON::filterJSONArrayByQuery(*allDevices(), request, answer);
            found += static_cast<unsigned int>(answer.size());
        });
    }
    for (std::thread& worker : workers)
        worker.join();
    std::cout << found << " found\n";
    // [/threads]
}

} // namespace

int main()
{
    cut();
    documents();
    threads();
    return 0;
}
