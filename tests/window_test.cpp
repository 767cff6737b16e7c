#include "app/frmmain.h"
#include "app/messageprompts.h"
#include "app/services.h"
#include "app/startup.h"
#include "document/frmdata.h"
#include "document/panelbar.h"
#include "resources/icons.h"
#include "resources/strings.h"
#include "tests/support.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QMenu>
#include <QMessageBox>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QSignalSpy>
#include <QTableView>
#include <QToolBar>

using namespace px40;

namespace {

constexpr int ReplyTimeoutMs = 200;

/// The whole program but for `main`, on a simulated instrument of which the test holds the other end.
struct Program
{
    explicit Program(Prompts &prompts, sim::ServerOptions options = LinkRig::Unpaced())
        : server(std::move(options)), services(UserStore::InFile(folder.filePath(QStringLiteral("user.ini"))),
                                               PathsIn(folder.path()), prompts, ReplyTimeoutMs)
    {
        services.ports.Fix(1, QString::fromStdString(server.DevicePath()));
        window = std::make_unique<frmMain>(services);
        QObject::connect(window.get(), &frmMain::left, window.get(), [this] { hasLeft = true; });
    }

    ~Program()
    {
        // The way out is the user's, so that nothing waits when the window goes.
        services.state.LinkActivity = ActivityIdle;
        for (frmData *const data : window->findChildren<frmData *>())
            data->Data()->MarkSaved();
        window->close();
        QTRY_VERIFY(hasLeft);
    }

    void StartUp()
    {
        services.jobs.Launch(RunStartup(&services, window.get(), false), "start-up");
        QTRY_VERIFY(services.comm.IsOpen());
        QVERIFY(NoJobLeft());
    }

    bool NoJobLeft() const
    {
        return WaitUntil([this] { return services.jobs.Running() == 0; });
    }

    template <typename T = QWidget>
    T *Find(const char *name) const
    {
        return window->findChild<T *>(QString::fromLatin1(name));
    }

    QAction *Action(const char *name) const { return Find<QAction>(name); }
    QDialog *Cancel() const { return Find<QDialog>("frmCancel"); }
    QString Message() const { return Find<QLabel>("Msg")->text(); }
    QList<frmData *> DataWindows() const { return window->findChildren<frmData *>(); }

    QTemporaryDir folder;
    sim::PtyServer server;
    Services services;
    std::unique_ptr<frmMain> window;
    bool hasLeft = false;
};

void SetFault(sim::PtyServer &server, const char *text)
{
    sim::Faults faults;
    QVERIFY(sim::ApplyFault(text, faults, nullptr));
    server.SetFaults(faults);
}

void Press(QWidget *parent, const char *button)
{
    auto *const widget = parent->findChild<QPushButton *>(QString::fromLatin1(button));
    QVERIFY(widget);
    QTest::mouseClick(widget, Qt::LeftButton);
}

} // namespace

class WindowTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void MenusAndButtonsAreComplete();
    void DownloadFillsAWindow();
    void DownloadCanBeCancelled();
    void UnplugHalfWayIsTold();
    void CommandWaitsForABusyLink();
    void UnsavedWindowsAsk_data();
    void UnsavedWindowsAsk();
    void LeavingAsksForEachUnsavedWindow();
    void LeavingIsRefusedDuringADownload();
    void LeavingStopsWhatWaits();
    void PortDialogKeepsTheOldPortUntilOneOpens();
    void FailedStartAsksForAPort();
    void MessageBoxesAnswer();
    void IconsAreThere();
};

