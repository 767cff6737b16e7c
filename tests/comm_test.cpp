#include "resources/strings.h"
#include "tests/support.h"

#include <QSignalSpy>

#include <atomic>

using namespace px40;

namespace {

/// A command of the user: takes the link in the step in which it becomes free.
QCoro::Task<bool> WaitAndTake(LinkGate *gate)
{
    const bool free = co_await gate->WaitUntilFree();
    if (free)
        gate->Take();
    co_return free;
}

} // namespace

class CommTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void AnswersAreTheFirstLine_data();
    void AnswersAreTheFirstLine();
    void FramesAreCutAtTheLineFeed_data();
    void FramesAreCutAtTheLineFeed();
    void SilenceIsTriedAgainAndEndsWithFalse_data();
    void SilenceIsTriedAgainAndEndsWithFalse();
    void LateRepliesNeverAnswerTheNextCommand_data();
    void LateRepliesNeverAnswerTheNextCommand();
    void ReplyAfterACancelIsDropped();
    void CancelCountsMoreThanAReply();
    void LostReplyIsAskedForAgain();
    void FlagsEndTheWaitAtOnce_data();
    void FlagsEndTheWaitAtOnce();
    void ClosedPortFailsAtOnce();
    void HangUpEndsTheExchangeAndClosesThePort();
    void ReopeningEndsTheOldExchange();
    void SecondCallerWaitsItsTurn();
    void ShutEndsEverything();
    void GateKeepsInputInThePort();
    void IdleInputIsReplaced();
    void EndlessNoiseStaysBounded();
    void OpeningSaysWhatIsWrong_data();
    void OpeningSaysWhatIsWrong();
    void SecondOpeningIsRefused();
    void LinkGateHandsOverOnlyWhenFree();
};

void CommTest::AnswersAreTheFirstLine_data()
{
    QTest::addColumn<QByteArray>("fault");
    QTest::newRow("plain") << QByteArray("none");
    QTest::newRow("byte by byte") << QByteArray("byte-by-byte");
    QTest::newRow("two lines at once") << QByteArray("two-lines");
}

void CommTest::AnswersAreTheFirstLine()
{
    QFETCH(QByteArray, fault);
    LinkRig rig;
    rig.Fault(fault.constData());
    rig.Open();
    rig.state.LinkActivity = ActivityDownload;
    for (int n = 1; n <= 3; ++n) {
        const QString command = QStringLiteral("OM%1").arg(n);
        const Running<bool> exchange(rig.comm.SendCommand(command, 3));
        QVERIFY(exchange.Finish());
        QVERIFY(exchange.Value());
        QCOMPARE(rig.state.RecvBuffer, rig.Expected(command));
        QCOMPARE(int(rig.state.ReplyLength), 29);
        QCOMPARE(rig.state.LastCommand, command);
        QCOMPARE(rig.state.ExchangeState, int(ExchangeComplete));
    }
    QCOMPARE(rig.Commands(), QStringList({u"OM1"_qs, u"OM2"_qs, u"OM3"_qs}));
}

void CommTest::FramesAreCutAtTheLineFeed_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QByteArray>("reply");
    QTest::newRow("CR LF alone is an empty reply") << QByteArray("\r\n") << QByteArray();
    QTest::newRow("LF alone is an empty reply") << QByteArray("\n") << QByteArray();
    QTest::newRow("the character before LF goes") << QByteArray("ABC\n") << QByteArray("AB");
    QTest::newRow("byte for byte") << QByteArray("\0\x80\xff\x7f\r\n", 6) << QByteArray("\0\x80\xff\x7f", 4);
    QTest::newRow("the rest is dropped") << QByteArray("A\r\nB\r\nC") << QByteArray("A");
}

