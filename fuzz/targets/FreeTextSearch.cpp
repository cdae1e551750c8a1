// A free-text search, whose value is itself a pattern: matching twice gives the same, text and document value
// agree, and whatever the pattern asks for ends in a result or in the exception that is promised.

#include "Command/Query/ValueSearch.h"

#include "Law.h"

#include <Poco/RegularExpression.h>

#include <fuzzer/FuzzedDataProvider.h>

using Zovi::Command::AnyValueSearch;
using Zovi::Fuzz::require;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    const std::string pattern = input.ConsumeRandomLengthString(512);
    const std::string text = input.ConsumeRemainingBytesAsString();
    try {
        const AnyValueSearch search(pattern);
        const bool isMatch = search.match(text);
        require(search.match(text) == isMatch, "matching twice gives the same");
        require(search.match(Poco::Dynamic::Var(text)) == isMatch, "text and document value agree");
        require(!(isMatch && text.empty()), "the empty text never matches");
        require(!(isMatch && search.getSearchValues().empty()), "no search value matches nothing");
    } catch (const Poco::RegularExpressionException&) {
        // No regular expression, or one that takes more effort than is granted.
    }
    return 0;
}
