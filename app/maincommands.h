#pragma once

#include "acquire/realtime.h"
#include "acquire/storeddata.h"
#include "app/commandrules.h"
#include "app/filecommands.h"
#include "app/forwarding.h"
#include "platform/prompts.h"

#include <QCoro/QCoroTask>
#include <QElapsedTimer>
#include <QObject>

#include <memory>
#include <optional>

namespace px40 {

class MainViews;
class ProgressView;
class Timer;
struct Services;

/// What the commands of the main window do, and which of them may be chosen: files, real-time receive, the
/// fetching of stored readings, forwarding, and leaving the program. Knows no window but through `MainViews`.
class MainCommands : public QObject
{
    Q_OBJECT

  public:
    /// `tmRealtime`: the clock of a run. All must outlive this, and this its jobs.
    MainCommands(Services &services, MainViews &views, ProgressView &progress, Timer &tmRealtime);

    /// A command that needs nothing but the active data window.
    void Run(Command command);

    const CommandRules &Rules() const { return rules_; }
    const Realtime &RealtimeRun() const { return realtime_; }
    FileCommands &Files() { return files_; }

    /// Windows have come, gone or changed places.
    void RefreshRules();
    void OpenRealtimeMenu();
    void AllowReceiving(bool allowed);

    /// A new, empty data set of that kind in a window of its own.
    std::shared_ptr<DataSet> AddDataSet(int kind);

    /// Asks about what is not saved and, unless the user cancels, ends all work. Refused while the link is in
    /// use.
    void Leave();

    /// The system wants the program to end: ends all work at once, and asks nothing. What is not saved comes
    /// back at the next start.
    void LeaveNow();
    /// How long the program may wait for the disk when it ends.
    int MsToLeave() const;

  Q_SIGNALS:
    void rulesChanged();
    void left();    ///< no job is left: the program may end
    void overdue(); ///< after `LeaveNow`: it must end, whatever is under way

  private:
    Situation Now() const;
    QCoro::Task<void> SaveActive(bool underNewName);
    QCoro::Task<bool> EnsurePort();
    QCoro::Task<void> Receive(StoredData::Mode mode);
    QCoro::Task<void> ReceiveAndForward(StoredData::Mode mode, std::optional<ForwardChoice> choice);
    QCoro::Task<bool> Download(StoredData::Mode mode, std::shared_ptr<DataSet> dataSet);
    QCoro::Task<void> ForwardActive();
    QCoro::Task<void> Start(std::shared_ptr<DataSet> dataSet);
    QCoro::Task<Answer> AskToStart();
    QCoro::Task<void> AskAndLeave();
    std::shared_ptr<DataSet> NextUnsaved(const QList<std::shared_ptr<DataSet>> &answered) const;
    void Go();

    void ShowRun(const RunProgress &progress);

    Services *services_;
    MainViews *views_;
    CommandRules rules_;
    FileCommands files_;
    Forwarding forwarding_;
    ProgressView *progress_;
    Realtime realtime_;
    // Of each: a question about it is open, or it waits for the link.
    bool receiving_ = false;
    bool forwardingActive_ = false;
    bool starting_ = false;
    bool leaving_ = false;
    QElapsedTimer leavingNow_; ///< since the system asked for it
};

} // namespace px40
