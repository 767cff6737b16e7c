// What it costs to forward a data set to a workbook file: rows a second against libxlsxwriter, memory at
// 1,000,000 rows, a sheet added to a large workbook against a plain copy of that, and how long the program's
// windows stand still meanwhile. The files lie in the folder for temporary files: TMPDIR=DIR chooses another
// disk.

#include "app/maincommands.h"
#include "bench/sheetrig.h"
#include "bench/windowrig.h"
#include "forward/datasetsource.h"
#include "forward/frmforward.h"
#include "platform/files.h"
#include "testing/program.h"

#include <QApplication>
#include <QFile>
#include <QFileInfo>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTimer>

#include <algorithm>
#include <unistd.h>

#ifdef PX40_OTHERBOOK
#include "bench/otherbook.h"
#endif

namespace px40::bench {

namespace {

using Clock = std::chrono::steady_clock;
using Set = std::shared_ptr<DataSet>;

constexpr int ManyRows = 1'000'000;
constexpr int AddedRows = 1000;
constexpr int AddTurns = 10;
constexpr int WindowRows = 100'000;
constexpr int WindowRuns = 9;

/// Seconds that the work takes on a disk that is idle when it begins.
template <typename Work>
double Timed(bool *good, Work work)
{
    ::sync();
    const Clock::time_point begin = Clock::now();
    *good = work() && *good;
    return Elapsed<std::ratio<1>>(begin);
}

/// The most by which the process grows beyond the data set while it is forwarded.
void Memory(benchmark::State &state)
{
    const QTemporaryDir folder;
    SetMaker sets;
    const Set data = sets.Make(ManyRows);
    for ([[maybe_unused]] auto iteration : state) {
        const auto before = static_cast<double>(ResidentBytes());
        bool good = ForgetPeak();
        const QString name = folder.filePath(QStringLiteral("many.xlsx"));
        state.SetIterationTime(Timed(&good, [&] { return ForwardTo(name, Book::New, data); }));
        if (!good)
            state.SkipWithError("not forwarded, or no peak to be had");
        state.counters["peak_MB"] = (PeakBytes() - before) * 1e-6;
        state.counters["file_MB"] = static_cast<double>(QFileInfo(name).size()) * 1e-6;
    }
    state.SetLabel("aim: 32 MB");
}

#ifdef PX40_OTHERBOOK

/// A new workbook, in turn with libxlsxwriter; `turns` of each, of which the medians count.
void Write(benchmark::State &state, int rows, int turns)
{
    const QTemporaryDir folder;
    SetMaker sets;
    const Set data = sets.Make(rows);
    const DataSetSource source(data, SheetTitle());
    const QString own = folder.filePath(QStringLiteral("own.xlsx"));
    const QString other = folder.filePath(QStringLiteral("other.xlsx"));
    for ([[maybe_unused]] auto iteration : state) {
        std::vector<double> owns;
        std::vector<double> others;
        bool good = true;
        for (int i = 0; i < turns; ++i) {
            owns.push_back(Timed(&good, [&] { return ForwardTo(own, Book::New, data); }));
            others.push_back(Timed(&good, [&] { return WriteOtherBook(source, other.toStdString()); }));
        }
        if (!good)
            state.SkipWithError("a workbook was not written");
        state.SetIterationTime(Median(owns));
        state.counters["own_rows_per_s"] = rows / Median(owns);
        state.counters["other_rows_per_s"] = rows / Median(others);
        state.counters["ratio"] = Median(others) / Median(owns);
        state.counters["own_MB"] = static_cast<double>(QFileInfo(own).size()) * 1e-6;
        state.counters["other_MB"] = static_cast<double>(QFileInfo(other).size()) * 1e-6;
    }
    state.SetLabel("aim: ratio 1.0 at 32,000 rows");
}
#endif

bool CopyPlainly(const QString &from, const QString &to)
{
    QFile source(from);
    QFile target(to);
    return source.open(QIODevice::ReadOnly | QIODevice::Unbuffered) &&
           target.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && CopyBytes(source, target) &&
           ::fsync(target.handle()) == 0;
}

/// 1,000 rows added to a large workbook, in turn with a copy of that which is handed to the disk too.
void Add(benchmark::State &state)
{
    const QTemporaryDir folder;
    SetMaker sets;
    const Set data = sets.Make(AddedRows);
    const QString large = folder.filePath(QStringLiteral("large.xlsx"));
    const QString book = folder.filePath(QStringLiteral("book.xlsx"));
    const QString copied = folder.filePath(QStringLiteral("copied.xlsx"));
    bool good = MakeLargeBook(large);
    for ([[maybe_unused]] auto iteration : state) {
        std::vector<double> adds;
        std::vector<double> copies;
        for (int i = 0; i < 2 * AddTurns; ++i) {
            const bool adding = i % 4 == 0 || i % 4 == 3; // each is first as often as the other
            QFile::remove(adding ? book : copied);
            if (adding) {
                good = QFile::copy(large, book) && good;
                adds.push_back(Timed(&good, [&] { return ForwardTo(book, Book::Existing, data); }));
            } else {
                copies.push_back(Timed(&good, [&] { return CopyPlainly(large, copied); }));
            }
        }
        if (!good || QFileInfo(book).size() <= QFileInfo(large).size())
            state.SkipWithError("the sheet was not added");
        state.SetIterationTime(Median(adds));
        state.counters["book_MB"] = static_cast<double>(QFileInfo(large).size()) * 1e-6;
        state.counters["add_ms"] = Median(adds) * 1e3;
        state.counters["copy_ms"] = Median(copies) * 1e3;
        state.counters["ratio"] = Median(adds) / Median(copies);
    }
    state.SetLabel("aim: ratio 3");
}

/// How long it takes, again and again, until the event loop comes round to a timer of one millisecond.
class Gaps : public QTimer
{
  public:
    Gaps()
    {
        setTimerType(Qt::PreciseTimer);
        connect(this, &QTimer::timeout, this, &Gaps::Note);
    }
    void Begin()
    {
        last_ = Clock::now();
        start(1);
    }
    void Note()
    {
        milliseconds.push_back(Elapsed<std::milli>(last_));
        last_ = Clock::now();
    }

