#include "forward/rowforwarder.h"

#include "document/dataset.h"
#include "forward/sheetlayout.h"
#include "forward/xlsxfile.h"
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

QCoro::Task<bool> RowForwarder::Prepare(ForwardChoice choice)
{
    if (failed_ && forward_)
        GiveBack();
    Release();
    choice_ = choice;
    const Workbook workbook = co_await ChooseWorkbook(&services_, choice);
    workbook_ = workbook;
    co_return workbook_.target != nullptr;
}

QCoro::Task<bool> RowForwarder::Open(std::shared_ptr<DataSet> dataSet)
{
    if (!workbook_.target)
        co_return false;
    failed_ = false;
    wanted_ = 0;
    data_ = dataSet;
    forward_.reset();
    source_.emplace(dataSet, choice_.title);
    forward_.emplace(*workbook_.target, *source_, workbook_.addTo.toStdString());
    SheetStep step = SheetStep::Again;
    while ((step == SheetStep::Again || step == SheetStep::Busy) && !services_.state.RealtimeStop) {
        if (step == SheetStep::Busy)
            co_await Delay(BusyPauseMs);
        else
            co_await NextEventLoopTurn();
        step = forward_->Begin();
    }
    if (step == SheetStep::Failed)
        Fail(QString::fromStdString(workbook_.target->ErrorText()));
    else if (step != SheetStep::Done)
        Fail(Text(Str::Canceled));
    co_return step == SheetStep::Done;
}

RowForward::Row RowForwarder::Write()
{
    if (failed_)
        return Row::Failed;
    const int rows = data_->GetDatacount();
    wanted_ = std::min(rows, MaxSheetSamples);
    Retry();
    if (failed_)
        return Row::Failed;
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
    if (failed_) {
        GiveBack();
        return;
    }
    try {
        if (WriteWaiting() == SheetStep::Failed)
            Fail(QString::fromStdString(workbook_.target->ErrorText()));
    } catch (const std::exception &error) { // it must not cost the run its readings
        Fail(QString::fromLocal8Bit(error.what()));
    }
}

void RowForwarder::Fail(const QString &reason)
{
    failed_ = true;
    services_.state.ForwardErrorText = reason;
    GiveBack();
}

/// After a failure; goes on by itself until the spreadsheet has taken it.
void RowForwarder::GiveBack()
{
    if (forward_->GiveBack() != SheetStep::Busy) {
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
    workbook_ = {};
}

QCoro::Task<bool> RowForwarder::Close()
{
    const QScopedValueRollback<bool> closing(closing_, true);
    ForwardOutcome outcome;
    outcome.openAfter = choice_.openAfter;
    services_.state.CancelRequest = false;
    const std::shared_ptr<XlsxFile> file = workbook_.file;
    try {
        bool done = co_await Finish();
        outcome.samples = done ? forward_->Rows() : 0;
        if (done && file && outcome.samples > 0)
            done = co_await WriteWorkbook(&services_, file, choice_.title, nullptr);
        outcome.done = done;
    } catch (const std::exception &error) {
        if (forward_)
            Fail(QString::fromLocal8Bit(error.what()));
    }
    if (file)
        outcome.file = file->Name();
    if (!failed_)
        Release();
    Q_EMIT closed(outcome);
    co_return outcome.done;
}

/// Writes what is still waiting and the end of the sheet, and gives the spreadsheet back to the user.
QCoro::Task<bool> RowForwarder::Finish()
{
    SheetStep step = failed_ ? SheetStep::Failed : SheetStep::Again;
    while (step == SheetStep::Again || step == SheetStep::Busy) {
        if (step == SheetStep::Busy)
            co_await Delay(BusyPauseMs);
        else
            co_await NextEventLoopTurn();
        if (failed_) // while this waited
            co_return false;
        step = WriteWaiting();
        if (step == SheetStep::Done)
            step = forward_->End();
    }
    retry_.SetEnabled(false);
    if (step == SheetStep::Failed && !failed_)
        Fail(QString::fromStdString(workbook_.target->ErrorText()));
    co_return step == SheetStep::Done;
}

} // namespace px40
