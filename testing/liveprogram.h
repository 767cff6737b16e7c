#pragma once

#include "acquire/frmmoniter.h"
#include "source/frmsource.h"
#include "testing/heldclock.h"
#include "testing/program.h"

#include <QLabel>

namespace px40 {

struct ProgramClock
{
    HeldClock clock;
};

/// The whole program after its start and a first status, with a clock that stands still.
struct LiveProgram : ProgramClock, StartedProgram
{
    LiveProgram() : StartedProgram(&clock) { Require(Check(), u"The first status check does not end."_qs); }
    ~LiveProgram()
    {
        if (services.state.RealtimeRun && Do("Stop"))
            PassSecond();
    }

    bool Check() const
    {
        Q_EMIT window->tmCheckStat.tick();
        return NoJobLeft();
    }

    bool PassSecond()
    {
        clock.Advance(1000);
        Q_EMIT window->tmRealtime.tick();
        return NoJobLeft();
    }

    /// Presses Start and answers the question about forwarding.
    bool Start(Answer forward)
    {
        prompts.answers = {forward};
        return Do("Start");
    }

    bool Unplug()
    {
        server.HangUp();
        return WaitUntil([this] { return !services.comm.IsOpen(); });
    }

    /// What can be done about runs and MEMORY mode, as button or menu item.
    QString Runnable() const
    {
        QStringList enabled;
        for (const char *const name : {"New", "mnuRealtimeNew", "Start", "mnuRealtimeStart", "Mdata",
                                       "mnuDataMemory", "Stop", "mnuRealtimeStop"}) {
            if (Action(name)->isEnabled())
                enabled << QString::fromLatin1(name);
        }
        return enabled.join(u' ');
    }

    frmMoniter *Moniter() const { return window->findChild<frmMoniter *>(); }
    QString Value() const { return Moniter()->findChild<QLabel *>(u"llValue"_qs)->text(); }
    bool MoniterChecked() const
    {
        return Action("mnuViewMoniter")->isChecked() && Action("Moniter")->isChecked();
    }
    frmSource *Source() const { return window->findChild<frmSource *>(); }
    /// Text of one of the SOURCE window's labels.
    QString Shown(const char *label) const
    {
        return Source()->findChild<QLabel *>(QLatin1StringView(label))->text();
    }
    bool SourceChecked() const
    {
        return Action("mnuViewSource")->isChecked() && Action("Source")->isChecked();
    }
};

} // namespace px40
