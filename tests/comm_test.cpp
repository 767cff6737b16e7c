#include "resources/strings.h"
#include "tests/commrig.h"

#include <QSignalSpy>
#include <QTest>

#include <atomic>
#include <tuple>

using namespace px40;
using namespace std::string_literals;
using namespace std::string_view_literals;

namespace {

/// A command of the user: takes the link in the step in which it becomes free.
QCoro::Task<bool> WaitAndTake(LinkGate *gate, std::optional<LinkUse> *use)
{
    const bool free = co_await gate->WaitUntilFree();
    if (free)
        use->emplace(*gate, ActivitySourceCommand);
    co_return free;
}

} // namespace

class CommTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void AnswersAreTheFirstLine();
    void FramesAreCutAtTheLineFeed();
    void SilenceIsTriedAgainAndEndsWithFalse();
    void CancelledWorkSendsItsLastCommand();
    void CancelCountsMoreThanAReply();
    void FlagsEndTheWaitAtOnce();
    void HangUpAndReopeningEndTheExchange();
    void ShutEndsEverything();
    void GateKeepsInputInThePort();
    void IdleInputIsReplaced();
    void ClosedPortSaysWhatIsWrong();
    void SecondOpeningIsRefused();
    void LinkIsHandedOverOnlyWhenFree();
    void LinkUsesOverlap();
};

void CommTest::AnswersAreTheFirstLine()
{
    const QStringList commands{u"OM1"_qs, u"OM2"_qs, u"OM3"_qs};
    for (const char *const fault : {"none", "byte-by-byte", "two-lines"}) {
        CommRig rig(fault);
        for (const QString &command : commands)
            QVERIFY2(rig.Answers(command), fault);
        QCOMPARE(rig.Commands(), commands);
    }
}

void CommTest::FramesAreCutAtTheLineFeed()
{
    const std::string noise(6000, '\x9d');
    const std::pair<std::string, std::string_view> rows[] = {
        {"\r\n", ""},
        {"\n", ""},
        {"ABC\n", "AB"}, // the character before LF goes, whatever it is
        {"\0\x80\xff\x7f\r\n"s, "\0\x80\xff\x7f"sv},
        {"A\r\nB\r\nC", "A"},
        {noise + "\r\n", std::string_view(noise).substr(0, Comm::MaxReplyLength - 1)},
    };
    for (const auto &[bytes, reply] : rows) {
        CommRig rig("silent");
        const Running<bool> exchange = rig.SendOut(u"OM1"_qs, 1);
        rig.server.Inject(bytes);
        QVERIFY(Succeeds(exchange));
        QCOMPARE(rig.state.RecvBuffer, QString::fromLatin1(reply));
        QCOMPARE(int(rig.state.ReplyLength), int(reply.size()));
    }
}

void CommTest::SilenceIsTriedAgainAndEndsWithFalse()
{
    // The fault, the activity, how often it is tried, the message afterwards.
    const std::tuple<const char *, int, int, QString> rows[] = {
        {"silent", ActivityDownload, 3, u"Timeout error occurred."_qs},
        {"half-line", ActivityStatusCheck, 3, u"before"_qs}, // a status check keeps its silence
        {"silent", ActivityRealtimeStopping, 1, u"before"_qs},
    };
    for (const auto &[fault, activity, attempts, error] : rows) {
        CommRig rig(fault, 30);
        RecordedProgress progress;
        rig.comm.SetProgressView(&progress);
        rig.state.LinkActivity = activity;
        rig.state.ErrorMessage = u"before"_qs;
        QVERIFY(Fails(rig.Send(u"AN1"_qs, attempts)));
        QCOMPARE(rig.Commands(), QStringList(attempts, u"AN1"_qs));
        QCOMPARE(rig.state.ErrorMessage, error);
        QCOMPARE(progress.cancelDisabled, activity == ActivityDownload);
    }
}

