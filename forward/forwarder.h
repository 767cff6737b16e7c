#pragma once

#include "forward/sheettarget.h"
#include "forward/workbookplace.h"

#include <QCoro/QCoroTask>
#include <QString>

#include <memory>

namespace px40 {

class DataSet;
class DataSetSource;
class ForwardSteps;
class LinkGate;
class ProgressView;

/// Forwards finished data sets in one go, behind the progress dialog, whose Cancel ends it. The program lives
/// meanwhile. The dialog goes before a spreadsheet is shown again, and that is shown before the user is told
/// why it failed or was cancelled.
class Forwarder
{
  public:
    /// Everything handed in must outlive the forwardings.
    Forwarder(const ForwardServices &services, LinkGate &gate, ProgressView &progress);

    /// One at a time: while it is under way `ForwardRun` is set. Leaves the data set as it is. The user has
    /// been told of a failure.
    QCoro::Task<Result<ForwardOutcome>> ForwardData(std::shared_ptr<DataSet> dataSet, ForwardChoice choice);

  private:
    QCoro::Task<Result<QString>> Write(std::shared_ptr<const DataSetSource> source, ForwardSteps *forward,
                                       WorkbookFile file);
    Result<SheetStep> Step(ForwardSteps *forward, int rows);
    QCoro::Task<void> ShowSpreadsheet(ForwardSteps *forward);
    QCoro::Task<void> TellFailure(QString text);

    ForwardServices services_;
    LinkGate *gate_;
    ProgressView *progress_;
};

} // namespace px40
