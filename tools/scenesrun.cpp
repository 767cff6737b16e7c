// Real-time receive: the interval set up, runs that end in each of their ways, their readings kept.

#include "tools/scenes.h"
#include "tools/stage.h"

#include <QDialog>
#include <QMenu>
#include <QTest>

using namespace Qt::Literals::StringLiterals;

namespace px40 {

namespace {

/// Presses Start and lets so many seconds pass.
void BeginRun(Stage &stage, int seconds)
{
    stage.ClickTool("Start");
    stage.Answer(QMessageBox::No);
    stage.Idle();
    for (int second = 0; second < seconds; ++second)
        stage.Second();
}

void AwaitEnd(Stage &stage)
{
    stage.SecondsUntil([&] { return !stage.Action("Stop")->isEnabled(); }, u"The run does not end."_s);
}

} // namespace

void Run(Stage &stage)
{
    stage.ClickTool("New");
    stage.ClickTool("Interval");
    QDialog *dialog = stage.Dialog("frmInterval");
    stage.TakeAll("21a-interval-new", {dialog});
    stage.Type("tbIsec", u"60"_s, dialog);
    stage.Click("btOk", dialog);
    stage.TakeAll("21b-interval-illegal", {dialog, stage.Box()});
    stage.Answer(QMessageBox::Ok);
    stage.Idle();
    stage.Type("tbIsec", u"1"_s, dialog);
    stage.Type("tbPsec", u"10"_s, dialog);
    stage.TakeAll("21c-interval-entered", {dialog});
    stage.CloseDialog(dialog, "btOk");

    stage.ClickTool("Start");
    stage.TakeAll("22a-run-question", {stage.Box()});
    stage.Answer(QMessageBox::No);
    stage.Idle();
    stage.SecondsUntil([&] { return stage.Rows() == 5; }, u"No rows come."_s);
    stage.TakeAll("22b-run-in-the-middle");
    QMenu *const menu = stage.OpenMenu("mnuRealtime");
    stage.Take("22c-run-menu", {menu});
    stage.CloseMenu(menu);
    stage.Send([&] { stage.Click("btSrcOnOff", stage.Source()); }); // each row shows it from now on
    stage.Second();
    stage.Second();
    stage.TakeAll("22b-run-with-source");
    stage.Choose("mnuFile", "mnuFileExit");
    stage.Take("22d-run-holds-windows");
    AwaitEnd(stage);
    stage.TakeAll("22e-run-ended");

    stage.Choose("mnuSetup", "mnuSetupInterval");
    dialog = stage.Dialog("frmInterval");
    stage.TakeAll("21d-interval-with-readings", {dialog});
    stage.Click("obNone", dialog);
    stage.CloseDialog(dialog, "btOk");

    // A second run into the same window goes on below the rows of the first.
    BeginRun(stage, 4);
    stage.ClickTool("Stop");
    stage.TakeAll("22f-run-stopping");
    AwaitEnd(stage);
    stage.TakeAll("22g-run-stopped");
    stage.ClickTool("Save");
    stage.ChooseFile(Stage::Document(u"run 1.CSV"_s));
    stage.Idle();
    stage.Choose("mnuFile", "mnuFileClose");
    stage.Open(Stage::Document(u"run 1.CSV"_s));
    stage.TakeAll("22h-run-opened-again");
}

/// Unplugged and plugged in again: the run goes on by itself.
void RunInGaps(Stage &stage)
{
    BeginRun(stage, 2);
    stage.server.HangUp();
    stage.Wait([&] { return !stage.services.comm.IsOpen(); }, u"The port is not lost."_s);
    for (int second = 0; second < 3; ++second)
        stage.Second();
    stage.Fade();
    stage.TakeAll("23a-run-unplugged");
    stage.server.PlugIn();
    for (int second = 0; second < 4; ++second)
        stage.Second();
    stage.TakeAll("23b-run-plugged-in-again");
    stage.Choose("mnuRealtime", "mnuRealtimeStop");
    AwaitEnd(stage);
    stage.TakeAll("23c-run-with-gaps-ended");
}

} // namespace px40
