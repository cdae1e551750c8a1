// A free-text search, whose value is itself a pattern: matching twice gives the same, text and document value
// agree, whatever the pattern asks for ends in a result or in the exception that is promised, and a result
// is that of one plain regular expression.

#include "Command/Query/ValueSearch.h"

#include "Command/Query/PlainPattern.h"
#include "Law.h"

#include <Poco/RegularExpression.h>

#include <fuzzer/FuzzedDataProvider.h>

using Zovi::Command::AnyValueSearch;
using Zovi::Fuzz::require;

namespace
{

/// The plain expression tries everything: without limits it may take for ever, or all of the stack.
const std::string LIMITS = "(*LIMIT_MATCH=100000)(*LIMIT_RECURSION=2000)";

void checkPlainly(const AnyValueSearch& search, const std::string& text, bool isMatch)
{
    if (search.getSearchValues().empty())
        return;
    const std::string expression = Zovi::Test::PlainPattern::expressionOf(search.getSearchValues());
    const Poco::RegularExpression plain(LIMITS + expression, 0, true);
    require(plain.match(text, 0) == isMatch, "the result is that of the plain expression");
}

} // namespace

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
        checkPlainly(search, text, isMatch);
    } catch (const Poco::RegularExpressionException&) {
        // No regular expression, or one that takes more effort than is granted.
    }
    return 0;
}
