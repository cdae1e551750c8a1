// One whole HTTP exchange in memory, from the bytes of a request to the answer: always one response document
// whose code is that of the answer, and the same for the same request.

#include "ServiceKit/ExchangeHandler.h"

#include "Documents.h"
#include "Law.h"
#include "ServerMessages.h"
#include "ServiceKit/SampleTree.h"

#include <Poco/Logger.h>

#include <iterator>
#include <sstream>

using Zovi::Fuzz::require;
using Zovi::Fuzz::requireEqual;
using Zovi::Test::ServerRequest;
using Zovi::Test::ServerResponse;

namespace
{

struct Answer {
    int status;
    std::string body;
    bool isCoded;
};

Answer exchange(const Zovi::ServiceKit::ServiceTree& tree, const std::string& bytes)
{
    static const Zovi::ServiceKit::ExchangeOptions OPTIONS;
    std::istringstream source(bytes);
    ServerRequest request;
    request.read(source);
    source.clear();
    request.setBody(std::string(std::istreambuf_iterator<char>(source), {}));
    ServerResponse& response = request.response();
    Zovi::ServiceKit::ExchangeHandler(tree, OPTIONS).handleRequest(request, response);
    require(response.sent(), "every request is answered");
    return {response.getStatus(), response.body(), response.has("Content-Encoding")};
}

void checkDocument(const Answer& answer)
{
    if (answer.status < 400 || answer.isCoded || answer.body.empty())
        return;
    const Poco::JSON::Object::Ptr document = Zovi::Fuzz::parseObject(answer.body);
    require(!document.isNull(), "an error is a document");
    require(document->optValue("code", 0) == answer.status, "the document has the code of the answer");
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Poco::Logger::get("Zovi").setLevel(0);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const auto TREE = Zovi::Test::makeSampleTree();
    try {
        const std::string bytes = Zovi::Fuzz::textOf(data, size);
        const Answer answer = exchange(*TREE, bytes);
        require(answer.status != 500, "no request from outside is the service's own failure");
        checkDocument(answer);
        require(exchange(*TREE, bytes).status == answer.status, "the same request is answered alike");
    } catch (const Poco::Exception&) {
        // Poco cannot read the head, which the connection answers, not the exchange.
    }
    return 0;
}
