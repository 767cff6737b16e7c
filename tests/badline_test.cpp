#include "testing/liverig.h"
#include "testing/rows.h"

#include <QAbstractEventDispatcher>
#include <QDeadlineTimer>
#include <QLoggingCategory>

using namespace px40;

namespace {

constexpr int Never = 3600 * 1000;
constexpr int StepMs = 50;

/// What the channel has said so far of what went out and what came in.
struct Traffic
{
    int received = 0;
    QStringList sent;
};
Traffic traffic;

void Note(QtMsgType, const QMessageLogContext &, const QString &text)
{
    if (text.endsWith(u" sent"))
        traffic.sent.append(text.section(u' ', 0, 0));
    else if (text.contains(u"->") || text.startsWith(u"dropped"))
        ++traffic.received;
}

/// What is wrong with the line and its instrument; times are milliseconds after the start of the run.
struct Trouble
{
    int replyMs = 20;
    int lostReplies = 0; ///< to "OC", from 10 s on
    int silentFrom = 0;
    int silentUntil = 0;
    int unpluggedAt = 0;
    int pluggedAt = 0;
};

/// A run whose time passes only in steps of the test: the clock, the time-outs and the delays of the
/// instrument follow it, so that a minute takes a moment and always the same happens, however busy the
/// machine is.
struct SteppedRun : LiveRig
{
    explicit SteppedRun(const Trouble &trouble) : LiveRig(Never), trouble_(trouble)
    {
        Fault("silent"); // the test answers in its place
        traffic = {};
        clock.utcMs = 1'900'000'000'000;
    }

    void Begin(const std::shared_ptr<DataSet> &dataSet)
    {
        jobs.Launch(realtime.StartRealtime(dataSet, false), "start");
        Follow();
    }

    void Step()
    {
        clock.Advance(StepMs);
        now_ += StepMs;
        while (!due_.empty() && due_.front().at <= now_) {
            const std::string reply = due_.front().text + "\r\n";
            due_.pop_front();
            const int before = traffic.received;
            server.Inject(reply);
            QVERIFY(WaitUntil([before] { return traffic.received > before; }));
            Follow();
        }
        if (comm.tmTimeout().Enabled() && now_ - sentAt_ >= 1000)
            Q_EMIT comm.tmTimeout().tick();
        Follow();
        if (now_ % 100 == 0)
            Q_EMIT tmRealtime.tick();
        Follow();
    }

    qint64 Now() const { return now_; }

    QStringList wire; ///< what went out, with its time

  private:
    struct Due
    {
        qint64 at;
        std::string text;
    };

    /// Lets the program do all that it can do now, and the instrument read what was sent.
    void Follow()
    {
        QAbstractEventDispatcher *const events = QAbstractEventDispatcher::instance();
        for (int idle = 0; idle < 2;)
            idle = events->processEvents(QEventLoop::AllEvents) ? 0 : idle + 1;
        const QDeadlineTimer deadline(20000);
        while (qsizetype(server.CommandCount()) < traffic.sent.size() && !deadline.hasExpired())
            QCoreApplication::processEvents(); // it has this thread, or one of its own that tells nobody
        for (; seen_ < traffic.sent.size(); ++seen_) {
            const QString &command = traffic.sent.at(seen_);
            sentAt_ = now_;
            wire.append(QStringLiteral("%1 %2").arg(now_).arg(command));
            const bool silent = now_ >= trouble_.silentFrom && now_ < trouble_.silentUntil;
            const bool loses = trouble_.lostReplies > 0 && command == u"OC" && now_ >= 10'000;
            if (loses)
                --trouble_.lostReplies;
            if (!silent && !loses)
                due_.push_back({now_ + trouble_.replyMs, Expected(command).toStdString()});
        }
    }

    Trouble trouble_;
    std::deque<Due> due_;
    qint64 now_ = 0;
    qint64 sentAt_ = 0;
    qsizetype seen_ = 0;
};

struct Case
{
    Trouble trouble;
    int interval;
    QString errors; ///< seconds of the run
};

} // namespace

class BadLineTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void initTestCase()
    {
        QLoggingCategory::setFilterRules(u"px40.link.debug=true"_qs);
        qInstallMessageHandler(Note);
    }
    void cleanupTestCase() { qInstallMessageHandler(nullptr); }

    void RowsOfABadLine_data()
    {
        const Trouble silent{.silentFrom = 18'000, .silentUntil = 23'000};
        const Trouble unplugged{.unpluggedAt = 29'500, .pluggedAt = 34'500};
        AddRows<Case>({
            {"healthy", {{}, 1, {}}},
            {"healthy, each fifth second", {{}, 5, {}}},
            {"0.4 s a reply", {{.replyMs = 400}, 1, u"4 10 16 22 28 34 40 46 52 58"_qs}}, // 1.2 s a row
            {"0.4 s a reply, each fifth second", {{.replyMs = 400}, 5, {}}},
            {"0.9 s a reply, each fifth second", {{.replyMs = 900}, 5, {}}},
            {"one lost reply", {{.lostReplies = 1}, 1, {}}},
            {"one lost reply, each fifth second", {{.lostReplies = 1}, 5, {}}},
            {"two lost replies", {{.lostReplies = 2}, 1, u"10"_qs}},
            {"two lost replies, each fifth second", {{.lostReplies = 2}, 5, {}}},
            {"three lost replies", {{.lostReplies = 3}, 1, u"10 11 12"_qs}},
            {"three lost replies, each fifth second", {{.lostReplies = 3}, 5, u"10"_qs}},
            {"silent for 5 s", {silent, 1, u"18 19 20 21"_qs}},
            {"silent for 5 s, each fifth second", {silent, 5, {}}},
            {"cable out", {unplugged, 1, u"30 31 32 33 34"_qs}},
            {"cable out, each fifth second", {unplugged, 5, u"30"_qs}},
        });
    }

    void RowsOfABadLine()
    {
        const auto [trouble, interval, errors] = ThisRow<Case>();
        SteppedRun run(trouble);
        const auto dataSet = run.NewSet(interval);
        dataSet->SetPeriod(false, {u"0"_qs, u"0"_qs, u"1"_qs, u"0"_qs});
        run.Begin(dataSet);
        const qint64 start = run.clock.utcMs / 1000;
        while (run.state.RealtimeRun && run.Now() < 90'000) {
            if (trouble.unpluggedAt > 0 && run.Now() == trouble.unpluggedAt) {
                run.server.HangUp();
                QVERIFY(WaitUntil([&] { return !run.comm.IsOpen(); }));
            }
            if (trouble.pluggedAt > 0 && run.Now() == trouble.pluggedAt)
                run.server.PlugIn();
            run.Step();
        }
        QCOMPARE(dataSet->GetDatacount(), 60 / interval + 1);
        QStringList wrong;
        for (int row = 1; row <= dataSet->GetDatacount(); ++row) {
            const int second = (row - 1) * interval;
            QCOMPARE(dataSet->Table().Cell(row, 1), TimeOfDay(start + second + 1));
            if (dataSet->Table().Cell(row, 2) == u"ERROR")
                wrong << QString::number(second);
        }
        QCOMPARE(wrong.join(u' '), errors);
    }

    /// Nothing waits in idleness for replies that may still be under way.
    void WireAfterALostReply()
    {
        SteppedRun run({.lostReplies = 1});
        run.Begin(run.NewSet(1));
        while (run.Now() < 12'000)
            run.Step();
        const qsizetype begin = run.wire.indexOf(u"10000 AN1"_qs);
        QCOMPARE(run.wire.mid(begin),
                 QStringList({u"10000 AN1"_qs, u"10050 H1"_qs, u"10100 OC"_qs, u"11100 OC"_qs,
                              u"11200 AN1"_qs, u"11250 H1"_qs, u"11300 OC"_qs, u"12000 AN1"_qs}));
        run.state.RealtimeStop = true;
        while (run.state.RealtimeRun)
            run.Step();
    }
};

QTEST_GUILESS_MAIN(BadLineTest)
#include "badline_test.moc"
