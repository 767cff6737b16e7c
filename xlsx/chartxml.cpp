#include "xlsx/sheetxml.h"

#include "xlsx/cellstyles.h"
#include "xlsx/celltext.h"

#include <array>
#include <string_view>

namespace px40 {

namespace {

constexpr int EmuPerPoint = 12'700;

/// About as many bytes of a title fit on one line of the chart; a longer one is written smaller.
constexpr std::size_t TitleLine = 80;

constexpr int MostGridlines = 20;

/// A line of that colour and width, in EMU.
std::string LineProperties(std::string_view colour, std::string_view width)
{
    return Filled(R"(<a:ln w="%1" cap="rnd"><a:solidFill><a:srgbClr val="%2"/></a:solidFill>)"
                  R"(<a:prstDash val="solid"/><a:round/></a:ln>)",
                  {width, colour});
}

/// `size`: in hundredths of a point.
std::string Font(std::string_view element, std::string_view size)
{
    return Filled(R"(<a:%1 sz="%2" b="0"><a:solidFill><a:srgbClr val="404040"/></a:solidFill></a:%1>)",
                  {element, size});
}

std::string Title(const std::string &title)
{
    if (title.empty())
        return R"(<c:autoTitleDeleted val="1"/>)";
    const std::string_view size = title.size() > TitleLine ? "900" : "1200";
    return Filled(
        R"(<c:title><c:tx><c:rich><a:bodyPr/><a:lstStyle/><a:p><a:pPr>%1</a:pPr><a:r>%2<a:t>%3</a:t>)"
        R"(</a:r></a:p></c:rich></c:tx><c:overlay val="0"/></c:title><c:autoTitleDeleted val="0"/>)",
        {Font("defRPr", size), Font("rPr", size), XmlText(title)});
}

/// `'Sheet''s name'!$B$5:$B$9`
std::string Formula(const std::string &sheetName, int column, const CellRange &rows)
{
    std::string quoted;
    for (const char c : sheetName)
        quoted.append(c == '\'' ? 2 : 1, c);
    return XmlText(Filled("'%1'!$%2$%3:$%2$%4", {quoted, ColumnLetters(column), std::to_string(rows.firstRow),
                                                 std::to_string(rows.lastRow)}));
}

std::string Series(const std::string &sheetName, const CellRange &source, int index)
{
    static constexpr std::array<std::string_view, 4> colours = {"1F4E9E", "C55A11", "548235", "7F6000"};
    return Filled(
        R"(<c:ser><c:idx val="%1"/><c:order val="%1"/><c:spPr>%2</c:spPr>)"
        R"(<c:marker><c:symbol val="none"/></c:marker><c:cat><c:strRef><c:f>%3</c:f></c:strRef></c:cat>)"
        R"(<c:val><c:numRef><c:f>%4</c:f></c:numRef></c:val><c:smooth val="0"/></c:ser>)",
        {std::to_string(index),
         LineProperties(colours[static_cast<std::size_t>(index) % colours.size()], "19050"),
         Formula(sheetName, source.firstColumn, source),
         Formula(sheetName, source.firstColumn + 1 + index, source)});
}

/// What both axes have, in the order of the format; `own` comes last. Labels are at the edge of the chart,
/// even if there are readings below zero.
std::string Axis(std::string_view element, std::string_view id, std::string_view crossed,
                 std::string_view place, std::string_view gridColour, std::string_view own)
{
    return Filled(
        R"(<c:%1><c:axId val="%2"/><c:scaling><c:orientation val="minMax"/></c:scaling><c:delete val="0"/>)"
        R"(<c:axPos val="%3"/><c:majorGridlines><c:spPr>%4</c:spPr></c:majorGridlines>)"
        R"(<c:numFmt formatCode="General" sourceLinked="1"/><c:majorTickMark val="none"/>)"
        R"(<c:minorTickMark val="none"/><c:tickLblPos val="low"/><c:spPr>%5</c:spPr>)"
        R"(<c:txPr><a:bodyPr/><a:lstStyle/><a:p><a:pPr>%6</a:pPr><a:endParaRPr/></a:p></c:txPr>)"
        R"(<c:crossAx val="%7"/><c:crosses val="autoZero"/>%8</c:%1>)",
        {element, id, place, LineProperties(gridColour, "6350"), LineProperties("7F7F7F", "9525"),
         Font("defRPr", "800"), crossed, own});
}

/// Spreadsheets thin out the labels by themselves, but not the gridlines, one for each row.
std::string Categories(int rows)
{
    const int skip = (rows + MostGridlines - 1) / MostGridlines;
    const std::string marks = skip > 1 ? Filled(R"(<c:tickMarkSkip val="%1"/>)", {std::to_string(skip)}) : "";
    return R"(<c:auto val="0"/><c:lblAlgn val="ctr"/><c:lblOffset val="100"/>)" + marks +
           R"(<c:noMultiLvlLbl val="1"/>)";
}

} // namespace

SheetVocabulary SheetVocabulary::Transitional()
{
    return {"http://schemas.openxmlformats.org/spreadsheetml/2006/main",
            "http://schemas.openxmlformats.org/officeDocument/2006/relationships",
            "http://schemas.openxmlformats.org/drawingml/2006/main",
            "http://schemas.openxmlformats.org/drawingml/2006/spreadsheetDrawing",
            "http://schemas.openxmlformats.org/drawingml/2006/chart"};
}

SheetVocabulary SheetVocabulary::Strict()
{
    return {"http://purl.oclc.org/ooxml/spreadsheetml/main",
            "http://purl.oclc.org/ooxml/officeDocument/relationships",
            "http://purl.oclc.org/ooxml/drawingml/main",
            "http://purl.oclc.org/ooxml/drawingml/spreadsheetDrawing",
            "http://purl.oclc.org/ooxml/drawingml/chart"};
}

std::string DrawingXml(const SheetChart &chart, const std::string &chartId, const SheetVocabulary &vocabulary)
{
    return XmlDeclaration +
           Filled(
               R"(<xdr:wsDr xmlns:xdr="%1" xmlns:a="%2"><xdr:oneCellAnchor><xdr:from><xdr:col>%3</xdr:col>)"
               R"(<xdr:colOff>0</xdr:colOff><xdr:row>%4</xdr:row><xdr:rowOff>0</xdr:rowOff></xdr:from>)"
               R"(<xdr:ext cx="%5" cy="%6"/><xdr:graphicFrame macro=""><xdr:nvGraphicFramePr>)"
               R"(<xdr:cNvPr id="2" name="Chart 1"/><xdr:cNvGraphicFramePr/></xdr:nvGraphicFramePr>)"
               R"(<xdr:xfrm><a:off x="0" y="0"/><a:ext cx="0" cy="0"/></xdr:xfrm><a:graphic><a:graphicData uri="%7">)"
               R"(<c:chart xmlns:c="%7" xmlns:r="%8" r:id="%9"/></a:graphicData></a:graphic>)"
               R"(</xdr:graphicFrame><xdr:clientData/></xdr:oneCellAnchor></xdr:wsDr>)",
               {vocabulary.sheetDrawing, vocabulary.drawing, std::to_string(chart.column - 1),
                std::to_string(chart.row - 1), std::to_string(chart.width * EmuPerPoint),
                std::to_string(chart.height * EmuPerPoint), vocabulary.chart, vocabulary.relationships,
                chartId});
}

std::string ChartXml(const SheetChart &chart, const std::string &sheetName, const SheetVocabulary &vocabulary)
{
    const CellRange source = InOrder(chart.source);
    std::string series;
    for (int index = 0; index < source.lastColumn - source.firstColumn; ++index)
        series += Series(sheetName, source, index);
    const std::string categories = Categories(source.lastRow - source.firstRow + 1);
    return XmlDeclaration +
           Filled(
               R"(<c:chartSpace xmlns:c="%1" xmlns:a="%2" xmlns:r="%3"><c:roundedCorners val="0"/>)"
               R"(<c:chart>%4<c:plotArea><c:layout/><c:lineChart><c:grouping val="standard"/><c:varyColors val="0"/>%5)"
               R"(<c:marker val="1"/><c:axId val="10"/><c:axId val="20"/></c:lineChart>%6%7</c:plotArea>)"
               R"(<c:plotVisOnly val="1"/><c:dispBlanksAs val="gap"/></c:chart><c:spPr>)"
               R"(<a:solidFill><a:srgbClr val="FFFFFF"/></a:solidFill>%8</c:spPr></c:chartSpace>)",
               {vocabulary.chart, vocabulary.drawing, vocabulary.relationships, Title(chart.title), series,
                Axis("catAx", "10", "20", "b", "EBEBEB", categories),
                Axis("valAx", "20", "10", "l", "D9D9D9", R"(<c:crossBetween val="between"/>)"),
                LineProperties("BFBFBF", "9525")});
}

} // namespace px40
