#include "app/messageprompts.h"
#include "tests/program.h"

#include <QApplication>
#include <QComboBox>
#include <QFile>
#include <QPointer>
#include <QSignalSpy>

using namespace px40;

/// Closing windows, leaving the program, and changing its port.
class LeavingTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void UnsavedWindowsAsk_data();
    void UnsavedWindowsAsk();
    void LeavingAsksForEachUnsavedWindow();
    void LeavingIsRefusedDuringADownload();
    void LeavingStopsWhatWaits();
    void PortDialogKeepsTheOldPortUntilOneOpens();
    void FailedStartAsksForAPort();
    void StartUpCanBeLeft();
    void LeavingClosesAnOpenBox();
    void LeavingClosesAnOpenFileDialog_data();
    void LeavingClosesAnOpenFileDialog();
};

void LeavingTest::UnsavedWindowsAsk_data()
{
    QTest::addColumn<bool>("unsaved");
    QTest::addColumn<int>("answer");
    QTest::addColumn<bool>("closes");
    QTest::newRow("nothing to save") << false << int(Answer::Cancel) << true;
    QTest::newRow("Cancel keeps it") << true << int(Answer::Cancel) << false;
    QTest::newRow("No lets it go") << true << int(Answer::No) << true;
}

void LeavingTest::UnsavedWindowsAsk()
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

void LeavingTest::LeavingAsksForEachUnsavedWindow()
{
    ScriptedPrompts prompts;
    prompts.answers = {Answer::No, Answer::Cancel, Answer::No, Answer::No};
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
    // Nothing has gone, so nothing is forgotten: both are asked about again.
    program.Action("mnuFileExit")->trigger();
    QTRY_COMPARE(left.count(), 1);
    QCOMPARE(prompts.questions.size(), 4);
    QVERIFY(!program.window->isVisible());
    QVERIFY(!program.services.comm.IsOpen());
    QVERIFY(QFile::exists(program.services.settings.GetPaths().IniPath));
    QCOMPARE(program.services.store.Get(QStringLiteral("Settings"), QStringLiteral("MainState"), QString()),
             QStringLiteral("0"));
}

void LeavingTest::LeavingIsRefusedDuringADownload()
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

void LeavingTest::LeavingStopsWhatWaits()
{
    ScriptedPrompts prompts;
    Program program(prompts);
    program.StartUp();
    SetFault(program.server, "silent");
    program.services.state.LinkActivity = ActivityStatusCheck;
    const Running<bool> exchange(program.services.comm.SendCommand(QStringLiteral("OC"), 3));
    program.services.gate.Take();
    program.Action("Mdata")->trigger(); // waits for the link
    program.Action("mnuSetupCommport")->trigger();
    QTRY_VERIFY(program.Find<QDialog>("frmPort"));
    QSignalSpy left(program.window.get(), &frmMain::left);
    program.window->close();
    QTRY_COMPARE(left.count(), 1);
    QVERIFY(exchange.Finish());
    QVERIFY(!exchange.Value());
    QVERIFY(prompts.warnings.isEmpty());
    QVERIFY(program.DataWindows().isEmpty());
}

void LeavingTest::PortDialogKeepsTheOldPortUntilOneOpens()
{
    ScriptedPrompts prompts;
    Program program(prompts);
    program.services.settings.PortNumberText = QStringLiteral("1");
    program.StartUp();
    QCOMPARE(program.window->tmCheckStat.Interval(), 1000);
    QVERIFY(program.window->tmCheckStat.Enabled());
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

void LeavingTest::FailedStartAsksForAPort()
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

void LeavingTest::StartUpCanBeLeft()
{
    ScriptedPrompts prompts;
    Program program(prompts);
    program.services.jobs.Launch(RunStartup(&program.services, program.window.get(), true), "start-up");
    QTRY_VERIFY(program.window->isVisible()); // the splash window stands before it for its second wait
    QSignalSpy left(program.window.get(), &frmMain::left);
    program.window->close();
    QTRY_COMPARE(left.count(), 1);
    QVERIFY(!program.services.comm.IsOpen());
    QVERIFY(!program.window->isVisible());
}

void LeavingTest::LeavingClosesAnOpenBox()
{
    MessagePrompts prompts;
    Program program(prompts);
    program.services.ports.Fix(1, QStringLiteral("/dev/px40-none"));
    program.services.jobs.Launch(RunStartup(&program.services, program.window.get(), false), "start-up");
    QTRY_VERIFY(QApplication::activeModalWidget());
    program.window->close();
    QTRY_VERIFY(program.hasLeft);
    QVERIFY(!program.Find<QDialog>("frmPort")); // which would have come next
}

void LeavingTest::LeavingClosesAnOpenFileDialog_data()
{
    QTest::addColumn<QString>("command");
    QTest::newRow("Open") << u"mnuFileOpen"_qs;
    QTest::newRow("Save As") << u"mnuFileSaveAs"_qs;
    QTest::newRow("graph") << u"saveAsRequested"_qs;
}

void LeavingTest::LeavingClosesAnOpenFileDialog()
{
    QFETCH(QString, command);
    QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    MessagePrompts prompts;
    Program program(prompts);
    program.StartUp();
    program.Action("New")->trigger();
    program.DataWindows().first()->Data()->MarkSaved();
    if (auto *const action = program.Find<QAction>(command.toLatin1().constData()))
        action->trigger();
    else
        QMetaObject::invokeMethod(program.Find("chData"), command.toLatin1().constData());
    QTRY_VERIFY(QApplication::activeModalWidget());
    program.window->close();
    QTRY_VERIFY(program.hasLeft);
    QTRY_VERIFY(!QApplication::activeModalWidget());
}

QTEST_MAIN(LeavingTest)
#include "leaving_test.moc"
