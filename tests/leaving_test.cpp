#include "app/messageprompts.h"
#include "resources/strings.h"
#include "testing/program.h"

#include <QApplication>
#include <QComboBox>
#include <QDialog>
#include <QFile>
#include <QPointer>
#include <QPushButton>
#include <QTest>

using namespace px40;

/// Closing windows, leaving the program, and changing its port.
class LeavingTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void UnsavedWindowsAsk()
    {
        using Case = std::tuple<bool, Answer, bool>;
        for (const auto &[unsaved, answer, closes] :
             {Case{false, Answer::Cancel, true}, Case{true, Answer::Cancel, false},
              Case{true, Answer::No, true}}) {
            StartedProgram program;
            program.prompts.answers = {answer};
            program.Action("New")->trigger();
            const QPointer<frmData> data = program.DataWindows().first();
            if (unsaved)
                data->Data()->AddData(QString(), u"1"_qs, QString(), QString(), QString());

            LinkUse use(program.services.gate, ActivityDownload);
            data->close(); // refused without a question while the link is in use
            QVERIFY(data && program.prompts.questions.isEmpty());
            use.Become(ActivityStatusCheck);
            QVERIFY(program.Do("mnuFileClose"));
            QTRY_COMPARE(data.isNull(), closes);
            const QString question = u"Do you want to save the changes you made to this file?\r\n1New"_qs;
            QCOMPARE(program.prompts.questions, unsaved ? QStringList(question) : QStringList());
        }
    }

    void LeavingIsRefusedDuringADownload()
    {
        StartedProgram program;
        program.Fault("silent-from=6");
        program.StartDownload();
        QTRY_VERIFY(program.server.CommandCount() >= 6);
        program.window->close();
        QVERIFY(program.window->isVisible());
        QVERIFY(!program.services.leaving);
        QVERIFY(program.NoJobLeft());
        QCOMPARE(program.prompts.warnings, QStringList(u"Timeout error occurred."_qs));
    }

    void LeavingStopsWhatWaits()
    {
        StartedProgram program;
        program.Fault("silent");
        const Running exchange(program.services.comm.SendCommand(AskReading(1)));
        const LinkUse use(program.services.gate, ActivityStatusCheck);
        program.prompts.answers = {Answer::No};
        program.Action("Mdata")->trigger(); // waits for the link
        program.Action("mnuSetupCommport")->trigger();
        QTRY_VERIFY(program.Find<QDialog>("frmPort"));
        program.window->close();
        QTRY_VERIFY(program.hasLeft);
        QVERIFY(exchange.Finish());
        QVERIFY(!exchange.Value());
        QVERIFY(program.prompts.warnings.isEmpty());
        QVERIFY(program.DataWindows().isEmpty());
    }

    void PortDialogKeepsTheOldPortUntilOneOpens()
    {
        StartedProgram program;
        program.services.settings.PortNumberText = u"1"_qs;
        QCOMPARE(program.window->tmCheckStat.Interval(), 1000);
        QVERIFY(program.window->tmCheckStat.Enabled());
        program.Action("mnuSetupCommport")->trigger();
        QTRY_VERIFY(program.Find<QDialog>("frmPort"));
        const QPointer<QDialog> dialog = program.Find<QDialog>("frmPort");
        auto *const number = program.Find<QComboBox>("cbPort");
        QCOMPARE(number->count(), 16);
        QCOMPARE(number->currentText(), u"1"_qs);

        number->setCurrentIndex(4);
        Press(dialog, "btOk");
        QTRY_COMPARE(program.prompts.warnings, QStringList(u"No device is assigned to port 5."_qs));
        QTRY_VERIFY(dialog->findChild<QPushButton *>(u"btOk"_qs)->isEnabled());
        QVERIFY(dialog->isVisible());
        QCOMPARE(program.services.settings.PortNumberText, u"1"_qs);
        QVERIFY(!program.window->tmCheckStat.Enabled());
        QCOMPARE(program.window->tmCheckStat.Interval(), 0);

        program.Find<QComboBox>("cbDevice")->setEditText(program.services.ports.Device(1));
        Press(dialog, "btOk");
        QTRY_VERIFY(dialog.isNull());
        QVERIFY(program.services.comm.IsOpen());
        QCOMPARE(program.services.settings.PortNumberText, u"5"_qs);
        QCOMPARE(program.services.ports.Device(5), program.services.ports.Device(1));
        QVERIFY(program.NoJobLeft());
        QVERIFY(program.window->tmCheckStat.Enabled()); // for the MEASURE and SOURCE windows
        QCOMPARE(program.window->tmCheckStat.Interval(), 1000);

        // Once both windows are closed there is nothing to check for; opening one of them begins it again.
        for (const bool first : {true, false}) {
            program.Action(first ? "Moniter" : "Source")->trigger();
            program.Action("mnuSetupCommport")->trigger();
            Press(program.Find<QDialog>("frmPort"), "btOk");
            QVERIFY(program.NoJobLeft());
            QCOMPARE(program.window->tmCheckStat.Enabled(), first);
        }
        program.Action("mnuViewSource")->trigger();
        QVERIFY(program.window->tmCheckStat.Enabled());
    }

    void FailedStartAsksForAPort()
    {
        ScriptedProgram program;
        program.services.ports.Fix(1, u"/dev/px40-none"_qs);
        program.Begin(false);
        QTRY_VERIFY(program.Find<QDialog>("frmPort"));
        QCOMPARE(program.prompts.warnings, QStringList(Text(Str::PortNoDevice).arg(u"/dev/px40-none"_qs)));
        QVERIFY(program.window->isVisible());
        QCOMPARE(program.window->tmCheckStat.Interval(), 0);
        Press(program.Find<QDialog>("frmPort"), "btCancel");
        QVERIFY(program.NoJobLeft());
        QVERIFY(
            program.window->tmCheckStat.Enabled()); // but silent until the port dialog gives it an interval
        QCOMPARE(program.window->tmCheckStat.Interval(), 0);
    }

    void StartUpCanBeLeft()
    {
        ScriptedProgram program;
        program.Begin(true);
        QTRY_VERIFY(program.window->isVisible()); // the splash window stands before it for its second wait
        program.window->close();
        QTRY_VERIFY(program.hasLeft);
        QVERIFY(!program.services.comm.IsOpen() && !program.window->isVisible());
    }

    void LeavingClosesAnOpenBox()
    {
        MessagePrompts prompts;
        Program program(prompts);
        program.services.ports.Fix(1, u"/dev/px40-none"_qs);
        program.Begin(false);
        QTRY_VERIFY(QApplication::activeModalWidget());
        program.window->close();
        QTRY_VERIFY(program.hasLeft);
        QVERIFY(!program.Find<QDialog>("frmPort")); // which would have come next
    }

    void LeavingClosesAnOpenFileDialog()
    {
        QCoreApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
        for (const char *const command : {"mnuFileOpen", "mnuFileSaveAs", "saveAsRequested"}) {
            MessagePrompts prompts;
            Program program(prompts);
            program.StartUp();
            program.Action("New")->trigger();
            program.DataWindows().first()->Data()->MarkSaved();
            if (auto *const action = program.Action(command))
                action->trigger();
            else
                QMetaObject::invokeMethod(program.Find("chData"), command); // the graph's
            QTRY_VERIFY2(QApplication::activeModalWidget(), command);
            program.window->close();
            QTRY_VERIFY2(program.hasLeft, command);
            QTRY_VERIFY(!QApplication::activeModalWidget());
        }
    }
};

QTEST_MAIN(LeavingTest)
#include "leaving_test.moc"
