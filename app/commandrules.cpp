#include "app/commandrules.h"

#include "document/dataset.h"
#include "link/linkstate.h"

#include <initializer_list>

namespace px40 {

namespace {

template <typename States>
void Enable(States *states, std::initializer_list<Command> commands, bool enabled)
{
    for (const Command command : commands)
        states->set(static_cast<std::size_t>(command), enabled);
}

} // namespace

CommandRules::CommandRules()
{
    items_.set();
    buttons_.set();
    Refresh(Situation());
    OpenRealtimeMenu(Situation());
}

void CommandRules::Refresh(const Situation &situation)
{
    const bool window = situation.anyDataWindow;
    const bool realtime = window && situation.activeKind == KindRealtime;
    const bool memory = window && situation.activeKind == KindMemory;
    realtimeRun_ = situation.realtimeRun;
    Enable(&items_, {Command::FileClose, Command::FileSave, Command::FileSaveAs, Command::FileForward},
           window && IsFileKind(situation.activeKind));
    ApplyRealtime(situation);
    Enable(&items_, {Command::SetupInterval}, realtime);
    Enable(&items_, {Command::SetupGraph}, realtime || memory);
    Enable(&buttons_,
           {Command::FileSave, Command::FileForward, Command::RealtimeStart, Command::SetupInterval,
            Command::SetupGraph},
           window && situation.activeKind != KindUnknown);
}

void CommandRules::OpenRealtimeMenu(const Situation &situation)
{
    if (situation.linkActivity == ActivityIdle && !situation.realtimeRun)
        Enable(&items_, {Command::RealtimeNew}, true);
    ApplyRealtime(situation);
}

void CommandRules::ApplyRealtime(const Situation &situation)
{
    if (situation.linkActivity == ActivityIdle && !situation.realtimeRun)
        Enable(&items_, {Command::RealtimeStart},
               situation.anyDataWindow && situation.activeKind == KindRealtime);
}

void CommandRules::AllowReceiving(bool allowed)
{
    for (States *const states : {&items_, &buttons_})
        Enable(states, {Command::RealtimeNew, Command::DataMemory}, allowed);
}

/// During a run nothing can be started, and only a run can be stopped.
bool CommandRules::IsEnabled(const States &states, Command command) const
{
    switch (command) {
    case Command::RealtimeStop:
        return realtimeRun_;
    case Command::RealtimeNew:
    case Command::RealtimeStart:
    case Command::DataMemory:
    case Command::DataSave:
        return !realtimeRun_ && states.test(static_cast<std::size_t>(command));
    default:
        return states.test(static_cast<std::size_t>(command));
    }
}

} // namespace px40
