#include "acquire/sample.h"
#include "tests/liverig.h"

using namespace px40;

namespace {

/// The column of a data set's rows, joined.
QString Column(const DataSet &dataSet, int column)
{
    QStringList texts;
    for (int sample = 1; sample <= dataSet.GetDatacount(); ++sample)
        texts << dataSet.Table().Cell(sample, column);
    return texts.join(u' ');
}

constexpr int TimeColumn = 1;
constexpr int DataColumn = 2;
constexpr int SourceColumn = 5;
constexpr int OneHour = 3600 * 1000;

class FullSet : public DataSet
{
  public:
    explicit FullSet(LiveRig &rig) : DataSet(rig.state, rig.shared), state_(&rig.state)
    {
        OpenNew(KindRealtime);
    }
    bool AddGridrow() override
    {
        state_->ErrorMessage = u"No room."_qs;
        return false;
    }

  private:
    LinkState *state_;
};

} // namespace

class RealtimeTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void initTestCase() { qputenv("TZ", "UTC-5"); }
    void SamplesAreDecoded_data();
    void SamplesAreDecoded();
    void CommandsOfARun();
    void RowsOfAPeriod_data();
    void RowsOfAPeriod();
    void LateTicksAreErrorRows();
    void SilentSecondsAreErrorRows();
    void ClocksThatAreSet();
    void UnpluggedRunGoesOn();
    void OtherUseOfTheLink();
    void RunGoesOnBehindOldRows();
    void FullTableEndsTheRun();
    void ForwardingFollows();
    void Texts();
    void StoppedByLeaving();
};

void RealtimeTest::SamplesAreDecoded_data()
{
    QTest::addColumn<QString>("reply");
    QTest::addColumn<QString>("row");
    const auto reply = [](const char *measured, const char *sourced) {
        return QString::fromLatin1(measured) + QString::fromLatin1(sourced) + u"0000000000000000"_qs;
    };
    QTest::newRow("plain") << reply("1100VDCN-001.23E-3", "0301VDCN 012.50E+3")
                           << u"-1.23|mVDC|12.50|kVDC"_qs;
    QTest::newRow("over-range") << reply("1500O  O 999.99E-3", "0401O  O 100.00E+0")
                                << u"-----|Ohm|100.00|Ohm"_qs;
    QTest::newRow("no reading") << reply("1100VDCE------ E+0", "0600ADCE-04.000E-3")
                                << u"-----||-4.000|mADC"_qs;
    QTest::newRow("burn-out") << reply("1401T  B------ E-3", "0301T  N 0100.0E+0") << u" -bo-|C.|100.0|C."_qs;
    QTest::newRow("off") << reply("0401T  N 0042.1E+0", "0500F  N 0050.0E+0") << u"||50.0|Hz"_qs;
    QTest::newRow("refused") << u"ERR"_qs << u"ERROR|||"_qs;
    QTest::newRow("no reply") << u"ERROR"_qs << u"ERROR|||"_qs;
}

void RealtimeTest::SamplesAreDecoded()
{
    QFETCH(const QString, reply);
    QFETCH(const QString, row);
    const ReadingTexts sample = DecodeSample(reply, 3);
    QCOMPARE(QStringList({sample.measureValue, sample.measureUnit, sample.sourceValue, sample.sourceUnit})
                 .join(u'|'),
             row);
}

