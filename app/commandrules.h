#pragma once

#include <bitset>
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
    HelpContents,
    HelpAbout,
};
constexpr std::size_t CommandCount = static_cast<std::size_t>(Command::HelpAbout) + 1;

/// What the rules look at.
struct Situation
{
    int linkActivity = 7;
    bool anyDataWindow = false;
    int activeKind = 1; ///< kind code of the active data window; 1 when there is none
    bool realtimeRun = false;
};

/// Which commands are enabled, as menu items and, told apart from these, as tool bar buttons. What a rule
/// does not name stays as it was.
class CommandRules
{
  public:
    CommandRules();

    bool IsItemEnabled(Command command) const { return IsEnabled(items_, command); }
    bool IsButtonEnabled(Command command) const { return IsEnabled(buttons_, command); }

    /// Windows have come, gone or changed places, or a run has begun or ended.
    void Refresh(const Situation &situation);

    /// The menu of real-time receive is opened.
    void OpenRealtimeMenu(const Situation &situation);

    /// What the instrument's state says: it may rule out new real-time data sets and the fetching of stored
    /// readings.
    void AllowReceiving(bool allowed);

  private:
    using States = std::bitset<CommandCount>;
    bool IsEnabled(const States &states, Command command) const;
    void ApplyRealtime(const Situation &situation);

    States items_;
    States buttons_;
    bool realtimeRun_ = false;
};

} // namespace px40
