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
    lost_ = false;
    if (shut_)
        co_return false;
    const QString error = TryOpenPort();
    if (!error.isEmpty())
        co_await prompts_->Warn(error);
    co_return error.isEmpty();
}

QString Comm::TryOpenPort()
{
    ClosePort();
    const QString device = ports_->Device(portNumber_);
    QString error;
    if (shut_)
        error = Text(Str::PortNotOpen);
    else if (device.isEmpty())
        error = Text(Str::PortNotAssigned).arg(portNumber_);
    else
        error = OpenErrorText(port_.Open(device), portNumber_);
    if (!error.isEmpty()) {
        qCInfo(lcLink).noquote() << "port" << portNumber_ << "cannot be opened:" << error;
        return error;
    }
    qCInfo(lcLink).noquote() << "port" << portNumber_ << "is open:" << device;
    lost_ = false;
    Q_EMIT portChanged();
    return {};
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
    owed_ = 0;
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

bool Comm::BeginAttempt(const QString &command)
{
    state_->LastCommand = command;
    if (!port_.IsOpen()) {
        state_->ErrorMessage = Text(lost_ ? Str::PortLost : Str::PortNotOpen);
        return false;
    }
    state_->ExchangeState = ExchangeWaiting;
    state_->RecvBuffer.clear();
    scanned_ = 0;
    stale_ = false;
    port_.ReadAll(); // what has come unasked answers nothing
    timeout_.SetEnabled(true);
    sentAt_.start();
    if (!port_.Write(command.toLatin1() + "\r\n")) {
        // A line that takes no more bytes is a silent one: the time-out judges it.
        qCWarning(lcLink).noquote() << command << "could not be written";
    }
    return true;
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
    lost_ = true;
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
    qCDebug(lcLink) << state_->LastCommand << "->" << state_->RecvBuffer << "in"
                    << sentAt_.nsecsElapsed() / 1000 << "us";
    timeout_.SetEnabled(false);
    stale_ = owed_ > 0;
    if (stale_)
        DropOwed(bytes.mid(end + 1)); // further ones that came along
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
