#include "tools/tour.h"

#include "document/frmdata.h"
#include "document/panelbar.h"
#include "resources/strings.h"
#include "tools/stage.h"

#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMdiArea>
#include <QMenu>
#include <QMessageBox>
#include <QPointer>
#include <QScreen>
#include <QTableView>

#include <cstdio>
#include <initializer_list>

using namespace Qt::Literals::StringLiterals;

namespace px40 {

namespace {

constexpr int StoredReadings = 50;
constexpr QSize RoomyWindow(1120, 720);

int Rows(const frmData *data)
{
    return data->Data()->GetDatacount();
}

void RequireText(const QString &what, const QString &is, const QString &wanted)
{
    Require(is == wanted, u"%1 is \"%2\" instead of \"%3\"."_s.arg(what, is, wanted));
}

QWidget *Splash()
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *const one : windows) {
        if (one->objectName() == "frmSplash"_L1 && one->isVisible())
            return one;
    }
    return nullptr;
}

void AwaitRows(Stage &stage, int rows)
{
    const frmData *const data = stage.DataWindows().last();
    Await([data, rows] { return Rows(data) >= rows; }, u"The %1. reading did not arrive."_s.arg(rows));
}

void AwaitIdle(Stage &stage)
{
    Await([&stage] { return stage.Idle(); }, u"The procedure under way did not end."_s);
}

/// Fifty readings in the table and the statistics below it.
void RequireWholeSet(const Stage &stage, const frmData *data)
{
    const auto *const table = stage.Find<QTableView>(u"fgData"_s, data);
    Require(table->isVisible(), u"The table of the finished download is hidden."_s);
    const int rows = table->model()->rowCount();
    Require(rows == StoredReadings && Rows(data) == rows,
            u"The finished download has %1 rows."_s.arg(table->model()->rowCount()));
    for (const auto &[bar, key] :
         {std::pair(u"stBar1", u"Max"), std::pair(u"stBar2", u"Min"), std::pair(u"stBar3", u"Avg")}) {
        const QString name = QString::fromUtf16(key);
        Require(!stage.Find<PanelBar>(QString::fromUtf16(bar), data)->PanelText(name).isEmpty(),
                u"The panel %1 is empty after a download."_s.arg(name));
    }
    RequireText(u"The status bar after a download"_s, stage.Message(), u"50 stored readings received."_s);
}

void RequirePort(const Stage &stage, const QString &wanted)
{
    RequireText(u"The port panel"_s, stage.PortPanel(), wanted);
}

} // namespace

bool Tour::Run()
{
    {
        Stage stage(Stage::Instrument::Unassigned);
        RunSteps(stage, {&Tour::FirstStart, &Tour::AssignDevice, &Tour::DeviceNotPlugged,
                         &Tour::LeaveWithoutQuestion});
    }
    {
        Stage stage(Stage::Instrument::Demo);
        RunSteps(stage, {&Tour::DemoStart, &Tour::Menus, &Tour::DemoPort, &Tour::CancelDownload,
                         &Tour::DownloadInSmallWindow, &Tour::Download, &Tour::RealtimeWindows,
                         &Tour::SilentInstrument, &Tour::Unplugged, &Tour::About, &Tour::LeaveWithQuestion});
    }
    return failures_ == 0;
}

void Tour::RunSteps(Stage &stage, std::initializer_list<Step> steps)
{
    for (const Step step : steps) {
        try {
            (this->*step)(stage);
        } catch (const TourError &error) {
            std::fprintf(stderr, "%s\n", error.what());
            ++failures_;
            stage.Settle();
        }
    }
}

/// A new user: nothing is known yet, so the first thing to be told is which device to use.
void Tour::FirstStart(Stage &stage)
{
    stage.Start(true);
    Await([] { return Splash() != nullptr; }, u"The splash window did not appear."_s);
    QWidget *const splash = Splash();
    const QPoint centre = splash->screen()->availableGeometry().center();
    const QPoint offset = splash->geometry().center() - centre;
    camera_.Take(u"01-splash"_s, {splash});
    Require(offset.manhattanLength() <= 2, u"The splash window does not stand in the middle."_s);

    QMessageBox *const box = stage.AwaitBox();
    RequireText(u"The first start's message"_s, box->text(), u"No device is assigned to port 1."_s);
    camera_.Take(u"05a-port-error-unassigned"_s, {stage.window.get(), box});
    stage.Answer(box, QMessageBox::Ok);
}

