#include "testing/liverig.h"

#include <QTest>

using namespace px40;

class StatusCheckTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
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
        QTest::addColumn<QString>("box");
        const QString noAnswer = u"Can not communicate with the PX40.Confirm the next contents.\r\n"
                                 " Do you firmly plug into the PX40?\r\n Is the PX40 turned on?\r\n"
                                 " Is the establishment of the communication port right?\r\n"
                                 " Is the communication mode normal mode?"_qs;
        for (const char *const fault : {"silent", "silent-from=3", "hang-up=2"})
            QTest::newRow(fault) << noAnswer;
        for (const char *const fault : {"mode=printer", "mode=printer44"})
            QTest::newRow(fault) << u"Printer mode\r\nChange normal mode"_qs;
        for (const char *const fault : {"mode=talk-only", "mode=talk44"})
            QTest::newRow(fault) << u"Talk only mode\r\nChange normal mode"_qs;
        for (const char *const fault : {"mode=normal44", "err"})
            QTest::newRow(fault) << u"Communication error"_qs;
    }

    void TroubleIsToldOnce()
    {
        QFETCH(QString, box);
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
        QCOMPARE(rig.prompts.warnings, QStringList(box));
        if (QByteArray(QTest::currentDataTag()) == "silent")
            QCOMPARE(rig.Commands().size(), 3 + 3); // three attempts
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
};

QTEST_GUILESS_MAIN(StatusCheckTest)
#include "statuscheck_test.moc"
