#include "document/dataset.h"
#include "link/reply.h"
#include "link/saverecord.h"
#include "link/storeddata.h"
#include "resources/strings.h"
#include "tests/support.h"

#include <algorithm>

using namespace px40;

namespace {

/// A download on the simulated instrument into a real data set.
struct DownloadRig : LinkRig
{
    explicit DownloadRig(int replyTimeoutMs = ReplyTimeoutMs)
        : LinkRig(Unpaced(), replyTimeoutMs), storedData(state, gate, comm, prompts, progress),
          data(std::make_shared<DataSet>(state, shared))
    {
    }

    Running<bool> Start(bool saveMode)
    {
        data->OpenNew(saveMode ? KindSave : KindMemory);
        gate.Take();
        if (saveMode)
            return Running<bool>(storedData.ReceiveSaveData(data));
        return Running<bool>(storedData.ReceiveMemoryData(data));
    }

    DocumentShared shared;
    RecordedProgress progress;
    StoredData storedData;
    std::shared_ptr<DataSet> data;
};

QStringList MemoryCommands(int readings)
{
    QStringList commands = {QStringLiteral("AN1"), QStringLiteral("H1")};
    for (int n = 1; n <= readings; ++n)
        commands << QStringLiteral("OM%1").arg(n);
    return commands;
}

} // namespace

class DownloadTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void FetchesAllReadings();
    void FaultsEndInAMessageOrInAllRows_data();
    void FaultsEndInAMessageOrInAllRows();
    void CancelKeepsTheRowsReceived();
    void SilenceFromTheStartIsToldOnce();
    void HangUpHalfWayKeepsTheRows();
    void SaveModeMakesRoomButAddsNothing();
    void SaveModeFaults_data();
    void SaveModeFaults();
    void FewRowsLeaveTheGraphAlone();
    void MemoryThatRunsOutIsTold();
};

void DownloadTest::FetchesAllReadings()
{
    DownloadRig rig;
    rig.Open();
    const Running<bool> download = rig.Start(false);
    QVERIFY(rig.progress.shown);
    QCOMPARE(rig.progress.caption, QStringLiteral("Receive MEMORY-mode data"));
    QCOMPARE(rig.progress.message, QStringLiteral("Receiving..."));
    QVERIFY(download.Finish());
    QVERIFY(download.Value());

    QCOMPARE(rig.Commands(), MemoryCommands(50));
    QCOMPARE(rig.data->GetDatacount(), 50);
    for (int n = 1; n <= 50; ++n) {
        ReadingTexts reading;
        QString error;
        QVERIFY(DecodeMeasureReply(rig.Expected(QStringLiteral("OM%1").arg(n)), &reading, &error));
        const TableModel &table = rig.data->Table();
        QCOMPARE(table.Cell(n, 0), QString::number(n));
        QCOMPARE(table.Cell(n, 1), QStringLiteral("No.%1").arg(n));
        QCOMPARE(table.Cell(n, 2), reading.measureValue);
        QCOMPARE(table.Cell(n, 3), reading.measureUnit);
        QCOMPARE(table.Cell(n, 4), reading.sourceValue);
        QCOMPARE(table.Cell(n, 5), reading.sourceUnit);
    }
    QCOMPARE(rig.progress.steps.size(), 50);
    QCOMPARE(rig.progress.steps.first(), QStringLiteral("false 1/50"));
    QCOMPARE(rig.progress.steps.last(), QStringLiteral("true 50/50"));
    QCOMPARE(rig.data->GetGraphcount(), QStringLiteral("50"));
    QVERIFY(!rig.data->PanelText(Panel::Max).isEmpty());
    QVERIFY(!rig.data->Saved());
    QVERIFY(!rig.progress.shown);
    QVERIFY(rig.prompts.warnings.isEmpty());
    QCOMPARE(rig.state.LinkActivity, int(ActivityIdle));
    QVERIFY(!rig.state.LinkBusy);
}

