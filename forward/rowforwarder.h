#pragma once

#include "document/rowforward.h"
#include "forward/datasetsource.h"
#include "forward/forwardsteps.h"
#include "forward/workbookplace.h"
#include "platform/timer.h"

#include <QCoro/QCoroTask>
#include <QObject>

#include <memory>
#include <optional>

namespace px40 {

class DataSet;

/// Forwards a data set while it grows: prepared, opened, row by row, closed. What the data set holds before
/// the run goes into the sheet as well, so that table, statistics and chart are those of one set. A
/// busy spreadsheet does not hold up the run: rows that it does not take now follow later. After a failure
/// the spreadsheet is given back to the user.
class RowForwarder : public QObject, public RowForward
{
    Q_OBJECT

  public:
    /// What `services` names must outlive this; it itself is copied.
    explicit RowForwarder(const ForwardServices &services);
    ~RowForwarder() override;

    /// Asks what must be known before a run. Fails when the user gives up.
    QCoro::Task<Result<>> Prepare(ForwardChoice choice);

    /// A sheet is being finished: nothing is to be prepared.
    bool IsClosing() const { return closing_; }

    QCoro::Task<Result<>> Open(std::shared_ptr<DataSet> dataSet) override;
    Result<Row> Write() override;
    /// Without a row no file is written.
    QCoro::Task<Result<>> Close() override;

  Q_SIGNALS:
    /// A sheet is finished, or could not be.
    void closed(const px40::Result<px40::ForwardOutcome> &outcome);

  private:
    QCoro::Task<Result<>> Begin();
    void WriteWaitingRows();
    void Retry();
    void Break(const Failure &failure);
    void GiveBack();
    void Release();
    QCoro::Task<Result<ForwardOutcome>> Finish();

    ForwardServices services_;
    ForwardChoice choice_;
    std::optional<Workbook> workbook_;
    std::shared_ptr<DataSet> data_;
    std::optional<DataSetSource> source_;
    std::optional<ForwardSteps> forward_; ///< none where a file is written without a spreadsheet
    Timer retry_;
    int wanted_ = 0; ///< rows that the sheet is to have by now
    std::optional<Failure> failure_;
    bool closing_ = false;
};

} // namespace px40
