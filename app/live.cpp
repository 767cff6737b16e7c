#include "app/live.h"

#include "acquire/frmmoniter.h"
#include "acquire/measuredisplay.h"
#include "acquire/secondcounter.h"
#include "app/maincommands.h"
#include "link/comm.h"
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

constexpr int FadeAfterMs = 2 * StatusCheckIntervalMs + StatusCheckIntervalMs / 4; // a check may be late
constexpr int FromBottom = 16; // how far above the bottom of the SOURCE window the value entry opens

QString UnitText(const SourceDisplay &display)
{
    return display.symbol == MeasureDisplay::NoSymbol ? display.unit : Text(Str::UnitCelsius);
}

/// Keeps a window above another one, even when that is clicked.
void KeepAbove(QWidget *window, const QWidget *other)
{
    window->winId(); // creates the `windowHandle`
    window->windowHandle()->setTransientParent(other->windowHandle());
}

void BringToFront(QWidget *window)
{
    window->raise();
    window->activateWindow();
}

} // namespace

Live::Live(Services &services, MainCommands &commands, Timer &tmCheckStat, QWidget *window)
    : QObject(window), services_(&services), commands_(&commands), tmCheckStat_(&tmCheckStat),
      window_(window), statusCheck_(services.link, tmCheckStat,
                                    [&services](const QString &text) { return services.prompts.Warn(text); }),
      sourceCommands_(services.link), tmFade_(FadeAfterMs, false, this)
{
    tmFade_.setObjectName(QStringLiteral("tmFade"));
    connect(&tmFade_, &Timer::tick, this, &Live::Fade);
    connect(&tmCheckStat, &Timer::tick, this, [this] { services_->jobs.Launch(Check(), "status check"); });
    connect(&services.instrument, &InstrumentState::statusReceived, this, &Live::ShowStatus);
    connect(&commands.RealtimeRun(), &Realtime::requestEnded, this, &Live::SendWaiting);
    connect(&commands.RealtimeRun(), &Realtime::runChanged, this, &Live::OnRunChanged);
    connect(&sourceCommands_, &SourceCommands::failed, this, &Live::OnCommandFailed);
    connect(&sourceCommands_, &SourceCommands::recovered, this, &Live::OnCommandRecovered);
    connect(&services.comm, &Comm::lineReceived, this, &Live::OnLineReceived);
    connect(&services.comm, &Comm::portChanged, this, &Live::OnPortChanged);
}

/// Shows a window without giving it the focus: the user goes on in the main window.
void Live::ShowWindow(LiveWindow *window)
{
    connect(window, &LiveWindow::closed, this, &Live::windowsChanged);
    window->addActions(window_->actions()); // whose shortcuts are the main window's
    window->setAttribute(Qt::WA_ShowWithoutActivating);
    window->show();
    window_->activateWindow();
    ShowDemo();
    ShowNotes();
    // The device may have been plugged in again.
    if (services_->comm.IsLost() && !services_->state.RealtimeRun) {
        const Result<> opened = services_->comm.OpenPort();
        services_->statusLine.Show(opened ? QString() : FirstLine(opened.error().text));
    }
    StartChecking();
    Q_EMIT windowsChanged();
}

QWidget *Live::Moniter() const
{
    return moniter_;
}

QWidget *Live::Source() const
{
    return source_;
}

void Live::OpenMoniter()
{
    reopenMoniter_ = false;
    if (moniter_) {
        BringToFront(moniter_);
        return;
    }
    moniter_ = new frmMoniter(services_->link, services_->store, window_);
    connect(moniter_, &LiveWindow::closed, this, [this] { moniter_ = nullptr; });
    ShowWindow(moniter_);
}

void Live::OpenSource()
{
    reopenSource_ = false;
    if (source_) {
        BringToFront(source_);
        return;
    }
    source_ = new frmSource(sourceCommands_, services_->ranges, services_->store, window_);
    connect(source_, &LiveWindow::closed, this, [this] {
        source_ = nullptr;
        ShowSource({}); // nothing updates the value entry any more
        if (valueEntry_)
            KeepAbove(valueEntry_, window_);
    });
    connect(source_, &frmSource::valueAsked, this, &Live::OpenValueEntry);
    ShowWindow(source_);
    if (valueEntry_)
        KeepAbove(valueEntry_, source_);
}

void Live::ToggleMoniter()
{
    if (moniter_)
        moniter_->close();
    else
        OpenMoniter();
    Q_EMIT windowsChanged(); // a click has changed the check mark, whatever came of it
}

void Live::ToggleSource()
{
    if (source_)
        source_->close();
    else
        OpenSource();
    Q_EMIT windowsChanged();
}

void Live::CloseWindows()
{
    if (moniter_)
        moniter_->close();
    if (source_)
        source_->close();
}

