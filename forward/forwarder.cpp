#include "forward/forwarder.h"

#include "document/dataset.h"
#include "forward/datasetsource.h"
#include "forward/forwardsteps.h"
#include "forward/sheetlayout.h"
#include "forward/xlsxfile.h"
#include "link/linkgate.h"
#include "link/linkstate.h"
#include "platform/progressview.h"
#include "platform/prompts.h"
#include "platform/waiting.h"
#include "resources/strings.h"

#include <QElapsedTimer>
#include <QLocale>

#include <exception>

namespace px40 {

namespace {

constexpr int AtAStretchMs = 8; // then the windows live
constexpr int BusyPauseMs = 250;
constexpr int ShowAttempts = 20; // of a spreadsheet that is busy while it is to be shown again

/// Tells the rest of the program, as long as it lives.
class RunHold
{
  public:
    explicit RunHold(LinkState &state) : state_(&state) { state.ForwardRun = true; }
    ~RunHold() { state_->ForwardRun = false; }
    RunHold(const RunHold &) = delete;
    RunHold &operator=(const RunHold &) = delete;

  private:
    LinkState *state_;
};

} // namespace

Forwarder::Forwarder(const ForwardServices &services, LinkGate &gate, ProgressView &progress)
    : services_(services), gate_(&gate), progress_(&progress)
{
}

QCoro::Task<ForwardOutcome> Forwarder::ForwardData(std::shared_ptr<DataSet> dataSet, ForwardChoice choice)
{
    ForwardOutcome outcome;
    LinkState &state = services_.state;
    if (dataSet->GetDatacount() > MaxSheetSamples) {
        const QString count = QLocale(QLocale::English).toString(dataSet->GetDatacount());
        co_await services_.prompts.Warn(Text(Str::ForwardTooMany).arg(count));
        co_return outcome;
    }
    if (state.ForwardRun)
        co_return outcome;
    const RunHold hold(state);
    const Workbook workbook = co_await ChooseWorkbook(&services_, choice);
    if (!workbook.target)
        co_return outcome;
    const DataSetSource source(dataSet, choice.title);
    WholeForward forward(*workbook.target, source, workbook.addTo.toStdString());
    state.CancelRequest = false;
    progress_->Show();
    progress_->SetCaption(Text(Str::ForwardData));
    progress_->SetMessage(Text(Str::Forwarding));
    // An exchange under way is not to be taken for input that belongs to nobody.
    const bool free = co_await gate_->WaitUntilFree();
    const bool allowed = free && !state.RealtimeRun;
    if (allowed) {
        state.LinkActivity = ActivityForwarding;
        const bool done = co_await Write(&forward, source.Samples() + 1, workbook.file, choice.title);
        outcome.done = done;
    } else {
        state.ForwardErrorText = Text(Str::RunHoldsWindows); // one was started while this waited
    }
    progress_->Unload();
    co_await ShowSpreadsheet(&forward);
    if (!outcome.done) {
        if (services_.toFront) // the spreadsheet has come before it
            services_.toFront();
        co_await services_.prompts.Warn(state.ForwardErrorText);
    }
    if (allowed) {
        // A status check that began meanwhile would lose its reply, and put back what it found.
        co_await gate_->WaitUntilFree();
        state.LinkActivity = ActivityIdle;
    }
    outcome.samples = dataSet->GetDatacount();
    outcome.openAfter = choice.openAfter;
    if (workbook.file)
        outcome.file = workbook.file->Name();
    co_return outcome;
}

QCoro::Task<bool> Forwarder::Write(WholeForward *forward, int rows, std::shared_ptr<XlsxFile> file,
                                   QString title)
{
    LinkState &state = services_.state;
    bool done = false;
    try {
        done = co_await TakeSteps(forward, rows);
        if (!done && !state.CancelRequest && file)
            state.ForwardErrorText = AboutFile(state.ForwardErrorText, file->Name());
        if (done && file)
            done = co_await WriteWorkbook(&services_, file, title, progress_);
    } catch (const std::exception &error) {
        state.ForwardErrorText = QString::fromLocal8Bit(error.what());
        done = false;
    }
    co_return done;
}

/// Whatever has happened. The focus is the program's own again by then: the spreadsheet comes up behind it.
QCoro::Task<void> Forwarder::ShowSpreadsheet(WholeForward *forward)
{
    co_await NextEventLoopTurn();
    SheetStep end = forward->End();
    for (int attempt = 1; end == SheetStep::Busy && attempt < ShowAttempts; ++attempt) {
        co_await Delay(BusyPauseMs);
        end = forward->End();
    }
}

QCoro::Task<bool> Forwarder::TakeSteps(WholeForward *forward, int rows)
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
        // A source command that was sent meanwhile has left the link idle.
        state.LinkActivity = state.LinkActivity == ActivityIdle ? ActivityForwarding : state.LinkActivity;
        if (state.CancelRequest)
            break;
        step = forward->Next();
        if (forward->RowsWritten() != shown) {
            shown = forward->RowsWritten();
            progress_->RenProgress(shown < rows, shown, rows);
        }
    }
    if (step == SheetStep::Failed)
        state.ForwardErrorText = QString::fromStdString(forward->ErrorText());
    co_return step == SheetStep::Done;
}

} // namespace px40
