// The content coding of a body: damaged input ends in an exception of Poco's, a limit is never passed, and
// what was encoded reads back equal.

#include "HTTPEncoderDecoder.h"

#include "Law.h"
#include "ServerMessages.h"

#include <Poco/StreamCopier.h>

#include <fuzzer/FuzzedDataProvider.h>

using Zovi::Fuzz::require;
using Zovi::Fuzz::requireEqual;
using Zovi::Net::HTTPEncoderDecoder;
using Zovi::Test::ServerRequest;
using Zovi::Test::ServerResponse;

namespace
{

/// More than any input of the fuzzer's.
constexpr std::uint64_t NO_LIMIT = 64 * 1024;

std::string decode(const std::string& coding, const std::string& body, std::uint64_t limit = NO_LIMIT)
{
    ServerRequest request("POST", "/", body);
    if (!coding.empty())
        request.set("Content-Encoding", coding);
    ServerResponse response;
    HTTPEncoderDecoder coder(request, response);
    coder.setInputLimit(limit);
    std::istream& source = coder.getInputStream(request.stream());
    source.exceptions(std::ios::badbit);
    std::string text;
    Poco::StreamCopier::copyToString(source, text);
    return text;
}

void checkDamaged(const std::string& coding, const std::string& body, std::uint64_t limit)
{
    try {
        require(decode(coding, body, limit).size() <= limit, "the limit is never passed");
    } catch (const Poco::Exception&) {
    }
}

void checkRoundTrip(const std::string& accepted, const std::string& text)
{
    ServerRequest request;
    request.set("Accept-Encoding", accepted);
    ServerResponse response;
    HTTPEncoderDecoder coder(request, response);
    coder.getOutputStream(response.send()) << text;
    require(coder.close(), "what is written is complete");
    requireEqual(decode(response.get("Content-Encoding", ""), response.body()), text,
                 "what was encoded reads back equal");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    const auto limit = input.ConsumeIntegralInRange<std::uint64_t>(1, 2048);
    const std::string header = input.ConsumeRandomLengthString(64);
    const std::string body = input.ConsumeRemainingBytesAsString();
    for (const std::string& coding : {std::string(), std::string("gzip"), std::string("deflate"), header})
        checkDamaged(coding, body, limit);
    for (const std::string& accepted : {std::string("gzip"), std::string("deflate"), header})
        checkRoundTrip(accepted, body);
    return 0;
}
