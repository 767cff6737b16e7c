#pragma once

#include "acquire/realtime.h"
#include "acquire/status.h"
#include "acquire/statuscheck.h"
#include "bench/windowrig.h"
#include "link/rangelists.h"
#include "platform/clock.h"
#include "platform/timer.h"
#include "source/sourcecommands.h"

#include <memory>

class QLabel;

namespace px40 {
class frmMoniter;
class frmSource;
} // namespace px40

namespace px40::bench {

/// Goes on only where the benchmark says so.
class SteppedClock : public Clock
{
  public:
    qint64 UtcMs() const override { return utcMs_; }
    qint64 MonotonicMs() const override { return utcMs_; }
    void Advance(qint64 ms) { utcMs_ += ms; }

  private:
    qint64 utcMs_ = 1'900'000'000'300;
};

/// Status check and real-time receive on the simulated instrument, with or without their windows.
class LiveRig : private StatusViews, private RealtimeViews
{
  public:
    explicit LiveRig(sim::ServerOptions options);
    ~LiveRig() override;

    /// Opens the MEASURE and the SOURCE window; each status is shown in them from then on.
    void ShowWindows();

    /// The reading in the MEASURE window, which must have been opened.
    QLabel *Reading() const;

    /// One status check, from the first command until it has been handed to the windows, but not yet
    /// painted. False when the instrument did not answer.
    bool Check();

    /// Starts a run of one row a second into the data set, with a period of a day.
    void Start();

    /// The next second of the run: its row, the request of the one after it, and the painting of both. False
    /// when the run has ended.
    bool PassSecond();

    /// Rows of the run in which there is no reading.
    int ErrorRows() const { return progress_.errorRows; }

    LinkRig link;
    SetRig set;

  private:
    void ShowMeasure(const MeasureDisplay &display) override;
    void ShowSourceStatus(const InstrumentStatus &status) override;
    void EnableMainCommands(bool) override {}
    void RunChanged() override {}
    void ShowRun(const RunProgress &progress) override { progress_ = progress; }
    void StatusStored() override { set.jobs.Launch(ShowStored(), "showing a sample"); }
    void SetData(const QString &) override {}

    QCoro::Task<void> ShowStored();
    void FinishJobs() const;

    SteppedClock clock_;
    Timer checkTimer_{0, false};
    Timer tmRealtime_{0, false}; // ticks only by hand
    RangeLists ranges_ = BuildRangeLists();
    InstrumentState instrument_;
    RunProgress progress_;
    StatusCheck check_;
    Realtime realtime_;
    SourceCommands sourceCommands_;
    std::unique_ptr<frmMoniter> moniter_;
    std::unique_ptr<frmSource> source_;
};

} // namespace px40::bench
