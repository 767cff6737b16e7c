#include "forward/forwarder.h"

#include "document/dataset.h"
#include "forward/datasetsource.h"
#include "forward/forwardsteps.h"
#include "forward/sheetlayout.h"
#include "link/linkstate.h"
#include "link/linkuse.h"
#include "platform/progressview.h"
#include "platform/prompts.h"
#include "platform/waiting.h"
#include "resources/strings.h"

#include <QElapsedTimer>
#include <QLocale>
#include <QScopedValueRollback>

#include <exception>
#include <optional>

namespace px40 {

namespace {

constexpr int AtAStretchMs = 8; // then the windows live
constexpr int BusyPauseMs = 250;
constexpr int ShowAttempts = 20; // of a spreadsheet that is busy while it is to be shown again

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
        co_await Tell(text);
        co_return Fail(text);
    }
    if (state.ForwardRun)
        co_return Fail({}, FailureCode::Cancelled);
    const QScopedValueRollback<bool> running(state.ForwardRun, true);
    const Result<Workbook> workbook = co_await ChooseWorkbook(&services_, choice);
    if (!workbook)
        co_return Fail(workbook.error());
    const auto source = std::make_shared<const DataSetSource>(dataSet, choice.title);
    std::optional<WholeForward> forward;
    if (workbook->program)
        forward.emplace(*workbook->program, *source, workbook->file.name.toStdString());
    WholeForward *const steps = forward ? &*forward : nullptr;
    state.CancelRequest = false;
    progress_->Show();
    progress_->SetCaption(Text(Str::ForwardData));
    progress_->SetMessage(Text(Str::Forwarding));
    // An exchange under way is not to be taken for input that belongs to nobody.
    const bool free = co_await gate_->WaitUntilFree();
    const bool allowed = free && !state.RealtimeRun;
    Result<QString> written = Fail(Text(Str::RunHoldsWindows)); // one was started while this waited
    std::optional<LinkUse> use;
    if (allowed) {
        use.emplace(*gate_, ActivityForwarding, LinkUse::Sharing::Shared);
        written = co_await Write(source, steps, workbook->file);
    }
    progress_->Unload();
    co_await ShowSpreadsheet(steps);
    if (!written) {
        state.ForwardErrorText = written.error().text;
        if (services_.toFront) // the spreadsheet has come before it
            services_.toFront();
        co_await Tell(state.ForwardErrorText);
        co_return Fail(written.error());
    }
    co_return ForwardOutcome{samples, *written, choice.openAfter};
}

/// The name of the file that was written, which a spreadsheet program has not.
QCoro::Task<Result<QString>> Forwarder::Write(std::shared_ptr<const DataSetSource> source,
                                              WholeForward *forward, WorkbookFile file)
{
    const int samples = source->Samples();
    Result<QString> written;
    try {
        if (forward) {
            const Result<> done = co_await TakeSteps(forward, samples + 1);
            if (!done)
                written = Fail(done.error());
        } else {
            const bool numbers = source->IsSaveMode();
            const auto sheet =
                std::make_shared<const Sheet>(LayOut(*source, samples, numbers, source->Rows(numbers)));
            written = co_await WriteSheet(&services_, file, sheet, progress_);
        }
    } catch (const std::exception &error) {
        written = Fail(QString::fromUtf8(error.what()));
    }
    co_return written;
}

/// Whatever has happened. The focus is the program's own again by then: the spreadsheet comes up behind it.
QCoro::Task<void> Forwarder::ShowSpreadsheet(WholeForward *forward)
{
    co_await NextEventLoopTurn();
    if (!forward)
        co_return;
    SheetStep end = forward->End();
    for (int attempt = 1; end == SheetStep::Busy && attempt < ShowAttempts; ++attempt) {
        co_await Delay(BusyPauseMs);
        end = forward->End();
    }
}

QCoro::Task<void> Forwarder::Tell(QString text)
{
    if (services_.prompts)
        co_await services_.prompts->Warn(text);
}

QCoro::Task<Result<>> Forwarder::TakeSteps(WholeForward *forward, int rows)
{
    LinkState &state = services_.state;
    int shown = 0;
    SheetStep step = SheetStep::Again;
    QElapsedTimer stretch;
    stretch.start();
    while (step == SheetStep::Again || step == SheetStep::Busy) {
        if (step == SheetStep::Busy) {
            co_await Delay(BusyPauseMs);
            stretch.restart();
        } else if (stretch.hasExpired(AtAStretchMs)) {
            co_await NextEventLoopTurn();
            stretch.restart();
        }
        if (state.CancelRequest)
            co_return Fail(state.ForwardErrorText, FailureCode::Cancelled);
        step = forward->Next();
        if (forward->RowsWritten() != shown) {
            shown = forward->RowsWritten();
            progress_->RenProgress(shown < rows, shown, rows);
        }
    }
    co_return Result<>();
}

} // namespace px40
