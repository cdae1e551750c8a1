#include "FixedIterations.h"
#include "QueryData.h"

#include <AccessibleStringStream.h>
#include <Command/QueryFilterJSON.h>
#include <Command/RequestBase.h>
#include <JSONPrinter.h>

#include <Poco/URI.h>

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <iostream>
#include <string>

// Each query is answered in three ways on the same data, from the text of its URL to the answer's document:
// plain, product, hand. Compare the three at one size; see QueryHandTuned.cpp for what the last one leaves
// out.

namespace Zovi::Benchmark
{

Answer answerByProduct(const Poco::JSON::Array& collection, const std::string& url)
{
    Answer answer;
    const Command::RequestBase request{Poco::URI(url)};
    Command::QueryFilterJSON::filterJSONArrayByQuery(collection, request, answer.objects, answer.paging);
    return answer;
}

namespace
{

const Query QUERIES[] = {
    {"DefaultPage", [](std::size_t) { return std::string("/svc/res"); }, defaultPageByHand},
    {"FilteredTopTen",
     [](std::size_t) {
         return std::string("/svc/res?state=running&$sortby=-size&$limit=10&$fields=name,size,state");
     },
     filteredTopTenByHand},
    {"Freetext", [](std::size_t) { return std::string("/svc/res?$q=%25abc%25"); }, freetextByHand},
    {"DeepPage",
     [](std::size_t size) {
         return "/svc/res?$sortby=group,-size&$limit=25&$offset=" + std::to_string(size / 2);
     },
     deepPageByHand},
};

std::string textOf(const Answer& answer)
{
    return Util::JSONPrinter::toString(answer.objects) +
           (answer.paging ? Util::JSONPrinter::toString(*answer.paging) : "no paging");
}

void requireSame(const std::string& what, const std::string& actual, const std::string& expected)
{
    if (actual == expected)
        return;
    std::cerr << what << ":\n" << actual << "\nis not\n" << expected << std::endl;
    std::exit(EXIT_FAILURE);
}

using Way = Answer (*)(const Poco::JSON::Array& collection, const std::string& url);

void answer(benchmark::State& state, const Query& query, Way way)
{
    const auto size = static_cast<std::size_t>(state.range(0));
    const Poco::JSON::Array& collection = collectionOf(size);
    const std::string url = query.url(size);
    requireSame(query.name, textOf(way(collection, url)), textOf(answerByProduct(collection, url)));
    for (auto _ : state)
        benchmark::DoNotOptimize(way(collection, url));
}

void printByPoco(const Poco::JSON::Array& page, std::ostream& out)
{
    page.stringify(out, 0, -1);
}

void printByProduct(const Poco::JSON::Array& page, std::ostream& out)
{
    Util::JSONPrinter::print(page, out);
}

void printFromString(const Poco::JSON::Array& page, std::ostream& out)
{
    const std::string text = printByHand(page);
    out.write(text.data(), static_cast<std::streamsize>(text.size()));
}

using Print = void (*)(const Poco::JSON::Array& page, std::ostream& out);

void print(benchmark::State& state, Print way)
{
    const Poco::JSON::Array& page = collectionOf(static_cast<std::size_t>(state.range(0)));
    std::ostringstream printed;
    way(page, printed);
    requireSame("Print", printed.str(), Util::JSONPrinter::toString(page));
    for (auto _ : state) {
        Util::AccessibleStringStream out;
        way(page, out);
        benchmark::DoNotOptimize(out.getBuffer());
    }
}

void registerWay(const std::string& name, const Query& query, Way way)
{
    benchmark::RegisterBenchmark((query.name + name).c_str(), answer, query, way)
        ->RangeMultiplier(10)
        ->Range(100, 100'000)
        ->Apply(fixIterations)
        ->Unit(benchmark::kMicrosecond);
}

void registerPrint(const std::string& name, Print way)
{
    benchmark::RegisterBenchmark(("Print" + name).c_str(), print, way)
        ->RangeMultiplier(10)
        ->Range(100, 100'000)
        ->Apply(fixIterations)
        ->Unit(benchmark::kMicrosecond);
}

const bool isRegistered = [] {
    for (const Query& query : QUERIES) {
        registerWay("/plain", query, answerPlainly);
        registerWay("/product", query, answerByProduct);
        registerWay("/hand", query, query.byHand);
    }
    registerPrint("/plain", printByPoco);
    registerPrint("/product", printByProduct);
    registerPrint("/hand", printFromString);
    return true;
}();

} // namespace

} // namespace Zovi::Benchmark
