// Queries on one object, held against the plain evaluation.

#include "Command/QueryFilterJSON.h"

#include "Documents.h"
#include "Law.h"
#include "QueryInput.h"
#include "reference/PlainEvaluation.h"
#include "reference/RandomDocuments.h"

using Poco::JSON::Object;
using Zovi::Command::QueryFilterJSON;
using Zovi::Command::RequestBase;
using Zovi::Fuzz::exceptionOf;
using Zovi::Fuzz::parseObject;
using Zovi::Fuzz::requireEqual;
using Zovi::Test::describe;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const Zovi::Fuzz::QueryInput query(data, size);
    const Object::Ptr input = parseObject(query.document);
    if (!input)
        return 0;
    Object product;
    const std::string productException = exceptionOf([&] {
        QueryFilterJSON::filterJSONObjectByQuery(*input, RequestBase(Poco::URI(query.url)), product);
    });
    if (productException == "effort")
        return 0;
    std::vector<std::string> log;
    Object plain;
    const Object::Ptr sameInput = parseObject(query.document);
    const std::string plainException =
        exceptionOf([&] { Zovi::Test::PlainEvaluation(query.url, log).evaluate(*sameInput, plain); });
    requireEqual(productException, plainException, "the exception is that of the plain evaluation");
    requireEqual(describe(product), describe(plain), "the result is that of the plain evaluation");
    return 0;
}
