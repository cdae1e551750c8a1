// Queries on collections, held against the plain evaluation: same page, same paging object, same exception,
// and the same requests are condemned.

#include "Command/QueryFilterJSON.h"

#include "Documents.h"
#include "Law.h"
#include "QueryInput.h"
#include "reference/PlainEvaluation.h"
#include "reference/RandomDocuments.h"

using Poco::JSON::Array;
using Poco::JSON::Object;
using Zovi::Command::QueryFilterJSON;
using Zovi::Command::RequestBase;
using Zovi::Fuzz::exceptionOf;
using Zovi::Fuzz::parseArray;
using Zovi::Fuzz::QueryInput;
using Zovi::Fuzz::require;
using Zovi::Fuzz::requireEqual;
using Zovi::Test::describe;

namespace
{

struct Answer {
    std::string exception;
    std::string page;
    std::string paging;
    bool isValid = false;
};

template <typename Evaluate>
Answer answerOf(const QueryInput& query, const Evaluate& evaluate)
{
    const Array::Ptr input = parseArray(query.document);
    Array page;
    Object::Ptr paging;
    Answer answer;
    answer.exception = exceptionOf([&] { answer.isValid = evaluate(*input, page, paging); });
    answer.page = describe(page);
    answer.paging = describe(paging);
    return answer;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    // A larger collection whose values have no common order may be sorted in more than one way.
    static constexpr std::size_t MAX_OBJECTS = 16;
    const QueryInput query(data, size);
    const Array::Ptr input = parseArray(query.document);
    if (!input || input->size() > MAX_OBJECTS)
        return 0;
    const Answer product = answerOf(query, [&](const Array& in, Array& out, Object::Ptr& paging) {
        const RequestBase request{Poco::URI(query.url)};
        QueryFilterJSON::filterJSONArrayByQuery(in, request, out, paging);
        return request.getUrlPath().isValid();
    });
    if (product.exception == "effort")
        return 0;
    std::vector<std::string> log;
    const Answer plain = answerOf(query, [&](const Array& in, Array& out, Object::Ptr& paging) {
        Zovi::Test::PlainEvaluation evaluation(query.url, log);
        evaluation.evaluate(in, out, paging);
        return evaluation.isValid();
    });
    requireEqual(product.exception, plain.exception, "the exception is that of the plain evaluation");
    require(product.isValid == plain.isValid, "the plain rules condemn the same requests");
    requireEqual(product.page, plain.page, "the page is that of the plain evaluation");
    requireEqual(product.paging, plain.paging, "the paging object is that of the plain evaluation");
    return 0;
}
