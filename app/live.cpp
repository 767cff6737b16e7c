#include "app/live.h"

#include "acquire/frmmoniter.h"
#include "acquire/measuredisplay.h"
#include "acquire/secondcounter.h"
#include "app/forwarding.h"
#include "document/frmdata.h"
#include "link/comm.h"
#include "link/reply.h"
#include "platform/geometry.h"
#include "platform/prompts.h"
#include "platform/timer.h"
#include "resources/strings.h"
#include "source/frmsource.h"
#include "source/frmsrcvalueset.h"
#include "source/sourcedisplay.h"

#include <QWindow>

#include <utility>

namespace px40 {

namespace {

constexpr int WaitIntervalMs = 10;
constexpr int FadeAfterMs = 2 * StatusCheckIntervalMs + StatusCheckIntervalMs / 4; // a check may be late
constexpr int FromBottom = 16; // of the SOURCE window's frame: so far above it the value entry opens

QString UnitText(const SourceDisplay &display)
{
    return display.symbol == MeasureDisplay::NoSymbol ? display.unit : Text(Str::UnitCelsius);
}

/// Wherever the other one goes, also when it is clicked at.
void KeepAbove(QWidget *window, const QWidget *other)
{
    window->winId(); // a window of the desktop from here on
    window->windowHandle()->setTransientParent(other->windowHandle());
}

void BringToFront(QWidget *window)
{
    window->raise();
    window->activateWindow();
}

} // namespace

Live::Live(Services &services, const Timers &timers, Forwarding &forwarding, QWidget *window)
    : QObject(window), services_(&services), timers_(timers), forwarding_(&forwarding), window_(window),
      statusCheck_(services.state, services.gate, services.comm, services.prompts, services.instrument,
                   services.ranges, timers.tmCheckStat, *this),
      realtime_({services.state, services.gate, services.comm, services.prompts, services.jobs,
                 services.clock, services.instrument, timers.tmRealtime, *this}),
      sourceCommands_(services.state, services.gate, services.comm, services.jobs, services.instrument),
      tmFade_(FadeAfterMs, false, this)
{
    realtime_.SetForward(&forwarding.Rows());
    const auto tellInSource = [this](const QString &text) {
        if (source_)
            source_->ShowMessage(text);
    };
    connect(&sourceCommands_, &SourceCommands::failed, this, &Live::warning);
    connect(&sourceCommands_, &SourceCommands::failed, this, tellInSource);
    connect(&sourceCommands_, &SourceCommands::recovered, this, &Live::warningOver);
    connect(&sourceCommands_, &SourceCommands::recovered, this, [tellInSource] { tellInSource({}); });
    tmFade_.setObjectName(QStringLiteral("tmFade"));
    connect(&tmFade_, &Timer::tick, this, &Live::Fade);
    connect(&services.comm, &Comm::lineReceived, this, &Live::OnLine);
    connect(&timers.tmCheckStat, &Timer::tick, this,
            [this] { services_->jobs.Launch(Check(), "status check"); });
    connect(&services.comm, &Comm::portChanged, this, &Live::OnPortChanged);
    connect(&timers.tmCheckInter, &Timer::tick, this, &Live::OnCheckInter);
}

Live::~Live() = default;

/// Without taking the focus: the user goes on in the main window.
template <typename Window>
void Live::ShowWindow(Window *window)
{
    connect(window, &LiveWindow::closed, this, &Live::windowsChanged);
    window->setAttribute(Qt::WA_ShowWithoutActivating);
    window->ShowNote(Note());
    window->show();
    window_->activateWindow();
    StartChecking(true);
    Q_EMIT windowsChanged();
}

void Live::OpenMoniter()
{
    moniterByTrouble_ = false;
    if (moniter_) {
        BringToFront(moniter_);
        return;
    }
    const MoniterServices moniterServices = {&services_->state, &services_->gate,  &services_->comm,
                                             &services_->jobs,  &services_->store, &services_->instrument};
    moniter_ = new frmMoniter(moniterServices, window_);
    connect(moniter_, &LiveWindow::closed, this, [this] { moniter_ = nullptr; });
    ShowWindow(moniter_.data());
}

void Live::OpenSource()
{
    sourceByTrouble_ = false;
    if (source_) {
        BringToFront(source_);
        return;
    }
    const SourceServices sourceServices = {&services_->state, &services_->store, &services_->ranges,
                                           &sourceCommands_};
    source_ = new frmSource(sourceServices, window_);
    connect(source_, &LiveWindow::closed, this, [this] {
        source_ = nullptr;
        ShowSource({}); // nobody tells the value entry any more
        if (valueEntry_)
            KeepAbove(valueEntry_, window_);
    });
    connect(source_, &frmSource::valueAsked, this, &Live::OpenValueEntry);
    ShowWindow(source_.data());
    if (valueEntry_)
        KeepAbove(valueEntry_, source_);
}

void Live::CloseMoniter()
{
    if (moniter_)
        moniter_->close();
}

void Live::CloseSource()
{
    if (source_)
        source_->close();
}

/// It belongs to the main window: it stays when the SOURCE window is closed. It opens where it leaves the
/// digits to be seen.
void Live::OpenValueEntry()
{
    if (valueEntry_ && valueEntry_->isVisible()) {
        BringToFront(valueEntry_);
        return;
    }
    valueEntry_ = new frmSrcValueSet(sourceCommands_, services_->instrument, window_);
    const QRect below = source_->frameGeometry();
    valueEntry_->adjustSize();
    QRect place(QPoint(), valueEntry_->size());
    place.moveCenter(below.center());
    place.moveBottom(below.bottom() - FromBottom);
    valueEntry_->move(OntoScreen(place, UsableScreens()).topLeft());
    KeepAbove(valueEntry_, source_);
    valueEntry_->show();
    // As it was told last: what the user has asked for since is not yet what the instrument does.
    const InstrumentStatus &told = services_->instrument.PreviousStatus;
    if (told != InstrumentStatus())
        valueEntry_->ShowUnit(UnitText(px40::ShowSource(told, services_->ranges, false)));
}

void Live::PortChosen()
{
    if (!services_->comm.IsOpen())
        return;
    if (moniterByTrouble_)
        OpenMoniter();
    if (sourceByTrouble_)
        OpenSource();
}

void Live::Leave()
{
    sourceCommands_.tmSrcInter.SetEnabled(false);
    CloseMoniter();
    CloseSource();
}

/// A lost instrument that has been plugged in again is found again.
void Live::StartChecking(bool tell)
{
    if (services_->comm.IsLost() && !services_->state.RealtimeRun) {
        const QString reason = FirstLine(services_->comm.TryOpenPort());
        if (tell)
            Q_EMIT message(reason);
    }
    const bool checking = timers_.tmCheckStat.Enabled() && timers_.tmCheckStat.Interval() > 0;
    if (!services_->comm.IsOpen() || checking)
        return;
    timers_.tmCheckStat.SetInterval(StatusCheckIntervalMs);
    timers_.tmCheckStat.SetEnabled(true);
}

/// A reading that nothing refreshes must not pass for the present one.
void Live::OnPortChanged()
{
    if (services_->comm.IsOpen() || services_->state.RealtimeRun)
        return;
    if (moniter_)
        moniter_->Show({});
    ShowSource({});
}

QCoro::Task<void> Live::Check()
{
    const bool reached = co_await statusCheck_.CheckStatus();
    if (reached) {
        if (services_->leaving)
            co_return;
        // With a slow instrument the next check would follow before the timers of these come round.
        sourceCommands_.SendNow();
        if (moniter_)
            moniter_->SendNow();
        co_return;
    }
    moniterByTrouble_ = moniterByTrouble_ || moniter_;
    sourceByTrouble_ = sourceByTrouble_ || source_;
    CloseMoniter();
    CloseSource();
}

QCoro::Task<void> Live::Start(QPointer<frmData> window)
{
    if (asking_ || waiting_ || services_->state.RealtimeRun)
        co_return;
    if (forwarding_->Rows().IsClosing()) {
        Q_EMIT warning(Text(Str::ForwardWriting));
        co_return;
    }
    asking_ = true;
    Answer answer = Answer::Cancel;
    const bool open = co_await HavePort();
    if (open)
        answer =
            co_await services_->prompts.AskYesNoCancel(Text(Str::AskForwardRealtime), PromptIcon::Question);
    bool wanted = answer != Answer::Cancel && !services_->leaving;
    if (wanted && answer == Answer::Yes)
        wanted = co_await forwarding_->AskForRun();
    asking_ = false;
    if (!wanted || !window || services_->leaving)
        co_return;
    waiting_ = window;
    waitingForward_ = answer == Answer::Yes;
    timers_.tmCheckInter.SetInterval(WaitIntervalMs);
}

void Live::OnCheckInter()
{
    if (waiting_ && LinkInUse(services_->state)) {
        services_->state.StatusYield = true;
        return;
    }
    timers_.tmCheckInter.SetInterval(0);
    if (!waiting_)
        return;
    const std::shared_ptr<DataSet> dataSet = waiting_->Data();
    waiting_ = nullptr;
    services_->jobs.Launch(Begin(dataSet, waitingForward_), "starting real-time receive");
}

/// The link is free; the cable may have gone while the questions stood open.
QCoro::Task<void> Live::Begin(std::shared_ptr<DataSet> dataSet, bool forward)
{
    const bool open = co_await HavePort();
    if (open)
        co_await realtime_.StartRealtime(dataSet, forward);
}

/// Opens the port if it is not open; where that fails the user has been told.
QCoro::Task<bool> Live::HavePort()
{
    bool open = services_->comm.IsOpen();
    if (open)
        co_return true;
    open = co_await services_->comm.OpenPort();
    if (open && (moniter_ || source_))
        StartChecking(false);
    co_return open;
}

void Live::Stop()
{
    services_->state.RealtimeStop = true;
    services_->comm.FlagsChanged();
    realtime_.StopAsked();
}

void Live::ShowMeasure(const MeasureDisplay &display)
{
    TakeNews();
    if (moniter_)
        moniter_->Show(display);
    if (moniter_ && faded_) // it is the old one, decoded again
        moniter_->Fade();
}

void Live::ShowSourceStatus(const InstrumentStatus &status)
{
    TakeNews();
    const bool inMeasure = moniter_ && HidesMeasurement(status.SourceMode);
    ShowSource(px40::ShowSource(status, services_->ranges, inMeasure));
    if (source_ && faded_)
        source_->Fade();
}

void Live::TakeNews()
{
    if (std::exchange(newest_, services_->instrument.Accepted) == services_->instrument.Accepted)
        return;
    since_ = TimeOfDay(SecondOf(services_->clock.UtcMs()));
    faded_ = false;
    tmFade_.SetEnabled(true); // from now on
    ShowNotes();
}

/// In a download, or from a slow instrument, something comes though no new status is there yet. Where the
/// last status came to nothing, the one before it is not kept alive by that.
void Live::OnLine()
{
    const InstrumentState &instrument = services_->instrument;
    const bool shown = newest_ == instrument.Accepted && instrument.StatusReply != NoReplyText();
    if (tmFade_.Enabled() && shown)
        tmFade_.SetEnabled(true);
}

void Live::Fade()
{
    tmFade_.SetEnabled(false);
    faded_ = true;
    if (moniter_)
        moniter_->Fade();
    if (source_)
        source_->Fade();
    ShowNotes();
}

QString Live::Note() const
{
    return faded_ ? Text(Str::NoReadingSince).arg(since_) : QString();
}

void Live::ShowNotes()
{
    if (moniter_)
        moniter_->ShowNote(Note());
    if (source_)
        source_->ShowNote(Note());
}

void Live::ShowSource(const SourceDisplay &display)
{
    if (source_)
        source_->Show(display);
    if (valueEntry_)
        valueEntry_->ShowUnit(UnitText(display));
}

void Live::EnableMainCommands(bool enabled)
{
    Q_EMIT mainCommandsEnabled(enabled);
}

void Live::RunChanged()
{
    // A run may have found the port again while nobody checked.
    if ((moniter_ || source_) && !services_->state.RealtimeRun)
        StartChecking(false); // how the run ended stays to be read
    Q_EMIT runChanged();
}

void Live::ShowRun(const RunProgress &progress)
{
    if (progress.ended)
        Q_EMIT message(RunText(progress, forwarding_->TakeRunOutcome()));
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
