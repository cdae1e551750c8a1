#pragma once

#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

namespace Zovi::Benchmark
{

/// Lets the environment variable `KYR_ITERATIONS` say how often each benchmark runs. The difference between
/// two runs, divided by that between their iterations, is what one of them takes, in instructions too.
inline void fixIterations(benchmark::internal::Benchmark* benchmark)
{
    if (const char* const iterations = std::getenv("KYR_ITERATIONS"))
        benchmark->Iterations(std::stoi(iterations));
}

} // namespace Zovi::Benchmark
