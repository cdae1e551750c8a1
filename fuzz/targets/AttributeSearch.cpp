// A search in one attribute, on text, numbers, and documents: no value makes it fail but by the exceptions
// that are promised, and numbers are found by what they are, not by how they are written.

#include "Command/Query/ValueSearch.h"

#include "Documents.h"
#include "Law.h"

#include <Poco/RegularExpression.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <cmath>

using Poco::Dynamic::Var;
using Zovi::Command::AttributeValueSearch;
using Zovi::Fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    const auto number = input.ConsumeIntegral<std::int64_t>();
    const auto floating = input.ConsumeFloatingPoint<double>();
    const std::string pattern = input.ConsumeRandomLengthString(256);
    const std::string text = input.ConsumeRemainingBytesAsString();
    try {
        const AttributeValueSearch search("attribute", pattern);
        require(search.getAttributeName() == "attribute", "the name stays");
        const Var document = Zovi::Fuzz::parseDocument(text);
        for (const Var& value : {Var(text), Var(number), Var(floating), Var(number % 2 == 0), document})
            require(search.match(value) == search.match(value), "matching twice gives the same");
    } catch (const Poco::Exception&) {
        // No regular expression, one that takes too much effort, or a value that has no text.
    }
    return 0;
}