void WindowTest::MenusAndButtonsAreComplete()
{
    ScriptedPrompts prompts;
    const Program program(prompts);
    const auto texts = [](const QList<QAction *> &actions) {
        QStringList list;
        for (const QAction *const action : actions)
            list << (action->isSeparator() ? u"-"_qs : action->text());
        return list.join(u'|');
    };
    const auto menu = [&](const char *name) { return texts(program.Find<QMenu>(name)->actions()); };
    QCOMPARE(menu("mnuFile"),
             u"&Open...|&Close|-|&Save|Save &As...|-|&Forward to Microsoft Excel...|-|E&xit"_qs);
    QCOMPARE(menu("mnuRealtime"), u"&New|-|Star&t|Sto&p"_qs);
    QCOMPARE(menu("mnuData"), u"&MEMORY-mode"_qs);
    QCOMPARE(menu("mnuSetup"), u"&Communications Port...|&Interval and Period...|&Graph..."_qs);
    QCOMPARE(menu("mnuView"), u"&Tool bar|&Status bar|-|&MEASURE Window|&SOURCE Window"_qs);
    QCOMPARE(menu("mnuHelp"), u"&About PX40 Communication Software..."_qs);

    QStringList tips;
    for (const char *const bar : {"tbMain", "tbSub"}) {
        for (const QAction *const button : program.Find<QToolBar>(bar)->actions()) {
            if (!button->isSeparator())
                tips << button->objectName() + u'=' + button->toolTip();
        }
    }
    QCOMPARE(
        tips.join(u'|'),
        u"Open=Open|Save=Save|Forward=Forward to Microsoft Excel|New=New|Start=Start real-time data receive|"
        "Mdata=Start MEMORY-mode data receive|Interval=Interval and Period setup|Graph=Graph setup|"
        "Moniter=MEASURE Window ON/OFF|Source=SOURECE Window ON/OFF|Stop=Stop"_qs);
    // What this version does not do is shown but cannot be chosen.
    for (const char *const item : {"mnuFileOpen", "mnuFileSave", "mnuViewMoniter", "Source", "Stop"})
        QVERIFY2(!program.Action(item)->isEnabled(), item);
}

void WindowTest::DownloadFillsAWindow()
{
    ScriptedPrompts prompts;
    Program program(prompts);
    program.StartUp();
    program.Action("Mdata")->trigger();
    QVERIFY(program.Cancel()->isVisible());
    // While it runs there is nothing to do but watch or cancel.
    QVERIFY(!program.Find<QMenu>("mnuFile")->isEnabled());
    QVERIFY(!program.Find<QToolBar>("tbMain")->isEnabled());
    QVERIFY(!program.DataWindows().first()->isEnabled());
    QVERIFY(program.NoJobLeft());

    QVERIFY(!program.Cancel()->isVisible());
    QVERIFY(program.Find<QMenu>("mnuHelp")->isEnabled());
    QVERIFY(program.Find<QToolBar>("tbMain")->isEnabled());
    QCOMPARE(program.DataWindows().size(), 1);
    frmData *const data = program.DataWindows().first();
    QVERIFY(data->isEnabled());
    QCOMPARE(data->windowTitle(), QStringLiteral("1New"));
    const auto *const table = data->findChild<QTableView *>(QStringLiteral("fgData"));
    QVERIFY(table->isVisible());
    QCOMPARE(table->model()->rowCount(), 50);
    QCOMPARE(table->model()->headerData(1, Qt::Horizontal).toString(), QStringLiteral("No."));
    for (const auto &[bar, key] :
         {std::pair("stBar1", "Max"), std::pair("stBar2", "Min"), std::pair("stBar3", "Avg")}) {
        const auto *const panels = data->findChild<PanelBar *>(QString::fromLatin1(bar));
        QVERIFY(!panels->PanelText(QString::fromLatin1(key)).isEmpty());
    }
    QCOMPARE(program.Message(), QStringLiteral("50 stored readings received."));
    QVERIFY(program.Action("mnuFileClose")->isEnabled());

    program.Action("New")->trigger();
    QCOMPARE(program.DataWindows().size(), 2);
    const auto *const realtime =
        program.DataWindows().last()->findChild<QTableView *>(QStringLiteral("fgData"));
    QCOMPARE(realtime->model()->headerData(1, Qt::Horizontal).toString(), QStringLiteral("TIME"));
}

