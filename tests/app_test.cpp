#include "app/commandline.h"
#include "app/commandrules.h"
#include "app/frmport.h"
#include "app/placement.h"
#include "app/progressrules.h"
#include "app/settings.h"
#include "link/linkstate.h"
#include "platform/portmap.h"
#include "platform/singleinstance.h"
#include "platform/timer.h"
#include "platform/userstore.h"
#include "resources/strings.h"

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace px40;

namespace {

void WriteBytes(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(bytes), qint64(bytes.size()));
}

QByteArray ReadBytes(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString EnabledCommands(const CommandStates &states)
{
    static constexpr std::pair<Command, const char *> Names[] = {
        {Command::FileOpen, "Open"},       {Command::FileClose, "Close"},
        {Command::FileSave, "Save"},       {Command::FileSaveAs, "SaveAs"},
        {Command::FileForward, "Forward"}, {Command::RealtimeNew, "New"},
        {Command::RealtimeStart, "Start"}, {Command::RealtimeStop, "Stop"},
        {Command::SetupCommport, "Port"},  {Command::SetupInterval, "Interval"},
        {Command::SetupGraph, "Graph"},
    };
    QStringList enabled;
    for (const auto &[command, name] : Names) {
        if (states.IsEnabled(command))
            enabled << QString::fromLatin1(name);
    }
    return enabled.join(u' ');
}

} // namespace

class AppTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void SettingsAreReadWithoutComplaint_data();
    void SettingsAreReadWithoutComplaint();
    void SettingsSurviveARoundTrip();
    void PathsHaveOneSeparator();
    void MenusFollowTheActiveWindow_data();
    void MenusFollowTheActiveWindow();
    void ButtonsFollowTheDataWindow();
    void ProgressMovesInSteps_data();
    void ProgressMovesInSteps();
    void ProgressDialogFitsItsMessage();
    void PlacementComesBack();
    void PlacementIsBroughtOntoAScreen_data();
    void PlacementIsBroughtOntoAScreen();
    void PortsAreSlots();
    void PortListSelectsTheExactText();
    void CommandLines_data();
    void CommandLines();
    void TimerIsSilentAtZero();
    void SecondCopyIsNoticed();
};

void AppTest::SettingsAreReadWithoutComplaint_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("port");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("title");
    const QString none;
    QTest::newRow("missing") << QByteArray() << 1 << none << none;
    QTest::newRow("port only") << QByteArray("7\r\n") << 7 << none << none;
    QTest::newRow("no last line end")
        << QByteArray("16\r\nC:\\a b.xls\r\nTitle") << 16 << u"C:\\a b.xls"_qs << u"Title"_qs;
    QTest::newRow("LF alone") << QByteArray("2\nf\nt\n") << 2 << u"f"_qs << u"t"_qs;
    QTest::newRow("empty lines") << QByteArray("\r\n\r\nt\r\n") << 1 << none << u"t"_qs;
    QTest::newRow("letters") << QByteArray("abc\r\nf\r\nt\r\n") << 1 << u"f"_qs << u"t"_qs;
    QTest::newRow("out of range") << QByteArray("99999\r\n\r\n\r\n") << 1 << none << none;
    QTest::newRow("seventeen") << QByteArray("17\r\n\r\n\r\n") << 1 << none << none;
    QTest::newRow("noise") << QByteArray(1 << 20, '\xfe') << 1 << none << none;
}

void AppTest::SettingsAreReadWithoutComplaint()
{
    QFETCH(QByteArray, bytes);
    const QTemporaryDir folder;
    const Paths paths = PathsIn(folder.path());
    if (!bytes.isEmpty())
        WriteBytes(paths.IniPath, bytes);
    Settings settings(paths);
    settings.ReadFile();
    QTEST(settings.PortNumber(), "port");
    if (bytes.size() < 100) {
        QTEST(settings.ForwardFileText, "file");
        QTEST(settings.ForwardTitleText, "title");
    }
    settings.WriteSettingsFile(); // and whatever it was, it can be written
    QVERIFY(QFile::exists(paths.IniPath));
}

