#include "testing/files.h"
#include "testing/liverig.h"
#include "testing/rows.h"

#include <QRegularExpression>

using namespace px40;

namespace {

constexpr int OneHour = 3600 * 1000;
constexpr int OneDay = 24 * OneHour;
const char *const Berlin = "CET-1CEST,M3.5.0,M10.5.0/3";
constexpr qint64 ToSummer = 1'901'149'197'000; // three seconds before the clocks are changed in 2030
constexpr qint64 ToWinter = 1'919'293'197'000;

/// The time of each row behind E for an error row and + for any other.
QString Rows(const DataSet &dataSet)
{
    QStringList rows;
    for (int sample = 1; sample <= dataSet.GetDatacount(); ++sample)
        rows << (dataSet.Table().Cell(sample, 2) == u"ERROR" ? u'E' : u'+') + dataSet.Table().Cell(sample, 1);
    return rows.join(u' ');
}

/// The same without the times.
QString Kinds(const DataSet &dataSet)
{
    return Rows(dataSet).remove(QRegularExpression(u"[^E+]"_qs));
}

struct FullSet : DataSet
{
    using DataSet::DataSet;
    Result<> AddGridrow() override { return Fail(u"No room."_qs); }
};

using Setting = std::tuple<const char *, qint64, int, int, QString>; // zone, start, jump, interval, rows
using Period = std::tuple<int, int, QList<int>>;                     // interval, period, the rows' seconds

} // namespace

