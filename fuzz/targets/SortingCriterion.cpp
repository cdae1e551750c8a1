// A list of sort keys: reading it never fails, and sorting by it permutes and keeps every object.

#include "Command/Query/SortingParameter.h"

#include "Command/Query/Paging.h"
#include "Command/QueryFilterJSON.h"
#include "Documents.h"
#include "JSONPrinter.h"
#include "Law.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <vector>

using Poco::JSON::Array;
using Zovi::Command::QueryFilterJSON;
using Zovi::Command::RequestBase;
using Zovi::Command::SortingParameter;
using Zovi::Fuzz::parseArray;
using Zovi::Fuzz::require;

namespace
{

std::vector<std::string> sortedTexts(const Array& array)
{
    std::vector<std::string> texts;
    for (unsigned int i = 0; i < array.size(); ++i) {
        if (const auto object = array.getObject(i))
            texts.push_back(Zovi::Util::JSONPrinter::toString(*object));
    }
    std::sort(texts.begin(), texts.end());
    return texts;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    const std::string keys = input.ConsumeRandomLengthString(128);
    const SortingParameter sorting(keys);
    const Array::Ptr source = parseArray(input.ConsumeRemainingBytesAsString());
    if (!source || source->size() > Zovi::Command::Paging::PAGING_LIMIT_MAX)
        return 0;
    try {
        Poco::URI uri("/service/resource");
        uri.addQueryParameter("$sortby", keys);
        uri.addQueryParameter("$limit", "100");
        Array sorted;
        QueryFilterJSON::filterJSONArrayByQuery(*source, RequestBase(uri), sorted);
        require(sortedTexts(sorted) == sortedTexts(*source), "sorting permutes");
    } catch (const Poco::Exception&) {
        // Values that cannot be compared, and a list that condemns the request.
    }
    return 0;
}