/// Each goes out once before the cancel is seen, also behind a command of which the acknowledgement is
/// missing.
void CommTest::CancelledWorkSendsItsLastCommand()
{
    CommRig rig("silent", Never);
    const Running<bool> begin = rig.SendOut(u"PL,1"_qs, 5);
    rig.state.DownloadCancel = true;
    rig.comm.FlagsChanged();
    QVERIFY(Fails(begin));
    QVERIFY(Fails(rig.Send(u"RS,01"_qs, 5)));
    QVERIFY(Fails(rig.Send(u"PL,0"_qs, 5)));
    QTRY_COMPARE(rig.Commands(), QStringList({u"PL,1"_qs, u"RS,01"_qs, u"PL,0"_qs}));
}

void CommTest::CancelCountsMoreThanAReply()
{
    CommRig rig("none", Never);
    const Running<bool> exchange = rig.Send(u"OM1"_qs);
    rig.state.DownloadCancel = true; // seen only when the reply wakes the exchange
    QVERIFY(Fails(exchange));
}

void CommTest::FlagsEndTheWaitAtOnce()
{
    for (const int activity : {ActivityDownload, ActivityRealtimeTransition}) {
        CommRig rig("silent", Never);
        rig.state.LinkActivity = activity;
        const Running<bool> exchange = rig.SendOut(u"H1"_qs);
        QVERIFY(!exchange.Done());
        (activity == ActivityDownload ? rig.state.DownloadCancel : rig.state.RealtimeStop) = true;
        rig.comm.FlagsChanged();
        QVERIFY(Fails(exchange));
        QVERIFY(Fails(rig.Send(u"H1"_qs))); // the flag is still set
        QVERIFY(rig.state.ErrorMessage.isEmpty());
        QVERIFY(!rig.comm.tmTimeout().Enabled());
    }
}

void CommTest::HangUpAndReopeningEndTheExchange()
{
    CommRig rig("silent", Never);
    const QSignalSpy lost(&rig.comm, &Comm::portLost);
    const Running<bool> exchange = rig.SendOut(u"OC"_qs);
    rig.server.HangUp();
    QVERIFY(Fails(exchange));
    QVERIFY(!rig.comm.IsOpen());
    QTRY_COMPARE(lost.count(), 1);
    QCOMPARE(rig.state.ErrorMessage, Text(Str::PortLost));

    // It was there before; another port never had a connection, whatever becomes of it.
    QVERIFY(rig.comm.TryOpenPort().startsWith(u"The device of port 1 is not plugged in: "_qs));
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
    QVERIFY(rig.Answers(u"OM1"_qs));

    rig.Fault("silent");
    const Running<bool> old = rig.SendOut(u"OC"_qs);
    rig.Open(); // closes and opens in one turn
    QVERIFY(Fails(old));
}

void CommTest::ShutEndsEverything()
{
    CommRig rig("silent", Never);
    const Running<bool> first = rig.Send(u"AN1"_qs);
    const Running<bool> second = rig.Send(u"H1"_qs);
    rig.comm.Shut();
    QVERIFY(Fails(first) && Fails(second));
    const Running<bool> late = rig.Send(u"H1"_qs);
    QVERIFY(late.Done() && !late.Value());
    const Running<bool> opened(rig.comm.OpenPort());
    QVERIFY(opened.Done() && !opened.Value());
}

void CommTest::GateKeepsInputInThePort()
{
    std::atomic<bool> sent = false;
    sim::ServerOptions options = LinkRig::Unpaced();
    options.observer = [&](std::string_view, std::string_view) { sent = true; };
    LinkRig rig(std::move(options), Never);
    rig.Open();
    rig.state.LinkActivity = ActivityRealtime;
    const Running<bool> exchange(rig.comm.SendCommand(u"OM1"_qs, 3));
    QTRY_VERIFY(sent);
    for (int turn = 0; turn < 5; ++turn)
        QTest::qWait(0);
    QVERIFY(!exchange.Done());

    rig.state.ReceiveGate = true;
    rig.server.Inject("more\r\n"); // its arrival finds the gate open and takes all
    QVERIFY(Succeeds(exchange));
    QCOMPARE(int(rig.state.ReplyLength), 29);
    QVERIFY(rig.state.ReceiveGate);
}

