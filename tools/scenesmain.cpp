// The start, the main window, downloads in all their ways and the windows that show them, the end.

#include "document/frmdata.h"
#include "tools/colours.h"
#include "tools/scenes.h"
#include "tools/stage.h"

#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QMdiArea>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace px40 {

namespace {

constexpr int StoredReadings = 50;
constexpr QSize RoomyWindow(1120, 720);
/// Where SOURCE covers nothing: beside MEASURE and a roomy main window.
constexpr QPoint FarRight(1280, 67);

QWidget *Splash()
{
    return OpenOne<QWidget>("frmSplash");
}

/// Begins a download that is not to be forwarded; a fault of the instrument counts from here on.
void BeginDownload(Stage &stage, const char *fault = "none")
{
    stage.Choose("Mdata");
    stage.Box();
    stage.Fault(fault);
    stage.Answer(u"No"_s);
}

void Download(Stage &stage)
{
    BeginDownload(stage);
    stage.Idle();
    stage.AwaitRows(StoredReadings);
}

void DiscardData(Stage &stage)
{
    stage.Choose("mnuFileClose");
    stage.Answer(u"No"_s);
    stage.Idle();
}

/// In the port dialog: that number, and that device for it where it is not the system that assigns them.
void ChooseDevice(Stage &stage, QDialog *dialog, int number, const QString &device)
{
    stage.Find<QComboBox>("cbPort", dialog)->setCurrentText(QString::number(number));
    if (PortMap::CanAssign())
        QTest::keyClicks(stage.Find<QComboBox>("cbDevice", dialog)->lineEdit(), device);
}

/// OK in the port dialog opens the port, and brings MEASURE and SOURCE back.
void OpenPort(Stage &stage)
{
    stage.See([&] {
        stage.CloseDialog(stage.Dialog("frmPort"), "btOk");
        stage.Idle();
        stage.Second();
    });
}

void Menus(Stage &stage)
{
    stage.StartUp(FarRight);
    stage.Take("02-main-window-empty");
    char part = 'a';
    for (const char *const name : {"mnuFile", "mnuRealtime", "mnuData", "mnuSetup", "mnuView", "mnuHelp"}) {
        const QByteArray picture = QByteArray("03") + part++ + "-menu-" + QByteArray(name).mid(3).toLower();
        stage.TakeMenu(picture.constData(), name);
    }
    stage.Choose("mnuSetupCommport");
    QDialog *const dialog = stage.Dialog("frmPort");
    stage.Take("04d-port-dialog-simulated", {dialog});
    stage.CloseDialog(dialog, "btCancel");
}

void CancelledDownload(Stage &stage)
{
    BeginDownload(stage, "silent-from=20");
    stage.AwaitRows(17);
    stage.Click("btCancel", stage.Cancel());
    stage.Take("07a-download-canceling", {stage.Cancel()});
    stage.Take("07b-download-cancelled", {stage.Box()});
    stage.Fault("none");
    stage.Dismiss();
    DiscardData(stage);
}

/// The first one of a new user, in the main window as it comes; then in one with more room.
void Downloads(Stage &stage)
{
    Download(stage);
    stage.Take("08c-download-finished-small");
    stage.Data()->showMaximized();
    stage.window->resize(stage.window->minimumSize());
    stage.Take("08d-download-finished-smallest");
    stage.Data()->showNormal();
    DiscardData(stage);
    stage.window->resize(RoomyWindow);
    BeginDownload(stage);
    stage.AwaitRows(StoredReadings / 2);
    stage.Take("06-download-in-progress", {stage.Cancel()});
    stage.Idle();
    stage.Take("08a-download-finished");
    stage.Data()->showMaximized();
    stage.Take("08b-download-finished-maximised");
    stage.Data()->showNormal();
}

void DataWindows(Stage &stage)
{
    stage.Choose("mnuRealtimeNew");
    stage.Take("09a-realtime-window-new");
    stage.Choose("New");
    stage.Take("09b-data-windows-cascaded");
    stage.Data()->close();
    stage.Wait([&] { return stage.DataWindows().size() == 2; });
    stage.SideBySide();
    stage.Take("09c-data-windows-side-by-side");
    stage.Data()->close();
    stage.Wait([&] { return stage.DataWindows().size() == 1; });
    DiscardData(stage);
}

/// Switched off half-way: the download tells it, and the next status check as well.
void SilentInstrument(Stage &stage)
{
    BeginDownload(stage, "silent-from=12");
    stage.Take("10a-time-out", {stage.Box()});
    stage.Dismiss();
    stage.BeginSecond();
    QMessageBox *const box = stage.Box();
    stage.Fade();
    stage.TakeAll("10b-no-answer", {box});
    stage.Dismiss();
    stage.Fault("none");
    DiscardData(stage);
    stage.Choose("mnuSetupCommport");
    OpenPort(stage);
    stage.TakeAll("10c-answers-again");
}

void Unplugged(Stage &stage)
{
    BeginDownload(stage, "hang-up=28");
    stage.Take("11a-unplugged-half-way", {stage.Box()});
    stage.Dismiss();
    stage.Fault("none");
    stage.BeginSecond();
    stage.Dismiss();
    stage.Take("11b-unplugged-status-bar");
    // Opened too early MEASURE stays empty, until OK in the port dialog finds the instrument.
    stage.Choose("mnuViewMoniter");
    stage.TakeAll("11c-unplugged-measure");
    stage.server.PlugIn();
    stage.Choose("mnuSetupCommport");
    OpenPort(stage);
    Download(stage);
}

void Leaving(Stage &stage)
{
    stage.Choose("mnuHelpAbout");
    QDialog *const about = stage.Dialog("frmAbout");
    stage.Take("13-about", {about});
    stage.Escape(about);
    stage.window->close();
    stage.Take("12-unsaved-question", {stage.Box()});
    for (qsizetype i = stage.DataWindows().size(); i > 0; --i)
        stage.Answer(u"No"_s);
    stage.Wait([&] { return stage.hasLeft; });
}

} // namespace