/// What goes over the line for a start, ten seconds and a stop.
void RealtimeTest::CommandsOfARun()
{
    LiveRig rig;
    rig.Open();
    rig.server.WithInstrument([](sim::Instrument &i) { i.SetTemperatureView(sim::TemperatureView::Signal); });
    const auto dataSet = rig.NewSet("02", "");
    const QStringList request = {u"AN1"_qs, u"H1"_qs, u"OC"_qs};
    QVERIFY(rig.Start(dataSet));
    QCOMPARE(rig.Commands(), request);
    QCOMPARE(rig.state.LinkActivity, int(ActivityRealtime));
    QVERIFY(!rig.state.LinkBusy);
    QCOMPARE(dataSet->GetDatacount(), 0); // the reading of a second is stored when it is over
    for (int tick = 1; tick < 7; ++tick)
        QVERIFY(rig.Pass(100)); // within the second
    QCOMPARE(rig.Commands(), request);
    QVERIFY(rig.PassSeconds(10));
    rig.state.RealtimeStop = true;
    QVERIFY(rig.Pass(1000));
    QVERIFY(!rig.state.RealtimeRun);
    QVERIFY(rig.PassSeconds(3));

    QStringList expected;
    for (int second = 0; second <= 10; ++second)
        expected += request;
    QCOMPARE(rig.Commands(), expected);
    QCOMPARE(dataSet->GetDatacount(), 6);
    QVERIFY(!Column(*dataSet, DataColumn).contains(u"ERROR"));
    QCOMPARE(dataSet->Table().Cell(1, SourceColumn), u"mVDC"_qs); // as the source's function has it
    QCOMPARE(rig.runChanges, 2);
    QCOMPARE(rig.state.LinkActivity, int(ActivityIdle));
    QVERIFY(!rig.tmRealtime.Enabled());
    QVERIFY(rig.prompts.warnings.isEmpty());
}

void RealtimeTest::RowsOfAPeriod_data()
{
    QTest::addColumn<QByteArray>("interval");
    QTest::addColumn<QByteArray>("period");
    QTest::addColumn<QString>("seconds"); // of the rows
    QTest::newRow("each second") << QByteArray("01") << QByteArray("03") << u"0 1 2 3"_qs;
    QTest::newRow("interval divides the period") << QByteArray("05") << QByteArray("10") << u"0 5 10"_qs;
    QTest::newRow("it does not") << QByteArray("04") << QByteArray("10") << u"0 4 8"_qs;
    QTest::newRow("longer than the period") << QByteArray("09") << QByteArray("04") << u"0"_qs;
    QTest::newRow("one second") << QByteArray("01") << QByteArray("01") << u"0 1"_qs;
}

void RealtimeTest::RowsOfAPeriod()
{
    QFETCH(const QByteArray, interval);
    QFETCH(const QByteArray, period);
    QFETCH(const QString, seconds);
    LiveRig rig;
    rig.Open();
    const auto dataSet = rig.NewSet(interval.constData(), period.constData());
    QVERIFY(rig.Start(dataSet));
    QCOMPARE(dataSet->ProgressMaximum(), seconds.count(u' ') + 1);
    const qint64 start = rig.clock.utcMs / 1000;
    QVERIFY(rig.PassSeconds(period.toInt()));
    QVERIFY(rig.state.RealtimeRun);
    QVERIFY(rig.PassSeconds(5));
    QVERIFY(!rig.state.RealtimeRun);
    QStringList times; // a row is stamped when it is stored, one second after its request
    for (const QString &second : seconds.split(u' '))
        times << TimeOfDay(start + second.toInt() + 1);
    QCOMPARE(Column(*dataSet, TimeColumn), times.join(u' '));
    QCOMPARE(dataSet->ProgressValue(), dataSet->ProgressMaximum());
    QCOMPARE(rig.progress.rows, dataSet->GetDatacount());
    QCOMPARE(rig.progress.elapsedSeconds, period.toInt());
    QVERIFY(rig.progress.ended);
}

