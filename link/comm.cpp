#include "link/comm.h"

#include "link/linkstate.h"
#include "platform/portmap.h"
#include "platform/progressview.h"
#include "platform/prompts.h"
#include "resources/strings.h"

#include <QLoggingCategory>

#include <algorithm>

namespace px40 {

namespace {

Q_LOGGING_CATEGORY(lcLink, "px40.link", QtWarningMsg)

QString OpenErrorText(const PortOpenResult &result, int number)
{
    switch (result.trouble) {
    case PortTrouble::None:
        return {};
    case PortTrouble::NotPlugged:
        return Text(Str::PortNotPlugged).arg(number);
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

Comm::Comm(LinkState &state, PortMap &ports, Prompts &prompts, int replyTimeoutMs, QObject *parent)
    : QObject(parent), state_(&state), ports_(&ports), prompts_(&prompts), timeout_(replyTimeoutMs)
{
    connect(&port_, &SerialPort::arrived, this, &Comm::OnArrived);
    connect(&port_, &SerialPort::lost, this, &Comm::OnLost);
    connect(&timeout_, &Timer::tick, this, &Comm::OnTimeout);
    connect(&owedTimeout_, &Timer::tick, this, &Comm::OnNothingMoreOwed);
}

Comm::~Comm() = default;

void Comm::SetPortNumber(int number)
{
    portNumber_ = number;
    Q_EMIT portChanged();
}

QCoro::Task<bool> Comm::OpenPort()
{
    ClosePort();
    if (shut_)
        co_return false;
    QString error;
    const QString device = ports_->Device(portNumber_);
    if (device.isEmpty()) {
        error = Text(Str::PortNotAssigned).arg(portNumber_);
    } else {
        error = OpenErrorText(port_.Open(device), portNumber_);
    }
    if (!error.isEmpty()) {
        qCInfo(lcLink).noquote() << "port" << portNumber_ << "cannot be opened:" << error;
        co_await prompts_->Warn(error);
        co_return false;
    }
    qCInfo(lcLink).noquote() << "port" << portNumber_ << "is open:" << device;
    Q_EMIT portChanged();
    co_return true;
}

void Comm::ClosePort()
{
    if (!port_.IsOpen())
        return;
    port_.Close();
    EndOpening();
    Q_EMIT portChanged();
}

/// Nobody waits on a closed port.
void Comm::EndOpening()
{
    ++closings_;
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
    const bool clear = co_await DropOwedReplies();
    if (!clear)
        co_return false;

    QElapsedTimer sinceFirst;
    sinceFirst.start();
    for (int attempt = 1; attempt <= attempts; ++attempt) {
        const int opening = closings_;
        if (!BeginAttempt(command) || closings_ != opening)
            co_return false;
        while (state_->ExchangeState != ExchangeTimedOut) {
            co_await NextEvent();
            if (Interrupted()) {
                timeout_.SetEnabled(false);
                qCDebug(lcLink).noquote() << command << "cancelled";
                co_return false;
            }
            if (state_->ExchangeState == ExchangeComplete) {
                owed_ = attempt - 1;
                if (owed_ > 0)
                    owedTimeout_.SetInterval(static_cast<int>(sinceFirst.elapsed()) + timeout_.Interval());
                co_return true;
            }
            if (closings_ != opening)
                co_return false;
        }
        qCDebug(lcLink).noquote() << command << "no reply to attempt" << attempt << "of" << attempts;
    }

    if (state_->LinkActivity == ActivityDownload) {
        if (progress_)
            progress_->DisableCancel();
        state_->ErrorMessage = Text(Str::TimeoutError);
    }
    co_return false;
}

/// After a retried exchange the replies to its earlier attempts may still be on their way. Replies carry
/// no number, so one of them would shift every later reading by one.
QCoro::Task<bool> Comm::DropOwedReplies()
{
    const int opening = closings_;
    if (owed_ == 0 || !port_.IsOpen())
        co_return true;
    dropping_ = true;
    owedTimeout_.SetEnabled(true);
    bool interrupted = false;
    while (owed_ > 0 && closings_ == opening && !interrupted) {
        co_await NextEvent();
        interrupted = Interrupted();
    }
    owedTimeout_.SetEnabled(false);
    dropping_ = false;
    if (closings_ == opening)
        co_return !interrupted;
    owed_ = 0;
    co_return false;
}

void Comm::OnNothingMoreOwed()
{
    owed_ = 0;
    Wake();
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

bool Comm::BeginAttempt(const QString &command)
{
    state_->LastCommand = command;
    if (!port_.IsOpen()) {
        state_->ErrorMessage = Text(Str::PortNotOpen);
        return false;
    }
    state_->ExchangeState = ExchangeWaiting;
    state_->RecvBuffer.clear();
    scanned_ = 0;
    port_.ReadAll(); // what has come unasked answers nothing
    timeout_.SetEnabled(true);
    sentAt_.start();
    if (!port_.Write(command.toLatin1() + "\r\n")) {
        // A line that takes no more bytes is a silent one: the time-out judges it.
        qCWarning(lcLink).noquote() << command << "could not be written";
    }
    return true;
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

void Comm::OnTimeout()
{
    timeout_.SetEnabled(false);
    state_->ExchangeState = ExchangeTimedOut;
    Wake();
}

void Comm::OnLost(const QString &reason)
{
    qCWarning(lcLink).noquote() << "port" << portNumber_ << "lost:" << reason;
    if (exchanging_)
        state_->ErrorMessage = Text(Str::PortLost);
    EndOpening();
    Q_EMIT portLost(reason);
    Q_EMIT portChanged();
}

void Comm::OnArrived()
{
    switch (state_->LinkActivity) {
    case ActivityDownload:
    case ActivityRealtimeTransition:
    case ActivityRealtimeStopping:
    case ActivityStatusCheck:
    case ActivityMonitorCommand:
    case ActivitySourceCommand:
        Receive(port_.ReadAll());
        break;
    case ActivityRealtime:
    case ActivityGated:
        if (state_->ReceiveGate) {
            state_->ReceiveGate = false;
            Receive(port_.ReadAll());
            state_->ReceiveGate = true;
        }
        break;
    default: {
        const QByteArray input = port_.ReadAll();
        DropOwed(input);
        state_->RecvBuffer = QString::fromLatin1(input.left(MaxReplyLength));
        break;
    }
    }
}

void Comm::Receive(const QByteArray &bytes)
{
    if (dropping_ || state_->ExchangeState != ExchangeWaiting) {
        qCDebug(lcLink) << "dropped" << bytes;
        DropOwed(bytes);
        return;
    }
    const qsizetype room = MaxReplyLength - state_->RecvBuffer.size();
    const qsizetype end = bytes.indexOf('\n');
    if (end > room) {
        state_->RecvBuffer += QString::fromLatin1(bytes.left(room));
        state_->RecvBuffer.append(u'\n');
    } else {
        state_->RecvBuffer += QString::fromLatin1(end < 0 ? bytes.left(room) : bytes);
    }
    if (!ReplyComplete())
        return;
    qCDebug(lcLink).noquote() << state_->LastCommand << "->" << state_->RecvBuffer << "in"
                              << sentAt_.nsecsElapsed() / 1000 << "us";
    timeout_.SetEnabled(false);
    state_->ExchangeState = ExchangeComplete;
    Wake();
}

bool Comm::ReplyComplete()
{
    const qsizetype lineFeed = state_->RecvBuffer.indexOf(u'\n', scanned_);
    if (lineFeed < 0) {
        scanned_ = state_->RecvBuffer.size();
        return false;
    }
    const qsizetype length = std::max<qsizetype>(0, lineFeed - 1); // less the CR; none in an empty reply
    state_->ReplyLength = static_cast<qint16>(length);
    state_->RecvBuffer.truncate(length);
    return true;
}

} // namespace px40