void CommTest::FramesAreCutAtTheLineFeed()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QByteArray, reply);
    // The instrument's stored reading is whatever the test puts there; its own CR LF ends the first row.
    LinkRig rig;
    rig.Fault("silent");
    rig.Open();
    rig.state.LinkActivity = ActivityDownload;
    const Running<bool> exchange(rig.comm.SendCommand(QStringLiteral("OM1"), 1));
    QTRY_COMPARE(rig.server.CommandCount(), std::size_t(1));
    // Write into the device itself from its far end: the server is silent, so nothing else arrives.
    rig.server.Inject({bytes.constData(), static_cast<std::size_t>(bytes.size())});
    QVERIFY(exchange.Finish());
    QVERIFY(exchange.Value());
    QCOMPARE(rig.state.RecvBuffer.toLatin1(), reply);
    QCOMPARE(int(rig.state.ReplyLength), int(reply.size()));
}

void CommTest::SilenceIsTriedAgainAndEndsWithFalse_data()
{
    QTest::addColumn<int>("activity");
    QTest::addColumn<int>("attempts");
    QTest::addColumn<QString>("error");
    QTest::newRow("download") << int(ActivityDownload) << 3 << u"Timeout error occurred."_qs;
    QTest::newRow("five attempts") << int(ActivityDownload) << 5 << u"Timeout error occurred."_qs;
    QTest::newRow("status check keeps its silence") << int(ActivityStatusCheck) << 3 << u"before"_qs;
    QTest::newRow("one attempt") << int(ActivityRealtimeStopping) << 1 << u"before"_qs;
}

void CommTest::SilenceIsTriedAgainAndEndsWithFalse()
{
    QFETCH(int, activity);
    QFETCH(int, attempts);
    LinkRig rig(LinkRig::Unpaced(), 30);
    rig.Fault("silent");
    rig.Open();
    RecordedProgress progress;
    rig.comm.SetProgressView(&progress);
    rig.state.LinkActivity = activity;
    rig.state.ErrorMessage = QStringLiteral("before");
    const Running<bool> exchange(rig.comm.SendCommand(QStringLiteral("AN1"), attempts));
    QVERIFY(exchange.Finish());
    QVERIFY(!exchange.Value());
    QCOMPARE(rig.Commands(), QStringList(attempts, QStringLiteral("AN1")));
    QTEST(rig.state.ErrorMessage, "error");
    QCOMPARE(progress.cancelDisabled, activity == ActivityDownload);
    QCOMPARE(rig.state.ExchangeState, int(ExchangeTimedOut));
}

void CommTest::LateRepliesNeverAnswerTheNextCommand_data()
{
    QTest::addColumn<QByteArray>("fault");
    QTest::newRow("each comes while the second attempt waits") << QByteArray("late=120");
    QTest::newRow("one comes when its command was given up") << QByteArray("late=330,first=1");
}

void CommTest::LateRepliesNeverAnswerTheNextCommand()
{
    QFETCH(QByteArray, fault);
    LinkRig rig(LinkRig::Unpaced(), 100);
    rig.Fault(fault.constData());
    rig.Open();
    rig.state.LinkActivity = ActivityDownload;
    const Running<bool> first(rig.comm.SendCommand(QStringLiteral("AN1"), 3)); // may fail
    for (int n = 1; n <= 4; ++n) {
        const QString command = QStringLiteral("OM%1").arg(n);
        const Running<bool> exchange(rig.comm.SendCommand(command, 3));
        QVERIFY(exchange.Finish());
        QVERIFY(exchange.Value());
        QCOMPARE(rig.state.RecvBuffer, rig.Expected(command));
    }
}

void CommTest::ReplyAfterACancelIsDropped()
{
    LinkRig rig(LinkRig::Unpaced(), 400);
    rig.Fault("late=150,first=1");
    rig.Open();
    rig.state.LinkActivity = ActivityDownload;
    const Running<bool> cancelled(rig.comm.SendCommand(QStringLiteral("OM1"), 3));
    QTRY_COMPARE(rig.server.CommandCount(), std::size_t(1));
    rig.state.DownloadCancel = true;
    rig.comm.FlagsChanged();
    QVERIFY(cancelled.Finish());
    rig.state.DownloadCancel = false;
    const Running<bool> next(rig.comm.SendCommand(QStringLiteral("OM2"), 3));
    QVERIFY(next.Finish());
    QCOMPARE(rig.state.RecvBuffer, rig.Expected(QStringLiteral("OM2")));
    QCOMPARE(rig.Commands(), QStringList({u"OM1"_qs, u"OM2"_qs}));
}

