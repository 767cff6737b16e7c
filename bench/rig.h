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

/// One run of a benchmark that takes its own time; with a number of times, so many of them, of which only the
/// aggregates are told.
template <benchmark::TimeUnit unit = benchmark::kMillisecond, int times = 0>
void Measured(benchmark::internal::Benchmark *one)
{
    one->Iterations(1)->UseManualTime()->Unit(unit);
    if constexpr (times > 0)
        one->Repetitions(times)->ReportAggregatesOnly(times > 1);
}

/// On which display the windows are: on none, so that all machines do the same, or on the one that there
/// is.
enum class Screen { None, IfThere };

void ChooseScreen(Screen screen);

/// Runs the benchmarks that the command line asks for.
int RunBenchmarks(int argc, char **argv);

} // namespace px40::bench

/// The program of a group of benchmarks.
#define PX40_BENCHMARKS(Application, screen)                                                                 \
    int main(int argc, char **argv)                                                                          \
    {                                                                                                        \
        px40::bench::ChooseScreen(px40::bench::Screen::screen);                                              \
        const Application application(argc, argv);                                                           \
        return px40::bench::RunBenchmarks(argc, argv);                                                       \
    }
