// "If-None-Match" with anything in it: the tag depends on the content alone, a client that sends the tag back
// has the content, and a header that does not hold it says that it has changed.

#include "HTTPCacheHandler.h"

#include "Law.h"

#include <Poco/Net/HTTPRequest.h>
#include <Poco/Net/HTTPResponse.h>

#include <fuzzer/FuzzedDataProvider.h>

using Poco::Net::HTTPRequest;
using Poco::Net::HTTPResponse;
using Zovi::Fuzz::require;
using Zovi::Fuzz::requireEqual;
using Zovi::Net::HTTPCacheHandler;

namespace
{

struct Verdict {
    HTTPCacheHandler::CacheRequestResult result;
    std::string tag;
};

Verdict ask(const std::string& header, const std::string& content)
{
    HTTPRequest request;
    if (!header.empty())
        request.set("If-None-Match", header);
    HTTPResponse response;
    const auto result = HTTPCacheHandler().handleRequest(request, response, content);
    return {result, response.get("ETag", "")};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    const std::string header = input.ConsumeRandomLengthString(256);
    const std::string content = input.ConsumeRemainingBytesAsString();
    const Verdict verdict = ask(header, content);
    const Verdict first = ask("", content);
    require(first.result == HTTPCacheHandler::CONTENT_CHANGED, "who has nothing gets it");
    requireEqual(verdict.tag, first.tag, "the tag depends on the content alone");
    require(ask(first.tag, content).result == HTTPCacheHandler::CONTENT_UNCHANGED,
            "who has the tag has the content");
    require(ask(first.tag + ", " + header, content).result == HTTPCacheHandler::CONTENT_UNCHANGED,
            "the first of a list counts, whatever follows");
    require(ask("\"00000000\", W/\"12345678\", " + first.tag, content).result ==
                HTTPCacheHandler::CONTENT_UNCHANGED,
            "so does the last one");
    const bool mayMatch = header.find(first.tag.substr(first.tag.find('"'))) != std::string::npos ||
                          header.find('*') != std::string::npos;
    require(mayMatch || verdict.result == HTTPCacheHandler::CONTENT_CHANGED,
            "what does not name the tag does not match");
    return 0;
}
