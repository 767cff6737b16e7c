// What it costs to append a row when a data set holds 1,000 and when it holds 1,000,000 of them, alone, under
// a data window, and with table and graph painted after each row; and how much memory a row takes.

#include "bench/windowrig.h"

#include <QApplication>

#include <chrono>

namespace px40::bench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int FewRows = 1000;
constexpr int ManyRows = 1'000'000;
constexpr int Batches = 200; ///< of each size, in turn
constexpr int BatchRows = 100;
constexpr int Turns = 200; ///< rows that come in one by one, each shown before the next

struct Reading
{
    QString time;
    QString data;
    QString meas;
    QString srcData;
    QString srcMeas;
};

/// Made beforehand, so that the clock sees only the appending.
const std::vector<Reading> &Readings()
{
    static const std::vector<Reading> readings = [] {
        std::vector<Reading> made;
        made.reserve(BatchRows);
        for (int i = 0; i < BatchRows; ++i) {
            made.push_back({QStringLiteral("12:34:%1").arg(i % 60, 2, 10, QLatin1Char('0')),
                            QStringLiteral("%1.%2").arg(i % 20 - 10).arg(i * 37, 4, 10, QLatin1Char('0')),
                            QStringLiteral("mVDC"), QStringLiteral("%1.0").arg(i * 10),
                            QString(QChar(0xB0)) + u'C'});
        }
        return made;
    }();
    return readings;
}

/// Characters (bytes in UTF-8) of all texts of one batch.
std::size_t BatchCharacters()
{
    std::size_t characters = 0;
    for (const Reading &reading : Readings()) {
        for (const QString &text :
             {reading.time, reading.data, reading.meas, reading.srcData, reading.srcMeas})
            characters += static_cast<std::size_t>(text.toUtf8().size());
    }
    return characters;
}

void AppendRow(DataSet *data, const Reading &reading)
{
    if (data->AddGridrow())
        data->AddData(reading.time, reading.data, reading.meas, reading.srcData, reading.srcMeas);
}

void AppendBatch(DataSet *data)
{
    for (const Reading &reading : Readings())
        AppendRow(data, reading);
}

enum class Shown { No, Yes };

/// A data set that holds so many rows, shown in a data window or alone.
class Holder
{
  public:
    Holder(Shown shown, int rows)
    {
        rig_.data->OpenNew(KindRealtime);
        if (shown == Shown::Yes)
            rig_.Show();
        for (int i = 0; i < rows; i += BatchRows) {
            AppendBatch(Data());
            // The window must not find out about all rows only at the end.
            if (shown == Shown::Yes && i % (100 * BatchRows) == 0)
                QCoreApplication::processEvents();
        }
        Settle();
    }

    DataSet *Data() const { return rig_.data.get(); }
    QWidget *Graph() const { return rig_.Graph(); }

  private:
    SetRig rig_;
};

struct Times
{
    std::vector<double> few;
    std::vector<double> many;
};

void Report(benchmark::State &state, const Times &times)
{
    const double few = Median(times.few);
    const double many = Median(times.many);
    state.SetIterationTime(many * 1e-9);
    state.counters["at_1000_ns"] = few;
    state.counters["at_1000000_ns"] = many;
    state.counters["ratio"] = many / few;
}

double TimedBatch(DataSet *data)
{
    const Clock::time_point begin = Clock::now();
    AppendBatch(data);
    return Elapsed<std::nano>(begin) / BatchRows;
}

/// The calls alone, 100 rows in one turn of the event loop. The small set begins anew each time, so it holds
/// 1,000 to 1,100 rows; the large one grows by 2 %.
void Append(benchmark::State &state, Shown shown)
{
    Holder many(shown, ManyRows);
    for ([[maybe_unused]] auto iteration : state) {
        Times times;
        for (int i = 0; i < Batches; ++i) {
            const Holder few(shown, FewRows);
            times.few.push_back(TimedBatch(few.Data()));
            times.many.push_back(TimedBatch(many.Data()));
            Settle();
        }
        Report(state, times);
    }
    state.SetLabel("aim: ratio 1.2");
}

/// One row after the other, each painted before the next.
class Acquisition
{
  public:
    explicit Acquisition(int rows) : holder_(Shown::Yes, rows), paints_(holder_.Graph()) {}

    /// Nanoseconds; nothing when the graph was not painted.
    std::optional<double> TimedTurn(const Reading &reading)
    {
        DataSet *const data = holder_.Data();
        const int paintsBefore = paints_.Count();
        const Clock::time_point begin = Clock::now();
        if (data->AddGridrow())
            data->AddRealtimedata(reading.time, reading.data, reading.meas, reading.srcData, reading.srcMeas,
                                  true);
        QCoreApplication::processEvents();
        const double taken = Elapsed<std::nano>(begin);
        if (paints_.Count() != paintsBefore + 1)
            return std::nullopt;
        Settle();
        return taken;
    }

  private:
    Holder holder_;
    PaintCount paints_;
};

/// A row as it comes in during acquisition: appended, followed by table and graph, counted, laid out and
/// painted.
void AppendAndPaint(benchmark::State &state)
{
    Acquisition few(FewRows);
    Acquisition many(ManyRows);
    for ([[maybe_unused]] auto iteration : state) {
        Times times;
        for (int i = 0; i < Turns; ++i) {
            const Reading &reading = Readings().at(static_cast<std::size_t>(i % BatchRows));
            const std::optional<double> fewTaken = few.TimedTurn(reading);
            const std::optional<double> manyTaken = many.TimedTurn(reading);
            if (!fewTaken || !manyTaken) {
                state.SkipWithError("the graph was not painted");
                return;
            }
            times.few.push_back(*fewTaken);
            times.many.push_back(*manyTaken);
        }
        Report(state, times);
    }
    state.SetLabel("aim: ratio 1.2");
}

/// Memory of 1,000,000 rows beyond the characters of their texts.
void Memory(benchmark::State &state, Shown shown)
{
    constexpr double rows = ManyRows;
    const double characters = static_cast<double>(BatchCharacters()) / BatchRows;
    for ([[maybe_unused]] auto iteration : state) {
        const Holder small(shown, FewRows); // what the first window of a process loads is not counted
        const std::size_t before = ResidentBytes();
        const Clock::time_point begin = Clock::now();
        const Holder many(shown, ManyRows);
        state.SetIterationTime(Elapsed<std::ratio<1>>(begin));
        const auto resident = static_cast<double>(ResidentBytes() - before);
        state.counters["characters_per_row"] = characters;
        state.counters["resident_bytes_per_row"] = resident / rows - characters;
    }
    state.SetLabel("aim: 64 bytes");
}

// The memory comes first: later the process has freed memory at hand, and would seem to grow less.
BENCHMARK_CAPTURE(Memory, alone, Shown::No)->Apply(Measured);
BENCHMARK_CAPTURE(Memory, window, Shown::Yes)->Apply(Measured);
BENCHMARK_CAPTURE(Append, alone, Shown::No)->Apply(Measured<benchmark::kNanosecond, 9>);
BENCHMARK_CAPTURE(Append, window, Shown::Yes)->Apply(Measured<benchmark::kNanosecond, 9>);
BENCHMARK(AppendAndPaint)->Apply(Measured<benchmark::kNanosecond, 9>);

} // namespace

} // namespace px40::bench

PX40_BENCHMARKS(QApplication, None)