void AppTest::SettingsSurviveARoundTrip()
{
    const QTemporaryDir folder;
    const Paths paths = PathsIn(folder.path());
    Settings settings(paths);
    settings.PortNumberText = QStringLiteral("0");
    settings.ForwardFileText = QString::fromUtf8("/home/\u00e4\u03b2/\u6e2c.xlsx");
    settings.ForwardTitleText = QStringLiteral("Loop 7");
    settings.WriteSettingsFile();
    // A port that is none is written as it is, and only then replaced.
    QCOMPARE(ReadBytes(paths.IniPath), "0\r\n" + settings.ForwardFileText.toLocal8Bit() + "\r\nLoop 7\r\n");
    QCOMPARE(settings.PortNumberText, QStringLiteral("1"));

    Settings again(paths);
    again.ReadFile();
    QCOMPARE(again.ForwardFileText, settings.ForwardFileText);

    // No right to read or write: nothing happens, nothing is lost in memory.
    Settings nowhere(PathsIn(folder.filePath(QStringLiteral("no/such"))));
    nowhere.PortNumberText = QStringLiteral("5");
    nowhere.WriteSettingsFile();
    nowhere.ReadFile();
    QCOMPARE(nowhere.PortNumberText, QStringLiteral("5"));
}

void AppTest::PathsHaveOneSeparator()
{
    const QString separator = QDir::separator();
    QCOMPARE(PathsIn(QStringLiteral("/")).IniPath, separator + u"PX40AP.INI"_qs);
    QCOMPARE(PathsIn(QStringLiteral("/opt/px40")).WorkPath,
             QStringList({QString(), u"opt"_qs, u"px40"_qs, u"WORK.~~~"_qs}).join(separator));
    const QTemporaryDir folder;
    QCOMPARE(ChooseDataFolder(folder.path()), folder.path());
    QVERIFY(ChooseDataFolder(QStringLiteral("/proc")) != QStringLiteral("/proc"));
}

void AppTest::MenusFollowTheActiveWindow_data()
{
    QTest::addColumn<int>("activity");
    QTest::addColumn<bool>("any");
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("enabled");
    const int idle = ActivityIdle;
    QTest::newRow("no window") << idle << false << 1 << u"Open New Port"_qs;
    QTest::newRow("MEMORY-mode") << idle << true << 0 << u"Open Close Save SaveAs Forward New Port Graph"_qs;
    QTest::newRow("real-time") << idle << true << 2
                               << u"Open Close Save SaveAs Forward New Start Port Interval Graph"_qs;
    QTest::newRow("SAVE-mode") << idle << true << 4 << u"Open Close Save SaveAs Forward New Port"_qs;
    QTest::newRow("none active") << idle << true << 1 << u"Open New Port"_qs;
    QTest::newRow("running keeps Start and Stop")
        << int(ActivityRealtime) << true << 2
        << u"Open Close Save SaveAs Forward New Stop Port Interval Graph"_qs;
}

void AppTest::MenusFollowTheActiveWindow()
{
    QFETCH(int, activity);
    QFETCH(bool, any);
    QFETCH(int, kind);
    ShellSituation situation;
    situation.linkActivity = activity;
    situation.anyDataWindow = any;
    situation.activeKind = kind;
    CommandStates menus = InitialMenus();
    if (activity != ActivityIdle) {
        menus.Enable(Command::RealtimeStart, false);
        menus.Enable(Command::RealtimeStop, true);
    }
    ApplyFileRules(situation, &menus);
    ApplyRealtimeRules(situation, &menus);
    ApplySetupRules(situation, &menus);
    QTEST(EnabledCommands(menus), "enabled");
}

void AppTest::ButtonsFollowTheDataWindow()
{
    CommandStates buttons = InitialButtons();
    QCOMPARE(EnabledCommands(buttons), QStringLiteral("Open Close SaveAs New Port"));
    ApplyDataWindowButtons(true, &buttons);
    QCOMPARE(EnabledCommands(buttons),
             QStringLiteral("Open Close Save SaveAs Forward New Start Port Interval Graph"));
}

