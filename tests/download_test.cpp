#include "acquire/storeddata.h"
#include "document/dataset.h"
#include "link/reply.h"
#include "resources/strings.h"
#include "testing/linkrig.h"
#include "testing/rows.h"

#include <new>

using namespace px40;

namespace {

/// A download on the simulated instrument into a real data set.
struct DownloadRig : LinkRig
{
    explicit DownloadRig(const char *fault = "none")
    {
        Fault(fault);
        Open();
    }

    /// Begins one into a new set.
    Running<Result<>> Begin(StoredData::Mode mode)
    {
        const bool saveMode = mode == StoredData::Mode::Save;
        data = std::make_shared<DataSet>(shared);
        data->OpenNew(saveMode ? KindSave : KindMemory);
        download.emplace(link, progress, mode, data);
        Require(state.LinkBusy != saveMode && LinkInUse(state), u"Who has the link?"_qs);
        return Running<Result<>>(download->Receive());
    }

    /// Downloads to the end: why it failed, if it did.
    Result<> Fetch(StoredData::Mode mode)
    {
        const Running<Result<>> running = Begin(mode);
        Require(running.Finish() && LinkInUse(state), u"The download does not end, or has lost the link."_qs);
        return running.Value();
    }

    DocumentShared shared;
    RecordedProgress progress;
    std::optional<StoredData> download;
    std::shared_ptr<DataSet> data;
};

constexpr StoredData::Mode Memory = StoredData::Mode::Memory;
constexpr StoredData::Mode Save = StoredData::Mode::Save;

/// Rows received, why it ends, and the commands sent in all (0: they are not counted).
using Faulty = std::tuple<StoredData::Mode, int, QString, int>;

} // namespace

class DownloadTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void FetchesAllReadings()
    {
        DownloadRig rig;
        rig.progress.onStep = [&](int) { QVERIFY(rig.progress.shown); };
        QVERIFY(rig.Fetch(Memory));
        QCOMPARE(rig.progress.caption, u"Receive MEMORY-mode data"_qs);
        QCOMPARE(rig.progress.message, u"Receiving..."_qs);
        QStringList commands{u"AN1"_qs, u"H1"_qs};
        QCOMPARE(rig.data->GetDatacount(), 50);
        for (int n = 1; n <= 50; ++n) {
            commands << u"OM%1"_qs.arg(n);
            const Result<ReadingTexts> reading = DecodeMeasureReply(rig.Expected(commands.last()));
            QVERIFY(reading);
            const QStringList expected{QString::number(n),   u"No.%1"_qs.arg(n),   reading->measureValue,
                                       reading->measureUnit, reading->sourceValue, reading->sourceUnit};
            for (int column = 0; column < 6; ++column)
                QCOMPARE(rig.data->Table().Cell(n, column), expected.at(column));
        }
        QCOMPARE(rig.Commands(), commands);
        QCOMPARE(rig.progress.steps.size(), 50);
        QCOMPARE(rig.progress.steps.first(), u"false 1/50"_qs);
        QCOMPARE(rig.progress.steps.last(), u"true 50/50"_qs);
        QCOMPARE(rig.data->Graph().Settings().count, 50);
        QVERIFY(!rig.data->PanelText(Panel::Max).isEmpty());
        QVERIFY(!rig.data->Saved());
    }

    void FaultsEndInAFailureOrInAllRows_data()
    {
        const QString timeout = u"Timeout error occurred."_qs;
        const QString command = u"Command error occurred."_qs;
        const QString badData = u"Data error occurred."_qs;
        const QString lost = Text(Str::PortLost);
        AddRows<Faulty>({
            {"silent", {Memory, 0, timeout, 9}},
            {"silent-from=13", {Memory, 10, timeout, 15}},
            {"half-line", {Memory, 0, timeout, 9}},
            {"garbage=5", {Memory, 50, {}, 0}},
            {"err=5", {Memory, 2, command, 0}},
            {"err=6", {Memory, 3, command, 0}},
            {"hang-up=1", {Memory, 0, lost, 0}},
            {"hang-up=30,half", {Memory, 27, lost, 0}},
            {"SAVE silent", {Save, 0, timeout, 10}}, // five tries to begin, five to end
            {"SAVE silent-from=4", {Save, 0, timeout, 13}},
            {"SAVE wrong-check", {Save, 0, badData, 3}},
            {"SAVE garbage=2", {Save, 0, badData, 3}},
        });
    }

    void FaultsEndInAFailureOrInAllRows()
    {
        const auto [mode, rows, failure, commands] = ThisRow<Faulty>();
        const QByteArray fault = QByteArray(QTest::currentDataTag()).split(' ').last();
        DownloadRig rig(fault.constData());
        const Result<> received = rig.Fetch(mode);
        QCOMPARE(received ? QString() : received.error().text, failure);
        QCOMPARE(rig.progress.cancelDisabled, failure == u"Timeout error occurred.");
        QCOMPARE(rig.data->GetDatacount(), rows);
        // Fewer than three rows leave the graph's width alone.
        QCOMPARE(rig.data->Graph().Settings().count, rows > 2 ? rows : 20);
        QVERIFY(!rig.progress.shown);
        rig.download.reset();
        QVERIFY(!LinkInUse(rig.state));
        if (commands > 0)
            QCOMPARE(int(rig.server.CommandCount()), commands);
        if (rows < 50)
            return;
        // Noise is kept as it came and never counts as a number.
        const Statistics &statistics = rig.data->Calculation();
        QVERIFY(statistics.validCount >= 2 && statistics.validCount < 50);
        QVERIFY(rig.data->UnreadableCount() > 0);
        QVERIFY(!rig.data->Table().Cell(50, 2).isEmpty());
    }

    void SaveModeMakesRoomButAddsNothing()
    {
        DownloadRig rig;
        QVERIFY(rig.Fetch(Save));
        QStringList commands{u"PL,1"_qs};
        for (int n = 1; n <= 50; ++n)
            commands << u"RS,%1"_qs.arg(n, 2, 10, QLatin1Char('0'));
        commands << u"PL,0"_qs;
        QCOMPARE(rig.Commands(), commands);
        QCOMPARE(rig.data->GetDatacount(), 0);
        QCOMPARE(rig.progress.caption, u"Receive SAVE-mode data"_qs);
        QCOMPARE(rig.progress.steps.size(), 50);
        QCOMPARE(rig.download->Records(), 37); // the others are empty
        rig.download.reset();
        rig.Fault("garbage=7"); // behind five records
        QVERIFY(!rig.Fetch(Save));
        QCOMPARE(rig.download->Records(), 5);
    }

    void LinkIsHeldUntilSaveModeIsLeft()
    {
        DownloadRig rig("silent-from=52"); // the last command, which nobody answers
        const Running<Result<>> running = rig.Begin(Save);
        QTRY_COMPARE(rig.Commands().value(51), u"PL,0"_qs);
        const Running<bool> next(rig.gate.WaitUntilFree());
        QVERIFY(!next.Done());
        QVERIFY(running.Finish() && running.Value());
        rig.download.reset();
        QVERIFY(next.Finish());
    }

    void MemoryThatRunsOutIsAFailure()
    {
        DownloadRig rig;
        rig.progress.onStep = [](int) { throw std::bad_alloc(); };
        const Result<> received = rig.Fetch(Memory);
        QVERIFY(!received && !received.error().text.isEmpty());
        QVERIFY(!rig.progress.shown);
        QCOMPARE(rig.data->GetDatacount(), 1);
    }
};

QTEST_GUILESS_MAIN(DownloadTest)
#include "download_test.moc"
