// Real-time receive: the interval set up, runs that end in each of their ways, their readings kept.

#include "tools/tour.h"

#include "acquire/frmmoniter.h"
#include "document/frmdata.h"
#include "resources/strings.h"
#include "source/frmsource.h"
#include "tools/stage.h"
#include "tools/tourchecks.h"

#include <QAction>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QProgressBar>
#include <QRadioButton>

using namespace Qt::Literals::StringLiterals;

namespace px40 {

namespace {

constexpr int PeriodSeconds = 10;
constexpr int PeriodRows = PeriodSeconds + 1;
constexpr int SourceCommandsInRun = 1;

DataSet *Set(const Stage &stage)
{
    return stage.DataWindows().last()->Data().get();
}

QString Value(const Stage &stage, int row)
{
    return Set(stage)->Table().Cell(row, 2);
}

bool IsEnabled(const Stage &stage, const QString &command)
{
    return stage.Find<QAction>(command)->isEnabled();
}

/// The rows of the active window as texts, heading included.
QStringList Table(const Stage &stage)
{
    const TableModel &model = Set(stage)->Table();
    QStringList lines;
    for (int row = 0; row <= model.Samples(); ++row) {
        QStringList cells;
        for (int column = 0; column < TableModel::Columns; ++column)
            cells << (row == 0 ? model.Heading(column) : model.Cell(row, column));
        lines << cells.join(u'\t');
    }
    return lines;
}

/// One row each second from `first` on, each with a number; so many seconds were left to a command of the
/// user.
void RequireRowsEachSecond(const Stage &stage, int first, int leftOut = 0)
{
    const TableModel &model = Set(stage)->Table();
    for (int row = first; row <= model.Samples(); ++row) {
        bool number = false;
        Value(stage, row).toDouble(&number);
        Require(number, u"Row %1 of the run holds \"%2\"."_s.arg(row).arg(Value(stage, row)));
        if (row == first)
            continue;
        const QTime before = QTime::fromString(model.Cell(row - 1, 1), u"HH:mm:ss"_s);
        const QTime time = QTime::fromString(model.Cell(row, 1), u"HH:mm:ss"_s);
        const bool skips = leftOut > 0 && before.addSecs(2) == time;
        leftOut -= skips ? 1 : 0;
        Require(
            before.isValid() && (skips || before.addSecs(1) == time),
            u"Row %1 follows that of %2 at %3."_s.arg(row).arg(model.Cell(row - 1, 1), model.Cell(row, 1)));
    }
}

QMessageBox *AwaitQuestion(Stage &stage)
{
    QMessageBox *const box = stage.AwaitBox();
    RequireText(u"The question at the start of a run"_s, box->text(), Text(Str::AskForwardRealtime));
    return box;
}

QMessageBox *PressStart(Stage &stage)
{
    stage.ClickTool(u"Start"_s);
    return AwaitQuestion(stage);
}

void BeginRun(Stage &stage, QMessageBox *question)
{
    stage.Answer(question, QMessageBox::No);
    Await([&stage] { return stage.services.state.RealtimeRun; }, u"The run does not begin."_s);
}

void AwaitEndOfRun(const Stage &stage)
{
    Await([&stage] { return !stage.services.state.RealtimeRun && stage.Idle(); }, u"The run does not end."_s);
}

void RequireRunCommands(const Stage &stage, bool running)
{
    for (const QString &command :
         {u"New"_s, u"Start"_s, u"Mdata"_s, u"mnuRealtimeNew"_s, u"mnuRealtimeStart"_s, u"mnuDataMemory"_s})
        Require(IsEnabled(stage, command) != running, u"\"%1\" is wrong for the run's state."_s.arg(command));
    for (const QString &command : {u"Stop"_s, u"mnuRealtimeStop"_s})
        Require(IsEnabled(stage, command) == running, u"\"%1\" is wrong for the run's state."_s.arg(command));
}

} // namespace

void Tour::IntervalOfNewSet(Stage &stage)
{
    stage.ClickTool(u"New"_s);
    stage.ClickTool(u"Interval"_s);
    QDialog *const dialog = stage.AwaitDialog(u"frmInterval"_s);
    auto *const seconds = stage.Find<QLineEdit>(u"tbIsec"_s, dialog);
    RequireText(u"The interval of a new set"_s, seconds->text(), u"05"_s);
    camera_.Take(u"21a-interval-new"_s, stage.Windows({dialog}));

    stage.Type(dialog, u"tbIsec"_s, u"60"_s);
    stage.ClickButton(dialog, u"btOk"_s);
    QMessageBox *const box = stage.AwaitBox();
    RequireRefusal(box, seconds, u"Illegal interval.\nInterval, Second: a whole number from 0 to 59."_s);
    camera_.Take(u"21b-interval-illegal"_s, stage.Windows({dialog, box}));
    stage.Answer(box, QMessageBox::Ok);
    AwaitIdle(stage);
    Require(dialog->isVisible() && dialog->focusWidget() == seconds && seconds->selectedText() == u"60",
            u"The refused interval is not ready for another one."_s);

    stage.Type(dialog, u"tbIsec"_s, u"1"_s);
    stage.Type(dialog, u"tbPsec"_s, QString::number(PeriodSeconds));
    Require(stage.Find<QRadioButton>(u"obUser"_s, dialog)->isChecked(),
            u"Typing does not make the period a custom one."_s);
    camera_.Take(u"21c-interval-entered"_s, stage.Windows({dialog}));
    stage.CloseDialog(dialog, u"btOk"_s);
    Require(Set(stage)->GetIntervalcount() == 1 && Set(stage)->GetPeriodcount() == PeriodSeconds,
            u"The set did not get interval and period."_s);
}

void Tour::StartRun(Stage &stage)
{
    RequireRunCommands(stage, false);
    QMessageBox *const question = PressStart(stage);
    camera_.Take(u"22a-run-question"_s, stage.Windows({question}));
    BeginRun(stage, question);
    AwaitRows(stage, PeriodRows / 2);

    RequireRunCommands(stage, true);
    const auto *const bar = stage.Find<QProgressBar>(u"pbData"_s, stage.DataWindows().last());
    Require(bar->isVisible() && bar->maximum() == PeriodRows &&
                bar->value() == Rows(stage.DataWindows().last()),
            u"The progress bar stands at %1 of %2."_s.arg(bar->value()).arg(bar->maximum()));
    Require(stage.Message().startsWith(u"1New: 00:00:0"_s) && stage.Message().endsWith(u"no error rows."_s),
            u"The status bar says \"%1\" during a run."_s.arg(stage.Message()));
    camera_.Take(u"22b-run-in-the-middle"_s, stage.Windows());
    QMenu *const menu = stage.OpenMenu(u"mnuRealtime"_s);
    camera_.Take(u"22c-run-menu"_s, {stage.window.get(), menu});
    stage.CloseMenu(menu);
}

/// The source is worked while readings come in, each of which shows it. The second of the command has no row.
void Tour::SourceDuringRun(Stage &stage)
{
    const SourceLog log(stage);
    stage.ClickButton(stage.Source(), u"btSrcOnOff"_s);
    AwaitSource(stage, u"0100.0 imUnit0 K SOURCE ON RJON IPTS-68"_s);
    log.Await({u"SO1"_s});
    camera_.Take(u"22b-run-with-source"_s, stage.Windows());
}

/// Nothing that the run needs can be closed, by whatever way.
void Tour::RunHoldsWindows(Stage &stage)
{
    Stage::BringToFront(stage.Moniter());
    QTest::keyClick(stage.Moniter(), Qt::Key_Escape);
    stage.Choose(u"mnuView"_s, u"mnuViewMoniter"_s);
    Require(stage.Moniter() && stage.Find<QAction>(u"mnuViewMoniter"_s)->isChecked(),
            u"MEASURE can be closed during a run."_s);
    stage.Choose(u"mnuFile"_s, u"mnuFileClose"_s);
    Require(stage.DataWindows().size() == 1 && !Stage::Box(), u"A run's window can be closed."_s);
    stage.Choose(u"mnuFile"_s, u"mnuFileExit"_s);
    Require(stage.window->isVisible() && !Stage::Box(), u"The program can be left during a run."_s);
    RequireText(u"The status bar after Exit"_s, stage.Message(), Text(Str::RunHoldsWindows));
    camera_.Take(u"22d-run-holds-windows"_s, {stage.window.get()});
}

void Tour::EndOfPeriod(Stage &stage)
{
    AwaitEndOfRun(stage);
    Require(Rows(stage.DataWindows().last()) == PeriodRows,
            u"The run has stored %1 rows."_s.arg(Rows(stage.DataWindows().last())));
    RequireRowsEachSecond(stage, 1, SourceCommandsInRun);
    RequireText(u"The status bar after a run"_s, stage.Message(),
                u"1New has ended: 00:00:10 elapsed, 11 rows, no error rows."_s);
    RequireRunCommands(stage, false);
    camera_.Take(u"22e-run-ended"_s, stage.Windows());
}

void Tour::IntervalWithReadings(Stage &stage)
{
    stage.Choose(u"mnuSetup"_s, u"mnuSetupInterval"_s);
    QDialog *const dialog = stage.AwaitDialog(u"frmInterval"_s);
    Require(!stage.Find<QGroupBox>(u"frInterval"_s, dialog)->isEnabled(),
            u"The interval of readings can be changed."_s);
    camera_.Take(u"21d-interval-with-readings"_s, stage.Windows({dialog}));
    Stage::Click(stage.Find<QRadioButton>(u"obNone"_s, dialog));
    stage.CloseDialog(dialog, u"btOk"_s);
    Require(Set(stage)->GetPeriodnone() && Set(stage)->GetIntervalcount() == 1,
            u"The period did not become an endless one."_s);
}

/// A second run into the same window goes on below the rows of the first.
void Tour::StopRun(Stage &stage)
{
    const QStringList before = Table(stage);
    Stage::BringToFront(stage.window.get());
    QTest::keyClick(stage.window.get(), Qt::Key_F5);
    BeginRun(stage, AwaitQuestion(stage));
    AwaitRows(stage, PeriodRows + 3);
    stage.ClickTool(u"Stop"_s);
    Require(stage.Message().startsWith(Text(Str::RunStopping)),
            u"The status bar says \"%1\" after Stop."_s.arg(stage.Message()));
    camera_.Take(u"22f-run-stopping"_s, stage.Windows());
    AwaitEndOfRun(stage);
    Require(stage.Message().startsWith(u"1New was stopped: "_s),
            u"The status bar says \"%1\" after the end."_s.arg(stage.Message()));
    const int rows = Rows(stage.DataWindows().last());
    Require(rows == PeriodRows + 3 || rows == PeriodRows + 4, u"Stop ends with %1 rows."_s.arg(rows));
    Require(Table(stage).mid(0, before.size()) == before, u"The second run has changed rows of the first."_s);
    RequireRowsEachSecond(stage, PeriodRows + 1);
    camera_.Take(u"22g-run-stopped"_s, stage.Windows());
}

void Tour::SaveRun(Stage &stage)
{
    const QString name = DocumentPath(u"run 1.CSV"_s);
    const QStringList table = Table(stage);
    const auto settings = [&stage] {
        return QStringList{Set(stage)->PanelText(Panel::Label),  Set(stage)->PanelText(Panel::Interval),
                           Set(stage)->PanelText(Panel::Period), Set(stage)->PanelText(Panel::Max),
                           Set(stage)->PanelText(Panel::Min),    Set(stage)->PanelText(Panel::Avg)}
            .join(u" | "_s);
    };
    const QString panels = settings();
    stage.ClickTool(u"Save"_s);
    stage.ChooseFile(stage.AwaitFileDialog(), name);
    AwaitIdle(stage);
    RequireSaved(stage.DataWindows().last(), name);
    CloseSaved(stage);
    OpenFile(stage, name);
    RequireText(u"The table of the saved run"_s, Table(stage).join(u'\n'), table.join(u'\n'));
    RequireText(u"What the saved run tells of itself"_s, settings(), panels);
    camera_.Take(u"22h-run-opened-again"_s, stage.Windows());
}

/// Unplugged and plugged in again: the run goes on by itself.
void Tour::UnplugRun(Stage &stage)
{
    const int first = Rows(stage.DataWindows().last()) + 1;
    BeginRun(stage, PressStart(stage));
    AwaitRows(stage, first + 1);
    stage.server.HangUp();
    AwaitRows(stage, first + 4);
    RequireText(u"The row of a lost second"_s, Value(stage, first + 4), u"ERROR"_s);
    RequirePort(stage, u"Port 1: connection lost"_s);
    Require(stage.Find<QLabel>(u"llMessage"_s, stage.Moniter())->text().startsWith(u"No reading since "_s),
            u"MEASURE does not tell that its value is old."_s);
    Require(stage.Message().startsWith(Text(Str::RunRetries)) && !Stage::Box(),
            u"The status bar says \"%1\" while the instrument is unplugged."_s.arg(stage.Message()));
    camera_.Take(u"23a-run-unplugged"_s, stage.Windows());

    stage.server.PlugIn();
    Await([&stage] { return Value(stage, Rows(stage.DataWindows().last())) != u"ERROR"; },
          u"The run does not find the instrument again."_s);
    RequirePort(stage, u"Port 1: simulated instrument"_s);
    const int found = Rows(stage.DataWindows().last());
    AwaitRows(stage, found + 2);
    RequireRowsEachSecond(stage, found);
    camera_.Take(u"23b-run-plugged-in-again"_s, stage.Windows());
    stage.Choose(u"mnuRealtime"_s, u"mnuRealtimeStop"_s);
    AwaitEndOfRun(stage);
    Require(stage.Message().contains(u"error rows"_s) && !stage.Message().contains(u"no error rows"_s),
            u"The status bar says \"%1\" after a run with gaps."_s.arg(stage.Message()));
    camera_.Take(u"23c-run-with-gaps-ended"_s, stage.Windows());
}

} // namespace px40
