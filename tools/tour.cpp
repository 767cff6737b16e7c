#include "tools/tour.h"

#include "source/frmsource.h"
#include "tools/stage.h"
#include "tools/tourchecks.h"

#include <QApplication>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QMessageBox>
#include <QPointer>
#include <QScreen>

#include <cstdio>
#include <initializer_list>

using namespace Qt::Literals::StringLiterals;

namespace px40 {

namespace {

/// 1600 twips below the top of the screen, at its left edge.
constexpr QPoint FirstSourcePlace(0, 107);
/// Beside MEASURE and a roomy main window.
constexpr QPoint FarRight(1280, 67);

QWidget *Splash()
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *const one : windows) {
        if (one->objectName() == "frmSplash"_L1 && one->isVisible())
            return one;
    }
    return nullptr;
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
    {
        Stage stage(Stage::Instrument::Demo);
        RunSteps(stage, {&Tour::StartWithReadings, &Tour::HoverGraph, &Tour::GraphSetup, &Tour::ScrollGraph,
                         &Tour::GraphValueAxis, &Tour::ZoomGraph, &Tour::CopyTable, &Tour::CopyGraph,
                         &Tour::SaveGraph});
    }
    {
        Stage stage(Stage::Instrument::Demo);
        RunSteps(stage, {&Tour::StartWithReadings, &Tour::SaveReadings, &Tour::SaveOverReadOnly,
                         &Tour::SaveOverAnother, &Tour::OpenReadings, &Tour::OpenAnotherType,
                         &Tour::CloseAndSave, &Tour::LeaveWithoutQuestion});
    }
    {
        Stage stage(Stage::Instrument::Demo);
        RunSteps(stage, {&Tour::StartLive, &Tour::MeasureRanges, &Tour::MeasureStates, &Tour::MeasureButton,
                         &Tour::MeasureSourceMode, &Tour::MeasureSizes, &Tour::PrinterMode});
    }
    {
        Stage stage(Stage::Instrument::Demo);
        RunSteps(stage, {&Tour::StartSource, &Tour::SourceRanges, &Tour::SourceStates, &Tour::SourceDigits,
                         &Tour::SourceRatio, &Tour::SourceValue, &Tour::SourceValueRefused,
                         &Tour::SourceClosedMeanwhile, &Tour::SourceThermocouples, &Tour::SourcePulses});
    }
    {
        Stage stage(Stage::Instrument::Demo);
        RunSteps(stage, {&Tour::StartLive, &Tour::IntervalOfNewSet, &Tour::StartRun, &Tour::SourceDuringRun,
                         &Tour::RunHoldsWindows, &Tour::EndOfPeriod, &Tour::IntervalWithReadings,
                         &Tour::StopRun, &Tour::SaveRun, &Tour::UnplugRun});
    }
    {
        Stage stage(Stage::Instrument::Demo);
        RunSteps(stage, {&Tour::StartWithReadings, &Tour::ForwardQuestion, &Tour::ForwardDownload,
                         &Tour::ForwardRefusals, &Tour::ForwardToSameBook, &Tour::ForwardToHeldBook,
                         &Tour::ForwardManyRows});
    }
    {
        Stage stage(Stage::Instrument::Demo);
        RunSteps(stage, {&Tour::StartLive, &Tour::ForwardRun, &Tour::ForwardRunInVain, &Tour::DrawWorkbooks});
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
    camera_.Take(u"05a-port-error-unassigned"_s, stage.Windows({box}));
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
    AwaitReading(stage);
    AwaitSource(stage, u"0100.0 imUnit0 K SOURCE OFF RJON IPTS-68"_s);
    RequireSourceChecked(stage, true);
    const QPoint place = stage.Source()->geometry().topLeft();
    Require((place - FirstSourcePlace).manhattanLength() <= 8, // a frame may need room
            u"SOURCE opens for the first time at %1, %2."_s.arg(place.x()).arg(place.y()));
    camera_.Take(u"02a-first-start"_s, stage.Windows());
    stage.Choose(u"mnuView"_s, u"mnuViewSource"_s);
    Require(!stage.Source(), u"The View menu does not close SOURCE."_s);
    RequireSourceChecked(stage, false);

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
                u"There is no device /dev/ttyUSB99.\n"
                u"Settings, Communications Port lists the devices that are plugged in."_s);
    camera_.Take(u"05b-port-error-unplugged-device"_s, stage.Windows({dialog, box}));
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
    stage.KeepSourcePlace(FarRight);
    stage.Start(false);
    Await([&stage] { return stage.services.comm.IsOpen() && stage.Idle(); }, u"The program did not start."_s);
    RequirePort(stage, u"Port 1: simulated instrument"_s);
    AwaitReading(stage);
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