void CommTest::CancelCountsMoreThanAReply()
{
    LinkRig rig(LinkRig::Unpaced(), 3600 * 1000);
    rig.Open();
    rig.state.LinkActivity = ActivityDownload;
    const Running<bool> exchange(rig.comm.SendCommand(QStringLiteral("OM1"), 3));
    rig.state.DownloadCancel = true; // seen only when the reply wakes the exchange
    QVERIFY(exchange.Finish());
    QVERIFY(!exchange.Value());
}

void CommTest::LostReplyIsAskedForAgain()
{
    LinkRig rig(LinkRig::Unpaced(), 60);
    rig.Fault("drop-reply=1");
    rig.Open();
    rig.state.LinkActivity = ActivityDownload;
    for (const auto *const command : {u"H1", u"AN1"}) {
        const Running<bool> exchange(rig.comm.SendCommand(QString::fromUtf16(command), 3));
        QVERIFY(exchange.Finish());
        QVERIFY(exchange.Value());
    }
    QCOMPARE(rig.Commands(), QStringList({u"H1"_qs, u"H1"_qs, u"AN1"_qs}));
}

void CommTest::FlagsEndTheWaitAtOnce_data()
{
    QTest::addColumn<int>("activity");
    QTest::addColumn<bool>("beforehand");
    QTest::newRow("cancel of a download") << int(ActivityDownload) << false;
    QTest::newRow("stop while real-time receive starts") << int(ActivityRealtimeTransition) << false;
    QTest::newRow("cancel before the exchange") << int(ActivityDownload) << true;
}

void CommTest::FlagsEndTheWaitAtOnce()
{
    QFETCH(int, activity);
    QFETCH(bool, beforehand);
    LinkRig rig(LinkRig::Unpaced(), 3600 * 1000); // only the flag can end it
    rig.Fault("silent");
    rig.Open();
    rig.state.LinkActivity = activity;
    const auto set = [&] {
        (activity == ActivityDownload ? rig.state.DownloadCancel : rig.state.RealtimeStop) = true;
    };
    if (beforehand)
        set();
    const Running<bool> exchange(rig.comm.SendCommand(QStringLiteral("H1"), 3));
    if (!beforehand) {
        QTRY_COMPARE(rig.server.CommandCount(), std::size_t(1));
        QVERIFY(!exchange.Done());
        set();
        rig.comm.FlagsChanged();
    }
    QVERIFY(exchange.Finish());
    QVERIFY(!exchange.Value());
    QVERIFY(rig.state.ErrorMessage.isEmpty());
    QVERIFY(!rig.comm.tmTimeout().Enabled());
}

void CommTest::ClosedPortFailsAtOnce()
{
    LinkRig rig(LinkRig::Unpaced(), 3600 * 1000);
    const Running<bool> exchange(rig.comm.SendCommand(QStringLiteral("H1"), 3));
    QVERIFY(exchange.Done());
    QVERIFY(!exchange.Value());
    QCOMPARE(rig.state.ErrorMessage, Text(Str::PortNotOpen));
}

void CommTest::HangUpEndsTheExchangeAndClosesThePort()
{
    LinkRig rig(LinkRig::Unpaced(), 3600 * 1000);
    rig.Fault("silent");
    rig.Open();
    rig.state.LinkActivity = ActivityStatusCheck;
    const QSignalSpy lost(&rig.comm, &Comm::portLost);
    const Running<bool> exchange(rig.comm.SendCommand(QStringLiteral("OC"), 3));
    QTRY_COMPARE(rig.server.CommandCount(), std::size_t(1));
    rig.server.HangUp();
    QVERIFY(exchange.Finish());
    QVERIFY(!exchange.Value());
    QVERIFY(!rig.comm.IsOpen());
    QTRY_COMPARE(lost.count(), 1);
    QCOMPARE(rig.state.ErrorMessage, Text(Str::PortLost));

    // The same port works again when the cable is back.
    rig.server.PlugIn();
    rig.server.SetFaults({});
    rig.ports.Fix(1, QString::fromStdString(rig.server.DevicePath()));
    rig.Open();
    const Running<bool> again(rig.comm.SendCommand(QStringLiteral("OC"), 3));
    QVERIFY(again.Finish());
}