/// The dialog is a child of the main window, so that it stays when the SOURCE window is closed. It opens
/// where it does not cover the digits.
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
    // From the last status received: commands that the instrument has not obeyed yet do not count.
    const InstrumentStatus &received = services_->instrument.PreviousStatus;
    if (received != InstrumentStatus())
        valueEntry_->ShowUnit(UnitText(px40::ShowSource(received, services_->ranges, false)));
}

void Live::PortChosen()
{
    if (!services_->comm.IsOpen())
        return;
    if (reopenMoniter_)
        OpenMoniter();
    if (reopenSource_)
        OpenSource();
}

void Live::Leave()
{
    sourceCommands_.tmSrcInter.SetEnabled(false);
    tmCheckStat_->SetEnabled(false);
    CloseWindows();
}

void Live::StartChecking()
{
    const bool checking = tmCheckStat_->Enabled() && tmCheckStat_->Interval() > 0;
    if (!services_->comm.IsOpen() || checking)
        return;
    tmCheckStat_->SetInterval(StatusCheckIntervalMs);
    tmCheckStat_->SetEnabled(true);
}

/// A picture of a simulated value must not pass for a measured one.
void Live::ShowDemo()
{
    const bool demo = services_->simulated && services_->ports.IsFixed(services_->comm.PortNumber());
    if (moniter_)
        moniter_->SetDemo(demo);
    if (source_)
        source_->SetDemo(demo);
}

void Live::OnPortChanged()
{
    ShowDemo();
    if (services_->state.RealtimeRun)
        return;
    if (services_->comm.IsOpen()) {
        if (moniter_ || source_)
            StartChecking();
        return;
    }
    // A reading that nothing refreshes must not pass for the present one.
    if (moniter_)
        moniter_->Show({});
    ShowSource({});
}

/// A run may have found the port again while no status check ran.
void Live::OnRunChanged()
{
    if (services_->state.RealtimeRun || (!moniter_ && !source_))
        return;
    if (services_->comm.IsLost())
        static_cast<void>(services_->comm.OpenPort()); // the status bar goes on saying how the run ended
    StartChecking();
}

QCoro::Task<void> Live::Check()
{
    const bool reached = co_await statusCheck_.CheckStatus();
    if (reached) {
        SendWaiting();
        co_return;
    }
    reopenMoniter_ = reopenMoniter_ || moniter_;
    reopenSource_ = reopenSource_ || source_;
    CloseWindows();
}

/// Sends waiting commands at once: with a slow instrument their timers would tick only after the next status
/// check has begun.
void Live::SendWaiting()
{
    if (services_->leaving)
        return;
    sourceCommands_.SendNow();
    if (moniter_)
        moniter_->SendNow();
}

void Live::ShowStatus()
{
    const InstrumentStatus &status = services_->instrument.Status;
    const bool hidden = HidesMeasurement(status.SourceMode);
    if (moniter_ || source_)
        NoteNewStatus();
    if (moniter_)
        moniter_->Show(ShowMeasure(status, services_->ranges));
    if (moniter_ && faded_) // the old status is shown again
        moniter_->Fade();
    if (source_)
        ShowSource(px40::ShowSource(status, services_->ranges, moniter_ && hidden));
    if (source_ && faded_)
        source_->Fade();
    if (services_->state.LinkActivity == ActivityIdle)
        commands_->AllowReceiving(!hidden);
}

void Live::NoteNewStatus()
{
    if (std::exchange(shownReply_, services_->instrument.Accepted) == services_->instrument.Accepted)
        return;
    since_ = TimeOfDay(SecondOf(services_->clock.UtcMs()));
    faded_ = false;
    tmFade_.SetEnabled(true); // begins its interval anew
    ShowNotes();
}

/// In a download, or with a slow instrument, lines come without a new status. They keep the value from
/// fading, too, unless the last status could not be read.
void Live::OnLineReceived()
{
    const InstrumentState &instrument = services_->instrument;
    const bool shown = shownReply_ == instrument.Accepted && instrument.Known;
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

void Live::ShowNotes()
{
    const QString note = faded_ ? Text(Str::NoReadingSince).arg(since_) : QString();
    if (moniter_)
        moniter_->ShowNote(note);
    if (source_)
        source_->ShowNote(note);
}

void Live::ShowSource(const SourceDisplay &display)
{
    if (source_)
        source_->Show(display);
    if (valueEntry_)
        valueEntry_->ShowUnit(UnitText(display));
}

/// Shows it in the SOURCE window as well: the status bar may be covered.
void Live::OnCommandFailed(const QString &reason)
{
    services_->statusLine.Warn(reason);
    if (source_)
        source_->ShowMessage(reason);
}

void Live::OnCommandRecovered(const QString &reason)
{
    services_->statusLine.TakeBack(reason);
    if (source_)
        source_->ShowMessage(QString());
}

} // namespace px40
