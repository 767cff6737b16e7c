// Real-time receive: the interval set up, runs that end in each of their ways, their readings kept.

#include "tools/scenes.h"
#include "tools/stage.h"

#include <QDialog>

using namespace Qt::Literals::StringLiterals;

namespace px40 {

namespace {

/// Presses Start and lets so many seconds pass.
void BeginRun(Stage &stage, int seconds)
{
    stage.Choose("Start");
    stage.Answer(u"No"_s);
    stage.Idle();
    stage.Seconds(seconds);
}

void AwaitEnd(Stage &stage)
{
    stage.SecondsUntil([&] { return !stage.Action("Stop")->isEnabled(); });
}

} // namespace

void Runs(Stage &stage)
{
    stage.StartUp();
    stage.Choose("New");
    stage.Choose("Interval");
    QDialog *dialog = stage.Dialog("frmInterval");
    stage.TakeAll("21a-interval-new", {dialog});
    stage.Type(dialog, {{"tbIsec", u"60"_s}});
    stage.Click("btOk", dialog);
    stage.TakeAll("21b-interval-illegal", {dialog, stage.Box()});
    stage.Dismiss();
    stage.Type(dialog, {{"tbIsec", u"1"_s}, {"tbPsec", u"10"_s}});
    stage.TakeAll("21c-interval-entered", {dialog});
    stage.CloseDialog(dialog, "btOk");

    stage.Choose("Start");
    stage.TakeAll("22a-run-question", {stage.Box()});
    stage.Answer(u"No"_s);
    stage.Idle();
    stage.SecondsUntil([&] { return stage.Rows() == 5; });
    stage.TakeAll("22b-run-in-the-middle");
    stage.TakeMenu("22c-run-menu", "mnuRealtime");
    stage.Send([&] { stage.Click("btSrcOnOff", stage.Source()); }); // each row shows it from now on
    stage.Seconds(2);
    stage.TakeAll("22b-run-with-source");
    stage.Choose("mnuFileExit");
    stage.Take("22d-run-holds-windows");
    AwaitEnd(stage);
    stage.TakeAll("22e-run-ended");

    stage.Choose("mnuSetupInterval");
    dialog = stage.Dialog("frmInterval");
    stage.TakeAll("21d-interval-with-readings", {dialog});
    stage.Click("obNone", dialog);
    stage.CloseDialog(dialog, "btOk");

    // A second run into the same window goes on below the rows of the first.
    BeginRun(stage, 4);
    stage.Choose("Stop");
    stage.TakeAll("22f-run-stopping");
    AwaitEnd(stage);
    stage.TakeAll("22g-run-stopped");
    stage.Choose("Save");
    stage.ChooseFile(Stage::Document(u"run 1.CSV"_s));
    stage.Idle();
    stage.Choose("mnuFileClose");
    stage.Open(Stage::Document(u"run 1.CSV"_s));
    stage.TakeAll("22h-run-opened-again");

    // Unplugged and plugged in again: the run goes on by itself.
    BeginRun(stage, 2);
    stage.server.HangUp();
    stage.Wait([&] { return !stage.services.comm.IsOpen(); });
    stage.Seconds(3);
    stage.Fade();
    stage.TakeAll("23a-run-unplugged");
    stage.server.PlugIn();
    stage.Seconds(4);
    stage.TakeAll("23b-run-plugged-in-again");
    stage.Choose("mnuRealtimeStop");
    AwaitEnd(stage);
    stage.TakeAll("23c-run-with-gaps-ended");
}

} // namespace px40
