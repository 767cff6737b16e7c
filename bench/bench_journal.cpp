// What a journal costs: a row's way in the thread of the windows, their longest pause while a slow disk is
// written, the recovery of 1,000,000 rows against opening their data file, and the size of the journal. The
// files lie in the folder for temporary files: TMPDIR=DIR chooses another disk.

#include "bench/windowrig.h"
#include "document/leftjournals.h"
#include "testing/diskshim.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QTime>

#include <cmath>
#include <thread>

namespace px40::bench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int ManyRows = 1'000'000;
constexpr int Turns = 400;

JournalOrigin NoOrigin()
{
    return {{}, QDateTime::currentDateTime(), false};
}

/// A reading each five seconds, wandering about 1 V.
struct Reading
{
    explicit Reading(int i)
        : time(QTime(10, 0).addSecs(5 * i).toString(QStringLiteral("hh:mm:ss"))),
          data(QString::number(1 + 0.2 * std::sin(i * 1e-4), 'f', 4))
    {
    }

    QString time;
    QString data;
    QString mode = QStringLiteral("VDC");
    QString source = QStringLiteral("0.000");
};

void AddRow(DataSet *set, const Reading &reading)
{
    if (set->AddGridrow())
        set->AddRealtimedata(reading.time, reading.data, reading.mode, reading.source, reading.mode, true);
}

double TimedRow(DataSet *set, const Reading &reading)
{
    const Clock::time_point begin = Clock::now();
    AddRow(set, reading);
    return Elapsed<std::micro>(begin);
}

/// A row comes when the disk has the one before, as in a run.
void RowsWay(benchmark::State &state)
{
    const QTemporaryDir folder;
    SetRig plain;
    SetRig kept;
    Journals journals(folder.path(), NoOrigin);
    kept.shared.journals = &journals;
    for (SetRig *rig : {&plain, &kept})
        rig->data->OpenNew(KindRealtime);
    for ([[maybe_unused]] auto iteration : state) {
        std::vector<double> without;
        std::vector<double> with;
        for (int i = 0; i < Turns; ++i) {
            const Reading reading(i);
            for (const bool keeps :
                 {i % 2 == 0, i % 2 != 0}) // the second finds more in the processor's memory
                (keeps ? with : without).push_back(TimedRow((keeps ? kept : plain).data.get(), reading));
            if (!journals.WaitForDisk(PatienceMs)) {
                state.SkipWithError("the disk does not end");
                return;
            }
        }
        const double added = Median(with) - Median(without);
        state.SetIterationTime(std::max(0.0, added) * 1e-6);
        state.counters["without_us"] = Median(without);
        state.counters["with_us"] = Median(with);
    }
    state.SetLabel("aim: 20 us");
    kept.data.reset();
}

/// Twenty rows a second into a data window for some seconds; how long its thread is away at most.
void LongestPause(benchmark::State &state, int syncMs)
{
    constexpr int Rows = 160;
    constexpr int RowMs = 50;
    const QTemporaryDir folder;
    DiskShim shim;
    SetRig rig;
    Journals journals(folder.path(), NoOrigin, DiskShim::Vfs);
    rig.shared.journals = &journals;
    rig.data->OpenNew(KindRealtime);
    rig.Show();
    AddRow(rig.data.get(), Reading(0));
    Settle();
    shim.SetSyncMs(syncMs);
    for ([[maybe_unused]] auto iteration : state) {
        std::vector<double> turns;
        for (int i = 1; i <= Rows; ++i) {
            const Reading reading(i);
            const Clock::time_point begin = Clock::now();
            AddRow(rig.data.get(), reading);
            rig.data->SetGraphcount(20 + i % 2); // described anew
            QCoreApplication::processEvents();
            turns.push_back(Elapsed<std::milli>(begin));
            while (Elapsed<std::milli>(begin) < RowMs) {
                const Clock::time_point turn = Clock::now();
                QCoreApplication::processEvents();
                const double taken = Elapsed<std::milli>(turn);
                turns.push_back(taken);
                if (taken < 0.1)
                    std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        }
        const double longest = *std::max_element(turns.begin(), turns.end());
        state.SetIterationTime(longest * 1e-3);
    }
    state.SetLabel("aim: 20 ms");
    shim.SetSyncMs(0);
    rig.data.reset();
}

/// The same rows as a data file and as a journal.
class Kept
{
  public:
    Kept()
    {
        Journals journals(Folder(), NoOrigin);
        SetRig rig;
        rig.data->OpenNew(KindRealtime);
        rig.shared.journals = &journals;
        for (int i = 0; i < ManyRows; ++i) {
            AddRow(rig.data.get(), Reading(i));
            if (i % 1000 == 0)
                journals.WaitForDisk(PatienceMs); // as if each thousand had come in time
        }
        rig.shared.journals = nullptr;
        journals.WaitForDisk(PatienceMs);
        // Its journal would go when it is saved.
        QFile file(Name());
        written_ = file.open(QIODevice::WriteOnly) && rig.data->Write(file);
    }

    bool Written() const { return written_; }
    QString Folder() const { return folder_.filePath(QStringLiteral("Unsaved")); }
    QString Name() const { return folder_.filePath(QStringLiteral("many.csv")); }
    double JournalBytes() const
    {
        double bytes = 0;
        for (const QFileInfo &file : QDir(Folder()).entryInfoList(QDir::Files))
            bytes += static_cast<double>(file.size());
        return bytes;
    }

  private:
    QTemporaryDir folder_;
    bool written_ = false;
};

void Recovery(benchmark::State &state)
{
    static const Kept kept;
    for ([[maybe_unused]] auto iteration : state) {
        SetRig opened;
        Clock::time_point begin = Clock::now();
        const bool isOpen = opened.data->OpenFile(kept.Name()).has_value();
        const double openMs = Elapsed<std::milli>(begin);

        SetRig recovered;
        begin = Clock::now();
        LeftSets left = TakeLeftJournals(kept.Folder());
        const double takeMs = Elapsed<std::milli>(begin);
        if (kept.Written() && isOpen && left.sets.size() == 1)
            recovered.data->Recover(std::move(left.sets.front().contents),
                                    std::move(left.sets.front().journal), false);
        const double recoverMs = Elapsed<std::milli>(begin);
        if (recovered.data->GetDatacount() != ManyRows || opened.data->GetDatacount() != ManyRows) {
            state.SkipWithError("rows are missing");
            return;
        }
        state.SetIterationTime(recoverMs * 1e-3);
        state.counters["open_ms"] = openMs;
        state.counters["recover_ms"] = recoverMs;
        state.counters["of_it_in_the_window_ms"] = recoverMs - takeMs;
        state.counters["ratio"] = recoverMs / openMs;
        const auto fileBytes = static_cast<double>(QFileInfo(kept.Name()).size());
        state.counters["file_MB"] = fileBytes * 1e-6;
        state.counters["journal_MB"] = kept.JournalBytes() * 1e-6;
    }
    state.SetLabel("aim: ratio 3, journal 3 x file + 5 MB");
}

BENCHMARK(RowsWay)->Apply(Measured<benchmark::kMicrosecond, 9>);
BENCHMARK_CAPTURE(LongestPause, slow, 500)->Apply(Measured<benchmark::kMillisecond, 3>);
BENCHMARK_CAPTURE(LongestPause, quick, 0)->Apply(Measured<benchmark::kMillisecond, 3>);
BENCHMARK(Recovery)->Apply(Measured<benchmark::kMillisecond, 9>);

} // namespace

} // namespace px40::bench

PX40_BENCHMARKS(QApplication, None)
