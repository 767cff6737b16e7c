#include "app/messageprompts.h"
#include "platform/geometry.h"
#include "resources/icons.h"
#include "resources/strings.h"
#include "testing/program.h"
#include "testing/rows.h"

#include <QAction>
#include <QApplication>
#include <QLabel>
#include <QMdiArea>
#include <QMenu>
#include <QMessageBox>
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

class WindowTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
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
        QCOMPARE(menu("mnuHelp"), u"&About PX40 Communication Software..."_qs);

        QStringList tips;
        for (const char *const bar : {"tbMain", "tbSub"}) {
            for (const QAction *const button : program.Find<QToolBar>(bar)->actions()) {
                if (button->isSeparator())
                    continue;
                tips << button->objectName() + u'=' + button->toolTip();
                QVERIFY2(!button->icon().isNull(), qPrintable(button->objectName()));
            }
        }
        QCOMPARE(tips.join(u'|'),
                 u"Open=Open|Save=Save|Forward=Forward to Microsoft Excel|New=New|Start=Start real-time data "
                 u"receive|"
                 "Mdata=Start MEMORY-mode data receive|Interval=Interval and Period setup|Graph=Graph setup|"
                 "Moniter=MEASURE Window ON/OFF|Source=SOURECE Window ON/OFF|Stop=Stop"_qs);
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

        QVERIFY(!program.Cancel()->isVisible());
        QVERIFY(program.Find<QMenu>("mnuHelp")->isEnabled());
        QVERIFY(program.Find<QToolBar>("tbMain")->isEnabled());
        QCOMPARE(program.DataWindows().size(), 1);
        frmData *const data = program.DataWindows().first();
        QVERIFY(data->isEnabled());
        QCOMPARE(data->Data()->Caption(), u"1New"_qs);
        QVERIFY(data->isWindowModified());
        const auto *const table = data->findChild<QTableView *>(u"fgData"_qs);
        QVERIFY(table->isVisible());
        QCOMPARE(table->model()->rowCount(), 50);
        QCOMPARE(table->model()->headerData(1, Qt::Horizontal).toString(), u"No."_qs);
        for (const auto &[bar, key] : {std::pair(u"stBar1"_qs, u"Max"_qs), std::pair(u"stBar2"_qs, u"Min"_qs),
                                       std::pair(u"stBar3"_qs, u"Avg"_qs)})
            QVERIFY(!data->findChild<QWidget *>(bar)->findChild<QLabel *>(key)->text().isEmpty());
        QCOMPARE(program.Message(), u"50 stored readings received."_qs);
        QVERIFY(program.Action("mnuFileClose")->isEnabled());
        QCOMPARE(program.Find<QMdiArea>("workspace")->activeSubWindow(), data);
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
        QCOMPARE(program.prompts.warnings, QStringList(QString()));
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
        QCOMPARE(table->model()->headerData(1, Qt::Horizontal).toString(), u"TIME"_qs);
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
        const auto [before, state, after] = ThisRow<States>();
        ScriptedProgram program;
        UserStore &store = program.services.store;
        const int inch = program.window->logicalDpiX();
        QCOMPARE(program.window->x(), TwipsToPixels(1000, inch)); // never moved
        QCOMPARE(program.window->height(), TwipsToPixels(6500, inch));
        store.Save(u"Settings"_qs, u"MainState"_qs, QString::number(before == Qt::WindowMaximized ? 2 : 0));
        const QRect place(30, 60, 420, 330);
        program.window->setGeometry(place);
        program.window->setWindowState(state);
        program.window->close();
        QTRY_VERIFY(program.hasLeft);
        QCOMPARE(store.GetNumber(u"Settings"_qs, u"MainWidth"_qs, 0), PixelsToTwips(place.width(), inch));
        const frmMain again(program.services);
        QCOMPARE(again.normalGeometry().isEmpty() ? again.geometry() : again.normalGeometry(), place);
        QCOMPARE(again.windowState(), Qt::WindowStates(after));
    }
};

QTEST_MAIN(WindowTest)
#include "window_test.moc"