void RealtimeTest::LateTicksAreErrorRows()
{
    LiveRig rig;
    rig.Open();
    const auto dataSet = rig.NewSet("02", "");
    rig.state.MonitorOpen = true;
    QVERIFY(rig.Start(dataSet));
    QVERIFY(rig.Pass(5000)); // seconds 0 to 4 in one tick
    QCOMPARE(Column(*dataSet, DataColumn).section(u' ', 1), u"ERROR ERROR"_qs);
    QVERIFY(Column(*dataSet, DataColumn).section(u' ', 0, 0) != u"ERROR");
    QCOMPARE(Column(*dataSet, TimeColumn), u"22:46:41 22:46:43 22:46:45"_qs);
    QCOMPARE(rig.handedOn, QStringList({u"ERROR"_qs, u"ERROR"_qs})); // seconds 1 and 3
    QCOMPARE(rig.progress.errorRows, 2);
    rig.clock.Advance(2 * OneHour); // asleep: stored in parts, between which nobody else gets the link
    Q_EMIT rig.tmRealtime.tick();
    QVERIFY(rig.state.LinkBusy);
    QVERIFY(rig.Settled());
    QCOMPARE(dataSet->GetDatacount(), 3 + 3600);
    QVERIFY(rig.Pass(1000));
    QVERIFY(rig.PassSeconds(1));
    QVERIFY(dataSet->Table().Cell(3604, DataColumn) != u"ERROR");
}

void RealtimeTest::SilentSecondsAreErrorRows()
{
    LiveRig rig(20);
    rig.Open();
    const auto dataSet = rig.NewSet("01", "");
    rig.Fault("silent");
    for (int request = 0; request < 2; ++request) {
        if (request == 0) { // waits in vain for second 0
            rig.jobs.Launch(rig.realtime.StartRealtime(dataSet, false), "start");
        } else { // stores it and waits for second 1
            rig.clock.Advance(1000);
            Q_EMIT rig.tmRealtime.tick();
        }
        QVERIFY(rig.state.LinkBusy);
        QCOMPARE(rig.progress.rows, request);
        QCOMPARE(dataSet->GetDatacount(), request);
        rig.clock.Advance(1000);
        Q_EMIT rig.tmRealtime.tick(); // stays out, and counts nothing
        QCOMPARE(dataSet->GetDatacount(), request);
        rig.clock.Advance(-1000);
        QVERIFY(rig.Settled());
        QCOMPARE(rig.Commands().size(), 9 * (request + 1));
    }
    rig.clock.Advance(1000);
    rig.Fault("none");
    QVERIFY(rig.Pass(1000));
    QVERIFY(rig.Pass(1000));
    QCOMPARE(Column(*dataSet, DataColumn).section(u' ', 0, 2), u"ERROR ERROR ERROR"_qs);
    QCOMPARE(rig.progress.errorRows, 3);
    QCOMPARE(rig.progress.rows, 4);

    rig.Fault("mode=printer"); // not the instrument's normal state: no reading
    QVERIFY(rig.PassSeconds(2));
    QCOMPARE(rig.progress.errorRows, 4);
    QVERIFY(rig.prompts.warnings.isEmpty());
}

void RealtimeTest::ClocksThatAreSet()
{
    HeldClock clock;
    SecondCounter counter;
    counter.Begin(clock);
    const auto passed = [&](qint64 wallMs, qint64 monotonicMs) {
        clock.utcMs += wallMs;
        clock.monotonicMs += monotonicMs;
        return counter.Count();
    };
    QCOMPARE(passed(600, 600), 0);
    QCOMPARE(passed(100, 100), 1); // a boundary, not a thousand milliseconds
    QCOMPARE(passed(999, 999), 0);
    QCOMPARE(passed(3001, 3001), 4);
    QCOMPARE(passed(-OneHour, 1000), 0); // set back
    QCOMPARE(passed(1000, 1000), 1);
    QVERIFY(passed(OneHour, 100) <= 1); // set forward
    QCOMPARE(passed(1000, 1000), 1);
    QCOMPARE(passed(OneHour, OneHour), 3600); // asleep
    QCOMPARE(passed(5000, 4990), 5);          // the two clocks drift
    clock.utcMs = -1500;
    counter.Begin(clock);
    QCOMPARE(passed(2000, 2000), 2); // before 1970, too
}

