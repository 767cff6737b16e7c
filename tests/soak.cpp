// A long run on an instrument that fails at random: soak [SECONDS [SEED]]. A second passes as soon as
// its work is done; a day takes some minutes.

#include "simulator/random.h"
#include "testing/files.h"
#include "testing/liverig.h"

#include <QAbstractEventDispatcher>
#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QHash>
#include <QLoggingCategory>
#include <QPointer>

#include <cstdio>
#include <random>

#include <unistd.h>

using namespace px40;

namespace {

constexpr int WarmUp = 60;       // seconds without a fault, at the beginning and at the end
constexpr int SettlingMs = 3000; // of real time, as the line takes it: a simulated second is over in a few
constexpr int LongestReopening = 1000; // the number of a terminal may be in another process's hands

/// Which timers there are is known by their ticks only.
class TimersSeen : public QObject
{
  public:
    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::Timer)
            seen_.insert(watched, watched);
        return false;
    }

    qsizetype Active() const
    {
        qsizetype active = 0;
        for (const QPointer<QObject> &one : seen_) {
            if (one)
                active += QAbstractEventDispatcher::instance()->registeredTimers(one).size();
        }
        return active;
    }

  private:
    QHash<QObject *, QPointer<QObject>> seen_;
};

/// What a run holds of the computer.
struct Holding
{
    explicit Holding(const TimersSeen &seen)
        : timers(seen.Active()), files(QDir(u"/proc/self/fd"_qs).entryList(QDir::NoFilter).size())
    {
        const QList<QByteArray> pages = Contents(u"/proc/self/statm"_qs).split(' ');
        megabytes = pages.value(1).toDouble() * double(::sysconf(_SC_PAGESIZE)) / 1e6;
    }

    qsizetype timers;
    qsizetype files;
    double megabytes;
};

/// The instrument, and what is wrong with it at the moment.
struct Weather
{
    explicit Weather(LiveRig *forRig, quint64 seed) : rig(forRig), random(seed) {}

    quint64 UpTo(quint64 most) { return 1 + random.Next() % most; }

    /// To be called once a second.
    void Change()
    {
        if (left == 0 && UpTo(60) == 1)
            Break();
        else if (left > 0 && --left == 0)
            Mend();
    }

    void Break()
    {
        ++faults;
        left = int(UpTo(4));
        rig->comm.tmTimeout().SetInterval(10); // silence takes its time
        switch (UpTo(4)) {
        case 1:
            rig->server.HangUp();
            left = int(UpTo(60));
            break;
        case 2:
            rig->Fault("silent");
            break;
        case 3:
            rig->Fault("garbage");
            break;
        default:
            std::string noise;
            for (quint64 length = UpTo(200); length > 0; --length)
                noise += static_cast<char>(UpTo(255));
            rig->server.Inject(noise);
        }
    }

    void Mend()
    {
        left = 0;
        rig->Fault("none");
        if (rig->server.DevicePath().empty())
            rig->server.PlugIn();
        rig->comm.tmTimeout().SetInterval(1000);
    }

    LiveRig *rig;
    sim::Random random;
    int faults = 0;
    int left = 0; ///< seconds until it is mended; 0: nothing is wrong
};

void Soak(int seconds, quint64 seed)
{
    TimersSeen timers;
    qApp->installEventFilter(&timers);
    LiveRig rig(1000);
    rig.checkTimer.SetEnabled(false);
    Journals journals(rig.folder.filePath(u"Unsaved"_qs), [] { return JournalOrigin(); });
    rig.shared.journals = &journals;
    Weather weather(&rig, seed);
    const auto dataSet = rig.NewSet(1);
    Require(rig.Start(dataSet), u"The run does not begin."_qs);
    const qint64 begin = SecondOf(rig.clock.utcMs);
    std::optional<Holding> before;
    QElapsedTimer quiet;
    quiet.start();
    int closed = 0;
    for (int row = 1; row <= seconds; ++row) {
        if (row > WarmUp && row < seconds - WarmUp)
            weather.Change();
        else if (weather.left > 0)
            weather.Mend();
        rig.shown.clear(); // the rig keeps each status
        const QString where = u"Row %1: "_qs.arg(row);
        Require(rig.Pass(1000), where + u"it is not stored."_qs);
        closed = rig.comm.IsOpen() || weather.left > 0 ? 0 : closed + 1;
        if (weather.left > 0 || closed > 0)
            quiet.restart();
        const QString time = dataSet->Table().Cell(row, 1);
        Require(dataSet->GetDatacount() == row && time == TimeOfDay(begin + row), where + time);
        const bool settled = quiet.hasExpired(SettlingMs);
        Require(!settled || dataSet->Table().Cell(row, 2) != u"ERROR", where + u"no reading."_qs);
        Require(closed < LongestReopening, where + u"the port stays closed."_qs);
        if (row == WarmUp) {
            Require(journals.WaitForDisk(PatienceMs), u"The disk does not follow."_qs);
            before.emplace(timers);
        }
    }
    Require(journals.WaitForDisk(PatienceMs), u"The disk does not follow."_qs);
    const Holding after(timers);
    std::printf("%d faults, %d error rows; %lld and %lld timers, %lld and %lld files, %.1f and %.1f MB\n",
                weather.faults, rig.progress.errorRows, before->timers, after.timers, before->files,
                after.files, before->megabytes, after.megabytes);
    Require(after.timers == before->timers && after.files == before->files, u"Something is left behind."_qs);
    Require(after.megabytes < before->megabytes + 20, u"The memory has grown."_qs);
    rig.realtime.Stop();
    Require(rig.Pass(1000) && rig.Ended(), u"The run does not end."_qs);
}

} // namespace

int main(int argc, char *argv[])
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const int seconds = std::max(arguments.value(1, u"3600"_qs).toInt(), 3 * WarmUp);
    const quint64 seed = arguments.size() > 2 ? arguments.at(2).toULongLong() : std::random_device()();
    std::printf("%d seconds, seed %llu\n", seconds, seed);
    std::fflush(stdout);
    QLoggingCategory::setFilterRules(u"px40.link=false"_qs); // what goes wrong is meant to
    try {
        Soak(seconds, seed);
    } catch (const std::exception &failure) {
        std::printf("%s\n", failure.what());
        return 1;
    }
    return 0;
}
