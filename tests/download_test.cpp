#include "document/dataset.h"
#include "link/reply.h"
#include "link/storeddata.h"
#include "resources/strings.h"
#include "testing/linkrig.h"

#include <QTest>

#include <tuple>

using namespace px40;

namespace {

/// A download on the simulated instrument into a real data set.
struct DownloadRig : LinkRig
{
    explicit DownloadRig(const char *fault = "none", int replyTimeoutMs = ReplyTimeoutMs)
        : LinkRig(Unpaced(), replyTimeoutMs), storedData(state, gate, comm, prompts, progress),
          data(std::make_shared<DataSet>(state, shared))
    {
        Fault(fault);
        Open();
    }

    /// Downloads to the end; whether all was received.
    bool Fetch(bool saveMode)
    {
        data->OpenNew(saveMode ? KindSave : KindMemory);
        const Running<bool> download(
            storedData.Receive(saveMode ? StoredData::Mode::Save : StoredData::Mode::Memory, data));
        if (state.LinkBusy == saveMode || !LinkInUse(state))
            qFatal("Who has the link?");
        if (!download.Finish())
            qFatal("The download does not end.");
        return download.Value();
    }

    DocumentShared shared;
    RecordedProgress progress;
    StoredData storedData;
    std::shared_ptr<DataSet> data;
};

} // namespace

class DownloadTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void FetchesAllReadings();
    void FaultsEndInAMessageOrInAllRows();
    void CancelKeepsTheRowsReceived();
    void SaveModeMakesRoomButAddsNothing();
    void LinkIsHeldUntilSaveModeIsLeft();
    void MemoryThatRunsOutIsTold();
};

void DownloadTest::FetchesAllReadings()
{
    DownloadRig rig;
    rig.progress.onStep = [&](int) { QVERIFY(rig.progress.shown); };
    QVERIFY(rig.Fetch(false));
    QCOMPARE(rig.progress.caption, u"Receive MEMORY-mode data"_qs);
    QCOMPARE(rig.progress.message, u"Receiving..."_qs);
    QStringList commands{u"AN1"_qs, u"H1"_qs};
    QCOMPARE(rig.data->GetDatacount(), 50);
    for (int n = 1; n <= 50; ++n) {
        commands << u"OM%1"_qs.arg(n);
        ReadingTexts reading;
        QString error;
        QVERIFY(DecodeMeasureReply(rig.Expected(commands.last()), &reading, &error));
        const QStringList expected{QString::number(n),  u"No.%1"_qs.arg(n),  reading.measureValue,
                                   reading.measureUnit, reading.sourceValue, reading.sourceUnit};
        for (int column = 0; column < 6; ++column)
            QCOMPARE(rig.data->Table().Cell(n, column), expected.at(column));
    }
    QCOMPARE(rig.Commands(), commands);
    QCOMPARE(rig.progress.steps.size(), 50);
    QCOMPARE(rig.progress.steps.first(), u"false 1/50"_qs);
    QCOMPARE(rig.progress.steps.last(), u"true 50/50"_qs);
    QCOMPARE(rig.data->GetGraphcount(), u"50"_qs);
    QVERIFY(!rig.data->PanelText(Panel::Max).isEmpty());
    QVERIFY(!rig.data->Saved());
}

