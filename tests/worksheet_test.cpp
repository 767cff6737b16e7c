#include "document/dataset.h"
#include "forward/datasetsource.h"
#include "forward/sheetlayout.h"
#include "testing/books.h"
#include "testing/rows.h"
#include "xlsx/sheetxml.h"

#include <QProcess>

#include <numeric>

using namespace px40;

namespace {

const QString Folder = QStringLiteral(PX40_WORKSHEETS);

/// A data set with one row of everything that comes, over and over.
std::shared_ptr<DataSet> MakeDataSet(DocumentShared &shared, int kind, int samples)
{
    const QList<QStringList> rows = {
        {u"10:00:00"_qs, u"1.0023"_qs, u"VDC"_qs, u"0.500"_qs, u"mA"_qs},
        {u"10:00:05"_qs, u"+OL"_qs, u"k\u03a9"_qs, {}, {}},
        {u"10:00:10"_qs, u"-5.0E-2"_qs, u"0012"_qs, u"=1+1"_qs, u" <&> "_qs},
    };
    auto set = std::make_shared<DataSet>(shared);
    set->OpenNew(kind);
    for (int i = 0; i < samples; ++i) {
        const QStringList &row = rows.at(i % rows.size());
        static_cast<void>(set->AddGridrow());
        set->AddData(row[0], row[1], row[2], row[3], row[4]);
    }
    return set;
}

/// The text of a sheet, whose styles are numbers 0, 1, ... in its workbook.
struct Text
{
    explicit Text(const Sheet &sheet) : xml(sheet)
    {
        SheetFrame frame = {{}, SheetVocabulary::Transitional(), "rId7", true};
        frame.formats.resize(xml.Styles().size());
        std::iota(frame.formats.begin(), frame.formats.end(), 0);
        xml.SetFrame(frame);
    }

    QByteArray Read(qint64 atATime)
    {
        QByteArray all;
        QByteArray piece(atATime, '\0');
        for (qint64 got = 1; got > 0;) {
            got = xml.Read(piece.data(), piece.size());
            all.append(piece.constData(), got);
        }
        return all;
    }

    SheetXml xml;
};

/// Left, right, top, bottom, number format, alignment: "MtM-@c".
QByteArray Look(const CellStyle &style)
{
    QByteArray look;
    for (const Line line : {style.left, style.right, style.top, style.bottom})
        look += "-tM"[static_cast<int>(line)];
    return look + (style.format == CellFormat::Text ? '@' : 'G') + (style.centred ? "c" : "");
}

/// A worksheet as it was written, cell by cell.
struct Written
{
    explicit Written(const Sheet &sheet)
    {
        Text written(sheet);
        const QByteArray text = written.Read(60'000);
        pugi::xml_document document;
        const unsigned how = pugi::parse_default | pugi::parse_ws_pcdata;
        QVERIFY(document.load_buffer(text.constData(), static_cast<std::size_t>(text.size()), how));
        for (const pugi::xml_node row : document.child("worksheet").child("sheetData")) {
            for (const pugi::xml_node cell : row) {
                const QByteArray name = cell.attribute("r").value();
                looks << name + ' ' + Look(written.xml.Styles().at(cell.attribute("s").as_uint()));
                if (const pugi::xml_node number = cell.child("v"))
                    values[name] = QByteArray("n:") + number.child_value();
                else if (const pugi::xml_node inner = cell.child("is"))
                    values[name] = QByteArray("s:") + inner.child_value("t");
            }
        }
    }

    QByteArrayList looks;                 ///< "B4 MtMM@c"
    QHash<QByteArray, QByteArray> values; ///< "n:" and the number, or "s:" and the text as XML gives it
};

using Size = std::tuple<int, int, int>; // rows, columns, and the length of the texts

/// Each row has its number in its second column, and the same text in all others.
class SameRows : public TableRows
{
  public:
    SameRows(int columns, int length)
        : text_(static_cast<std::size_t>(length), '&'), row_(static_cast<std::size_t>(columns), text_)
    {
    }
    void Rewind() override { number_ = 0; }
    std::span<const std::string_view> Next() override
    {
        digits_ = std::to_string(++number_);
        row_[1] = digits_;
        return row_;
    }

  private:
    std::string text_;
    std::vector<std::string_view> row_;
    std::string digits_;
    int number_ = 0;
};

} // namespace

/// A sheet as it goes into a file.
class WorksheetTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void SharesLinesBetweenNeighbours()
    {
        Sheet sheet;
        sheet.cells[2][1] = {CellFormat::Text, "beside"};
        sheet.cells[4][2] = {CellFormat::Text, "below"};
        sheet.cells[5][2] = {CellFormat::General, ""};
        sheet.borders = {{{3, 3, 2, 2}, Edge::Left, BorderWeight::Medium},
                         {{2, 2, 3, 3}, Edge::InsideHorizontal, BorderWeight::Medium},
                         {{3, 2, 3, 2}, Edge::Top, BorderWeight::Thin},
                         {{2, 3, 2, 3}, Edge::InsideVertical, BorderWeight::Thin},
                         {{3, 2, 3, 2}, Edge::Bottom, BorderWeight::Medium}};
        sheet.centred = {{3, 3, 3, 3}};
        // A cell that was never set is there for its lines, but not for those of its neighbours alone.
        QCOMPARE(Written(sheet).looks.join(' '),
                 "A2 -M--@ B2 M--tG C2 ---MG B3 M-tMG C3 --M-Gc B4 --M-@ B5 ----G");
    }