void CommTest::ReopeningEndsTheOldExchange()
{
    LinkRig rig(LinkRig::Unpaced(), 3600 * 1000);
    rig.Fault("silent");
    rig.Open();
    rig.state.LinkActivity = ActivityStatusCheck;
    const Running<bool> exchange(rig.comm.SendCommand(QStringLiteral("OC"), 3));
    QTRY_COMPARE(rig.server.CommandCount(), std::size_t(1));
    rig.Open(); // closes and opens in one turn
    QVERIFY(exchange.Finish());
    QVERIFY(!exchange.Value());
}

void CommTest::SecondCallerWaitsItsTurn()
{
    LinkRig rig;
    rig.Open();
    rig.state.LinkActivity = ActivityDownload;
    const Running<bool> first(rig.comm.SendCommand(QStringLiteral("AN1"), 3));
    const Running<bool> second(rig.comm.SendCommand(QStringLiteral("H1"), 3));
    const Running<bool> third(rig.comm.SendCommand(QStringLiteral("OM7"), 3));
    QVERIFY(third.Finish());
    QVERIFY(first.Value() && second.Value() && third.Value());
    QCOMPARE(rig.Commands(), QStringList({u"AN1"_qs, u"H1"_qs, u"OM7"_qs}));
    QCOMPARE(int(rig.state.ReplyLength), 29);
}

void CommTest::ShutEndsEverything()
{
    LinkRig rig(LinkRig::Unpaced(), 3600 * 1000);
    rig.Fault("silent");
    rig.Open();
    rig.state.LinkActivity = ActivityStatusCheck;
    const Running<bool> first(rig.comm.SendCommand(QStringLiteral("AN1"), 3));
    const Running<bool> second(rig.comm.SendCommand(QStringLiteral("H1"), 3));
    rig.comm.Shut();
    QVERIFY(first.Finish());
    QVERIFY(second.Finish());
    QVERIFY(!first.Value() && !second.Value());
    const Running<bool> late(rig.comm.SendCommand(QStringLiteral("H1"), 3));
    QVERIFY(late.Done() && !late.Value());
    const Running<bool> opened(rig.comm.OpenPort());
    QVERIFY(opened.Done() && !opened.Value());
}

void CommTest::GateKeepsInputInThePort()
{
    std::atomic<bool> sent = false;
    sim::ServerOptions options = LinkRig::Unpaced();
    options.observer = [&](std::string_view, std::string_view) { sent = true; };
    LinkRig rig(std::move(options), 3600 * 1000);
    rig.Open();
    rig.state.LinkActivity = ActivityRealtime;
    const Running<bool> exchange(rig.comm.SendCommand(QStringLiteral("OM1"), 3));
    QTRY_VERIFY(sent);
    for (int turn = 0; turn < 5; ++turn)
        QTest::qWait(0);
    QVERIFY(!exchange.Done());
    QVERIFY(rig.state.RecvBuffer.isEmpty());

    rig.state.ReceiveGate = true;
    rig.server.Inject("more\r\n"); // its arrival finds the gate open and takes all
    QVERIFY(exchange.Finish());
    QVERIFY(exchange.Value());
    QCOMPARE(int(rig.state.ReplyLength), 29);
    QVERIFY(rig.state.ReceiveGate);
}

