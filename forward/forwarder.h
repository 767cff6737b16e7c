#pragma once

#include "forward/forwardoutcome.h"
#include "forward/workbookplace.h"

#include <QCoro/QCoroTask>
#include <QString>

#include <memory>

namespace px40 {

class DataSet;
class LinkGate;
class ProgressView;
class WholeForward;

/// Forwards finished data sets in one go, behind the progress dialog, whose Cancel ends it. The program lives
/// meanwhile. Why one failed or was cancelled is told to the user in one box.
class Forwarder
{
  public:
    /// Everything handed in must outlive the forwardings.
    Forwarder(const ForwardServices &services, LinkGate &gate, ProgressView &progress);

    /// One at a time: while it is under way `ForwardRun` is set. Leaves the data set as it is.
    QCoro::Task<ForwardOutcome> ForwardData(std::shared_ptr<DataSet> dataSet, ForwardChoice choice);

  private:
    QCoro::Task<bool> Write(std::shared_ptr<DataSet> dataSet, Workbook workbook, QString title);
    QCoro::Task<bool> MakeSheet(std::shared_ptr<DataSet> dataSet, Workbook workbook, QString title);
    QCoro::Task<bool> TakeSteps(WholeForward *forward, int rows);

    ForwardServices services_;
    LinkGate *gate_;
    ProgressView *progress_;
};

} // namespace px40