void WindowTest::DownloadCanBeCancelled()
{
    ScriptedPrompts prompts;
    Program program(prompts);
    program.StartUp();
    SetFault(program.server, "silent-from=10");
    program.Action("mnuDataMemory")->trigger();
    QTRY_VERIFY(program.server.CommandCount() >= 10);
    auto *const button = program.Cancel()->findChild<QPushButton *>(QStringLiteral("btCancel"));
    QTest::keyClick(program.Cancel(), Qt::Key_Escape); // the same as the button
    QVERIFY(!button->isEnabled());
    QCOMPARE(program.Cancel()->findChild<QLabel *>(QStringLiteral("llMsg"))->text(),
             QStringLiteral("Canceling..."));
    QCOMPARE(program.services.state.ForwardErrorText, QStringLiteral("Canceled."));
    QVERIFY(program.NoJobLeft());
    QCOMPARE(program.DataWindows().first()->Data()->GetDatacount(), 7);
    QCOMPARE(prompts.warnings, QStringList(QString()));
    QVERIFY(!program.Cancel()->isVisible());

    SetFault(program.server, "none");
    program.Action("Mdata")->trigger(); // the dialog is whole again
    QVERIFY(button->isEnabled());
    QCOMPARE(program.Cancel()->findChild<QProgressBar *>(QStringLiteral("pbNow"))->value(), 0);
    QVERIFY(program.NoJobLeft());
    QCOMPARE(program.DataWindows().last()->Data()->GetDatacount(), 50);
}

void WindowTest::UnplugHalfWayIsTold()
{
    ScriptedPrompts prompts;
    Program program(prompts);
    program.StartUp();
    SetFault(program.server, "hang-up=12");
    program.Action("Mdata")->trigger();
    QVERIFY(program.NoJobLeft());
    QCOMPARE(prompts.warnings, QStringList(QStringLiteral("The connection to the instrument was lost.")));
    QCOMPARE(program.DataWindows().first()->Data()->GetDatacount(), 9);
    QCOMPARE(program.Find<QLabel>("Port")->text(), QStringLiteral("Port 1: connection lost"));

    program.Action("Mdata")->trigger(); // and again, without the cable
    QVERIFY(program.NoJobLeft());
    QCOMPARE(prompts.warnings.last(), QStringLiteral("The communications port is not open."));
}

void WindowTest::CommandWaitsForABusyLink()
{
    ScriptedPrompts prompts;
    Program program(prompts);
    program.StartUp();
    program.services.gate.Take(); // as a status check does
    program.Action("Mdata")->trigger();
    program.Action("Mdata")->trigger();
    QVERIFY(program.services.state.StatusYield);
    QVERIFY(program.DataWindows().isEmpty());
    program.services.gate.Release();
    QVERIFY(program.NoJobLeft());
    QCOMPARE(program.DataWindows().size(), 1); // the second press changed nothing
    QVERIFY(!program.services.state.StatusYield);
    QCOMPARE(program.DataWindows().first()->Data()->GetDatacount(), 50);
}

void WindowTest::UnsavedWindowsAsk_data()
{
    QTest::addColumn<bool>("unsaved");
    QTest::addColumn<int>("answer");
    QTest::addColumn<bool>("closes");
    QTest::newRow("nothing to save") << false << int(Answer::Cancel) << true;
    QTest::newRow("Cancel keeps it") << true << int(Answer::Cancel) << false;
    QTest::newRow("No lets it go") << true << int(Answer::No) << true;
}

void WindowTest::UnsavedWindowsAsk()
{
    QFETCH(bool, unsaved);
    QFETCH(int, answer);
    QFETCH(bool, closes);
    ScriptedPrompts prompts;
    prompts.answers = {static_cast<Answer>(answer)};
    Program program(prompts);
    program.StartUp();
    program.Action("New")->trigger();
    const QPointer<frmData> data = program.DataWindows().first();
    if (unsaved)
        data->Data()->AddData(QString(), QStringLiteral("1"), QString(), QString(), QString());

    program.services.state.LinkActivity = ActivityDownload;
    data->close(); // refused without a question while the link is in use
    QVERIFY(data && prompts.questions.isEmpty());
    program.services.state.LinkActivity = ActivityStatusCheck;
    program.Action("mnuFileClose")->trigger();
    QVERIFY(program.NoJobLeft());
    QTRY_COMPARE(data.isNull(), closes);
    QCOMPARE(prompts.questions.size(), unsaved ? 1 : 0);
    if (unsaved)
        QCOMPARE(prompts.questions.first(),
                 QStringLiteral("Do you want to save the changes you made to this file?\r\n1New"));
    program.services.state.LinkActivity = ActivityIdle;
}

