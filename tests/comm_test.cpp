#include "resources/strings.h"
#include "testing/files.h"
#include "testing/linkrig.h"
#include "testing/rows.h"

#include <QMap>
#include <QSignalSpy>

using namespace px40;

namespace {

/// A reply time-out that never comes: only something else can end the exchange.
constexpr int Never = 3600 * 1000;

template <typename T>
bool Succeeds(const Running<T> &task)
{
    return task.Finish() && task.Value();
}

template <typename T>
bool Fails(const Running<T> &task)
{
    return task.Finish() && !task.Value();
}

/// An exchange under way.
using Exchange = Running<Result<QString>>;

/// The reply to an exchange; what no reply is when there is none.
QString ReplyOf(const Exchange &exchange)
{
    return Succeeds(exchange) ? *exchange.Value() : u"no reply"_qs;
}

FailureCode CodeOf(const Exchange &exchange)
{
    return Fails(exchange) ? exchange.Value().error().code : FailureCode::Other;
}

/// An open port at whose other end the instrument has a fault; a download is under way.
struct CommRig : LinkRig
{
    explicit CommRig(const char *fault = "none", int replyTimeoutMs = ReplyTimeoutMs)
        : LinkRig(Unpaced(), replyTimeoutMs)
    {
        Fault(fault);
        Open();
    }

    Exchange Send(const LinkCommand &command) { return Exchange(comm.SendCommand(command)); }

    /// Sends a command that the instrument has read on return.
    Exchange SendOut(const LinkCommand &command)
    {
        const auto before = server.CommandCount();
        const Exchange exchange = Send(command);
        const bool read = QTest::qWaitFor([&] { return server.CommandCount() == before + 1; });
        Require(read, u"The instrument gets no command."_qs);
        return exchange;
    }

    /// Sends a command that nobody answers in time, and gives up.
    void SendInVain(LinkCommand command)
    {
        command.attempts = 1;
        const Exchange exchange = SendOut(command);
        Q_EMIT comm.tmTimeout().tick();
        Require(Fails(exchange), u"An answer from a silent instrument."_qs);
    }

    void Reply(const QString &text) { server.Inject(text.toStdString() + "\r\n"); }

    LinkUse download{gate, ActivityDownload};
};

/// A command of the user: takes the link in the step in which it becomes free.
QCoro::Task<bool> WaitAndTake(LinkGate *gate, std::optional<LinkUse> *use)
{
    const bool free = co_await gate->WaitUntilFree();
    if (free)
        use->emplace(*gate, ActivitySourceCommand);
    co_return free;
}

using Frame = std::pair<QByteArray, QByteArray>; // what comes, and the reply

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
    qint64 now = 1;
    const QStringList words = script.split(u' ');
    for (const QString &word : words) {
        if (word.startsWith(u'>'))
            pending.Begin(Named(word.mid(1)));
        if (word.startsWith(u'>') || word == u"+") {
            pending.Written(now);
            pending.ForgetBefore(now); // nothing as yet
        } else if (word == u".") {
            pending.End();
        } else if (word == u"f") {
            pending.ForgetBefore(++now);
        } else {
            verdicts += QStringLiteral("DGA").at(static_cast<int>(pending.Receive(replies.value(word))));
        }
    }
    return verdicts;
}

using Played = std::tuple<const char *, const char *>; // a script, and the verdicts

} // namespace