void DownloadTest::FaultsEndInAMessageOrInAllRows()
{
    const QString timeout = u"Timeout error occurred."_qs;
    const QString command = u"Command error occurred."_qs;
    const QString badData = u"Data error occurred."_qs;
    // SAVE mode; the fault; the rows received; the message; the commands sent in all, 0 where it is not
    // looked at.
    const std::tuple<bool, const char *, int, QString, int> cases[] = {
        {false, "silent", 0, timeout, 9},
        {false, "silent-from=13", 10, timeout, 0},
        {false, "garbage=5", 50, QString(), 0},
        {false, "err=5", 2, command, 0},
        {false, "err=6", 3, command, 0},
        {false, "hang-up=1", 0, Text(Str::PortLost), 0},
        {false, "hang-up=30,half", 27, Text(Str::PortLost), 0},
        {true, "silent", 0, timeout, 10}, // five tries to begin, five to end
        {true, "wrong-check", 0, badData, 3},
        {true, "garbage=2", 0, badData, 3},
    };
    for (const auto &[saveMode, fault, rows, message, commands] : cases) {
        DownloadRig rig(fault);
        // The link is not free before the user has seen the box.
        rig.prompts.onWarn = [&] { QCOMPARE(rig.state.LinkActivity, int(ActivityDownload)); };
        QVERIFY2(rig.Fetch(saveMode) == message.isEmpty(), fault);
        QCOMPARE(rig.prompts.warnings.join(u'|'), message);
        QCOMPARE(rig.data->GetDatacount(), rows);
        // Fewer than three rows leave the graph's width alone.
        QCOMPARE(rig.data->GetGraphcount(), QString::number(rows > 2 ? rows : 20));
        QVERIFY(!rig.progress.shown);
        QCOMPARE(rig.state.LinkActivity, int(ActivityIdle));
        QVERIFY(!LinkInUse(rig.state));
        if (commands > 0)
            QCOMPARE(int(rig.server.CommandCount()), commands);
        if (rows < 50)
            continue;
        // Noise is kept as it came and never counts as a number.
        const Statistics &statistics = rig.data->Calculation();
        QVERIFY(statistics.validCount >= 2 && statistics.validCount < 50);
        QVERIFY(rig.data->UnreadableCount() > 0);
        QVERIFY(!rig.data->Table().Cell(50, 2).isEmpty());
    }
}

void DownloadTest::CancelKeepsTheRowsReceived()
{
    DownloadRig rig("none", 3600 * 1000);
    rig.state.ErrorMessage = u"from before"_qs;
    rig.progress.onStep = [&](int position) {
        if (position == 20) {
            rig.state.DownloadCancel = true;
            rig.comm.FlagsChanged();
        }
    };
    QVERIFY(!rig.Fetch(false));
    QCOMPARE(rig.data->GetDatacount(), 20);
    QVERIFY(!rig.data->PanelText(Panel::Avg).isEmpty());
    // A cancel leaves no text of its own, so the box shows the one that was there.
    QCOMPARE(rig.prompts.warnings, QStringList(u"from before"_qs));
    QVERIFY(!rig.state.LinkBusy);

    // The flag of the last download does not end the next one.
    rig.progress.onStep = nullptr;
    rig.data = std::make_shared<DataSet>(rig.state, rig.shared);
    QVERIFY(rig.Fetch(false));
}

void DownloadTest::SaveModeMakesRoomButAddsNothing()
{
    DownloadRig rig;
    QVERIFY(rig.Fetch(true));
    QStringList commands{u"PL,1"_qs};
    for (int n = 1; n <= 50; ++n)
        commands << u"RS,%1"_qs.arg(n, 2, 10, QLatin1Char('0'));
    commands << u"PL,0"_qs;
    QCOMPARE(rig.Commands(), commands);
    QCOMPARE(rig.data->GetDatacount(), 0);
    QCOMPARE(rig.progress.caption, u"Receive SAVE-mode data"_qs);
    QCOMPARE(rig.progress.steps.size(), 50);
    QCOMPARE(rig.storedData.Records(), 37); // the others are empty
    rig.Fault("garbage=7");                 // behind five records
    QVERIFY(!rig.Fetch(true));
    QCOMPARE(rig.storedData.Records(), 5);
}

void DownloadTest::LinkIsHeldUntilSaveModeIsLeft()
{
    DownloadRig rig("silent-from=52"); // the last command, which nobody answers
    rig.data->OpenNew(KindSave);
    const Running<bool> download(rig.storedData.Receive(StoredData::Mode::Save, rig.data));
    QTRY_COMPARE(rig.Commands().value(51), u"PL,0"_qs);
    const Running<bool> next(rig.gate.WaitUntilFree());
    QVERIFY(!next.Done());
    QVERIFY(download.Finish() && download.Value());
    QVERIFY(next.Finish());
}

void DownloadTest::MemoryThatRunsOutIsTold()
{
    struct FullSet : DataSet
    {
        using DataSet::DataSet;
        void AddData(const QString &, const QString &, const QString &, const QString &,
                     const QString &) override
        {
            throw std::bad_alloc();
        }
    };
    DownloadRig rig;
    rig.data = std::make_shared<FullSet>(rig.state, rig.shared);
    QVERIFY(!rig.Fetch(false));
    QCOMPARE(rig.prompts.warnings.size(), 1);
    QVERIFY(!rig.progress.shown);
    QVERIFY(!rig.state.LinkBusy);
}

QTEST_GUILESS_MAIN(DownloadTest)
#include "download_test.moc"
