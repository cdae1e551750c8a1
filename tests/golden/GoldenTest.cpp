// A fixed tree is asked a list of requests, and what comes back must be, byte for byte, what is kept beside
// this file: on every machine. What differs by nature, the time, is masked. ZOVI_TEST_GOLDEN=update writes
// the answers anew.

#include "Orchard.h"
#include "RawClient.h"

#include <Command/WebSocketRequestObject.h>
#include <Command/WebSocketResponseObject.h>
#include <ServiceKit/HttpServer.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

namespace
{

using Zovi::Command::WebSocketRequestObject;
using Zovi::Command::WebSocketResponseObject;
using Zovi::ServiceKit::HttpServer;
using Zovi::Test::RawAnswer;
using Zovi::Test::RawClient;

const std::string FOLDER = KYR_GOLDEN_FOLDER;
const std::string MESSAGE = "MESSAGE ";

std::string readText(const std::string& name)
{
    std::ifstream file(FOLDER + "/" + name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

std::vector<std::string> readRequests()
{
    std::istringstream text(readText("requests.txt"));
    std::vector<std::string> requests;
    for (std::string line; std::getline(text, line);) {
        if (!line.empty() && line[0] != '#')
            requests.push_back(line);
    }
    return requests;
}

std::string maskTime(const std::string& text)
{
    static const std::regex timestamp("\"timestamp\":[0-9]+");
    return std::regex_replace(text, timestamp, "\"timestamp\":0");
}

std::string describeAnswer(const RawAnswer& answer)
{
    std::string text = std::to_string(answer.status) + "\n";
    for (const auto& [name, value] : answer.headers) {
        if (name != "date")
            text += name + ": " + value + "\n";
    }
    return text + maskTime(answer.body) + "\n";
}

std::string askServer(const Poco::Net::SocketAddress& address, const std::string& request)
{
    RawClient client(address);
    const std::string body = request.compare(0, 3, "PUT") == 0 ? "{}" : "";
    client.send(request + " HTTP/1.1\r\nHost: localhost\r\nContent-Length: " + std::to_string(body.size()) +
                "\r\n\r\n" + body);
    return describeAnswer(client.receive());
}

/// What a service learns from a message, and the answer of one that takes none.
std::string readMessage(const std::string& message)
{
    const WebSocketRequestObject request(message);
    std::ostringstream text;
    text << (request.isValid() ? "valid" : "invalid") << ", address "
         << (request.getUrlPath().isValid() ? "valid" : "invalid") << ", interval " << request.getInterval()
         << ", updatelimit " << request.getUpdateLimit() << "\n"
         << maskTime(WebSocketResponseObject(request, 501, "not here: " + request.getEvent().toString())
                         .toJsonString())
         << "\n";
    return text.str();
}

std::string transcribe()
{
    HttpServer server(Zovi::Test::makeOrchard(), {});
    server.start();
    std::string transcript;
    for (const std::string& request : readRequests()) {
        const bool isMessage = request.compare(0, MESSAGE.size(), MESSAGE) == 0;
        transcript += "> " + request + "\n";
        transcript +=
            isMessage ? readMessage(request.substr(MESSAGE.size())) : askServer(server.address(), request);
        transcript += "\n";
    }
    return transcript;
}

TEST(Golden, AnswersAreTheSameOnEveryMachine)
{
    const std::string transcript = transcribe();
    const char* wish = std::getenv("ZOVI_TEST_GOLDEN");
    if (wish != nullptr && std::string(wish) == "update")
        std::ofstream(FOLDER + "/answers.txt", std::ios::binary) << transcript;
    EXPECT_EQ(transcript, readText("answers.txt"));
}

} // namespace
