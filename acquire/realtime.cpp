#include "acquire/realtime.h"

#include "document/dataset.h"
#include "document/rowforward.h"
#include "document/statistics.h"
#include "link/comm.h"
#include "link/linkstate.h"
#include "platform/clock.h"
#include "platform/jobs.h"
#include "platform/timer.h"
#include "platform/waiting.h"
#include "resources/strings.h"

#include <QFileInfo>

#include <algorithm>
#include <exception>
#include <utility>

namespace px40 {

namespace {

/// How many rows of a late tick are stored at a time; in between the windows can respond.
constexpr qint32 RowsAtATime = 500;

} // namespace

Realtime::Realtime(const InstrumentLink &link, const Clock &clock, Timer &tmRealtime, Tell tell)
    : link_(link), clock_(&clock), tmRealtime_(&tmRealtime), tell_(std::move(tell))
{
    connect(tmRealtime_, &Timer::tick, this, &Realtime::OnTick);
}

QCoro::Task<void> Realtime::StartRealtime(std::shared_ptr<DataSet> dataSet, bool forward)
{
    use_.emplace(link_.gate, ActivityRealtimeTransition, LinkUse::Sharing::Shared);
    link_.state.RealtimeStop = false;
    ticking_ = true;
    data_ = dataSet;
    co_await Guarded(Begin(forward));
    EndTick();
}

QCoro::Task<void> Realtime::Begin(bool forward)
{
    progress_ = {};
    barRows_ = -1;
    port_ = 0;
    device_.reset();
    ShowBar();
    data_->SetRunning(true);
    link_.state.RealtimeRun = true;
    Q_EMIT runChanged();
    ForwardOff_ = true;
    if (forward) {
        const Result<> opened = co_await forward_->Open(data_);
        ForwardOff_ = !opened;
        if (!opened)
            ForwardFailed(opened.error());
    }
    ElapsedSeconds_ = 0;
    co_await RequestSample();
}

/// An exception ends the run, as a row that cannot be stored does.
QCoro::Task<void> Realtime::Guarded(QCoro::Task<void> work)
{
    std::optional<QString> trouble;
    try {
        co_await work;
    } catch (const std::exception &error) {
        trouble = QString::fromLocal8Bit(error.what());
    }
    if (trouble && data_)
        co_await FinishRealtime(*trouble);
}

void Realtime::Stop()
{
    link_.state.RealtimeStop = true;
    if (data_)
        ShowProgress();
}

/// Asks for the sample of the second that has begun.
QCoro::Task<void> Realtime::RequestSample()
{
    if (!tmRealtime_->Enabled()) {
        tmRealtime_->SetEnabled(true);
        seconds_.Begin(*clock_);
    }
    use_->Become(ActivityRealtime);
    if (link_.state.LinkBusy) {
        link_.instrument.Miss(); // or the previous status would be stored again
        co_return;
    }
    OpenPortAgain();
    ShowProgress(); // now, because the instrument may take long to answer
    co_await Ask();
    Q_EMIT requestEnded();
    ShowProgress();
}

/// Opens the port that the run began on, even if the user has chosen another that could not be opened, and on
/// it the same device, whatever number the system has given it by now.
void Realtime::OpenPortAgain()
{
    if (link_.comm.IsOpen()) {
        port_ = link_.comm.PortNumber();
        device_ = link_.comm.OpenedDevice();
        return;
    }
    if (port_ != 0 && port_ != link_.comm.PortNumber())
        link_.comm.SetPortNumber(port_);
    static_cast<void>(link_.comm.OpenPort(device_)); // a failure shows in the run's progress
}

QCoro::Task<void> Realtime::Ask()
{
    const LinkUse alone(link_.gate, ActivityRealtime);
    const auto commands = AskCondition();
    Result<QString> reply;
    for (const LinkCommand &command : commands)
        reply = co_await link_.comm.SendCommand(command);
    progress_.answered = reply.has_value();
    replySecond_ = SecondOf(clock_->UtcMs());
    if (reply && *reply != NoReplyText() && CheckCommMode(*reply))
        link_.instrument.Take(*reply);
    else
        link_.instrument.Miss();
}

void Realtime::OnTick()
{
    if (ticking_ || !data_)
        return;
    const qint32 seconds = seconds_.Count();
    if (seconds < 1 || link_.state.LinkBusy)
        return; // seconds in which somebody else has the link are not counted
    ticking_ = true;
    link_.jobs.Launch(Tick(seconds), "real-time tick");
}

QCoro::Task<void> Realtime::Tick(qint32 seconds)
{
    if (link_.state.LinkActivity == ActivityRealtime)
        co_await Guarded(OnRealtimeTick(seconds));
    else
        co_await Guarded(OnIdleTick());
    EndTick();
}

void Realtime::EndTick()
{
    ticking_ = false;
    if (endingNow_ && data_)
        End();
}

void Realtime::EndNow()
{
    endingNow_ = true;
    link_.state.RealtimeStop = true;
    if (data_ && !ticking_)
        End();
}

QCoro::Task<void> Realtime::OnRealtimeTick(qint32 seconds)
{
    const Result<bool> goesOn = co_await StoreSeconds(seconds);
    if (!goesOn)
        co_await FinishRealtime(goesOn.error().text);
    else if (!*goesOn || link_.state.RealtimeStop)
        co_await FinishRealtime(QString());
    else
        co_await RequestSample();
}

/// False when the period is over; it may be changed while the run is under way.
QCoro::Task<Result<bool>> Realtime::StoreSeconds(qint32 seconds)
{
    std::optional<LinkUse> alone; // keeps the link while a very late tick lets the windows respond
    if (seconds >= RowsAtATime)
        alone.emplace(link_.gate, ActivityRealtime);
    const qint64 firstSecond = seconds_.Second() - seconds + 1;
    const qint32 answered = SecondOfReply(firstSecond, seconds);
    for (qint32 k = 1; k <= seconds; ++k) {
        if (k % RowsAtATime == 0) {
            ShowProgress();
            co_await NextEventLoopTurn();
        }
        if (IsSamplingSecond()) {
            const ReadingTexts missed = {NoReplyText(), {}, {}, {}};
            const Result<> added =
                AddSample(k == answered ? link_.instrument.Sample : missed, firstSecond + k - 1);
            if (!added)
                co_return Fail(added.error());
        }
        ++ElapsedSeconds_;
        if (!data_->GetPeriodnone() && ElapsedSeconds_ > data_->GetPeriodcount())
            co_return false;
    }
    co_return true;
}

/// Which of the seconds of a tick the reply belongs to, from 1.
///
/// A reply that came in the second in which it was asked for belongs to the first of them; if there are more,
/// the program was late. A reply that came later belongs to the last sampling second that had begun by then,
/// whichever second asked for it: the instrument was late, and missed the seconds before.
qint32 Realtime::SecondOfReply(qint64 firstSecond, qint32 seconds) const
{
    const qint64 arrived = replySecond_ - firstSecond + 1;
    qint64 last = std::min<qint64>(seconds, arrived);
    if (!data_->GetPeriodnone()) // no second is stored after the end of the period
        last = std::min<qint64>(last, qint64{data_->GetPeriodcount()} - ElapsedSeconds_ + 1);
    if (last > 1)
        last -= (ElapsedSeconds_ + last - 1) % Interval();
    return static_cast<qint32>(std::max<qint64>(last, 1));
}

/// Somebody else has used the link since the last tick: the second is not counted.
QCoro::Task<void> Realtime::OnIdleTick()
{
    if (link_.state.RealtimeStop)
        co_await StopRealtime();
    else
        co_await RequestSample();
}

Result<> Realtime::AddSample(const ReadingTexts &sample, qint64 second)
{
    Result<> rowAdded = data_->AddGridrow();
    if (!rowAdded)
        return rowAdded;
    data_->AddRealtimedata(TimeOfDay(second), sample.measureValue, sample.measureUnit, sample.sourceValue,
                           sample.sourceUnit, IsValidReading(sample.measureValue));
    ++progress_.rows;
    if (sample.measureValue == NoReplyText())
        ++progress_.errorRows;
    ShowBar();
    if (!ForwardOff_)
        Forward();
    return {};
}

void Realtime::Forward()
{
    const Result<RowForward::Row> written = forward_->Write();
    if (!written) {
        ForwardFailed(written.error());
    } else if (*written == RowForward::Row::Full) {
        progress_.forwardFull = true;
        link_.jobs.Launch(CloseForward(), "finishing a full worksheet"); // the run goes on meanwhile
    }
}

QCoro::Task<void> Realtime::CloseForward()
{
    if (ForwardOff_)
        co_return;
    ForwardOff_ = true;
    const Result<> done = co_await forward_->Close();
    if (!done)
        ForwardFailed(done.error());
}

bool Realtime::IsSamplingSecond() const
{
    return ElapsedSeconds_ % Interval() == 0;
}

qint32 Realtime::Interval() const
{
    return std::max(1, data_->GetIntervalcount());
}

/// The data window's progress bar is full at the last row of the period, which may be changed during the run.
void Realtime::ShowBar()
{
    const int rows = data_->GetPeriodnone() ? 0 : RunRows(Interval(), data_->GetPeriodcount());
    if (rows != barRows_)
        data_->IniProgress(rows, progress_.rows);
    barRows_ = rows;
}

void Realtime::ForwardFailed(const Failure &failure)
{
    ForwardOff_ = true;
    progress_.forwardFailed = true;
    progress_.forwardReason = FirstLine(failure.text);
}

void Realtime::ShowProgress()
{
    progress_.name = QFileInfo(data_->Caption()).fileName();
    progress_.elapsedSeconds = ElapsedSeconds_;
    // The last second of a period is stored when the next one begins.
    if (!data_->GetPeriodnone() && ElapsedSeconds_ == data_->GetPeriodcount() + 1)
        --progress_.elapsedSeconds;
    progress_.portOpen = link_.comm.IsOpen();
    progress_.portLost = link_.comm.IsLost();
    progress_.stopping = link_.state.RealtimeStop;
    Q_EMIT progressed(progress_);
}

/// `trouble`: the failure that has ended the run; empty when there was none.
QCoro::Task<void> Realtime::FinishRealtime(QString trouble)
{
    tmRealtime_->SetEnabled(false);
    use_->Become(ActivityRealtimeTransition);
    co_await CloseForward();
    if (!trouble.isEmpty()) {
        link_.state.ErrorMessage = trouble;
        co_await tell_(trouble);
    }
    End();
}

QCoro::Task<void> Realtime::StopRealtime()
{
    tmRealtime_->SetEnabled(false);
    use_->Become(ActivityRealtimeStopping);
    {
        const LinkUse alone(link_.gate, ActivityRealtimeStopping);
        const Result<QString> ended = co_await link_.comm.SendCommand(EndRealtime());
    }
    co_await CloseForward();
    End();
}

void Realtime::End()
{
    tmRealtime_->SetEnabled(false);
    progress_.ended = true;
    data_->EndProgress();
    data_->SetRunning(false);
    ShowProgress();
    data_.reset();
    link_.state.RealtimeRun = false;
    use_.reset();
    Q_EMIT runChanged();
}

} // namespace px40
