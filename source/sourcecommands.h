#pragma once

#include "acquire/status.h"
#include "link/command.h"
#include "platform/timer.h"
#include "source/sourcetable.h"

#include <QCoro/QCoroTask>
#include <QObject>
#include <QString>

namespace px40 {

/// What the user asks of the instrument's source. Each request becomes one command text, the pending one,
/// which is sent on the tick of `tmSrcInter` when the link is free; a later request takes the place of one
/// that has not been sent yet. It works with and without a SOURCE window.
///
/// What is handed in must outlive this, and this its jobs.
class SourceCommands : public QObject
{
    Q_OBJECT

  public:
    explicit SourceCommands(const InstrumentLink &link);

    /// Switches the output on or off, the opposite of what the last status said. The new state is then
    /// assumed, so that the next call switches back even before another status has come.
    void SwitchOnOff();

    /// `digit` is 0-based from the left, 0 to 4.
    void StepUp(int digit);
    void StepDown(int digit);

    /// n/m on or off, as the mode demands. In any other mode the last command is sent once more.
    void SwitchRatio();

    /// n and m as the user has typed them, each written by `TwoDigits`.
    void SetRatio(const QString &n, const QString &m);

    /// Position `position` (0-based) of one of the lists Tc to PulseSet was chosen.
    void Select(SourceControl list, int position);

    /// The lists have just been filled: each of them is now at its first position, which counts as chosen.
    void LoadLists();

    /// Any text is a value; it is the instrument that refuses it. Line breaks are taken out. False, and
    /// nothing is done, when it holds a character that cannot be sent (see `Unsendable`).
    bool EnterValue(const QString &text);

    /// A command waits for the link, or is being sent.
    bool IsWaiting() const { return tmSrcInter.Interval() > 0; }

    /// A command that the user asked for waits for the link, or is being sent.
    bool IsUserWaiting() const { return fromUser_ && IsWaiting(); }

    /// The link may be free: what waits is sent at once instead of on the next tick.
    void SendNow();

    Timer tmSrcInter{0, true};

  Q_SIGNALS:
    /// A command that the user asked for was not obeyed, or cannot be sent yet: why, in one sentence.
    void failed(const QString &reason);
    /// That command was obeyed after all, or a later one was: `reason` no longer applies.
    void recovered(const QString &reason);

  private:
    void Queue(SourceControl control, const QString &argument = {});
    void Store(LinkCommand command);
    void Arm();
    QCoro::Task<void> Send(LinkCommand command, bool asked);
    void Report(const QString &reason);

    InstrumentLink link_;
    LinkCommand pending_;   ///< asked for last, sent or not; without text before the first one
    QString reason_;        ///< what the user was told about the last command that was not obeyed
    QString replaced_;      ///< the same about one that was never sent, until the next one is done
    bool loading_ = false;  ///< the commands queued now are not the user's own
    bool fromUser_ = false; ///< the pending command is the user's own: the user is told how it ended
    bool armed_ = false;    ///< the pending command is to be sent
};

/// The text as the number format "00" gives it: a number is rounded to a whole one, a half away from zero,
/// and filled up to two digits after its sign ("7" gives "07", "1.5" "02", "-3" "-03", "123" "123"). A text
/// that is no plain decimal number comes out as it is, an empty one empty.
QString TwoDigits(const QString &text);

/// The first character of a text that has no code on the line (Latin-1 has 256); empty when all have.
QString Unsendable(const QString &text);

} // namespace px40