void Tour::AssignDevice(Stage &stage)
{
    QDialog *dialog = stage.AwaitDialog(u"frmPort"_s);
    const auto *const info = stage.Find<QLabel>(u"llDeviceInfo"_s, dialog);
    RequireText(u"The note in the port dialog"_s, info->text(), u"No device is assigned to this port."_s);
    camera_.Take(u"04a-port-dialog-unassigned"_s, {stage.window.get(), dialog});

    QTest::keyClicks(stage.Find<QComboBox>(u"cbDevice"_s, dialog)->lineEdit(), stage.Device());
    stage.ClickButton(dialog, u"btOk"_s);
    AwaitIdle(stage);
    RequirePort(stage, u"Port 1: "_s + stage.Device());

    stage.Choose(u"mnuSetup"_s, u"mnuSetupCommport"_s);
    dialog = stage.AwaitDialog(u"frmPort"_s);
    RequireText(u"The assigned device"_s, stage.Find<QComboBox>(u"cbDevice"_s, dialog)->currentText(),
                stage.Device());
    camera_.Take(u"04b-port-dialog-assigned"_s, {stage.window.get(), dialog});
}

void Tour::DeviceNotPlugged(Stage &stage)
{
    QDialog *const dialog = stage.AwaitDialog(u"frmPort"_s);
    auto *const ports = stage.Find<QComboBox>(u"cbPort"_s, dialog);
    QTest::keyClick(ports, Qt::Key_Down);
    RequireText(u"The port chosen by key"_s, ports->currentText(), u"2"_s);
    QTest::keyClicks(stage.Find<QComboBox>(u"cbDevice"_s, dialog)->lineEdit(), u"/dev/ttyUSB99"_s);
    camera_.Take(u"04c-port-dialog-unplugged-device"_s, {stage.window.get(), dialog});

    stage.ClickButton(dialog, u"btOk"_s);
    QMessageBox *const box = stage.AwaitBox();
    RequireText(u"The message for an absent device"_s, box->text(),
                u"The device of port 2 is not plugged in."_s);
    camera_.Take(u"05b-port-error-unplugged-device"_s, {stage.window.get(), dialog, box});
    stage.Answer(box, QMessageBox::Ok);
    stage.ClickButton(dialog, u"btCancel"_s);
    AwaitIdle(stage);
}

void Tour::LeaveWithoutQuestion(Stage &stage)
{
    stage.Choose(u"mnuFile"_s, u"mnuFileExit"_s);
    Await([&stage] { return stage.HasLeft(); }, u"The program did not end."_s);
}

void Tour::DemoStart(Stage &stage)
{
    stage.Start(false);
    Await([&stage] { return stage.services.comm.IsOpen() && stage.Idle(); }, u"The program did not start."_s);
    RequirePort(stage, u"Port 1: simulated instrument"_s);
    Require(stage.window->windowTitle().contains(u"DEMO"_s), u"The title does not tell the demo."_s);
    camera_.Take(u"02-main-window-empty"_s, {stage.window.get()});
}

void Tour::Menus(Stage &stage)
{
    char part = 'a';
    for (const char16_t *const name :
         {u"mnuFile", u"mnuRealtime", u"mnuData", u"mnuSetup", u"mnuView", u"mnuHelp"}) {
        const QString menuName = QString::fromUtf16(name);
        QMenu *const menu = stage.OpenMenu(menuName);
        camera_.Take(u"03%1-menu-%2"_s.arg(QLatin1Char(part++)).arg(menuName.mid(3).toLower()),
                     {stage.window.get(), menu});
        stage.CloseMenu(menu);
    }
}

void Tour::DemoPort(Stage &stage)
{
    stage.Choose(u"mnuSetup"_s, u"mnuSetupCommport"_s);
    QDialog *const dialog = stage.AwaitDialog(u"frmPort"_s);
    RequireText(u"The note in the demo's port dialog"_s,
                stage.Find<QLabel>(u"llDeviceInfo"_s, dialog)->text(),
                u"The simulated instrument of this demo."_s);
    camera_.Take(u"04d-port-dialog-simulated"_s, {stage.window.get(), dialog});
    stage.ClickButton(dialog, u"btCancel"_s);
    AwaitIdle(stage);
}