void DownloadTest::FaultsEndInAMessageOrInAllRows_data()
{
    QTest::addColumn<QByteArray>("fault");
    QTest::addColumn<int>("rows");
    QTest::addColumn<QString>("message"); // empty: none
    const QString timeout = QStringLiteral("Timeout error occurred.");
    const QString command = QStringLiteral("Command error occurred.");
    const QString lost = Text(Str::PortLost);
    QTest::newRow("silent from the 13th command") << QByteArray("silent-from=13") << 10 << timeout;
    QTest::newRow("late once") << QByteArray("late=200,first=4") << 50 << QString();
    QTest::newRow("byte by byte") << QByteArray("byte-by-byte=1") << 50 << QString();
    QTest::newRow("two lines") << QByteArray("two-lines") << 50 << QString();
    QTest::newRow("half a line") << QByteArray("half-line") << 0 << timeout;
    QTest::newRow("garbage") << QByteArray("garbage=5") << 50 << QString();
    QTest::newRow("refused") << QByteArray("err=8") << 5 << command;
    QTest::newRow("one reply lost") << QByteArray("drop-reply=20") << 50 << QString();
    QTest::newRow("wrong mode shows only in the status") << QByteArray("mode=printer") << 50 << QString();
    QTest::newRow("hang-up at once") << QByteArray("hang-up=1") << 0 << lost;
    QTest::newRow("hang-up") << QByteArray("hang-up=30") << 27 << lost;
    QTest::newRow("hang-up half-way through a reply") << QByteArray("hang-up=30,half") << 27 << lost;
}

void DownloadTest::FaultsEndInAMessageOrInAllRows()
{
    QFETCH(QByteArray, fault);
    QFETCH(int, rows);
    QFETCH(QString, message);
    DownloadRig rig;
    rig.Fault(fault.constData());
    rig.Open();
    // The link is not free before the user has seen the box.
    rig.prompts.onWarn = [&] { QCOMPARE(rig.state.LinkActivity, int(ActivityDownload)); };
    const Running<bool> download = rig.Start(false);
    QVERIFY(download.Finish());
    QCOMPARE(download.Value(), message.isEmpty());
    QCOMPARE(rig.data->GetDatacount(), rows);
    QCOMPARE(rig.prompts.warnings, message.isEmpty() ? QStringList() : QStringList(message));
    QVERIFY(!rig.progress.shown);
    QCOMPARE(rig.state.LinkActivity, int(ActivityIdle));
    QVERIFY(!rig.state.LinkBusy);
    if (fault != "garbage=5")
        return;
    // Noise is kept as it came and never counts as a number.
    const Statistics &statistics = rig.data->Calculation();
    QVERIFY(statistics.validCount >= 2 && statistics.validCount < 50);
    QVERIFY(rig.data->UnreadableCount() > 0);
    QVERIFY(!rig.data->Table().Cell(50, 2).isEmpty());
}

void DownloadTest::CancelKeepsTheRowsReceived()
{
    DownloadRig rig(3600 * 1000);
    rig.Open();
    rig.state.ErrorMessage = QStringLiteral("from before");
    rig.progress.onStep = [&](int position) {
        if (position == 20) {
            rig.state.DownloadCancel = true;
            rig.comm.FlagsChanged();
        }
    };
    const Running<bool> download = rig.Start(false);
    QVERIFY(download.Finish());
    QVERIFY(!download.Value());
    QCOMPARE(rig.data->GetDatacount(), 20);
    QVERIFY(!rig.data->PanelText(Panel::Avg).isEmpty());
    // A cancel leaves no text of its own, so the box shows the one that was there.
    QCOMPARE(rig.prompts.warnings, QStringList(QStringLiteral("from before")));
    QVERIFY(!rig.state.LinkBusy);

    // The flag of the last download does not end the next one.
    rig.progress.onStep = nullptr;
    rig.data = std::make_shared<DataSet>(rig.state, rig.shared);
    const Running<bool> again = rig.Start(false);
    QVERIFY(again.Finish());
    QVERIFY(again.Value());
}

