#pragma once

#include "acquire/realtime.h"
#include "acquire/status.h"
#include "acquire/statuscheck.h"
#include "document/dataset.h"
#include "document/rowforward.h"
#include "testing/heldclock.h"
#include "testing/linkrig.h"

#include <memory>
#include <stdexcept>

namespace px40 {

class RecordedForward : public RowForward
{
  public:
    QCoro::Task<Result<>> Open(std::shared_ptr<DataSet> dataSet) override
    {
        data = dataSet;
        if (!failure.text.isEmpty())
            co_return Fail(failure);
        co_return Result<>();
    }
    Result<Row> Write() override
    {
        const int sample = data->GetDatacount();
        if (sample == throwAt)
            throw std::runtime_error("broken");
        written.append(sample);
        if (sample == failAt)
            return Fail(u"No room.\r\nbook.xlsx"_qs);
        return sample == fullAt ? Row::Full : Row::Taken;
    }
    QCoro::Task<Result<>> Close() override
    {
        ++closings;
        co_return Result<>();
    }

    std::shared_ptr<DataSet> data;
    QList<int> written;
    Failure failure; ///< of opening; none without a text
    int failAt = 0;
    int fullAt = 0;
    int throwAt = 0;
    int closings = 0;
};

/// Status check and real-time receive on the simulated instrument, without windows. The port is open.
struct LiveRig : LinkRig
{
    explicit LiveRig(int replyTimeoutMs = ReplyTimeoutMs, sim::ServerOptions options = Unpaced())
        : LinkRig(std::move(options), replyTimeoutMs), check(link, checkTimer, tell),
          realtime(link, clock, tmRealtime, tell)
    {
        Open();
        QObject::connect(&instrument, &InstrumentState::statusReceived,
                         [this] { shown.append(instrument.Status); });
        QObject::connect(&realtime, &Realtime::runChanged, [this] { ++runChanges; });
        QObject::connect(&realtime, &Realtime::progressed,
                         [this](const RunProgress &now) { progress = now; });
    }

    /// One status check.
    bool Check() { return Finish(check.CheckStatus()); }

    static Duration Seconds(int seconds) { return {u"0"_qs, u"0"_qs, u"0"_qs, QString::number(seconds)}; }

    /// A new set with that interval and period in seconds below a minute; no period with 0.
    template <typename Set = DataSet>
    std::shared_ptr<Set> NewSet(int interval, int period = 0)
    {
        const auto dataSet = std::make_shared<Set>(shared);
        dataSet->OpenNew(KindRealtime);
        dataSet->SetInterval(Seconds(interval));
        if (period != 0)
            dataSet->SetPeriod(false, Seconds(period));
        return dataSet;
    }

    bool Start(const std::shared_ptr<DataSet> &dataSet, bool forward = false)
    {
        jobs.Launch(realtime.StartRealtime(dataSet, forward), "start");
        return Settled();
    }

    bool Ended() const
    {
        return !state.RealtimeRun && !state.LinkBusy && state.LinkActivity == ActivityIdle &&
               !tmRealtime.Enabled();
    }

    void Tick(qint64 ms)
    {
        clock.Advance(ms);
        Q_EMIT tmRealtime.tick();
    }

    /// A tick after so many milliseconds, to its end.
    bool Pass(qint64 ms)
    {
        Tick(ms);
        return Settled();
    }

    bool PassSeconds(int seconds)
    {
        while (seconds > 0 && state.RealtimeRun && Pass(1000))
            --seconds;
        return Settled();
    }

    bool Settled() const
    {
        return WaitUntil([this] { return jobs.Running() == 0; });
    }

    HeldClock clock;
    Timer checkTimer{1000, true};
    Timer tmRealtime{0, false}; // ticks only by hand
    DocumentShared shared;
    StatusCheck check;
    Realtime realtime;

    QList<InstrumentStatus> shown;
    RunProgress progress;
    int runChanges = 0;
};

} // namespace px40
