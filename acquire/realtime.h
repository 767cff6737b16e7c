#pragma once

#include "acquire/runprogress.h"
#include "acquire/secondcounter.h"
#include "acquire/status.h"
#include "link/linkuse.h"
#include "platform/portmap.h"
#include "platform/result.h"
#include "platform/tell.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QString>

#include <memory>
#include <optional>

namespace px40 {

class Clock;
class DataSet;
class RowForward;
class Timer;

/// Real-time receive: asks for the instrument's status once a second and stores every interval-th one as a
/// row until the period is over or the user stops.
///
/// A second's status is requested when it begins and stored when the next one begins, and the row has the
/// time of that next one. Rows are in the order of their seconds, the interval apart; a second without an
/// answer gives a row "ERROR", and an answer that comes late is stored as of the last sampling second before
/// it. The timer `tmRealtime` only samples the clock. While the port is closed it is opened again, the same
/// assigned device, each second.
///
/// What is handed in must outlive the runs. The data set is shared, so it stays until its run is over.
class Realtime : public QObject
{
    Q_OBJECT

  public:
    /// `tell` tells the user why a run has ended, before the rest of the program sees it as over.
    Realtime(const InstrumentLink &link, const Clock &clock, Timer &tmRealtime, Tell tell);

    /// Where rows are forwarded to: to be set before a run that asks for it, which it must outlive.
    void SetForward(RowForward *forward) { forward_ = forward; }

    /// Starts a run into `dataSet`, after the rows that it holds, and returns after the first request. The
    /// link must be idle and free.
    QCoro::Task<void> StartRealtime(std::shared_ptr<DataSet> dataSet, bool forward);

    /// The run ends at the next second.
    void Stop();

    /// The run ends now, and no other begins: nobody waits for what is under way. The port is to be closed
    /// first.
    void EndNow();

    /// The data set of the run; null when there is none.
    const DataSet *RealtimeData() const { return data_.get(); }

  Q_SIGNALS:
    void runChanged(); ///< a run has begun or ended (`RealtimeRun`)
    void progressed(const px40::RunProgress &progress);
    void requestEnded(); ///< this second's request is over; the link is free until the next one

  private:
    QCoro::Task<void> Begin(bool forward);
    QCoro::Task<void> Guarded(QCoro::Task<void> work);
    void OnTick();
    QCoro::Task<void> Tick(qint32 seconds);
    void EndTick();
    QCoro::Task<void> OnRealtimeTick(qint32 seconds);
    QCoro::Task<void> OnIdleTick();
    QCoro::Task<Result<bool>> StoreSeconds(qint32 seconds);
    QCoro::Task<void> RequestSample();
    void OpenPortAgain();
    QCoro::Task<void> Ask();
    qint32 SecondOfReply(qint64 firstSecond, qint32 seconds) const;
    Result<> AddSample(const ReadingTexts &sample, qint64 second);
    QCoro::Task<void> FinishRealtime(QString trouble);
    QCoro::Task<void> StopRealtime();

    bool IsSamplingSecond() const;
    qint32 Interval() const;
    void ShowBar();
    void Forward();
    QCoro::Task<void> CloseForward();
    void ForwardFailed(const Failure &failure);
    void ShowProgress();
    void End();

    InstrumentLink link_;
    const Clock *clock_;
    Timer *tmRealtime_;
    Tell tell_;
    RowForward *forward_ = nullptr;
    std::shared_ptr<DataSet> data_;
    std::optional<LinkUse> use_; ///< during a run
    SecondCounter seconds_;
    RunProgress progress_;
    qint64 replySecond_ = 0; ///< in which the last reply came, since the beginning of 1970, UTC
    qint32 ElapsedSeconds_ = 0;
    int port_ = 0;                       ///< the port number that the run used last; 0: none yet
    std::optional<PortIdentity> device_; ///< and its device
    int barRows_ = 0;
    bool ForwardOff_ = true;
    bool endingNow_ = false;
    bool ticking_ = false; ///< a tick, or the request it made, is under way: further ticks are ignored
};

} // namespace px40
