#include "graph/graphplot.h"

#include "graph/graphline.h"
#include "resources/icons.h"
#include "resources/strings.h"

#include <QFontMetricsF>
#include <QTime>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>

namespace px40 {

namespace {

constexpr int TickLength = 5;
constexpr int SmallTickLength = 3;
constexpr int LabelPadding = 3;
constexpr double MarkSize = 5;
constexpr double MarkRoom = 11;        // pixels to a sample from which each reading gets a mark
constexpr int LowestWithTopLine = 126; // least height with a line of text above the lines
constexpr double InvalidSize = 6;
constexpr double InvalidHeight = 3; // of the middle of a mark above the axis
constexpr int SmoothPoints = 4000;  // with more of them smooth lines cost too much time
constexpr int StrongPoints = 400;   // with more of them thick lines would run together

/// Ticks and labels that were chosen beforehand.
class ChosenTicker : public QCPAxisTicker
{
  public:
    ValueTicks chosen;

    void generate(const QCPRange &, const QLocale &, QChar, int, QVector<double> &ticksOut,
                  QVector<double> *plainOut, QVector<QString> *labelsOut) override
    {
        ticksOut = chosen.labelled;
        if (plainOut)
            *plainOut = chosen.plain;
        if (labelsOut)
            *labelsOut = chosen.labels;
    }
};

/// Marks at the edge of the plot are seen whole.
class MarksGraph : public QCPGraph
{
  public:
    using QCPGraph::QCPGraph;

