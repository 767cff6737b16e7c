#include "forward/forwardsteps.h"
#include "forward/sheetcontent.h"
#include "forward/sheetsource.h"
#include "forward/sheetxml.h"

#include <QDir>
#include <QTemporaryDir>
#include <QTest>

#include <pugixml.hpp>

#include <numeric>

using namespace px40;

namespace {

/// Puts everything onto the content, and is never busy.
class ContentTarget : public SheetTarget
{
  public:
    SheetContent content;

    SheetStep Attach() override { return SheetStep::Done; }
    SheetStep OpenOrAdd(const std::string &) override { return SheetStep::Done; }
    SheetStep SetVisible(bool) override { return SheetStep::Done; }
    SheetStep SetInteractive(bool) override { return SheetStep::Done; }
    SheetStep SetCell(int row, int column, CellFormat format, std::string_view text) override
    {
        return content.SetCell(row, column, format, text) ? SheetStep::Done : SheetStep::Failed;
    }
    SheetStep SetBorder(const CellRange &range, Edge edge, BorderWeight weight) override
    {
        return content.SetBorder(range, edge, weight), SheetStep::Done;
    }
    SheetStep Centre(const CellRange &range) override { return content.Centre(range), SheetStep::Done; }
    SheetStep Activate(int row, int column) override
    {
        return content.Activate(row, column), SheetStep::Done;
    }
    SheetStep AddChart(const SheetChart &chart) override { return content.SetChart(chart), SheetStep::Done; }
    std::string ErrorText() const override { return content.ErrorText().toStdString(); }
};

class SampleSource : public SheetSource
{
  public:
    explicit SampleSource(int samples) : samples_(samples) {}
    int Samples() const override { return samples_; }
    bool IsSaveMode() const override { return false; }
    std::string Cell(int row, int column) const override
    {
        return row == 0 || column % 2 == 1 ? "text" : std::to_string(row) + ".5";
    }
    std::string StatisticName(int) const override { return "name"; }
    std::string StatisticText(int) const override { return "value"; }
    std::string Title() const override { return "title"; }

  private:
    int samples_;
};

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
QString Look(const CellStyle &style)
{
    QString look;
    for (const Line line : {style.left, style.right, style.top, style.bottom})
        look += QLatin1Char("-tM"[static_cast<int>(line)]);
    return look + QLatin1Char(style.format == CellFormat::Text ? '@' : 'G') +
           (style.centred ? u"c"_qs : u""_qs);
}

/// Cell by cell, row by row: "B4 MtMM@c".
QStringList Looks(SheetContent &content, int firstRow, char lastColumn = 'Z')
{
    const std::vector<CellStyle> styles = content.Styles();
    const QByteArray text = ReadAll(*Writer(content), 60'000);
    pugi::xml_document document;
    QStringList looks;
    if (!document.load_buffer(text.constData(), static_cast<std::size_t>(text.size())))
        return {u"no XML"_qs};
    for (const pugi::xml_node row : document.child("worksheet").child("sheetData"))
        for (const pugi::xml_node cell : row)
            if (row.attribute("r").as_int() >= firstRow && cell.attribute("r").value()[0] <= lastColumn)
                looks << QString::fromUtf8(cell.attribute("r").value()) + u' ' +
                             Look(styles.at(cell.attribute("s").as_uint()));
    return looks;
}

/// What stands in a cell: "n:" and its number, "s:" and its text as XML gives it, or nothing.
QByteArray Value(SheetContent &content, const QByteArray &name)
{
    const QByteArray text = ReadAll(*Writer(content), 1'000'000);
    pugi::xml_document document;
    const pugi::xml_parse_result parsed = document.load_buffer(
        text.constData(), static_cast<std::size_t>(text.size()), pugi::parse_default | pugi::parse_ws_pcdata);
    const pugi::xml_node cell =
        document.child("worksheet").child("sheetData").find_node([&name](const pugi::xml_node &node) {
            return name == node.attribute("r").value();
        });
    if (!parsed || !cell)
        return "no such cell";
    if (cell.child("v"))
        return QByteArray("n:") + cell.child_value("v");
    return cell.child("is") ? QByteArray("s:") + cell.child("is").child_value("t") : QByteArray();
}

} // namespace

class SheetXmlTest : public QObject
{
    Q_OBJECT

