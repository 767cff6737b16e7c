#include "app/messageprompts.h"
#include "platform/geometry.h"
#include "resources/icons.h"
#include "resources/strings.h"
#include "testing/files.h"
#include "testing/program.h"
#include "testing/rows.h"

#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QMdiArea>
#include <QMenu>
#include <QMessageBox>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollBar>
#include <QTableView>
#include <QToolBar>

using namespace px40;

namespace {

using States =
    std::tuple<Qt::WindowState, Qt::WindowState, Qt::WindowState>; // before, now, at the next start

} // namespace

/// The main window, its way in and out, and its port.
class WindowTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    /// A desktop may have colours that nothing makes readable.
    void ColoursOfLittleContrastAreTaken()
    {
        QPalette grey(QColor(120, 120, 120));
        for (const QPalette::ColorGroup group : {QPalette::Active, QPalette::Inactive, QPalette::Disabled})
            grey.setColor(group, QPalette::HighlightedText, QColor(127, 127, 127));
        grey.setColor(QPalette::Active, QPalette::Text, QColor(124, 124, 124));
        const QPalette taken = WithReadableHints(grey);
        QCOMPARE(taken.color(QPalette::Disabled, QPalette::Text), QColor(124, 124, 124));
        QCOMPARE(taken.color(QPalette::Active, QPalette::Highlight), QColor(Qt::white));
    }

    void MenusAndButtonsAreComplete()
    {
        const ScriptedProgram program;
        const auto menu = [&](const char *name) {
            QStringList texts;
            for (const QAction *const action : program.Find<QMenu>(name)->actions())
                texts << (action->isSeparator() ? u"-"_qs : action->text());
            return texts.join(u'|');
        };
        QCOMPARE(
            menu("mnuFile"),
            u"&Open...|Open &Recent|&Close|-|&Save|Save &As...|-|&Forward to Microsoft Excel...|-|E&xit"_qs);
        QCOMPARE(menu("mnuRealtime"), u"&New|-|Star&t|Sto&p"_qs);
        QCOMPARE(menu("mnuData"), u"&MEMORY-mode"_qs);
        QCOMPARE(menu("mnuSetup"), u"&Communications Port...|&Interval and Period...|&Graph..."_qs);
        QCOMPARE(menu("mnuView"), u"&Tool bar|&Status bar|-|&MEASURE Window|&SOURCE Window"_qs);
        QCOMPARE(menu("mnuHelp"), u"&Contents|&About PX40 Communication Software..."_qs);

        // But for what the captions have always been, no letter key does two things.
        QStringList twice;
        for (const QMenu *const one : program.window->findChildren<QMenu *>()) {
            QString letters;
            for (const QAction *const action : one->actions()) {
                const QString letter = QKeySequence::mnemonic(action->text()).toString().right(1);
                if (!letter.isEmpty() && letters.contains(letter))
                    twice << one->objectName() + letter;
                letters += letter;
            }
        }
        QCOMPARE(twice, QStringList(u"mnuViewS"_qs));

        for (const char *const bar : {"tbMain", "tbSub"}) {
            for (const QAction *const button : program.Find<QToolBar>(bar)->actions())
                QVERIFY2(button->isSeparator() || !button->icon().isNull(), qPrintable(button->objectName()));
        }
        // What needs a data window is shown but cannot be chosen.
        for (const char *const item : {"mnuFileForward", "mnuRealtimeStart", "Stop"})
            QVERIFY2(!program.Action(item)->isEnabled(), item);
        ScriptedPrompts prompts;
        const Program demo(prompts, Program::Unpaced(), nullptr, Program::Port::Simulated);
        QVERIFY(demo.window->windowTitle().contains(u"DEMO"));
        // The same drawing in other colours on a dark ground.
        const QImage light = MakeIcon(u"open", QPalette(Qt::white)).pixmap(24).toImage();
        QVERIFY(light != MakeIcon(u"open", QPalette(Qt::black)).pixmap(24).toImage());
    }

    void DownloadFillsAWindow()
    {
        StartedProgram program;
        program.StartDownload();
        QCOMPARE(program.prompts.questions,
                 QStringList(u"Do you need forward to Microsoft Excel after received data?"_qs));
        // While it runs there is nothing to do but watch or cancel.
        QVERIFY(!program.Find<QMenu>("mnuFile")->isEnabled());
        QVERIFY(!program.Find<QToolBar>("tbMain")->isEnabled());
        QVERIFY(!program.DataWindows().first()->isEnabled());
        QVERIFY(program.NoJobLeft());

        QVERIFY(program.Find<QMenu>("mnuHelp")->isEnabled());
        QVERIFY(program.Find<QToolBar>("tbMain")->isEnabled());
        frmData *const data = program.DataWindows().first();
        QVERIFY(data->isEnabled());
        const auto *const table = data->findChild<QTableView *>(u"fgData"_qs);
        QVERIFY(table->isVisible());
        QCOMPARE(table->model()->rowCount(), 50);
        for (const auto &[bar, key] : {std::pair(u"stBar1"_qs, u"Max"_qs), std::pair(u"stBar2"_qs, u"Min"_qs),
                                       std::pair(u"stBar3"_qs, u"Avg"_qs)})
            QVERIFY(!data->findChild<QWidget *>(bar)->findChild<QLabel *>(key)->text().isEmpty());
        QCOMPARE(program.Message(), u"50 stored readings received."_qs);
        program.Action("New")->trigger();
        QCOMPARE(program.DataWindows().last()->Data()->Table().Heading(1), u"TIME"_qs);
    }

    void DownloadCanBeCancelled()
    {
        StartedProgram program;
        program.Fault("silent-from=10");
        program.StartDownload("mnuDataMemory");
        QTRY_VERIFY(program.server.CommandCount() >= 10);
        auto *const button = program.Cancel()->findChild<QPushButton *>(u"btCancel"_qs);
        QTest::keyClick(program.Cancel(), Qt::Key_Escape); // the same as the button
        QVERIFY(!button->isEnabled());
        QCOMPARE(program.Cancel()->findChild<QLabel *>(u"llMsg"_qs)->text(), u"Canceling..."_qs);
        QVERIFY(program.NoJobLeft());
        QCOMPARE(program.DataWindows().first()->Data()->GetDatacount(), 7);
        QCOMPARE(program.prompts.warnings,
                 QStringList(u"The download ended early: 7 of 50 stored readings received."_qs));
        QVERIFY(!program.Cancel()->isVisible());

        program.Fault("none");
        program.StartDownload(); // the dialog is whole again
        QVERIFY(button->isEnabled());
        QCOMPARE(program.Cancel()->findChild<QProgressBar *>(u"pbNow"_qs)->value(), 0);
        QVERIFY(program.NoJobLeft());
        QCOMPARE(program.DataWindows().last()->Data()->GetDatacount(), 50);

        program.Fault("silent"); // there is nothing to cancel after a time-out
        const auto sent = program.server.CommandCount();
        program.StartDownload();
        QVERIFY(button->isEnabled());
        QTRY_VERIFY(program.server.CommandCount() > sent + 3);
        QVERIFY(!button->isEnabled());
        program.server.HangUp();
        QVERIFY(program.NoJobLeft());
    }

    void TableFollowsRealtimeSamples()
    {
        StartedProgram program;
        program.Action("New")->trigger();
        frmData *const window = program.DataWindows().first();
        const auto *const table = window->findChild<QTableView *>(u"fgData"_qs);
        QCOMPARE(table->currentIndex(), table->model()->index(0, 1));
        window->resize(320, window->height()); // too narrow for all columns
        QScrollBar *const sideways = table->horizontalScrollBar();
        for (const int part : {0, 1, 2}) { // to the left, the right and the middle
            const int place = part == 0 ? 0 : sideways->maximum() / part;
            sideways->setValue(place);
            QCOMPARE(place > 0, part > 0);
            for (int n = 1; n <= 200; ++n) {
                QVERIFY(window->Data()->AddGridrow());
                window->Data()->AddRealtimedata(QString(), QString::number(n), QString(), QString(),
                                                QString(), true);
            }
            const int last = table->model()->rowCount() - 1;
            QTRY_VERIFY(table->rowViewportPosition(last) >= 0 &&
                        table->rowViewportPosition(last) < table->viewport()->height());
            QCOMPARE(sideways->value(), place);
        }
    }

    void UnplugHalfWayIsTold()
    {
        StartedProgram program;
        program.window->tmCheckStat.SetEnabled(false); // it would tell of the loss, too, on a slow machine
        program.Fault("hang-up=12");
        program.StartDownload();
        QVERIFY(program.NoJobLeft());
        QCOMPARE(program.prompts.warnings, QStringList(Text(Str::PortLost)));
        QCOMPARE(program.DataWindows().first()->Data()->GetDatacount(), 9);
        QCOMPARE(program.Find<QLabel>("Port")->text(), u"Port 1: connection lost"_qs);

        program.prompts.answers = {Answer::Cancel, Answer::No};
        QVERIFY(program.Do("Mdata")); // does nothing
        QCOMPARE(program.DataWindows().size(), 1);
        QVERIFY(program.Do("Mdata")); // and again, without the cable
        QCOMPARE(program.prompts.warnings.size(), 2);
        QCOMPARE(program.Message(), u"The connection to the instrument was lost."_qs);
    }

    void MessageBoxesAnswer()
    {
        MessagePrompts prompts;
        const auto box = [] { return qobject_cast<QMessageBox *>(QApplication::activeModalWidget()); };
        for (const auto &[key, answer] :
             {std::pair(Qt::Key_N, Answer::No), std::pair(Qt::Key_Escape, Answer::Cancel),
              std::pair(Qt::Key_Return, Answer::Yes)}) {
            const Running<Answer> asked(prompts.AskYesNoCancel(u"Line 1\r\nLine 2"_qs, PromptIcon::Question));
            QTRY_VERIFY(box());
            QCOMPARE(box()->text(), u"Line 1\nLine 2"_qs);
            if (key == Qt::Key_N)
                QTest::mouseClick(box()->button(QMessageBox::No), Qt::LeftButton);
            else
                QTest::keyClick(box(), key);
            QVERIFY(asked.Finish());
            QCOMPARE(asked.Value(), answer);
        }
        const Running<Answer> left(prompts.AskYesNoCancel(QString(), PromptIcon::Exclamation));
        QTRY_VERIFY(box());
        prompts.DismissAll();
        QVERIFY(left.Finish());
        QCOMPARE(left.Value(), Answer::Cancel);
        const Running<Answer> after(prompts.AskYesNoCancel(QString(), PromptIcon::Exclamation));
        QVERIFY(after.Finish()); // nothing is shown any more
    }

    void MainWindowStandsWhereItStood_data()
    {
        AddRows<States>({
            {"normal", {Qt::WindowNoState, Qt::WindowNoState, Qt::WindowNoState}},
            {"maximised", {Qt::WindowNoState, Qt::WindowMaximized, Qt::WindowMaximized}},
            {"normal again", {Qt::WindowMaximized, Qt::WindowNoState, Qt::WindowNoState}},
            {"minimised after maximised", {Qt::WindowMaximized, Qt::WindowMinimized, Qt::WindowMaximized}},
        });
    }

    void MainWindowStandsWhereItStood()
    {
        PX40_NEEDS_UNIX();
        const auto [before, state, after] = ThisRow<States>();
        ScriptedProgram program;
        UserStore &store = program.services.store;
        const int inch = program.window->logicalDpiX();
        QCOMPARE(program.window->x(), TwipsToPixels(1000, inch)); // never moved
        QCOMPARE(program.window->height(), TwipsToPixels(6500, inch));
        store.Save(u"Settings"_qs, u"MainState"_qs, QString::number(before == Qt::WindowMaximized ? 2 : 0));
        const QRect place(30, 60, 640, 430);
        program.window->setGeometry(place);
        program.window->setWindowState(state);
        program.window->close();
        QTRY_VERIFY(program.hasLeft);
        QCOMPARE(store.GetNumber(u"Settings"_qs, u"MainWidth"_qs, 0), PixelsToTwips(place.width(), inch));
        const frmMain again(program.services);
        QCOMPARE(again.normalGeometry().isEmpty() ? again.geometry() : again.normalGeometry(), place);
        QCOMPARE(again.windowState(), Qt::WindowStates(after));
    }

    void EmptyWorkspaceOffersCommands()
    {
        StartedProgram program;
        const auto *const offers = program.Find<QWidget>("offers");
        QVERIFY(offers->isVisible());
        offers->findChild<QAbstractButton *>()->click();
        QCOMPARE(program.DataWindows().size(), 1);
        QTRY_VERIFY(!offers->isVisible());
        program.DataWindows().first()->close();
        QTRY_VERIFY(offers->isVisible());
    }

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
        PX40_NEEDS_UNIX();
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

QTEST_MAIN(WindowTest)
#include "window_test.moc"
