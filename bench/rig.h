#pragma once

#include "testing/linkrig.h"

#include <benchmark/benchmark.h>

#include <chrono>
#include <vector>

namespace px40::bench {

/// Of an even number of values the mean of the middle two; 0 of none.
double Median(std::vector<double> values);

template <typename Unit>
double Elapsed(std::chrono::steady_clock::time_point begin)
{
    return std::chrono::duration<double, Unit>(std::chrono::steady_clock::now() - begin).count();
}

/// Runs the benchmarks that the command line asks for.
int RunBenchmarks(int argc, char **argv);

} // namespace px40::bench
