// Replies that come late, broken or not at all.

#include "tests/commrig.h"

#include <QTest>

using namespace px40;

class LateReplyTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void LateRepliesNeverAnswerTheNextCommand();
    void LateRepliesSendNoStepAgain();
    void StepsWaitForOlderAcknowledgements();
    void RepliesBetweenExchangesCount();
    void BrokenRepliesDoNotSpoilTheNext();
    void ReplyAfterACancelIsDropped();
    void LostReplyIsAskedForBeforeTheNextTurn();
};

void LateReplyTest::LateRepliesNeverAnswerTheNextCommand()
{
    // One that comes when its command was given up; an instrument that is always slower than the time-out,
    // which leaves some questions without any answer.
    for (const char *const fault : {"late=330,first=1", "late=120"}) {
        CommRig rig(fault, 100);
        rig.Send(u"AN1"_qs); // may fail
        for (const QString &command : {u"OM1"_qs, u"OM2"_qs, u"OM3"_qs, u"OM4"_qs}) {
            const bool answered = Succeeds(rig.Send(command));
            QVERIFY2(answered || rig.server.CurrentFaults().lateFirst == 0, fault);
            QVERIFY2(!answered || rig.state.RecvBuffer == rig.Expected(command), fault);
        }
    }
}

void LateReplyTest::LateRepliesSendNoStepAgain()
{
    CommRig rig("none", Never);
    rig.state.LinkActivity = ActivitySourceCommand;
    rig.Fault("silent");
    const Running<bool> question = rig.SendOut(u"OC"_qs, 2);
    Q_EMIT rig.comm.tmTimeout().tick();
    QTRY_COMPARE(rig.Commands().size(), 2);
    Q_EMIT rig.comm.tmTimeout().tick();
    QVERIFY(Fails(question));
    const Running<bool> step = rig.SendOut(u"UP1"_qs);
    const std::string status = rig.Expected(u"OC"_qs).toStdString() + "\r\n";
    rig.server.Inject(status + status);
    rig.server.Inject("OK\r\n");
    QVERIFY(Succeeds(step));
    QCOMPARE(rig.state.RecvBuffer, u"OK"_qs);
    QCOMPARE(rig.Commands(), QStringList({u"OC"_qs, u"OC"_qs, u"UP1"_qs}));
}

/// The acknowledgement of an older command is waited for before the instrument is changed.
void LateReplyTest::StepsWaitForOlderAcknowledgements()
{
    CommRig rig("silent", Never);
    rig.state.LinkActivity = ActivitySourceCommand;
    const Running<bool> older = rig.SendOut(u"AN1"_qs, 1);
    Q_EMIT rig.comm.tmTimeout().tick();
    QVERIFY(Fails(older));
    const Running<bool> step = rig.Send(u"UP1"_qs);
    for (int turn = 0; turn < 20; ++turn)
        QCoreApplication::processEvents();
    QCOMPARE(rig.state.LastCommand, u"AN1"_qs);
    rig.server.Inject("OK\r\n");
    QTRY_COMPARE(rig.Commands(), QStringList({u"AN1"_qs, u"UP1"_qs}));
    QVERIFY(!step.Done());
    rig.server.Inject("OK\r\n");
    QVERIFY(Succeeds(step));
}

/// A reply that comes while nobody waits, or with a port that was closed, is not waited for any more.
void LateReplyTest::RepliesBetweenExchangesCount()
{
    for (const bool reopened : {false, true}) {
        CommRig rig("silent", Never);
        const Running<bool> older = rig.SendOut(u"OM1"_qs, 1);
        Q_EMIT rig.comm.tmTimeout().tick();
        QVERIFY(Fails(older));
        const QString late = rig.Expected(u"OM1"_qs);
        if (reopened) {
            rig.Open();
        } else {
            rig.state.LinkActivity = ActivityIdle;
            rig.server.Inject(late.toStdString() + "\r\n");
            QTRY_COMPARE(rig.state.RecvBuffer.trimmed(), late);
            rig.state.LinkActivity = ActivityDownload;
        }
        const Running<bool> next = rig.SendOut(u"OM2"_qs);
        rig.server.Inject(rig.Expected(u"OM2"_qs).toStdString() + "\r\n");
        QVERIFY(Succeeds(next));
        QCOMPARE(rig.Commands(), QStringList({u"OM1"_qs, u"OM2"_qs}));
    }
}

/// Characters that stand there when a question is written again are the beginning of a slow reply, or the
/// rest of one that broke off.
void LateReplyTest::BrokenRepliesDoNotSpoilTheNext()
{
    for (const bool slow : {true, false}) {
        CommRig rig("silent", Never);
        const std::string reply = rig.Expected(u"OM1"_qs).toStdString();
        const std::string begin = reply.substr(0, 9);
        const Running<bool> question = rig.SendOut(u"OM1"_qs);
        rig.state.LinkActivity = ActivityIdle; // to see it come
        rig.server.Inject(begin);
        QTRY_COMPARE(rig.state.RecvBuffer.toStdString(), begin);
        rig.state.LinkActivity = ActivityDownload;
        Q_EMIT rig.comm.tmTimeout().tick();
        QTRY_COMPARE(rig.Commands().size(), 2);
        rig.server.Inject((slow ? reply.substr(9) : reply) + "\r\n");
        QVERIFY(Succeeds(question));
        QCOMPARE(rig.state.RecvBuffer.toStdString(), reply);
    }
}

void LateReplyTest::ReplyAfterACancelIsDropped()
{
    CommRig rig("silent", Never);
    const Running<bool> cancelled = rig.SendOut(u"OM1"_qs);
    rig.state.DownloadCancel = true;
    rig.comm.FlagsChanged();
    QVERIFY(cancelled.Finish());
    rig.state.DownloadCancel = false;
    const Running<bool> next = rig.SendOut(u"OM2"_qs);
    rig.server.Inject(rig.Expected(u"OM1"_qs).toStdString() + "\r\n");
    QTRY_COMPARE(rig.Commands(), QStringList({u"OM1"_qs, u"OM2"_qs, u"OM2"_qs})); // asked again behind it
    QVERIFY(!next.Done());
    rig.server.Inject(rig.Expected(u"OM2"_qs).toStdString() + "\r\n");
    QVERIFY(Succeeds(next));
    QCOMPARE(rig.state.RecvBuffer, rig.Expected(u"OM2"_qs));
}

void LateReplyTest::LostReplyIsAskedForBeforeTheNextTurn()
{
    CommRig rig("drop-reply=1", 60);
    const Running<bool> first = rig.Send(u"AN1"_qs);
    const Running<bool> second = rig.Send(u"H1"_qs);
    QVERIFY(rig.Answers(u"OM7"_qs));
    QVERIFY(Succeeds(first) && Succeeds(second));
    QCOMPARE(rig.Commands(), QStringList({u"AN1"_qs, u"AN1"_qs, u"H1"_qs, u"OM7"_qs}));
}

QTEST_GUILESS_MAIN(LateReplyTest)
#include "latereply_test.moc"
