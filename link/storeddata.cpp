#include "link/storeddata.h"

#include "link/comm.h"
#include "link/linkstate.h"
#include "link/linkuse.h"
#include "link/reply.h"
#include "link/saverecord.h"
#include "platform/progressview.h"
#include "platform/prompts.h"
#include "resources/strings.h"

#include <exception>

namespace px40 {

namespace {
constexpr int OrdinaryAttempts = 3;
constexpr int SaveModeAttempts = 5;
} // namespace

StoredData::StoredData(LinkState &state, LinkGate &gate, Comm &comm, Prompts &prompts, ProgressView &progress)
    : state_(&state), gate_(&gate), comm_(&comm), prompts_(&prompts), progress_(&progress)
{
}

QCoro::Task<bool> StoredData::Receive(Mode mode, std::shared_ptr<DataSink> sink)
{
    return mode == Mode::Save ? ReceiveSaveData(sink) : ReceiveMemoryData(sink);
}

QCoro::Task<bool> StoredData::ReceiveMemoryData(std::shared_ptr<DataSink> sink)
{
    const LinkUse use(*gate_, ActivityDownload);
    Begin(sink.get(), Text(Str::ReceiveMemoryMode));
    const bool complete = co_await Guarded(FetchReadings(sink.get()));
    co_await End(sink.get(), complete);
    co_return complete;
}

QCoro::Task<bool> StoredData::ReceiveSaveData(std::shared_ptr<DataSink> sink)
{
    const LinkUse use(*gate_, ActivityDownload, LinkUse::Sharing::Shared);
    Begin(sink.get(), Text(Str::ReceiveSaveMode));
    const bool complete = co_await Guarded(FetchRecords(sink.get()));
    co_await comm_->SendCommand(QStringLiteral("PL,0"), SaveModeAttempts);
    co_await End(sink.get(), complete);
    co_return complete;
}

/// Memory that runs out ends a download like any other failure.
QCoro::Task<bool> StoredData::Guarded(QCoro::Task<bool> fetch)
{
    bool complete = false;
    try {
        complete = co_await fetch;
    } catch (const std::exception &error) {
        state_->ErrorMessage = QString::fromLocal8Bit(error.what());
    }
    co_return complete;
}

void StoredData::Begin(DataSink *sink, const QString &caption)
{
    state_->DownloadCancel = false;
    comm_->SetProgressView(progress_);
    progress_->Show();
    progress_->SetCaption(caption);
    progress_->SetMessage(Text(Str::Receiving));
    sink->ShowGrid(false);
}

QCoro::Task<bool> StoredData::FetchReadings(DataSink *sink)
{
    // Whether the instrument takes these shows in the first reading.
    co_await comm_->SendCommand(QStringLiteral("AN1"), OrdinaryAttempts);
    co_await comm_->SendCommand(QStringLiteral("H1"), OrdinaryAttempts);

    for (int n = 1; n <= Entries; ++n) {
        const bool answered = co_await comm_->SendCommand(QStringLiteral("OM%1").arg(n), OrdinaryAttempts);
        if (!answered)
            co_return false;
        ReadingTexts reading;
        if (!DecodeMeasureReply(state_->RecvBuffer, &reading, &state_->ErrorMessage))
            co_return false;
        if (!sink->AddGridrow())
            co_return false;
        sink->AddData(QStringLiteral("No.%1").arg(n), reading.measureValue, reading.measureUnit,
                      reading.sourceValue, reading.sourceUnit);
        ShowStep(n);
    }
    co_return true;
}

QCoro::Task<bool> StoredData::FetchRecords(DataSink *sink)
{
    records_ = 0;
    const bool started = co_await comm_->SendCommand(QStringLiteral("PL,1"), SaveModeAttempts);
    if (!started)
        co_return false;
    for (int n = 1; n <= Entries; ++n) {
        const QString request = QStringLiteral("RS,%1").arg(n, 2, 10, QLatin1Char('0'));
        const bool answered = co_await comm_->SendCommand(request, SaveModeAttempts);
        if (!answered)
            co_return false;
        QString value = request; // only an empty record takes it away
        QString unit;
        if (!CheckSaveRecord(state_->RecvBuffer, &value, &unit, &state_->ErrorMessage))
            co_return false;
        records_ += value.isEmpty() ? 0 : 1;
        if (!sink->AddGridrow())
            co_return false;
        ShowStep(n);
    }
    co_return true;
}

void StoredData::ShowStep(int n)
{
    progress_->RenProgress(n == Entries, n, Entries);
}

QCoro::Task<void> StoredData::End(DataSink *sink, bool complete)
{
    comm_->SetProgressView(nullptr);
    progress_->Unload();
    const int count = sink->GetDatacount();
    if (count > 2)
        sink->SetGraphcount(count);
    sink->ShowGrid(true);
    sink->PaintGraphtop();
    sink->DispCalculation();
    if (!complete)
        co_await prompts_->Warn(state_->ErrorMessage);
}

} // namespace px40
