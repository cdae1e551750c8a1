// A search in one attribute, on text, numbers, and documents, held against the plain evaluation; and numbers
// are found by what they are, not by how they are written.

#include "Command/Query/ValueSearch.h"

#include "Documents.h"
#include "Law.h"
#include "PlainQuery.h"

#include <Poco/NumberFormatter.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <iterator>

using Poco::Dynamic::Var;
using Poco::JSON::Array;
using Poco::JSON::Object;
using Zovi::Command::AttributeValueSearch;
using Zovi::Fuzz::exceptionOf;
using Zovi::Fuzz::require;
using Zovi::Fuzz::requireEqual;

namespace
{

std::string productAnswer(const std::string& pattern, const Var& value)
{
    bool isMatch = false;
    const std::string exception =
        exceptionOf([&] { isMatch = AttributeValueSearch("attribute", pattern).match(value); });
    return exception == "none" ? std::to_string(isMatch) : exception;
}

std::string plainAnswer(const std::string& pattern, const Var& value)
{
    Object::Ptr object = new Object;
    object->set("attribute", value);
    Array input;
    input.add(object);
    Array output;
    const std::string exception = exceptionOf([&] {
        std::vector<std::string> log;
        Object::Ptr paging;
        Zovi::Test::PlainEvaluation(Zovi::Fuzz::urlWith("attribute", pattern), log)
            .evaluate(input, output, paging);
    });
    return exception == "none" ? std::to_string(output.size()) : exception;
}

/// Regular expressions are another target's: the plain evaluation may take for ever over them.
bool isExpression(const std::string& pattern)
{
    return pattern.find('%') != std::string::npos && pattern.find_first_of("({*+?") != std::string::npos;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    const auto number = input.ConsumeIntegral<std::int64_t>();
    const double floating = input.ConsumeIntegral<std::int16_t>() / 8.0;
    const std::string pattern = input.ConsumeRandomLengthString(256);
    const std::string text = input.ConsumeRemainingBytesAsString();
    require(AttributeValueSearch("a", Poco::NumberFormatter::format(floating)).match(Var(floating)),
            "a number is found by its text");
    const Var document = Zovi::Fuzz::parseDocument(text);
    const Var values[] = {text, number, floating, number % 2 == 0, document};
    const Var& value = values[static_cast<std::uint64_t>(number) % std::size(values)];
    const std::string product = productAnswer(pattern, value);
    if (product != "effort" && !isExpression(pattern))
        requireEqual(product, plainAnswer(pattern, value), "the answer is that of the plain evaluation");
    return 0;
}
