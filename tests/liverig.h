#pragma once

#include "acquire/measuredisplay.h"
#include "acquire/realtime.h"
#include "acquire/rowforward.h"
#include "acquire/status.h"
#include "acquire/statuscheck.h"
#include "document/dataset.h"
#include "link/rangelists.h"
#include "tests/heldclock.h"
#include "tests/support.h"

#include <memory>
#include <stdexcept>

namespace px40 {

class RecordedForward : public RowForward
{
  public:
    bool Open(std::shared_ptr<DataSet>) override { return opens; }
    bool Write(int sample) override
    {
        if (sample == throwAt)
            throw std::runtime_error("broken");
        written.append(sample);
        return sample != failAt;
    }
    void Close() override { ++closings; }

    QList<int> written;
    bool opens = true;
    int failAt = 0;
    int throwAt = 0;
    int closings = 0;
};

/// Status check and real-time receive on the simulated instrument, without windows.
struct LiveRig : LinkRig, private StatusViews, private RealtimeViews
{
    explicit LiveRig(int replyTimeoutMs = ReplyTimeoutMs)
        : LinkRig(Unpaced(), replyTimeoutMs),
          check(state, gate, comm, prompts, instrument, ranges, checkTimer, *this),
          realtime({state, gate, comm, prompts, jobs, clock, instrument, tmRealtime, *this})
    {
    }

    /// One status check.
    bool Check()
    {
        const Running<bool> running(check.CheckStatus());
        return running.Finish() && running.Value();
    }

    std::shared_ptr<DataSet> NewSet()
    {
        auto dataSet = std::make_shared<DataSet>(state, shared);
        dataSet->OpenNew(KindRealtime);
        return dataSet;
    }

    /// A new set with that interval and period in seconds below a minute; no period with 0.
    std::shared_ptr<DataSet> NewSet(const char *interval, const char *period)
    {
        const auto dataSet = NewSet();
        const auto seconds = [](const char *text) {
            return Duration{u"00"_qs, u"00"_qs, u"00"_qs, QString::fromLatin1(text)};
        };
        dataSet->SetInterval(seconds(interval));
        if (*period)
            dataSet->SetPeriod(false, seconds(period));
        return dataSet;
    }

    bool Start(const std::shared_ptr<DataSet> &dataSet, bool forward = false)
    {
        jobs.Launch(realtime.StartRealtime(dataSet, forward), "start");
        return Settled();
    }

    /// Moves the clock, lets the timer tick and waits until the tick is done.
    bool Pass(qint64 ms)
    {
        clock.Advance(ms);
        Q_EMIT tmRealtime.tick();
        return Settled();
    }

    bool PassSeconds(int seconds)
    {
        bool settled = true;
        for (int i = 0; settled && i < seconds && state.RealtimeRun; ++i)
            settled = Pass(1000);
        return settled;
    }

    bool Settled() const
    {
        return WaitUntil([this] { return jobs.Running() == 0; });
    }

    HeldClock clock;
    Timer checkTimer{1000, true};
    Timer tmRealtime{0, false}; // ticks only by hand
    RangeLists ranges = BuildRangeLists();
    InstrumentState instrument;
    DocumentShared shared;
    StatusCheck check;
    Realtime realtime;

    QList<MeasureDisplay> shown;
    QList<bool> commandsEnabled;
    QStringList handedOn; ///< to the MEASURE window during a run
    RunProgress progress;
    int runChanges = 0;

  private:
    void ShowMeasure(const MeasureDisplay &display) override { shown.append(display); }
    void EnableMainCommands(bool enabled) override { commandsEnabled.append(enabled); }
    void RunChanged() override { ++runChanges; }
    void ShowRun(const RunProgress &now) override { progress = now; }
    void StatusStored() override { jobs.Launch(ShowStored(), "showing"); }
    void SetData(const QString &text) override { handedOn.append(text); }

    QCoro::Task<void> ShowStored()
    {
        const bool done = co_await check.CheckStatus();
        if (!done)
            qWarning("a stored reply could not be shown");
    }
};

} // namespace px40
