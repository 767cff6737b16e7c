#include "xlsx/sheetxml.h"

#include "xlsx/cellstyles.h"
#include "xlsx/celltext.h"

#include <array>
#include <string_view>

namespace px40 {

namespace {

constexpr int EmuPerPoint = 12'700;
constexpr std::string_view Declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\" standalone=\"yes\"?>\n";

/// Bytes of a title that stand in one line of a chart of the usual width, about.
constexpr std::size_t LongTitle = 80;

constexpr int MostGridlines = 20;

/// A line of that colour and width, in EMU.
std::string LineProperties(std::string_view colour, int width)
{
    std::string text = "<a:ln w=\"" + std::to_string(width) + "\" cap=\"rnd\"><a:solidFill><a:srgbClr val=\"";
    return text.append(colour).append("\"/></a:solidFill><a:prstDash val=\"solid\"/><a:round/></a:ln>");
}

/// `size`: of the letters, in hundredths of a point.
std::string Letters(std::string_view element, int size, std::string_view colour)
{
    std::string text = "<a:";
    text.append(element)
        .append(" sz=\"")
        .append(std::to_string(size))
        .append("\" b=\"0\"><a:solidFill><a:srgbClr val=\"");
    return text.append(colour).append("\"/></a:solidFill></a:").append(element).append(">");
}

std::string Title(const std::string &title)
{
    if (title.empty())
        return "<c:autoTitleDeleted val=\"1\"/>";
    const int size = title.size() > LongTitle ? 900 : 1200;
    return "<c:title><c:tx><c:rich><a:bodyPr/><a:lstStyle/><a:p><a:pPr>" + Letters("defRPr", size, "404040") +
           "</a:pPr><a:r>" + Letters("rPr", size, "404040") + "<a:t>" + XmlText(title) +
           "</a:t></a:r></a:p></c:rich></c:tx><c:overlay val=\"0\"/></c:title><c:autoTitleDeleted "
           "val=\"0\"/>";
}

/// `'Sheet''s name'!$B$5:$B$9`
std::string Formula(const std::string &sheetName, int column, const CellRange &rows)
{
    std::string quoted;
    for (const char c : sheetName)
        quoted.append(c == '\'' ? 2 : 1, c);
    const std::string name = RangeName({1, column, 1, column});
    const std::string letters = name.substr(0, name.size() - 1);
    return XmlText("'" + quoted + "'!$" + letters + "$" + std::to_string(rows.firstRow) + ":$" + letters +
                   "$" + std::to_string(rows.lastRow));
}

std::string Series(const std::string &sheetName, const CellRange &source, int index)
{
    static constexpr std::array<std::string_view, 4> colours = {"1F4E9E", "C55A11", "548235", "7F6000"};
    const std::string number = std::to_string(index);
    return "<c:ser><c:idx val=\"" + number + "\"/><c:order val=\"" + number + "\"/><c:spPr>" +
           LineProperties(colours[static_cast<std::size_t>(index) % colours.size()], 19'050) +
           "</c:spPr><c:marker><c:symbol val=\"none\"/></c:marker><c:cat><c:strRef><c:f>" +
           Formula(sheetName, source.firstColumn, source) +
           "</c:f></c:strRef></c:cat><c:val><c:numRef><c:f>" +
           Formula(sheetName, source.firstColumn + 1 + index, source) +
           "</c:f></c:numRef></c:val><c:smooth val=\"0\"/></c:ser>";
}

/// What both axes have, in the order of the format; `own` comes last. Labels stand at the edge of the chart
/// also where readings are below zero.
std::string Axis(std::string_view element, int id, int crossed, std::string_view place,
                 std::string_view gridColour, std::string_view own)
{
    std::string text = "<c:";
    text.append(element).append("><c:axId val=\"").append(std::to_string(id));
    text.append("\"/><c:scaling><c:orientation val=\"minMax\"/></c:scaling><c:delete val=\"0\"/>");
    text.append("<c:axPos val=\"").append(place).append("\"/><c:majorGridlines><c:spPr>");
    text.append(LineProperties(gridColour, 6'350)).append("</c:spPr></c:majorGridlines>");
    text.append("<c:numFmt formatCode=\"General\" sourceLinked=\"1\"/><c:majorTickMark val=\"none\"/>");
    text.append("<c:minorTickMark val=\"none\"/><c:tickLblPos val=\"low\"/><c:spPr>");
    text.append(LineProperties("7F7F7F", 9'525)).append("</c:spPr><c:txPr><a:bodyPr/><a:lstStyle/>");
    text.append("<a:p><a:pPr>").append(Letters("defRPr", 800, "404040"));
    text.append("</a:pPr><a:endParaRPr/></a:p></c:txPr><c:crossAx val=\"").append(std::to_string(crossed));
    text.append("\"/><c:crosses val=\"autoZero\"/>").append(own);
    return text.append("</c:").append(element).append(">");
}

/// The labels thin themselves out, but a gridline for each of many rows would fill the chart.
std::string Categories(int rows)
{
    const int skip = (rows + MostGridlines - 1) / MostGridlines;
    const std::string marks = skip > 1 ? "<c:tickMarkSkip val=\"" + std::to_string(skip) + "\"/>" : "";
    return "<c:auto val=\"0\"/><c:lblAlgn val=\"ctr\"/><c:lblOffset val=\"100\"/>" + marks +
           "<c:noMultiLvlLbl val=\"1\"/>";
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
    std::string text(Declaration);
    text += "<xdr:wsDr xmlns:xdr=\"" + vocabulary.sheetDrawing + "\" xmlns:a=\"" + vocabulary.drawing + "\">";
    text += "<xdr:oneCellAnchor><xdr:from><xdr:col>" + std::to_string(chart.column - 1) +
            "</xdr:col><xdr:colOff>0</xdr:colOff><xdr:row>" + std::to_string(chart.row - 1) +
            "</xdr:row><xdr:rowOff>0</xdr:rowOff></xdr:from><xdr:ext cx=\"" +
            std::to_string(chart.width * EmuPerPoint) + "\" cy=\"" +
            std::to_string(chart.height * EmuPerPoint) + "\"/>";
    text += "<xdr:graphicFrame macro=\"\"><xdr:nvGraphicFramePr><xdr:cNvPr id=\"2\" name=\"Chart 1\"/>"
            "<xdr:cNvGraphicFramePr/></xdr:nvGraphicFramePr><xdr:xfrm><a:off x=\"0\" y=\"0\"/>"
            "<a:ext cx=\"0\" cy=\"0\"/></xdr:xfrm>";
    text += "<a:graphic><a:graphicData uri=\"" + vocabulary.chart + "\"><c:chart xmlns:c=\"" +
            vocabulary.chart + "\" xmlns:r=\"" + vocabulary.relationships + "\" r:id=\"" + chartId +
            "\"/></a:graphicData></a:graphic>";
    return text + "</xdr:graphicFrame><xdr:clientData/></xdr:oneCellAnchor></xdr:wsDr>";
}

std::string ChartXml(const SheetChart &chart, const std::string &sheetName, const SheetVocabulary &vocabulary)
{
    constexpr int CategoryAxis = 10;
    constexpr int ValueAxis = 20;
    const CellRange source = InOrder(chart.source);
    const std::string categories = Categories(source.lastRow - source.firstRow + 1);

    std::string text(Declaration);
    text += "<c:chartSpace xmlns:c=\"" + vocabulary.chart + "\" xmlns:a=\"" + vocabulary.drawing +
            "\" xmlns:r=\"" + vocabulary.relationships + "\"><c:roundedCorners val=\"0\"/><c:chart>" +
            Title(chart.title) +
            "<c:plotArea><c:layout/><c:lineChart><c:grouping val=\"standard\"/><c:varyColors val=\"0\"/>";
    for (int index = 0; index < source.lastColumn - source.firstColumn; ++index)
        text += Series(sheetName, source, index);
    text += "<c:marker val=\"1\"/><c:axId val=\"" + std::to_string(CategoryAxis) + "\"/><c:axId val=\"" +
            std::to_string(ValueAxis) + "\"/></c:lineChart>";
    text += Axis("catAx", CategoryAxis, ValueAxis, "b", "EBEBEB", categories);
    text += Axis("valAx", ValueAxis, CategoryAxis, "l", "D9D9D9", "<c:crossBetween val=\"between\"/>");
    return text +
           "</c:plotArea><c:plotVisOnly val=\"1\"/><c:dispBlanksAs val=\"gap\"/></c:chart><c:spPr>"
           "<a:solidFill><a:srgbClr val=\"FFFFFF\"/></a:solidFill>" +
           LineProperties("BFBFBF", 9'525) + "</c:spPr></c:chartSpace>";
}

} // namespace px40