  private Q_SLOTS:
    void GivesTheTableItsLines_data();
    void GivesTheTableItsLines();
    void SharesLinesBetweenNeighbours();
    void MakesValues_data();
    void MakesValues();
    void TellsItsSizeBeforehand_data();
    void TellsItsSizeBeforehand();
    void TakesTheLastWordOnACell();
    void GoesOnWhenThereIsRoomAgain();
    void DrawsTheChart();
};

void SheetXmlTest::GivesTheTableItsLines_data()
{
    QTest::addColumn<int>("samples");
    QTest::addColumn<QString>("looks");
    const QString heading = u"B4 MtMM@c C4 ttMM@c D4 ttMM@c E4 ttMM@c F4 tMMM@c "_qs;
    QTest::newRow("none") << 0
                          << u"B4 MtMt@c C4 ttMt@c D4 ttMt@c E4 ttMt@c F4 tMMt@c "
                             "B5 -tt-G C5 ttt-G D5 ttt-G E5 ttt-G F5 t-t-G"_qs;
    QTest::newRow("one") << 1 << heading + u"B5 MtMM@ C5 ttMMG D5 ttMM@ E5 ttMMG F5 tMMM@"_qs;
    QTest::newRow("three") << 3
                           << heading + u"B5 MtMt@ C5 ttMtG D5 ttMt@ E5 ttMtG F5 tMMt@ "
                                        "B6 Mttt@ C6 ttttG D6 tttt@ E6 ttttG F6 tMtt@ "
                                        "B7 MttM@ C7 tttMG D7 tttM@ E7 tttMG F7 tMtM@"_qs;
}

void SheetXmlTest::GivesTheTableItsLines()
{
    QFETCH(int, samples);
    QFETCH(QString, looks);
    ContentTarget target;
    const SampleSource source(samples);
    WholeForward forward(target, source, {});
    while (forward.Next() == SheetStep::Again) {
    }
    QCOMPARE(Looks(target.content, 4, 'F').join(u' '), looks);
}

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
    QCOMPARE(Looks(content, 1).join(u' '),
             u"A2 -M--@ B2 M--tG C2 ---MG B3 M-tMG C3 --M-Gc B4 --M-@ B5 ----G"_qs);
}

