#pragma once

#include "link/pendingreplies.h"
#include "platform/oneshot.h"
#include "platform/serialport.h"
#include "platform/timer.h"

#include <QByteArray>
#include <QCoro/QCoroTask>
#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QStringList>

#include <deque>
#include <optional>

namespace px40 {

class PortMap;
class ProgressView;
class Prompts;
struct LinkState;

/// The one command channel to the instrument: a command goes out, its one-line reply comes back.
///
/// A command is its text and CR LF; a reply is the text before the first LF, less the character before it
/// (the CR). Characters are Latin-1, byte for byte. Exchanges never overlap: a second caller waits its
/// turn. Everything runs on the user-interface thread.
class Comm : public QObject
{
    Q_OBJECT

  public:
    static constexpr int DefaultReplyTimeoutMs = 1000;

    /// Longest reply kept; what follows up to the LF is noise and is dropped.
    static constexpr int MaxReplyLength = 4096;

    /// What is handed in must outlive the channel.
    Comm(LinkState &state, PortMap &ports, Prompts &prompts, int replyTimeoutMs = DefaultReplyTimeoutMs,
         QObject *parent = nullptr);
    ~Comm() override;

    /// The port number to open next, 1 to 16.
    void SetPortNumber(int number);
    int PortNumber() const { return portNumber_; }

    /// Opens the configured port. On failure shows why and returns false when the box is closed.
    QCoro::Task<bool> OpenPort();

    /// The same without a word to the user: the reason of a failure is returned, empty on success.
    QString TryOpenPort();

    bool IsOpen() const { return port_.IsOpen(); }

    /// The port is closed because its device has gone.
    bool IsLost() const;

    /// Changes whenever the port is closed: what was asked before belongs to another opening.
    int Opening() const { return closings_; }

    /// Closes the port; a waiting exchange ends with false.
    void ClosePort();

    /// Closes the port for good: every exchange, also a queued or a later one, ends with false.
    void Shut();

    /// One exchange. True when a reply stands in `RecvBuffer`; false after `attempts` silent time-outs, or
    /// at once when the running work was cancelled (no message) or the port is closed. The command is written
    /// before a cancel is looked for, so each goes out once whatever was cancelled.
    ///
    /// Replies carry no number, so one that comes after its attempt was given up could pass for the answer to
    /// a later command. It never does (`PendingReplies`): it is dropped, and a question that it could have
    /// answered is written again at once, without counting as an attempt. A command that changes the
    /// instrument is not; it waits until no acknowledgement of an older command is to be expected.
    QCoro::Task<bool> SendCommand(QString command, int attempts);

    /// To be called by whoever has set `DownloadCancel` or `RealtimeStop`: a waiting exchange looks at them.
    void FlagsChanged();

    /// The dialog whose Cancel is disabled when a download has timed out; may be null.
    void SetProgressView(ProgressView *progress) { progress_ = progress; }

    /// The reply time-out. Silencing it leaves only a reply, a flag or the closing of the port to end the
    /// attempt.
    Timer &tmTimeout() { return timeout_; }

  Q_SIGNALS:
    void portChanged();                   ///< opened, closed, or another number
    void portLost(const QString &reason); ///< the device has gone; the port is closed
    void lineReceived();                  ///< whatever it is, and whether or not somebody waits for it

  private:
    enum class AttemptEnd { Answered, TimedOut, Interrupted, Closed };

    QCoro::Task<bool> TakeTurn();
    void EndTurn();
    QCoro::Task<bool> Exchange(QString command, int attempts);
    QCoro::Task<AttemptEnd> Attempt(QString command, int opening);
    QCoro::Task<void> AwaitAcknowledgements();
    void Write(const QString &command);
    bool Interrupted() const;
    void Wake();
    QCoro::Task<void> NextEvent();

    void EndOpening();
    void OnArrived();
    void OnTimeout();
    void OnLost(const QString &reason);
    QStringList TakeLines(const QByteArray &bytes);
    void Receive(const QByteArray &bytes);

    LinkState *state_;
    PortMap *ports_;
    Prompts *prompts_;
    ProgressView *progress_ = nullptr;
    SerialPort port_;
    Timer timeout_;
    Timer patience_; ///< with acknowledgements of older commands
    QElapsedTimer running_;
    QElapsedTimer sentAt_;
    PendingReplies pending_;
    std::optional<OneShot<bool>> waiting_;
    std::deque<OneShot<bool>> turns_;
    QByteArray line_;          ///< what has come of a line under way
    qsizetype lineBefore_ = 0; ///< how much of it when the present attempt began
    int portNumber_ = 1;
    int closings_ = 0;   ///< how often the port was closed: an exchange belongs to one opening
    QString lostDevice_; ///< the port is closed because this device has gone; empty: it has not

    bool exchanging_ = false;
    bool shut_ = false;
};

} // namespace px40
