// The line of text above the graph: the legend and the caption.

#include "graph/graphplot.h"

#include "resources/icons.h"
#include "resources/strings.h"

#include <QFontMetricsF>

#include <cmath>

namespace px40 {

namespace {

constexpr double LineLength = 1.8; // of the sample of a line, in heights of a line of text
constexpr double NameGap = 6;      // between the sample and the name
constexpr double Faint = 0.45;     // how much of the background is mixed into the entry of a hidden line

constexpr float InsideGround = 0.85F; // how much of the lines the ground of the legend hides
constexpr double GroundMargin = 4;

} // namespace

QString GraphPlot::NameOf(Drawing drawing)
{
    return Text(drawing == Maximum   ? Str::StatisticMax
                : drawing == Minimum ? Str::StatisticMin
                                     : Str::HeadingData);
}

QRectF GraphPlot::TopLine() const
{
    const QRectF plot = PlotRect();
    const double top = legendInside_ ? plot.top() : Edge(font()) / 2.0;
    return {plot.left(), top, plot.width(), QFontMetricsF(font()).height()};
}

std::vector<GraphPlot::LegendEntry> GraphPlot::Legend() const
{
    const QFontMetricsF metrics(font());
    const double lineHeight = metrics.height();
    const double top = TopLine().top();
    double right = PlotRect().right();
    std::vector<LegendEntry> entries;
    for (auto drawing = LegendOrder.rbegin(); drawing != LegendOrder.rend(); ++drawing) {
        if (IsHidden(*drawing) && !style_.hiddenInLegend)
            continue;
        const double nameWidth = std::ceil(metrics.horizontalAdvance(NameOf(*drawing))) + 1;
        const double width = nameWidth + lineHeight * LineLength + NameGap;
        entries.push_back({*drawing, QRectF(right - width, top, width, lineHeight)});
        right -= width + lineHeight;
    }
    return entries;
}

std::optional<GraphPlot::Drawing> GraphPlot::LegendAt(const QPointF &place) const
{
    for (const LegendEntry &entry : Legend()) {
        if (entry.box.contains(place))
            return entry.drawing;
    }
    return std::nullopt;
}

void GraphPlot::DrawLegend(QCPPainter &painter)
{
    const QFontMetricsF metrics(font());
    const double lineHeight = metrics.height();
    constexpr int Flags = Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine;
    painter.setFont(font());
    painter.setAntialiasing(false);
    double left = PlotRect().right();
    const std::vector<LegendEntry> entries = Legend();
    if (legendInside_ && !entries.empty()) {
        QColor ground = style_.background;
        ground.setAlphaF(InsideGround);
        painter.fillRect(entries.front().box.united(entries.back().box).adjusted(-GroundMargin, 0, 0, 0),
                         ground);
    }
    for (const LegendEntry &entry : entries) {
        left = entry.box.left();
        const double middle = std::round(entry.box.top() + lineHeight / 2);
        const double lineEnd = left + lineHeight * LineLength;
        QPen pen = graph(entry.drawing)->pen();
        const double faint = IsHidden(entry.drawing) ? Faint : 0;
        pen.setColor(Mix(pen.color(), style_.background, faint));
        painter.setPen(pen);
        painter.drawLine(QLineF(left, middle, lineEnd, middle));
        painter.setPen(Mix(style_.text, style_.background, faint));
        painter.drawText(entry.box.adjusted(lineEnd - left + NameGap, 0, 0, 0), Flags, NameOf(entry.drawing));
    }
    const double captionWidth = left - lineHeight - PlotRect().left();
    painter.setPen(style_.text);
    if (!caption_.isEmpty() && captionWidth > lineHeight)
        painter.drawText(QRectF(TopLine().topLeft(), QSizeF(captionWidth, lineHeight)), Flags,
                         metrics.elidedText(caption_, Qt::ElideMiddle, captionWidth));
}

} // namespace px40
