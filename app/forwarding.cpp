#include "app/forwarding.h"

#include "app/services.h"
#include "document/dataset.h"
#include "forward/frmforward.h"
#include "forward/spreadsheet.h"
#include "forward/xlsxfile.h"
#include "platform/oneshot.h"
#include "platform/prompts.h"
#include "resources/strings.h"

#include <QDesktopServices>
#include <QUrl>
#include <QWidget>

#include <utility>

namespace px40 {

namespace {

const auto *const Section = "Forward";
const auto *const OpenAfterKey = "OpenAfter";
const auto *const No = "0";

ForwardServices ServicesOf(Services &services, QWidget *window)
{
    return {services.state, services.prompts,      services.clock,
            services.store, MakeSpreadsheetTarget, [window] { window->activateWindow(); }};
}

ForwardMemory Remembered(const Services &services)
{
    const QString openAfter =
        services.store.Get(QLatin1StringView(Section), QLatin1StringView(OpenAfterKey), QString());
    return {services.settings.ForwardFileText, services.settings.ForwardTitleText,
            openAfter != QLatin1StringView(No)};
}

void Remember(const ForwardMemory &memory, Services &services)
{
    services.settings.ForwardFileText = memory.file;
    services.settings.ForwardTitleText = memory.title;
    services.store.Save(QLatin1StringView(Section), QLatin1StringView(OpenAfterKey),
                        memory.openAfter ? QString() : QString(QLatin1StringView(No)));
}

} // namespace

Forwarding::Forwarding(Services &services, ProgressView &progress, QWidget *window)
    : QObject(window), services_(&services), window_(window),
      forwarder_(ServicesOf(services, window), services.gate, progress), rows_(ServicesOf(services, window))
{
    connect(&rows_, &RowForwarder::closed, this, &Forwarding::OnRunClosed);
}

QCoro::Task<std::optional<ForwardChoice>> Forwarding::Ask()
{
    const auto memory = std::make_shared<ForwardMemory>(Remembered(*services_));
    ForwardOptions options;
    options.withExcel = HasSpreadsheet();
    if (!options.withExcel)
        options.whyNot = &XlsxFile::WhyNot;
    auto *const dialog =
        new frmForward(services_->state, services_->prompts, services_->jobs, memory.get(), options, window_);
    const auto chosen = std::make_shared<ForwardChoice>();
    const OneShot<bool> closed;
    connect(dialog, &QDialog::finished, dialog, [dialog, chosen, closed](int result) {
        *chosen = dialog->Choice();
        closed.Complete(result == QDialog::Accepted);
    });
    connect(dialog, &QObject::destroyed, this, [closed] { closed.Complete(false); });
    dialog->open();
    const bool accepted = co_await closed;
    if (!accepted || services_->state.CancelRequest || services_->leaving)
        co_return std::nullopt;
    Remember(*memory, *services_);
    co_return *chosen;
}

QCoro::Task<void> Forwarding::Forward(std::shared_ptr<DataSet> dataSet, ForwardChoice choice)
{
    Q_EMIT messageOver(told_);
    const ForwardOutcome outcome = co_await forwarder_.ForwardData(dataSet, choice);
    if (!outcome.done)
        co_return;
    told_ = ShowFile(outcome);
    Q_EMIT message(told_);
}

QCoro::Task<bool> Forwarding::AskForRun()
{
    const std::optional<ForwardChoice> choice = co_await Ask();
    if (!choice)
        co_return false;
    const bool prepared = co_await rows_.Prepare(*choice);
    co_return prepared;
}

void Forwarding::OnRunClosed(const ForwardOutcome &outcome)
{
    // The status bar of a narrow window does not hold the reason; a run goes on under the box.
    if (!outcome.done)
        services_->jobs.Launch(services_->prompts.Warn(services_->state.ForwardErrorText),
                               "telling of a run");
    if (outcome.done && outcome.samples > 0)
        runOutcome_ = ShowFile(outcome);
}

QString Forwarding::TakeRunOutcome()
{
    return std::exchange(runOutcome_, QString());
}

QString Forwarding::ShowFile(const ForwardOutcome &outcome)
{
    const QString text = OutcomeText(outcome);
    if (outcome.file.isEmpty() || !outcome.openAfter ||
        QDesktopServices::openUrl(QUrl::fromLocalFile(outcome.file)))
        return text;
    return Text(Str::ForwardNotOpened) + QStringLiteral("  ") + text;
}

} // namespace px40
