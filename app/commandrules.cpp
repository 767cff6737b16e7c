#include "app/commandrules.h"

#include "document/dataset.h"
#include "link/linkstate.h"

namespace px40 {

void ApplyFileRules(const ShellSituation &situation, CommandStates *menus)
{
    const bool enabled = situation.anyDataWindow && IsFileKind(situation.activeKind);
    for (const Command command :
         {Command::FileClose, Command::FileSave, Command::FileSaveAs, Command::FileForward})
        menus->Enable(command, enabled);
}

void ApplyRealtimeRules(const ShellSituation &situation, CommandStates *menus)
{
    if (situation.linkActivity != ActivityIdle || situation.realtimeRun)
        return;
    menus->Enable(Command::RealtimeNew, true);
    menus->Enable(Command::RealtimeStart, situation.anyDataWindow && situation.activeKind == KindRealtime);
    menus->Enable(Command::RealtimeStop, false);
}

void ApplySetupRules(const ShellSituation &situation, CommandStates *menus)
{
    const bool realtime = situation.anyDataWindow && situation.activeKind == KindRealtime;
    const bool memory = situation.anyDataWindow && situation.activeKind == KindMemory;
    menus->Enable(Command::SetupInterval, realtime);
    menus->Enable(Command::SetupGraph, realtime || memory);
}

void ApplyStatusRules(bool enabled, CommandStates *menus, CommandStates *buttons)
{
    for (const Command command : {Command::RealtimeNew, Command::DataMemory}) {
        menus->Enable(command, enabled);
        buttons->Enable(command, enabled);
    }
}

void OverlayRun(bool realtimeRun, CommandStates *states)
{
    states->Enable(Command::RealtimeStop, realtimeRun);
    if (!realtimeRun)
        return;
    for (const Command command :
         {Command::RealtimeNew, Command::RealtimeStart, Command::DataMemory, Command::DataSave})
        states->Enable(command, false);
}

void ApplyDataWindowButtons(bool dataWindowActive, CommandStates *buttons)
{
    for (const Command command : {Command::FileSave, Command::FileForward, Command::RealtimeStart,
                                  Command::SetupInterval, Command::SetupGraph})
        buttons->Enable(command, dataWindowActive);
}

CommandStates InitialMenus()
{
    const ShellSituation atStart;
    CommandStates menus;
    ApplyFileRules(atStart, &menus);
    ApplyRealtimeRules(atStart, &menus);
    ApplySetupRules(atStart, &menus);
    return menus;
}

CommandStates InitialButtons()
{
    CommandStates buttons;
    ApplyDataWindowButtons(false, &buttons);
    buttons.Enable(Command::RealtimeStop, false);
    return buttons;
}

} // namespace px40