void RealtimeTest::UnpluggedRunGoesOn()
{
    LiveRig rig;
    rig.Open();
    const auto dataSet = rig.NewSet("01", "");
    QVERIFY(rig.Start(dataSet));
    QVERIFY(rig.PassSeconds(2));
    rig.server.HangUp();
    QVERIFY(WaitUntil([&] { return !rig.comm.IsOpen(); }));
    QVERIFY(rig.PassSeconds(3));
    QVERIFY(rig.progress.portLost);
    QVERIFY(!rig.progress.portOpen);
    const QTemporaryDir elsewhere; // another device that comes up is left alone
    const sim::PtyServer other(Named(LinkRig::Unpaced(), elsewhere));
    QVERIFY(rig.PassSeconds(1));
    QVERIFY(!rig.progress.portOpen);
    rig.server.PlugIn();
    QVERIFY(rig.PassSeconds(2));
    QVERIFY(rig.progress.portOpen);
    QVERIFY(rig.PassSeconds(1));
    QVERIFY(rig.state.RealtimeRun);
    QCOMPARE(dataSet->GetDatacount(), 9);
    QVERIFY(Column(*dataSet, DataColumn).contains(u"ERROR ERROR ERROR"));
    QVERIFY(!Column(*dataSet, DataColumn).endsWith(u"ERROR"));
    QVERIFY(rig.prompts.warnings.isEmpty());
}

void RealtimeTest::OtherUseOfTheLink()
{
    LiveRig rig;
    rig.Open();
    const auto dataSet = rig.NewSet("01", "");
    QVERIFY(rig.Start(dataSet));
    rig.gate.Take();
    QVERIFY(rig.PassSeconds(2)); // dropped
    QCOMPARE(dataSet->GetDatacount(), 0);
    rig.state.LinkActivity = ActivityIdle; // as a command of the MEASURE window leaves it
    rig.gate.Release();
    QVERIFY(!MayClose(rig.state)); // the run holds its windows all the same
    QVERIFY(rig.Check());
    QCOMPARE(rig.Commands().size(), 3); // and has the link to itself
    QVERIFY(rig.Pass(1000));
    QCOMPARE(dataSet->GetDatacount(), 0);
    QCOMPARE(rig.state.LinkActivity, int(ActivityRealtime));
    QVERIFY(rig.Pass(1000));
    QCOMPARE(dataSet->GetDatacount(), 1);

    rig.state.LinkActivity = ActivityIdle;
    rig.state.RealtimeStop = true;
    QVERIFY(rig.Pass(1000));
    QCOMPARE(rig.Commands().last(), u"PL,0"_qs);
    QVERIFY(!rig.state.RealtimeRun);
    QVERIFY(!rig.tmRealtime.Enabled());
}

void RealtimeTest::RunGoesOnBehindOldRows()
{
    LiveRig rig;
    rig.Open();
    const auto dataSet = rig.NewSet("02", "03"); // ends in a second without a row
    for (int run = 1; run <= 2; ++run) {
        rig.state.RealtimeStop = true; // left by the stop before
        QVERIFY(rig.Start(dataSet));
        QVERIFY(rig.PassSeconds(5));
        QVERIFY(!rig.state.RealtimeRun);
        QCOMPARE(dataSet->GetDatacount(), 2 * run);
        QCOMPARE(rig.progress.rows, 2);
    }
    // The period may be changed while the run is under way; the bar follows.
    QVERIFY(rig.Start(dataSet));
    QVERIFY(rig.PassSeconds(1));
    dataSet->SetPeriod(false, {u"00"_qs, u"00"_qs, u"00"_qs, u"08"_qs});
    QVERIFY(rig.PassSeconds(2));
    QCOMPARE(dataSet->ProgressMaximum(), 5);
    QCOMPARE(dataSet->ProgressValue(), 2);
    QVERIFY(rig.PassSeconds(9));
    QCOMPARE(rig.progress.rows, 5);
}

