#include "document/dataset.h"
#include "document/rowstore.h"
#include "link/linkstate.h"

#include <QAbstractItemModelTester>
#include <QSignalSpy>
#include <QTest>

using namespace px40;

namespace {

struct DataRig
{
    explicit DataRig(int kind, bool memoryNumbers = false)
        : shared{0, memoryNumbers, QString()}, data(state, shared)
    {
        data.OpenNew(kind);
    }

    void Add(const QString &reading)
    {
        QVERIFY(data.AddGridrow());
        data.AddData(QStringLiteral("10:00:00"), reading, QStringLiteral("VDC"), QString(), QString());
    }

    LinkState state;
    DocumentShared shared;
    DataSet data;
};

} // namespace

class DocumentTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void RowsComeBackAsGiven();
    void TableFollowsTheSamples();
    void ReadingsCountOnlyWhenTheyAreNumbers_data();
    void ReadingsCountOnlyWhenTheyAreNumbers();
    void FirstExtremeWins();
    void AverageHasFourDecimals_data();
    void AverageHasFourDecimals();
    void ExtremesAreToldByTheHeadings_data();
    void ExtremesAreToldByTheHeadings();
    void NewSetsStartWithTheirDefaults();
    void CaptionsCountUp();
    void IntervalAndPeriodAreShownAsStored();
    void EveryChangeIsUnsaved();
    void RealtimeSamplesMoveGraphAndBar();
};

void DocumentTest::RowsComeBackAsGiven()
{
    RowStore rows;
    const QString noise = QString::fromLatin1("\0\x80\xff ,\t", 6);
    const QString longText(300000, QChar(0x3b1)); // more than a chunk holds
    for (int i = 0; i < 20000; ++i)
        rows.Append({QString::number(i), u"1.0023", u"", noise, u" -bo-"});
    rows.Append({longText, u"", u"x", u"", u""});
    rows.Append({u"", u"", u"", u"", u""});
    QCOMPARE(rows.Count(), qsizetype(20002));
    for (const int i : {0, 1, 127, 9999, 19999}) {
        QCOMPARE(rows.Cell(i, 0), QString::number(i));
        QCOMPARE(rows.Cell(i, 1), QStringLiteral("1.0023"));
        QCOMPARE(rows.Cell(i, 2), QString());
        QCOMPARE(rows.Cell(i, 3), noise);
        QCOMPARE(rows.Cell(i, 4), QStringLiteral(" -bo-"));
    }
    QCOMPARE(rows.Cell(20000, 0), longText);
    QCOMPARE(rows.Cell(20000, 2), QStringLiteral("x"));
    QCOMPARE(rows.Cell(20001, 4), QString());
}

void DocumentTest::TableFollowsTheSamples()
{
    DataRig rig(KindMemory, true);
    TableModel &table = rig.data.Table();
    const QAbstractItemModelTester tester(&table);
    QCOMPARE(table.rowCount(), 1); // one empty row, numbered
    QCOMPARE(table.index(0, 0).data().toString(), QStringLiteral("1"));
    QCOMPARE(table.index(0, 2).data().toString(), QString());
    rig.Add(QStringLiteral("1.5"));
    QCOMPARE(table.rowCount(), 1);
    rig.Add(QStringLiteral("2.5"));
    QCOMPARE(table.rowCount(), 2);
    QCOMPARE(table.index(1, 0).data().toString(), QStringLiteral("2"));
    QCOMPARE(table.index(1, 2).data().toString(), QStringLiteral("2.5"));
    QVERIFY(rig.data.AddGridrow());
    QVERIFY(rig.data.AddGridrow()); // room is made once
    QCOMPARE(table.rowCount(), 3);
    QCOMPARE(rig.data.GetDatacount(), 2);

    QStringList headings;
    for (int column = 0; column < table.columnCount(); ++column)
        headings << table.headerData(column, Qt::Horizontal).toString();
    QCOMPARE(headings, QStringList({u"No."_qs, u"No."_qs, u"DATA"_qs, u"MODE"_qs, u"DATA"_qs, u"SRC."_qs}));
    rig.shared.MemoryNumbers = false; // the heading stays as it was made
    QCOMPARE(table.Heading(1), QStringLiteral("No."));
    const DataSet later(rig.state, rig.shared);
    QCOMPARE(later.Table().Heading(1), QStringLiteral("TIME"));
}

void DocumentTest::ReadingsCountOnlyWhenTheyAreNumbers_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("counts");
    for (const char *const text : {"ERROR", "+OL", "-OL", "-----", " -bo-", "", "-ol", "nan", "inf", "1,5",
                                   "0x10", "1e39", "1.2.3", "x", "- 1.5"})
        QTest::addRow("no number: '%s'", text) << QString::fromLatin1(text) << false;
    for (const char *const text : {"0", "-0.001", "12345", "1e3", "+2.5", ".5"})
        QTest::addRow("number: '%s'", text) << QString::fromLatin1(text) << true;
    QTest::newRow("line noise") << QString::fromLatin1("1.\xb9") << false;
}