void WindowTest::LeavingAsksForEachUnsavedWindow()
{
    ScriptedPrompts prompts;
    prompts.answers = {Answer::No, Answer::Cancel, Answer::No};
    Program program(prompts);
    program.StartUp();
    for (int i = 0; i < 2; ++i) {
        program.Action("New")->trigger();
        program.DataWindows().last()->Data()->SetPeriod(true, {});
    }
    QSignalSpy left(program.window.get(), &frmMain::left);
    program.Action("mnuFileExit")->trigger();
    QTRY_COMPARE(prompts.questions.size(), 2);
    QVERIFY(program.NoJobLeft());
    QVERIFY(program.window->isVisible());
    QVERIFY(left.isEmpty());
    // The one that was let go is not asked about again.
    program.Action("mnuFileExit")->trigger();
    QTRY_COMPARE(left.count(), 1);
    QCOMPARE(prompts.questions.size(), 3);
    QVERIFY(!program.window->isVisible());
    QVERIFY(!program.services.comm.IsOpen());
    QVERIFY(QFile::exists(program.services.settings.GetPaths().IniPath));
    QCOMPARE(program.services.store.Get(QStringLiteral("Settings"), QStringLiteral("MainState"), QString()),
             QStringLiteral("0"));
}

void WindowTest::LeavingIsRefusedDuringADownload()
{
    ScriptedPrompts prompts;
    Program program(prompts);
    program.StartUp();
    SetFault(program.server, "silent-from=6");
    program.Action("Mdata")->trigger();
    QTRY_VERIFY(program.server.CommandCount() >= 6);
    program.window->close();
    QVERIFY(program.window->isVisible());
    QVERIFY(!program.services.leaving);
    QVERIFY(program.NoJobLeft());
    QCOMPARE(prompts.warnings, QStringList(QStringLiteral("Timeout error occurred.")));
}

void WindowTest::LeavingStopsWhatWaits()
{
    ScriptedPrompts prompts;
    Program program(prompts);
    program.StartUp();
    SetFault(program.server, "silent");
    program.services.state.LinkActivity = ActivityStatusCheck;
    const Running<bool> exchange(program.services.comm.SendCommand(QStringLiteral("OC"), 3));
    program.services.gate.Take();
    program.Action("Mdata")->trigger(); // waits for the link
    QSignalSpy left(program.window.get(), &frmMain::left);
    program.window->close();
    QTRY_COMPARE(left.count(), 1);
    QVERIFY(exchange.Finish());
    QVERIFY(!exchange.Value());
    QVERIFY(prompts.warnings.isEmpty());
    QVERIFY(program.DataWindows().isEmpty());
}

void WindowTest::PortDialogKeepsTheOldPortUntilOneOpens()
{
    ScriptedPrompts prompts;
    Program program(prompts);
    program.services.settings.PortNumberText = QStringLiteral("1");
    program.StartUp();
    program.window->tmCheckStat.SetInterval(1000);
    program.Action("mnuSetupCommport")->trigger();
    QTRY_VERIFY(program.Find<QDialog>("frmPort"));
    QPointer<QDialog> dialog = program.Find<QDialog>("frmPort");
    auto *const number = dialog->findChild<QComboBox *>(QStringLiteral("cbPort"));
    auto *const device = dialog->findChild<QComboBox *>(QStringLiteral("cbDevice"));
    QCOMPARE(number->count(), 16);
    QCOMPARE(number->currentText(), QStringLiteral("1"));

    number->setCurrentIndex(4);
    Press(dialog, "btOk");
    QTRY_COMPARE(prompts.warnings.size(), 1);
    QCOMPARE(prompts.warnings.last(), QStringLiteral("No device is assigned to port 5."));
    QTRY_VERIFY(dialog->findChild<QPushButton *>(QStringLiteral("btOk"))->isEnabled());
    QVERIFY(dialog->isVisible());
    QCOMPARE(program.services.settings.PortNumberText, QStringLiteral("1"));
    QVERIFY(!program.window->tmCheckStat.Enabled());
    QCOMPARE(program.window->tmCheckStat.Interval(), 0);

    device->setEditText(QStringLiteral("/dev/px40-none"));
    Press(dialog, "btOk");
    QTRY_COMPARE(prompts.warnings.size(), 2);
    QCOMPARE(prompts.warnings.last(), QStringLiteral("The device of port 5 is not plugged in."));
    QTRY_VERIFY(dialog->findChild<QPushButton *>(QStringLiteral("btOk"))->isEnabled());

    device->setEditText(program.services.ports.Device(1));
    Press(dialog, "btOk");
    QTRY_VERIFY(dialog.isNull());
    QVERIFY(program.services.comm.IsOpen());
    QCOMPARE(program.services.settings.PortNumberText, QStringLiteral("5"));
    QCOMPARE(program.services.ports.Device(5), program.services.ports.Device(1));
    QVERIFY(!program.window->tmCheckStat.Enabled()); // neither MEASURE nor SOURCE window is open
    QVERIFY(program.NoJobLeft());

    program.services.state.MonitorOpen = true;
    program.Action("mnuSetupCommport")->trigger();
    QTRY_VERIFY(program.Find<QDialog>("frmPort"));
    dialog = program.Find<QDialog>("frmPort");
    QTest::keyClick(dialog, Qt::Key_Return);
    QTRY_VERIFY(dialog.isNull());
    QVERIFY(program.window->tmCheckStat.Enabled());
    QCOMPARE(program.window->tmCheckStat.Interval(), 1000);
    program.services.state.MonitorOpen = false;
}