void SheetXmlTest::MakesValues_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("general");
    const auto row = [](const QByteArray &name, const QByteArray &text, const QByteArray &general) {
        QTest::newRow(name.constData()) << text << general;
    };
    const QByteArrayList numbers = QByteArray("1.0023 -0.50 +7. .25 007 1E-3 -2.5e+10").split(' ');
    const QByteArrayList values = QByteArray("1.0023 -0.5 7 0.25 7 0.001 -2.5e+10").split(' ');
    for (qsizetype i = 0; i < numbers.size(); ++i)
        row(numbers[i], numbers[i], "n:" + values[i]);
    const QByteArray texts = "1,5|+-1|.|-|e5|1e|1e+|1.2.3| 1|1 |0x10|inf|nan|1e400|+OL|=1+1|\xD9\xA1|  a  b |"
                             "a\nb\tc|<a b=\"x\">&amp;</a>]]>|\xCE\xA9 \xE2\x82\xAC \xF0\x9D\x84\x9E";
    for (const QByteArray &text : texts.split('|'))
        row(text, text, "s:" + text);
    const QByteArray noCharacter = "\xEF\xBF\xBD";
    row("empty", "", {});
    row("control characters", QByteArray("a\rb\x1F\0z", 6), "s:a_x000D_b_x001F__x0000_z");
    row("looks escaped", "_x0041_x00e9_ _x004_ _X0041_", "s:_x005F_x0041_x005F_x00e9_ _x004_ _X0041_");
    row("no UTF-8", "\xC3(\xED\xA0\x80\xF8", "s:" + noCharacter + '(' + noCharacter.repeated(4));
    row("cut off", "a\xE2\x82", "s:a" + noCharacter.repeated(2));
    row("not for XML", "\xEF\xBF\xBE", "s:" + noCharacter.repeated(3));
    row("too long", QByteArray(40'000, '&'), "s:" + QByteArray(32'767, '&'));
    row("half a pair too long", QByteArray(32'766, 'a') + "\xF0\x9D\x84\x9E.",
        "s:" + QByteArray(32'766, 'a'));
}

void SheetXmlTest::MakesValues()
{
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, general);
    SheetContent content;
    const std::string_view view(text.constData(), static_cast<std::size_t>(text.size()));
    QVERIFY(content.SetCell(1, 1, CellFormat::General, view));
    QVERIFY(content.SetCell(1, 28, CellFormat::Text, view));
    QCOMPARE(Value(content, "A1"), general);
    // As a text it is what it is even when it looks like a number.
    QCOMPARE(Value(content, "AB1"), general.startsWith("n:") ? "s:" + text : general);
}

void SheetXmlTest::TellsItsSizeBeforehand_data()
{
    QTest::addColumn<QList<int>>("rows"); // in the order in which they are set
    QTest::addColumn<int>("length");
    QList<int> many(12'000);
    std::iota(many.begin(), many.end(), 1);
    QTest::newRow("nothing") << QList<int>{} << 0;
    QTest::newRow("empty cells") << QList<int>{1, 2} << 0;
    QTest::newRow("gaps") << QList<int>{1, 9, 10, 99, 100, 1'048'576} << 10;
    QTest::newRow("backwards") << QList<int>{30, 20, 10} << 10;
    QTest::newRow("beyond the memory") << many + QList<int>{3, 4, 5} << 100;
    QTest::newRow("rows of megabytes") << QList<int>{1, 2, 3, 4} << 32'767;
}

void SheetXmlTest::TellsItsSizeBeforehand()
{
    QFETCH(QList<int>, rows);
    QFETCH(int, length);
    SheetContent content;
    const int columns = length > 1'000 ? 40 : 3;
    for (const int row : std::as_const(rows))
        for (int column = columns; column > 0; --column)
            QVERIFY(content.SetCell(row, column, column == 2 ? CellFormat::General : CellFormat::Text,
                                    column == 2 ? std::to_string(row)
                                                : std::string(static_cast<std::size_t>(length), '&')));
    content.SetBorder({2, 2, 5, 30}, Edge::InsideVertical, BorderWeight::Thin);

    const std::unique_ptr<SheetXml> xml = Writer(content);
    const qint64 told = xml->Size();
    const QByteArray once = ReadAll(*xml, 60'000);
    QCOMPARE(once.size(), told);
    const int made = xml->RowsMade();

    xml->Rewind();
    QByteArray begin(told / 2, '\0');
    QCOMPARE(xml->Read(begin.data(), begin.size()), begin.size());
    QCOMPARE(xml->Size(), told);
    QVERIFY2(begin + ReadAll(*xml, 999) == once, "asking for the size in between has changed the text");
    QCOMPARE(xml->RowsMade(), made);
    xml->Rewind();
    QVERIFY(ReadAll(*xml, 1'234'567) == once);

    if (!rows.isEmpty()) {
        const QByteArray last = QByteArray::number(rows.last());
        QCOMPARE(Value(content, "B" + last), "n:" + last);
        QCOMPARE(Value(content, "C" + last), length == 0 ? QByteArray() : "s:" + QByteArray(length, '&'));
    }
}

void SheetXmlTest::TakesTheLastWordOnACell()
{
    SheetContent content;
    content.SetCell(5, 3, CellFormat::Text, "first");
    content.SetCell(5, 2, CellFormat::Text, "left of it");
    content.SetCell(5, 3, CellFormat::General, "2");
    QCOMPARE(Value(content, "C5"), "n:2"); // the row is closed now
    content.SetCell(5, 3, CellFormat::General, "3");
    content.SetCell(6, 1, CellFormat::Text, "next");
    content.SetCell(4, 2, CellFormat::Text, "above");
    content.SetCell(4, 2, CellFormat::Text, "above again");
    content.Activate(6, 1);
    QCOMPARE(Value(content, "C5"), "n:3");
    QCOMPARE(Looks(content, 1).join(u' '), u"B4 ----@ B5 ----@ C5 ----G A6 ----@"_qs);
    QCOMPARE(Value(content, "B4"), "s:above again");
    QVERIFY(ReadAll(*Writer(content), 9'999)
                .contains("tabSelected=\"1\" workbookViewId=\"0\"><selection activeCell=\"A6\""));
}

void SheetXmlTest::GoesOnWhenThereIsRoomAgain()
{
    QTemporaryDir folder;
    const QByteArray before = qgetenv("TMPDIR");
    qputenv("TMPDIR", folder.path().toLocal8Bit());
    SheetContent content;
    qputenv("TMPDIR", before);
    QVERIFY(QDir().rmdir(folder.path()));

    const std::string text(1'000, 'x');
    int row = 1;
    while (row < 5'000 && content.SetCell(row, 1, CellFormat::Text, text))
        ++row;
    QVERIFY2(row < 5'000, "what does not go into the file was taken");
    QVERIFY(!content.ErrorText().isEmpty());
    QVERIFY(QDir().mkdir(folder.path()));
    for (const int reads : {1, 2}) {
        for (const int end = reads * 3'000; row < end; ++row)
            QVERIFY(content.SetCell(row, 1, CellFormat::Text, text));
        QCOMPARE(Looks(content, 1).size(), row - 1);
    }
    QCOMPARE(Value(content, "A1500"), "s:" + QByteArray(1'000, 'x'));
    QVERIFY2(QDir(folder.path()).isEmpty(QDir::AllEntries | QDir::NoDotAndDotDot),
             "the temporary file would be left over");
}

void SheetXmlTest::DrawsTheChart()
{
    const SheetVocabulary words = SheetVocabulary::Strict();
    SheetChart chart;
    chart.source = {5, 2, 4, 4};
    chart.row = 8;
    chart.column = 8;
    chart.width = 400;
    chart.height = 200;
    chart.title = "A < B & \x07 C";
    pugi::xml_document document;
    QVERIFY(document.load_string(ChartXml(chart, "O'Neil & <1>", words).c_str()));
    const auto at = [&document](const char *path) { return document.select_node(path).node(); };
    QCOMPARE(at("/c:chartSpace").attribute("xmlns:c").value(), words.chart.c_str());
    QCOMPARE(at("//c:title//a:t").child_value(), "A < B &   C");
    QCOMPARE(document.select_nodes("//c:ser").size(), std::size_t(2));
    QCOMPARE(at("//c:ser[1]/c:cat//c:f").child_value(), "'O''Neil & <1>'!$B$4:$B$5");
    QCOMPARE(at("//c:ser[2]/c:val//c:f").child_value(), "'O''Neil & <1>'!$D$4:$D$5");

    QVERIFY(document.load_string(DrawingXml(chart, "rId1", words).c_str()));
    QCOMPARE(at("//xdr:from/xdr:col").child_value(), "7");
    QCOMPARE(at("//xdr:from/xdr:row").child_value(), "7");
    QCOMPARE(at("//xdr:oneCellAnchor/xdr:ext").attribute("cx").as_int(), 5'080'000);
    QCOMPARE(at("//xdr:oneCellAnchor/xdr:ext").attribute("cy").as_int(), 2'540'000);
    QCOMPARE(at("//a:graphicData").attribute("uri").value(), words.chart.c_str());

    chart.title.clear();
    QVERIFY(document.load_string(ChartXml(chart, "1", words).c_str()));
    QVERIFY(!at("//c:title"));
    QCOMPARE(at("//c:autoTitleDeleted").attribute("val").as_int(), 1);
}

QTEST_GUILESS_MAIN(SheetXmlTest)
#include "sheetxml_test.moc"
