#include "graph/chart.h"

#include "resources/icons.h"
#include "resources/strings.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QPaintEvent>

#include <algorithm>
#include <cmath>

namespace px40 {

namespace {

constexpr double HoverRadius = 4;

QAccessibleInterface *MakeSpoken(const QString &, QObject *object)
{
    auto *const chart = qobject_cast<Chart *>(object);
    return chart ? new QAccessibleWidget(chart, QAccessible::Chart) : nullptr;
}

} // namespace

Chart::Chart(GraphModel *model, QWidget *parent) : GraphPlot(model, parent)
{
    setObjectName(QStringLiteral("chData"));
    static const bool SpokenInstalled = (QAccessible::installFactory(&MakeSpoken), true);
    static_cast<void>(SpokenInstalled);
    setAccessibleName(Text(Str::GraphName));
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    look_ = GraphStyle::ForPalette(palette(), isEnabled());
    SetStyle(look_);
    connect(model, &GraphModel::changed, this, &Chart::MarkDirty);
    connect(model, &GraphModel::begun, this, &Chart::ForgetMargin);
    connect(model, &GraphModel::begun, this, &Chart::ZoomBack);
    connect(model, &QObject::destroyed, this, &Chart::MarkDirty);
}

QSize Chart::sizeHint() const
{
    return {480, 200};
}

QSize Chart::minimumSizeHint() const
{
    return {120, 60};
}

void Chart::MarkDirty()
{
    dirty_ = true;
    update(); // many of these make one paint event, and none while it is hidden
}

void Chart::Refresh()
{
    const double density = devicePixelRatioF();
    const QSize pixels = (QSizeF(size()) * density).toSize();
    if (!dirty_ && picture_.size() == pixels && picture_.devicePixelRatioF() == density)
        return;
    dirty_ = false;
    if (picture_.size() != pixels)
        picture_ = QPixmap(pixels);
    picture_.setDevicePixelRatio(density);
    Fill(size(), density);
    QCPPainter painter(&picture_);
    Draw(painter);
    // If the view has moved, a resting pointer is over another sample now.
    QMetaObject::invokeMethod(this, &Chart::Hover, Qt::QueuedConnection);
}

void Chart::paintEvent(QPaintEvent *)
{
    if (size().isEmpty())
        return;
    Refresh();
    QPainter painter(this);
    painter.drawPixmap(0, 0, picture_);
    DrawHover(painter);
    DrawHoverText(painter);
    painter.setRenderHint(QPainter::Antialiasing, false);
    DrawBand(painter);
    const QPalette &colours = palette();
    DrawThinFrame(painter, rect(),
                  hasFocus()
                      ? colours.color(QPalette::Highlight)
                      : Mix(colours.color(QPalette::Window), colours.color(QPalette::WindowText), 0.25));
}

void Chart::DrawHover(QPainter &painter) const
{
    if (hovered_ < Place().first || hovered_ > Place().last)
        return;
    const QRect plot = PlotRect();
    const double x = plot.left() + Place().X(hovered_);
    QColor faint = look_.text;
    faint.setAlphaF(0.45F);
    painter.setPen(faint);
    painter.drawLine(QPointF(std::round(x), plot.top()), QPointF(std::round(x), plot.bottom()));
    const bool shown = hovered_ <= Samples() && !IsHidden(Readings);
    const GraphPoint point = shown ? Model()->Series().At(hovered_) : GraphPoint();
    const double y = point.HasReading() ? Y(static_cast<double>(point.reading)) : -1;
    if (y < plot.top() || y > plot.bottom() + 1)
        return;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(look_.reading, 2));
    painter.setBrush(look_.background);
    painter.drawEllipse(QPointF(x, y), HoverRadius, HoverRadius);
}

/// Marks the samples that the mouse is dragged over, to be zoomed to.
void Chart::DrawBand(QPainter &painter) const
{
    if (!IsDragged())
        return;
    QRect band = PlotRect();
    // In a run the samples may have moved since the drag began.
    const double edge = std::clamp<double>(Place().EdgeOf(drag_->at), 0, band.width() - 1);
    const int from = band.left() + static_cast<int>(edge);
    band.setLeft(std::min(from, drag_->toX));
    band.setRight(std::max(from, drag_->toX));
    QColor colour = palette().color(QPalette::Highlight);
    painter.setPen(colour);
    colour.setAlphaF(0.2F);
    painter.setBrush(colour);
    painter.drawRect(band);
}

void Chart::Hover()
{
    std::optional<qint32> sample;
    const QRect plot = PlotRect();
    if (Model() && pointer_ && plot.contains(*pointer_) && !LegendAt(*pointer_))
        sample = Place().Nearest(pointer_->x() - plot.left());
    if (sample.value_or(0) == hovered_)
        return;
    hovered_ = sample.value_or(0);
    update();
}

QString Chart::HoverText() const
{
    const bool any = Model() && hovered_ > 0 && hovered_ <= Samples();
    return any ? Model()->Texts().hover(hovered_).replace(u'\n', QStringLiteral("   ")) : QString();
}

/// Left of the legend where it fits, else in its place.
void Chart::DrawHoverText(QPainter &painter) const
{
    const QString text = HoverText();
    if (text.isEmpty())
        return;
    QRectF line = TopLine();
    const QFontMetricsF metrics(font());
    const QString shown = metrics.elidedText(text, Qt::ElideRight, line.width());
    line.setWidth(metrics.horizontalAdvance(shown) + metrics.averageCharWidth());
    QRectF ground = line.adjusted(0, 0, 0, 1);
    if (ground.right() > LegendLeft()) // no part of the legend is left over
        ground.setRight(rect().right());
    painter.fillRect(ground, look_.background);
    painter.setPen(look_.text);
    painter.drawText(line, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine, shown);
}

bool Chart::event(QEvent *event)
{
    switch (event->type()) {
    case QEvent::Hide:
        drag_.reset();
        [[fallthrough]];
    case QEvent::Leave:
        pointer_.reset();
        Hover();
        break;
    case QEvent::PaletteChange:
    case QEvent::EnabledChange:
        look_ = GraphStyle::ForPalette(palette(), isEnabled());
        SetStyle(look_);
        [[fallthrough]];
    case QEvent::FontChange:
        ForgetMargin();
        MarkDirty();
        break;
    default:
        break;
    }
    return GraphPlot::event(event);
}

} // namespace px40