    std::vector<double> milliseconds;

  private:
    Clock::time_point last_;
};

struct Answers
{
    ScriptedPrompts prompts;
};

/// The program with a data window, on the way that its user takes.
class ProgramRig : Answers, public Program
{
  public:
    ProgramRig() : Program(prompts)
    {
        services.store.Save(QStringLiteral("Forward"), QStringLiteral("OpenAfter"), QStringLiteral("0"));
        window->resize(1000, 700);
        window->show();
        AddReadings(window->Commands().AddDataSet(KindRealtime).get(), WindowRows);
        Settle();
    }

    /// From the click on OK of the forward dialog until it has been told how it went. False when that is not
    /// well.
    bool Forward(const QString &name, Book book, Gaps *gaps)
    {
        services.statusLine.Show(QString());
        window->Run(Command::FileForward);
        auto *const dialog = window->findChild<frmForward *>();
        dialog->findChild<QLineEdit *>(QStringLiteral("tbFile"))->setText(name);
        dialog->findChild<QLineEdit *>(QStringLiteral("tbTitle"))->setText(SheetTitle());
        if (book == Book::New)
            dialog->findChild<QRadioButton *>(QStringLiteral("obNew"))->setChecked(true);
        prompts.files = {name};
        Settle();
        gaps->Begin();
        dialog->findChild<QPushButton *>(QStringLiteral("btOk"))->click();
        NoJobLeft();
        Settle();
        gaps->Note();
        gaps->stop();
        return !Message().isEmpty();
    }
};

/// The longest time for which the windows stand still while 100,000 rows are forwarded.
void Pauses(benchmark::State &state, Book book)
{
    ProgramRig rig;
    const QString name = rig.folder.filePath(QStringLiteral("book.xlsx"));
    bool good = book == Book::New || MakeLargeBook(name);
    for ([[maybe_unused]] auto iteration : state) {
        Gaps gaps;
        std::vector<double> worst;
        const Clock::time_point begin = Clock::now();
        for (int i = 0; i < WindowRuns; ++i) {
            const auto before = static_cast<std::ptrdiff_t>(gaps.milliseconds.size());
            good = rig.Forward(name, book, &gaps) && good;
            worst.push_back(*std::max_element(gaps.milliseconds.begin() + before, gaps.milliseconds.end()));
        }
        state.SetIterationTime(Elapsed<std::ratio<1>>(begin) / WindowRuns);
        std::sort(gaps.milliseconds.begin(), gaps.milliseconds.end());
        state.counters["gaps"] = static_cast<double>(gaps.milliseconds.size());
        state.counters["p99_ms"] = gaps.milliseconds.at(gaps.milliseconds.size() * 99 / 100);
        state.counters["worst_of_a_run_ms"] = Median(worst);
        state.counters["worst_ms"] = gaps.milliseconds.back();
    }
    if (!good)
        state.SkipWithError("not forwarded");
    state.SetLabel("aim: 50 ms");
}

// The memory comes first: later the process has freed memory at hand, and would seem to grow less.
BENCHMARK(Memory)->Apply(Measured<benchmark::kMillisecond, 1>);
#ifdef PX40_OTHERBOOK
BENCHMARK_CAPTURE(Write, 1000, 1000, 9)->Apply(Measured<benchmark::kMillisecond, 9>);
BENCHMARK_CAPTURE(Write, 32000, 32'000, 1)->Apply(Measured<benchmark::kMillisecond, 9>);
BENCHMARK_CAPTURE(Write, 1000000, ManyRows, 1)->Apply(Measured<benchmark::kMillisecond, 3>);
#endif
BENCHMARK(Add)->Apply(Measured<benchmark::kMillisecond, 3>);
BENCHMARK_CAPTURE(Pauses, new, Book::New)->Apply(Measured<benchmark::kMillisecond, 1>);
BENCHMARK_CAPTURE(Pauses, existing, Book::Existing)->Apply(Measured<benchmark::kMillisecond, 1>);

} // namespace

} // namespace px40::bench

PX40_BENCHMARKS(QApplication, None)
