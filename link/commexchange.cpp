// The exchange itself: turns, attempts, and the lines that come meanwhile.

#include "link/comm.h"

#include "link/linkstate.h"
#include "platform/progressview.h"
#include "resources/strings.h"

#include <QLoggingCategory>

#include <algorithm>

namespace px40 {

namespace {

Q_LOGGING_CATEGORY(lcExchange, "px40.link", QtWarningMsg)

// In time-outs. A stalled instrument answers all that it was asked as soon as it goes on; beyond this it was
// off, and what it was asked is lost.
constexpr int OldestReply = 60;
// So long the acknowledgement of an older command keeps one back that changes the instrument.
constexpr int OldestAcknowledgement = 2;

} // namespace

QCoro::Task<bool> Comm::SendCommand(QString command, int attempts)
{
    const bool mine = co_await TakeTurn();
    if (!mine)
        co_return false;
    const bool answered = co_await Exchange(command, attempts);
    pending_.End();
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
    if (ChangesInstrument(command))
        co_await AwaitAcknowledgements();
    pending_.Begin(command);
    state_->ExchangeState = ExchangeWaiting;
    for (int attempt = 1; attempt <= attempts; ++attempt) {
        const AttemptEnd end = co_await Attempt(command, opening);
        if (end == AttemptEnd::Answered)
            co_return true;
        if (end == AttemptEnd::Interrupted)
            qCDebug(lcExchange).noquote() << command << "cancelled";
        if (end != AttemptEnd::TimedOut)
            co_return false;
        qCDebug(lcExchange).noquote() << command << "no reply to attempt" << attempt << "of" << attempts;
    }
    if (state_->LinkActivity == ActivityDownload) {
        if (progress_)
            progress_->DisableCancel();
        state_->ErrorMessage = Text(Str::TimeoutError);
    }
    co_return false;
}

/// Writes, and then looks at the conditions in their order each time something has happened.
QCoro::Task<Comm::AttemptEnd> Comm::Attempt(QString command, int opening)
{
    if (closings_ != opening)
        co_return AttemptEnd::Closed;
    state_->LastCommand = command;
    if (!port_.IsOpen()) {
        state_->ErrorMessage = Text(IsLost() ? Str::PortLost : Str::PortNotOpen);
        co_return AttemptEnd::Closed;
    }
    Receive(port_.ReadAll()); // a reply that came with the time-out makes another attempt needless
    if (state_->ExchangeState == ExchangeComplete)
        co_return AttemptEnd::Answered;
    lineBefore_ = line_.size();
    Write(command);
    while (closings_ == opening) {
        co_await NextEvent();
        if (Interrupted()) {
            timeout_.SetEnabled(false);
            state_->ExchangeState = ExchangeTimedOut; // nobody waits for its reply any more
            co_return AttemptEnd::Interrupted;
        }
        if (state_->ExchangeState == ExchangeComplete)
            co_return AttemptEnd::Answered;
        if (closings_ == opening && state_->ExchangeState == ExchangeTimedOut)
            co_return AttemptEnd::TimedOut;
    }
    co_return AttemptEnd::Closed;
}

/// Until they are in, or will not come any more, or the work is cancelled.
QCoro::Task<void> Comm::AwaitAcknowledgements()
{
    const int opening = closings_;
    while (closings_ == opening && !Interrupted()) {
        const qint64 asked = pending_.LastAcknowledgementAsked();
        const qint64 left = asked + qint64{OldestAcknowledgement} * timeout_.Interval() - running_.elapsed();
        if (asked < 0 || left <= 0)
            break;
        patience_.SetInterval(static_cast<int>(left));
        patience_.SetEnabled(true);
        co_await NextEvent();
    }
    patience_.SetEnabled(false);
}

void Comm::Write(const QString &command)
{
    const bool written = port_.Write(command.toLatin1() + "\r\n"); // the rest is done while it is on its way
    if (!port_.IsOpen())
        return;
    state_->ExchangeState = ExchangeWaiting;
    state_->RecvBuffer.clear();
    timeout_.SetEnabled(true);
    sentAt_.start();
    pending_.Written(running_.elapsed());
    pending_.ForgetBefore(running_.elapsed() - qint64{OldestReply} * timeout_.Interval());
    qCDebug(lcExchange).noquote() << command << "sent";
    if (!written) {
        // A line that takes no more bytes is a silent one: the time-out judges it.
        qCWarning(lcExchange).noquote() << command << "could not be written";
    }
}

void Comm::Receive(const QByteArray &bytes)
{
    bool askAgain = false;
    const QStringList lines = TakeLines(bytes);
    for (const QString &line : lines) {
        const PendingReplies::Verdict verdict = pending_.Receive(line);
        if (verdict != PendingReplies::Verdict::Answer) {
            qCDebug(lcExchange) << "dropped" << line;
            askAgain = askAgain || verdict == PendingReplies::Verdict::AskAgain;
            continue;
        }
        qCDebug(lcExchange) << state_->LastCommand << "->" << line << "in" << sentAt_.nsecsElapsed() / 1000
                            << "us";
        askAgain = false;
        timeout_.SetEnabled(false);
        state_->RecvBuffer = line;
        state_->ReplyLength = static_cast<qint16>(line.size());
        state_->ExchangeState = ExchangeComplete;
    }
    if (askAgain && !Interrupted())
        Write(state_->LastCommand);
    if (lines.isEmpty())
        return;
    Q_EMIT lineReceived();
    Wake();
}

/// The lines that these bytes end, each without the LF and the character before it.
QStringList Comm::TakeLines(const QByteArray &bytes)
{
    QStringList lines;
    qsizetype from = 0;
    while (from < bytes.size()) {
        const qsizetype lineFeed = bytes.indexOf('\n', from);
        const qsizetype end = lineFeed < 0 ? bytes.size() : lineFeed;
        line_.append(bytes.constData() + from, std::min(end - from, MaxReplyLength - line_.size()));
        from = end + 1;
        if (lineFeed < 0)
            break;
        line_.chop(1);
        QString line = QString::fromLatin1(line_);
        // Either a slow reply or the rest of one that broke off, with another one behind it.
        if (lineBefore_ > 0 && !pending_.Expects(line))
            line.remove(0, lineBefore_);
        lines.append(line);
        line_.clear();
        lineBefore_ = 0;
    }
    return lines;
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