void DocumentTest::ReadingsCountOnlyWhenTheyAreNumbers()
{
    QFETCH(QString, text);
    QFETCH(bool, counts);
    DataRig rig(KindMemory);
    rig.Add(text);
    rig.data.AddRealtimedata(QStringLiteral("t"), text, QString(), QString(), QString(), true);
    QCOMPARE(rig.data.Table().Cell(1, 2), text);
    QCOMPARE(rig.data.Calculation().validCount, counts ? 2 : 0);
    rig.data.DispCalculation();
    QCOMPARE(rig.data.PanelText(Panel::Avg).isEmpty(), !counts);
    QCOMPARE(rig.data.GetDispavg().isEmpty(), !counts);
    QCOMPARE(rig.data.GetDispmax(true).isEmpty(), !counts);
}

void DocumentTest::FirstExtremeWins()
{
    DataRig rig(KindMemory);
    for (const char *const reading : {"+OL", "1", "3", "3", "1"})
        rig.Add(QString::fromLatin1(reading));
    QCOMPARE(rig.data.Calculation().maxRow, 3);
    QCOMPARE(rig.data.Calculation().minRow, 2);
    QCOMPARE(rig.data.GetDispavg(), QStringLiteral("2.0000"));

    DataRig negative(KindMemory);
    for (const char *const reading : {"-5", "-7"})
        negative.Add(QString::fromLatin1(reading));
    QCOMPARE(negative.data.Calculation().maxRow, 1);
    QCOMPARE(negative.data.Calculation().minRow, 2);
}

void DocumentTest::AverageHasFourDecimals_data()
{
    QTest::addColumn<QStringList>("readings");
    QTest::addColumn<QString>("average");
    QTest::newRow("single") << QStringList{u"0.5"_qs} << u"0.5000"_qs;
    QTest::newRow("rounded") << QStringList{u"1"_qs, u"1"_qs, u"0"_qs} << u"0.6667"_qs;
    QTest::newRow("no negative zero") << QStringList{u"-0.00001"_qs} << u"0.0000"_qs;
    QTest::newRow("large") << QStringList{u"16777216"_qs, u"16777216"_qs} << u"16777216.0000"_qs;
}

void DocumentTest::AverageHasFourDecimals()
{
    QFETCH(QStringList, readings);
    DataRig rig(KindMemory);
    for (const QString &reading : readings)
        rig.Add(reading);
    QTEST(rig.data.GetDispavg(), "average");
}

void DocumentTest::ExtremesAreToldByTheHeadings_data()
{
    QTest::addColumn<int>("kind");
    QTest::addColumn<bool>("memoryNumbers");
    QTest::addColumn<bool>("number");
    QTest::addColumn<QString>("text");
    QTest::newRow("real-time") << int(KindRealtime) << false << true
                               << u"No.[ 1 ]   TIME[ 10:00:00 ]   DATA[ 1.0031 ]   MODE[ VDC ]"_qs;
    QTest::newRow("without number") << int(KindRealtime) << false << false
                                    << u"TIME[ 10:00:00 ]   DATA[ 1.0031 ]   MODE[ VDC ]"_qs;
    QTest::newRow("memory numbers") << int(KindMemory) << true << true
                                    << u"No.[ 1 ]   No.[ 10:00:00 ]   DATA[ 1.0031 ]   MODE[ VDC ]"_qs;
    for (const bool number : {true, false})
        QTest::newRow(number ? "SAVE-mode" : "SAVE-mode without number")
            << int(KindSave) << false << number << u"No.[ 1 ]   DATA[ 1.0031 ]   MODE[ VDC ]"_qs;
}

void DocumentTest::ExtremesAreToldByTheHeadings()
{
    QFETCH(int, kind);
    QFETCH(bool, memoryNumbers);
    QFETCH(bool, number);
    DataRig rig(kind, memoryNumbers);
    rig.Add(QStringLiteral("1.0031"));
    QTEST(rig.data.GetDispmax(number), "text");
    QCOMPARE(rig.data.GetDispmin(number), rig.data.GetDispmax(number));
    rig.data.DispCalculation();
    QCOMPARE(rig.data.PanelText(Panel::Max), rig.data.GetDispmax(true));
}