/// A new user: nothing is known yet, so the first thing to be told is which device to use.
void FirstStart(Stage &stage)
{
    stage.Begin(true);
    stage.Wait([] { return Splash() != nullptr; });
    stage.TakeOnly(u"01-splash"_s, {Splash()});
    stage.TakeAll("05a-port-error-unassigned", {stage.Box()});
    stage.Answer(u"OK"_s);
    QDialog *dialog = stage.Dialog("frmPort");
    stage.Take("04a-port-dialog-unassigned", {dialog});
    ChooseDevice(stage, dialog, 1, stage.Device());
    OpenPort(stage);
    stage.TakeAll("02a-first-start");

    stage.Choose("mnuViewSource");
    stage.Choose("mnuSetupCommport");
    dialog = stage.Dialog("frmPort");
    stage.Take("04b-port-dialog-assigned", {dialog});
    ChooseDevice(stage, dialog, stage.NoPort, u"/dev/ttyUSB99"_s);
    stage.Take("04c-port-dialog-unplugged-device", {dialog});
    stage.Click("btOk", dialog);
    stage.TakeAll("05b-port-error-unplugged-device", {dialog, stage.Box()});
    stage.Answer(u"OK"_s);
    stage.CloseDialog(dialog, "btCancel");
}

void MainWindow(Stage &stage)
{
    for (const auto scene :
         {Menus, CancelledDownload, Downloads, DataWindows, SilentInstrument, Unplugged, Leaving})
        scene(stage);
}

/// The desktop changes its colours while the program runs.
void OtherColours(Stage &stage)
{
    const QPalette before = QApplication::palette();
    const bool dark = before.color(QPalette::Window).lightness() < 128;
    StartWithReadings(stage);
    stage.Choose("mnuViewMoniter");
    stage.Choose("Source");
    stage.Second();
    stage.Moniter()->move(FarRight);
    stage.Source()->move(FarRight + QPoint(0, 320));
    stage.Set("SO1");
    QApplication::setPalette(dark ? LightColours() : DarkColours());
    stage.Idle();
    stage.TakeAll("31a-other-colours");
    stage.Choose("mnuFileClose");
    stage.Take("31b-other-colours-question", {stage.Box()});
    QApplication::setPalette(before);
    QCoreApplication::processEvents();
    stage.Take("31c-colours-again-question", {stage.Box()});
    stage.Answer(u"No"_s);
    stage.Idle();
    stage.TakeAll("31d-colours-again");
}

void StartWithReadings(Stage &stage)
{
    stage.StartUp(FarRight);
    stage.Choose("mnuViewMoniter");
    stage.Choose("Source");
    stage.window->resize(RoomyWindow);
    Download(stage);
}

} // namespace px40
