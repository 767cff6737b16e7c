#include "forward/rowforwarder.h"

#include "document/dataset.h"
#include "forward/sheetlayout.h"
#include "link/linkstate.h"
#include "platform/waiting.h"
#include "resources/strings.h"

#include <QElapsedTimer>
#include <QScopedValueRollback>

#include <algorithm>
#include <exception>

namespace px40 {

namespace {
constexpr int BusyPauseMs = 250;
constexpr int AtAStretchMs = 8; // then the windows live
} // namespace

RowForwarder::RowForwarder(const ForwardServices &services) : services_(services)
{
    connect(&retry_, &Timer::tick, this, &RowForwarder::Retry);
}

RowForwarder::~RowForwarder() = default;

QCoro::Task<Result<>> RowForwarder::Prepare(ForwardChoice choice)
{
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
    Result<> begun;
    try {
        begun = co_await Begin();
    } catch (const std::exception &error) {
        begun = Fail(QString::fromUtf8(error.what()));
    }
    if (!begun)
        Break(begun.error());
    co_return begun;
}

/// Makes sure that the workbook takes a sheet.
QCoro::Task<Result<>> RowForwarder::Begin()
{
    const WorkbookFile &file = workbook_->file;
    if (!workbook_->program)
        co_return file.isNew ? Result<>() : CheckExistingWorkbook(file.name);
    forward_.emplace(*workbook_->program, *source_, file.name.toStdString());
    SheetStep step = SheetStep::Again;
    while ((step == SheetStep::Again || step == SheetStep::Busy) && !services_.state.RealtimeStop) {
        if (step == SheetStep::Busy)
            co_await Delay(BusyPauseMs);
        else
            co_await NextEventLoopTurn();
        step = forward_->Begin();
    }
    if (step != SheetStep::Done)
        co_return Fail(Text(Str::Canceled), FailureCode::Cancelled);
    co_return Result<>();
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

SheetStep RowForwarder::WriteWaiting()
{
    SheetStep step = SheetStep::Done;
    QElapsedTimer stretch;
    stretch.start();
    while (step == SheetStep::Done && forward_->Rows() < wanted_)
        step = stretch.hasExpired(AtAStretchMs) ? SheetStep::Again : forward_->WriteRow();
    retry_.SetInterval(step == SheetStep::Busy ? BusyPauseMs : step == SheetStep::Again ? 1 : 0);
    retry_.SetEnabled(retry_.Interval() > 0);
    return step;
}

/// What the spreadsheet was too busy for: rows, or to be given back.
void RowForwarder::Retry()
{
    if (failure_) {
        GiveBack();
        return;
    }
    try {
        WriteWaiting();
    } catch (const std::exception &error) { // it must not cost the run its readings
        Break({QString::fromUtf8(error.what())});
    }
}

/// Nothing more is forwarded.
void RowForwarder::Break(const Failure &failure)
{
    failure_ = failure;
    GiveBack();
}

/// After a failure; goes on by itself until the spreadsheet has taken it.
void RowForwarder::GiveBack()
{
    if (!forward_ || forward_->GiveBack() != SheetStep::Busy) {
        Release();
        return;
    }
    retry_.SetInterval(BusyPauseMs);
    retry_.SetEnabled(true);
}

/// A spreadsheet that somebody still holds cannot be closed by the user.
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
    } catch (const std::exception &error) {
        outcome = Fail(QString::fromUtf8(error.what()));
    }
    if (!outcome && !failure_)
        Break(outcome.error());
    else if (outcome)
        Release();
    Q_EMIT closed(outcome);
    if (!outcome)
        co_return Fail(outcome.error());
    co_return Result<>();
}

QCoro::Task<Result<ForwardOutcome>> RowForwarder::Finish()
{
    ForwardOutcome outcome;
    outcome.openAfter = choice_.openAfter;
    if (workbook_->program) {
        const Result<> done = co_await FinishSteps();
        if (!done)
            co_return Fail(done.error());
        outcome.samples = forward_->Rows();
        co_return outcome;
    }
    outcome.samples = wanted_;
    const Result<QString> written = co_await FinishFile();
    if (!written)
        co_return Fail(written.error());
    outcome.file = *written;
    co_return outcome;
}

/// The name of the file.
QCoro::Task<Result<QString>> RowForwarder::FinishFile()
{
    if (wanted_ == 0)
        co_return workbook_->file.name;
    const auto sheet = std::make_shared<const Sheet>(LayOut(*source_, wanted_, false, source_->Rows(false)));
    const Result<QString> written = co_await WriteSheet(&services_, workbook_->file, sheet, nullptr);
    co_return written;
}

/// Writes what is still waiting and the end of the sheet, and gives the spreadsheet back to the user.
QCoro::Task<Result<>> RowForwarder::FinishSteps()
{
    SheetStep step = SheetStep::Again;
    while (step == SheetStep::Again || step == SheetStep::Busy) {
        if (step == SheetStep::Busy)
            co_await Delay(BusyPauseMs);
        else
            co_await NextEventLoopTurn();
        if (failure_) // while this waited
            co_return Fail(*failure_);
        step = WriteWaiting();
        if (step == SheetStep::Done)
            step = forward_->End();
    }
    retry_.SetEnabled(false);
    co_return Result<>();
}

} // namespace px40
