#include "link/pendingreplies.h"

#include <QTest>

#include <algorithm>
#include <deque>
#include <optional>
#include <random>

using namespace px40;

namespace {

/// What the instrument answers, in the order of `ReplyForm`.
const QString Replies[] = {u"OK"_qs, QString(52, u'1'), QString(29, u'1'), u"RS5"_qs};

/// A line with its instrument, in a time of its own. Everything is answered in order or not at all; commands
/// and replies get lost, the instrument stalls and then answers all that it was asked, some replies are late.
class ModelLine
{
  public:
    struct Reply
    {
        qint64 at;
        int exchange; ///< in which its command was written
        QString text;
    };

    explicit ModelLine(unsigned seed) : random_(seed) {}

    void Write(const LinkCommand &command, int exchange)
    {
        if (Chance(0.03) || now < silentUntil_)
            return;
        if (Chance(0.001))
            stalledUntil_ = now + Between(300, 40000);
        if (Chance(0.002))
            silentUntil_ = now + Between(500, 15000);
        const qint64 late = Chance(0.02) ? Between(200, 2500) : 0;
        lastReply_ = std::max({lastReply_, now, stalledUntil_}) + Between(15, 80) + late;
        if (!Chance(0.03))
            replies_.push_back(
                {lastReply_, exchange, Chance(0.01) ? u"ERR"_qs : Replies[static_cast<int>(command.reply)]});
    }

    /// The next reply if it comes until then; otherwise it is then.
    std::optional<Reply> Next(qint64 until)
    {
        if (replies_.empty() || replies_.front().at > until) {
            now = until;
            return std::nullopt;
        }
        const Reply reply = replies_.front();
        replies_.pop_front();
        now = reply.at;
        return reply;
    }

    bool Chance(double share) { return std::uniform_real_distribution<>(0, 1)(random_) < share; }
    int Between(int least, int most) { return std::uniform_int_distribution<>(least, most)(random_); }

    qint64 now = 0;

  private:
    std::mt19937 random_;
    std::deque<Reply> replies_;
    qint64 lastReply_ = 0;
    qint64 stalledUntil_ = 0;
    qint64 silentUntil_ = 0;
};

/// The channel's procedure on that line.
class ModelChannel
{
  public:
    explicit ModelChannel(ModelLine &line) : line_(&line) {}

    void Exchange(const LinkCommand &command)
    {
        ++exchange_;
        const bool changes = command.changes;
        const bool isQuestion = command.reply != ReplyForm::Acknowledgement;
        pending_.ForgetBefore(line_->now - 60 * TimeoutMs);
        if (changes)
            AwaitAcknowledgements();
        pending_.Begin(command);
        int written = 0;
        bool obeyed = false; // the instrument has said so
        bool answered = false;
        for (int attempt = 1; attempt <= command.attempts && !answered; ++attempt) {
            Write(command, &written);
            if (changes && obeyed)
                ++writtenTooOften;
            qint64 timeout = line_->now + TimeoutMs;
            while (const std::optional<ModelLine::Reply> reply =
                       answered ? std::nullopt : line_->Next(timeout)) {
                const PendingReplies::Verdict verdict = pending_.Receive(reply->text);
                answered = verdict == PendingReplies::Verdict::Answer;
                obeyed = obeyed || (reply->exchange == exchange_ && reply->text != u"ERR");
                if (answered && isQuestion && reply->exchange != exchange_)
                    ++wrong;
                if (verdict == PendingReplies::Verdict::AskAgain) {
                    Write(command, &written);
                    timeout = line_->now + TimeoutMs;
                }
            }
            if (changes && written != attempt)
                ++writtenTooOften;
        }
        pending_.End();
        readings += isQuestion && answered ? 1 : 0;
        failures += isQuestion && !answered ? 1 : 0;
    }

    /// Time in which nobody waits.
    void Idle(int ms)
    {
        const qint64 until = line_->now + ms;
        while (const std::optional<ModelLine::Reply> reply = line_->Next(until))
            pending_.Receive(reply->text);
    }

    int readings = 0;
    int failures = 0;
    int wrong = 0;
    int writtenTooOften = 0;

  private:
    static constexpr qint64 TimeoutMs = 1000;

    void AwaitAcknowledgements()
    {
        qint64 asked = pending_.LastAcknowledgementAsked();
        while (asked >= 0 && asked + 2 * TimeoutMs > line_->now) {
            if (const std::optional<ModelLine::Reply> reply = line_->Next(asked + 2 * TimeoutMs))
                pending_.Receive(reply->text);
            asked = pending_.LastAcknowledgementAsked();
        }
    }

    void Write(const LinkCommand &command, int *written)
    {
        ++*written;
        line_->Write(command, exchange_);
        pending_.Written(line_->now);
    }

    ModelLine *line_;
    PendingReplies pending_;
    int exchange_ = 0;
};

} // namespace

class PendingRepliesTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void NothingWrongOnABadLine()
    {
        constexpr int Readings = 30000;
        for (const unsigned seed : {1U, 2U, 3U}) {
            ModelLine line(seed);
            ModelChannel channel(line);
            while (channel.readings < Readings) {
                if (line.Chance(0.9)) {
                    for (const LinkCommand &command : AskCondition())
                        channel.Exchange(command);
                }
                if (line.Chance(0.05)) {
                    for (int n = 1; n <= 10; ++n)
                        channel.Exchange(AskReading(n));
                }
                if (line.Chance(0.02)) {
                    for (const LinkCommand &command :
                         {BeginRecords(), AskRecord(1), AskRecord(2), EndRecords()})
                        channel.Exchange(command);
                }
                if (line.Chance(0.2))
                    channel.Exchange(SetSource(SourceSetting::StepUp, u"1"_qs));
                if (line.Chance(0.5))
                    channel.Idle(line.Between(1, 900));
            }
            QCOMPARE(channel.wrong, 0);
            QCOMPARE(channel.writtenTooOften, 0);
            QVERIFY(channel.failures < Readings / 50); // what the line itself costs
        }
    }
};

QTEST_GUILESS_MAIN(PendingRepliesTest)
#include "pendingreplies_test.moc"