    void MakesValues_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QByteArray>("general");
        const auto row = [](const char *name, const QByteArray &text, const QByteArray &general) {
            QTest::newRow(name) << text << general;
        };
        const QByteArray no = "\xEF\xBF\xBD"; // in place of what is no character
        row("empty", "", {});
        row("controls", QByteArray("a\rb\x1F\0z", 6), "s:a_x000D_b_x001F__x0000_z");
        row("like escapes", "_x0041_x00e9_ _x004_ _X0041_", "s:_x005F_x0041_x005F_x00e9_ _x004_ _X0041_");
        row("no UTF-8", "\xC3(\xED\xA0\x80\xF8", "s:" + no + '(' + no.repeated(4));
        row("cut off", "a\xE2\x82", "s:a" + no.repeated(2));
        row("no character", "\xEF\xBF\xBE", "s:" + no);
        row("mark of the byte order", "\xEF\xBB\xBF", "s:\xEF\xBB\xBF");
        row("long", QByteArray(40'000, '&'), "s:" + QByteArray(32'767, '&'));
        row("cut between halves", QByteArray(32'766, 'a') + "\xF0\x9D\x84\x9E.",
            "s:" + QByteArray(32'766, 'a'));
        const QByteArrayList numbers = QByteArray("1.0023 -0.50 +7. .25 007 1E-3 -2.5e+10").split(' ');
        const QByteArrayList values = QByteArray("1.0023 -0.5 7 0.25 7 0.001 -2.5e+10").split(' ');
        for (qsizetype i = 0; i < numbers.size(); ++i)
            row(numbers[i].constData(), numbers[i], "n:" + values[i]);
        const QByteArray texts =
            "1,5|+-1|++1|.|-|e5|1e|1e+|1.2.3| 1|1 |0x10|inf|nan|1e400|+OL|=1+1|\xD9\xA1|  a  b |"
            "a\nb\tc|<a b=\"x\">&amp;</a>]]>|\xCE\xA9 \xE2\x82\xAC \xF0\x9D\x84\x9E";
        for (const QByteArray &text : texts.split('|'))
            row(text.constData(), text, "s:" + text);
    }

    void MakesValues()
    {
        QFETCH(QByteArray, text);
        QFETCH(QByteArray, general);
        Sheet sheet;
        sheet.cells[1][1] = {CellFormat::General, text.toStdString()};
        sheet.cells[1][28] = {CellFormat::Text, text.toStdString()};
        const Written written(sheet);
        QCOMPARE(written.looks, QByteArrayList({"A1 ----G", "AB1 ----@"}));
        QCOMPARE(written.values["A1"], general);
        // As a text it is what it is even when it looks like a number.
        QCOMPARE(written.values["AB1"], general.startsWith("n:") ? "s:" + text : general);
    }

    void TellsItsSizeBeforehand_data()
    {
        AddRows<Size>({{"nothing", {0, 3, 0}},
                       {"empty cells", {2, 3, 0}},
                       {"many", {12'000, 3, 100}},
                       {"large", {4, 40, 32'767}}});
    }

    void TellsItsSizeBeforehand()
    {
        const auto [rows, columns, length] = ThisRow<Size>();
        Sheet sheet;
        sheet.table = {1, 1, rows, {}, std::make_shared<SameRows>(columns, length)};
        for (std::size_t column = 0; column < static_cast<std::size_t>(columns); ++column)
            sheet.table.columns.push_back({column == 1 ? CellFormat::General : CellFormat::Text, column});
        sheet.cells[1'048'576][3] = {CellFormat::Text, "last"};
        sheet.borders = {{{2, 2, 5, 30}, Edge::InsideVertical, BorderWeight::Thin}};

        Text text(sheet);
        const QByteArray once = text.Read(60'000);
        QCOMPARE(once.size(), text.xml.Size());
        QVERIFY(rows == 0 || once.contains("<v>" + QByteArray::number(rows) + "</v>"));
        text.xml.Rewind();
        QByteArray begin(once.size() / 2, '\0');
        QCOMPARE(text.xml.Read(begin.data(), begin.size()), begin.size());
        QVERIFY2(begin + text.Read(999) == once, "it depends on how much is read at a time");
        text.xml.Rewind();
        QCOMPARE(text.xml.Read(begin.data(), 1), 1);
        text.xml.Rewind(); // with much that was made and not taken
        QVERIFY(text.Read(1'234'567) == once);
    }

    void PutsCellsAmongTheRows()
    {
        Sheet sheet;
        sheet.table = {
            5, 2, 2, {{CellFormat::Text, 0}, {CellFormat::General, 1}}, std::make_shared<SameRows>(2, 1)};
        sheet.cells[5][3] = {CellFormat::Text, "instead"};
        sheet.cells[6][1] = {CellFormat::Text, "before"};
        sheet.cells[4][2] = {CellFormat::Text, "above"};
        const Written written(sheet);
        QCOMPARE(written.looks.join(' '), "B4 ----@ B5 ----@ C5 ----@ A6 ----@ B6 ----@ C6 ----G");
        QCOMPARE(written.values["C5"], "s:instead");
        QCOMPARE(written.values["C6"], "n:2");
    }

    /// What the sheets of data sets have none of: names and titles that need care, and ranges upside down.
    void DrawsTheChart()
    {
        SheetChart chart = {{5, 2, 4, 4}, 8, 8, 400, 200, "A < B & \x07 C"};
        const SheetVocabulary words = SheetVocabulary::Strict();
        pugi::xml_document document;
        const auto at = [&document](const char *path) { return document.select_node(path).node(); };
        QVERIFY(document.load_string(ChartXml(chart, "O'Neil & <1>", words).c_str()));
        QCOMPARE(at("/c:chartSpace").attribute("xmlns:c").value(), words.chart.c_str());
        QCOMPARE(at("//c:title//a:t").child_value(), "A < B &   C");
        QCOMPARE(at("//c:ser[1]/c:cat//c:f").child_value(), "'O''Neil & <1>'!$B$4:$B$5");
        QCOMPARE(at("//c:ser[2]/c:val//c:f").child_value(), "'O''Neil & <1>'!$D$4:$D$5");
        QVERIFY(document.load_string(DrawingXml(chart, "rId1", words).c_str()));
        QCOMPARE(at("//a:graphicData").attribute("uri").value(), words.chart.c_str());

        chart.title.clear();
        QVERIFY(document.load_string(ChartXml(chart, "1", words).c_str()));
        QVERIFY(!at("//c:title"));
        QCOMPARE(at("//c:autoTitleDeleted").attribute("val").as_int(), 1);
    }

    void initTestCase()
    {
        for (const QString &name : {u"python3"_qs, u"/usr/bin/python3"_qs}) {
            QProcess process;
            process.start(name, {u"-c"_qs, u"import openpyxl"_qs});
            if (python_.isEmpty() && process.waitForFinished() && process.exitCode() == 0)
                python_ = name;
        }
    }

    void ReadsAsMeant_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<int>("samples");
        QTest::addColumn<QString>("book");
        for (const int kind : {KindMemory, KindRealtime, KindSave})
            for (const int samples : {0, 1, 3})
                QTest::addRow("kind %d, %d rows", kind, samples) << kind << samples << QString();
        QTest::newRow("32,000 rows") << int(KindRealtime) << 32'000 << QString();
        QTest::newRow("openpyxl") << int(KindRealtime) << 3 << u"--make"_qs;
        QTest::newRow("LibreOffice") << int(KindSave) << 3 << u"/libreoffice.xlsx"_qs;
    }

    /// What a program that had no part in it reads from the workbooks that are written.
    void ReadsAsMeant()
    {
        if (python_.isEmpty())
            QSKIP("Skipped: there is no python3 with openpyxl.");
        QFETCH(int, kind);
        QFETCH(int, samples);
        QFETCH(QString, book);
        QTemporaryDir folder;
        const QString name = folder.filePath(u"Book \u03b1.xlsx"_qs);
        if (book == u"--make")
            QCOMPARE(Run({book, name}), QStringList());
        else if (!book.isEmpty())
            QVERIFY(QFile::copy(Folder + book, name));

        DocumentShared shared{0, kind == KindMemory, {}};
        const std::shared_ptr<DataSet> set = MakeDataSet(shared, kind, samples);
        const DataSetSource source(set, u"Probe"_qs);
        const bool numbers = source.IsSaveMode();
        const Sheet sheet = LayOut(source, samples, numbers, source.Rows());
        QCOMPARE(Write(book.isEmpty() ? WorkbookFile::New(name) : WorkbookFile::Existing(name), sheet),
                 QString());

        QStringList found = samples > 100 ? Run({name, u"7"_qs}) : Run({name});
        QCOMPARE(found.value(0), book.isEmpty() ? u"sheets|[Probe]"_qs : u"sheets|Costs|[Plan B]|Probe"_qs);
        found.removeFirst();
        const QString golden = Folder + u"/kind%1-%2.txt"_qs.arg(kind).arg(samples);
        QCOMPARE(found, QString::fromUtf8(Contents(golden)).split(u'\n', Qt::SkipEmptyParts));
    }

  private:
    /// What the script says, line by line.
    QStringList Run(const QStringList &arguments)
    {
        QProcess process;
        process.start(python_, QStringList{Folder + u"/sheetdump.py"_qs} + arguments);
        process.waitForFinished(120'000);
        const QString errors = QString::fromUtf8(process.readAllStandardError());
        return (QString::fromUtf8(process.readAllStandardOutput()) + errors).split(u'\n', Qt::SkipEmptyParts);
    }

    QString python_;
};

QTEST_GUILESS_MAIN(WorksheetTest)
#include "worksheet_test.moc"
