#include "document/datatable.h"
#include "document/tablecopy.h"
#include "testing/files.h"

#include <QClipboard>
#include <QDir>
#include <QGuiApplication>
#include <QItemSelectionModel>
#include <QMimeData>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

#include <tuple>

using namespace px40;

namespace {

/// Readings as they come, and what spreadsheets must not take for anything else.
constexpr char16_t Copied[] = u"No.\tTIME\tDATA\tMODE\n"
                              "1\t10:00:00\t1.010\tVDC\n"
                              "2\t10:00:05\t-----\t=1+1\n"
                              "3\t10:00:10\t -bo-\tC<\u2126\n"
                              "4\t10:00:15\t-12.50\t3-4\n"
                              "5\t3.4\t0100.0\t\n";

} // namespace

/// What is copied from the table, and what spreadsheets make of it.
class TableCopyTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
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

QTEST_MAIN(TableCopyTest)
#include "tablecopy_test.moc"
