#include "document/chart.h"

#include "document/dataset.h"
#include "document/graphseries.h"
#include "resources/strings.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QToolTip>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <limits>

namespace px40 {

namespace {

constexpr double HoverRadius = 4;

/// A reading may hold any characters; a tool tip takes some of them for markup.
QString AsToolTip(const QString &text)
{
    if (!Qt::mightBeRichText(text))
        return text;
    return text.toHtmlEscaped().replace(u'\n', QStringLiteral("<br>"));
}

} // namespace

Chart::Chart(DataSet *set, QWidget *parent) : GraphPlot(set, parent), movedSet_(set)
{
    setObjectName(QStringLiteral("chData"));
    setAccessibleName(Text(Str::GraphName));
    setFocusPolicy(Qt::StrongFocus);
    setMouseTracking(true);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    look_ = GraphStyle::ForPalette(palette(), isEnabled());
    SetStyle(look_);
    connect(set, &DataSet::graphChanged, this, &Chart::MarkDirty);
    connect(set, &QObject::destroyed, this, &Chart::MarkDirty);
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
    update(); // many of these are one paint event, and none while hidden
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
    // The sample under a resting pointer is another one when the view has moved.
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
    painter.setRenderHint(QPainter::Antialiasing, false);
    painter.setBrush(Qt::NoBrush);
    painter.setPen(palette().color(hasFocus() ? QPalette::Highlight : QPalette::Mid));
    painter.drawRect(rect().adjusted(0, 0, -1, -1));
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
    const GraphPoint point = Point(hovered_);
    const double y = point.HasReading() ? Y(static_cast<double>(point.reading)) : -1;
    if (y < plot.top() || y > plot.bottom() + 1)
        return;
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(look_.reading, 2));
    painter.setBrush(look_.background);
    painter.drawEllipse(QPointF(x, y), HoverRadius, HoverRadius);
}

void Chart::Hover()
{
    std::optional<qint32> sample;
    const QRect plot = PlotRect();
    if (Set() && pointer_ && plot.contains(*pointer_))
        sample = Place().Nearest(pointer_->x() - plot.left());
    if (sample.value_or(0) == hovered_)
        return;
    hovered_ = sample.value_or(0);
    update();
    if (hovered_ > 0)
        QToolTip::showText(mapToGlobal(*pointer_), AsToolTip(HoverText(Set()->Table(), hovered_)), this);
    else
        QToolTip::hideText();
}

void Chart::Move(qint64 samples)
{
    if (!movedSet_)
        return;
    const GraphScroll &scroll = movedSet_->Scroll();
    const qint64 value = std::clamp<qint64>(scroll.value + samples, 0, scroll.maximum);
    if (value != scroll.value)
        movedSet_->ScrollTo(static_cast<int>(value));
}

bool Chart::event(QEvent *event)
{
    if (event->type() == QEvent::Leave || event->type() == QEvent::Hide) {
        pointer_.reset();
        Hover();
    }
    return GraphPlot::event(event);
}

void Chart::resizeEvent(QResizeEvent *)
{
    MarkDirty();
}

void Chart::changeEvent(QEvent *event)
{
    GraphPlot::changeEvent(event);
    switch (event->type()) {
    case QEvent::PaletteChange:
    case QEvent::EnabledChange:
        look_ = GraphStyle::ForPalette(palette(), isEnabled());
        SetStyle(look_);
        MarkDirty();
        break;
    case QEvent::FontChange:
        MarkDirty();
        break;
    default:
        break;
    }
}

void Chart::focusInEvent(QFocusEvent *)
{
    update();
}

void Chart::focusOutEvent(QFocusEvent *)
{
    update();
}

void Chart::wheelEvent(QWheelEvent *event)
{
    if (!movedSet_ || movedSet_->Scroll().maximum == 0) {
        event->ignore();
        return;
    }
    const QPoint turned = event->angleDelta();
    wheel_ -= std::abs(turned.x()) > std::abs(turned.y()) ? turned.x() : turned.y();
    const qint64 notch = std::max(1, movedSet_->Graph().count / 10);
    const qint64 samples = wheel_ * notch / QWheelEvent::DefaultDeltasPerStep;
    wheel_ -= static_cast<int>(samples * QWheelEvent::DefaultDeltasPerStep / notch);
    Move(samples);
    event->accept();
}

void Chart::keyPressEvent(QKeyEvent *event)
{
    const qint64 page = movedSet_ ? movedSet_->Graph().count : 0;
    constexpr qint64 Far = std::numeric_limits<int>::max();
    if (event->matches(QKeySequence::Copy)) {
        Q_EMIT copyRequested();
        return;
    }
    switch (event->key()) {
    case Qt::Key_Left:
        return Move(-1);
    case Qt::Key_Right:
        return Move(1);
    case Qt::Key_PageUp:
        return Move(-page);
    case Qt::Key_PageDown:
        return Move(page);
    case Qt::Key_Home:
        return Move(-Far);
    case Qt::Key_End:
        return Move(Far);
    default:
        event->ignore();
    }
}

void Chart::contextMenuEvent(QContextMenuEvent *event)
{
    auto *const menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    QAction *const copy = menu->addAction(Text(Str::GraphCopy), this, &Chart::copyRequested);
    copy->setShortcut(QKeySequence::Copy);
    menu->addAction(Text(Str::GraphSaveAs), this, &Chart::saveAsRequested);
    const bool byKey = event->reason() == QContextMenuEvent::Keyboard;
    menu->popup(byKey ? mapToGlobal(PlotRect().center()) : event->globalPos());
}

// Nothing in the graph can be picked or dragged, so the search of the base class for what is under the
// pointer is left out.

void Chart::mousePressEvent(QMouseEvent *event)
{
    event->accept();
}

void Chart::mouseMoveEvent(QMouseEvent *event)
{
    pointer_ = event->position().toPoint();
    Hover();
}

void Chart::mouseReleaseEvent(QMouseEvent *event)
{
    event->accept();
}

void Chart::mouseDoubleClickEvent(QMouseEvent *event)
{
    event->accept();
}

} // namespace px40
