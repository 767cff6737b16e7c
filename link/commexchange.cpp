// The exchange itself: turns, attempts, and what is done about replies that come too late.

#include "link/comm.h"

#include "link/linkstate.h"
#include "platform/progressview.h"
#include "resources/strings.h"

#include <QLoggingCategory>

#include <algorithm>

namespace px40 {

namespace {

Q_LOGGING_CATEGORY(lcExchange, "px40.link", QtWarningMsg)

/// A reply to a command that is older than so many time-outs is not expected any more.
constexpr int OldestOwed = 4;

} // namespace

QCoro::Task<bool> Comm::SendCommand(QString command, int attempts)
{
    const bool mine = co_await TakeTurn();
    if (!mine)
        co_return false;
    const bool answered = co_await Exchange(command, attempts);
    EndTurn();
    co_return answered;
}

QCoro::Task<bool> Comm::TakeTurn()
{
    if (shut_)
        co_return false;
    if (!exchanging_) {
        exchanging_ = true;
        co_return true;
    }
    OneShot<bool> turn;
    turns_.push_back(turn);
    const bool granted = co_await turn;
    co_return granted;
}

void Comm::EndTurn()
{
    if (turns_.empty()) {
        exchanging_ = false;
        return;
    }
    const OneShot<bool> next = turns_.front();
    turns_.pop_front();
    next.Complete(true);
}

QCoro::Task<bool> Comm::Exchange(QString command, int attempts)
{
    const int opening = closings_;
    if (owed_ > 0 && owedSince_.hasExpired(qint64{OldestOwed} * timeout_.Interval()))
        owed_ = 0;
    if (owed_ > 0 && owedWaitFirst_) {
        const bool clear = co_await DropOwedReplies(owedPatienceMs_);
        if (!clear)
            co_return false;
    }

    QElapsedTimer sinceFirst;
    sinceFirst.start();
    int attempt = 0;
    while (attempt < attempts) {
        ++attempt;
        if (!BeginAttempt(command) || closings_ != opening)
            co_return false;
        const AttemptEnd end = co_await AwaitAttempt(opening);
        if (end == AttemptEnd::Answered) {
            Owe(attempt - 1, sinceFirst, true);
            co_return true;
        }
        if (end == AttemptEnd::Closed)
            co_return false;
        if (end == AttemptEnd::Interrupted) {
            qCDebug(lcExchange).noquote() << command << "cancelled";
            Owe(attempt, sinceFirst, true);
            co_return false;
        }
        if (end == AttemptEnd::TimedOut) {
            qCDebug(lcExchange).noquote() << command << "no reply to attempt" << attempt << "of" << attempts;
            continue;
        }
        // That reply was to a command given up before. This attempt's own reply is still to come as well:
        // let all of them pass, then ask again.
        qCDebug(lcExchange).noquote() << command << "got the reply to an older command";
        const bool clear = co_await DropOwedReplies(OwedPatience());
        if (!clear)
            co_return false;
        --attempt;
    }

    Owe(attempts, sinceFirst, false);
    if (state_->LinkActivity == ActivityDownload) {
        if (progress_)
            progress_->DisableCancel();
        state_->ErrorMessage = Text(Str::TimeoutError);
    }
    co_return false;
}

/// Looks at the conditions in their order each time something has happened.
QCoro::Task<Comm::AttemptEnd> Comm::AwaitAttempt(int opening)
{
    while (true) {
        co_await NextEvent();
        if (Interrupted()) {
            timeout_.SetEnabled(false);
            state_->ExchangeState = ExchangeTimedOut; // nobody waits for its reply any more
            co_return AttemptEnd::Interrupted;
        }
        if (state_->ExchangeState == ExchangeComplete)
            co_return stale_ ? AttemptEnd::Stale : AttemptEnd::Answered;
        if (closings_ != opening)
            co_return AttemptEnd::Closed;
        if (state_->ExchangeState == ExchangeTimedOut)
            co_return AttemptEnd::TimedOut;
    }
}

void Comm::Owe(int replies, const QElapsedTimer &since, bool waitFirst)
{
    owed_ = replies;
    owedSince_ = since;
    owedWaitFirst_ = waitFirst;
    owedPatienceMs_ = OwedPatience();
}

int Comm::OwedPatience() const
{
    const qint64 oldest = qint64{OldestOwed} * timeout_.Interval();
    return static_cast<int>(std::min(owedSince_.elapsed(), oldest)) + timeout_.Interval();
}

/// False when the work was interrupted or the port closed meanwhile.
QCoro::Task<bool> Comm::DropOwedReplies(int patienceMs)
{
    const int opening = closings_;
    dropping_ = true;
    owedTimeout_.SetInterval(patienceMs);
    owedTimeout_.SetEnabled(true);
    bool interrupted = false;
    while (owed_ > 0 && closings_ == opening && !interrupted) {
        co_await NextEvent();
        interrupted = Interrupted();
    }
    owedTimeout_.SetEnabled(false);
    dropping_ = false;
    co_return !interrupted && closings_ == opening;
}

/// Counts the replies among input that answers nothing.
void Comm::DropOwed(const QByteArray &bytes)
{
    const auto lines = static_cast<int>(std::min<qsizetype>(bytes.count('\n'), owed_));
    owed_ -= lines;
    if (lines > 0 && dropping_) {
        owedTimeout_.SetEnabled(true); // it is slow, but it goes on
        Wake();
    }
}

void Comm::OnNothingMoreOwed()
{
    owed_ = 0;
    Wake();
}

/// The flags that end the work under way, in the order in which they count.
bool Comm::Interrupted() const
{
    return shut_ || (state_->LinkActivity == ActivityDownload && state_->DownloadCancel) ||
           (state_->LinkActivity == ActivityRealtimeTransition && state_->RealtimeStop);
}

void Comm::FlagsChanged()
{
    Wake();
}

void Comm::Wake()
{
    if (waiting_)
        waiting_->Complete(true);
}

/// Waits until something has happened that the waiting exchange must look at.
QCoro::Task<void> Comm::NextEvent()
{
    OneShot<bool> event;
    waiting_ = event;
    if (Interrupted())
        event.Complete(true);
    co_await event;
    waiting_.reset();
}

} // namespace px40
