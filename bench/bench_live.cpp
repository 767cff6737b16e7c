// A simulated day of real-time receive, a row each second: what a second costs at the end of the day and at
// its beginning, and how much memory the day takes; without windows, and under a data window and the windows
// MEASURE and SOURCE, all painted each second.

#include "bench/liverig.h"

#include <QApplication>

#include <chrono>
#include <ctime>

namespace px40::bench {

namespace {

constexpr int DaySeconds = 86'400;
constexpr int ComparedSeconds = 1000; ///< the first ones after the warm-up, and the last ones
constexpr int WarmUpSeconds = 200;    ///< until the graph is full and moves on with each row

enum class Shown { No, Yes };

/// A part of the day's end or beginning: microseconds for each second of it.
struct Times
{
    std::vector<double> elapsed;
    std::vector<double>
        processor; ///< of the user-interface thread: without the instrument, which is beside it
};

double ProcessorMicroseconds()
{
    timespec time{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) * 1e-3;
}

/// A run under way.
class Acquisition
{
  public:
    explicit Acquisition(Shown shown) : rig_(LiveRig::Unpaced())
    {
        if (shown == Shown::Yes) {
            rig_.set.Show();
            rig_.ShowWindows();
            paints_ = std::make_unique<PaintCount>(rig_.set.Graph());
        }
    }

    bool Start()
    {
        rig_.Start();
        return rig_.state.RealtimeRun;
    }

    /// False when there was a second without a row or without the painting of graph or reading.
    bool Pass(int seconds, Times *times)
    {
        for (int i = 0; i < seconds; ++i) {
            const int rowsBefore = rig_.set.data->GetDatacount();
            const int paintsBefore = paints_ ? paints_->Count() : 0;
            const double processorBegin = ProcessorMicroseconds();
            const auto begin = std::chrono::steady_clock::now();
            const bool runs = rig_.PassSecond();
            if (times) {
                times->elapsed.push_back(Elapsed<std::micro>(begin));
                times->processor.push_back(ProcessorMicroseconds() - processorBegin);
            }
            if (!runs || rig_.set.data->GetDatacount() != rowsBefore + 1 || rig_.progress.errorRows > 0)
                return false;
            if (paints_ && paints_->Count() == paintsBefore)
                return false;
        }
        return true;
    }

    int Rows() const { return rig_.set.data->GetDatacount(); }

  private:
    LiveRig rig_;
    std::unique_ptr<PaintCount> paints_;
};

void Report(benchmark::State &state, const char *name, const std::vector<double> &start,
            const std::vector<double> &end)
{
    const std::string prefix = name;
    state.counters[prefix + "_start_us"] = Median(start);
    state.counters[prefix + "_end_us"] = Median(end);
    state.counters[prefix + "_ratio"] = Median(end) / Median(start);
}

/// The last seconds of the day take turns with the first ones of a second run, so that whatever else the
/// machine does falls on both alike. The memory is all that the process has grown by since the windows were
/// up: with the instrument's list of commands and the second run's 1,000 rows.
void Day(benchmark::State &state, Shown shown)
{
    for ([[maybe_unused]] auto iteration : state) {
        Acquisition start(shown);
        Acquisition day(shown);
        bool passed = start.Start() && start.Pass(WarmUpSeconds, nullptr);
        const std::size_t before = ResidentBytes();
        passed = passed && day.Start() && day.Pass(DaySeconds - ComparedSeconds, nullptr);
        Times startTimes;
        Times endTimes;
        for (int i = 0; passed && i < ComparedSeconds; ++i)
            passed = start.Pass(1, &startTimes) && day.Pass(1, &endTimes);
        if (!passed) {
            state.SkipWithError("a second had no reading, or was not painted");
            return;
        }
        const auto grown = static_cast<double>(ResidentBytes()) - static_cast<double>(before);
        state.SetIterationTime(Median(endTimes.elapsed) * 1e-6);
        state.counters["rows"] = day.Rows();
        state.counters["added_MB"] = grown * 1e-6;
        Report(state, "elapsed", startTimes.elapsed, endTimes.elapsed);
        Report(state, "processor", startTimes.processor, endTimes.processor);
    }
    state.SetLabel("aims: 20 MB, ratio 1.2");
}

BENCHMARK_CAPTURE(Day, alone, Shown::No)->Apply(Measured<benchmark::kMicrosecond>);
BENCHMARK_CAPTURE(Day, window, Shown::Yes)->Apply(Measured<benchmark::kMicrosecond>);

} // namespace

} // namespace px40::bench

PX40_BENCHMARKS(QApplication, None)
