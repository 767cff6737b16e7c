// What it costs to open and to save a data file of 1,000,000 real-time rows, against plain loops over the
// same bytes, and how much memory the rows take once the file is open. The files lie in the folder for
// temporary files: TMPDIR=DIR chooses another disk.

#include "bench/windowrig.h"
#include "document/datafile.h"
#include "platform/files.h"

#include <QApplication>
#include <QFile>

#include <array>
#include <cmath>
#include <fcntl.h>
#include <fstream>
#include <string>
#include <unistd.h>

namespace px40::bench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr int Rows = 1'000'000;
constexpr int FewRows = 1000;

using PlainRow = std::array<std::string, RowStore::Texts>;

/// A reading each five seconds, wandering about 1 V; now and then one is beyond the range.
PlainRow RowOf(int i)
{
    const int seconds = (36000 + 5 * i) % 86400;
    std::array<char, 16> time{};
    std::snprintf(time.data(), time.size(), "%02d:%02d:%02d", seconds / 3600, seconds / 60 % 60,
                  seconds % 60);
    std::array<char, 16> reading{};
    std::snprintf(reading.data(), reading.size(), "%.4f", 1 + 0.2 * std::sin(i * 1e-4) + i * 37 % 101 * 1e-4);
    return {time.data(), i % 1000 == 999 ? "+OL" : reading.data(), "VDC", "0.000", "VDC"};
}

/// Keeps the rows in memory for the plain loop, and the files for everybody.
class Files
{
  public:
    Files() : rows_(Rows)
    {
        for (int i = 0; i < Rows; ++i)
            rows_[static_cast<std::size_t>(i)] = RowOf(i);
        Make(FewRows, Name("few.csv"));
        Make(Rows, Name("many.csv"));
        Divide(Name("many.csv"));
    }

    QString Name(const char *name) const { return folder_.filePath(QString::fromLatin1(name)); }
    std::string Path(const char *name) const { return Name(name).toStdString(); }

    const std::vector<PlainRow> &PlainRows() const { return rows_; }
    /// What stands before and behind the rows.
    const std::string &Head() const { return head_; }
    const std::string &Tail() const { return tail_; }
    double RowBytes() const { return rowBytes_; }

  private:
    void Make(int count, const QString &name) const
    {
        SetRig rig;
        rig.shared.WorkPath = Name("make.work");
        rig.data->OpenNew(KindRealtime);
        for (int i = 0; i < count && rig.data->AddGridrow(); ++i) {
            std::array<QString, RowStore::Texts> texts;
            for (std::size_t text = 0; text < texts.size(); ++text)
                texts.at(text) = QString::fromStdString(rows_[static_cast<std::size_t>(i)].at(text));
            rig.data->AddData(texts[0], texts[1], texts[2], texts[3], texts[4]);
        }
        const Result<> saved = rig.data->SaveFile(name);
        if (!saved)
            qFatal("%s", qPrintable(saved.error().text));
    }

    void Divide(const QString &name)
    {
        constexpr int headLines = 7;
        QFile file(name);
        if (!file.open(QIODevice::ReadOnly))
            qFatal("%s", qPrintable(file.errorString()));
        for (int i = 0; i < headLines; ++i)
            head_ += file.readLine().toStdString();
        tail_ = ",,,,\r\n";
        rowBytes_ = static_cast<double>(file.size() - file.pos()) / Rows;
    }

    QTemporaryDir folder_;
    std::vector<PlainRow> rows_;
    std::string head_;
    std::string tail_;
    double rowBytes_ = 0;
};

const Files &TheFiles()
{
    static const Files files;
    return files;
}

/// What the process grows by when the file is opened, and when a data window shows it.
void Memory(benchmark::State &state)
{
    const Files &files = TheFiles();
    SetRig small; // what the first window of a process loads is not counted
    small.shared.WorkPath = files.Name("WORK.~~~");
    bool opened = small.data->OpenFile(files.Name("few.csv")).has_value();
    small.Show();
    for ([[maybe_unused]] auto iteration : state) {
        SetRig rig;
        rig.shared.WorkPath = files.Name("WORK.~~~");
        const auto before = static_cast<double>(ResidentBytes());
        const Clock::time_point begin = Clock::now();
        opened = opened && rig.data->OpenFile(files.Name("many.csv"));
        state.SetIterationTime(Elapsed<std::ratio<1>>(begin));
        const auto alone = static_cast<double>(ResidentBytes());
        rig.Show();
        const auto window = static_cast<double>(ResidentBytes());
        state.counters["file_bytes_per_row"] = files.RowBytes();
        state.counters["alone_bytes_per_row"] = (alone - before) / Rows;
        state.counters["window_bytes_per_row"] = (window - before) / Rows;
    }
    if (!opened || small.data->GetDatacount() != FewRows)
        state.SkipWithError("a file did not open");
    state.SetLabel("aim: 150 bytes");
}

/// The length of all fields, so that none of them is left out by the compiler.
std::size_t PlainRead(const std::string &path)
{
    std::ifstream file(path);
    std::size_t length = 0;
    std::string line;
    while (std::getline(file, line)) {
        PlainRow fields;
        std::size_t start = 0;
        for (std::string &field : fields) {
            const std::size_t comma = line.find(',', start);
            field = line.substr(start, comma == std::string::npos ? comma : comma - start);
            length += field.size();
            if (comma == std::string::npos)
                break;
            start = comma + 1;
        }
        benchmark::DoNotOptimize(fields);
    }
    return length;
}

bool CopyPlainly(const QString &from, const QString &to)
{
    QFile source(from);
    QFile target(to);
    return source.open(QIODevice::ReadOnly | QIODevice::Unbuffered) &&
           target.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && CopyBytes(source, target).has_value();
}

