#include "document/dataset.h"
#include "document/datatable.h"
#include "document/rowstore.h"
#include "document/selectionsummary.h"
#include "document/tablecopy.h"
#include "testing/files.h"
#include "testing/rows.h"

#include <QAbstractItemModelTester>
#include <QClipboard>
#include <QDir>
#include <QGuiApplication>
#include <QItemSelection>
#include <QMimeData>
#include <QProcess>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>

using namespace px40;

namespace {

struct DataRig
{
    explicit DataRig(int kind, bool memoryNumbers = false) : shared{0, memoryNumbers, QString()}, data(shared)
    {
        data.OpenNew(kind);
    }

    void Add(const QString &reading)
    {
        QVERIFY(data.AddGridrow());
        data.AddData(u"10:00:00"_qs, reading, u"VDC"_qs, {}, {});
    }

    DocumentShared shared;
    DataSet data;
};

using Extremes = std::tuple<QString, int, int, QString>; // readings; the rows of maximum and minimum; average
using Told = std::tuple<int, bool, bool, QString>; // kind, numbers of stored readings, with the row's number

/// Readings as they come, and what spreadsheets must not take for anything else.
constexpr char16_t Copied[] = u"No.\tTIME\tDATA\tMODE\n"
                              "1\t10:00:00\t1.010\tVDC\n"
                              "2\t10:00:05\t-----\t=1+1\n"
                              "3\t10:00:10\t -bo-\tC<\u2126\n"
                              "4\t10:00:15\t-12.50\t3-4\n"
                              "5\t3.4\t0100.0\t\n";

} // namespace

class DocumentTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void RowsComeBackAsGiven()
    {
        RowStore rows;
        const QString noise = QString::fromLatin1("\0\x80\xff ,\t", 6);
        const QString longText(300000, QChar(0x3b1)); // more than a chunk holds
        for (int i = 0; i < 20000; ++i)
            rows.Append({QString::number(i), u"", noise, u" -bo-", u"1.0023"});
        rows.Append({longText, u"", u"x", u"", u""});
        rows.Append({u"", u"", u"", u"", u""});
        QCOMPARE(rows.Count(), qsizetype(20002));
        for (const int i : {0, 1, 127, 9999, 19999}) {
            int column = 0;
            for (const QString &cell : {QString::number(i), QString(), noise, u" -bo-"_qs, u"1.0023"_qs})
                QCOMPARE(rows.Cell(i, column++), cell);
        }
        QCOMPARE(rows.Cell(20000, 0) + rows.Cell(20000, 2), longText + u'x');
        QCOMPARE(rows.Cell(20001, 4), QString());
    }

    void TableFollowsTheSamples()
    {
        DataRig rig(KindMemory, true);
        TableModel &table = rig.data.Table();
        const QAbstractItemModelTester tester(&table);
        const auto shown = [&](int row) {
            return table.index(row, 0).data().toString() + u'|' + table.index(row, 2).data().toString();
        };
        QCOMPARE(shown(0), u"1|"_qs); // one empty row, numbered
        rig.Add(u"1.5"_qs);
        QCOMPARE(table.rowCount(), 1);
        rig.Add(u"2.5"_qs);
        QCOMPARE(shown(1), u"2|2.5"_qs);
        QVERIFY(rig.data.AddGridrow());
        QVERIFY(rig.data.AddGridrow()); // room is made once
        QCOMPARE(table.rowCount(), 3);
        QCOMPARE(rig.data.GetDatacount(), 2);

        rig.shared.MemoryNumbers = false; // the heading stays as it was made
        QCOMPARE(table.Heading(1), u"No."_qs);
        const DataSet later(rig.shared);
        QCOMPARE(later.Table().Heading(1), u"TIME"_qs);
    }

    void ReadingsCountOnlyWhenTheyAreNumbers()
    {
        const QStringList numbers = u"0 -0.001 12345 1e3 +2.5 .5"_qs.split(u' ');
        const QStringList others =
            u"ERROR|+OL|-----| -bo-||nan|inf|1,5|0x10|1e39|1.2.3|- 1.5|1.\u00b9"_qs.split(u'|');
        for (const QString &text : numbers + others) {
            const bool counts = numbers.contains(text);
            DataRig rig(KindMemory);
            rig.Add(text);
            rig.data.AddRealtimedata(u"t"_qs, text, {}, {}, {}, true);
            QCOMPARE(rig.data.Table().Cell(1, 2), text);
            QVERIFY2(rig.data.Calculation().validCount == (counts ? 2 : 0), qPrintable(text));
            rig.data.DispCalculation();
            QCOMPARE(rig.data.PanelText(Panel::Avg).isEmpty(), !counts);
            QCOMPARE(rig.data.PanelText(Panel::Max).isEmpty(), !counts);
        }
    }

    void ExtremesAndAverageAreFound_data()
    {
        AddRows<Extremes>({
            {"the first of equal ones", {u"+OL 1 3 3 1"_qs, 3, 2, u"2.0000"_qs}},
            {"negative", {u"-5 -7"_qs, 1, 2, u"-6.0000"_qs}},
            {"rounded", {u"1 1 0"_qs, 1, 3, u"0.6667"_qs}},
            {"no negative zero", {u"-0.00001"_qs, 1, 1, u"0.0000"_qs}},
            {"large", {u"16777216 16777216"_qs, 1, 1, u"16777216.0000"_qs}},
        });
    }

    void ExtremesAndAverageAreFound()
    {
        const auto [readings, maxRow, minRow, average] = ThisRow<Extremes>();
        DataRig rig(KindMemory);
        for (const QString &reading : readings.split(u' '))
            rig.Add(reading);
        QCOMPARE(rig.data.Calculation().maxRow, maxRow);
        QCOMPARE(rig.data.Calculation().minRow, minRow);
        QCOMPARE(rig.data.GetDispavg(), average);
    }

    void ExtremesAreToldByTheHeadings_data()
    {
        const QString rest = u"DATA[ 1.0031 ]   MODE[ VDC ]"_qs;
        AddRows<Told>({
            {"real-time", {KindRealtime, false, true, u"No.[ 1 ]   TIME[ 10:00:00 ]   "_qs + rest}},
            {"real-time, no number", {KindRealtime, false, false, u"TIME[ 10:00:00 ]   "_qs + rest}},
            {"stored", {KindMemory, true, true, u"No.[ 1 ]   No.[ 10:00:00 ]   "_qs + rest}},
            {"SAVE mode", {KindSave, false, true, u"No.[ 1 ]   "_qs + rest}},
            {"SAVE mode, no number", {KindSave, false, false, u"No.[ 1 ]   "_qs + rest}},
        });
    }

    void ExtremesAreToldByTheHeadings()
    {
        const auto [kind, memoryNumbers, number, text] = ThisRow<Told>();
        DataRig rig(kind, memoryNumbers);
        rig.Add(u"1.0031"_qs);
        QCOMPARE(rig.data.GetDispmax(number), text);
        QCOMPARE(rig.data.GetDispmin(number), text);
        rig.data.DispCalculation();
        QCOMPARE(rig.data.PanelText(Panel::Max), rig.data.GetDispmax(true));
    }

    void SelectionsAreSummedUp()
    {
        DataRig rig(KindMemory);
        for (const QString &reading : u"2 4 +OL 4 4 5 5 7 9 -3 -----"_qs.split(u' '))
            rig.Add(reading);
        static_cast<void>(rig.data.AddGridrow()); // an empty row behind the samples
        const TableModel &table = rig.data.Table();
        using Ranges = std::vector<std::pair<int, int>>; // rows from 1 on
        const std::tuple<Ranges, QString> cases[] = {
            {{{1, 9}}, u"Rows 9, readings 8   MIN 2   MAX 9   AVG 5.0000   SD 2.138"_qs},
            {{{6, 9}, {1, 5}, {2, 3}, {8, 8}},
             u"Rows 9, readings 8   MIN 2   MAX 9   AVG 5.0000   SD 2.138"_qs},
            {{{4, 5}}, u"Rows 2, readings 2   MIN 4   MAX 4   AVG 4.0000   SD 0"_qs},
            {{{10, 12}}, u"Rows 2, readings 1   MIN -3   MAX -3   AVG -3.0000"_qs}, // n - 1 is nothing
            {{{3, 3}, {11, 11}}, u"Rows 2, readings 0"_qs},
            {{{11, 12}}, {}}, // one row
            {{}, {}},
        };
        for (const auto &[ranges, text] : cases) {
            QItemSelection selection;
            for (const auto &[first, last] : ranges) // of some column or other
                selection.append({table.index(first - 1, last % 6), table.index(last - 1, last % 6)});
            QCOMPARE(SelectionText(rig.data, selection), text);
        }
        QItemSelection pieces(table.index(4, 0), table.index(7, 0));
        pieces.append({table.index(0, 3), table.index(1, 3)});
        pieces.append({table.index(2, 1), table.index(2, 1)});
        QCOMPARE(SelectedRows(pieces, 6), (std::vector<int>{0, 1, 2, 4, 5, 6}));
        // Far from zero the squares of such readings hold none of their differences.
        Statistics far;
        for (const float value : {1.6e7F, 1.6e7F + 1, 1.6e7F + 2})
            far.Add(value, 1);
        QCOMPARE(far.Deviation(), 1.0);
    }

    void ModeIsNamedWhileItIsOne()
    {
        DataRig rig(KindMemory);
        const auto add = [&](const QString &mode) {
            rig.data.AddData({}, u"1"_qs, mode, {}, {});
            return rig.data.Table().CommonMode();
        };
        QCOMPARE(add({}), QString()); // measuring was off
        QCOMPARE(add(u"VDC "_qs), u"VDC"_qs);
        QCOMPARE(add({}), u"VDC"_qs);
        QCOMPARE(add(u"VDC "_qs), u"VDC"_qs);
        QCOMPARE(add(u"mVDC"_qs), QString());
        QCOMPARE(add(u"VDC "_qs), QString());
        rig.data.OpenNew(KindMemory);
        QCOMPARE(add(u"\u03a9"_qs), u"\u03a9"_qs);
    }

    void PanelsShowWhatIsSet()
    {
        DataRig rig(KindRealtime);
        DataSet &realtime = rig.data;
        QVERIFY(realtime.Saved());
        QCOMPARE(realtime.Graph().Settings().yMaximum, u"10"_qs);
        QCOMPARE(realtime.PanelText(Panel::Interval), u"00d +00h +00m +05s"_qs);
        realtime.SetPeriod(false, {u"1"_qs, u"02"_qs, u"3"_qs, u"04"_qs}); // shown as it was given
        QCOMPARE(realtime.PanelText(Panel::Period), u"1d +02h +3m +04s"_qs);
        QCOMPARE(realtime.GetPeriodcount(), 86400 + 7200 + 180 + 4);
        realtime.SetPeriod(true, realtime.GetPeriod());
        QCOMPARE(realtime.PanelText(Panel::Period), QString());
        for (const auto &[kind, label] :
             {std::pair(KindRealtime, u"REAL-TIME DATA"_qs), std::pair(KindMemory, u"MEMORY-mode DATA"_qs),
              std::pair(KindSave, u"SAVE-mode DATA"_qs)})
            QCOMPARE(DataRig(kind).data.PanelText(Panel::Label), label);
    }

    void CaptionsCountUp()
    {
        DocumentShared shared;
        for (const int number : {1, 2, 32767, 1}) {
            if (number == 32767)
                shared.NewCount = 32766; // the last but one
            DataSet data(shared);
            data.OpenNew(KindMemory);
            QCOMPARE(data.Caption(), QString::number(number) + u"New"_qs);
        }
    }

    void EveryChangeIsUnsaved()
    {
        DataRig rig(KindRealtime);
        const auto expectUnsaved = [&] {
            QVERIFY(!rig.data.Saved());
            rig.data.MarkSaved();
        };
        rig.Add(u"1"_qs);
        expectUnsaved();
        rig.data.AddRealtimedata({}, {}, {}, {}, {}, false);
        expectUnsaved();
        rig.data.SetInterval({});
        expectUnsaved();
        rig.data.SetPeriod(true, {});
        expectUnsaved();
        rig.data.DispInterval(u"5"_qs);
        rig.data.SetAxisX(false, 2, 3);
        QCOMPARE(rig.data.PanelText(Panel::X), u"Custom"_qs);
        rig.data.SetAxisX(true, 1, 1); // keeps what was set before
        QVERIFY(rig.data.Saved());     // settings of the view alone ask no question
        QCOMPARE(rig.data.PanelText(Panel::X), u"Automatic"_qs);
        QCOMPARE(rig.data.Graph().Settings().xLabels, 2);
    }

    void RealtimeSamplesMoveTheBar()
    {
        DataRig rig(KindRealtime);
        rig.data.IniProgress(25);
        const QSignalSpy followed(&rig.data, &DataSet::sampleFollowed);
        for (int n = 1; n <= 30; ++n) {
            QVERIFY(rig.data.AddGridrow());
            rig.data.AddRealtimedata(QString::number(n), QString::number(n), {}, {}, {}, n % 2 == 0);
            QCOMPARE(rig.data.ProgressValue(), std::min(n, 25));
        }
        QCOMPARE(followed.count(), 30);
        QCOMPARE(rig.data.Calculation().validCount, 15); // the caller says which ones count
        QCOMPARE(rig.data.PanelText(Panel::Avg), u"16.0000"_qs);
    }

    void CellsTellWhatTheyAre()
    {
        // A cell, its number format in Excel if it needs one, and how it is told.
        const std::tuple<const char16_t *, const char *, const char *> rows[] = {
            {u"1.010", ".n0{mso-number-format:\"0\\.000\"}",
             "<td class=n0 x:num=\"1.010\" sdval=\"1.010\" sdnum=\"1033\">1.010</td>"},
            {u"-0.50", "\"0\\.00\"}",
             "<td class=n0 x:num=\"-0.50\" sdval=\"-0.50\" sdnum=\"1033;0;0.00\">-0.50</td>"},
            {u"+7", "", "<td x:num=\"7\" sdval=\"7\" sdnum=\"1033\">+7</td>"},
            {u"12345.", "", "<td x:num=\"12345\" sdval=\"12345\" sdnum=\"1033\">12345.</td>"},
            {u"0100.0", "\"0000\\.0\"}",
             "<td class=n0 x:num=\"0100.0\" sdval=\"0100.0\" sdnum=\"1033\">0100.0</td>"},
            {u"1.5e-3", "", "<td x:num=\"1.5e-3\" sdval=\"1.5e-3\" sdnum=\"1033\">1.5e-3</td>"},
            {u"-----", "", "<td class=t x:str sdnum=\"1033;0;@\">-----</td>"},
            {u" -bo-", "", "<td class=t x:str=\" -bo-\" sdnum=\"1033;0;@\"> -bo-</td>"},
            {u"1,5", "", "<td class=t x:str sdnum=\"1033;0;@\">1,5</td>"},
            {u"1.2.3", "", "<td class=t x:str sdnum=\"1033;0;@\">1.2.3</td>"},
            {u"1e999", "", "<td class=t x:str sdnum=\"1033;0;@\">1e999</td>"},
            {u"1234567890123456", "", "<td class=t x:str sdnum=\"1033;0;@\">1234567890123456</td>"},
            {u"<\"&\x01\u2126", "", "<td class=t x:str sdnum=\"1033;0;@\">&lt;&quot;&amp; \xE2\x84\xA6</td>"},
            {u"", "", "<td></td>"},
        };
        for (const auto &[cell, format, html] : rows) {
            const QString text = u"DATA\tTIME\n"_qs + QString::fromUtf16(cell) + u"\t10:00:05\n"_qs;
            const QByteArray made = TableHtml(text);
            const QByteArray row =
                QByteArray("<tr>") + html + "<td>10:00:05</td></tr>\n"; // a time is left alone
            QVERIFY2(made.contains(row), made.constData());
            QCOMPARE(made.contains(".n0{mso-number-format:"), !QByteArray(format).isEmpty());
            QVERIFY(made.contains(format));
            QCOMPARE(made.count("<tr>"), 2);
        }
    }

    void BothFormsAreCopied()
    {
        TableModel model(false);
        for (const char16_t *const reading : {u"1.010", u"+OL"}) {
            model.AppendSample({u"10:00:00", QStringView(reading), u"VDC", u"", u""});
            model.AppendTableRow();
        }
        DataTable table(&model, nullptr);
        table.selectAll();
        QTest::keyClick(&table, Qt::Key_C, Qt::ControlModifier);
        const QMimeData *const mime = QGuiApplication::clipboard()->mimeData();
        QVERIFY(mime->hasText() && mime->hasHtml());
        QCOMPARE(
            mime->text(),
            u"No.\tTIME\tDATA\tMODE\tDATA\tSRC.\n1\t10:00:00\t1.010\tVDC\t\t\n2\t10:00:00\t+OL\tVDC\t\t\n"_qs);
        QCOMPARE(mime->data(u"text/html"_qs), TableHtml(mime->text()));
        QVERIFY(mime->html().contains(u"x:num=\"1.010\""));
        // Pieces that do not touch: what lies between them stays empty or away.
        using Way = QItemSelectionModel;
        table.selectionModel()->select(model.index(1, 1), Way::ClearAndSelect);
        table.selectionModel()->select(model.index(0, 2), Way::Select);
        QTest::keyClick(&table, Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(QGuiApplication::clipboard()->text(), u"TIME\tDATA\n\t1.010\n10:00:00\t\n"_qs);
        table.selectionModel()->select(model.index(2, 1), Way::ClearAndSelect); // the spare row is empty
        QGuiApplication::clipboard()->setText(u"before"_qs);
        QTest::keyClick(&table, Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(QGuiApplication::clipboard()->text(), u"before"_qs);
    }

    void LibreOfficeReadsItWhateverItsLanguage()
    {
        const QString office = QStandardPaths::findExecutable(u"soffice"_qs);
        if (office.isEmpty())
            QSKIP("LibreOffice is not installed.");
        const QTemporaryDir folder;
        const QString html = folder.filePath(u"copied.html"_qs);
        const QString profile = folder.filePath(u"profile"_qs);
        const QByteArray german =
            "<oor:items xmlns:oor=\"http://openoffice.org/2001/registry\">"
            "<item oor:path=\"/org.openoffice.Setup/L10N\"><prop oor:name=\"ooSetupSystemLocale\" "
            "oor:op=\"fuse\"><value>de-DE</value></prop></item></oor:items>";
        QVERIFY(QDir().mkpath(profile + u"/user"_qs));
        QVERIFY(Put(profile + u"/user/registrymodifications.xcu"_qs, german));
        QVERIFY(Put(html, TableHtml(QString::fromUtf16(Copied))));
        QProcess process;
        // Fields as they are shown, between "|".
        process.start(office, {u"-env:UserInstallation=file://"_qs + profile, u"--headless"_qs,
                               u"--infilter=HTML (StarCalc)"_qs, u"--convert-to"_qs,
                               u"csv:Text - txt - csv (StarCalc):124,34,76,1,,0,false,true"_qs,
                               u"--outdir"_qs, folder.path(), html});
        QVERIFY(process.waitForFinished(120000));
        const QByteArray read = Contents(folder.filePath(u"copied.csv"_qs));
        QCOMPARE(read.mid(read.indexOf('\n') + 1),
                 "1|10:00:00|1,01|VDC\n2|10:00:05|-----|=1+1\n3|10:00:10|-bo-|C<\xE2\x84\xA6\n"
                 "4|10:00:15|-12,50|3-4\n5|3,4|100|\n");
    }
};

QTEST_MAIN(DocumentTest)
#include "document_test.moc"
