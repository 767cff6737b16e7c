#include "acquire/storeddata.h"

#include "document/dataset.h"
#include "link/comm.h"
#include "link/linkstate.h"
#include "link/reply.h"
#include "link/saverecord.h"
#include "platform/progressview.h"
#include "resources/strings.h"

#include <exception>
#include <utility>

namespace px40 {

StoredData::StoredData(const Parts &parts, Mode mode, std::shared_ptr<DataSet> dataSet)
    : parts_(parts), mode_(mode), data_(std::move(dataSet)),
      use_(parts.gate, ActivityDownload,
           mode == Mode::Memory ? LinkUse::Sharing::Alone : LinkUse::Sharing::Shared)
{
}

QCoro::Task<Result<>> StoredData::Receive()
{
    parts_.state.DownloadCancel = false;
    ProgressView &progress = parts_.progress;
    progress.Show();
    progress.SetCaption(Text(mode_ == Mode::Memory ? Str::ReceiveMemoryMode : Str::ReceiveSaveMode));
    progress.SetMessage(Text(Str::Receiving));
    data_->ShowGrid(false); // while rows stream in
    const Result<> fetched = co_await Fetch();
    if (mode_ == Mode::Save)
        const Result<QString> ended =
            co_await Ask(EndRecords()); // whatever came before, and whatever comes of it
    parts_.progress.Unload();
    const int count = data_->GetDatacount();
    if (count > 2)
        data_->SetGraphcount(count);
    data_->ShowGrid(true);
    data_->PaintGraphtop();
    data_->DispCalculation();
    co_return fetched;
}

/// Memory that runs out ends a download like any other failure.
QCoro::Task<Result<>> StoredData::Fetch()
{
    QCoro::Task<Result<>> fetch = mode_ == Mode::Memory ? FetchReadings() : FetchRecords();
    Result<> fetched;
    try {
        fetched = co_await fetch;
    } catch (const std::exception &error) {
        fetched = Fail(QString::fromLocal8Bit(error.what()));
    }
    co_return fetched;
}

QCoro::Task<Result<>> StoredData::FetchReadings()
{
    const auto preparations = Preparations();
    for (const LinkCommand &command : preparations)
        const Result<QString> taken = co_await Ask(command); // what comes of it shows in the first reading
    for (int n = 1; n <= Entries; ++n) {
        const Result<QString> reply = co_await Ask(AskReading(n));
        if (!reply)
            co_return Fail(reply.error());
        const Result<ReadingTexts> reading = DecodeMeasureReply(*reply);
        if (!reading)
            co_return Fail(reading.error());
        const Result<> added = AddRow();
        if (!added)
            co_return added;
        data_->AddData(QStringLiteral("No.%1").arg(n), reading->measureValue, reading->measureUnit,
                       reading->sourceValue, reading->sourceUnit);
        parts_.progress.RenProgress(n == Entries, n, Entries);
    }
    co_return Result<>();
}

QCoro::Task<Result<>> StoredData::FetchRecords()
{
    const Result<QString> begun = co_await Ask(BeginRecords());
    if (!begun)
        co_return Fail(begun.error());
    for (int n = 1; n <= Entries; ++n) {
        const Result<QString> reply = co_await Ask(AskRecord(n));
        if (!reply)
            co_return Fail(reply.error());
        const Result<bool> filled = CheckSaveRecord(*reply);
        if (!filled)
            co_return Fail(filled.error());
        records_ += *filled ? 1 : 0;
        const Result<> added = AddRow();
        if (!added)
            co_return added;
        parts_.progress.RenProgress(n == Entries, n, Entries);
    }
    co_return Result<>();
}

Result<> StoredData::AddRow()
{
    if (!data_->AddGridrow())
        return Fail(parts_.state.ErrorMessage);
    return {};
}

/// An instrument that keeps silent ends a download; there is nothing left to cancel then.
QCoro::Task<Result<QString>> StoredData::Ask(LinkCommand command)
{
    Result<QString> reply = co_await parts_.comm.SendCommand(command);
    if (!reply && reply.error().code == FailureCode::NoAnswer) {
        parts_.progress.DisableCancel();
        reply = Fail(Text(Str::TimeoutError), FailureCode::NoAnswer);
    }
    co_return reply;
}

} // namespace px40
