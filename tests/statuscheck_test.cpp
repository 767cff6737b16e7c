#include "testing/liverig.h"

#include <QTest>

using namespace px40;

class StatusCheckTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void CycleAsksAndShows();
    void CycleIsSkippedOrYields();
    void TroubleIsToldOnce();
    void OtherPortAndLeavingAreNoFailure();
};

void StatusCheckTest::CycleAsksAndShows()
{
    LiveRig rig;
    QVERIFY(rig.Check());
    QCOMPARE(rig.Commands(), QStringList({u"AN1"_qs, u"H1"_qs, u"OC"_qs}));
    QVERIFY(rig.state.StatusPolled);
    QVERIFY(rig.shown.isEmpty() && rig.sourceShown.isEmpty()); // both windows are closed
    QCOMPARE(rig.commandsEnabled, QList<bool>{true});
    QCOMPARE(rig.instrument.PreviousStatus, rig.instrument.Status);
    QCOMPARE(rig.state.LinkActivity, int(ActivityIdle));
    QVERIFY(!rig.state.LinkBusy);

    rig.state.MonitorOpen = true;
    rig.server.WithInstrument([](sim::Instrument &i) { i.SetSourceMode(1); });
    QVERIFY(rig.Check());
    QCOMPARE(rig.shown.size(), 1);
    QVERIFY(!rig.shown.last().buttonEnabled);
    QVERIFY(rig.sourceShown.isEmpty());
    QCOMPARE(rig.commandsEnabled.last(), false);

    rig.state.MonitorOpen = false;
    rig.state.SourceOpen = true;
    rig.server.WithInstrument([](sim::Instrument &i) { i.SetSourceMode(8); });
    QVERIFY(rig.Check());
    QCOMPARE(rig.shown.size(), 1);
    QCOMPARE(rig.sourceShown, QList<InstrumentStatus>{rig.instrument.Status});
    QCOMPARE(rig.sourceShown.last().SourceMode, 8);
}

void StatusCheckTest::CycleIsSkippedOrYields()
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
    QVERIFY(rig.instrument.StatusReply.isEmpty());

    // Real-time receive has the link to itself; its stored reply is shown again when it is a status.
    rig.state.MonitorOpen = true;
    rig.state.SourceOpen = true;
    rig.state.LinkActivity = ActivityRealtime;
    const QString good = rig.Expected(u"OC"_qs);
    for (const QString &reply : {good, u"ERROR"_qs, QString(good).replace(19, 1, u'x')}) {
        rig.instrument.StatusReply = reply;
        QVERIFY(rig.Check());
        QCOMPARE(rig.shown.size(), 1);
        QCOMPARE(rig.sourceShown.size(), 1);
    }
    QVERIFY(rig.commandsEnabled.isEmpty());
    QCOMPARE(rig.Commands(), QStringList(u"AN1"_qs));
    QVERIFY(rig.prompts.warnings.isEmpty());
    QVERIFY(rig.checkTimer.Enabled());
}

void StatusCheckTest::TroubleIsToldOnce()
{
    const QString noAnswer = u"Can not communicate with the PX40.Confirm the next contents.\r\n"
                             " Do you firmly plug into the PX40?\r\n Is the PX40 turned on?\r\n"
                             " Is the establishment of the communication port right?\r\n"
                             " Is the communication mode normal mode?"_qs;
    const QString printer = u"Printer mode\r\nChange normal mode"_qs;
    const QString talkOnly = u"Talk only mode\r\nChange normal mode"_qs;
    const QString other = u"Communication error"_qs;
    const std::pair<const char *, QString> cases[] = {
        {"silent", noAnswer},      {"silent-from=3", noAnswer}, {"hang-up=2", noAnswer},
        {"mode=printer", printer}, {"mode=printer44", printer}, {"mode=talk-only", talkOnly},
        {"mode=talk44", talkOnly}, {"mode=normal44", other},    {"err", other}};
    for (const auto &[fault, box] : cases) {
        LiveRig rig;
        QVERIFY(rig.Check());
        const InstrumentStatus before = rig.instrument.Status;
        rig.state.MonitorOpen = true;
        rig.Fault(fault);
        rig.prompts.onWarn = [&] {
            QVERIFY(rig.state.LinkBusy); // as long as the box is open no other cycle begins
            QVERIFY(rig.checkTimer.Enabled());
        };
        QVERIFY2(!rig.Check(), fault);
        QCOMPARE(rig.prompts.warnings, QStringList(box));
        if (fault == cases[0].first)
            QCOMPARE(rig.Commands().size(), 3 + 3); // three attempts
        QVERIFY(!rig.checkTimer.Enabled());
        QCOMPARE(rig.checkTimer.Interval(), box == noAnswer ? 0 : 1000);
        QVERIFY(rig.Ended());
        QVERIFY(rig.shown.isEmpty());
        QCOMPARE(rig.instrument.Status, before);
    }
}

void StatusCheckTest::OtherPortAndLeavingAreNoFailure()
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

QTEST_GUILESS_MAIN(StatusCheckTest)
#include "statuscheck_test.moc"
