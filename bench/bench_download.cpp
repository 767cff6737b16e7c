// How much longer a MEMORY-mode download of 50 readings takes than the line and the instrument need for it.

#include "acquire/storeddata.h"
#include "bench/rig.h"
#include "document/dataset.h"

#include <chrono>

namespace px40::bench {

namespace {

using Clock = std::chrono::steady_clock;

/// What the exchanges of a download take at least. Added to by the server's thread, read when that is gone.
struct NeededTime
{
    sim::Line line;
    std::chrono::nanoseconds time{0};
    int exchanges = 0;

    void Count(std::string_view command, std::string_view sent)
    {
        constexpr std::size_t lineEnd = 2;
        time += line.LineTime(command.size() + lineEnd) + line.thinking + line.LineTime(sent.size());
        ++exchanges;
    }
};

/// In seconds; empty when the download failed.
std::optional<double> TimedDownload(NeededTime *needed)
{
    sim::ServerOptions options;
    options.line = needed->line;
    options.observer = [needed](std::string_view command, std::string_view sent) {
        needed->Count(command, sent);
    };
    LinkRig rig(options, Comm::DefaultReplyTimeoutMs);
    rig.Open();
    DocumentShared shared;
    const auto data = std::make_shared<DataSet>(shared);
    data->OpenNew(KindMemory);
    RecordedProgress progress;
    StoredData stored(rig.link, progress, StoredData::Mode::Memory, data);

    const Clock::time_point begin = Clock::now();
    const Result<> received = Finish(stored.Receive());
    const std::chrono::duration<double> taken = Clock::now() - begin;
    if (!received || data->GetDatacount() != StoredData::Entries)
        return std::nullopt;
    return taken.count();
}

void Download(benchmark::State &state)
{
    for ([[maybe_unused]] auto iteration : state) {
        NeededTime needed;
        const std::optional<double> taken = TimedDownload(&needed);
        if (!taken) {
            state.SkipWithError("the download failed");
            return;
        }
        state.SetIterationTime(*taken);
        const double least = std::chrono::duration<double>(needed.time).count();
        state.counters["needed_ms"] = least * 1e3;
        state.counters["ratio"] = *taken / least;
        state.counters["added_us_per_exchange"] = (*taken - least) * 1e6 / needed.exchanges;
    }
    state.SetLabel("aim: ratio 1.01");
}
BENCHMARK(Download)->Apply(Measured<benchmark::kMillisecond, 9>);

} // namespace

} // namespace px40::bench

PX40_BENCHMARKS(QCoreApplication, None)
