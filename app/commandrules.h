#pragma once

#include <array>
#include <cstddef>

namespace px40 {

/// Every command of the main window.
enum class Command {
    FileOpen,
    FileClose,
    FileSave,
    FileSaveAs,
    FileForward,
    FileExit,
    RealtimeNew,
    RealtimeStart,
    RealtimeStop,
    DataMemory,
    DataSave,
    SetupCommport,
    SetupInterval,
    SetupGraph,
    ViewToolbar,
    ViewStatusbar,
    ViewMoniter,
    ViewSource,
    HelpAbout,
};
constexpr std::size_t CommandCount = static_cast<std::size_t>(Command::HelpAbout) + 1;

/// Which commands are enabled in one place (the menus, or the tool bars).
class CommandStates
{
  public:
    CommandStates() { enabled_.fill(true); }

    bool IsEnabled(Command command) const { return enabled_.at(static_cast<std::size_t>(command)); }
    void Enable(Command command, bool enabled) { enabled_.at(static_cast<std::size_t>(command)) = enabled; }

  private:
    std::array<bool, CommandCount> enabled_;
};

/// What the rules look at.
struct ShellSituation
{
    int linkActivity = 7;
    bool anyDataWindow = false;
    int activeKind = 1; ///< kind code of the active data window; 1 when there is none
    bool realtimeRun = false;
};

/// The rules of the menus, applied when each opens (and whenever windows come, go or change places, for the
/// sake of the keyboard shortcuts). Items that a rule does not name keep their state.
void ApplyFileRules(const ShellSituation &situation, CommandStates *menus);
void ApplyRealtimeRules(const ShellSituation &situation, CommandStates *menus);
void ApplySetupRules(const ShellSituation &situation, CommandStates *menus);

/// What the instrument lets the user do: its state may rule out new real-time data sets and the fetching of
/// stored readings.
void ApplyStatusRules(bool enabled, CommandStates *menus, CommandStates *buttons);

/// What a real-time run takes over, to be laid over the other rules: while it is under way there is nothing
/// to start, and it alone can be stopped.
void OverlayRun(bool realtimeRun, CommandStates *states);

/// The buttons that act on a data window: enabled while one is active.
void ApplyDataWindowButtons(bool dataWindowActive, CommandStates *buttons);

/// The state of menus and buttons at the start of the program.
CommandStates InitialMenus();
CommandStates InitialButtons();

} // namespace px40
