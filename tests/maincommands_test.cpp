#include "app/maincommands.h"
#include "app/services.h"
#include "testing/linkrig.h"
#include "testing/rows.h"
#include "tests/fakeviews.h"

using namespace px40;

namespace {

/// The commands of the main window on a simulated instrument, without the window.
struct Rig : InstrumentRig, FakeViews
{
    Rig() : InstrumentRig(Unpaced())
    {
        FixOn(services.ports);
        services.comm.SetPortNumber(1);
        QObject::connect(&commands, &MainCommands::left, [this] { hasLeft = true; });
    }
    ~Rig() override
    {
        services.gate.Shut();
        services.comm.Shut();
        NoJobLeft();
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
    std::optional<LinkUse> use;
    bool hasLeft = false;
};

using Meanwhile = void (*)(Rig *);

void Nothing(Rig *) {}

template <LinkActivityCode activity>
void UseLink(Rig *rig)
{
    rig->use.emplace(rig->services.gate, activity);
}

template <Command command>
void Also(Rig *rig)
{
    rig->commands.Run(command);
}

void AddThirdWindow(Rig *rig)
{
    if (rig->sets.size() == 2)
        rig->commands.AddDataSet(KindRealtime);
}

void LeaveMeanwhile(Rig *rig)
{
    rig->commands.Leave();
    QVERIFY(WaitUntil([rig] { return rig->services.leaving; }));
}

/// Whether each of two windows may go; the questions asked; whether the program is left; what happens while
/// the first question stands.
using Asked = std::tuple<QList<bool>, int, bool, Meanwhile>;
/// The windows afterwards; whether a run is under way; what happens while the command waits.
using Waiting = std::tuple<Command, int, bool, Meanwhile>;

} // namespace

class MainCommandsTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void LeavingAsksAboutEachWindow_data()
    {
        AddRows<Asked>({
            {"both may go", {{true, true}, 2, true, Nothing}},
            {"the first may not", {{false, true}, 1, false, Nothing}},
            {"the second may not", {{true, false}, 2, false, Nothing}},
            {"asked to leave once more", {{true, true}, 2, true, [](Rig *rig) { rig->commands.Leave(); }}},
            {"the other window goes", {{true, false}, 1, true, [](Rig *rig) { rig->sets.removeLast(); }}},
            {"a window comes", {{true, true}, 2, true, AddThirdWindow}},
            {"a run begins",
             {{true, true}, 2, false, [](Rig *rig) { rig->services.state.RealtimeRun = true; }}},
            {"a download begins", {{true, true}, 2, false, UseLink<ActivityDownload>}},
            {"the status is checked", {{true, true}, 2, true, UseLink<ActivityStatusCheck>}},
        });
    }

    void LeavingAsksAboutEachWindow()
    {
        const auto [answers, questions, leaves, meanwhile] = ThisRow<Asked>();
        Rig rig;
        for (const bool answer : answers) {
            rig.commands.AddDataSet(KindMemory);
            rig.sets.last()->AddData(QString(), u"1"_qs, QString(), QString(), QString());
            rig.prompts.answers.push_back(answer ? Answer::No : Answer::Cancel);
        }
        rig.prompts.onQuestion = [&rig, happen = meanwhile] { happen(&rig); };
        rig.commands.Leave();
        QVERIFY(rig.NoJobLeft());
        if (leaves)
            QTRY_VERIFY(rig.hasLeft);
        QCOMPARE(rig.prompts.questions.size(), questions);
        QCOMPARE(rig.hasLeft, leaves);
        QCOMPARE(rig.services.leaving, leaves);
        QCOMPARE(rig.sets.isEmpty(), leaves);
        QCOMPARE(rig.prompts.dismissals, leaves ? 1 : 0);
        QCOMPARE(QFile::exists(rig.services.settings.GetPaths().IniPath), leaves);
        if (leaves)
            return;
        // The user may do so once more.
        rig.services.state.RealtimeRun = false;
        rig.use.reset();
        rig.prompts.onQuestion = nullptr;
        rig.prompts.answers = {Answer::No, Answer::No};
        rig.commands.Leave();
        QTRY_VERIFY(rig.hasLeft);
    }

    void LeavingIsRefusedDuringADownload()
    {
        Rig rig;
        rig.commands.AddDataSet(KindMemory);
        rig.sets.last()->AddData(QString(), u"1"_qs, QString(), QString(), QString());
        UseLink<ActivityDownload>(&rig);
        rig.commands.Leave();
        QVERIFY(rig.NoJobLeft() && rig.prompts.questions.isEmpty() && !rig.services.leaving);
    }

    void CommandsWaitForTheLink_data()
    {
        AddRows<Waiting>({
            {"download", {Command::DataMemory, 2, false, Nothing}},
            {"SAVE-mode download", {Command::DataSave, 2, false, Nothing}},
            {"download once more", {Command::DataMemory, 2, false, Also<Command::DataMemory>}},
            {"run", {Command::RealtimeStart, 1, true, Nothing}},
            {"run once more", {Command::RealtimeStart, 1, true, Also<Command::RealtimeStart>}},
            {"run whose window goes",
             {Command::RealtimeStart, 0, false, [](Rig *rig) { rig->sets.clear(); }}},
            {"run and forwarding", {Command::RealtimeStart, 1, true, Also<Command::FileForward>}},
            {"download when the program is left", {Command::DataMemory, 0, false, LeaveMeanwhile}},
            {"run when the program is left", {Command::RealtimeStart, 0, false, LeaveMeanwhile}},
        });
    }

    void CommandsWaitForTheLink()
    {
        const auto [command, windows, runs, meanwhile] = ThisRow<Waiting>();
        Rig rig;
        QVERIFY(rig.services.comm.OpenPort());
        rig.commands.AddDataSet(KindRealtime);
        UseLink<ActivityStatusCheck>(&rig);
        rig.prompts.answers = {Answer::No};
        rig.commands.Run(command);
        QVERIFY(WaitUntil([&] { return rig.services.state.StatusYield; }));
        meanwhile(&rig);
        QVERIFY(rig.sets.size() <= 1 && !rig.services.state.RealtimeRun);
        rig.use.reset();
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