void WindowTest::FailedStartAsksForAPort()
{
    ScriptedPrompts prompts;
    Program program(prompts);
    program.services.ports.Fix(1, QStringLiteral("/dev/px40-none"));
    program.services.jobs.Launch(RunStartup(&program.services, program.window.get(), false), "start-up");
    QTRY_VERIFY(program.Find<QDialog>("frmPort"));
    QCOMPARE(prompts.warnings, QStringList(QStringLiteral("The device of port 1 is not plugged in.")));
    QVERIFY(program.window->isVisible());
    QCOMPARE(program.window->tmCheckStat.Interval(), 0);
    Press(program.Find<QDialog>("frmPort"), "btCancel");
    QVERIFY(program.NoJobLeft());
    QVERIFY(program.window->tmCheckStat.Enabled()); // but silent until the port dialog gives it an interval
    QCOMPARE(program.window->tmCheckStat.Interval(), 0);
}

void WindowTest::MessageBoxesAnswer()
{
    MessagePrompts prompts;
    const auto box = [] { return qobject_cast<QMessageBox *>(QApplication::activeModalWidget()); };
    for (const auto &[key, answer] :
         {std::pair(Qt::Key_N, Answer::No), std::pair(Qt::Key_Escape, Answer::Cancel)}) {
        const Running<Answer> asked(
            prompts.AskYesNoCancel(QStringLiteral("Line 1\r\nLine 2"), PromptIcon::Question, false));
        QTRY_VERIFY(box());
        QCOMPARE(box()->text(), QStringLiteral("Line 1\nLine 2"));
        QVERIFY(!box()->button(QMessageBox::Yes)->isEnabled());
        if (key == Qt::Key_N)
            QTest::mouseClick(box()->button(QMessageBox::No), Qt::LeftButton);
        else
            QTest::keyClick(box(), key);
        QVERIFY(asked.Finish());
        QCOMPARE(asked.Value(), answer);
    }
    const Running<Answer> left(prompts.AskYesNoCancel(QString(), PromptIcon::Exclamation, true));
    QTRY_VERIFY(box());
    prompts.DismissAll();
    QVERIFY(left.Finish());
    QCOMPARE(left.Value(), Answer::Cancel);
    const Running<Answer> after(prompts.AskYesNoCancel(QString(), PromptIcon::Exclamation, true));
    QVERIFY(after.Finish()); // nothing is shown any more
}

void WindowTest::IconsAreThere()
{
    ScriptedPrompts prompts;
    const Program program(prompts);
    for (const char *const bar : {"tbMain", "tbSub"}) {
        for (const QAction *const button : program.Find<QToolBar>(bar)->actions())
            QVERIFY2(button->isSeparator() || !button->icon().isNull(), qPrintable(button->objectName()));
    }
    // The same drawing in other colours on a dark ground.
    QPalette dark;
    dark.setColor(QPalette::WindowText, Qt::white);
    dark.setColor(QPalette::Window, Qt::black);
    const QImage light = MakeIcon(u"open", QPalette(Qt::white)).pixmap(24).toImage();
    QVERIFY(light != MakeIcon(u"open", dark).pixmap(24).toImage());
    QVERIFY(MakeIcon(u"no such icon", dark).isNull());
}

QTEST_MAIN(WindowTest)
#include "window_test.moc"
