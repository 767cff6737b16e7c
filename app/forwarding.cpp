#include "app/forwarding.h"

#include "app/askworkbook.h"
#include "app/mainviews.h"
#include "app/services.h"
#include "document/dataset.h"
#include "forward/spreadsheet.h"
#include "platform/prompts.h"
#include "resources/strings.h"

#include <QDir>
#include <QFileInfo>

namespace px40 {

namespace {

const QString ForwardSection = QStringLiteral("Forward");
const QString OpenAfterKey = QStringLiteral("OpenAfter");
const QString No = QStringLiteral("0");

/// Comes to the front first, where a spreadsheet may be by now.
QCoro::Task<void> TellInFront(Prompts *prompts, MainViews *views, QString text)
{
    views->TakeFocus();
    co_await prompts->Warn(text);
}

ForwardServices ServicesOf(Services &services, MainViews &views)
{
    const Tell tell = [&services, &views](const QString &text) {
        return TellInFront(&services.prompts, &views, text);
    };
    return {services.state, services.store, MakeSpreadsheet, AskForFileBy(services.prompts, services.clock),
            tell};
}

/// "3 rows forwarded to NAME in FOLDER."
QString OutcomeText(const ForwardOutcome &outcome)
{
    const QString rows = Counted(Str::Rows, outcome.samples);
    if (outcome.file.isEmpty())
        return Text(Str::ForwardDone).arg(rows, Text(Str::MicrosoftExcel));
    const QFileInfo file(outcome.file);
    return Text(Str::ForwardDoneIn).arg(rows, file.fileName(), QDir::toNativeSeparators(file.absolutePath()));
}

ForwardMemory Remembered(const Services &services)
{
    return {services.settings.ForwardFileText, services.settings.ForwardTitleText,
            services.store.Get(ForwardSection, OpenAfterKey) != No};
}

void Remember(const ForwardMemory &memory, Services &services)
{
    services.settings.ForwardFileText = memory.file;
    services.settings.ForwardTitleText = memory.title;
    services.store.Save(ForwardSection, OpenAfterKey, memory.openAfter ? QString() : No);
}

} // namespace

Forwarding::Forwarding(Services &services, MainViews &views, ProgressView &progress)
    : services_(&services), views_(&views), forwarder_(ServicesOf(services, views), services.gate, progress),
      rows_(ServicesOf(services, views))
{
    connect(&rows_, &RowForwarder::closed, this, &Forwarding::OnRunClosed);
}

QCoro::Task<std::optional<ForwardChoice>> Forwarding::Ask()
{
    const auto memory = std::make_shared<ForwardMemory>(Remembered(*services_));
    const std::optional<ForwardChoice> choice = co_await views_->AskForward(memory);
    if (!choice || services_->state.CancelRequest || services_->leaving)
        co_return std::nullopt;
    Remember(*memory, *services_);
    co_return choice;
}

QCoro::Task<void> Forwarding::Forward(std::shared_ptr<DataSet> dataSet, ForwardChoice choice)
{
    services_->statusLine.TakeBack(told_); // the outcome of an earlier forwarding
    const Result<ForwardOutcome> outcome = co_await forwarder_.ForwardData(dataSet, choice);
    if (!outcome)
        co_return;
    told_ = OutcomeText(*outcome);
    services_->statusLine.Show(told_);
    ShowFile(*outcome);
}

QCoro::Task<bool> Forwarding::AskForRun()
{
    const std::optional<ForwardChoice> choice = co_await Ask();
    if (!choice)
        co_return false;
    const Result<> prepared = co_await rows_.Prepare(*choice);
    co_return prepared.has_value();
}

void Forwarding::OnRunClosed(const Result<ForwardOutcome> &outcome)
{
    // In a box, because the status bar of a narrow window cuts the reason off. A run goes on meanwhile.
    if (!outcome)
        services_->jobs.Launch(services_->prompts.Warn(outcome.error().text), "telling of a run");
    else if (outcome->samples > 0) {
        runOutcome_ = OutcomeText(*outcome);
        ShowFile(*outcome);
    }
}

void Forwarding::ShowFile(const ForwardOutcome &outcome)
{
    if (outcome.file.isEmpty() || !outcome.openAfter)
        return;
    views_->ShowFile(outcome.file, [status = &services_->statusLine, text = OutcomeText(outcome)] {
        const QString &shown = status->Text(); // perhaps with the end of a run behind it
        status->Show(Text(Str::ForwardNotOpened) + QStringLiteral("  ") +
                     (shown.contains(text) ? shown : text));
    });
}

} // namespace px40
