// Downloads in all their ways, and the windows that show them.

#include "tools/tour.h"

#include "document/frmdata.h"
#include "resources/strings.h"
#include "source/frmsource.h"
#include "tools/stage.h"
#include "tools/tourchecks.h"

#include <QLabel>
#include <QMdiArea>
#include <QMenu>
#include <QMessageBox>
#include <QTableView>

using namespace Qt::Literals::StringLiterals;

namespace px40 {

void Tour::CancelDownload(Stage &stage)
{
    stage.ClickTool(u"Mdata"_s);
    stage.DownloadOnly(u"silent-from=20"_s);
    AwaitRows(stage, 17);
    QDialog *const progress = stage.ProgressDialog();
    stage.ClickButton(progress, u"btCancel"_s);
    RequireText(u"The progress dialog after Cancel"_s, stage.Find<QLabel>(u"llMsg"_s, progress)->text(),
                u"Canceling..."_s);
    camera_.Take(u"07a-download-canceling"_s, {stage.window.get(), progress});

    QMessageBox *const box = stage.AwaitBox();
    RequireText(u"The message of a cancelled download"_s, box->text(), QString());
    camera_.Take(u"07b-download-cancelled"_s, {stage.window.get(), box});
    stage.SetFault(u"none"_s); // before the status check goes on
    stage.Answer(box, QMessageBox::Ok);
    AwaitIdle(stage);
    Require(Rows(stage.DataWindows().last()) == 17, u"The cancelled download lost readings."_s);
    stage.DiscardActiveData();
}

/// The first download of a new user, in the main window as it comes.
void Tour::DownloadInSmallWindow(Stage &stage)
{
    stage.Choose(u"mnuData"_s, u"mnuDataMemory"_s);
    stage.DownloadOnly();
    Await([&stage] { return !stage.DataWindows().isEmpty(); }, u"No data window opened."_s);
    AwaitIdle(stage);
    RequireWholeSet(stage, stage.DataWindows().last());
    camera_.Take(u"08c-download-finished-small"_s, {stage.window.get()});
    stage.DiscardActiveData();
}

void Tour::Download(Stage &stage)
{
    stage.window->resize(RoomyWindow);
    stage.ClickTool(u"Mdata"_s);
    stage.DownloadOnly();
    AwaitRows(stage, StoredReadings / 2);
    const QDialog *const progress = stage.ProgressDialog();
    Require(progress->isVisible(), u"There is no progress dialog beside the download."_s);
    Require(!stage.Find<QMenu>(u"mnuFile"_s)->isEnabled() && !stage.DataWindows().last()->isEnabled(),
            u"The program is not disabled during a download."_s);
    camera_.Take(u"06-download-in-progress"_s, {stage.window.get(), stage.ProgressDialog()});
    AwaitIdle(stage);

    frmData *const data = stage.DataWindows().last();
    RequireWholeSet(stage, data);
    camera_.Take(u"08a-download-finished"_s, {stage.window.get()});
    data->showMaximized();
    Require(data->isMaximized(), u"The data window was not maximised."_s);
    camera_.Take(u"08b-download-finished-maximised"_s, {stage.window.get()});
    data->showNormal();
}

void Tour::RealtimeWindows(Stage &stage)
{
    stage.Choose(u"mnuRealtime"_s, u"mnuRealtimeNew"_s);
    Require(stage.DataWindows().size() == 2, u"No real-time window opened."_s);
    const auto *const table = stage.Find<QTableView>(u"fgData"_s, stage.DataWindows().last());
    RequireText(u"The second heading of a real-time window"_s,
                table->model()->headerData(1, Qt::Horizontal).toString(), u"TIME"_s);
    camera_.Take(u"09a-realtime-window-new"_s, {stage.window.get()});

    stage.ClickTool(u"New"_s);
    Require(stage.DataWindows().size() == 3, u"No second real-time window opened."_s);
    camera_.Take(u"09b-data-windows-cascaded"_s, {stage.window.get()});
    stage.DataWindows().last()->close();
    Await([&stage] { return stage.DataWindows().size() == 2; }, u"The empty window did not close."_s);

    // As dragged by their frames.
    const QRect room = stage.Workspace()->viewport()->rect();
    const QList<frmData *> pair = stage.DataWindows();
    const QRect left(room.topLeft(), QSize(room.width() / 2, room.height()));
    pair.first()->setGeometry(left);
    pair.last()->setGeometry(left.translated(left.width(), 0));
    camera_.Take(u"09c-data-windows-side-by-side"_s, {stage.window.get()});
    pair.last()->close();
    stage.DiscardActiveData();
}

/// Switched off half-way: the download tells it, and the next status check as well.
void Tour::SilentInstrument(Stage &stage)
{
    stage.ClickTool(u"Mdata"_s);
    stage.DownloadOnly(u"silent-from=12"_s);
    QMessageBox *box = stage.AwaitBox();
    RequireText(u"The message of a silent instrument"_s, box->text(), u"Timeout error occurred."_s);
    camera_.Take(u"10a-time-out"_s, {stage.window.get(), box});
    stage.Answer(box, QMessageBox::Ok);
    Require(Rows(stage.DataWindows().last()) == 9, u"The timed-out download lost readings."_s);
    box = AwaitNoAnswer(stage);
    camera_.Take(u"10b-no-answer"_s, stage.Windows({box}));
    stage.Answer(box, QMessageBox::Ok);
    RequireCheckEnded(stage);

    // Both come back with OK in the port dialog.
    stage.SetFault(u"none"_s);
    stage.DiscardActiveData();
    stage.Choose(u"mnuSetup"_s, u"mnuSetupCommport"_s);
    stage.ClickButton(stage.AwaitDialog(u"frmPort"_s), u"btOk"_s);
    AwaitReading(stage);
    AwaitSource(stage, u"0100.0 imUnit0 K SOURCE OFF RJON IPTS-68"_s);
    RequireSourceChecked(stage, true);
    camera_.Take(u"10c-answers-again"_s, stage.Windows());
}

void Tour::Unplugged(Stage &stage)
{
    stage.ClickTool(u"Mdata"_s);
    stage.DownloadOnly(u"hang-up=28"_s);
    QMessageBox *box = stage.AwaitBox();
    RequireText(u"The message after unplugging"_s, box->text(),
                Text(Str::PortLost).replace(u"\r\n"_s, u"\n"_s));
    RequirePort(stage, u"Port 1: connection lost"_s);
    camera_.Take(u"11a-unplugged-half-way"_s, {stage.window.get(), box});
    stage.Answer(box, QMessageBox::Ok);
    Require(Rows(stage.DataWindows().last()) == 25, u"The unplugged download lost readings."_s);
    stage.SetFault(u"none"_s);
    stage.Answer(AwaitNoAnswer(stage), QMessageBox::Ok);
    RequireCheckEnded(stage);
    camera_.Take(u"11b-unplugged-status-bar"_s, {stage.window.get()});

    // Opened too early MEASURE stays empty, until OK in the port dialog finds the instrument.
    stage.Choose(u"mnuView"_s, u"mnuViewMoniter"_s);
    Require(stage.Moniter() && !stage.window->tmCheckStat.Enabled(),
            u"An unplugged instrument is asked for its status."_s);
    camera_.Take(u"11c-unplugged-measure"_s, stage.Windows());
    stage.server.PlugIn();
    stage.Choose(u"mnuSetup"_s, u"mnuSetupCommport"_s);
    stage.ClickButton(stage.AwaitDialog(u"frmPort"_s), u"btOk"_s);
    AwaitIdle(stage);
    RequirePort(stage, u"Port 1: simulated instrument"_s);
    AwaitReading(stage);
    Require(stage.Source(), u"SOURCE does not come back with the instrument."_s);
    stage.ClickTool(u"Mdata"_s);
    stage.DownloadOnly();
    AwaitIdle(stage);
    RequireWholeSet(stage, stage.DataWindows().last());
}

} // namespace px40
