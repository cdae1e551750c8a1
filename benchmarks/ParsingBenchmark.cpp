// What it costs to turn a URL into a request, beside what Poco takes for the URL alone: the text parsed, the
// path split into its segments, the query into its decoded parameters. The numbers to compare stand in one
// run, since machines differ.

#include "Command/RequestBase.h"
#include "FixedIterations.h"

#include <Poco/URI.h>

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace
{

using Zovi::Command::RequestBase;

const std::string URLS[] = {
    "/host/processes",
    "/host/processes?$sortby=-residentMemory",
    "/host/processes?$sortby=-residentMemory&$limit=5&$offset=20&$fields=residentMemory,state&state=running",
    "/host/processes?$sortby=-residentMemory,name&$expand=1&$q=%25abc%25&$fields=residentMemory,"
    "threads($offset:0,$limit:5)&state=running",
};

const std::string& urlOf(const benchmark::State& state)
{
    return URLS[state.range(0)];
}

void BarePocoUri(benchmark::State& state)
{
    for (auto _ : state) {
        const Poco::URI uri(urlOf(state));
        std::vector<std::string> segments;
        uri.getPathSegments(segments);
        benchmark::DoNotOptimize(segments);
        benchmark::DoNotOptimize(uri.getQueryParameters());
    }
}

/// Made of the text of a URL, as a request that comes over HTTP is.
class TextRequest : public RequestBase
{
public:
    explicit TextRequest(const std::string& url)
        : RequestBase(url)
    {
    }
};

void Request(benchmark::State& state)
{
    for (auto _ : state) {
        const TextRequest request(urlOf(state));
        benchmark::DoNotOptimize(request.getUrlPath().isValid());
    }
}

BENCHMARK(BarePocoUri)->DenseRange(0, 3)->Apply(Zovi::Benchmark::fixIterations);
BENCHMARK(Request)->DenseRange(0, 3)->Apply(Zovi::Benchmark::fixIterations);

} // namespace
