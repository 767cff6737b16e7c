#include "resources/strings.h"
#include "testing/rows.h"
#include "tests/commrig.h"

#include <QSignalSpy>

using namespace px40;

namespace {

/// A command of the user: takes the link in the step in which it becomes free.
QCoro::Task<bool> WaitAndTake(LinkGate *gate, std::optional<LinkUse> *use)
{
    const bool free = co_await gate->WaitUntilFree();
    if (free)
        use->emplace(*gate, ActivitySourceCommand);
    co_return free;
}

using Frame = std::pair<QByteArray, QByteArray>; // what comes, and the reply
using Device = std::pair<QString, QString>;      // and why it cannot be opened

} // namespace

class CommTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    /// Every command with how often it is tried, a "!" where it changes the instrument.
    void CommandsAndTheirAttempts()
    {
        QStringList all;
        const auto add = [&all](const LinkCommand &command) {
            all << command.text + u' ' + QString::number(command.attempts) +
                       (command.changes ? u"!"_qs : QString());
        };
        for (const LinkCommand &command : AskCondition())
            add(command);
        for (const LinkCommand &command : {AskReading(7), BeginRecords(), AskRecord(7), EndRecords(),
                                           EndRealtime(), SetMeasuring(true), SetMeasuring(false)})
            add(command);
        for (int setting = 0; setting <= static_cast<int>(SourceSetting::Value); ++setting)
            add(SetSource(static_cast<SourceSetting>(setting), u"x"_qs));
        QCOMPARE(
            all.join(u", "),
            u"AN1 3, H1 3, OC 3, OM7 3, PL,1 5!, RS,07 5, PL,0 5!, PL,0 1!, MO1 3!, MO0 3!, SOx 3!, UPx 3!, "
            "DWx 3!, NM1x 3!, NM0x 3!, NDx 3!, SRx 3!, TEx 3!, PUx 3!, SDx 3!"_qs);
    }

    void AnswersAreTheFirstLine_data()
    {
        AddRows<bool>({{"none", {}}, {"byte-by-byte", {}}, {"two-lines", {}}});
    }

    void AnswersAreTheFirstLine()
    {
        CommRig rig(QTest::currentDataTag());
        for (int n = 1; n <= 3; ++n)
            QVERIFY(rig.Answers(AskReading(n)));
        QCOMPARE(rig.Commands(), QStringList({u"OM1"_qs, u"OM2"_qs, u"OM3"_qs}));
    }

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
        CommRig rig("silent");
        const Exchange exchange = rig.SendOut(Reading(1, 1));
        rig.server.Inject(bytes.toStdString());
        QCOMPARE(ReplyOf(exchange), QString::fromLatin1(reply));
    }

    void SilenceIsTriedAgain_data() { AddRows<int>({{"silent", 1}, {"half-line", 3}}); }

    void SilenceIsTriedAgain()
    {
        const int attempts = ThisRow<int>();
        CommRig rig(QTest::currentDataTag(), 30);
        const Exchange exchange = rig.Send(Reading(1, attempts));
        QCOMPARE(CodeOf(exchange), FailureCode::NoAnswer);
        QCOMPARE(rig.Commands(), QStringList(attempts, u"OM1"_qs));
        QCOMPARE(exchange.Value().error().text, u"The PX40 has not answered \"OM1\"."_qs);
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

    void CancelEndsTheWaitAtOnce()
    {
        CommRig rig("silent", Never);
        const Exchange exchange = rig.SendOut(AskReading(1));
        QVERIFY(!exchange.Done());
        rig.state.DownloadCancel = true;
        rig.comm.FlagsChanged();
        QCOMPARE(CodeOf(exchange), FailureCode::Cancelled);
        QVERIFY(exchange.Value().error().text.isEmpty());
        QVERIFY(Fails(rig.Send(AskReading(1)))); // the flag is still set
        QVERIFY(!rig.comm.tmTimeout().Enabled());
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
        QVERIFY(rig.Answers(AskReading(1)));

        rig.Fault("silent");
        const Exchange old = rig.SendOut(AskReading(1));
        rig.Open(); // closes and opens in one turn
        QVERIFY(Fails(old));
    }

    void ShutEndsEverything()
    {
        CommRig rig("silent", Never);
        const Exchange first = rig.Send(AskReading(1));
        const Exchange second = rig.Send(AskReading(2));
        rig.comm.Shut();
        QCOMPARE(CodeOf(first), FailureCode::Cancelled);
        QCOMPARE(CodeOf(second), FailureCode::Cancelled);
        const Exchange late = rig.Send(AskReading(3));
        QVERIFY(late.Done());
        QCOMPARE(CodeOf(late), FailureCode::Cancelled);
        QVERIFY(!rig.comm.OpenPort());
    }

    void ClosedPortSaysWhatIsWrong_data()
    {
        AddRows<Device>({
            {"none", {{}, u"No device is assigned to port 3."_qs}},
            {"not there",
             {u"/dev/serial/by-id/none"_qs, u"There is no device /dev/serial/by-id/none.\r\n"_qs}},
            {"no serial device", {u"/dev/null"_qs, u"/dev/null: "_qs}},
        });
    }

    void ClosedPortSaysWhatIsWrong()
    {
        const auto [device, text] = ThisRow<Device>();
        LinkRig rig;
        rig.ports.Assign(3, device);
        rig.comm.SetPortNumber(3);
        const Result<> opened = rig.comm.OpenPort();
        QVERIFY(!opened);
        QVERIFY2(opened.error().text.startsWith(text), qPrintable(opened.error().text));
        QVERIFY(!rig.comm.IsOpen());
        const Exchange exchange(rig.comm.SendCommand(AskReading(1)));
        QVERIFY(exchange.Done() && !exchange.Value()); // at once
        QCOMPARE(exchange.Value().error().text, Text(Str::PortNotOpen));
    }

    void SecondOpeningIsRefused()
    {
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
        std::optional<LinkUse> check(std::in_place, gate, ActivityStatusCheck);
        QCOMPARE(now(), std::pair(int(ActivityStatusCheck), true));
        forwarding.reset();
        QCOMPARE(now(), std::pair(int(ActivityStatusCheck), true));
        check.reset();
        QCOMPARE(now(), std::pair(int(ActivityIdle), false));

        // A run has to take it up again after a command, but not after its own questions.
        LinkUse run(gate, ActivityRealtimeTransition, LinkUse::Sharing::Shared);
        run.Become(ActivityRealtime);
        for (const auto &[activity, then] : {std::pair(ActivityRealtime, ActivityRealtime),
                                             std::pair(ActivitySourceCommand, ActivityIdle)}) {
            check.emplace(gate, activity);
            QCOMPARE(now(), std::pair(int(activity), true));
            check.reset();
            QCOMPARE(now(), std::pair(int(then), false));
        }
    }
};

QTEST_GUILESS_MAIN(CommTest)
#include "comm_test.moc"
