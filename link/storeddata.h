#pragma once

#include "link/datasink.h"

#include <QCoro/QCoroTask>
#include <QString>

#include <memory>

namespace px40 {

class Comm;
class LinkGate;
class ProgressView;
class Prompts;
struct LinkState;

/// Fetches the 50 readings, or the 50 SAVE-mode records, that the instrument keeps in its memory, one request
/// each, under the progress dialog. A download that ends early keeps the rows received and shows one box with
/// the link's `ErrorMessage`, also after a cancel.
///
/// Everything handed to the constructor must outlive the downloads; the rows' place is shared, so it stays
/// until the download has let go of it.
class StoredData
{
  public:
    static constexpr int Entries = 50;
    enum class Mode { Memory, Save };

    StoredData(LinkState &state, LinkGate &gate, Comm &comm, Prompts &prompts, ProgressView &progress);

    /// One of the two below. The link is free when this is called.
    QCoro::Task<bool> Receive(Mode mode, std::shared_ptr<DataSink> sink);

    /// Has the link for itself. True when all 50 readings arrived.
    QCoro::Task<bool> ReceiveMemoryData(std::shared_ptr<DataSink> sink);

    /// Requests the 50 SAVE-mode records and checks them; a record only makes room in the table. Leaves
    /// `LinkBusy` alone: that a download is under way keeps others from the link. True when all 50 records
    /// arrived.
    QCoro::Task<bool> ReceiveSaveData(std::shared_ptr<DataSink> sink);

    /// Of the last SAVE-mode download: the records that arrived and were not empty.
    int Records() const { return records_; }

  private:
    QCoro::Task<bool> Guarded(QCoro::Task<bool> fetch);
    QCoro::Task<bool> FetchReadings(DataSink *sink);
    QCoro::Task<bool> FetchRecords(DataSink *sink);
    QCoro::Task<void> End(DataSink *sink, bool complete);
    void Begin(DataSink *sink, const QString &caption);
    void ShowStep(int n);

    LinkState *state_;
    LinkGate *gate_;
    Comm *comm_;
    Prompts *prompts_;
    ProgressView *progress_;
    int records_ = 0;
};

} // namespace px40
