// A program that logs is killed again and again, and the next start has what was on the instrument's line.

#include "acquire/realtime.h"
#include "document/dataset.h"
#include "document/leftjournals.h"
#include "platform/clock.h"
#include "testing/datafiles.h"
#include "testing/files.h"
#include "testing/linkrig.h"

#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QTest>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <random>
#include <set>
#include <sys/prctl.h>
#include <unistd.h>

using namespace px40;

namespace {

/// A second passes in 5 ms.
struct FastClock : Clock
{
    FastClock() { time.start(); }
    qint64 UtcMs() const override { return 1'900'000'000'000 + MonotonicMs(); }
    qint64 MonotonicMs() const override { return time.nsecsElapsed() / 5000; }
    QElapsedTimer time;
};

void Tell(const QByteArray &line)
{
    static_cast<void>(::write(STDOUT_FILENO, line.constData(), static_cast<std::size_t>(line.size())));
}

/// The program that is killed. It takes what was left, and goes on with one set and saves the others; then it
/// makes runs of some hundred rows, and saves some of them, in the run or at its end.
///
/// It tells "ready", "saving", and the newest row's value when the disk has that row.
class Victim
{
  public:
    Victim(const QString &device, const QString &folder, quint32 seed)
        : folder_(folder), random_(seed), port_(device, folder + u"/user.ini"_qs),
          journals_(folder + u"/Unsaved"_qs,
                    [] {
                        return JournalOrigin{u"port"_qs, QDateTime::currentDateTime(), true};
                    }),
          realtime_(port_.link, clock_, timer_, port_.tell)
    {
        shared_.journals = &journals_;
    }

    [[noreturn]] void Live()
    {
        LeftSets left = TakeLeftJournals(journals_.Folder());
        std::vector<std::shared_ptr<DataSet>> sets;
        for (LeftSet &one : left.sets) {
            sets.push_back(std::make_shared<DataSet>(shared_));
            sets.back()->Recover(std::move(one.contents), std::move(one.journal), false);
        }
        std::thread([this] { Report(); }).detach();
        port_.Open();
        Tell("ready\n");
        for (std::size_t i = 1; i < sets.size(); ++i)
            Save(sets[i].get());
        auto set = sets.empty() ? nullptr : sets.front();
        while (true) {
            if (!set) {
                set = std::make_shared<DataSet>(shared_);
                set->OpenNew(KindRealtime);
                set->SetInterval({u"00"_qs, u"00"_qs, u"00"_qs, u"01"_qs});
            }
            Run(set);
            if (random_() % 3 > 0)
                Save(set.get());
            kept_.push_back(std::exchange(set, nullptr));
        }
    }

  private:
    void Run(const std::shared_ptr<DataSet> &set)
    {
        QObject::connect(set.get(), &DataSet::sampleFollowed, set.get(), [this, set = set.get()](int sample) {
            newest_ = set->Table().Cell(sample, 2).toInt();
        });
        port_.jobs.Launch(realtime_.StartRealtime(set, false), "run");
        AwaitRows(*set);
        if (random_() % 2 > 0) {
            Save(set.get());
            AwaitRows(*set);
        }
        realtime_.Stop();
        Await([this] { return !port_.state.RealtimeRun; }, u"The run does not end."_qs);
    }

    void AwaitRows(const DataSet &set)
    {
        const int rows = set.GetDatacount() + 5 + static_cast<int>(random_() % 60);
        Await([&] { return set.GetDatacount() >= rows; }, u"There are no rows."_qs);
    }

    void Save(DataSet *set)
    {
        Tell("saving\n");
        static int number = 0;
        const QString name = u"%1/%2-%3.csv"_qs.arg(folder_).arg(::getpid()).arg(++number);
        Require(set->SaveFile(name).has_value(), u"The file cannot be saved."_qs);
    }

    [[noreturn]] void Report()
    {
        for (int told = 0;;) {
            const int newest = newest_;
            if (journals_.WaitForDisk(1000) && newest != told)
                Tell(QByteArray::number(told = newest) + '\n');
            ::usleep(500);
        }
    }

    QString folder_;
    std::minstd_rand random_;
    PortRig port_;
    FastClock clock_;
    Timer timer_{1, false};
    Journals journals_;
    DocumentShared shared_;
    Realtime realtime_;
    std::vector<std::shared_ptr<DataSet>> kept_;
    std::atomic<int> newest_ = 0;
};

using Values = std::vector<int>;

/// The rows with a reading.
Values ValuesOf(const RowStore &rows)
{
    Values values;
    for (qsizetype row = 0; row < rows.Count(); ++row) {
        if (const int value = rows.Cell(row, 1).toInt())
            values.push_back(value);
    }
    return values;
}

/// An instrument each of whose readings is another one, with the number of the answer.
sim::ServerOptions Counting(sim::Observer observer)
{
    constexpr int Answers = 99'999;
    sim::ServerOptions options = InstrumentRig::Unpaced();
    options.observer = std::move(observer);
    sim::Instrument instrument;
    for (int number = 1; number <= Answers; ++number) {
        instrument.HoldMeasureField(sim::ValueField({"VDC", number}));
        options.statuses.push_back(instrument.Answer("OC"));
    }
    return options;
}

class KillRig : public InstrumentRig
{
  public:
    KillRig()
        : InstrumentRig(Counting([this](std::string_view command, std::string_view) {
              if (command != "OC")
                  return;
              const std::lock_guard lock(mutex_);
              answered_.push_back(time_.elapsed());
          }))
    {
        time_.start();
    }

