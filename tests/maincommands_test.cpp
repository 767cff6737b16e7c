#include "app/maincommands.h"
#include "app/services.h"
#include "testing/linkrig.h"
#include "tests/fakeviews.h"

#include <QTest>

using namespace px40;

namespace {

/// The commands of the main window on a simulated instrument, without the window.
struct Rig : InstrumentRig, FakeViews
{
    Rig() : InstrumentRig(Unpaced())
    {
        services.ports.Fix(1, Device());
        services.comm.SetPortNumber(1);
        QObject::connect(&commands, &MainCommands::left, [this] { hasLeft = true; });
    }
    ~Rig() override
    {
        services.state.RealtimeRun = false;
        services.state.LinkActivity = ActivityIdle;
        mayClose.clear();
        onQuestion = nullptr;
        commands.Leave();
        WaitUntil([this] { return hasLeft; });
    }

    bool NoJobLeft() const
    {
        return WaitUntil([this] { return services.jobs.Running() == 0; });
    }

    ScriptedPrompts prompts;
    RecordedProgress progress;
    Services services{UserStore::InFile(folder.filePath(u"user.ini"_qs)), PathsIn(folder.path()), prompts};
    Timer tmRealtime{100, false};
    MainCommands commands{services, *this, progress, tmRealtime};
    bool hasLeft = false;
};

using Meanwhile = void (*)(Rig *);

void LeaveMeanwhile(Rig *rig)
{
    rig->commands.Leave();
    QVERIFY(WaitUntil([rig] { return rig->services.leaving; }));
}

} // namespace

Q_DECLARE_METATYPE(Meanwhile)
Q_DECLARE_METATYPE(px40::Command)

class MainCommandsTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void LeavingAsksAboutEachWindow_data()
    {
        QTest::addColumn<QList<bool>>("answers"); // about two windows: whether each may go
        QTest::addColumn<Meanwhile>("meanwhile"); // what happens while the first question stands
        QTest::addColumn<int>("questions");
        QTest::addColumn<bool>("leaves");
        const auto row = [](
                             const char *name, const QList<bool> &answers, int questions, bool leaves,
                             Meanwhile meanwhile = [](Rig *) {}) {
            QTest::newRow(name) << answers << meanwhile << questions << leaves;
        };
        row("both may go", {true, true}, 2, true);
        row("the first may not", {false, true}, 1, false);
        row("the second may not", {true, false}, 2, false);
        row("asked to leave once more", {true, true}, 2, true, [](Rig *rig) { rig->commands.Leave(); });
        row("the other window goes", {true, false}, 1, true, [](Rig *rig) { rig->sets.removeLast(); });
        row("a window comes", {true, true}, 2, true, [](Rig *rig) {
            if (rig->sets.size() == 2)
                rig->commands.AddDataSet(KindRealtime);
        });
        row("a run begins", {true, true}, 2, false, [](Rig *rig) { rig->services.state.RealtimeRun = true; });
        row("a download begins", {true, true}, 2, false,
            [](Rig *rig) { rig->services.state.LinkActivity = ActivityDownload; });
        row("the status is checked", {true, true}, 2, true,
            [](Rig *rig) { rig->services.state.LinkActivity = ActivityStatusCheck; });
    }

    void LeavingAsksAboutEachWindow()
    {
        QFETCH(const QList<bool>, answers);
        QFETCH(const Meanwhile, meanwhile);
        QFETCH(const int, questions);
        QFETCH(const bool, leaves);
        Rig rig;
        for (const bool answer : answers) {
            rig.commands.AddDataSet(KindMemory);
            rig.mayClose.push_back(answer);
        }
        rig.onQuestion = [&] { meanwhile(&rig); };
        rig.commands.Leave();
        QVERIFY(rig.NoJobLeft());
        if (leaves)
            QTRY_VERIFY(rig.hasLeft);
        QCOMPARE(rig.questions, questions);
        QCOMPARE(rig.hasLeft, leaves);
        QCOMPARE(rig.services.leaving, leaves);
        QCOMPARE(rig.sets.isEmpty(), leaves);
        QCOMPARE(rig.prompts.dismissals, leaves ? 1 : 0);
        QCOMPARE(QFile::exists(rig.services.settings.GetPaths().IniPath), leaves);
        if (leaves)
            return;
        // The user may do so once more.
        rig.services.state.RealtimeRun = false;
        rig.services.state.LinkActivity = ActivityIdle;
        rig.onQuestion = nullptr;
        rig.mayClose.clear();
        rig.commands.Leave();
        QTRY_VERIFY(rig.hasLeft);
    }

    void CommandsWaitForTheLink_data()
    {
        QTest::addColumn<Command>("command");
        QTest::addColumn<Meanwhile>("meanwhile"); // while it waits
        QTest::addColumn<int>("windows");         // afterwards
        QTest::addColumn<bool>("runs");
        const auto row = [](
                             const char *name, Command command, int windows, bool runs,
                             Meanwhile meanwhile = [](Rig *) {}) {
            QTest::newRow(name) << command << meanwhile << windows << runs;
        };
        row("download", Command::DataMemory, 2, false);
        row("SAVE-mode download", Command::DataSave, 2, false);
        row("download once more", Command::DataMemory, 2, false,
            [](Rig *rig) { rig->commands.Run(Command::DataMemory); });
        row("run", Command::RealtimeStart, 1, true);
        row("run once more", Command::RealtimeStart, 1, true,
            [](Rig *rig) { rig->commands.Run(Command::RealtimeStart); });
        row("run whose window goes", Command::RealtimeStart, 0, false, [](Rig *rig) { rig->sets.clear(); });
        row("run and forwarding", Command::RealtimeStart, 1, true,
            [](Rig *rig) { rig->commands.Run(Command::FileForward); });
        row("download when the program is left", Command::DataMemory, 0, false, LeaveMeanwhile);
        row("run when the program is left", Command::RealtimeStart, 0, false, LeaveMeanwhile);
    }

    void CommandsWaitForTheLink()
    {
        QFETCH(const Command, command);
        QFETCH(const Meanwhile, meanwhile);
        QFETCH(const int, windows);
        QFETCH(const bool, runs);
        Rig rig;
        QVERIFY(rig.services.comm.OpenPort());
        rig.commands.AddDataSet(KindRealtime);
        std::optional<LinkUse> check(std::in_place, rig.services.gate, ActivityStatusCheck);
        rig.prompts.answers = {Answer::No};
        rig.commands.Run(command);
        QVERIFY(WaitUntil([&] { return rig.services.state.StatusYield; }));
        meanwhile(&rig);
        QVERIFY(rig.sets.size() <= 1 && !rig.services.state.RealtimeRun);
        check.reset();
        QVERIFY(rig.NoJobLeft());
        QCOMPARE(rig.sets.size(), windows);
        QCOMPARE(rig.services.state.RealtimeRun, runs);
        QVERIFY(!rig.services.state.StatusYield);
        QCOMPARE(rig.prompts.questions.size(), 1);
        if (command == Command::DataMemory && windows == 2)
            QCOMPARE(rig.sets.last()->GetDatacount(), 50);
    }
};

QTEST_GUILESS_MAIN(MainCommandsTest)
#include "maincommands_test.moc"
