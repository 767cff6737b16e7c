#pragma once

#include "link/command.h"
#include "link/linebuffer.h"
#include "link/pendingreplies.h"
#include "platform/oneshot.h"
#include "platform/portmap.h"
#include "platform/result.h"
#include "platform/serialport.h"
#include "platform/timer.h"

#include <QByteArray>
#include <QCoro/QCoroTask>
#include <QElapsedTimer>
#include <QObject>
#include <QString>

#include <deque>
#include <optional>

namespace px40 {

struct LinkState;

/// The one command channel to the instrument: a command goes out, its one-line reply comes back. Exchanges
/// never overlap: a second caller waits its turn. Everything runs on the user-interface thread.
class Comm : public QObject
{
    Q_OBJECT

  public:
    static constexpr int DefaultReplyTimeoutMs = 1000;

    /// What is handed in must outlive the channel.
    Comm(LinkState &state, PortMap &ports, int replyTimeoutMs = DefaultReplyTimeoutMs,
         QObject *parent = nullptr);

    /// The port number to open next, 1 to 16.
    void SetPortNumber(int number);
    int PortNumber() const { return portNumber_; }

    /// Opens the configured port, after closing the one that is open. `onlyDevice`: that device instead,
    /// whatever the port stands for now, and wherever it is.
    Result<> OpenPort(const std::optional<PortIdentity> &onlyDevice = {});

    /// The device that was opened last.
    const std::optional<PortIdentity> &OpenedDevice() const { return openedDevice_; }

    bool IsOpen() const { return port_.IsOpen(); }

    /// The port is closed because its device has gone.
    bool IsLost() const;

    /// Changes whenever the port is closed: what was asked before belongs to another connection.
    int Connection() const { return connection_; }

    /// Closes the port; a waiting exchange fails.
    void ClosePort();

    /// Closes the port for good: every exchange, also a queued or a later one, ends as cancelled.
    void Shut();

    /// One exchange: the reply, without line end. It fails after the command's attempts, with `NoAnswer`; at
    /// once when the port is closed; and as `Cancelled` when the download under way was. The command is
    /// written before a cancel is looked for, so that each goes out once, cancelled or not.
    ///
    /// Replies carry no number, so one that comes after its attempt was given up could pass for the answer to
    /// a later command. It never does (`PendingReplies`): it is dropped, and a question that it could have
    /// answered is written again at once, without counting as an attempt. A command that changes the
    /// instrument is not; it waits until no acknowledgement of an older command is to be expected.
    QCoro::Task<Result<QString>> SendCommand(LinkCommand command);

    /// To be called by whoever has set `DownloadCancel`: a waiting exchange looks at it.
    void FlagsChanged() { Wake(); }

    /// The reply time-out. Silencing it leaves only a reply, a flag or the closing of the port to end the
    /// attempt.
    Timer &tmTimeout() { return timeout_; }

  Q_SIGNALS:
    void portChanged();                   ///< opened, closed, or another number
    void portLost(const QString &reason); ///< the device has gone; the port is closed
    void lineReceived();                  ///< whatever it is, and whether or not somebody waits for it

  private:
    enum class AttemptEnd { Answered, TimedOut, Cancelled, Closed };

    QCoro::Task<bool> TakeTurn();
    void EndTurn();
    QCoro::Task<Result<QString>> Exchange(LinkCommand command);
    QCoro::Task<AttemptEnd> Attempt(int connection);
    QCoro::Task<void> AwaitAcknowledgements();
    void Write();
    bool IsCancelled() const;
    void Wake();
    QCoro::Task<void> NextEvent();

    void EndConnection();
    void OnTimeout();
    void OnLost(const QString &reason);
    void Receive();

    LinkState *state_;
    PortMap *ports_;
    SerialPort port_;
    Timer timeout_;
    Timer acknowledgementTimer_; ///< bounds the wait for acknowledgements of older commands
    QElapsedTimer uptime_;
    QElapsedTimer sentAt_;
    LineBuffer lines_;
    PendingReplies pending_;
    std::optional<OneShot<bool>> waiting_;
    std::deque<OneShot<bool>> turns_;
    QString command_;              ///< that of the exchange under way
    std::optional<QString> reply_; ///< the reply to `command_`, once it has come
    bool timedOut_ = false;        ///< the present attempt has timed out
    int portNumber_ = 1;
    int connection_ = 0; ///< counts connections; an exchange belongs to one of them
    std::optional<PortIdentity> openedDevice_;
    QString lostDevice_; ///< the device whose loss closed the port; empty: none

    bool exchanging_ = false;
    bool shut_ = false;
};

} // namespace px40
