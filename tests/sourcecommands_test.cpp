#include "testing/rows.h"
#include "tests/sourcerig.h"

using namespace px40;

namespace {

using Meanwhile = std::pair<void (*)(SourceCommands &), QString>; // what is asked for, and all that is sent
using Trouble = std::pair<QString, QString>;                      // what is told, and what was sent

} // namespace

class SourceCommandsTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void TheLatestRequestWaitsForTheLink()
    {
        for (const bool polled : {false, true}) {
            SourceRig rig;
            rig.state.StatusPolled = polled;
            std::optional<LinkUse> check;
            if (polled)
                check.emplace(rig.gate, ActivityStatusCheck);
            for (const int digit : {0, 4, 4, 1})
                rig.source.StepUp(digit);
            QCOMPARE(rig.source.tmSrcInter.Interval(), 10);
            Q_EMIT rig.source.tmSrcInter.tick();
            QCOMPARE(rig.jobs.Running(), 0);
            rig.state.StatusPolled = true;
            check.reset();
            QVERIFY(WaitUntil([&] { return rig.jobs.Running() == 1; }));
            QVERIFY(rig.state.LinkBusy && rig.state.LinkActivity == ActivitySourceCommand);
            QCOMPARE(rig.Sent(), u"UP2"_qs);
            QCOMPARE(rig.told, QStringList({u"\"UP1\" was not sent: \"UP5\" has taken its place."_qs,
                                            u"\"UP5\" was not sent: \"UP2\" has taken its place."_qs}));
        }
    }

    void AskedForDuringTheExchange_data()
    {
        AddRows<Meanwhile>({
            {"another step", {[](SourceCommands &source) { source.StepDown(4); }, u"DW1 DW5"_qs}},
            {"once more", {[](SourceCommands &source) { source.SwitchRatio(); }, u"DW1 DW1"_qs}},
            {"not in this mode", {[](SourceCommands &source) { source.StepUp(4); }, u"DW1"_qs}},
        });
    }

    void AskedForDuringTheExchange()
    {
        const auto [ask, sent] = ThisRow<Meanwhile>();
        SourceRig rig(1);
        rig.source.SwitchRatio(); // there is no last command yet
        QCOMPARE(rig.Sent(), QString());
        rig.source.StepDown(0);
        Q_EMIT rig.source.tmSrcInter.tick();
        ask(rig.source);
        Q_EMIT rig.source.tmSrcInter.tick();
        QCOMPARE(rig.jobs.Running(), 1);
        QCOMPARE(rig.Sent(), sent);
    }

    void OnAndOffByWhatIsKnown()
    {
        SourceRig rig;
        rig.source.SwitchOnOff(); // replaced in time by the next one, which goes by what this one will bring
        const std::tuple<int, QString, int> presses[] = {{1, u"SO0"_qs, 0},
                                                         {0, u" SO1"_qs, 1},
                                                         {0, u" SO1"_qs, 1},
                                                         {1, u" SO0"_qs, 0},
                                                         {2, u" SO1"_qs, 3}};
        QString sent;
        for (const auto &[status, command, expected] : presses) {
            rig.instrument.Status.SourceOn = status;
            rig.source.SwitchOnOff();
            QCOMPARE(rig.instrument.Status.SourceOn, expected); // until a status says otherwise
            QCOMPARE(rig.Sent(), sent += command);
        }
    }

    void RatioAsTyped()
    {
        const QString numbers =
            u"5>05|12>12|123>123|1.5>02|-3>-03|>|abc>abc|0.5>01|2.5>03| 7 >07|1e1>10|inf>inf|Inf>Inf| x > x |"
            u"nan>nan|99.5>100|.5>01|-0.2>00|-2.5>-03|7\r\n>07|1\n2>1\n2|5 6>5 6|0x10>0x10|1e999>1e999|"
            u"1e15>1000000000000000"_qs;
        for (const QString &number : numbers.split(u'|'))
            QCOMPARE(TwoDigits(number.section(u'>', 0, 0)), number.section(u'>', 1));

        SourceRig rig(9);
        const std::pair<QString, QString> ratios[] = {
            {u"5"_qs, u"7"_qs}, {u"x"_qs, u"1\r\n2"_qs}, {}, {u"1"_qs, u"😀"_qs}}; // the last cannot be sent
        for (const auto &[n, m] : ratios) {
            rig.source.SetRatio(n, m);
            rig.Sent();
        }
        QCOMPARE(rig.Sent(), u"ND0507 NDx12 ND"_qs);
        QCOMPARE(rig.told.last(), u"The PX40 does not know the character \"😀\"."_qs);
    }

    void TroubleIsToldAndOver_data()
    {
        AddRows<Trouble>({
            {"err", {u"The PX40 has refused \"DW1\": out of range or not possible."_qs, u"DW1"_qs}},
            {"silent", {u"The PX40 has not answered \"DW1\"."_qs, u"DW1 DW1 DW1"_qs}},
            {"hang-up=1", {u"The connection to the instrument was lost."_qs, u"DW1"_qs}},
            {"none", {u"The communications port is not open."_qs, {}}},
        });
    }

    void TroubleIsToldAndOver()
    {
        const auto [reason, sent] = ThisRow<Trouble>();
        SourceRig rig(0, SourceRig::ReplyTimeoutMs);
        rig.Fault(QTest::currentDataTag());
        if (sent.isEmpty())
            rig.comm.ClosePort();
        rig.source.LoadLists();
        rig.source.StepDown(0);
        QCOMPARE(rig.Sent(), sent);
        rig.source.LoadLists(); // nobody asked for it
        QVERIFY(rig.Sent().startsWith(sent));
        QCOMPARE(rig.told, QStringList(reason));

        rig.Fault("none");
        if (!rig.comm.IsOpen())
            rig.server.PlugIn();
        rig.Open();
        rig.source.StepDown(1);
        QVERIFY(rig.Sent().endsWith(u"DW2"_qs));
        QCOMPARE(rig.told, QStringList({reason, u'-' + reason}));
    }

    void TellsOfTheUsersCommandsOnly()
    {
        SourceRig rig(1); // in which n/m sends the last command once more: now it was asked for
        rig.Fault("err");
        rig.source.LoadLists();
        QCOMPARE(rig.Sent(), u"SR0"_qs);
        rig.source.SwitchRatio();
        rig.Sent();
        QCOMPARE(rig.told, QStringList(u"The PX40 has refused \"SR0\": out of range or not possible."_qs));
        rig.source.StepDown(3); // replaced before it is sent
        rig.SetMode(2); // in which no list sends anything, so that the user's command is still the one
        rig.source.StepDown(0);
        rig.source.LoadLists();
        QVERIFY(rig.Sent().endsWith(u"DW1"_qs));
        QCOMPARE(rig.told.size(), 3);
        QCOMPARE(rig.told[2], rig.told[1] + u"  "_qs + QString(rig.told[0]).replace(u"SR0"_qs, u"DW1"_qs));

        // A download has the link; then another window opens, whose lists are now what is to be sent.
        std::optional<LinkUse> download(std::in_place, rig.gate, ActivityDownload);
        rig.source.StepDown(1);
        QCOMPARE(rig.told.last(), u"\"DW2\" waits for the PX40."_qs);
        rig.SetMode(0);
        rig.source.LoadLists();
        QVERIFY(rig.told.contains(u"-\"DW2\" waits for the PX40."_qs));
        rig.comm.ClosePort();
        download.reset();
        rig.state.StatusPolled = false; // nothing was ever reached
        rig.source.StepDown(2);
        QVERIFY(rig.told.last().endsWith(u"  \"DW3\" waits for the PX40."));
    }
};

QTEST_GUILESS_MAIN(SourceCommandsTest)
#include "sourcecommands_test.moc"
