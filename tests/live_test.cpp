#include "acquire/frminterval.h"
#include "app/frmcancel.h"
#include "app/maincommands.h"
#include "app/windowround.h"
#include "source/frmsrcvalueset.h"
#include "testing/files.h"
#include "testing/liveprogram.h"

#include <QComboBox>
#include <QLineEdit>
#include <QMenu>
#include <QProgressBar>
#include <QPushButton>
#include <QTest>

using namespace px40;

/// Status check, MEASURE and SOURCE window and real-time receive in the main window.
class LiveTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void KeysReachEveryWindow()
    {
        // What is not open is passed over.
        QVERIFY(NextStop(RoundStop::Workspace, {true, true, false, false}, false) == RoundStop::Bar);
        QVERIFY(NextStop(RoundStop::Bar, {true, true, true, false}, true) == RoundStop::Moniter);
        QVERIFY(NextStop(RoundStop::Source, {false, false, false, true}, false) == RoundStop::Source);

        LiveProgram program;
        const auto place = [] {
            const QWidget *const window = QApplication::activeWindow();
            const QWidget *const focus = QApplication::focusWidget();
            const bool main = window && focus && window->objectName() == u"frmMain";
            return main ? focus->parentWidget()->objectName() : window ? window->objectName() : QString();
        };
        const auto press = [](auto key, Qt::KeyboardModifiers modifiers = {}) {
            QWidget *const focus = QApplication::focusWidget();
            QTest::keyClick(focus ? focus : QApplication::activeWindow(), key, modifiers);
        };
        const auto arrives = [&](const char *where) {
            return WaitUntil([&] { return place() == QLatin1StringView(where); });
        };
        QApplication::setActiveWindow(program.window.get());
        for (const char *const next : {"frmMoniter", "frmSource", "tbMain", "offers", "frmMoniter"}) {
            press(Qt::Key_F6);
            QVERIFY2(arrives(next), qPrintable(QLatin1StringView(next) + place()));
        }
        press(Qt::Key_N, Qt::ControlModifier); // as in the main window, and once
        QCOMPARE(program.DataWindows().size(), 1);
        auto *const cancel = program.Find<frmCancel>("frmCancel");
        program.Moniter()->activateWindow();
        QVERIFY(arrives("frmMoniter"));
        cancel->Show(); // the menus are disabled, and so are their keys
        program.Moniter()->activateWindow();
        QVERIFY(arrives("frmMoniter"));
        press(Qt::Key_N, Qt::ControlModifier);
        QCOMPARE(program.DataWindows().size(), 1);
        cancel->Unload();
        press(Qt::Key_F6, Qt::ShiftModifier);
        QVERIFY(WaitUntil(
            [&] { return program.DataWindows().first()->isAncestorOf(QApplication::focusWidget()); }));
        press(Qt::Key_F6);
        QVERIFY(arrives("frmMoniter"));
        press(Qt::Key_N, Qt::ControlModifier);
        program.DataWindows().last()->showMinimized();
        press(Qt::Key_F6, Qt::ShiftModifier); // to the other one
        QVERIFY(WaitUntil(
            [&] { return program.DataWindows().first()->isAncestorOf(QApplication::focusWidget()); }));
        program.DataWindows().last()->showNormal();
        press(Qt::Key_W, Qt::ControlModifier);
        press(Qt::Key_F6);
        QVERIFY(arrives("frmMoniter"));
        press(Qt::Key_W, Qt::ControlModifier); // File, Close
        QVERIFY(WaitUntil([&] { return program.DataWindows().isEmpty(); }) && program.Moniter());
    }

    void RunFromTheToolBar()
    {
        const QString allButStop = u"New mnuRealtimeNew Start mnuRealtimeStart Mdata mnuDataMemory"_qs;
        LiveProgram program;
        std::optional<LinkUse> use(std::in_place, program.services.gate, ActivityStatusCheck);
        program.Action("New")->trigger(); // at whatever moment it is pressed
        use.reset();
        frmData *const first = program.DataWindows().first();
        QCOMPARE(program.Runnable(), allButStop);
        QVERIFY(program.Start(Answer::Cancel));
        QCOMPARE(program.prompts.questions,
                 QStringList(u"Do you need forward to Microsoft Excel real-time data?"_qs));
        QCOMPARE(program.Runnable(), allButStop);
        QVERIFY(program.Start(Answer::No));
        QCOMPARE(program.Runnable(), u"Stop mnuRealtimeStop"_qs);

        // Whatever becomes active meanwhile, and whatever the link is used for.
        const std::shared_ptr<DataSet> other = program.window->Commands().AddDataSet(KindRealtime);
        use.emplace(program.services.gate, ActivitySourceCommand);
        use.reset();
        Q_EMIT program.Find<QMenu>("mnuRealtime")->aboutToShow();
        QCOMPARE(program.Runnable(), u"Stop mnuRealtimeStop"_qs);
        program.Action("Moniter")->trigger();
        QVERIFY(program.MoniterChecked());
        for (int second = 0; second < 6; ++second)
            QVERIFY(program.PassSecond());
        QCOMPARE(first->Data()->GetDatacount(), 1);
        QCOMPARE(other->GetDatacount(), 0);
        QCOMPARE(program.Message(), u"1New: 00:00:05 elapsed, 1 row, no error rows."_qs);
        QVERIFY(!first->findChild<QProgressBar *>(u"pbData"_qs)->isVisible()); // no period

        program.Action("Stop")->trigger();
        QVERIFY(program.Message().contains(u"Stopping..."));
        for (QWidget *const held : {static_cast<QWidget *>(first), static_cast<QWidget *>(program.Moniter()),
                                    static_cast<QWidget *>(program.window.get())})
            QVERIFY(!held->close());
        QCOMPARE(program.Message(), u"Real-time receive is running. Stop it first."_qs);
        QVERIFY(program.PassSecond());
        QCOMPARE(program.Runnable(), allButStop);
        QCOMPARE(program.Message(), u"1New was stopped: 00:00:06 elapsed, 2 rows, no error rows."_qs);
    }

    void SaveModeHasTheLinkToItself()
    {
        LiveProgram program;
        const qsizetype before = program.Commands().size();
        program.StartDownload("Sdata");
        QVERIFY(!program.services.state.LinkBusy);
        Press(program.Moniter(), "btMeasOnOff");
        program.Source()->findChild<QPushButton *>(u"btSrcOnOff"_qs)->click();
        while (program.Cancel()->isVisible()) { // as often as it likes
            Q_EMIT program.window->tmCheckStat.tick();
            program.Action("Sdata")->trigger();
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        }
        QVERIFY(program.NoJobLeft());
        const QStringList sent = program.Commands().mid(before, 52);
        QCOMPARE(sent.first() + sent.at(1) + sent.at(50) + sent.last(), u"PL,1RS,01RS,50PL,0"_qs);
        const auto isSent = [&](const QString &command) { return program.Commands().contains(command); };
        QVERIFY(WaitUntil([&] { return isSent(u"MO0"_qs) && isSent(u"SO1"_qs); }));
        QVERIFY(program.NoJobLeft());
        QCOMPARE(program.DataWindows().size(), 1);
        const std::shared_ptr<DataSet> dataSet = program.DataWindows().first()->Data();
        QCOMPARE(QString::number(dataSet->Kind()) + dataSet->Table().Heading(1), u"4TIME"_qs);
        QCOMPARE(program.prompts.questions.size(), 1);
        QCOMPARE(program.Message(), u"37 SAVE-mode records received, which hold no readings."_qs);

        program.Fault("garbage=3");
        program.StartDownload("Sdata");
        QVERIFY(program.NoJobLeft());
        QCOMPARE(program.Message(), u"The download ended early: 1 SAVE-mode record received."_qs);
        program.Fault("none");
        for (int n = 1; n <= 50; ++n)
            program.server.WithInstrument([n](sim::Instrument &i) { i.SetRecord(n, "RS"); });
        program.StartDownload("Sdata");
        QVERIFY(program.NoJobLeft());
        QCOMPARE(program.Message(), u"The instrument holds no SAVE-mode records."_qs);

        program.Action("New")->trigger();
        QVERIFY(program.Start(Answer::No));
        const qsizetype asked = program.prompts.questions.size();
        program.Action("Sdata")->trigger(); // not in a run
        program.window->Run(Command::DataSave);
        QVERIFY(program.NoJobLeft());
        QCOMPARE(program.prompts.questions.size(), asked);
    }

    void MeasureWindowFollows()
    {
        LiveProgram program;
        QVERIFY(program.MoniterChecked());
        for (const int mode : {0, 3, 0}) { // with 3 the instrument cannot measure
            program.server.WithInstrument([mode](sim::Instrument &i) { i.SetSourceMode(mode); });
            QVERIFY(program.Check());
            QCOMPARE(program.Value().isEmpty(), mode == 3);
            QCOMPARE(program.Runnable(),
                     mode == 3 ? QString() : u"New mnuRealtimeNew Mdata mnuDataMemory"_qs);
        }

        program.Action("mnuViewMoniter")->trigger();
        QTRY_VERIFY(!program.Moniter());
        QVERIFY(!program.Action("Moniter")->isChecked());
        program.Action("Moniter")->trigger();
        QVERIFY(program.MoniterChecked());
        QVERIFY(program.Check());

        // During a run each sample is shown as it comes in, whether the check timer runs or not.
        program.window->tmCheckStat.SetEnabled(false);
        program.Action("New")->trigger();
        QVERIFY(program.Start(Answer::No));
        program.server.WithInstrument([](sim::Instrument &i) { i.SetMeasureState('B'); });
        QVERIFY(program.PassSecond());
        QCOMPARE(program.Value(), u" -bo-"_qs);
    }

    void SourceWindowFollows()
    {
        LiveProgram program;
        const auto commandsEndWith = [&](const char *command) {
            return WaitUntil([&] { return program.server.Commands().back() == command; }) &&
                   program.NoJobLeft();
        };
        QVERIFY(commandsEndWith("PU0"));
        QCOMPARE(program.Message(), QString()); // nobody asked for it
        program.server.WithInstrument([](sim::Instrument &i) {
            i.SetSource(6, 0);
            i.SetSourceMode(3);
            i.SetOptionFlags("10000000");
        });
        QVERIFY(program.Check());
        QCOMPARE(program.Shown("llUnit") + program.Shown("llDipsw4"), u"mA"_qs); // AUTO OFF is lit in MEASURE
        program.Action("Moniter")->trigger();
        QVERIFY(program.Check());
        QCOMPARE(program.Shown("llDipsw4"), u"AUTO OFF"_qs);

        // The value entry does not need the window that has opened it.
        Press(program.Source(), "btInput");
        Press(program.Source(), "btInput");
        QCOMPARE(program.window->findChildren<frmSrcValueSet *>().size(), 1);
        program.Action("mnuViewSource")->trigger();
        QTRY_VERIFY(!program.Source());
        QVERIFY(!program.SourceChecked());
        auto *const entry = program.Find<frmSrcValueSet>("frmSrcValueSet");
        entry->findChild<QLineEdit *>()->setText(u"abc"_qs);
        Press(entry, "btSet");
        QVERIFY(commandsEndWith("SDabc"));
        QCOMPARE(program.Message(), u"The PX40 has refused \"SDabc\": out of range or not possible."_qs);

        program.Action("Source")->trigger();
        Press(program.Source(), "btInput");
        QCOMPARE(program.Shown("llUnit") + program.Shown("llValue1"), QString()); // until the next status
        Press(program.Source(), "btSrcOnOff");
        QVERIFY(commandsEndWith("SO1"));
        QCOMPARE(program.Message(), QString());

        // Checks that follow each other without a pause do not keep a command waiting.
        program.Fault("late=20");
        Press(program.Source(), "btDown0");
        Q_EMIT program.window->tmCheckStat.tick();
        QVERIFY(WaitUntil([&] { return program.services.state.LinkActivity != ActivityStatusCheck; }));
        QCOMPARE(program.services.state.LinkActivity, int{ActivitySourceCommand});
        QVERIFY(program.NoJobLeft());

        Press(program.Source(), "btInput");
        auto *const unit = program.Find<QWidget>("frmSrcValueSet")->findChild<QLabel *>(u"llUnit"_qs);
        QCOMPARE(unit->text(), u"mA"_qs);
        QVERIFY(program.Unplug());
        QCOMPARE(program.Shown("llUnit") + unit->text(), QString());
    }

    void LostInstrumentIsFoundAgain()
    {
        LiveProgram program;
        QVERIFY(program.Unplug());
        QVERIFY(program.Check());
        QVERIFY(!program.MoniterChecked() && !program.SourceChecked());

        program.Action("Moniter")->trigger(); // still unplugged
        QVERIFY(!program.window->tmCheckStat.Enabled());
        program.Action("Moniter")->trigger();
        program.server.PlugIn();
        program.Action("Moniter")->trigger();
        QVERIFY(program.window->tmCheckStat.Enabled() && program.window->tmCheckStat.Interval() == 1000);
        QVERIFY(program.Check());
        QVERIFY(!program.Value().isEmpty());
        QCOMPARE(program.prompts.warnings.size(), 1);

        // Without its port no run begins, and nothing is asked; found by one that does, while nobody checked.
        QVERIFY(program.Unplug());
        QVERIFY(program.Value().isEmpty()); // no old reading passes for the present one
        QVERIFY(program.Check());
        program.Action("New")->trigger();
        QVERIFY(program.Start(Answer::No));
        QVERIFY(!program.services.state.RealtimeRun && program.prompts.questions.isEmpty());
        QVERIFY(program.prompts.warnings.last().startsWith(u"The device of port 1 is not plugged in"));
        QVERIFY(program.services.comm.IsLost());
        program.server.PlugIn();
        program.Action("Moniter")->trigger();
        QVERIFY(program.services.comm.IsOpen());
        program.services.comm.ClosePort(); // as where no port could be opened at the start
        program.window->tmCheckStat.SetInterval(0);
        QVERIFY(program.Start(Answer::Cancel));
        QVERIFY(program.services.comm.IsOpen() && program.window->tmCheckStat.Interval() == 1000);
        program.prompts.questions.clear();
        program.window->tmCheckStat.SetEnabled(false);
        QVERIFY(program.Start(Answer::No));
        QVERIFY(program.Unplug());
        program.Action("Moniter")->trigger();
        program.server.PlugIn();
        QVERIFY(program.PassSecond());
        QVERIFY(!program.window->tmCheckStat.Enabled());
        program.Action("Stop")->trigger();
        QVERIFY(program.PassSecond());
        QVERIFY(program.Message().startsWith(u"1New was stopped: "));
        QVERIFY(program.window->tmCheckStat.Enabled());

        // The port dialog brings back what went with the connection.
        program.Action("Source")->trigger();
        program.Fault("silent");
        QVERIFY(program.Check());
        QVERIFY(!program.MoniterChecked() && !program.SourceChecked());
        program.Fault("none");
        program.Action("mnuSetupCommport")->trigger();
        Press(program.Find<QDialog>("frmPort"), "btOk");
        QVERIFY(program.NoJobLeft());
        QVERIFY(program.MoniterChecked() && program.SourceChecked() && program.window->tmCheckStat.Enabled());
    }

    void RowsBehindAQuestionAreNotSaved()
    {
        LiveProgram program;
        program.Action("New")->trigger();
        frmData *const window = program.DataWindows().first();
        window->Data()->AddData(QString(), u"1"_qs, QString(), QString(), QString());
        program.prompts.answers = {Answer::No};
        window->close();
        program.services.state.RealtimeRun = true; // begins while the question is open
        QVERIFY(program.NoJobLeft());
        QCOMPARE(program.DataWindows().size(), 1);
        QVERIFY(!window->Data()->Saved());
        program.services.state.RealtimeRun = false;
    }

    /// Values that are not refreshed do not look like the present ones.
    void OldValuesFade()
    {
        LiveProgram program;
        auto *const fade = program.window->findChild<Timer *>(u"tmFade"_qs);
        const auto look = [&] {
            const auto faded = [](const QWidget *window, const char *value) {
                const auto *const label = window->findChild<QLabel *>(QLatin1StringView(value));
                return QString(label->text().isEmpty()                     ? u'-'
                               : label->foregroundRole() == QPalette::Text ? u'+'
                                                                           : u'f') +
                       window->findChild<QLabel *>(u"llState"_qs)->text();
            };
            return faded(program.Moniter(), "llValue") + u' ' + faded(program.Source(), "llValue1");
        };
        const QString live = u"+MEASURE ON +SOURCE OFF"_qs;
        QCOMPARE(look(), live);
        QVERIFY(fade->Enabled() && fade->Interval() > 2000);
        program.Action("New")->trigger();
        QVERIFY(program.Start(Answer::No));
        program.Fault("silent");
        QVERIFY(program.PassSecond());
        Q_EMIT fade->tick();
        QCOMPARE(look(), u"f f"_qs);
        QCOMPARE(program.Shown("llMessage"),
                 u"No reading since "_qs + TimeOfDay(program.clock.utcMs / 1000 - 1) + u'.');
        QVERIFY(program.Check()); // decodes the old one again
        QCOMPARE(look(), u"f f"_qs);
        const QString note = program.Shown("llMessage");
        program.Source()->ShowMessage(u"refused"_qs);
        QCOMPARE(program.Shown("llMessage"), u"refused"_qs); // it is newer
        delete program.Source();
        program.Action("Source")->trigger();
        QCOMPARE(program.Shown("llMessage"), note);
        program.Fault("none");
        QVERIFY(program.PassSecond());
        QCOMPARE(look(), live);
        QCOMPARE(program.Shown("llMessage"), QString());

        program.Action("Stop")->trigger();
        QVERIFY(program.PassSecond());
        QVERIFY(program.Unplug());
        QCOMPARE(look(), u"- -"_qs); // and neither claims to be off
    }

    /// What came of a command is told where it was given: the main window's line may be covered.
    void CommandsAreToldOfInTheirWindow()
    {
        LiveProgram program;
        program.server.WithInstrument([](sim::Instrument &i) { i.SetSource(5, 0); });
        program.Fault("err=1");
        Press(program.Source(), "btUp0");
        QVERIFY(WaitUntil([&] { return !program.Shown("llMessage").isEmpty(); }));
        QCOMPARE(program.Shown("llMessage"),
                 u"The PX40 has refused \"UP1\": out of range or not possible."_qs);
        QCOMPARE(program.Message(), program.Shown("llMessage"));
        Press(program.Moniter(), "btMeasOnOff");
        auto *const told = program.Moniter()->findChild<QLabel *>(u"llMessage"_qs);
        QVERIFY(WaitUntil([&] { return !told->text().isEmpty(); }));
        QCOMPARE(told->text(), u"The PX40 has refused \"MO0\": out of range or not possible."_qs);
        program.Fault("none");
        Press(program.Source(), "btSrcOnOff");
        Press(program.Moniter(), "btMeasOnOff");
        QVERIFY(WaitUntil([&] { return told->text().isEmpty() && program.Shown("llMessage").isEmpty(); }));
        QCOMPARE(program.Message(), QString());
    }

    /// One port at a time has a connection to lose.
    void OnlyTheOpenPortIsLost()
    {
        PX40_NEEDS_UNIX();
        LiveProgram program;
        const auto *const panel = program.Find<QLabel>("Port");
        QVERIFY(program.Unplug());
        QCOMPARE(panel->text(), u"Port 1: connection lost"_qs);
        program.Action("mnuSetupCommport")->trigger();
        auto *const dialog = program.Find<QDialog>("frmPort");
        dialog->findChild<QComboBox *>(u"cbPort"_qs)->setCurrentIndex(4);
        Press(dialog, "btOk");
        const auto *const ok = dialog->findChild<QPushButton *>(u"btOk"_qs);
        QVERIFY(WaitUntil([&] { return program.prompts.warnings.size() == 1 && ok->isEnabled(); }));
        QCOMPARE(panel->text(), u"Port 5: closed"_qs);
        QCOMPARE(program.Message(), QString());

        // Whoever tries the simulated instrument keeps the port of the real one.
        program.server.PlugIn();
        program.services.ports.KeepNothing();
        program.services.settings.PortNumberText = u"7"_qs;
        const QString kept = program.services.ports.Device(5);
        dialog->findChild<QComboBox *>(u"cbDevice"_qs)->setEditText(u"/dev/of-the-demo"_qs);
        Press(dialog, "btOk");
        QVERIFY(WaitUntil([&] { return program.prompts.warnings.size() == 2 && ok->isEnabled(); }));
        QCOMPARE(program.services.ports.Device(5), u"/dev/of-the-demo"_qs);
        QCOMPARE(PortMap(program.services.store).Device(5), kept);
        dialog->findChild<QComboBox *>(u"cbPort"_qs)->setCurrentIndex(0);
        Press(dialog, "btOk");
        QVERIFY(program.NoJobLeft());
        QVERIFY(program.services.comm.IsOpen());
        QCOMPARE(program.services.settings.PortNumberText, u"7"_qs);
    }

    void CommandsNeedTheRightWindow()
    {
        LiveProgram program;
        program.window->Commands().AddDataSet(KindMemory);
        program.Action("Start")->trigger();
        QVERIFY(program.Message().startsWith(u"This needs a real-time data window"));
        QVERIFY(program.prompts.questions.isEmpty());
        // The period of other sets can be changed as well; only the menu offers it for runs alone.
        QVERIFY(!program.Action("mnuSetupInterval")->isEnabled());
        program.Action("Interval")->trigger();
        delete program.window->findChild<frmInterval *>();
        program.Action("New")->trigger();
        program.Action("mnuSetupInterval")->trigger();
        QVERIFY(program.window->findChild<frmInterval *>());
    }
};

QTEST_MAIN(LiveTest)
#include "live_test.moc"
