#include "forward/forwarder.h"

#include "document/dataset.h"
#include "forward/datasetsource.h"
#include "forward/forwardsteps.h"
#include "forward/sheetlayout.h"
#include "forward/spreadsheet.h"
#include "link/linkstate.h"
#include "link/linkuse.h"
#include "platform/progressview.h"
#include "platform/waiting.h"
#include "resources/strings.h"

#include <QLocale>
#include <QScopedValueRollback>

#include <exception>
#include <optional>

namespace px40 {

namespace {

constexpr int ShowAttempts = 20; // how often a busy spreadsheet is asked to show itself again

} // namespace

Forwarder::Forwarder(const ForwardServices &services, LinkGate &gate, ProgressView &progress)
    : services_(services), gate_(&gate), progress_(&progress)
{
}

QCoro::Task<Result<ForwardOutcome>> Forwarder::ForwardData(std::shared_ptr<DataSet> dataSet,
                                                           ForwardChoice choice)
{
    LinkState &state = services_.state;
    const int samples = dataSet->GetDatacount();
    if (samples > MaxSheetSamples) {
        const QString text = Text(Str::ForwardTooMany).arg(QLocale(QLocale::English).toString(samples));
        co_await TellFailure(text);
        co_return Fail(text);
    }
    if (state.ForwardRun)
        co_return Fail({}, FailureCode::Cancelled);
    const QScopedValueRollback<bool> running(state.ForwardRun, true);
    const Result<Workbook> workbook = co_await ChooseWorkbook(&services_, choice);
    if (!workbook)
        co_return Fail(workbook.error());
    const auto source = std::make_shared<const DataSetSource>(dataSet, choice.title);
    std::optional<ForwardSteps> forward;
    if (workbook->program)
        forward.emplace(ForwardSteps::Kind::Whole, *workbook->program, *source,
                        workbook->file.name.toStdString());
    ForwardSteps *const steps = forward ? &*forward : nullptr;
    state.CancelRequest = false;
    progress_->Show();
    progress_->SetCaption(Text(Str::ForwardData));
    progress_->SetMessage(Text(Str::Forwarding));
    // An exchange under way is completed first.
    const bool free = co_await gate_->WaitUntilFree();
    const bool allowed = free && !state.RealtimeRun;
    Result<QString> written = Fail(Text(Str::RunHoldsWindows)); // a run was started meanwhile
    std::optional<LinkUse> use;
    if (allowed) {
        use.emplace(*gate_, ActivityForwarding, LinkUse::Sharing::Shared);
        try {
            written = co_await Write(source, steps, workbook->file);
        } catch (const std::exception &error) { // out of memory
            written = Fail(QString::fromUtf8(error.what()));
        }
    }
    progress_->Unload();
    co_await ShowSpreadsheet(steps);
    if (!written) {
        co_await TellFailure(written.error().text);
        co_return Fail(written.error());
    }
    co_return ForwardOutcome{samples, *written, choice.openAfter};
}

/// Gives the name of the file that was written; empty with a spreadsheet program.
QCoro::Task<Result<QString>> Forwarder::Write(std::shared_ptr<const DataSetSource> source,
                                              ForwardSteps *forward, WorkbookFile file)
{
    const int samples = source->Samples();
    if (!forward) {
        const bool numbers = source->IsSaveMode();
        const auto sheet = std::make_shared<const Sheet>(LayOut(*source, samples, numbers, source->Rows()));
        const Result<QString> written = co_await WriteSheet(&services_, file, sheet, progress_);
        co_return written;
    }
    const std::function<Result<SheetStep>()> step = [=, this] { return Step(forward, samples + 1); };
    const Result<> done = co_await TakeSteps(step);
    if (!done)
        co_return Fail(done.error());
    co_return QString();
}

/// Takes one step towards a sheet with that many rows, and moves the progress bar.
Result<SheetStep> Forwarder::Step(ForwardSteps *forward, int rows)
{
    if (services_.state.CancelRequest)
        return Fail(Text(Str::Canceled), FailureCode::Cancelled);
    const int before = forward->Rows();
    const SheetStep step = forward->Next(rows);
    if (const int written = forward->Rows(); written != before)
        progress_->RenProgress(written < rows, written, rows);
    return step;
}

/// Shows the spreadsheet again, also after a failure. It comes up behind our window, which has the focus
/// again after a turn of the event loop.
QCoro::Task<void> Forwarder::ShowSpreadsheet(ForwardSteps *forward)
{
    co_await NextEventLoopTurn();
    if (!forward)
        co_return;
    SheetStep end = forward->GiveBack();
    for (int attempt = 1; end == SheetStep::Busy && attempt < ShowAttempts; ++attempt) {
        co_await Delay(BusySpreadsheetMs);
        end = forward->GiveBack();
    }
}

QCoro::Task<void> Forwarder::TellFailure(QString text)
{
    if (services_.tellFailure)
        co_await services_.tellFailure(text);
}

} // namespace px40
