#include "tests/liverig.h"

using namespace px40;

class StatusCheckTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void CycleAsksAndShows();
    void CycleIsSkippedOrYields();
    void TroubleIsToldOnce_data();
    void TroubleIsToldOnce();
    void UnreadableReplyChangesNothing();
    void OtherPortIsNoFailure();
    void StoppedByLeaving();
};

void StatusCheckTest::CycleAsksAndShows()
{
    LiveRig rig;
    rig.Open();
    QVERIFY(rig.Check());
    QCOMPARE(rig.Commands(), QStringList({u"AN1"_qs, u"H1"_qs, u"OC"_qs}));
    QVERIFY(rig.state.StatusPolled);
    QVERIFY(rig.shown.isEmpty()); // the MEASURE window is closed
    QCOMPARE(rig.commandsEnabled, QList<bool>{true});
    QCOMPARE(rig.instrument.PreviousStatus, rig.instrument.Status);
    QCOMPARE(rig.state.LinkActivity, int(ActivityIdle));
    QVERIFY(!rig.state.LinkBusy);

    rig.state.MonitorOpen = true;
    rig.server.WithInstrument([](sim::Instrument &i) { i.SetSourceMode(1); });
    QVERIFY(rig.Check());
    QCOMPARE(rig.shown.size(), 1);
    QVERIFY(!rig.shown.last().on);
    QVERIFY(!rig.shown.last().buttonEnabled);
    QCOMPARE(rig.commandsEnabled.last(), false);
}

void StatusCheckTest::CycleIsSkippedOrYields()
{
    LiveRig rig;
    rig.Open();
    rig.gate.Take();
    QVERIFY(rig.Check());
    QVERIFY(!rig.state.StatusPolled);
    rig.gate.Release();

    // A command of the user waits: the cycle ends after the exchange under way, and decodes nothing.
    const Running<bool> cycle(rig.check.CheckStatus());
    const Running<bool> command(rig.gate.WaitUntilFree());
    QVERIFY(cycle.Finish());
    QVERIFY(cycle.Value());
    QVERIFY(command.Finish());
    QCOMPARE(rig.Commands(), QStringList(u"AN1"_qs));
    QVERIFY(rig.instrument.StatusReply.isEmpty());

    // Real-time receive has the link to itself; its stored reply is shown again.
    rig.state.MonitorOpen = true;
    rig.instrument.StatusReply = rig.Expected(u"OC"_qs);
    rig.state.LinkActivity = ActivityRealtime;
    QVERIFY(rig.Check());
    QCOMPARE(rig.shown.size(), 1);
    rig.instrument.StatusReply = u"ERROR"_qs;
    QVERIFY(rig.Check());
    QCOMPARE(rig.shown.size(), 1);
    QVERIFY(rig.commandsEnabled.isEmpty());
    QCOMPARE(rig.Commands().size(), 1);
}

void StatusCheckTest::TroubleIsToldOnce_data()
{
    QTest::addColumn<QByteArray>("fault");
    QTest::addColumn<QString>("box");
    QTest::addColumn<int>("interval"); // of the check timer afterwards
    const QString noAnswer = u"Can not communicate with the PX40.Confirm the next contents.\r\n"
                             " Do you firmly plug into the PX40?\r\n Is the PX40 turned on?\r\n"
                             " Is the establishment of the communication port right?\r\n"
                             " Is the communication mode normal mode?"_qs;
    const QString printer = u"Printer mode\r\nChange normal mode"_qs;
    const QString talkOnly = u"Talk only mode\r\nChange normal mode"_qs;
    const QString other = u"Communication error"_qs;
    QTest::newRow("silent") << QByteArray("silent") << noAnswer << 0;
    QTest::newRow("silent at OC") << QByteArray("silent-from=3") << noAnswer << 0;
    QTest::newRow("unplugged") << QByteArray("hang-up=2") << noAnswer << 0;
    QTest::newRow("printer") << QByteArray("mode=printer") << printer << 1000;
    QTest::newRow("talk-only") << QByteArray("mode=talk-only") << talkOnly << 1000;
    QTest::newRow("short normal") << QByteArray("mode=normal44") << other << 1000;
    QTest::newRow("short printer") << QByteArray("mode=printer44") << printer << 1000;
    QTest::newRow("short talk-only") << QByteArray("mode=talk44") << talkOnly << 1000;
    QTest::newRow("refused") << QByteArray("err") << other << 1000;
}

void StatusCheckTest::TroubleIsToldOnce()
{
    QFETCH(const QByteArray, fault);
    QFETCH(const QString, box);
    QFETCH(const int, interval);
    LiveRig rig;
    rig.Open();
    QVERIFY(rig.Check());
    const InstrumentStatus before = rig.instrument.Status;
    rig.state.MonitorOpen = true;
    rig.Fault(fault.constData());
    rig.prompts.onWarn = [&] {
        QVERIFY(rig.state.LinkBusy); // as long as the box is open no other cycle begins
        QVERIFY(rig.checkTimer.Enabled());
    };
    QVERIFY(!rig.Check());
    QCOMPARE(rig.prompts.warnings, QStringList(box));
    if (fault == "silent")
        QCOMPARE(rig.Commands().size(), 3 + 3); // three attempts
    QVERIFY(!rig.checkTimer.Enabled());
    QCOMPARE(rig.checkTimer.Interval(), interval);
    QCOMPARE(rig.state.LinkActivity, int(ActivityIdle));
    QVERIFY(!rig.state.LinkBusy);
    QVERIFY(rig.shown.isEmpty());
    QCOMPARE(rig.instrument.Status, before);
}

void StatusCheckTest::UnreadableReplyChangesNothing()
{
    LiveRig rig;
    rig.Open();
    QVERIFY(rig.Check());
    const InstrumentState before = rig.instrument;
    rig.state.MonitorOpen = true;
    rig.state.LinkActivity = ActivityRealtime;
    rig.instrument.StatusReply[19] = u'x';
    QVERIFY(rig.Check());
    QVERIFY(rig.shown.isEmpty());
    QCOMPARE(rig.instrument.Status, before.Status);
    QVERIFY(rig.prompts.warnings.isEmpty());
    QVERIFY(rig.checkTimer.Enabled());
}

void StatusCheckTest::OtherPortIsNoFailure()
{
    LiveRig rig;
    rig.Open();
    rig.Fault("silent");
    const Running<bool> cycle(rig.check.CheckStatus());
    QTRY_VERIFY(rig.server.CommandCount() > 0);
    rig.Open(); // as the port dialog does
    QVERIFY(cycle.Finish());
    QVERIFY(cycle.Value());
    QVERIFY(rig.prompts.warnings.isEmpty());
    QVERIFY(rig.checkTimer.Enabled());
    QVERIFY(!rig.state.LinkBusy);
}

void StatusCheckTest::StoppedByLeaving()
{
    LiveRig rig;
    rig.Open();
    rig.Fault("silent");
    const Running<bool> cycle(rig.check.CheckStatus());
    rig.comm.Shut();
    QVERIFY(cycle.Finish());
    QVERIFY(rig.prompts.warnings.isEmpty());
}

QTEST_GUILESS_MAIN(StatusCheckTest)
#include "statuscheck_test.moc"
