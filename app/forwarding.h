#pragma once

#include "forward/forwardchoice.h"
#include "forward/forwarder.h"
#include "forward/rowforwarder.h"

#include <QCoro/QCoroTask>
#include <QObject>

#include <memory>
#include <optional>

namespace px40 {

class DataSet;
class MainViews;
class ProgressView;
struct Services;

/// Forwarding as the user's commands have it: what is asked before it, the work itself, and what the user
/// sees of it afterwards.
class Forwarding : public QObject
{
    Q_OBJECT

  public:
    /// All must outlive this and its jobs.
    Forwarding(Services &services, MainViews &views, ProgressView &progress);

    /// Shows the forward dialog, whose fields are remembered. Nothing when it is cancelled.
    QCoro::Task<std::optional<ForwardChoice>> Ask();

    /// Forwards a data set as the dialog was answered, tells how it went and opens the file if it is to be
    /// seen.
    QCoro::Task<void> Forward(std::shared_ptr<DataSet> dataSet, ForwardChoice choice);

    /// For a run: shows the dialog and asks what else is to be known. False when the user gives up.
    QCoro::Task<bool> AskForRun();

    /// Where a run's rows go after `AskForRun`.
    RowForwarder &Rows() { return rows_; }

    /// How the last run's forwarding ended; empty if there was none, and from the second call on.
    QString TakeRunOutcome() { return std::exchange(runOutcome_, QString()); }

  private:
    void OnRunClosed(const Result<ForwardOutcome> &outcome);
    /// Opens the file if it is to be seen, and tells the user if no program opens it.
    void ShowFile(const ForwardOutcome &outcome);

    Services *services_;
    MainViews *views_;
    Forwarder forwarder_;
    RowForwarder rows_;
    QString runOutcome_;
    QString told_; ///< the last message
};

} // namespace px40