void AppTest::ProgressMovesInSteps_data()
{
    QTest::addColumn<bool>("throttle");
    QTest::addColumn<int>("current");
    QTest::addColumn<int>("total");
    QTest::addColumn<int>("value"); // of 100; -1: stays
    QTest::newRow("between two steps") << true << 15 << 250 << -1;
    QTest::newRow("on a step") << true << 20 << 250 << 8;
    QTest::newRow("without throttle") << false << 251 << 251 << 100;
    QTest::newRow("no position") << false << 0 << 50 << -1;
    QTest::newRow("no total") << false << 5 << 0 << -1;
    QTest::newRow("half to even, down") << false << 1 << 200 << 0;
    QTest::newRow("half to even, up") << false << 3 << 200 << 2;
    const std::pair<int, int> steps[] = {{99, 1},    {100, 10},  {999, 10},  {1000, 20}, {1999, 20},
                                         {2000, 30}, {3000, 40}, {3999, 40}, {4000, 50}, {1000000, 50}};
    for (const auto &[total, step] : steps) {
        QTest::addRow("step of %d", total) << true << step << total << int(std::lround(100.0 * step / total));
        if (step > 1)
            QTest::addRow("below the step of %d", total) << true << step - 1 << total << -1;
    }
}

void AppTest::ProgressMovesInSteps()
{
    QFETCH(bool, throttle);
    QFETCH(int, current);
    QFETCH(int, total);
    QTEST(ProgressValue(throttle, current, total, 100), "value");
}

void AppTest::ProgressDialogFitsItsMessage()
{
    ProgressParts parts;
    parts.messageWidth = 1500;
    parts.messageHeight = 240;
    parts.barHeight = 300;
    parts.cancelWidth = 1200;
    parts.cancelHeight = 400;
    parts.frameWidth = 120;
    const ProgressLayout usual = LayOutProgress(parts);
    QCOMPARE(usual.barWidth, 5880 - 480);
    QCOMPARE(usual.barTop, 360 + 240 + 180);
    QCOMPARE(usual.cancelLeft, (5880 - 1200) / 2);
    QCOMPARE(usual.height, usual.barTop + 300 + 420 + 400 + 600);
    parts.messageWidth = 5399;
    QCOMPARE(LayOutProgress(parts).width, 6000);
    parts.messageWidth = 7000;
    QCOMPARE(LayOutProgress(parts).width, 7600);
}

void AppTest::PlacementComesBack()
{
    const QTemporaryDir folder;
    UserStore store = UserStore::InFile(folder.filePath(QStringLiteral("user.ini")));
    const Placement first = LoadMainPlacement(store, 96);
    QCOMPARE(first.normal, QRect(67, 67, 667, 433)); // 1000, 1000, 10000, 6500 twips
    QCOMPARE(first.state, int(WindowNormal));

    Placement placement{QRect(10, 20, 900, 700), WindowMaximised};
    SaveMainPlacement(store, placement, 96);
    QCOMPARE(store.Get(QStringLiteral("Settings"), QStringLiteral("MainWidth"), QString()),
             QStringLiteral("13500"));
    placement.normal.moveLeft(50);
    placement.state = WindowMinimised;
    SaveMainPlacement(store, placement, 96);
    const Placement again = LoadMainPlacement(store, 96);
    QCOMPARE(again.normal, placement.normal);
    QCOMPARE(again.state, int(WindowMaximised)); // minimised leaves the state kept last

    for (const char *const noise : {"abc", "1e300", "nan", "-99999999999"}) {
        store.Save(QStringLiteral("Settings"), QStringLiteral("MainLeft"), QString::fromLatin1(noise));
        store.Save(QStringLiteral("Settings"), QStringLiteral("MainWidth"), QString::fromLatin1(noise));
        const QRect window = OntoScreen(LoadMainPlacement(store, 96).normal, {QRect(0, 0, 1280, 800)});
        QVERIFY(QRect(0, 0, 1280, 800).contains(window));
    }
}

void AppTest::PlacementIsBroughtOntoAScreen_data()
{
    QTest::addColumn<QRect>("wanted");
    QTest::addColumn<QRect>("placed");
    QTest::newRow("where it was") << QRect(100, 100, 800, 600) << QRect(100, 100, 800, 600);
    QTest::newRow("on the second screen") << QRect(1400, 50, 800, 600) << QRect(1400, 50, 800, 600);
    QTest::newRow("screen gone") << QRect(5000, 3000, 800, 600) << QRect(480, 200, 800, 600);
    QTest::newRow("title bar above") << QRect(100, -500, 800, 600) << QRect(100, 0, 800, 600);
    QTest::newRow("too large") << QRect(0, 0, 9000, 9000) << QRect(0, 0, 1280, 800);
    QTest::newRow("too small") << QRect(10, 10, 0, 0) << QRect(10, 10, 200, 200);
}

