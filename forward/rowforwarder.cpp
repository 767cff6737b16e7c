#include "forward/rowforwarder.h"

#include "document/dataset.h"
#include "forward/sheetlayout.h"
#include "forward/spreadsheet.h"
#include "link/linkstate.h"
#include "platform/waiting.h"
#include "resources/strings.h"

#include <QElapsedTimer>
#include <QScopedValueRollback>

#include <algorithm>
#include <exception>

namespace px40 {

RowForwarder::RowForwarder(const ForwardServices &services) : services_(services)
{
    connect(&retry_, &Timer::tick, this, &RowForwarder::Retry);
}

RowForwarder::~RowForwarder() = default;

QCoro::Task<Result<>> RowForwarder::Prepare(ForwardChoice choice)
{
    while (forward_ && forward_->IsCalling()) // it is still being given back
        co_await Delay(BusySpreadsheetMs);
    if (failure_ && forward_)
        GiveBack();
    Release();
    choice_ = choice;
    const Result<Workbook> workbook = co_await ChooseWorkbook(&services_, choice);
    if (!workbook)
        co_return Fail(workbook.error());
    workbook_ = *workbook;
    co_return Result<>();
}

QCoro::Task<Result<>> RowForwarder::Open(std::shared_ptr<DataSet> dataSet)
{
    if (!workbook_)
        co_return Fail({}, FailureCode::Cancelled);
    failure_.reset();
    wanted_ = 0;
    data_ = dataSet;
    forward_.reset();
    source_.emplace(dataSet, choice_.title);
    const Result<> begun = co_await Begin();
    if (!begun)
        Break(begun.error());
    co_return begun;
}

/// Checks a workbook file, or begins the sheet in the spreadsheet.
QCoro::Task<Result<>> RowForwarder::Begin()
{
    const WorkbookFile &file = workbook_->file;
    if (!workbook_->program)
        co_return file.isNew ? Result<>() : CheckExistingWorkbook(file.name);
    forward_.emplace(ForwardSteps::Kind::Growing, *workbook_->program, *source_, file.name.toStdString());
    const std::function<Result<SheetStep>()> step = [this]() -> Result<SheetStep> {
        if (services_.state.RealtimeStop)
            return Fail(Text(Str::Canceled), FailureCode::Cancelled);
        return forward_->Begin();
    };
    const Result<> begun = co_await TakeSteps(step);
    co_return begun;
}

Result<RowForward::Row> RowForwarder::Write()
{
    const int rows = data_ ? data_->GetDatacount() : 0;
    wanted_ = std::min(rows, MaxSheetSamples);
    if (forward_ && !failure_)
        Retry();
    if (failure_)
        return Fail(*failure_);
    return rows > MaxSheetSamples ? Row::Full : Row::Taken;
}

void RowForwarder::WriteWaitingRows()
{
    SheetStep step = SheetStep::Done;
    QElapsedTimer stretch;
    stretch.start();
    while (step == SheetStep::Done && forward_->Rows() < wanted_)
        step = stretch.hasExpired(AtAStretchMs) ? SheetStep::Again : forward_->WriteRow();
    retry_.SetInterval(step == SheetStep::Busy ? BusySpreadsheetMs : step == SheetStep::Again ? 1 : 0);
    retry_.SetEnabled(retry_.Interval() > 0);
}

/// Does again what the spreadsheet was too busy for: takes rows, or is given back to the user.
void RowForwarder::Retry()
{
    if (failure_) {
        GiveBack();
        return;
    }
    try {
        WriteWaitingRows();
    } catch (const std::exception &error) { // a run goes on without the worksheet
        Break({QString::fromUtf8(error.what())});
    }
}

/// Ends the forwarding after a failure.
void RowForwarder::Break(const Failure &failure)
{
    failure_ = failure;
    GiveBack();
}

/// Gives the spreadsheet back to the user after a failure; the timer retries while the spreadsheet is busy.
void RowForwarder::GiveBack()
{
    if (!forward_ || forward_->GiveBack() != SheetStep::Busy) {
        Release();
        return;
    }
    retry_.SetInterval(BusySpreadsheetMs);
    retry_.SetEnabled(true);
}

/// Lets go of the spreadsheet, which the user cannot close as long as this program refers to it.
void RowForwarder::Release()
{
    retry_.SetEnabled(false);
    forward_.reset();
    source_.reset();
    data_.reset();
    workbook_.reset();
}

QCoro::Task<Result<>> RowForwarder::Close()
{
    const QScopedValueRollback<bool> closing(closing_, true);
    services_.state.CancelRequest = false;
    Result<ForwardOutcome> outcome = Fail(QString());
    try {
        outcome = co_await Finish();
    } catch (const std::exception &error) { // out of memory
        outcome = Fail(QString::fromUtf8(error.what()));
    }
    if (outcome)
        Release();
    else
        Break(outcome.error());
    Q_EMIT closed(outcome);
    if (!outcome)
        co_return Fail(outcome.error());
    co_return Result<>();
}

QCoro::Task<Result<ForwardOutcome>> RowForwarder::Finish()
{
    if (failure_) // a retry has failed since the last row
        co_return Fail(*failure_);
    retry_.SetEnabled(false);
    ForwardOutcome outcome = {wanted_, QString(), choice_.openAfter};
    if (workbook_->program) {
        const std::function<Result<SheetStep>()> step = [this] { return forward_->Next(wanted_); };
        const Result<> done = co_await TakeSteps(step);
        if (!done)
            co_return Fail(done.error());
        co_return outcome;
    }
    outcome.file = workbook_->file.name;
    if (wanted_ == 0)
        co_return outcome;
    const auto sheet = std::make_shared<const Sheet>(LayOut(*source_, wanted_, false, source_->Rows()));
    const Result<QString> written = co_await WriteSheet(&services_, workbook_->file, sheet, nullptr);
    if (!written)
        co_return Fail(written.error());
    outcome.file = *written;
    co_return outcome;
}

} // namespace px40