void Tour::CancelDownload(Stage &stage)
{
    stage.SetFault(u"silent-from=20"_s);
    stage.ClickTool(u"Mdata"_s);
    AwaitRows(stage, 17);
    QDialog *const progress = stage.ProgressDialog();
    stage.ClickButton(progress, u"btCancel"_s);
    RequireText(u"The progress dialog after Cancel"_s, stage.Find<QLabel>(u"llMsg"_s, progress)->text(),
                u"Canceling..."_s);
    camera_.Take(u"07a-download-canceling"_s, {stage.window.get(), progress});

    QMessageBox *const box = stage.AwaitBox();
    RequireText(u"The message of a cancelled download"_s, box->text(), QString());
    camera_.Take(u"07b-download-cancelled"_s, {stage.window.get(), box});
    stage.Answer(box, QMessageBox::Ok);
    AwaitIdle(stage);
    Require(Rows(stage.DataWindows().last()) == 17, u"The cancelled download lost readings."_s);
    stage.SetFault(u"none"_s);
    stage.DiscardActiveData();
}

/// The first download of a new user, in the main window as it comes.
void Tour::DownloadInSmallWindow(Stage &stage)
{
    stage.Choose(u"mnuData"_s, u"mnuDataMemory"_s);
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

void Tour::SilentInstrument(Stage &stage)
{
    stage.SetFault(u"silent-from=12"_s);
    stage.ClickTool(u"Mdata"_s);
    QMessageBox *const box = stage.AwaitBox();
    RequireText(u"The message of a silent instrument"_s, box->text(), u"Timeout error occurred."_s);
    camera_.Take(u"10-time-out"_s, {stage.window.get(), box});
    stage.Answer(box, QMessageBox::Ok);
    AwaitIdle(stage);
    Require(Rows(stage.DataWindows().last()) == 9, u"The timed-out download lost readings."_s);
    stage.SetFault(u"none"_s);
    stage.DiscardActiveData();
}

void Tour::Unplugged(Stage &stage)
{
    stage.SetFault(u"hang-up=28"_s);
    stage.ClickTool(u"Mdata"_s);
    QMessageBox *const box = stage.AwaitBox();
    RequireText(u"The message after unplugging"_s, box->text(),
                Text(Str::PortLost).replace(u"\r\n"_s, u"\n"_s));
    RequirePort(stage, u"Port 1: connection lost"_s);
    camera_.Take(u"11a-unplugged-half-way"_s, {stage.window.get(), box});
    stage.Answer(box, QMessageBox::Ok);
    AwaitIdle(stage);
    // A late reply owed by the silent instrument may have cost one command more.
    const int rows = Rows(stage.DataWindows().last());
    Require(rows == 25 || rows == 24, u"The unplugged download lost readings."_s);
    camera_.Take(u"11b-unplugged-status-bar"_s, {stage.window.get()});

    stage.SetFault(u"none"_s);
    stage.PlugIn();
    stage.Choose(u"mnuSetup"_s, u"mnuSetupCommport"_s);
    stage.ClickButton(stage.AwaitDialog(u"frmPort"_s), u"btOk"_s);
    AwaitIdle(stage);
    RequirePort(stage, u"Port 1: simulated instrument"_s);
    stage.ClickTool(u"Mdata"_s);
    AwaitIdle(stage);
    RequireWholeSet(stage, stage.DataWindows().last());
}

void Tour::About(Stage &stage)
{
    stage.Choose(u"mnuHelp"_s, u"mnuHelpAbout"_s);
    const QPointer<QDialog> about = stage.AwaitDialog(u"frmAbout"_s);
    camera_.Take(u"13-about"_s, {stage.window.get(), about});
    QTest::keyClick(about, Qt::Key_Escape);
    Await([about] { return !about; }, u"The About window did not close."_s);
}

void Tour::LeaveWithQuestion(Stage &stage)
{
    stage.window->close();
    QMessageBox *box = stage.AwaitBox();
    Require(box->text().startsWith(u"Do you want to save the changes you made to this file?"_s),
            u"Leaving with unsaved readings asks \"%1\"."_s.arg(box->text()));
    camera_.Take(u"12-unsaved-question"_s, {stage.window.get(), box});
    stage.Answer(box, QMessageBox::Cancel);
    AwaitIdle(stage);
    Require(stage.window->isVisible() && !stage.HasLeft(), u"Cancel did not keep the program open."_s);

    const qsizetype unsaved = stage.DataWindows().size();
    stage.window->close();
    for (qsizetype i = 0; i < unsaved; ++i)
        stage.Answer(stage.AwaitBox(), QMessageBox::No);
    Await([&stage] { return stage.HasLeft(); }, u"The program did not end after the questions."_s);
    Require(!stage.window->isVisible(), u"The main window stayed open."_s);
}

} // namespace px40
