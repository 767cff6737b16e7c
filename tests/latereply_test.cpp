// Replies that come late, broken or not at all.

#include "tests/commrig.h"

#include <QSignalSpy>
#include <QTest>

using namespace px40;

class LateReplyTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void LateRepliesNeverAnswerTheNextCommand()
    {
        // One that comes when its command was given up; an instrument that is always slower than the
        // time-out, which leaves some questions without any answer.
        for (const char *const fault : {"late=330,first=1", "late=120"}) {
            CommRig rig(fault, 100);
            rig.Send(Preparations().front()); // may fail
            for (int n = 1; n <= 4; ++n) {
                const Exchange exchange = rig.Send(AskReading(n));
                const bool answered = Succeeds(exchange);
                QVERIFY2(answered || rig.server.CurrentFaults().lateFirst == 0, fault);
                QVERIFY2(!answered || *exchange.Value() == rig.Expected(AskReading(n).text), fault);
            }
        }
    }

    void LateRepliesSendNoStepAgain()
    {
        CommRig rig("silent", Never);
        rig.SendInVain(Reading(1, 2));
        const Exchange step = rig.SendOut(Step());
        for (int reply = 1; reply <= 2; ++reply)
            rig.Reply(rig.Expected(u"OM1"_qs));
        rig.Reply(u"OK"_qs);
        QCOMPARE(ReplyOf(step), u"OK"_qs);
        QCOMPARE(rig.Commands(), QStringList({u"OM1"_qs, u"OM1"_qs, u"UP1"_qs}));
    }

    /// The acknowledgement of an older command is waited for before the instrument is changed.
    void StepsWaitForOlderAcknowledgements()
    {
        CommRig rig("silent", Never);
        rig.SendInVain(Step(1));
        const Exchange step = rig.Send(SetMeasuring(true));
        for (int turn = 0; turn < 20; ++turn)
            QCoreApplication::processEvents();
        QVERIFY(!rig.comm.tmTimeout().Enabled()); // nothing is sent yet
        rig.Reply(u"OK"_qs);
        QTRY_COMPARE(rig.Commands(), QStringList({u"UP1"_qs, u"MO1"_qs}));
        QVERIFY(!step.Done());
        rig.Reply(u"OK"_qs);
        QVERIFY(Succeeds(step));
    }

    /// A reply that comes while nobody waits, or with a port that was closed, is not waited for any more.
    void RepliesBetweenExchangesCount()
    {
        for (const bool reopened : {false, true}) {
            CommRig rig("silent", Never);
            rig.SendInVain(Reading(1, 1));
            if (reopened) {
                rig.Open();
            } else {
                const QSignalSpy lines(&rig.comm, &Comm::lineReceived);
                rig.Reply(rig.Expected(u"OM1"_qs));
                QTRY_COMPARE(lines.count(), 1);
            }
            const Exchange next = rig.SendOut(AskReading(2));
            rig.Reply(rig.Expected(u"OM2"_qs));
            QVERIFY(Succeeds(next));
            QCOMPARE(rig.Commands(), QStringList({u"OM1"_qs, u"OM2"_qs}));
        }
    }

    /// Characters that stand there when a question is written again are the beginning of a slow reply, or the
    /// rest of one that broke off.
    void BrokenRepliesDoNotSpoilTheNext()
    {
        const QByteArray reply(29, '1');
        for (const bool slow : {true, false}) {
            LineBuffer buffer;
            PendingReplies pending;
            pending.Begin(AskReading(1));
            buffer.BeginAttempt();
            pending.Written(0);
            QVERIFY(buffer.Take(reply.first(9), pending).isEmpty());
            buffer.BeginAttempt();
            pending.Written(1000);
            const QByteArray rest = slow ? reply.mid(9) : reply;
            QCOMPARE(buffer.Take(rest + "\r\n", pending), QStringList(QString::fromLatin1(reply)));
        }
    }

    void ReplyAfterACancelIsDropped()
    {
        CommRig rig("silent", Never);
        const Exchange cancelled = rig.SendOut(AskReading(1));
        rig.state.DownloadCancel = true;
        rig.comm.FlagsChanged();
        QVERIFY(cancelled.Finish());
        rig.state.DownloadCancel = false;
        const Exchange next = rig.SendOut(AskReading(2));
        rig.Reply(rig.Expected(u"OM1"_qs));
        QTRY_COMPARE(rig.Commands(), QStringList({u"OM1"_qs, u"OM2"_qs, u"OM2"_qs})); // asked again behind it
        QVERIFY(!next.Done());
        rig.Reply(rig.Expected(u"OM2"_qs));
        QCOMPARE(ReplyOf(next), rig.Expected(u"OM2"_qs));
    }

    void LostReplyIsAskedForBeforeTheNextTurn()
    {
        CommRig rig("drop-reply=1", 60);
        const auto [one, other] = Preparations();
        const Exchange first = rig.Send(one);
        const Exchange second = rig.Send(other);
        QVERIFY(rig.Answers(AskReading(7)));
        QVERIFY(Succeeds(first) && Succeeds(second));
        QCOMPARE(rig.Commands(), QStringList({u"AN1"_qs, u"AN1"_qs, u"H1"_qs, u"OM7"_qs}));
    }
};

QTEST_GUILESS_MAIN(LateReplyTest)
#include "latereply_test.moc"
