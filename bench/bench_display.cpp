// How long it takes from the end of the instrument's status reply until the MEASURE window shows the new
// reading. On the display that there is (run it under xvfb-run, say), off screen where there is none.

#include "bench/liverig.h"

#include <QApplication>
#include <QLabel>

#include <algorithm>
#include <chrono>
#include <mutex>
#include <thread>
#include <utility>

namespace px40::bench {

namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr int LongestPaintMs = 5000;
constexpr int WarmUpReadings = 20;

/// When the instrument had written the last byte of a status reply.
class ReplyEnd
{
  public:
    sim::Observer Observer()
    {
        return [this](std::string_view command, std::string_view) {
            if (command != "OC")
                return;
            const SteadyClock::time_point now = SteadyClock::now();
            const std::lock_guard lock(mutex_);
            at_ = now;
            ++count_;
        };
    }

    int Count() const
    {
        const std::lock_guard lock(mutex_);
        return count_;
    }

    SteadyClock::time_point At() const
    {
        const std::lock_guard lock(mutex_);
        return at_;
    }

  private:
    mutable std::mutex mutex_;
    SteadyClock::time_point at_;
    int count_ = 0;
};

/// Notes when a widget had last been painted and the picture been handed to the display: both happen within
/// one event of its window.
class TimedApplication : public QApplication
{
  public:
    using QApplication::QApplication;

    bool notify(QObject *receiver, QEvent *event) override
    {
        ++depth_;
        if (receiver == watched && event->type() == QEvent::Paint)
            painting_ = true;
        const bool result = QApplication::notify(receiver, event);
        if (--depth_ == 0 && std::exchange(painting_, false)) {
            paintedAt = SteadyClock::now();
            ++paints;
        }
        return result;
    }

    const QObject *watched = nullptr;
    SteadyClock::time_point paintedAt;
    int paints = 0;

  private:
    int depth_ = 0;
    bool painting_ = false;
};

TimedApplication *Application()
{
    return static_cast<TimedApplication *>(QCoreApplication::instance());
}

/// Adds the milliseconds of so many readings; one that is the same as the one before is not painted and does
/// not count. False when a reading did not come or was not painted.
bool Follow(LiveRig *rig, const ReplyEnd &reply, std::size_t readings, std::vector<double> *times)
{
    QLabel *const label = rig->Reading();
    while (times->size() < readings) {
        Settle();
        const QString textBefore = label->text();
        const int paintsBefore = Application()->paints;
        const int repliesBefore = reply.Count();
        const bool checked = rig->Check();
        const bool changed = label->text() != textBefore;
        if (!checked ||
            (changed && !WaitUntil([&] { return Application()->paints != paintsBefore; }, LongestPaintMs)))
            return false;
        while (reply.Count() == repliesBefore)
            std::this_thread::yield(); // it has been written, but its thread may not have noted it yet
        if (reply.Count() != repliesBefore + 1)
            return false; // asked more than once
        if (!changed)
            continue;
        times->push_back(
            std::chrono::duration<double, std::milli>(Application()->paintedAt - reply.At()).count());
    }
    return true;
}

void Display(benchmark::State &state, bool paced, std::size_t readings)
{
    ReplyEnd reply;
    sim::ServerOptions options;
    options.line.paced = paced;
    options.observer = reply.Observer();
    LiveRig rig(options);
    rig.ShowWindows();
    Application()->watched = rig.Reading();
    for ([[maybe_unused]] auto iteration : state) {
        std::vector<double> warming;
        std::vector<double> times;
        if (!Follow(&rig, reply, WarmUpReadings, &warming) || !Follow(&rig, reply, readings, &times)) {
            state.SkipWithError("a reading did not come, or was not painted");
            break;
        }
        std::sort(times.begin(), times.end());
        state.SetIterationTime(Median(times) * 1e-3);
        state.counters["median_ms"] = Median(times);
        state.counters["of_100_the_worst_ms"] = times.at(times.size() * 99 / 100);
        state.counters["worst_ms"] = times.back();
    }
    Application()->watched = nullptr;
    state.SetLabel("aim: 20 ms; on " + QGuiApplication::platformName().toStdString());
}

BENCHMARK_CAPTURE(Display, at_once, false, 2000)->Apply(Measured);
BENCHMARK_CAPTURE(Display, at_9600_baud, true, 400)->Apply(Measured);

} // namespace

} // namespace px40::bench

PX40_BENCHMARKS(px40::bench::TimedApplication, IfThere)
