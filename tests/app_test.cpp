#include "app/cli/commandline.h"
#include "app/commandrules.h"
#include "app/progressrules.h"
#include "app/recentfiles.h"
#include "app/settings.h"
#include "document/dataset.h"
#include "link/linkstate.h"
#include "platform/awake.h"
#include "platform/geometry.h"
#include "platform/portmap.h"
#include "platform/singleinstance.h"
#include "platform/timer.h"
#include "platform/userstore.h"
#include "testing/files.h"
#include "testing/rows.h"
#include "testing/wait.h"

#include <QDir>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>

#ifdef Q_OS_WIN
#include <windows.h>
#endif

using namespace px40;

namespace {

/// Of the commands that some rule disables.
QString EnabledCommands(const CommandRules &rules, bool (CommandRules::*isEnabled)(Command) const)
{
    static constexpr std::pair<Command, QStringView> Names[] = {
        {Command::RealtimeNew, u"New"},        {Command::DataMemory, u"Memory"},
        {Command::FileClose, u"Close"},        {Command::FileSave, u"Save"},
        {Command::FileSaveAs, u"SaveAs"},      {Command::FileForward, u"Forward"},
        {Command::RealtimeStart, u"Start"},    {Command::RealtimeStop, u"Stop"},
        {Command::SetupInterval, u"Interval"}, {Command::SetupGraph, u"Graph"},
    };
    QStringList enabled;
    for (const auto &[command, name] : Names) {
        if ((rules.*isEnabled)(command))
            enabled << name.toString();
    }
    return enabled.join(u' ');
}

using Enabled = std::tuple<Situation, const char *, const char *>; // with the items and the buttons

using Placed = std::pair<QRect, QRect>;       // as wanted, and as it is placed
using Box = std::tuple<QRect, QRect, QPoint>; // the window, its field, where a box comes to stand

} // namespace

class AppTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void SettingsAreReadWithoutComplaint()
    {
        const auto read = [](const QByteArray &bytes) {
            const QTemporaryDir folder;
            const Paths paths = PathsIn(folder.path());
            if (!bytes.isEmpty())
                Require(Put(paths.IniPath, bytes), u"The file cannot be written."_qs);
            Settings settings(paths);
            settings.ReadFile();
            const QStringList fields{QString::number(settings.PortNumber()), settings.ForwardFileText,
                                     settings.ForwardTitleText};
            settings.WriteSettingsFile(); // whatever it was, it can be written
            return QFile::exists(paths.IniPath) ? fields.join(u'|') : QString();
        };
        QCOMPARE(read(QByteArray()), u"1||"_qs); // there is no file
        QCOMPARE(read("7\r\n"), u"7||"_qs);
        QCOMPARE(read("16\r\nC:\\a b.xls\r\nTitle"), u"16|C:\\a b.xls|Title"_qs);
        QCOMPARE(read("2\nf\nt\n"), u"2|f|t"_qs);
        QCOMPARE(read(" 5 \r\n"), u"5||"_qs);
        QCOMPARE(read("\r\n\r\nt\r\n"), u"1||t"_qs);
        QCOMPARE(read("abc\r\nf\r\nt\r\n"), u"1|f|t"_qs);
        QCOMPARE(read("17\r\n\r\n\r\n"), u"1||"_qs);
        QVERIFY(read("2\r\nMesures d'\xe9t\xe9\r\nCaf\xe9").startsWith(u"2|Mesures d'")); // not in UTF-8
        QVERIFY(read("2\r\nMesures d'\xe9t\xe9\r\nCaf\xe9").contains(u"|Caf"));
        QVERIFY(read(QByteArray(1 << 20, '\xfe')).startsWith(u"1|"));
    }

    void SettingsSurviveARoundTrip()
    {
        const QTemporaryDir folder;
        const Paths paths = PathsIn(folder.path());
        Settings settings(paths);
        settings.PortNumberText = u"0"_qs;
        settings.ForwardFileText = QString::fromUtf8("/home/\u00e4\u03b2/\u6e2c.xlsx");
        settings.ForwardTitleText = u"Loop 7"_qs;
        settings.WriteSettingsFile();
        // A port that is none is written as it is, and only then replaced.
        QCOMPARE(Contents(paths.IniPath), "0\r\n" + settings.ForwardFileText.toUtf8() + "\r\nLoop 7\r\n");
        QCOMPARE(settings.PortNumberText, u"1"_qs);

        Settings again(paths);
        again.ReadFile();
        QCOMPARE(again.ForwardFileText, settings.ForwardFileText);

        // No right to read or write: nothing happens, nothing is lost in memory.
        Settings nowhere(PathsIn(folder.filePath(u"no/such"_qs)));
        nowhere.PortNumberText = u"5"_qs;
        nowhere.WriteSettingsFile();
        nowhere.ReadFile();
        QCOMPARE(nowhere.PortNumberText, u"5"_qs);
    }

    void PathsHaveOneSeparator()
    {
        const QString separator = QDir::separator();
        QCOMPARE(PathsIn(u"/"_qs).IniPath, separator + u"PX40AP.INI"_qs);
        QCOMPARE(PathsIn(u"/opt/px40"_qs).WorkPath, u"%1opt%1px40%1WORK.~~~"_qs.arg(separator));
        const QTemporaryDir folder;
        QCOMPARE(ChooseDataFolder(folder.path()), folder.path());
        QVERIFY(ChooseDataFolder(u"/proc"_qs) != u"/proc"_qs);
    }

    void CommandsFollowTheActiveWindow_data()
    {
        const char *const all = "New Memory Close Save SaveAs Forward Start Interval Graph";
        const char *const running = "Close Save SaveAs Forward Stop Interval Graph";
        const char *const none = "New Memory Close SaveAs";
        AddRows<Enabled>({
            {"no window", {{ActivityIdle, false, KindUnknown}, "New Memory", none}},
            {"none is active", {{ActivityIdle, true, KindUnknown}, "New Memory", none}},
            {"stored readings",
             {{ActivityIdle, true, KindMemory}, "New Memory Close Save SaveAs Forward Graph", all}},
            {"real-time", {{ActivityIdle, true, KindRealtime}, all, all}},
            {"SAVE mode", {{ActivityIdle, true, KindSave}, "New Memory Close Save SaveAs Forward", all}},
            {"run", {{ActivityRealtime, true, KindRealtime, true}, running, running}},
            {"run while another part has just used the link",
             {{ActivityIdle, true, KindRealtime, true}, running, running}},
        });
    }

    void CommandsFollowTheActiveWindow()
    {
        const auto [situation, items, buttons] = ThisRow<Enabled>();
        CommandRules rules;
        rules.Refresh(situation);
        QCOMPARE(EnabledCommands(rules, &CommandRules::IsItemEnabled), QString::fromLatin1(items));
        QCOMPARE(EnabledCommands(rules, &CommandRules::IsButtonEnabled), QString::fromLatin1(buttons));
    }

    void InstrumentMayRuleOutReceiving()
    {
        const Situation situation{ActivityIdle, true, KindRealtime};
        CommandRules rules;
        rules.AllowReceiving(false);
        QCOMPARE(EnabledCommands(rules, &CommandRules::IsItemEnabled), QString());
        rules.Refresh(situation);
        const QString others = u"Close Save SaveAs Forward Start Interval Graph"_qs;
        QCOMPARE(EnabledCommands(rules, &CommandRules::IsItemEnabled), others);
        QCOMPARE(EnabledCommands(rules, &CommandRules::IsButtonEnabled), others);
        rules.OpenRealtimeMenu(situation);
        QCOMPARE(EnabledCommands(rules, &CommandRules::IsItemEnabled), u"New "_qs + others);
    }

    void ProgressMovesInSteps()
    {
        // Of 100; -1 when it stays where it is.
        QCOMPARE(ProgressValue(false, 251, 251, 100), 100);
        QCOMPARE(ProgressValue(false, 0, 50, 100), -1);
        QCOMPARE(ProgressValue(false, 5, 0, 100), -1);
        QCOMPARE(ProgressValue(false, 1, 200, 100), 0); // halves go to the even number
        QCOMPARE(ProgressValue(false, 3, 200, 100), 2);
        const std::pair<int, int> steps[] = {{100, 10},  {999, 10},  {1000, 20}, {1999, 20}, {2000, 30},
                                             {2999, 30}, {3000, 40}, {3999, 40}, {4000, 50}};
        for (const auto &[total, step] : steps) {
            QCOMPARE(ProgressValue(true, step, total, 100), int(std::lround(100.0 * step / total)));
            QCOMPARE(ProgressValue(true, step - 1, total, 100), -1);
        }
        QCOMPARE(ProgressValue(true, 1, 99, 100), 1);
    }

    void PlacementIsBroughtOntoAScreen_data()
    {
        AddRows<Placed>({
            {"on the second one", {{1400, 50, 800, 600}, {1400, 50, 800, 600}}},
            {"its screen is gone", {{5000, 3000, 800, 600}, {480, 200, 800, 600}}},
            {"above", {{100, -500, 800, 600}, {100, 0, 800, 600}}},
            {"too large", {{0, 0, 9000, 9000}, {0, 0, 1280, 800}}},
            {"too small", {{10, 10, 0, 0}, {10, 10, 200, 200}}},
        });
    }

    void PlacementIsBroughtOntoAScreen()
    {
        const auto [wanted, placed] = ThisRow<Placed>();
        QCOMPARE(OntoScreen(wanted, {QRect(0, 0, 1280, 800), QRect(1280, 0, 1920, 1080)}), placed);
    }

    void BoxesKeepClearOfTheirField_data()
    {
        const QRect dialog(400, 300, 480, 240);
        AddRows<Box>({
            {"in the middle", {dialog, {420, 320, 100, 24}, {490, 360}}},
            {"below", {dialog, {600, 400, 100, 24}, {490, 436}}},
            {"in the middle, above it", {dialog, {600, 500, 100, 24}, {490, 360}}},
            {"above", {dialog, {600, 370, 100, 360}, {490, 238}}},
            {"beside the window", {dialog, {420, 10, 440, 780}, {892, 360}}},
            {"nowhere", {dialog, {0, 0, 1280, 800}, {490, 360}}},
            {"on another screen", {dialog, {2000, 400, 100, 24}, {490, 360}}},
            {"at the edge", {{1000, 560, 270, 230}, {1010, 670, 200, 24}, {980, 538}}},
        });
    }

    void BoxesKeepClearOfTheirField()
    {
        const auto [dialog, field, place] = ThisRow<Box>();
        QCOMPARE(PlaceClearOf(QSize(300, 120), dialog, field, {QRect(0, 0, 1280, 800)}), place);
    }

    void RecentFilesAreKept()
    {
        const QTemporaryDir folder;
        const QString file = folder.filePath(u"user.ini"_qs);
        const auto names = [&file] {
            UserStore store = UserStore::InFile(file);
            return RecentFiles(store).Names().join(u' ');
        };
        UserStore store = UserStore::InFile(file);
        RecentFiles recent(store);
        for (int i = 1; i <= 9; ++i)
            recent.Add(u"/d/%1.CSV"_qs.arg(i));
        recent.Add(u"/d/../d/5.CSV"_qs); // the same file
        QCOMPARE(recent.Names().size(), qsizetype(RecentFiles::Most));
        QCOMPARE(names(), u"/d/../d/5.CSV /d/9.CSV /d/8.CSV /d/7.CSV /d/6.CSV /d/4.CSV /d/3.CSV /d/2.CSV"_qs);
        recent.Remove(u"/d/9.CSV"_qs);
        QVERIFY(names().startsWith(u"/d/../d/5.CSV /d/8.CSV ") && names().endsWith(u"/d/2.CSV"));
        recent.Clear();
        QCOMPARE(names(), QString());
    }

    void PortsAreSlots()
    {
        PX40_NEEDS_UNIX();
        const QTemporaryDir folder;
        const QString file = folder.filePath(u"user.ini"_qs);
        UserStore store = UserStore::InFile(file);
        PortMap ports(store);
        QCOMPARE(ports.Device(9), QString());
        ports.Fix(9, u"/tmp/px40"_qs); // for this run
        for (const QString &device : {u"/dev/ttyS7"_qs, QString()}) {
            ports.Assign(9, device);
            UserStore nextStore = UserStore::InFile(file);
            QCOMPARE(PortMap(nextStore).Device(9), device);
            QCOMPARE(ports.Device(9), u"/tmp/px40"_qs);
        }
        // A device that could be opened once is known, also the next time; another one in its place is not.
        ports.Assign(4, u"/dev/ttyS4"_qs);
        ports.KeepAsKnown(4);
        UserStore laterStore = UserStore::InFile(file);
        PortMap later(laterStore);
        QVERIFY(later.IsKnown(4));
        later.Assign(4, u"/dev/ttyS5"_qs);
        QVERIFY(!later.IsKnown(4));
    }

    /// What is plugged in when a port is opened and when it is opened again, each device with its number,
    /// serial number, lasting name and place; and which name is opened then.
    void ReopensTheSameDevice_data()
    {
        AddRows<std::tuple<QStringList, QStringList, QString>>({
            {"elsewhere", {{u"ttyUSB0,A1,kind-A1,1"_qs}, {u"ttyUSB1,A1,kind-A1,2"_qs}, u"by-id/kind-A1"_qs}},
            {"another has its number", {{u"ttyUSB0,A1,kind-A1,1"_qs}, {u"ttyUSB0,B2,kind-B2,1"_qs}, {}}},
            {"no serial number", {{u"ttyUSB0,,kind,1"_qs}, {u"ttyUSB1,,kind,1"_qs}, u"by-path/1"_qs}},
            {"one of its kind", {{u"ttyUSB0,,kind,1"_qs}, {u"ttyUSB0,,kind,2"_qs}, {}}},
            {"one of another kind", {{u"ttyUSB0,,kind,1"_qs}, {u"ttyUSB0,,other,1"_qs}, {}}},
            {"one of its kind has its name",
             {{u"ttyUSB0,,kind,1"_qs}, {u"ttyUSB0,,kind,2"_qs, u"ttyUSB1,,,1"_qs}, u"by-path/1"_qs}},
            {"one serial number for all",
             {{u"ttyUSB0,A,kind-A,1"_qs, u"ttyUSB1,A,,2"_qs}, {u"ttyUSB0,A,kind-A,2"_qs}, {}}},
            {"no other name", {{u"ttyUSB0,,,"_qs}, {u"ttyUSB0,,,"_qs}, u"ttyUSB0"_qs}},
        });
    }

    void ReopensTheSameDevice()
    {
        PX40_NEEDS_UNIX();
        const auto [before, after, found] = ThisRow<std::tuple<QStringList, QStringList, QString>>();
        const QTemporaryDir folder;
        const auto plug = [&folder](const QStringList &devices) {
            for (const QString &name : {u"by-id"_qs, u"by-path"_qs}) {
                QDir(folder.filePath(name)).removeRecursively();
                Require(QDir(folder.path()).mkdir(name), name);
            }
            for (const QString &device : devices) {
                const QStringList words = device.split(u',');
                const QString node = folder.filePath(words.at(0));
                Require(Put(node, words.at(1).toLatin1()), node);
                for (const auto &[kind, name] : {std::pair{u"by-id/"_qs, 2}, std::pair{u"by-path/"_qs, 3}})
                    Require(words.at(name).isEmpty() ||
                                QFile::link(node, folder.filePath(kind + words.at(name))),
                            device);
            }
        };
        UserStore store = UserStore::InFile(folder.filePath(u"user.ini"_qs));
        PortMap ports(store);
        ports.SetSystem(
            {folder.path(), [](const QString &device) { return QString::fromLatin1(Contents(device)); }});
        plug(before);
        const PortIdentity identity = ports.Identify(folder.filePath(u"ttyUSB0"_qs));
        plug(after);
        QCOMPARE(ports.Find(identity), found.isEmpty() ? found : folder.filePath(found));
    }

    void CommandLines()
    {
        // With the beginning of the error.
        static constexpr std::pair<QStringView, QStringView> Cases[] = {
            {u"-platform offscreen -style=fusion --port-device 3=/x --port-device 4=/a=b", u""},
            {u"--download f.CSV --port 4 --port-device 3=/x --port-device 4=/a=b", u""},
            {u"--port-device x=/dev/ttyS0", u"--port-device takes"},
            {u"--port-device 17=/dev/ttyS0", u"--port-device takes"},
            {u"--port-device 3=", u"--port-device takes"},
            {u"--nonsense", u"Unknown option"},
            {u"--download f.CSV g.CSV", u"--download opens no other"},
            {u"--download=", u"--download takes"},
            {u"--port 3", u"--port goes with"},
            {u"--download f.CSV --port 17", u"--port takes"},
            {u"--download f.CSV --demo --port 2", u"The simulated"},
            {u"--export f.CSV --to b.xlsx --title t --port-device 3=/x --port-device 4=/a=b", u""},
            {u"--export f.CSV", u"--export goes with"},
            {u"--export f.CSV --to=", u"--export goes with"},
            {u"--export= --to b.xlsx", u"--export takes"},
            {u"--to b.xlsx", u"--to goes with"},
            {u"--title t", u"--title goes with"},
            {u"--interval 5", u"--interval goes with"},
            {u"--log f.CSV --interval 0", u"--interval takes"},
            {u"--log f.CSV --interval 1h1d", u"--interval takes"},
            {u"--log f.CSV --interval 1h30", u"--interval takes"}, // seconds? hardly
            {u"--log f.CSV --period 100d", u"--period takes"},
            {u"--log f.CSV --download g.CSV", u"--log does not go"},
            {u"--recover d e", u"--recover opens"},
            {u"--recover ", u"--recover takes no empty name"},
            {u"--export f.CSV --to b.xlsx --download g.CSV", u"--export does not go"},
            {u"--export f.CSV --to b.xlsx g.CSV", u"--export opens no other"},
            {u"--download - --save-mode --data-dir . --port-device 3=/x --port-device 4=/a=b", u""},
            {u"--save-mode", u"--save-mode goes with"},
            {u"--data-dir ./gone", u"--data-dir takes"},
            {u"--data-dir=", u"--data-dir takes"},
            {u"--demo --demo", u"--demo may"},
            {u"--download f.CSV --download=g.CSV", u"--download may"},
            {u"--export f.CSV --to a.xlsx --to b.xlsx", u"--to may"},
            {u"--port-device 3=/x --port-device 3=/y", u"--port-device gives port 3 two"},
        };
        for (const auto &[arguments, error] : Cases) {
            const Result<CommandLine> line =
                ParseCommandLine((u"px40ap "_qs + arguments.toString()).split(u' '));
            const QString told = line ? QString() : line.error().text;
            QVERIFY2(told.left(error.size()) == error && line.has_value() == error.isEmpty(),
                     qPrintable(arguments.toString() + u": "_qs + told));
            if (line) {
                QCOMPARE(line->portDevices.size(), 2);
                QCOMPARE(line->portDevices.last(), std::pair(4, u"/a=b"_qs));
            }
        }
    }

    void TimerTicksUnlessItsIntervalIsZero()
    {
        Timer timer(1, true);
        Timer silent(0, true);
        const QSignalSpy ticks(&timer, &Timer::tick);
        const QSignalSpy none(&silent, &Timer::tick);
        QTRY_VERIFY(ticks.count() >= 3); // it goes on by itself
        QCOMPARE(none.count(), 0);
        timer.SetInterval(0);
        silent.SetInterval(1);
        const qsizetype before = ticks.count();
        QTRY_VERIFY(none.count() >= 3);
        QCOMPARE(ticks.count(), before);
    }

    void SecondCopyIsNoticed()
    {
        const QString name = u"px40-test-%1"_qs.arg(QCoreApplication::applicationPid());
        SingleInstance first(name);
        QVERIFY(first.Acquire());
        SingleInstance second(name);
        QVERIFY(!second.Acquire());
#ifndef Q_OS_WIN
        // A crash may leave a file that names nobody.
        const QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
        QVERIFY(Put(folder + u'/' + name + u"-empty.lock"_qs, {}));
        SingleInstance third(name + u"-empty"_qs);
        QVERIFY(third.Acquire());
#endif
    }

#ifdef Q_OS_WIN
    void ComputerIsKeptAwake()
    {
        const auto wanted = [] { return SetThreadExecutionState(ES_CONTINUOUS) & ES_SYSTEM_REQUIRED; };
        Awake awake;
        awake.Hold(u"A run"_qs);
        QTRY_VERIFY(awake.IsHeld());
        QVERIFY(wanted());
        awake.Hold(u"Another run"_qs);
        QTRY_VERIFY(awake.IsHeld());
        awake.Release();
        QVERIFY(!awake.IsHeld());
        QVERIFY(!wanted());
    }
#endif
};

QTEST_GUILESS_MAIN(AppTest)
#include "app_test.moc"