void CommTest::IdleInputIsReplaced()
{
    LinkRig rig;
    rig.Open();
    rig.server.Inject("first\r\n");
    QTRY_COMPARE(rig.state.RecvBuffer, QStringLiteral("first\r\n"));
    rig.server.Inject("second");
    QTRY_COMPARE(rig.state.RecvBuffer, QStringLiteral("second"));
}

void CommTest::EndlessNoiseStaysBounded()
{
    LinkRig rig(LinkRig::Unpaced(), 3600 * 1000);
    rig.Fault("silent");
    rig.Open();
    rig.state.LinkActivity = ActivityDownload;
    const Running<bool> exchange(rig.comm.SendCommand(QStringLiteral("OM1"), 1));
    QTRY_COMPARE(rig.server.CommandCount(), std::size_t(1));
    const std::string noise(1000, '\x9d');
    for (int i = 1; i <= 6; ++i) {
        rig.server.Inject(noise);
        QTRY_COMPARE(rig.state.RecvBuffer.size(), qsizetype(std::min(i * 1000, Comm::MaxReplyLength)));
    }
    rig.server.Inject("\r\n");
    QVERIFY(exchange.Finish());
    QVERIFY(exchange.Value());
    QVERIFY(rig.state.RecvBuffer.size() <= Comm::MaxReplyLength);
}

void CommTest::OpeningSaysWhatIsWrong_data()
{
    QTest::addColumn<QString>("device");
    QTest::addColumn<QString>("text");
    QTest::newRow("unassigned") << QString() << u"No device is assigned to port 3."_qs;
    QTest::newRow("absent") << u"/dev/serial/by-id/none"_qs << u"The device of port 3 is not plugged in."_qs;
    QTest::newRow("no serial device") << u"/dev/null"_qs << u"/dev/null: "_qs;
}

void CommTest::OpeningSaysWhatIsWrong()
{
    QFETCH(QString, device);
    QFETCH(QString, text);
    LinkRig rig;
    rig.ports.Assign(3, device);
    rig.comm.SetPortNumber(3);
    const Running<bool> opened(rig.comm.OpenPort());
    QVERIFY(opened.Finish());
    QVERIFY(!opened.Value());
    QVERIFY(!rig.comm.IsOpen());
    QCOMPARE(rig.prompts.warnings.size(), 1);
    QVERIFY2(rig.prompts.warnings.first().startsWith(text), qPrintable(rig.prompts.warnings.first()));
}

void CommTest::SecondOpeningIsRefused()
{
    LinkRig rig;
    rig.Open();
    // Through a link, as a lasting name is one: it is the same device all the same.
    const QString device = rig.ports.Device(1);
    const QString link = rig.folder.filePath(QStringLiteral("by-id"));
    QVERIFY(QFile::link(device, link));
    ScriptedPrompts prompts;
    LinkState state;
    rig.ports.Fix(2, link);
    Comm other(state, rig.ports, prompts);
    other.SetPortNumber(2);
    const Running<bool> opened(other.OpenPort());
    QVERIFY(opened.Finish());
    QVERIFY(!opened.Value());
    QCOMPARE(prompts.warnings, QStringList(QStringLiteral("Another program is using %1.").arg(link)));
}

void CommTest::LinkGateHandsOverOnlyWhenFree()
{
    LinkState state;
    LinkGate gate(state);
    gate.Take();
    const Running<bool> command(WaitAndTake(&gate));
    const Running<bool> second(WaitAndTake(&gate));
    QVERIFY(!command.Done());
    QVERIFY(state.StatusYield); // the status check is asked to give way
    gate.Release();
    QVERIFY(command.Finish());
    QVERIFY(command.Value());
    QVERIFY(state.LinkBusy);
    QCoreApplication::processEvents();
    QVERIFY(!second.Done());
    gate.Release();
    QVERIFY(second.Finish());
    QVERIFY(!state.StatusYield);

    const Running<bool> leaving(gate.WaitUntilFree());
    gate.Shut();
    QVERIFY(leaving.Finish());
    QVERIFY(!leaving.Value());
}

QTEST_GUILESS_MAIN(CommTest)
#include "comm_test.moc"
