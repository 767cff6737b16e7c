#include "link/pendingreplies.h"

#include "link/condition.h"
#include "link/saverecord.h"

#include <algorithm>

namespace px40 {

namespace {

constexpr qsizetype ReadingLength = 29;
constexpr qsizetype LongestAcknowledgement = 8;

bool IsPlain(const QString &line)
{
    return std::all_of(line.begin(), line.end(), [](QChar c) { return c >= u' ' && c <= u'~'; });
}

bool Fits(const QString &line, ReplyForm form)
{
    if (line.startsWith(u"ERR") || !IsPlain(line))
        return false;
    switch (form) {
    case ReplyForm::Condition:
        return HasConditionLength(line.size());
    case ReplyForm::Reading:
        return line.size() == ReadingLength;
    case ReplyForm::Record:
        return CheckedRecord(line).has_value();
    case ReplyForm::Acknowledgement:
        break;
    }
    return line.size() <= LongestAcknowledgement;
}

/// A refusal, or noise: it may be the answer to any command.
bool MayAnswerAny(const QString &line)
{
    return !Fits(line, ReplyForm::Condition) && !Fits(line, ReplyForm::Reading) &&
           !Fits(line, ReplyForm::Record) && !Fits(line, ReplyForm::Acknowledgement);
}

} // namespace

void PendingReplies::Begin(const LinkCommand &command)
{
    firstPresent_ = entries_.size();
    form_ = command.reply;
    anyReplyDoes_ = form_ == ReplyForm::Acknowledgement && !command.changes;
    changes_ = command.changes;
}

void PendingReplies::Written(qint64 nowMs)
{
    entries_.push_back({form_, nowMs});
}

PendingReplies::Verdict PendingReplies::Receive(const QString &line)
{
    if (entries_.empty())
        return Verdict::Dropped;
    const auto fits = [&line](const Entry &entry) { return Fits(line, entry.form); };
    auto owner = std::find_if(entries_.begin(), entries_.end(), fits);
    const bool waiting = firstPresent_ < entries_.size();
    // A reply of a form that no listed command asked for answers none of them, so none is struck off.
    if (owner == entries_.end() && !MayAnswerAny(line) && firstPresent_ > 0) {
        if (!waiting || !anyReplyDoes_)
            return Verdict::Dropped;
        End();
        return Verdict::Answer;
    }
    if (owner == entries_.end())
        owner = entries_.begin();
    const auto struck = static_cast<std::size_t>(owner - entries_.begin()) + 1;
    const bool takenAsOurs = changes_ && owner->form == ReplyForm::Acknowledgement;
    const bool answers = waiting && (struck > firstPresent_ || anyReplyDoes_ || takenAsOurs);
    entries_.erase(entries_.begin(), owner + 1);
    firstPresent_ -= std::min(struck, firstPresent_);
    if (answers) {
        End();
        return Verdict::Answer;
    }
    const bool isQuestion = form_ != ReplyForm::Acknowledgement;
    const bool couldAnswer = waiting && isQuestion && (Fits(line, form_) || MayAnswerAny(line));
    return couldAnswer ? Verdict::AskAgain : Verdict::Dropped;
}

bool PendingReplies::Expects(const QString &line) const
{
    return std::any_of(entries_.begin(), entries_.end(),
                       [&line](const Entry &entry) { return Fits(line, entry.form); });
}

qint64 PendingReplies::LastAcknowledgementAsked() const
{
    const auto last = std::find_if(entries_.rbegin(), entries_.rend(), [](const Entry &entry) {
        return entry.form == ReplyForm::Acknowledgement;
    });
    return last == entries_.rend() ? -1 : last->writtenMs;
}

void PendingReplies::ForgetBefore(qint64 ms)
{
    while (!entries_.empty() && entries_.front().writtenMs < ms) {
        entries_.pop_front();
        firstPresent_ -= std::min<std::size_t>(1, firstPresent_);
    }
}

void PendingReplies::Clear()
{
    entries_.clear();
    firstPresent_ = 0;
}

} // namespace px40