void Open(benchmark::State &state)
{
    const Files &files = TheFiles();
    const QString name = files.Name("many.csv");
    const QString work = files.Name("WORK.~~~");
    for ([[maybe_unused]] auto iteration : state) {
        SetRig rig;
        rig.shared.WorkPath = work;
        const Clock::time_point openBegin = Clock::now();
        const bool opened = rig.data->OpenFile(name).has_value();
        const double open = Elapsed<std::milli>(openBegin);

        const Clock::time_point plainBegin = Clock::now();
        const std::size_t length = PlainRead(files.Path("many.csv"));
        const double plain = Elapsed<std::milli>(plainBegin);

        const Clock::time_point copyBegin = Clock::now();
        const bool copied = CopyPlainly(name, work);
        const double copy = Elapsed<std::milli>(copyBegin);

        QFile file(work);
        const bool readable = file.open(QIODevice::ReadOnly | QIODevice::Unbuffered);
        const Clock::time_point readBegin = Clock::now();
        const Result<DataFile> data = ReadDataFile(file);
        const double read = Elapsed<std::milli>(readBegin);
        file.remove();

        if (!opened || rig.data->GetDatacount() != Rows || length == 0 || !copied || !readable || !data) {
            state.SkipWithError("the file was not read");
            return;
        }
        state.SetIterationTime(open * 1e-3);
        state.counters["open_ms"] = open;
        state.counters["plain_ms"] = plain;
        state.counters["ratio"] = open / plain;
        state.counters["copy_ms"] = copy;
        state.counters["read_ms"] = read;
    }
    state.SetLabel("aim: ratio 3");
}

bool PlainWrite(const Files &files, const std::string &path)
{
    std::ofstream file(path);
    file << files.Head();
    for (const PlainRow &row : files.PlainRows())
        file << row[0] << ',' << row[1] << ',' << row[2] << ',' << row[3] << ',' << row[4] << "\r\n";
    file << files.Tail();
    file.close();
    return file.good();
}

bool SyncFile(const std::string &path)
{
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const bool good = descriptor >= 0 && ::fsync(descriptor) == 0;
    ::close(descriptor);
    return good;
}

DataFileHeader HeaderOf(const DataSet &data)
{
    DataFileHeader header;
    header.kind = KindRealtime;
    header.interval = data.GetInterval();
    header.graph = data.Graph().Settings();
    return header;
}

bool WriteWork(const DataSet &data, const QString &name)
{
    QFile file(name);
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) &&
           WriteDataFile(HeaderOf(data), data.Table().Rows(), data.Table().TableRows(), file);
}

bool SameBytes(const QString &one, const QString &other)
{
    QFile first(one);
    QFile second(other);
    return first.open(QIODevice::ReadOnly) && second.open(QIODevice::ReadOnly) &&
           first.readAll() == second.readAll();
}

/// Milliseconds that the work takes on a disk which has nothing else to do.
template <typename Work>
double Timed(bool *good, Work work)
{
    ::sync();
    const Clock::time_point begin = Clock::now();
    *good = static_cast<bool>(work()) && *good;
    return Elapsed<std::milli>(begin);
}

void Save(benchmark::State &state)
{
    const Files &files = TheFiles();
    SetRig rig;
    rig.shared.WorkPath = files.Name("WORK.~~~");
    bool good = rig.data->OpenFile(files.Name("many.csv")).has_value();
    for ([[maybe_unused]] auto iteration : state) {
        const double save = Timed(&good, [&] { return rig.data->SaveFile(files.Name("saved.csv")); });

        QFile::remove(files.Name("plain.csv"));
        const double plain = Timed(&good, [&] { return PlainWrite(files, files.Path("plain.csv")); });
        good = good && SameBytes(files.Name("saved.csv"), files.Name("plain.csv"));
        QFile::remove(files.Name("plain.csv"));
        const double plainSafe = Timed(&good, [&] {
            return PlainWrite(files, files.Path("plain.csv")) && SyncFile(files.Path("plain.csv"));
        });

        const double work = Timed(&good, [&] { return WriteWork(*rig.data, files.Name("part.work")); });
        QFile::remove(files.Name("copy.csv"));
        const double copy =
            Timed(&good, [&] { return CopyPlainly(files.Name("part.work"), files.Name("copy.csv")); });
        const Clock::time_point syncBegin = Clock::now();
        good = SyncFile(files.Path("copy.csv")) && good;
        const double sync = Elapsed<std::milli>(syncBegin);

        if (!good) {
            state.SkipWithError("a file was not written");
            return;
        }
        state.SetIterationTime(save * 1e-3);
        state.counters["save_ms"] = save;
        state.counters["plain_ms"] = plain;
        state.counters["ratio"] = save / plain;
        state.counters["plain_fsync_ms"] = plainSafe;
        state.counters["ratio_fsync"] = save / plainSafe;
        state.counters["work_ms"] = work;
        state.counters["work_ratio"] = work / plain;
        state.counters["copy_ms"] = copy;
        state.counters["fsync_ms"] = sync;
    }
    state.SetLabel("aim: ratio 3");
}

// The memory comes first: later the process has freed memory at hand, and would seem to grow less.
BENCHMARK(Memory)->Apply(Measured);
BENCHMARK(Open)->Apply(Measured<benchmark::kMillisecond, 15>);
BENCHMARK(Save)->Apply(Measured<benchmark::kMillisecond, 15>);

} // namespace

} // namespace px40::bench

PX40_BENCHMARKS(QApplication, None)