void RealtimeTest::FullTableEndsTheRun()
{
    LiveRig rig;
    rig.Open();
    QVERIFY(rig.Start(std::make_shared<FullSet>(rig)));
    rig.prompts.onWarn = [&] {
        QCOMPARE(rig.state.LinkActivity, int(ActivityRealtimeTransition));
        QVERIFY(!rig.tmRealtime.Enabled());
    };
    QVERIFY(rig.Pass(1000));
    QCOMPARE(rig.prompts.warnings, QStringList(u"No room."_qs));
    QVERIFY(!rig.state.RealtimeRun);
    QCOMPARE(rig.state.LinkActivity, int(ActivityIdle));
}

void RealtimeTest::ForwardingFollows()
{
    LiveRig rig;
    rig.Open();
    RecordedForward forward;
    rig.realtime.SetForward(&forward);
    QVERIFY(rig.Start(rig.NewSet("01", "02"), true));
    QVERIFY(rig.PassSeconds(5));
    QCOMPARE(forward.written, QList<int>({1, 2, 3}));
    QCOMPARE(forward.closings, 1);

    forward.failAt = 2; // costs no reading
    QVERIFY(rig.Start(rig.NewSet("01", "03"), true));
    QVERIFY(rig.PassSeconds(6));
    QCOMPARE(forward.written, QList<int>({1, 2, 3, 1, 2}));
    QCOMPARE(forward.closings, 1);
    QCOMPARE(rig.progress.rows, 4);
    QVERIFY(RunText(rig.progress).endsWith(u"Forward error occurred. (2New)"));

    forward.opens = false;
    QVERIFY(rig.Start(rig.NewSet("01", "01"), true));
    QVERIFY(rig.progress.forwardFailed);
    QVERIFY(rig.PassSeconds(4));
    QCOMPARE(forward.written.size(), 5);
    QVERIFY(rig.Start(rig.NewSet("01", "01"), false)); // not asked for
    QVERIFY(rig.PassSeconds(4));
    QVERIFY(!rig.progress.forwardFailed);
    QVERIFY(rig.prompts.warnings.isEmpty());

    forward.opens = true; // what nobody foresaw ends the run, and nothing else
    forward.throwAt = 1;
    QVERIFY(rig.Start(rig.NewSet("01", ""), true));
    QVERIFY(rig.Pass(1000));
    QCOMPARE(rig.prompts.warnings, QStringList(u"broken"_qs));
    QVERIFY(!rig.state.RealtimeRun);
    QVERIFY(!rig.state.LinkBusy);
    QVERIFY(rig.Start(rig.NewSet("01", ""), false));
    QVERIFY(rig.PassSeconds(2));
    QCOMPARE(rig.progress.rows, 2);
}

void RealtimeTest::Texts()
{
    QCOMPARE(ElapsedText(59), u"00:00:59"_qs);
    QCOMPARE(ElapsedText(99 * 86400 + 3661), u"99d 01:01:01"_qs);
    QCOMPARE(RunRows(1, 99 * 86400), 99 * 86400 + 1);
    RunProgress progress{.name = u"1New"_qs, .elapsedSeconds = 65, .rows = 1};
    QCOMPARE(RunText(progress), u"1New: 00:01:05 elapsed, 1 row, no error rows."_qs);
    progress.rows = 12;
    progress.errorRows = 3;
    progress.portOpen = false;
    progress.portLost = true;
    progress.stopping = true;
    QCOMPARE(RunText(progress),
             u"1New: 00:01:05 elapsed, 12 rows, 3 error rows.  Connection lost; retrying.  Stopping..."_qs);
    progress.ended = true;
    QCOMPARE(RunText(progress), u"1New has ended: 00:01:05 elapsed, 12 rows, 3 error rows."_qs);
}

void RealtimeTest::StoppedByLeaving()
{
    LiveRig rig;
    rig.Open();
    rig.Fault("silent");
    rig.jobs.Launch(rig.realtime.StartRealtime(rig.NewSet("01", ""), false), "start");
    rig.comm.Shut();
    QVERIFY(rig.Settled());
    QVERIFY(rig.prompts.warnings.isEmpty());
}

QTEST_GUILESS_MAIN(RealtimeTest)
#include "realtime_test.moc"