  protected:
    QRect clipRect() const override
    {
        constexpr int Reach = 4;
        return QCPGraph::clipRect().adjusted(-Reach, -Reach, Reach, Reach);
    }
};

ValueTicks &TicksOf(QCPAxis *axis)
{
    return static_cast<ChosenTicker &>(*axis->ticker()).chosen;
}

} // namespace

int GraphPlot::Edge(const QFont &font)
{
    return static_cast<int>(QFontMetricsF(font).height() * 0.4);
}

GraphPlot::GraphPlot(GraphModel *model, QWidget *parent) : QCustomPlot(parent), model_(model)
{
    mReplotting = true; // keeps the base class from drawing by itself, into buffers of its own
    setPlottingHints(QCP::phFastPolylines);
    legend->setVisible(false);
    axisRect()->setAutoMargins(QCP::msNone);
    axisRect()->setMinimumSize(1, 1);
    for (QCPAxis *const axis : {xAxis, yAxis}) {
        axis->setTicker(QSharedPointer<ChosenTicker>::create());
        axis->setTickLength(0, TickLength);
        axis->setSubTickLength(0, SmallTickLength);
        axis->setTickLabelPadding(LabelPadding);
        axis->setLabelPadding(LabelPadding);
        axis->grid()->setZeroLinePen(Qt::NoPen);
    }
    for (int i = 0; i < DrawingCount; ++i) {
        QCPGraph *const made = i == Marks ? new MarksGraph(xAxis, yAxis) : addGraph(); // owned by the plot
        made->setAdaptiveSampling(false); // it drops readings beside gaps; `SeriesLine` thins out
    }
    for (const Drawing drawing : {Maximum, Minimum})
        graph(drawing)->setLineStyle(QCPGraph::lsStepRight);
    for (const Drawing drawing : {Marks, Invalid})
        graph(drawing)->setLineStyle(QCPGraph::lsNone);
    SetStyle(GraphStyle::Paper());
}

void GraphPlot::SetStyle(const GraphStyle &style)
{
    style_ = style;
    setBackground(style.background);
    const auto pen = [&](const QColor &color, const QVector<qreal> &dashes) {
        QPen made(color, style.lineWidth);
        if (!dashes.isEmpty())
            made.setDashPattern(dashes);
        made.setCapStyle(Qt::FlatCap);
        return made;
    };
    graph(Readings)->setPen(pen(style.reading, {}));
    graph(Marks)->setPen(pen(style.reading, {}));
    graph(Maximum)->setPen(pen(style.maximum, {7, 3}));
    graph(Minimum)->setPen(pen(style.minimum, {2, 2}));
    graph(Marks)->setScatterStyle({QCPScatterStyle::ssDisc, MarkSize * style.lineWidth});
    graph(Invalid)->setPen(pen(style.maximum, {}));
    graph(Invalid)->setScatterStyle(
        {QCPScatterStyle::ssTriangle, style.maximum, style.maximum, InvalidSize * style.lineWidth});
}

/// In whole pixels of the device, or some lines of the grid would be thicker than others.
void GraphPlot::StyleAxes(double density)
{
    const double width = style_.lineWidth * std::max(1.0, std::floor(density)) / std::max(1.0, density);
    const QPen line(Mix(style_.background, style_.text, 0.55), width);
    const QPen gridLine(Mix(style_.background, style_.text, 0.13), width);
    for (QCPAxis *const axis : {xAxis, yAxis}) {
        axis->setBasePen(line);
        axis->setTickPen(line);
        axis->setSubTickPen(line);
        axis->setTickLabelColor(style_.text);
        axis->setLabelColor(style_.text);
        axis->grid()->setPen(gridLine);
    }
}

void GraphPlot::Fill(const QSize &size, double density)
{
    StyleAxes(density);
    setViewport({QPoint(0, 0), size});
    xAxis->setTickLabelFont(font());
    yAxis->setTickLabelFont(font());
    const QFontMetricsF metrics(font());
    const int lineHeight = static_cast<int>(std::ceil(metrics.height()));
    legendInside_ = size.height() < LowestWithTopLine;

    place_ = {};
    if (model_) {
        const SampleWindow window = Window();
        place_.first = window.skipped + 1;
        place_.count = window.count;
        place_.last =
            static_cast<qint32>(std::min<qint64>(qint64(place_.first) + place_.count - 1, Samples()));
    }
    const int edge = Edge(font());
    const int top = legendInside_ ? edge + lineHeight / 4 : edge / 2 + lineHeight + lineHeight / 2;
    const int bottom = TickLength + LabelPadding + lineHeight + edge / 2;
    FillValueAxis(size.height() - top - bottom);
    double labels = 0;
    for (const QString &label : std::as_const(TicksOf(yAxis).labels))
        labels = std::max(labels, metrics.horizontalAdvance(label));
    const int name = NameValueAxis(size.height() - top - bottom);
    labelRoom_ = std::max(labelRoom_, static_cast<int>(std::ceil(labels)));
    nameRoom_ = std::max(nameRoom_, name);
    yAxis->setLabelPadding(LabelPadding + labelRoom_ -
                           static_cast<int>(std::ceil(labels))); // the name keeps still
    const int left = labelRoom_ + TickLength + LabelPadding + edge + 1 + nameRoom_;
    const int right = edge * 2;
    axisRect()->setMargins({left, top, right, bottom});

    place_.plotWidth = std::max(1, size.width() - left - right);
    place_.reachLeft = left - 2;
    place_.reachRight = right - 2;
    FillCategoryAxis();
    FillLines(density, size.height() - top - bottom);
    updateLayout();
}

SampleWindow GraphPlot::Window() const
{
    if (zoom_ || !model_)
        return zoom_.value_or(SampleWindow());
    return {model_->Scroll().value, std::max(1, model_->Settings().count)};
}

void GraphPlot::Hide(Drawing drawing, bool hidden)
{
    graph(drawing)->setVisible(!hidden);
    for (const Drawing marks : {Marks, Invalid})
        graph(marks)->setVisible(!IsHidden(Readings));
}

void GraphPlot::ShowLike(const GraphPlot &other)
{
    zoom_ = other.zoom_;
    for (const Drawing drawing : LegendOrder)
        Hide(drawing, other.IsHidden(drawing));
}

/// The values that are in view, without hidden lines.
ValueRange GraphPlot::RangeInView() const
{
    double lowest = std::numeric_limits<double>::infinity();
    double highest = -lowest;
    for (const auto &[drawing, member] :
         {std::pair{Readings, &GraphPoint::reading}, std::pair{Maximum, &GraphPoint::maximum},
          std::pair{Minimum, &GraphPoint::minimum}}) {
        if (IsHidden(drawing))
            continue;
        for (qint32 sample = place_.first; sample <= place_.last; ++sample) {
            const float value = model_->Series().At(sample).*member;
            if (!std::isfinite(value))
                continue;
            lowest = std::min(lowest, static_cast<double>(value));
            highest = std::max(highest, static_cast<double>(value));
        }
    }
    return AutomaticValueRange(lowest, highest);
}

/// Gives the axis its name, if it has one that fits. Returns what the name takes from the picture's width.
int GraphPlot::NameValueAxis(double length)
{
    const QFontMetricsF metrics(font());
    QString called = model_ ? model_->Texts().valueName() : QString();
    if (legendInside_ && metrics.horizontalAdvance(called) > length) // in a low picture all of it or nothing
        called.clear();
    yAxis->setLabelFont(font());
    yAxis->setLabel(metrics.elidedText(called, Qt::ElideRight, length));
    return called.isEmpty() ? 0 : static_cast<int>(std::ceil(metrics.height())) + LabelPadding;
}

void GraphPlot::FillValueAxis(double length)
{
    const GraphSettings settings = model_ ? model_->Settings() : GraphSettings();
    const double labelHeight = QFontMetricsF(font()).height();
    const std::optional<ValueRange> custom = CustomValueRange(settings);
    ValueRange range = custom ? *custom : RangeInView();
    const double belowLegend = length - labelHeight - LabelPadding;
    if (!custom && legendInside_ && belowLegend > labelHeight) // it must not cover the newest readings
        range.maximum += (range.maximum - range.minimum) * (length / belowLegend - 1);
    TicksOf(yAxis) = custom ? CustomValueTicks(range, settings.yMajor, settings.yMinor, length, labelHeight)
                            : AutomaticValueTicks(range, length, labelHeight);
    yAxis->setRange(range.minimum, range.maximum);
}

void GraphPlot::FillCategoryAxis()
{
    const QFontMetricsF metrics(font());
    // So that at least two stand beside each other, the first of them at the left edge.
    const double longest = std::max(metrics.horizontalAdvance(QStringLiteral("00:00:00")) + 1,
                                    std::min(place_.plotWidth / 3, 2 * place_.reachLeft));
    const auto label = [this, &metrics, longest](qint32 sample) {
        constexpr int MostLetters = 40; // are looked at
        return metrics.elidedText(model_->Texts().label(sample).left(MostLetters), Qt::ElideRight, longest);
    };
    GraphSettings settings = model_ ? model_->Settings() : GraphSettings();
    settings.xAuto = settings.xAuto || IsZoomed(); // the user's divisions are meant for the unzoomed view
    xAxis->setRange(place_.first - 0.5, place_.first + (place_.count - 0.5));
    if (settings.xAuto && model_ && model_->Texts().second) {
        const QString sample = QStringLiteral("00:00:00");
        const TimeTicks round =
            ChooseRoundTimes(place_, metrics.horizontalAdvance(sample), model_->Texts().second);
        ValueTicks &ticks = TicksOf(xAxis);
        ticks = {};
        for (const TimeLabel &one : round.labels) {
            ticks.labelled.append(one.at);
            ticks.labels.append(QTime(0, 0).addSecs(one.second).toString(QStringLiteral("hh:mm:ss")));
        }
        for (const TimeLabel &one : round.plain)
            ticks.plain.append(one.at);
        xAxis->setTickLengthOut(TickLength);
        if (!round.labels.empty())
            return;
    }
    const auto labelWidth = [&](qint32 sample) { return metrics.horizontalAdvance(label(sample)); };
    const CategoryTicks chosen = ChooseCategories(place_, settings, labelWidth);
    // QCustomPlot labels ticks only, so a label without a tick gets one of no length.
    xAxis->setTickLengthOut(chosen.labelsHaveTicks ? TickLength : 0);
    ValueTicks &ticks = TicksOf(xAxis);
    ticks = {
        {chosen.labelled.begin(), chosen.labelled.end()}, {}, {chosen.ticks.begin(), chosen.ticks.end()}};
    for (const qint32 sample : chosen.labelled)
        ticks.labels.append(label(sample));
}

void GraphPlot::FillLines(double density, double height)
{
    // Columns of a logical pixel: finer ones would cost much time on dense screens and show little more.
    const int perColumn = static_cast<int>(std::ceil(place_.count / place_.plotWidth));
    const QCPRange range = yAxis->range();
    const auto fill = [&](Drawing drawing, float GraphPoint::*member, LineShape shape) {
        Line line;
        if (model_)
            line = SeriesLine(model_->Series(), member, place_.first, place_.last, perColumn);
        graph(drawing)->data()->set(ClippedLine(line, shape, range.lower, range.upper), true);
        return line;
    };
    fill(Maximum, &GraphPoint::maximum, LineShape::Steps);
    fill(Minimum, &GraphPoint::minimum, LineShape::Steps);
    Line marks = fill(Readings, &GraphPoint::reading, LineShape::Straight);
    if (place_.Width() < MarkRoom * style_.lineWidth)
        marks = LonePoints(marks);
    // QCustomPlot draws even a mark outside the range or without a value.
    erase_if(marks, [&](const QCPGraphData &mark) { return !range.contains(mark.value); });
    graph(Marks)->data()->set(marks, true);
    Line invalid;
    if (model_) {
        const double above =
            range.lower + range.size() * InvalidHeight * style_.lineWidth / std::max(1.0, height);
        for (const double sample : InvalidSamples(model_->Series(), place_.first, place_.last, perColumn))
            invalid.push_back({sample, above});
    }
    graph(Invalid)->data()->set(invalid, true);

    const int points = graph(Readings)->dataCount();
    // A line of width 1 is drawn one device pixel wide, however small the pixels are.
    const double thin = density > 1 ? style_.lineWidth * 1.01 : style_.lineWidth;
    const auto look = [&](Drawing drawing, double width, bool smooth) {
        QPen pen = graph(drawing)->pen();
        pen.setWidthF(width);
        graph(drawing)->setPen(pen);
        graph(drawing)->setAntialiased(smooth);
    };
    look(Readings, points <= StrongPoints ? thin * 1.5 : thin, points * density <= SmoothPoints);
    look(Marks, thin, true);
    look(Invalid, thin, true);
    for (const Drawing drawing : {Maximum, Minimum}) // level lines one pixel wide look best unsmoothed
        look(drawing, thin, style_.lineWidth * density > 1);
}

void GraphPlot::Draw(QCPPainter &painter)
{
    painter.fillRect(viewport(), style_.background);
    draw(&painter);
}

void GraphPlot::draw(QCPPainter *painter)
{
    QCustomPlot::draw(painter);
    DrawLegend(*painter);
}

} // namespace px40
