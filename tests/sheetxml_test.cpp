#include "forward/sheetcontent.h"
#include "forward/sheetxml.h"

#include <QDir>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>

#include <pugixml.hpp>

#include <numeric>
#include <tuple>

using namespace px40;

namespace {

/// The numbers of the styles are what their cells are written with.
std::unique_ptr<SheetXml> Writer(SheetContent &content)
{
    std::vector<int> formats(content.Styles().size());
    std::iota(formats.begin(), formats.end(), 0);
    return std::make_unique<SheetXml>(content, formats, SheetVocabulary::Transitional(), "rId7", true);
}

QByteArray ReadAll(SheetXml &xml, qint64 atATime)
{
    QByteArray all;
    QByteArray piece(atATime, '\0');
    for (qint64 got = 1; got > 0;) {
        got = xml.Read(piece.data(), piece.size());
        all.append(piece.constData(), got);
    }
    return all;
}

/// Left, right, top, bottom, number format, alignment: "MtM-@c".
QByteArray Look(const CellStyle &style)
{
    QByteArray look;
    for (const Line line : {style.left, style.right, style.top, style.bottom})
        look += "-tM"[static_cast<int>(line)];
    return look + (style.format == CellFormat::Text ? '@' : 'G') + (style.centred ? "c" : "");
}

/// A worksheet as it was written, cell by cell.
struct Sheet
{
    explicit Sheet(SheetContent &content)
    {
        const QByteArray text = ReadAll(*Writer(content), 60'000);
        const std::vector<CellStyle> styles = content.Styles();
        pugi::xml_document document;
        const unsigned how = pugi::parse_default | pugi::parse_ws_pcdata;
        QVERIFY(document.load_buffer(text.constData(), static_cast<std::size_t>(text.size()), how));
        for (const pugi::xml_node row : document.child("worksheet").child("sheetData")) {
            for (const pugi::xml_node cell : row) {
                const QByteArray name = cell.attribute("r").value();
                looks << name + ' ' + Look(styles.at(cell.attribute("s").as_uint()));
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

} // namespace

/// A sheet as it goes into a file. Those of whole data sets are compared with what they should be elsewhere.
class SheetXmlTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void SharesLinesBetweenNeighbours();
    void MakesValues();
    void TellsItsSizeBeforehand();
    void TakesTheLastWordOnACell();
    void GoesOnWhenThereIsRoomAgain();
    void DrawsTheChart();
};

void SheetXmlTest::SharesLinesBetweenNeighbours()
{
    SheetContent content;
    content.SetCell(2, 1, CellFormat::Text, "beside");
    content.SetCell(4, 2, CellFormat::Text, "below");
    content.SetCell(5, 2, CellFormat::General, "");
    content.SetBorder({3, 3, 2, 2}, Edge::Left, BorderWeight::Medium);
    content.SetBorder({2, 2, 3, 3}, Edge::InsideHorizontal, BorderWeight::Medium);
    content.SetBorder({3, 2, 3, 2}, Edge::Top, BorderWeight::Thin);
    content.SetBorder({2, 3, 2, 3}, Edge::InsideVertical, BorderWeight::Thin);
    content.SetBorder({3, 2, 3, 2}, Edge::Bottom, BorderWeight::Medium);
    content.Centre({3, 3, 3, 3});
    // A cell that was never set is there for its lines, but not for those of its neighbours alone.
    QCOMPARE(Sheet(content).looks.join(' '),
             "A2 -M--@ B2 M--tG C2 ---MG B3 M-tMG C3 --M-Gc B4 --M-@ B5 ----G");
}

void SheetXmlTest::MakesValues()
{
    const QByteArray no = "\xEF\xBF\xBD"; // in place of what is no character
    QList<std::pair<QByteArray, QByteArray>> rows = {
        {"", {}},
        {QByteArray("a\rb\x1F\0z", 6), "s:a_x000D_b_x001F__x0000_z"},
        {"_x0041_x00e9_ _x004_ _X0041_", "s:_x005F_x0041_x005F_x00e9_ _x004_ _X0041_"},
        {"\xC3(\xED\xA0\x80\xF8", "s:" + no + '(' + no.repeated(4)},
        {"a\xE2\x82", "s:a" + no.repeated(2)},
        {"\xEF\xBF\xBE", "s:" + no.repeated(3)},
        {QByteArray(40'000, '&'), "s:" + QByteArray(32'767, '&')},
        {QByteArray(32'766, 'a') + "\xF0\x9D\x84\x9E.", "s:" + QByteArray(32'766, 'a')},
    };
    const QByteArrayList numbers = QByteArray("1.0023 -0.50 +7. .25 007 1E-3 -2.5e+10").split(' ');
    const QByteArrayList values = QByteArray("1.0023 -0.5 7 0.25 7 0.001 -2.5e+10").split(' ');
    for (qsizetype i = 0; i < numbers.size(); ++i)
        rows.emplace_back(numbers[i], "n:" + values[i]);
    const QByteArray texts = "1,5|+-1|.|-|e5|1e|1e+|1.2.3| 1|1 |0x10|inf|nan|1e400|+OL|=1+1|\xD9\xA1|  a  b |"
                             "a\nb\tc|<a b=\"x\">&amp;</a>]]>|\xCE\xA9 \xE2\x82\xAC \xF0\x9D\x84\x9E";
    for (const QByteArray &text : texts.split('|'))
        rows.emplace_back(text, "s:" + text);
    for (const auto &[text, general] : rows) {
        SheetContent content;
        const std::string_view view(text.constData(), static_cast<std::size_t>(text.size()));
        QVERIFY(content.SetCell(1, 1, CellFormat::General, view));
        QVERIFY(content.SetCell(1, 28, CellFormat::Text, view));
        const Sheet sheet(content);
        QCOMPARE(sheet.looks, QByteArrayList({"A1 ----G", "AB1 ----@"}));
        QCOMPARE(sheet.values["A1"], general);
        // As a text it is what it is even when it looks like a number.
        QCOMPARE(sheet.values["AB1"], general.startsWith("n:") ? "s:" + text : general);
    }
}

void SheetXmlTest::TellsItsSizeBeforehand()
{
    QList<int> many(12'000); // more than is kept in memory
    std::iota(many.begin(), many.end(), 1);
    // Rows in the order in which they are set, columns, and the length of their texts.
    const std::tuple<QList<int>, int, int> sheets[] = {
        {{}, 3, 0},
        {{1, 2}, 3, 0},
        {{1, 10, 9, 99, 100, 1'048'576}, 3, 10},
        {many + QList<int>{3, 4, 5}, 3, 100},
        {{1, 2, 3, 4}, 40, 32'767},
    };
    for (const auto &[rows, columns, length] : sheets) {
        SheetContent content;
        const std::string text(static_cast<std::size_t>(length), '&');
        for (const int row : rows) {
            for (int column = columns; column > 0; --column)
                QVERIFY(column == 2 ? content.SetCell(row, column, CellFormat::General, std::to_string(row))
                                    : content.SetCell(row, column, CellFormat::Text, text));
        }
        content.SetBorder({2, 2, 5, 30}, Edge::InsideVertical, BorderWeight::Thin);

        const std::unique_ptr<SheetXml> xml = Writer(content);
        const qint64 told = xml->Size();
        const QByteArray once = ReadAll(*xml, 60'000);
        QCOMPARE(once.size(), told);
        xml->Rewind();
        QByteArray begin(told / 2, '\0');
        QCOMPARE(xml->Read(begin.data(), begin.size()), begin.size());
        QCOMPARE(xml->Size(), told);
        QVERIFY2(begin + ReadAll(*xml, 999) == once, "asking for the size in between has changed the text");
        xml->Rewind();
        QCOMPARE(xml->Read(begin.data(), 1), 1);
        xml->Rewind(); // with much that was made and not taken
        QVERIFY(ReadAll(*xml, 1'234'567) == once);
        const Sheet sheet(content);
        for (const int row : rows) {
            const QByteArray number = QByteArray::number(row);
            QCOMPARE(sheet.values.value("B" + number), "n:" + number);
            QCOMPARE(sheet.values.value("C" + number).size(), length == 0 ? 0 : 2 + length);
        }
    }
}

void SheetXmlTest::TakesTheLastWordOnACell()
{
    SheetContent content;
    content.SetCell(5, 3, CellFormat::Text, "first");
    content.SetCell(5, 2, CellFormat::Text, "left of it");
    content.SetCell(5, 3, CellFormat::General, "2");
    QCOMPARE(Sheet(content).values["C5"], "n:2"); // the row is closed now
    content.SetCell(5, 3, CellFormat::General, "3");
    content.SetCell(6, 1, CellFormat::Text, "next");
    content.SetCell(4, 2, CellFormat::Text, "above");
    content.SetCell(4, 2, CellFormat::Text, "above again");
    const Sheet sheet(content);
    QCOMPARE(sheet.looks.join(' '), "B4 ----@ B5 ----@ C5 ----G A6 ----@");
    QCOMPARE(sheet.values["C5"], "n:3");
    QCOMPARE(sheet.values["B4"], "s:above again");
}

void SheetXmlTest::GoesOnWhenThereIsRoomAgain()
{
    const QTemporaryDir folder;
    const QString temporary = folder.filePath(u"temporary"_qs);
    const QString other = folder.filePath(u"other"_qs);
    const auto restore = qScopeGuard([before = qgetenv("TMPDIR")] { qputenv("TMPDIR", before); });
    qputenv("TMPDIR", temporary.toLocal8Bit());
    for (const QString &there : {temporary, other}) {
        SheetContent content;
        content.SetOtherFolder(other);
        const std::string text(1'000, 'x');
        int row = 1;
        while (row < 5'000 && content.SetCell(row, 1, CellFormat::Text, text))
            ++row;
        QVERIFY2(row < 5'000, "what does not go into a file was taken");
        QVERIFY(content.ErrorText().contains(u"No such file"));
        QVERIFY(QDir().mkdir(there));
        for (const int end : {3'000, 6'000}) {
            for (; row < end; ++row)
                QVERIFY(content.SetCell(row, 1, CellFormat::Text, text));
            const Sheet sheet(content);
            QCOMPARE(sheet.values.size(), row - 1);
            QCOMPARE(sheet.values["A1500"], "s:" + QByteArray(1'000, 'x'));
        }
        QVERIFY2(QDir().rmdir(there), "the temporary file would be left over");
    }
}

/// What the sheets of data sets have none of: names and titles that need care, and ranges upside down.
void SheetXmlTest::DrawsTheChart()
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

QTEST_GUILESS_MAIN(SheetXmlTest)
#include "sheetxml_test.moc"