    /// Lets a victim live and kills it. Empty, or what is wrong with that which is left.
    QString Kill(quint32 seed, int longestMs)
    {
        std::minstd_rand random(seed * 2654435761U + 1);
        random.discard(5);
        QProcess process;
        QByteArray told;
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(QCoreApplication::applicationFilePath(),
                      {u"--victim"_qs, Device(), folder.path(), QString::number(seed)});
        qint64 ready = std::numeric_limits<qint64>::max();
        QObject::connect(&process, &QProcess::readyRead, [&] {
            told += process.readAll();
            if (told.startsWith("ready"))
                ready = std::min(ready, time_.elapsed());
        });
        const auto pass = [&](int ms) {
            WaitUntil([&] { return process.state() == QProcess::NotRunning; }, ms);
        };
        const int kind = static_cast<int>(seed % 4); // at start, in a save or a removal, else at any moment
        if (kind == 0) {
            pass(static_cast<int>(random() % 150));
        } else {
            pass(static_cast<int>(random()) % longestMs);
            const qsizetype saved = told.count("saving");
            if (kind == 1)
                WaitUntil([&] { return told.count("saving") > saved; });
            if (kind == 1)
                pass(static_cast<int>(random() % 10));
        }
        if (process.state() == QProcess::NotRunning)
            return u"the program has ended by itself"_qs;
        const qint64 killed = time_.elapsed();
        ::kill(static_cast<pid_t>(process.processId()), SIGKILL);
        process.waitForFinished();
        // Killed while it made the lock of its device it leaves an empty one, which nobody takes away.
        const QString device = QFileInfo(Device()).canonicalFilePath().section(u'/', -1);
        if (QFileInfo lock(u"/var/lock/LCK..pts_"_qs + device); lock.exists() && lock.size() == 0)
            QFile::remove(lock.filePath());
        told += process.readAll();
        Demand(told, ready, killed - 1000);
        return Look();
    }

    std::size_t Demanded() const { return demanded_.size(); }

  private:
    /// What the program has told to be on the disk, and what was answered by then.
    void Demand(const QByteArray &told, qint64 from, qint64 until)
    {
        const QList<QByteArray> lines = told.left(told.lastIndexOf('\n') + 1).split('\n');
        for (const QByteArray &line : lines) {
            if (const int value = line.toInt())
                demanded_.insert(value);
        }
        const std::lock_guard lock(mutex_);
        for (std::size_t i = 0; i < answered_.size(); ++i) {
            if (answered_[i] > from && answered_[i] < until)
                demanded_.insert(static_cast<int>(i) + 1);
        }
    }

    QString Look() const
    {
        std::vector<Values> all;
        for (const QFileInfo &file : QDir(folder.path()).entryInfoList({u"*.csv"_qs})) {
            const Result<DataFile> data = Read(Contents(file.filePath()));
            if (!data)
                return file.filePath() + data.error().text;
            all.push_back(ValuesOf(data->rows));
        }
        const LeftSets left = TakeLeftJournals(folder.filePath(u"Unsaved"_qs));
        if (!left.complaints.isEmpty())
            return left.complaints.join(u' ');
        for (const LeftSet &set : left.sets)
            all.push_back(ValuesOf(set.contents.data.rows));

        // A set may be there twice: in its file, and with the rows that came afterwards.
        std::map<int, Values> sets;
        for (const Values &values : all) {
            Values &known = sets[values.empty() ? 0 : values.front()];
            const auto common = static_cast<std::ptrdiff_t>(std::min(known.size(), values.size()));
            if (!std::equal(values.begin(), values.begin() + common, known.begin()))
                return u"two states of a set differ"_qs;
            if (values.size() > known.size())
                known = values;
        }
        std::set<int> found;
        for (const auto &[first, values] : sets) {
            int last = 0;
            for (const int value : values) {
                if (value <= last || !found.insert(value).second)
                    return u"row %1 is there twice, or at the wrong place"_qs.arg(value);
                last = value;
            }
        }
        for (const int value : demanded_) {
            if (!found.contains(value))
                return u"row %1 is missing"_qs.arg(value);
        }
        return {};
    }

    QElapsedTimer time_;
    std::mutex mutex_;
    std::vector<qint64> answered_; ///< when, of each answer
    std::set<int> demanded_;
};

} // namespace

class KillTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    /// PX40_KILLS=200 for the long form; PX40_SEED for the first seed.
    void EveryRowIsThereAfterAKill()
    {
        const int kills = qEnvironmentVariable("PX40_KILLS", u"20"_qs).toInt();
        const bool isShort = kills <= 20;
        const auto first = qEnvironmentVariable("PX40_SEED", u"1"_qs).toUInt();
        KillRig rig;
        for (quint32 seed = first; seed < first + static_cast<quint32>(kills); ++seed) {
            const QString wrong = rig.Kill(seed, isShort ? 800 : 2500);
            QVERIFY2(wrong.isEmpty(), qPrintable(u"seed %1: %2"_qs.arg(seed).arg(wrong)));
        }
        qInfo("seeds %u to %u: %zu rows were to be there", first, first + static_cast<quint32>(kills) - 1,
              rig.Demanded());
        QVERIFY(rig.Demanded() > 20);
    }
};

int main(int argc, char **argv)
{
    try {
        const QCoreApplication application(argc, argv);
        const QStringList arguments = QCoreApplication::arguments();
        if (arguments.value(1) == u"--victim") {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            Victim(arguments.at(2), arguments.at(3), arguments.at(4).toUInt()).Live();
        }
        KillTest test;
        return QTest::qExec(&test, argc, argv);
    } catch (const std::exception &failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return 1;
    }
}
#include "kill_test.moc"