void DocumentTest::NewSetsStartWithTheirDefaults()
{
    DataRig realtime(KindRealtime);
    QCOMPARE(realtime.data.PanelText(Panel::Label), QStringLiteral("REAL-TIME DATA"));
    QCOMPARE(realtime.data.PanelText(Panel::Interval), QStringLiteral("00d +00h +00m +05s"));
    QCOMPARE(realtime.data.PanelText(Panel::Period), QString());
    QCOMPARE(realtime.data.GetIntervalcount(), 5);
    QVERIFY(realtime.data.GetPeriodnone());
    QVERIFY(realtime.data.Saved());
    QCOMPARE(realtime.data.GetGraphcount(), QStringLiteral("20"));
    QCOMPARE(realtime.data.PanelText(Panel::X), QStringLiteral("Automatic"));
    QCOMPARE(realtime.data.Graph().yMaximum, QStringLiteral("10"));
    QCOMPARE(realtime.data.GetFilename(), QString());

    DataRig memory(KindMemory);
    QCOMPARE(memory.data.PanelText(Panel::Label), QStringLiteral("MEMORY-mode DATA"));
    QCOMPARE(memory.data.PanelText(Panel::Interval), QString());
    memory.data.DispInterval(QStringLiteral("10"));
    QCOMPARE(memory.data.PanelText(Panel::Interval), QStringLiteral("10s"));
    for (const int other : {1, 3, 4, 9}) {
        DataRig save(other);
        QCOMPARE(save.data.PanelText(Panel::Label), QStringLiteral("SAVE-mode DATA"));
    }
}

void DocumentTest::CaptionsCountUp()
{
    LinkState state;
    DocumentShared shared;
    for (const char *const caption : {"1New", "2New"}) {
        DataSet data(state, shared);
        data.OpenNew(KindMemory);
        QCOMPARE(data.Caption(), QString::fromLatin1(caption));
    }
    shared.NewCount = 32766;
    for (const char *const caption : {"32767New", "1New"}) {
        DataSet data(state, shared);
        data.OpenNew(KindMemory);
        QCOMPARE(data.Caption(), QString::fromLatin1(caption));
    }
}

void DocumentTest::IntervalAndPeriodAreShownAsStored()
{
    DataRig rig(KindRealtime);
    rig.data.SetInterval({u"1"_qs, u"02"_qs, u"3"_qs, u"04"_qs});
    QCOMPARE(rig.data.PanelText(Panel::Interval), QStringLiteral("1d +02h +3m +04s"));
    QCOMPARE(rig.data.GetIntervalcount(), 86400 + 7200 + 180 + 4);
    rig.data.SetPeriod(false, {u"99"_qs, u"23"_qs, u"59"_qs, u"59"_qs});
    QCOMPARE(rig.data.PanelText(Panel::Period), QStringLiteral("99d +23h +59m +59s"));
    QCOMPARE(rig.data.GetPeriodcount(), 100 * 86400 - 1);
    rig.data.SetPeriod(true, rig.data.GetPeriod());
    QCOMPARE(rig.data.PanelText(Panel::Period), QString());
    QVERIFY(rig.data.GetPeriodnone());
}

void DocumentTest::EveryChangeIsUnsaved()
{
    DataRig rig(KindRealtime);
    const auto expectUnsaved = [&] {
        QVERIFY(!rig.data.Saved());
        rig.data.MarkSaved();
    };
    rig.Add(QStringLiteral("1"));
    expectUnsaved();
    rig.data.AddRealtimedata(QString(), QString(), QString(), QString(), QString(), false);
    expectUnsaved();
    rig.data.SetInterval({});
    expectUnsaved();
    rig.data.SetPeriod(true, {});
    expectUnsaved();
    rig.data.DispInterval(QStringLiteral("5"));
    rig.data.SetAxisX(false, 2, 3);
    QVERIFY(rig.data.Saved()); // settings of the view alone ask no question
    QCOMPARE(rig.data.PanelText(Panel::X), QStringLiteral("Custom"));
    rig.data.SetAxisX(true, 1, 1);
    QCOMPARE(rig.data.PanelText(Panel::X), QStringLiteral("Automatic"));
    rig.data.CancelXauto();
    QCOMPARE(rig.data.PanelText(Panel::X), QStringLiteral("Custom"));
    QCOMPARE(rig.data.GetAxisX(), QStringList({u"False"_qs, u"2"_qs, u"3"_qs}));
}

void DocumentTest::RealtimeSamplesMoveGraphAndBar()
{
    DataRig rig(KindRealtime);
    rig.data.IniProgress(25);
    const QSignalSpy followed(&rig.data, &DataSet::sampleFollowed);
    for (int n = 1; n <= 30; ++n) {
        QVERIFY(rig.data.AddGridrow());
        rig.data.AddRealtimedata(QString::number(n), QString::number(n), QString(), QString(), QString(),
                                 n % 2 == 0);
        QCOMPARE(rig.data.Scroll().maximum, n > 20 ? n - 20 : 0);
        QCOMPARE(rig.data.Scroll().value, rig.data.Scroll().maximum);
        QCOMPARE(rig.data.ProgressValue(), std::min(n, 25));
    }
    QCOMPARE(followed.count(), 30);
    QCOMPARE(rig.data.Calculation().validCount, 15); // the caller says which ones count
    QCOMPARE(rig.data.PanelText(Panel::Avg), QStringLiteral("16.0000"));
    rig.data.PaintGraphtop();
    QCOMPARE(rig.data.Scroll().maximum, 10);
    QCOMPARE(rig.data.Scroll().value, 0);
    rig.data.IniProgress(100);
    QCOMPARE(rig.data.ProgressValue(), 0);
}

QTEST_GUILESS_MAIN(DocumentTest)
#include "document_test.moc"