void CommTest::IdleInputIsReplaced()
{
    CommRig rig;
    rig.state.LinkActivity = ActivityIdle;
    for (const char *const input : {"first\r\n", "second"}) {
        rig.server.Inject(input);
        QTRY_COMPARE(rig.state.RecvBuffer, QString::fromLatin1(input));
    }
}

void CommTest::ClosedPortSaysWhatIsWrong()
{
    const std::pair<QString, QString> rows[] = {
        {QString(), u"No device is assigned to port 3."_qs},
        {u"/dev/serial/by-id/none"_qs, u"There is no device /dev/serial/by-id/none.\r\n"_qs},
        {u"/dev/null"_qs, u"/dev/null: "_qs},
    };
    for (const auto &[device, text] : rows) {
        LinkRig rig;
        rig.ports.Assign(3, device);
        rig.comm.SetPortNumber(3);
        QVERIFY(Fails(Running<bool>(rig.comm.OpenPort())));
        QVERIFY(!rig.comm.IsOpen());
        QCOMPARE(rig.prompts.warnings.size(), 1);
        QVERIFY2(rig.prompts.warnings.first().startsWith(text), qPrintable(rig.prompts.warnings.first()));
        const Running<bool> exchange(rig.comm.SendCommand(u"H1"_qs, 3));
        QVERIFY(exchange.Done() && !exchange.Value()); // at once
        QCOMPARE(rig.state.ErrorMessage, Text(Str::PortNotOpen));
    }
}

void CommTest::SecondOpeningIsRefused()
{
    CommRig rig;
    // Through a link, as a lasting name is one: it is the same device all the same.
    const QString link = rig.folder.filePath(u"by-id"_qs);
    QVERIFY(QFile::link(rig.ports.Device(1), link));
    ScriptedPrompts prompts;
    LinkState state;
    rig.ports.Fix(2, link);
    Comm other(state, rig.ports, prompts);
    other.SetPortNumber(2);
    QVERIFY(Fails(Running<bool>(other.OpenPort())));
    QCOMPARE(prompts.warnings, QStringList(u"Another program is using %1."_qs.arg(link)));
}

void CommTest::LinkIsHandedOverOnlyWhenFree()
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
void CommTest::LinkUsesOverlap()
{
    LinkState state;
    LinkGate gate(state);
    const auto now = [&] { return std::pair(state.LinkActivity, state.LinkBusy); };
    std::optional<LinkUse> forwarding(std::in_place, gate, ActivityForwarding, LinkUse::Sharing::Shared);
    std::optional<LinkUse> check(std::in_place, gate, ActivityStatusCheck);
    QCOMPARE(now(), std::pair(int(ActivityStatusCheck), true));
    forwarding.reset();
    QCOMPARE(now(), std::pair(int(ActivityStatusCheck), true));
    check.reset();
    QCOMPARE(now(), std::pair(int(ActivityIdle), false));

    // A run has to take it up again after a command, but not after its own questions.
    LinkUse run(gate, ActivityRealtimeTransition, LinkUse::Sharing::Shared);
    run.Become(ActivityRealtime);
    for (const auto &[activity, then] :
         {std::pair(ActivityRealtime, ActivityRealtime), std::pair(ActivitySourceCommand, ActivityIdle)}) {
        check.emplace(gate, activity);
        QCOMPARE(now(), std::pair(int(activity), true));
        check.reset();
        QCOMPARE(now(), std::pair(int(then), false));
    }
}

QTEST_GUILESS_MAIN(CommTest)
#include "comm_test.moc"
