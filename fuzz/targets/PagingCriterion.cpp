// Offset and limit, from text and as numbers at the edges of 32 bits: a page is a part of the collection, in
// its order, and never longer than its limit.

#include "Command/Query/Paging.h"

#include "Law.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <numeric>
#include <vector>

using Zovi::Command::Paging;
using Zovi::Fuzz::require;

namespace
{

void checkPage(const Paging& paging, int size)
{
    std::vector<int> page(static_cast<std::size_t>(size));
    std::iota(page.begin(), page.end(), 0);
    const int start = paging.applyArrayPaging(page, [](int element) { return std::to_string(element); });
    require(page.empty() || (page.front() == start && page.back() < size), "a page lies in its collection");
    require(std::is_sorted(page.begin(), page.end()), "a page keeps the order");
    if (!paging.isValid()) {
        require(page.size() == static_cast<std::size_t>(size), "an invalid criterion changes nothing");
        return;
    }
    const auto limit = static_cast<Poco::Int64>(paging.getLimit());
    if (limit > 0)
        require(static_cast<Poco::Int64>(page.size()) <= limit, "a page is no longer than its limit");
}

void checkArray(const Paging& paging, int size)
{
    Poco::JSON::Array array;
    for (int i = 0; i < size; ++i)
        array.add(i);
    paging.applyArrayPaging(array);
    require(array.size() <= static_cast<std::size_t>(size), "a page of an array is no longer than the array");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    const int count = input.ConsumeIntegralInRange<int>(0, 300);
    const Paging numbers(input.ConsumeIntegral<int>(), input.ConsumeIntegral<int>());
    const std::string offset = input.ConsumeRandomLengthString(64);
    const Paging texts(offset, input.ConsumeRemainingBytesAsString());
    require(texts.getLimit() <= Paging::PAGING_LIMIT_MAX, "a limit from outside is cut");
    for (const Paging* paging : {&numbers, &texts}) {
        checkPage(*paging, count);
        checkArray(*paging, count);
    }
    return 0;
}