void DownloadTest::SilenceFromTheStartIsToldOnce()
{
    DownloadRig rig(20);
    rig.Fault("silent");
    rig.Open();
    const Running<bool> download = rig.Start(false);
    QVERIFY(download.Finish());
    QCOMPARE(rig.Commands(), QStringList({u"AN1"_qs, u"AN1"_qs, u"AN1"_qs, u"H1"_qs, u"H1"_qs, u"H1"_qs,
                                          u"OM1"_qs, u"OM1"_qs, u"OM1"_qs}));
    QCOMPARE(rig.prompts.warnings, QStringList(QStringLiteral("Timeout error occurred.")));
    QVERIFY(rig.progress.cancelDisabled);
}

void DownloadTest::HangUpHalfWayKeepsTheRows()
{
    DownloadRig rig(3600 * 1000);
    rig.Open();
    rig.progress.onStep = [&](int position) {
        if (position == 7)
            rig.server.HangUp();
    };
    const Running<bool> download = rig.Start(false);
    QVERIFY(download.Finish());
    QVERIFY(!download.Value());
    QCOMPARE(rig.data->GetDatacount(), 7);
    QCOMPARE(rig.prompts.warnings, QStringList(Text(Str::PortLost)));
    QVERIFY(!rig.comm.IsOpen());
}

void DownloadTest::SaveModeMakesRoomButAddsNothing()
{
    DownloadRig rig;
    rig.Open();
    const Running<bool> download = rig.Start(true);
    QVERIFY(download.Finish());
    QVERIFY(download.Value());
    const QStringList commands = rig.Commands();
    QCOMPARE(commands.size(), 52);
    QCOMPARE(commands.first(), QStringLiteral("PL,1"));
    QCOMPARE(commands.at(1), QStringLiteral("RS,01"));
    QCOMPARE(commands.at(50), QStringLiteral("RS,50"));
    QCOMPARE(commands.last(), QStringLiteral("PL,0"));
    QCOMPARE(rig.data->GetDatacount(), 0);
    QCOMPARE(rig.progress.caption, QStringLiteral("Receive SAVE-mode data"));
    QCOMPARE(rig.progress.steps.size(), 50);
    QVERIFY(rig.state.LinkBusy); // as it was before
    QCOMPARE(rig.state.LinkActivity, int(ActivityIdle));
}

void DownloadTest::SaveModeFaults_data()
{
    QTest::addColumn<QByteArray>("fault");
    QTest::addColumn<QString>("message");
    QTest::addColumn<int>("commands");
    QTest::newRow("wrong check character") << QByteArray("wrong-check") << u"Data error occurred."_qs << 3;
    QTest::newRow("silent: five tries to begin, five to end")
        << QByteArray("silent") << u"Timeout error occurred."_qs << 10;
    QTest::newRow("garbage") << QByteArray("garbage=2") << u"Data error occurred."_qs << 3;
}

void DownloadTest::SaveModeFaults()
{
    QFETCH(QByteArray, fault);
    DownloadRig rig(40);
    rig.Fault(fault.constData());
    rig.Open();
    const Running<bool> download = rig.Start(true);
    QVERIFY(download.Finish());
    QVERIFY(!download.Value());
    QFETCH(QString, message);
    QCOMPARE(rig.prompts.warnings, QStringList(message));
    QTEST(int(rig.server.CommandCount()), "commands");
}

void DownloadTest::FewRowsLeaveTheGraphAlone()
{
    for (const auto &[fault, count] : {std::pair("err=5", "20"), std::pair("err=6", "3")}) {
        DownloadRig rig;
        rig.Fault(fault);
        rig.Open();
        const Running<bool> download = rig.Start(false);
        QVERIFY(download.Finish());
        QCOMPARE(rig.data->GetGraphcount(), QString::fromLatin1(count));
    }
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
    rig.Open();
    rig.data = std::make_shared<FullSet>(rig.state, rig.shared);
    const Running<bool> download = rig.Start(false);
    QVERIFY(download.Finish());
    QVERIFY(!download.Value());
    QCOMPARE(rig.prompts.warnings.size(), 1);
    QVERIFY(!rig.progress.shown);
    QVERIFY(!rig.state.LinkBusy);
}

QTEST_GUILESS_MAIN(DownloadTest)
#include "download_test.moc"