void AppTest::PlacementIsBroughtOntoAScreen()
{
    QFETCH(QRect, wanted);
    QTEST(OntoScreen(wanted, {QRect(0, 0, 1280, 800), QRect(1280, 0, 1920, 1080)}), "placed");
}

void AppTest::PortsAreSlots()
{
    const QTemporaryDir folder;
    const QString file = folder.filePath(QStringLiteral("user.ini"));
    UserStore store = UserStore::InFile(file);
    PortMap ports(store);
    QCOMPARE(ports.Device(9), QString());
    ports.Assign(9, QStringLiteral("/dev/ttyS7"));
    ports.Fix(9, QStringLiteral("/tmp/px40"));
    QCOMPARE(ports.Device(9), QStringLiteral("/tmp/px40"));
    UserStore nextStore = UserStore::InFile(file);
    const PortMap nextRun(nextStore);
    QCOMPARE(nextRun.Device(9), QStringLiteral("/dev/ttyS7"));
    ports.Assign(9, QString());
    UserStore lastStore = UserStore::InFile(file);
    QCOMPARE(PortMap(lastStore).Device(9), QString());
}

void AppTest::PortListSelectsTheExactText()
{
    for (const auto &[text, entry] : {std::pair("1", 0), std::pair("3", 2), std::pair("16", 15),
                                      std::pair("03", 0), std::pair("17", 0), std::pair("", 0)})
        QCOMPARE(PortEntryFor(QString::fromLatin1(text)), entry);
}

void AppTest::CommandLines_data()
{
    QTest::addColumn<QString>("arguments");
    QTest::addColumn<QString>("error"); // its beginning
    QTest::newRow("devices") << u"--port-device 3=/dev/ttyS0 --port-device 4=/a=b"_qs << QString();
    QTest::newRow("the toolkit's own options")
        << u"-platform offscreen -style=fusion --port-device 3=/x --port-device 4=/a=b"_qs << QString();
    QTest::newRow("no number") << u"--port-device x=/dev/ttyS0"_qs << u"--port-device takes"_qs;
    QTest::newRow("number too large") << u"--port-device 17=/dev/ttyS0"_qs << u"--port-device takes"_qs;
    QTest::newRow("no device") << u"--port-device 3="_qs << u"--port-device takes"_qs;
    QTest::newRow("unknown option") << u"--nonsense"_qs << u"Unknown option"_qs;
    QTest::newRow("download") << u"--download f.CSV --port 4 --port-device 3=/x --port-device 4=/a=b"_qs
                              << QString();
    QTest::newRow("download and open") << u"--download f.CSV g.CSV"_qs << u"--download opens no other"_qs;
    QTest::newRow("download nowhere") << u"--download="_qs << u"--download takes"_qs;
    QTest::newRow("port alone") << u"--port 3"_qs << u"--port goes with"_qs;
    QTest::newRow("no port") << u"--download f.CSV --port 17"_qs << u"--port takes"_qs;
    QTest::newRow("demo elsewhere") << u"--download f.CSV --demo --port 2"_qs << u"The simulated"_qs;
}

void AppTest::CommandLines()
{
    QFETCH(QString, arguments);
    QFETCH(QString, error);
    const CommandLine line = ParseCommandLine((u"px40ap "_qs + arguments).split(u' '));
    QVERIFY2(error.isEmpty() ? line.error.isEmpty() : line.error.startsWith(error), qPrintable(line.error));
    if (error.isEmpty()) {
        QCOMPARE(line.portDevices.size(), 2);
        QCOMPARE(line.portDevices.last(), std::pair(4, u"/a=b"_qs));
    }
}

void AppTest::TimerIsSilentAtZero()
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

void AppTest::SecondCopyIsNoticed()
{
    const QString name = QStringLiteral("px40-test-%1").arg(QCoreApplication::applicationPid());
    SingleInstance first(name);
    QVERIFY(first.Acquire());
    SingleInstance second(name);
    QVERIFY(!second.Acquire());

    // A crash may leave a file that names nobody.
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    WriteBytes(folder + u'/' + name + u"-empty.lock"_qs, QByteArray());
    SingleInstance third(name + u"-empty"_qs);
    QVERIFY(third.Acquire());
}

QTEST_GUILESS_MAIN(AppTest)
#include "app_test.moc"
