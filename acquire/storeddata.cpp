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

StoredData::StoredData(const InstrumentLink &link, ProgressView &progress, Mode mode,
                       std::shared_ptr<DataSet> dataSet)
    : link_(link), progress_(&progress), mode_(mode), data_(std::move(dataSet)),
      use_(link.gate, ActivityDownload,
           mode == Mode::Memory ? LinkUse::Sharing::Alone : LinkUse::Sharing::Shared)
{
}

QCoro::Task<Result<>> StoredData::Receive()
{
    link_.state.DownloadCancel = false;
    progress_->Show();
    progress_->SetCaption(Text(mode_ == Mode::Memory ? Str::ReceiveMemoryMode : Str::ReceiveSaveMode));
    progress_->SetMessage(Text(Str::Receiving));
    data_->ShowGrid(false); // while rows stream in
    Result<> fetched = co_await Fetch();
    if (mode_ == Mode::Save) { // also after a failure
        const Result<QString> ended = co_await Ask(EndRecords());
        const bool failed = !fetched && fetched.error().code != FailureCode::Cancelled;
        if (failed && !ended && ended.error().code != FailureCode::Cancelled)
            fetched = Fail(ended.error());
    }
    progress_->Unload();
    const int count = data_->GetDatacount();
    if (count > 2)
        data_->SetGraphcount(count);
    data_->ShowGrid(true);
    data_->PaintGraphtop();
    data_->DispCalculation();
    co_return fetched;
}

/// Running out of memory ends a download like any other failure.
QCoro::Task<Result<>> StoredData::Fetch()
{
    Result<> fetched;
    try {
        fetched = co_await FetchAll();
    } catch (const std::exception &error) {
        fetched = Fail(QString::fromLocal8Bit(error.what()));
    }
    co_return fetched;
}

QCoro::Task<Result<>> StoredData::FetchAll()
{
    if (mode_ == Mode::Memory) {
        const auto preparations = Preparations();
        for (const LinkCommand &command : preparations)
            const Result<QString> taken = co_await Ask(command); // a failure shows in the first reading
    } else {
        const Result<QString> begun = co_await Ask(BeginRecords());
        if (!begun)
            co_return Fail(begun.error());
    }
    for (int n = 1; n <= Entries; ++n) {
        const LinkCommand command = mode_ == Mode::Memory ? AskReading(n) : AskRecord(n);
        const Result<QString> reply = co_await Ask(command);
        if (!reply)
            co_return Fail(reply.error());
        const Result<> stored = mode_ == Mode::Memory ? StoreReading(n, *reply) : StoreRecord(*reply);
        if (!stored)
            co_return stored;
        progress_->RenProgress(n == Entries, n, Entries);
    }
    co_return Result<>();
}

Result<> StoredData::StoreReading(int n, const QString &reply)
{
    const Result<ReadingTexts> reading = DecodeMeasureReply(reply);
    if (!reading)
        return Fail(reading.error());
    Result<> added = data_->AddGridrow();
    if (added)
        data_->AddData(QStringLiteral("No.%1").arg(n), reading->measureValue, reading->measureUnit,
                       reading->sourceValue, reading->sourceUnit);
    return added;
}

Result<> StoredData::StoreRecord(const QString &reply)
{
    const Result<bool> filled = CheckSaveRecord(reply);
    if (!filled)
        return Fail(filled.error());
    records_ += *filled ? 1 : 0;
    return data_->AddGridrow();
}

/// An instrument that keeps silent ends a download; there is nothing left to cancel then.
QCoro::Task<Result<QString>> StoredData::Ask(LinkCommand command)
{
    Result<QString> reply = co_await link_.comm.SendCommand(command);
    if (!reply && reply.error().code == FailureCode::NoAnswer) {
        progress_->DisableCancel();
        reply = Fail(Text(Str::TimeoutError), FailureCode::NoAnswer);
    }
    co_return reply;
}

} // namespace px40