/// The channel to the instrument: one exchange at a time, and replies that come late, broken or not at all.
class CommTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:

    void FramesAreCutAtTheLineFeed_data()
    {
        const QByteArray noise(6000, '\x9d');
        AddRows<Frame>({
            {"empty", {"\r\n", {}}},
            {"no CR", {"\n", {}}},
            {"the character before LF goes, whatever it is", {"ABC\n", "AB"}},
            {"every code", {QByteArray("\0\x80\xff\x7f\r\n", 6), QByteArray("\0\x80\xff\x7f", 4)}},
            {"more lines", {"A\r\nB\r\nC", "A"}},
            {"too long", {noise + "\r\n", noise.first(LineBuffer::MaxLength - 1)}},
        });
    }

    void FramesAreCutAtTheLineFeed()
    {
        const auto [bytes, reply] = ThisRow<Frame>();
        CommRig rig("silent", Never);
        const Exchange exchange = rig.SendOut(AskReading(1));
        rig.server.Inject(bytes.toStdString());
        QCOMPARE(ReplyOf(exchange), QString::fromLatin1(reply));
    }

    /// Each goes out once before the cancel is seen, also behind a command of which the acknowledgement is
    /// missing.
    void CancelledWorkSendsItsLastCommand()
    {
        CommRig rig("silent", Never);
        const Exchange begin = rig.SendOut(BeginRecords());
        rig.state.DownloadCancel = true;
        rig.comm.FlagsChanged();
        QCOMPARE(CodeOf(begin), FailureCode::Cancelled);
        QVERIFY(begin.Value().error().text.isEmpty());
        QVERIFY(!rig.comm.tmTimeout().Enabled());
        for (const LinkCommand &command : {AskRecord(1), EndRecords()})
            QCOMPARE(CodeOf(rig.Send(command)), FailureCode::Cancelled);
        QTRY_COMPARE(rig.Commands(), QStringList({u"PL,1"_qs, u"RS,01"_qs, u"PL,0"_qs}));
    }

    void CancelCountsMoreThanAReply()
    {
        CommRig rig("none", Never);
        const Exchange exchange = rig.Send(AskReading(1));
        rig.state.DownloadCancel = true; // seen only when the reply wakes the exchange
        QVERIFY(Fails(exchange));
    }

    void HangUpAndReopeningEndTheExchange()
    {
        CommRig rig("silent", Never);
        const QSignalSpy lost(&rig.comm, &Comm::portLost);
        const Exchange exchange = rig.SendOut(AskReading(1));
        rig.server.HangUp();
        QVERIFY(Fails(exchange));
        QVERIFY(!rig.comm.IsOpen());
        QTRY_COMPARE(lost.count(), 1);
        QCOMPARE(exchange.Value().error().text, Text(Str::PortLost));

        // It was there before; another port never had a connection, whatever becomes of it.
        const Result<> again = rig.comm.OpenPort();
        QVERIFY(!again);
        QVERIFY(again.error().text.startsWith(u"The device of port 1 is not plugged in: "_qs));
        QVERIFY(rig.comm.IsLost());
        rig.comm.SetPortNumber(5);
        QVERIFY(!rig.comm.IsLost());
        rig.comm.SetPortNumber(1);
        rig.ports.Fix(1, u"/dev/another"_qs); // nor had another device under that number
        QVERIFY(!rig.comm.IsLost());
        rig.ports.Fix(1, rig.Device());
        // The same port works again when the cable is back.
        rig.server.PlugIn();
        rig.server.SetFaults({});
        rig.Open();
        QCOMPARE(ReplyOf(rig.Send(AskReading(1))), rig.Expected(u"OM1"_qs));
    }

    void ShutEndsEverything()
    {
        CommRig rig("silent", Never);
        const Exchange first = rig.SendOut(AskReading(1));
        const Exchange second = rig.Send(AskReading(2));
        rig.comm.Shut();
        QCOMPARE(CodeOf(first), FailureCode::Cancelled);
        QCOMPARE(CodeOf(second), FailureCode::Cancelled);
        QCOMPARE(rig.Commands(), QStringList(u"OM1"_qs)); // one at a time
        const Exchange late = rig.Send(AskReading(3));
        QVERIFY(late.Done());
        QCOMPARE(CodeOf(late), FailureCode::Cancelled);
        QVERIFY(!rig.comm.OpenPort());
    }

    void ClosedPortSaysWhatIsWrong()
    {
        LinkRig rig;
        rig.ports.Fix(1, u"/dev/null"_qs); // no serial device
        const Result<> opened = rig.comm.OpenPort();
        QVERIFY(!opened && opened.error().text.startsWith(u"/dev/null: "));
        const Exchange exchange(rig.comm.SendCommand(AskReading(1)));
        QVERIFY(exchange.Done() && !exchange.Value()); // at once
    }

    void SecondOpeningIsRefused()
    {
        PX40_NEEDS_UNIX();
        CommRig rig;
        // Through a link, as a lasting name is one: it is the same device all the same.
        const QString link = rig.folder.filePath(u"by-id"_qs);
        QVERIFY(QFile::link(rig.ports.Device(1), link));
        LinkState state;
        rig.ports.Fix(2, link);
        Comm other(state, rig.ports);
        other.SetPortNumber(2);
        const Result<> opened = other.OpenPort();
        QVERIFY(!opened);
        QCOMPARE(opened.error().text, u"Another program is using %1."_qs.arg(link));
    }

    void LinkIsHandedOverOnlyWhenFree()
    {
        LinkState state;
        LinkGate gate(state);
        std::optional<LinkUse> check(std::in_place, gate, ActivityStatusCheck);
        std::optional<LinkUse> first;
        std::optional<LinkUse> next;
        const Running<bool> command(WaitAndTake(&gate, &first));
        const Running<bool> second(WaitAndTake(&gate, &next));
        QVERIFY(!command.Done());
        QVERIFY(state.StatusYield); // the status check is asked to give way
        check.reset();
        QVERIFY(Succeeds(command));
        QVERIFY(state.LinkBusy);
        QCOMPARE(state.LinkActivity, int(ActivitySourceCommand));
        QCoreApplication::processEvents();
        QVERIFY(!second.Done());
        first.reset();
        QVERIFY(second.Finish());
        QVERIFY(!state.StatusYield);

        const Running<bool> leaving(gate.WaitUntilFree());
        gate.Shut();
        QVERIFY(Fails(leaving));
    }

    /// The activity is that of the use that began last, whichever ends first.
    void LinkUsesOverlap()
    {
        LinkState state;
        LinkGate gate(state);
        const auto now = [&] { return std::pair(state.LinkActivity, state.LinkBusy); };
        std::optional<LinkUse> forwarding(std::in_place, gate, ActivityForwarding, LinkUse::Sharing::Shared);
        const LinkUse check(gate, ActivityStatusCheck);
        QCOMPARE(now(), std::pair(int(ActivityStatusCheck), true));
        forwarding.reset();
        QCOMPARE(now(), std::pair(int(ActivityStatusCheck), true));
    }

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
            {"one after the other", {">OM1 . >OM2 . >OM3 R + R + R", "GGA"}},
            {"record behind a lost reply", {">OC . >RS,01 S", "A"}},
            {"asked long ago", {">OC . >OC . f >OC C", "A"}},
            {"while nobody waits", {"K >OC . C >OC C . C", "DDAD"}},
        });
    }

    void RepliesFindTheirCommands()
    {
        const auto [script, verdicts] = ThisRow<Played>();
        QCOMPARE(Play(QString::fromLatin1(script)), QString::fromLatin1(verdicts));
    }

    /// The acknowledgement of an older command is waited for before the instrument is changed.
    void StepsWaitForOlderAcknowledgements()
    {
        CommRig rig("silent", Never);
        rig.SendInVain(SetSource(SourceSetting::StepUp, u"1"_qs));
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
            rig.SendInVain(AskReading(1));
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
};

QTEST_GUILESS_MAIN(CommTest)
#include "comm_test.moc"
