#pragma once

#include "link/command.h"

#include <QString>

#include <deque>

namespace px40 {

/// The commands that were written and have no reply yet, and which of them a reply belongs to.
///
/// The instrument answers in the order in which it was asked, or not at all. So a reply belongs to the oldest
/// listed command whose form it fits ("ERR" and noise fit all), and those listed before that one will not
/// be answered any more: all of them are struck off. The list may hold a command whose reply was lost, which
/// at worst costs a question asked again; it never lets a reply pass for the answer to a later question.
///
/// Knows no port and no timer: its caller reports what is written and received. Times are milliseconds of any
/// clock.
class PendingReplies
{
  public:
    enum class Verdict {
        Dropped,  ///< it answers an older command, or nobody waits
        AskAgain, ///< the same, but it could have been the answer: the question is to be written again
        Answer,   ///< it completes the exchange, which is over with it
    };

    /// An exchange begins; the commands listed so far are older ones. Before a command that changes the
    /// instrument the caller has waited (`LastAcknowledgementAsked`). Older acknowledgements that are still
    /// missing are unlikely to come, so the next one is taken to be this command's: sending a step twice
    /// would be worse.
    void Begin(const LinkCommand &command);

    /// The command of the exchange was written, for the first time or again.
    void Written(qint64 nowMs);

    /// A line has come. Also to be called between exchanges.
    Verdict Receive(const QString &line);

    /// The exchange is over, whatever came of it.
    void End() { firstPresent_ = entries_.size(); }

    /// Whether the line has the form of a reply that is still to come.
    bool Expects(const QString &line) const;

    /// When the last acknowledgement that is still to come was asked for; -1: none is to come.
    qint64 LastAcknowledgementAsked() const;

    /// Nothing is expected any more of what was written before.
    void ForgetBefore(qint64 ms);
    void Clear();

  private:
    struct Entry
    {
        ReplyForm form;
        qint64 writtenMs;
    };

    std::deque<Entry> entries_;    ///< oldest first
    std::size_t firstPresent_ = 0; ///< index of the first attempt of the exchange under way
    ReplyForm form_ = ReplyForm::Acknowledgement;
    bool anyReplyDoes_ = false; ///< what the reply says does not matter
    bool changes_ = false;      ///< the older acknowledgements were waited for in vain
};

} // namespace px40
