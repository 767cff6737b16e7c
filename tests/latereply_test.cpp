// Replies that come late, broken or not at all.

#include "testing/rows.h"
#include "tests/commrig.h"

#include <QMap>
#include <QSignalSpy>

using namespace px40;

namespace {

/// The command of that text.
LinkCommand Named(const QString &text)
{
    for (const LinkCommand &command : AskCondition()) {
        if (command.text == text)
            return command;
    }
    if (text.startsWith(u"OM"))
        return AskReading(text.mid(2).toInt());
    return text.startsWith(u"RS") ? AskRecord(1) : LinkCommand{text};
}

/// Plays a script of what is written and what comes, and gives the verdicts on what comes, a letter each:
/// A(nswer), G (ask again), D(ropped). A word of the script is >COMMAND (an exchange begins), + (written
/// again), . (its end), f (what was asked is forgotten) or the reply: C(ondition), R(eading), S (record),
/// K (acknowledgement), E (refusal), N (45 characters), X (noise).
QString Play(const QString &script)
{
    const QMap<QString, QString> replies = {{u"C"_qs, QString(52, u'1')},
                                            {u"R"_qs, QString(29, u'1')},
                                            {u"S"_qs, u"RS5"_qs},
                                            {u"K"_qs, u"OK"_qs},
                                            {u"E"_qs, u"ERR"_qs},
                                            {u"N"_qs, QString(45, u'1')},
                                            {u"X"_qs, QString(29, QChar(0x9d))}};
    PendingReplies pending;
    QString verdicts;
    const QStringList words = script.split(u' ');
    for (const QString &word : words) {
        if (word.startsWith(u'>'))
            pending.Begin(Named(word.mid(1)));
        if (word.startsWith(u'>') || word == u"+")
            pending.Written(0);
        else if (word == u".")
            pending.End();
        else if (word == u"f")
            pending.ForgetBefore(1);
        else
            verdicts += QStringLiteral("DGA").at(static_cast<int>(pending.Receive(replies.value(word))));
    }
    return verdicts;
}

using Played = std::tuple<const char *, const char *>; // a script, and the verdicts

} // namespace

class LateReplyTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void RepliesFindTheirCommands_data()
    {
        AddRows<Played>({
            {"healthy", {">AN1 K . >H1 K . >OC C . >OM1 R . >RS,01 S . >UP1 K", "AAAAAA"}},
            {"lost reply", {">OC + C . >AN1 K . >H1 K . >OC C", "AAAA"}},
            {"lost preparation", {">AN1 + K . >H1 K . >OC C", "AAA"}},
            {"late preparation", {">AN1 + K . >H1 K . >OC K C", "AADA"}},
            {"late question behind a step", {">OC + C . >UP1 C K", "ADA"}},
            {"same question again", {">OM1 + R . >OM2 R + R . >OM3 R + R", "AGAGA"}},
            {"refusal is of the oldest", {">OC . >OM1 E + R", "GA"}},
            {"so is noise of any length", {">OC . >OM1 X + R", "GA"}},
            {"acknowledgement answers no question", {">MO1 . >OC K C", "DA"}},
            {"preparations take what comes", {">OC . >AN1 C . >H1 N", "AA"}},
            {"of nothing, behind a preparation", {">OM1 . >AN1 . C >OM2 R + R", "DGA"}},
            {"a reply strikes all before it", {">UP1 . >OM1 . >OC C . >UP2 K", "AA"}},
            {"a reply strikes several before it", {">UP1 . >OC . >OM1 C R", "DA"}},
            {"any form where nothing else is to come", {">OC + N . >UP1 C", "AD"}},
            {"another form behind something else", {">UP1 . >OC N + C", "GA"}},
            {"steps are not asked again", {">OC . >DW1 E K", "DA"}},
            {"a step behind one given up", {">UP1 . >UP2 K K . >OC C", "ADA"}},
            {"of a command that is forgotten", {">UP1 . f >OM1 . >OC K R C", "DDA"}},
            {"asked long ago", {">OC . >OC . f >OC C", "A"}},
            {"while nobody waits", {"K >OC . C >OC C . C", "DDAD"}},
        });
    }

    void RepliesFindTheirCommands()
    {
        const auto [script, verdicts] = ThisRow<Played>();
        QCOMPARE(Play(QString::fromLatin1(script)), QString::fromLatin1(verdicts));
    }

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
