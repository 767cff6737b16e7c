#include "app/live.h"

#include "acquire/frmmoniter.h"
#include "acquire/measuredisplay.h"
#include "document/frmdata.h"
#include "platform/prompts.h"
#include "platform/timer.h"
#include "resources/strings.h"

namespace px40 {

namespace {

constexpr int WaitIntervalMs = 10;

} // namespace

Live::Live(Services &services, const Timers &timers, QWidget *window)
    : QObject(window), services_(&services), timers_(timers), window_(window),
      statusCheck_(services.state, services.gate, services.comm, services.prompts, services.instrument,
                   services.ranges, timers.tmCheckStat, *this),
      realtime_({services.state, services.gate, services.comm, services.prompts, services.jobs,
                 services.clock, services.instrument, timers.tmRealtime, *this})
{
    connect(&timers.tmCheckStat, &Timer::tick, this,
            [this] { services_->jobs.Launch(Check(), "status check"); });
    connect(&services.comm, &Comm::portChanged, this, &Live::OnPortChanged);
    connect(&timers.tmCheckInter, &Timer::tick, this, &Live::OnCheckInter);
}

Live::~Live() = default;

void Live::OpenMoniter()
{
    if (moniter_) {
        moniter_->raise();
        moniter_->activateWindow();
        return;
    }
    const MoniterServices moniterServices = {&services_->state, &services_->gate,  &services_->comm,
                                             &services_->jobs,  &services_->store, &services_->instrument};
    moniter_ = new frmMoniter(moniterServices, window_);
    connect(moniter_, &frmMoniter::closed, this, [this] {
        moniter_ = nullptr;
        Q_EMIT moniterChanged();
    });
    moniter_->setAttribute(Qt::WA_ShowWithoutActivating); // the user goes on in the main window
    closedByTrouble_ = false;
    moniter_->show();
    window_->activateWindow();
    StartChecking();
    Q_EMIT moniterChanged();
}

void Live::CloseMoniter()
{
    if (moniter_)
        moniter_->close();
}

void Live::PortChosen()
{
    if (closedByTrouble_ && services_->comm.IsOpen())
        OpenMoniter();
}

/// A lost instrument that has been plugged in again is found again.
void Live::StartChecking()
{
    if (services_->comm.IsLost() && !services_->state.RealtimeRun)
        Q_EMIT message(FirstLine(services_->comm.TryOpenPort()));
    const bool checking = timers_.tmCheckStat.Enabled() && timers_.tmCheckStat.Interval() > 0;
    if (!services_->comm.IsOpen() || checking)
        return;
    timers_.tmCheckStat.SetInterval(StatusCheckIntervalMs);
    timers_.tmCheckStat.SetEnabled(true);
}

/// A reading that nothing refreshes must not pass for the present one.
void Live::OnPortChanged()
{
    if (!services_->comm.IsOpen() && !services_->state.RealtimeRun)
        ShowMeasure({});
}

QCoro::Task<void> Live::Check()
{
    const bool reached = co_await statusCheck_.CheckStatus();
    if (reached)
        co_return;
    closedByTrouble_ = !moniter_.isNull();
    CloseMoniter();
}

QCoro::Task<void> Live::Start(QPointer<frmData> window)
{
    if (asking_ || waiting_ || services_->state.RealtimeRun)
        co_return;
    asking_ = true;
    const Answer answer =
        co_await services_->prompts.AskYesNoCancel(Text(Str::AskForwardRealtime), PromptIcon::Question);
    asking_ = false;
    if (answer == Answer::Cancel || !window || services_->leaving)
        co_return;
    waiting_ = window;
    waitingForward_ = answer == Answer::Yes;
    timers_.tmCheckInter.SetInterval(WaitIntervalMs);
}

void Live::OnCheckInter()
{
    if (waiting_ && services_->state.LinkBusy) {
        services_->state.StatusYield = true;
        return;
    }
    timers_.tmCheckInter.SetInterval(0);
    if (!waiting_)
        return;
    const std::shared_ptr<DataSet> dataSet = waiting_->Data();
    waiting_ = nullptr;
    services_->jobs.Launch(realtime_.StartRealtime(dataSet, waitingForward_), "starting real-time receive");
}

void Live::Stop()
{
    services_->state.RealtimeStop = true;
    services_->comm.FlagsChanged();
    realtime_.StopAsked();
}

void Live::ShowMeasure(const MeasureDisplay &display)
{
    if (moniter_)
        moniter_->Show(display);
}

void Live::EnableMainCommands(bool enabled)
{
    Q_EMIT mainCommandsEnabled(enabled);
}

void Live::RunChanged()
{
    // A run may have found the port again while nobody checked.
    if (moniter_ && !services_->state.RealtimeRun)
        StartChecking();
    Q_EMIT runChanged();
}

void Live::ShowRun(const RunProgress &progress)
{
    if (progress.ended)
        Q_EMIT message(RunText(progress));
    else
        Q_EMIT runMessage(RunText(progress));
}

void Live::StatusStored()
{
    services_->jobs.Launch(Check(), "showing a sample");
}

void Live::SetData(const QString &rcvData)
{
    if (moniter_)
        moniter_->SetData(rcvData);
}

} // namespace px40
