// Offset and limit, from text and as numbers at the edges of 32 bits: a page is a part of the collection, in
// its order, never longer than its limit, and that of the plain evaluation.

#include "Command/Query/Paging.h"

#include "Law.h"
#include "PlainQuery.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <limits>
#include <numeric>
#include <vector>

using Poco::JSON::Array;
using Poco::JSON::Object;
using Zovi::Command::Paging;
using Zovi::Fuzz::require;
using Zovi::Fuzz::requireEqual;

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
    Array array;
    for (int i = 0; i < size; ++i)
        array.add(i);
    paging.applyArrayPaging(array);
    require(array.size() <= static_cast<std::size_t>(size), "a page of an array is no longer than the array");
}

/// Identified so that their order by id is that of the list.
Array objects(int size)
{
    Array array;
    for (int i = 0; i < size; ++i) {
        Object::Ptr object = new Object;
        object->set("id", "00000000-0000-4000-8000-0000000000" + std::to_string(10 + i));
        array.add(object);
    }
    return array;
}

void checkPlainly(const Paging& paging, const std::string& offset, const std::string& limit, int size)
{
    Poco::URI url("/service/resource");
    if (!offset.empty())
        url.addQueryParameter("$offset", offset);
    if (!limit.empty())
        url.addQueryParameter("$limit", limit);
    std::vector<std::string> log;
    Zovi::Test::PlainEvaluation plain(url.toString(), log);
    if (offset.empty() && limit.empty())
        return;
    require(plain.isValid() == paging.isValid(), "the plain rules refuse the same texts");
    if (!paging.isValid())
        return;
    Array expected;
    Object::Ptr description;
    plain.evaluate(objects(size), expected, description);
    Array page = objects(size);
    paging.applyArrayPaging(page);
    requireEqual(Zovi::Test::describe(page), Zovi::Test::describe(expected), "the page is the plain one");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    FuzzedDataProvider input(data, size);
    const int count = input.ConsumeIntegralInRange<int>(0, 300);
    const Paging numbers(input.ConsumeIntegral<int>(), input.ConsumeIntegral<int>());
    const std::string offset = input.ConsumeRandomLengthString(64);
    const std::string limit = input.ConsumeRemainingBytesAsString();
    const Paging texts(offset, limit);
    require(texts.getLimit() <= Paging::PAGING_LIMIT_MAX, "a limit from outside is cut");
    // The least number has no positive counterpart to be compared by, and is let through.
    require(texts.getLimit() >= -Paging::PAGING_LIMIT_MAX ||
                texts.getLimit() == std::numeric_limits<Poco::Int32>::min(),
            "so is one that runs backward");
    checkPlainly(texts, offset, limit, count % 32);
    for (const Paging* paging : {&numbers, &texts}) {
        checkPage(*paging, count);
        checkArray(*paging, count);
    }
    return 0;
}
