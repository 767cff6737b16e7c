// What one step of a graph's view costs, from the scroll to the painted picture: with as many samples in view
// as a graph can show, and with 20 of them out of 1,000 and out of 1,000,000.

#include "bench/windowrig.h"
#include "graph/graphpane.h"

#include <QApplication>

#include <cmath>

namespace px40::bench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int FewRows = 1000;
constexpr int ManyRows = 1'000'000;
constexpr int MostInView = 32767;
constexpr int FewInView = 20;
constexpr int WideSteps = 100;
constexpr int NarrowSteps = 400;

/// What the readings look like.
enum class Look {
    Calm, ///< they drift, with a little noise
    Wild, ///< each is somewhere else in the range, so that every column of the picture is full
    Torn, ///< wild, and each third one is missing
};

QString ReadingOf(Look look, int i)
{
    if (look == Look::Torn && i % 3 == 2)
        return QStringLiteral("+OL");
    const int noise = static_cast<int>(static_cast<unsigned>(i) * 2654435761U >> 16 & 0x7FFF) % 20001 - 10000;
    const double value = look == Look::Calm ? 5 * std::sin(i * 2e-4) + noise * 1e-6 : noise * 1e-3;
    return QString::number(value, 'f', 4);
}

enum class Axes {
    Automatic,
    Custom, ///< a tick and a label asked for at each sample, the values clipped
};

/// A graph of about 900 by 400 pixels, off screen.
class GraphRig
{
  public:
    GraphRig(int rows, int inView, Look look, Axes axes)
    {
        DataSet &data = *rig_.data;
        data.OpenNew(KindRealtime);
        for (int i = 0; i < rows && data.AddGridrow(); ++i) {
            const QString time = QStringLiteral("%1:%2:%3")
                                     .arg(i / 3600 % 24, 2, 10, QLatin1Char('0'))
                                     .arg(i / 60 % 60, 2, 10, QLatin1Char('0'))
                                     .arg(i % 60, 2, 10, QLatin1Char('0'));
            data.AddData(time, ReadingOf(look, i), QStringLiteral("VDC"), QStringLiteral("0.000"),
                         QStringLiteral("VDC"));
        }
        data.SetGraphcount(inView);
        if (axes == Axes::Custom) {
            data.SetAxisX(false, 1, 1);
            data.SetAxisY(false, QStringLiteral("-2"), QStringLiteral("2"), 10, 5);
        }
        data.PaintGraphtop();
        pane_ = std::make_unique<GraphPane>(&data.Graph(), nullptr);
        pane_->resize(900, 420); // with its scroll bar
        pane_->show();
        paints_ = std::make_unique<PaintCount>(pane_->findChild<QWidget *>(QStringLiteral("chData")));
        Settle();
        data.Graph().ScrollTo(data.Graph().Scroll().maximum / 2);
        Settle();
    }

    /// Milliseconds from the next scroll position to the picture; nothing when none was painted.
    std::optional<double> Step()
    {
        DataSet &data = *rig_.data;
        const int paintsBefore = paints_->Count();
        step_ = -step_;
        const Clock::time_point begin = Clock::now();
        data.Graph().ScrollTo(data.Graph().Scroll().value + step_);
        QCoreApplication::processEvents();
        const double taken = Elapsed<std::milli>(begin);
        if (paints_->Count() != paintsBefore + 1)
            return std::nullopt;
        Settle();
        return taken;
    }

  private:
    SetRig rig_;
    std::unique_ptr<GraphPane> pane_;
    std::unique_ptr<PaintCount> paints_;
    int step_ = -1;
};

void Wide(benchmark::State &state, Look look, Axes axes)
{
    GraphRig graph(ManyRows, MostInView, look, axes);
    for ([[maybe_unused]] auto iteration : state) {
        std::vector<double> times;
        for (int i = 0; i < WideSteps; ++i) {
            const std::optional<double> taken = graph.Step();
            if (!taken) {
                state.SkipWithError("nothing was painted");
                return;
            }
            times.push_back(*taken);
        }
        state.SetIterationTime(Median(times) * 1e-3);
        state.counters["step_ms"] = Median(times);
    }
    state.SetLabel("aim: below 16 ms");
}

void Narrow(benchmark::State &state)
{
    GraphRig few(FewRows, FewInView, Look::Calm, Axes::Automatic);
    GraphRig many(ManyRows, FewInView, Look::Calm, Axes::Automatic);
    for ([[maybe_unused]] auto iteration : state) {
        std::vector<double> fewTimes;
        std::vector<double> manyTimes;
        for (int i = 0; i < NarrowSteps; ++i) {
            const std::optional<double> fewTaken = few.Step();
            const std::optional<double> manyTaken = many.Step();
            if (!fewTaken || !manyTaken) {
                state.SkipWithError("nothing was painted");
                return;
            }
            fewTimes.push_back(*fewTaken);
            manyTimes.push_back(*manyTaken);
        }
        state.SetIterationTime(Median(manyTimes) * 1e-3);
        state.counters["of_1000_ms"] = Median(fewTimes);
        state.counters["of_1000000_ms"] = Median(manyTimes);
        state.counters["ratio"] = Median(manyTimes) / Median(fewTimes);
    }
    state.SetLabel("aim: ratio 1.2");
}

BENCHMARK_CAPTURE(Wide, calm, Look::Calm, Axes::Automatic)->Apply(Measured<benchmark::kMillisecond, 9>);
BENCHMARK_CAPTURE(Wide, wild, Look::Wild, Axes::Automatic)->Apply(Measured<benchmark::kMillisecond, 9>);
BENCHMARK_CAPTURE(Wide, torn, Look::Torn, Axes::Automatic)->Apply(Measured<benchmark::kMillisecond, 9>);
BENCHMARK_CAPTURE(Wide, wild_custom_axes, Look::Wild, Axes::Custom)
    ->Apply(Measured<benchmark::kMillisecond, 9>);
BENCHMARK(Narrow)->Apply(Measured<benchmark::kMillisecond, 9>);

} // namespace

} // namespace px40::bench

PX40_BENCHMARKS(QApplication, None)
