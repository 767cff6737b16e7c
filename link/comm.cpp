#include "link/comm.h"

#include "link/linkstate.h"
#include "platform/portmap.h"
#include "platform/progressview.h"
#include "platform/prompts.h"
#include "resources/strings.h"

#include <QLoggingCategory>

#include <utility>

namespace px40 {

namespace {

Q_LOGGING_CATEGORY(lcLink, "px40.link", QtWarningMsg)

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

Comm::Comm(LinkState &state, PortMap &ports, Prompts &prompts, int replyTimeoutMs, QObject *parent)
    : QObject(parent), state_(&state), ports_(&ports), prompts_(&prompts), timeout_(replyTimeoutMs)
{
    connect(&port_, &SerialPort::arrived, this, &Comm::OnArrived);
    connect(&port_, &SerialPort::lost, this, &Comm::OnLost);
    connect(&timeout_, &Timer::tick, this, &Comm::OnTimeout);
    connect(&patience_, &Timer::tick, this, &Comm::Wake);
    running_.start();
}

Comm::~Comm() = default;

void Comm::SetPortNumber(int number)
{
    portNumber_ = number;
    Q_EMIT portChanged();
}

bool Comm::IsLost() const
{
    return !lostDevice_.isEmpty() && lostDevice_ == ports_->Device(portNumber_);
}

QCoro::Task<bool> Comm::OpenPort()
{
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
        error = OpenErrorText(port_.Open(device), portNumber_, ports_->IsKnown(portNumber_));
    if (!error.isEmpty()) {
        qCInfo(lcLink).noquote() << "port" << portNumber_ << "cannot be opened:" << error;
        return error;
    }
    qCInfo(lcLink).noquote() << "port" << portNumber_ << "is open:" << device;
    ports_->KeepAsKnown(portNumber_);
    lostDevice_.clear();
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
    pending_.Clear();
    line_.clear();
    lineBefore_ = 0;
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

void Comm::OnTimeout()
{
    timeout_.SetEnabled(false);
    state_->ExchangeState = ExchangeTimedOut;
    Wake();
}

void Comm::OnLost(const QString &reason)
{
    qCWarning(lcLink).noquote() << "port" << portNumber_ << "lost:" << reason;
    lostDevice_ = ports_->Device(portNumber_);
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
        const QStringList lines = TakeLines(input);
        for (const QString &line : lines)
            pending_.Receive(line); // it may be a late reply
        if (!lines.isEmpty())
            Q_EMIT lineReceived();
        state_->RecvBuffer = QString::fromLatin1(input.left(MaxReplyLength));
        break;
    }
    }
}

} // namespace px40
