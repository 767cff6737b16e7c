#include "link/comm.h"

#include "link/linkstate.h"
#include "resources/strings.h"

#include <QLoggingCategory>

#include <utility>

namespace px40 {

namespace {

Q_LOGGING_CATEGORY(lcLink, "px40.link", QtWarningMsg)

// How long a reply may be late, in time-outs. An instrument that was only held up answers every command once
// it goes on; one that is silent for longer was switched off and has lost them.
constexpr int OldestReply = 60;
// How long a command that changes the instrument waits for the acknowledgement of an older one, in time-outs.
constexpr int OldestAcknowledgement = 2;

QString OpenErrorText(const PortOpenResult &result, int number, bool known)
{
    switch (result.trouble) {
    case PortTrouble::None:
        return {};
    case PortTrouble::NotThere:
        return known ? Text(Str::PortNotPlugged).arg(QString::number(number), result.device)
                     : Text(Str::PortNoDevice).arg(result.device);
    case PortTrouble::NoPermission:
        return result.group.isEmpty() ? Text(Str::PortNoPermission).arg(result.device)
                                      : Text(Str::PortNoPermissionGroup).arg(result.device, result.group);
    case PortTrouble::Busy:
        return Text(Str::PortBusy).arg(result.device);
    case PortTrouble::Other:
        break;
    }
    return result.device + QStringLiteral(": ") + result.description;
}

} // namespace

Comm::Comm(LinkState &state, PortMap &ports, int replyTimeoutMs, QObject *parent)
    : QObject(parent), state_(&state), ports_(&ports), timeout_(replyTimeoutMs)
{
    connect(&port_, &SerialPort::arrived, this, &Comm::Receive);
    connect(&port_, &SerialPort::lost, this, &Comm::OnLost);
    connect(&timeout_, &Timer::tick, this, &Comm::OnTimeout);
    connect(&acknowledgementTimer_, &Timer::tick, this, &Comm::Wake);
    uptime_.start();
}

void Comm::SetPortNumber(int number)
{
    portNumber_ = number;
    Q_EMIT portChanged();
}

bool Comm::IsLost() const
{
    return !lostDevice_.isEmpty() && lostDevice_ == ports_->Device(portNumber_);
}

Result<> Comm::OpenPort(const std::optional<PortIdentity> &onlyDevice)
{
    if (shut_)
        return Fail({}, FailureCode::Cancelled);
    ClosePort();
    const QString device = onlyDevice ? ports_->Find(*onlyDevice) : ports_->Device(portNumber_);
    if (onlyDevice && device.isEmpty())
        return Fail(Text(Str::PortNotPlugged).arg(QString::number(portNumber_), onlyDevice->path));
    const QString error = device.isEmpty() ? Text(Str::PortNotAssigned).arg(portNumber_)
                                           : OpenErrorText(port_.Open(device, ports_->OpenerOf(device)),
                                                           portNumber_, ports_->IsKnown(portNumber_));
    if (!error.isEmpty()) {
        qCInfo(lcLink).noquote() << "port" << portNumber_ << "cannot be opened:" << error;
        return Fail(error);
    }
    qCInfo(lcLink).noquote() << "port" << portNumber_ << "is open:" << device;
    ports_->KeepAsKnown(portNumber_);
    openedDevice_ = onlyDevice ? onlyDevice : ports_->Identify(device);
    lostDevice_.clear();
    Q_EMIT portChanged();
    return {};
}

void Comm::ClosePort()
{
    if (!port_.IsOpen())
        return;
    port_.Close();
    EndConnection();
    Q_EMIT portChanged();
}

/// Forgets what is outstanding, and wakes a waiting exchange so that it ends.
void Comm::EndConnection()
{
    ++connection_;
    pending_.Clear();
    lines_.Clear();
    timeout_.SetEnabled(false);
    Wake();
}

void Comm::Shut()
{
    shut_ = true;
    ClosePort();
    for (const OneShot<bool> &turn : std::exchange(turns_, {}))
        turn.Complete(false);
}

void Comm::OnLost(const QString &reason)
{
    qCWarning(lcLink).noquote() << "port" << portNumber_ << "lost:" << reason;
    lostDevice_ = ports_->Device(portNumber_);
    EndConnection();
    Q_EMIT portLost(reason);
    Q_EMIT portChanged();
}

QCoro::Task<Result<QString>> Comm::SendCommand(LinkCommand command)
{
    const bool mine = co_await TakeTurn();
    if (!mine)
        co_return Fail({}, FailureCode::Cancelled);
    Result<QString> reply = co_await Exchange(command);
    pending_.End();
    EndTurn();
    co_return reply;
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

QCoro::Task<Result<QString>> Comm::Exchange(LinkCommand command)
{
    const int connection = connection_;
    if (command.changes)
        co_await AwaitAcknowledgements();
    pending_.Begin(command);
    command_ = command.text;
    reply_.reset();
    AttemptEnd end = AttemptEnd::TimedOut;
    for (int attempt = 1; attempt <= command.attempts && end == AttemptEnd::TimedOut; ++attempt) {
        end = co_await Attempt(connection);
        if (end == AttemptEnd::TimedOut)
            qCDebug(lcLink).noquote()
                << command_ << "no reply to attempt" << attempt << "of" << command.attempts;
    }
    if (end == AttemptEnd::Answered)
        co_return *reply_;
    if (end == AttemptEnd::Cancelled || shut_) {
        qCDebug(lcLink).noquote() << command_ << "cancelled";
        co_return Fail({}, FailureCode::Cancelled);
    }
    if (!port_.IsOpen())
        co_return Fail(Text(IsLost() ? Str::PortLost : Str::PortNotOpen));
    co_return Fail(Text(Str::CommandNoAnswer).arg(command_), FailureCode::NoAnswer);
}

/// Writes the command and waits for the attempt to end. After each event a cancel is looked for before a
/// reply, and a reply before the time-out.
QCoro::Task<Comm::AttemptEnd> Comm::Attempt(int connection)
{
    if (connection_ != connection || !port_.IsOpen())
        co_return AttemptEnd::Closed;
    Receive(); // a reply that came with the time-out makes another attempt needless
    if (reply_)
        co_return AttemptEnd::Answered;
    lines_.BeginAttempt();
    Write();
    while (connection_ == connection) {
        co_await NextEvent();
        if (IsCancelled()) {
            timeout_.SetEnabled(false);
            co_return AttemptEnd::Cancelled;
        }
        if (reply_)
            co_return AttemptEnd::Answered;
        if (connection_ == connection && timedOut_)
            co_return AttemptEnd::TimedOut;
    }
    co_return AttemptEnd::Closed;
}

/// Waits until the acknowledgements of older commands have come or are overdue, or the work is cancelled.
QCoro::Task<void> Comm::AwaitAcknowledgements()
{
    const int connection = connection_;
    while (connection_ == connection && !IsCancelled()) {
        const qint64 asked = pending_.LastAcknowledgementAsked();
        const qint64 left = asked + qint64{OldestAcknowledgement} * timeout_.Interval() - uptime_.elapsed();
        if (asked < 0 || left <= 0)
            break;
        acknowledgementTimer_.SetInterval(static_cast<int>(left));
        acknowledgementTimer_.SetEnabled(true);
        co_await NextEvent();
    }
    acknowledgementTimer_.SetEnabled(false);
}

void Comm::Write()
{
    const bool written = port_.Write(command_.toLatin1() + "\r\n"); // first: the rest is done meanwhile
    if (!port_.IsOpen())
        return;
    timedOut_ = false;
    timeout_.SetEnabled(true);
    sentAt_.start();
    pending_.Written(uptime_.elapsed());
    pending_.ForgetBefore(uptime_.elapsed() - qint64{OldestReply} * timeout_.Interval());
    qCDebug(lcLink).noquote() << command_ << "sent";
    if (!written) {
        // A port that takes no more bytes is like a silent instrument: the time-out ends the attempt.
        qCWarning(lcLink).noquote() << command_ << "could not be written";
    }
}

/// Reads what has come even when no exchange waits for it: it may be a late reply.
void Comm::Receive()
{
    bool askAgain = false;
    const QStringList lines = lines_.Take(port_.ReadAll(), pending_);
    for (const QString &line : lines) {
        const PendingReplies::Verdict verdict = pending_.Receive(line);
        if (verdict != PendingReplies::Verdict::Answer) {
            qCDebug(lcLink) << "dropped" << line;
            askAgain = askAgain || verdict == PendingReplies::Verdict::AskAgain;
            continue;
        }
        qCDebug(lcLink) << command_ << "->" << line << "in" << sentAt_.nsecsElapsed() / 1000 << "us";
        askAgain = false;
        timeout_.SetEnabled(false);
        reply_ = line;
    }
    if (askAgain && !IsCancelled())
        Write();
    if (lines.isEmpty())
        return;
    Q_EMIT lineReceived();
    Wake();
}

void Comm::OnTimeout()
{
    timeout_.SetEnabled(false);
    timedOut_ = true;
    Wake();
}

/// Of all work only a download can be cancelled; closing the channel cancels everything.
bool Comm::IsCancelled() const
{
    return shut_ || (state_->LinkActivity == ActivityDownload && state_->DownloadCancel);
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
    if (IsCancelled())
        event.Complete(true);
    co_await event;
    waiting_.reset();
}

} // namespace px40
