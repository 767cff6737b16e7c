#pragma once

#include "acquire/status.h"
#include "link/linkuse.h"
#include "platform/result.h"

#include <QCoro/QCoroTask>

#include <memory>

namespace px40 {

class DataSet;
class ProgressView;
struct LinkCommand;

/// One download of the 50 readings, or the 50 SAVE-mode records, that the instrument keeps in its memory, one
/// request each, under the progress dialog. It has the link until it is destroyed, so that its owner can
/// tell the user of a failure before anything else is sent.
class StoredData
{
  public:
    static constexpr int Entries = 50;
    enum class Mode { Memory, Save };

    /// The link must be free, and what is handed in outlive the download. In SAVE mode it does
    /// not set `LinkBusy`: its activity alone keeps others from the link. A record only adds an empty row.
    StoredData(const InstrumentLink &link, ProgressView &progress, Mode mode,
               std::shared_ptr<DataSet> dataSet);

    /// To the end. A download that fails, or is cancelled, keeps the rows received.
    QCoro::Task<Result<>> Receive();

    /// The SAVE-mode records that arrived and were not empty.
    int Records() const { return records_; }

  private:
    QCoro::Task<Result<>> Fetch();
    QCoro::Task<Result<>> FetchAll();
    Result<> StoreReading(int n, const QString &reply);
    Result<> StoreRecord(const QString &reply);
    QCoro::Task<Result<QString>> Ask(LinkCommand command);

    InstrumentLink link_;
    ProgressView *progress_;
    Mode mode_;
    std::shared_ptr<DataSet> data_;
    LinkUse use_;
    int records_ = 0;
};

} // namespace px40