/// What is asked again and again: the status check and real-time receive.
class RealtimeTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void initTestCase() { qputenv("TZ", "UTC-5"); }

    void CycleAsksAndShows()
    {
        LiveRig rig;
        for (const int mode : {1, 8}) {
            rig.server.WithInstrument([mode](sim::Instrument &i) { i.SetSourceMode(mode); });
            QVERIFY(rig.Check());
            QCOMPARE(rig.shown, QList<InstrumentStatus>{rig.instrument.Status});
            QCOMPARE(rig.shown.takeFirst().SourceMode, mode);
            QCOMPARE(rig.instrument.PreviousStatus, rig.instrument.Status);
            QVERIFY(rig.Ended());
        }
        QCOMPARE(rig.Commands().first(3), QStringList({u"AN1"_qs, u"H1"_qs, u"OC"_qs}));
        QCOMPARE(rig.Commands().size(), 6);
        QVERIFY(rig.state.StatusPolled);
    }

    void CycleIsSkippedOrYields()
    {
        LiveRig rig;
        std::optional<LinkUse> other(std::in_place, rig.gate, ActivitySourceCommand);
        QVERIFY(rig.Check());
        QVERIFY(!rig.state.StatusPolled);
        other.reset();

        // A command of the user waits: the cycle ends after the exchange under way, and decodes nothing.
        const Running<bool> cycle(rig.check.CheckStatus());
        const Running<bool> command(rig.gate.WaitUntilFree());
        QVERIFY(cycle.Finish() && cycle.Value());
        QVERIFY(command.Finish());
        QCOMPARE(rig.instrument.Accepted, 0);

        // Real-time receive has the link to itself; its status is shown again, without what the user has
        // asked for since.
        const LinkUse run(rig.gate, ActivityRealtime, LinkUse::Sharing::Shared);
        const QString good = rig.Expected(u"OC"_qs);
        rig.instrument.Take(good);
        rig.instrument.Status.MeasureOn ^= 1;
        QVERIFY(rig.Check());
        QCOMPARE(rig.shown.size(), 2);
        QCOMPARE(rig.shown.first(), rig.shown.last());
        // There is none when the last reply is missing, or is noise.
        rig.instrument.Miss();
        QVERIFY(rig.Check());
        rig.instrument.Take(QString(good).replace(19, 1, u'x'));
        QVERIFY(rig.Check());
        QCOMPARE(rig.shown.size(), 2);
        QCOMPARE(rig.instrument.Accepted, 2);
        QCOMPARE(rig.Commands(), QStringList(u"AN1"_qs));
        QVERIFY(rig.prompts.warnings.isEmpty());
        QVERIFY(rig.checkTimer.Enabled());
    }

    void TroubleIsToldOnce_data()
    {
        AddRows<QString>({
            {"silent", u"Can not communicate with the PX40."_qs},
            {"silent-from=3", u"Can not communicate with the PX40."_qs},
            {"hang-up=2", u"Can not communicate with the PX40."_qs},
            {"mode=printer", u"Printer mode\r\nChange normal mode"_qs},
            {"mode=printer44", u"Printer mode\r\nChange normal mode"_qs},
            {"mode=talk-only", u"Talk only mode\r\nChange normal mode"_qs},
            {"mode=talk44", u"Talk only mode\r\nChange normal mode"_qs},
            {"mode=normal44", u"Communication error"_qs},
            {"err", u"Communication error"_qs},
        });
    }

    void TroubleIsToldOnce()
    {
        const QString box = ThisRow<QString>();
        const bool answers = !box.startsWith(u"Can not");
        LiveRig rig;
        QVERIFY(rig.Check());
        const InstrumentStatus before = rig.instrument.Status;
        rig.Fault(QTest::currentDataTag());
        rig.prompts.onWarn = [&] {
            QVERIFY(rig.state.LinkBusy); // as long as the box is open no other cycle begins
            QVERIFY(rig.checkTimer.Enabled());
        };
        QVERIFY(!rig.Check());
        QCOMPARE(rig.prompts.warnings.size(), 1);
        QVERIFY(rig.prompts.warnings.first().startsWith(box));
        if (QByteArray(QTest::currentDataTag()) == "silent") {
            QCOMPARE(rig.Commands().size(), 3 + 3); // three attempts
            QVERIFY(rig.prompts.warnings.first().endsWith(u"Is the communication mode normal mode?"));
        }
        QVERIFY(!rig.checkTimer.Enabled());
        QCOMPARE(rig.checkTimer.Interval(), answers ? 1000 : 0);
        QVERIFY(rig.Ended());
        QCOMPARE(rig.shown.size(), 1);
        QCOMPARE(rig.instrument.Status, before);
    }

    void OtherPortAndLeavingAreNoFailure()
    {
        for (const bool leaving : {false, true}) {
            LiveRig rig;
            rig.Fault("silent");
            const Running<bool> cycle(rig.check.CheckStatus());
            QTRY_VERIFY(rig.server.CommandCount() > 0);
            if (leaving)
                rig.comm.Shut();
            else
                rig.Open(); // as the port dialog does
            QVERIFY(cycle.Finish() && cycle.Value());
            QVERIFY(rig.prompts.warnings.isEmpty());
            QVERIFY(rig.checkTimer.Enabled());
            QVERIFY(!rig.state.LinkBusy);
        }
    }

    /// What goes over the line for a start, ten seconds and a stop.
    void CommandsOfARun()
    {
        LiveRig rig;
        rig.server.WithInstrument(
            [](sim::Instrument &i) { i.SetTemperatureView(sim::TemperatureView::Signal); });
        const auto dataSet = rig.NewSet(2);
        QStringList expected = {u"AN1"_qs, u"H1"_qs, u"OC"_qs};
        QVERIFY(rig.Start(dataSet));
        QVERIFY(!rig.state.LinkBusy);
        for (int tick = 1; tick < 7; ++tick)
            QVERIFY(rig.Pass(100)); // within the second
        QCOMPARE(rig.Commands(), expected);
        QCOMPARE(dataSet->GetDatacount(), 0); // the reading of a second is stored when it is over
        QVERIFY(rig.PassSeconds(10));
        rig.state.RealtimeStop = true;
        QVERIFY(rig.Pass(1000));
        QVERIFY(rig.Ended());
        for (int second = 1; second <= 10; ++second)
            expected += expected.first(3);
        QCOMPARE(rig.Commands(), expected);
        QCOMPARE(Kinds(*dataSet), u"++++++"_qs);
        QCOMPARE(dataSet->Table().Cell(1, 5), u"mVDC"_qs); // as the source's function has it
        QCOMPARE(rig.runChanges, 2);
        QVERIFY(rig.prompts.warnings.isEmpty());
    }

    void RowsOfAPeriod_data()
    {
        AddRows<Period>({
            {"each second", {1, 3, {0, 1, 2, 3}}},
            {"whole intervals", {5, 10, {0, 5, 10}}},
            {"and a rest", {4, 10, {0, 4, 8}}},
            {"shorter than the interval", {9, 4, {0}}},
        });
    }

    void RowsOfAPeriod()
    {
        const auto [interval, period, seconds] = ThisRow<Period>();
        LiveRig rig;
        const auto dataSet = rig.NewSet(interval, period);
        QVERIFY(rig.Start(dataSet));
        QCOMPARE(dataSet->ProgressMaximum(), seconds.size());
        const qint64 start = rig.clock.utcMs / 1000;
        QVERIFY(rig.PassSeconds(period));
        QVERIFY(rig.state.RealtimeRun);
        QVERIFY(rig.PassSeconds(5));
        QVERIFY(rig.Ended());
        QStringList rows; // a row is stamped when it is stored, one second after its request
        for (const int second : seconds)
            rows << u'+' + TimeOfDay(start + second + 1);
        QCOMPARE(Rows(*dataSet), rows.join(u' '));
        QCOMPARE(dataSet->ProgressValue(), dataSet->ProgressMaximum());
        QVERIFY(dataSet->HasProgressEnded());
        QCOMPARE(rig.progress.rows, dataSet->GetDatacount());
        QCOMPARE(rig.progress.elapsedSeconds, period);
        QVERIFY(rig.progress.ended);
    }

    void LateTicksAreErrorRows()
    {
        LiveRig rig;
        const auto dataSet = rig.NewSet(2);
        QVERIFY(rig.Start(dataSet));
        QVERIFY(rig.Pass(5000)); // seconds 0 to 4 in one tick
        QCOMPARE(Rows(*dataSet), u"+22:46:41 E22:46:43 E22:46:45"_qs);
        QCOMPARE(rig.progress.errorRows, 2);
        rig.Tick(2 * OneHour); // asleep: stored in parts, between which nobody else gets the link
        QVERIFY(rig.state.LinkBusy);
        QVERIFY(rig.Settled());
        QCOMPARE(dataSet->GetDatacount(), 3 + 3600);
        QVERIFY(rig.PassSeconds(2));
        QVERIFY(Kinds(*dataSet).endsWith(u"E+"));
    }

    void SilentSecondsAreErrorRows()
    {
        LiveRig rig(20);
        const auto dataSet = rig.NewSet(1);
        rig.Fault("silent");
        for (int request = 0; request < 2; ++request) {
            if (request == 0) // waits in vain for second 0
                rig.jobs.Launch(rig.realtime.StartRealtime(dataSet, false), "start");
            else // stores it and waits for second 1
                rig.Tick(1000);
            QVERIFY(rig.state.LinkBusy);
            QCOMPARE(rig.progress.rows, request);
            rig.Tick(1000); // stays out, and counts nothing
            QCOMPARE(dataSet->GetDatacount(), request);
            rig.clock.Advance(-1000);
            QVERIFY(rig.Settled());
            QCOMPARE(rig.Commands().size(), 9 * (request + 1));
        }
        rig.clock.Advance(1000);
        rig.Fault("none");
        QVERIFY(rig.PassSeconds(2));
        QCOMPARE(Kinds(*dataSet), u"EEE+"_qs);
        rig.Fault("mode=printer"); // not the instrument's normal state: no reading
        QVERIFY(rig.PassSeconds(2));
        QCOMPARE(rig.progress.errorRows, 4);

        rig.Fault("silent");
        rig.Tick(1000);
        QVERIFY(rig.state.LinkBusy);
        rig.comm.Shut(); // the program is left
        QVERIFY(rig.Settled());
        QVERIFY(rig.prompts.warnings.isEmpty());
    }

    /// A reply that comes after a long silence is of the second in which it comes; the silence was missed.
    void LateReplyHasItsOwnTime()
    {
        LiveRig rig;
        const auto dataSet = rig.NewSet(1);
        QVERIFY(rig.Start(dataSet));
        rig.Fault("late=60");
        rig.Tick(1000);
        rig.clock.Advance(3000); // before the answer is there
        QVERIFY(rig.Settled());
        QVERIFY(rig.Pass(100));
        QCOMPARE(Rows(*dataSet), u"+22:46:41 E22:46:42 E22:46:43 +22:46:44"_qs);

        // Whichever second it was asked for; and within the period.
        for (const int period : {0, 6}) {
            LiveRig other;
            const auto fifth = other.NewSet(5, period);
            QVERIFY(other.Start(fifth));
            QVERIFY(other.PassSeconds(2));
            other.Fault("late=60");
            other.Tick(1000);
            other.clock.Advance(period == 0 ? 4000 : 9000);
            QVERIFY(other.Settled());
            QVERIFY(other.Pass(100));
            QCOMPARE(Kinds(*fifth), u"++"_qs);
            QCOMPARE(other.Ended(), period != 0);
        }
    }

    void ClocksThatAreSet()
    {
        // By how much the wall clock and the monotonic one move on, and the seconds counted: boundaries, not
        // thousands of milliseconds; clocks that drift apart; one set back, and set forward; a sleep.
        constexpr std::tuple<int, int, int> cases[] = {
            {600, 600, 0},     {100, 100, 1},       {999, 999, 0},
            {3001, 2995, 4},   {-OneHour, 1000, 1}, {1000, 1000, 1},
            {OneHour, 100, 0}, {1000, 1000, 1},     {OneHour, OneHour, 3600},
        };
        HeldClock clock;
        SecondCounter counter;
        counter.Begin(clock);
        for (const auto &[wallMs, monotonicMs, seconds] : cases) {
            clock.utcMs += wallMs;
            clock.monotonicMs += monotonicMs;
            QCOMPARE(counter.Count(), seconds);
        }
        clock.utcMs = -1500;
        counter.Begin(clock);
        clock.Advance(2000);
        QCOMPARE(counter.Count(), 2); // before 1970, too
    }

    void RowsWhenTheClockIsSet_data()
    {
        AddRows<Setting>({
            {"an hour forward", {"UTC", 0, OneHour, 1, u"+00:00:01 +00:00:02 +01:00:03 +01:00:04"_qs}},
            {"an hour back", {"UTC", 0, -OneHour, 1, u"+00:00:01 +00:00:02 +23:00:03 +23:00:04"_qs}},
            {"a day forward", {"UTC", 0, OneDay, 1, u"+00:00:01 +00:00:02 +00:00:03 +00:00:04"_qs}},
            {"a day back", {"UTC", 0, -OneDay, 1, u"+00:00:01 +00:00:02 +00:00:03 +00:00:04"_qs}},
            {"summer time", {Berlin, ToSummer, 0, 1, u"+01:59:58 +01:59:59 +03:00:00 +03:00:01"_qs}},
            {"winter time", {Berlin, ToWinter, 0, 1, u"+02:59:58 +02:59:59 +02:00:00 +02:00:01"_qs}},
            {"asleep", {"UTC", 0, OneHour, 1200, u"+00:00:01 E00:20:01 E00:40:01 E01:00:01"_qs}},
            {"asleep into summer time",
             {Berlin, ToSummer, OneHour, 1200, u"+01:59:58 E03:19:58 E03:39:58 E03:59:58"_qs}},
        });
    }

    void RowsWhenTheClockIsSet()
    {
        PX40_NEEDS_UNIX();
        const auto [zone, startMs, jumpMs, interval, rows] = ThisRow<Setting>();
        qputenv("TZ", zone);
        const auto back = qScopeGuard([this] { initTestCase(); });
        LiveRig rig;
        rig.clock.utcMs = startMs;
        const auto dataSet = rig.NewSet(1);
        dataSet->SetInterval(
            {u"0"_qs, u"0"_qs, QString::number(interval / 60), QString::number(interval % 60)});
        QVERIFY(rig.Start(dataSet));
        QVERIFY(rig.PassSeconds(2));
        rig.clock.utcMs += jumpMs;
        if (interval > 1) // the computer sleeps: the other clock goes on as well
            rig.clock.monotonicMs += jumpMs;
        QVERIFY(rig.PassSeconds(2));
        QCOMPARE(Rows(*dataSet), rows);
        QVERIFY(rig.tmRealtime.Enabled());
    }

    void UnpluggedRunGoesOn()
    {
        PX40_NEEDS_UNIX();
        LiveRig rig;
        // The user has named the port by its number, which will be another one's.
        QVERIFY(QDir(rig.folder.path()).mkdir(u"by-id"_qs));
        QVERIFY(QFile::link(rig.Device(), rig.folder.filePath(u"by-id/adapter_1"_qs)));
        rig.ports.SetSystem({rig.folder.path(), [](const QString &) { return u"1"_qs; }});
        rig.ports.Fix(PortMap::First, QFileInfo(rig.Device()).canonicalFilePath());
        rig.Open();
        const auto dataSet = rig.NewSet(1);
        QVERIFY(rig.Start(dataSet));
        QVERIFY(rig.PassSeconds(2));
        rig.server.HangUp();
        QVERIFY(WaitUntil([&] { return !rig.comm.IsOpen(); }));
        QVERIFY(rig.PassSeconds(3));
        QCOMPARE(RunText(rig.progress),
                 u"Connection lost; retrying.  1New: 00:00:05 elapsed, 5 rows, 2 error rows."_qs);
        const InstrumentRig other(LinkRig::Unpaced()); // another device that comes up is left alone
        rig.ports.Fix(PortMap::First, other.Device()); // even under the same number
        QVERIFY(rig.PassSeconds(1));
        QVERIFY(!rig.progress.portOpen);
        rig.server.PlugIn();
        QVERIFY(rig.PassSeconds(3));
        QVERIFY(rig.progress.portOpen);
        QCOMPARE(Kinds(*dataSet), u"+++EEEE++"_qs);
        rig.comm.ClosePort(); // another port is chosen in vain: the run stays on its own
        rig.comm.SetPortNumber(2);
        QVERIFY(rig.PassSeconds(1));
        QVERIFY(rig.progress.portOpen);
        QVERIFY(rig.prompts.warnings.isEmpty());
    }

    void OtherUseOfTheLink()
    {
        LiveRig rig;
        const auto dataSet = rig.NewSet(1);
        QVERIFY(rig.Start(dataSet));
        std::optional<LinkUse> command(std::in_place, rig.gate, ActivityMonitorCommand);
        QVERIFY(rig.PassSeconds(2)); // dropped
        command.reset();
        QVERIFY(!MayClose(rig.state)); // the run holds its windows all the same
        QVERIFY(rig.Check());
        QCOMPARE(rig.Commands().size(), 3); // and has the link to itself
        QVERIFY(rig.Pass(1000));
        QCOMPARE(dataSet->GetDatacount(), 0);
        QCOMPARE(rig.state.LinkActivity, int(ActivityRealtime));
        QVERIFY(rig.Pass(1000));
        QCOMPARE(dataSet->GetDatacount(), 1);
        command.emplace(rig.gate, ActivitySourceCommand);
        command.reset();
        rig.state.RealtimeStop = true;
        rig.Fault("silent");
        rig.Tick(1000);
        QVERIFY(rig.state.LinkBusy); // nothing else is sent beside the last command
        QVERIFY(rig.Settled());
        QCOMPARE(rig.Commands().count(u"PL,0"_qs), 1);
        QVERIFY(rig.Ended());
        rig.Fault("none");

        command.emplace(rig.gate, ActivitySourceCommand); // in the moment of the start
        const auto next = rig.NewSet(1);
        QVERIFY(rig.Start(next));
        QCOMPARE(rig.instrument.Sample.measureValue, u"ERROR"_qs); // not the reading of another time
        command.reset();
        QVERIFY(rig.PassSeconds(2));
        QCOMPARE(Kinds(*next), u"+"_qs);
    }

    void RunGoesOnBehindOldRows()
    {
        LiveRig rig;
        const auto dataSet = rig.NewSet(2, 3); // ends in a second without a row
        for (int run = 1; run <= 2; ++run) {
            rig.state.RealtimeStop = true; // left by the stop before
            QVERIFY(rig.Start(dataSet));
            QVERIFY(rig.PassSeconds(5));
            QVERIFY(rig.Ended());
            QCOMPARE(dataSet->GetDatacount(), 2 * run);
            QCOMPARE(rig.progress.rows, 2);
        }
        // The period may be changed while the run is under way; the bar follows.
        QVERIFY(rig.Start(dataSet));
        QVERIFY(rig.PassSeconds(1));
        dataSet->SetPeriod(false, LiveRig::Seconds(8));
        QVERIFY(rig.PassSeconds(2));
        QCOMPARE(dataSet->ProgressMaximum(), 5);
        QCOMPARE(dataSet->ProgressValue(), 2);
        QVERIFY(rig.PassSeconds(9));
        QCOMPARE(rig.progress.rows, 5);
    }

    /// A row that cannot be stored, or what nobody foresaw, ends the run and nothing else.
    void TroubleEndsTheRun()
    {
        LiveRig rig;
        RecordedForward forward;
        forward.throwAt = 1;
        rig.realtime.SetForward(&forward);
        rig.prompts.onWarn = [&] {
            QCOMPARE(rig.state.LinkActivity, int(ActivityRealtimeTransition));
            QVERIFY(!rig.tmRealtime.Enabled());
        };
        for (const bool full : {true, false}) {
            QVERIFY(rig.Start(full ? rig.NewSet<FullSet>(1) : rig.NewSet(1), true));
            QVERIFY(rig.Pass(1000));
            QVERIFY(rig.Ended());
        }
        QCOMPARE(rig.prompts.warnings, QStringList({u"No room."_qs, u"broken"_qs}));
        QVERIFY(rig.Start(rig.NewSet(1)));
        QVERIFY(rig.PassSeconds(2));
        QCOMPARE(rig.progress.rows, 2);
    }

    void ForwardingFollows()
    {
        LiveRig rig;
        RecordedForward forward;
        rig.realtime.SetForward(&forward);
        QVERIFY(rig.Start(rig.NewSet(1, 2), true));
        QVERIFY(rig.PassSeconds(5));
        forward.failAt = 2; // costs no reading
        QVERIFY(rig.Start(rig.NewSet(1, 3), true));
        QVERIFY(rig.PassSeconds(6));
        QCOMPARE(forward.written, QList<int>({1, 2, 3, 1, 2}));
        QCOMPARE(forward.closings, 1);
        QCOMPARE(rig.progress.rows, 4);
        const QString ended = u" has ended: 00:00:03 elapsed, 4 rows, no error rows."_qs;
        QCOMPARE(RunText(rig.progress), u"Forward error occurred. (2New)  No room.  2New"_qs + ended);

        forward.failAt = 0;
        forward.fullAt = 2; // the sheet is finished there, once, and the run goes on
        QVERIFY(rig.Start(rig.NewSet(1, 3), true));
        QVERIFY(rig.PassSeconds(6));
        QCOMPARE(forward.written.size(), 7);
        QCOMPARE(forward.closings, 2);
        QCOMPARE(rig.progress.rows, 4);
        QCOMPARE(RunText(rig.progress, u"2 rows forwarded."_qs),
                 u"The worksheet is full.  2 rows forwarded.  3New"_qs + ended);

        forward.failure.text = u"Nowhere."_qs;
        for (const bool asked : {true, false}) {
            QVERIFY(rig.Start(rig.NewSet(1, 1), asked));
            QVERIFY(rig.PassSeconds(4));
            QCOMPARE(rig.progress.forwardFailed, asked);
        }
        QCOMPARE(forward.written.size(), 7);
        QVERIFY(rig.prompts.warnings.isEmpty());
    }
};

QTEST_GUILESS_MAIN(RealtimeTest)
#include "realtime_test.moc"
