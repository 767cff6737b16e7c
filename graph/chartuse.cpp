// What the user does with the graph: wheel, keys, mouse and menu.

#include "graph/chart.h"

#include "resources/strings.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QMenu>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>
#include <limits>

namespace px40 {

void Chart::ScrollTo(qint64 skipped)
{
    if (!Model())
        return;
    if (IsZoomed()) {
        SampleWindow window = Window();
        window.MoveTo(skipped, Samples());
        Zoom(window);
    } else {
        Model()->ScrollTo(static_cast<int>(std::clamp<qint64>(skipped, 0, Model()->Scroll().maximum)));
    }
}

qint32 Chart::Furthest() const
{
    return !Model() ? 0 : IsZoomed() ? Window().Furthest(Samples()) : Model()->Scroll().maximum;
}

void Chart::Move(qint64 samples)
{
    const qint64 to = std::clamp<qint64>(Window().skipped + samples, 0, Furthest());
    if (to != Window().skipped)
        ScrollTo(to);
}

void Chart::Zoom(const std::optional<SampleWindow> &window)
{
    if (!window && !IsZoomed())
        return;
    SetZoom(window);
    MarkDirty();
    Q_EMIT windowChanged();
}

void Chart::ZoomBack()
{
    drag_.reset();
    Zoom(std::nullopt);
}

void Chart::ZoomIn()
{
    if (Samples() > 0 && Window().count > SampleWindow::Fewest)
        Zoom(Window().Resized(Window().count / 2, Samples()));
}

void Chart::ZoomOut()
{
    const SampleWindow wider = Window().Resized(qint64(Window().count) * 2, Samples());
    const qint32 useful = std::max(SampleWindow::Fewest, Samples());
    if (Model() && wider.count < std::min(Model()->Settings().count, useful))
        Zoom(wider);
    else
        ZoomBack();
}

void Chart::ToggleHidden(Drawing drawing)
{
    Hide(drawing, !IsHidden(drawing));
    MarkDirty();
}

bool Chart::IsDragged() const
{
    return drag_ && std::abs(drag_->toX - drag_->x) >= QApplication::startDragDistance();
}

void Chart::wheelEvent(QWheelEvent *event)
{
    if (Furthest() == 0) {
        event->ignore();
        return;
    }
    const QPoint turned = event->angleDelta();
    wheel_ -= std::abs(turned.x()) > std::abs(turned.y()) ? turned.x() : turned.y();
    const qint64 notch = std::max(1, Window().count / 10);
    const qint64 samples = wheel_ * notch / QWheelEvent::DefaultDeltasPerStep;
    wheel_ -= static_cast<int>(samples * QWheelEvent::DefaultDeltasPerStep / notch);
    Move(samples);
    event->accept();
}

void Chart::keyPressEvent(QKeyEvent *event)
{
    const qint64 page = Window().count;
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
    case Qt::Key_Plus:
    case Qt::Key_Equal: // the same key on many keyboards
        return ZoomIn();
    case Qt::Key_Minus:
        return ZoomOut();
    case Qt::Key_Escape:
        if (drag_ || IsZoomed())
            return drag_ ? StopDrag() : ZoomBack();
        break;
    default:
        break;
    }
    event->ignore();
}

void Chart::contextMenuEvent(QContextMenuEvent *event)
{
    auto *const menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    // `keyPressEvent` handles the keys; the menu only shows them.
    const auto add = [&](Str name, const QKeySequence &key, auto action) {
        return menu->addAction(Text(name) + u'\t' + key.toString(QKeySequence::NativeText), this, action);
    };
    QAction *const copy = menu->addAction(Text(Str::GraphCopy), this, &Chart::copyRequested);
    copy->setShortcut(QKeySequence::Copy);
    menu->addAction(Text(Str::GraphSaveAs), this, &Chart::saveAsRequested);
    menu->addSeparator();
    for (const Drawing drawing : LegendOrder) {
        QAction *const shown =
            menu->addAction(NameOf(drawing), this, [this, drawing] { ToggleHidden(drawing); });
        shown->setCheckable(true);
        shown->setChecked(!IsHidden(drawing));
    }
    menu->addSeparator();
    add(Str::GraphZoomIn, Qt::Key_Plus, &Chart::ZoomIn);
    add(Str::GraphZoomOut, Qt::Key_Minus, &Chart::ZoomOut)->setEnabled(IsZoomed());
    add(Str::GraphZoomBack, Qt::Key_Escape, &Chart::ZoomBack)->setEnabled(IsZoomed());
    const bool byKey = event->reason() == QContextMenuEvent::Keyboard;
    menu->popup(byKey ? mapToGlobal(PlotRect().center()) : event->globalPos());
}

void Chart::StopDrag()
{
    drag_.reset();
    update();
}

// None of these calls the base class: it would search for what is under the pointer, but nothing that it
// knows of can be selected or dragged.

void Chart::mousePressEvent(QMouseEvent *event)
{
    event->accept();
    if (event->button() != Qt::LeftButton)
        return;
    if (const std::optional<Drawing> drawing = LegendAt(event->position())) {
        ToggleHidden(*drawing);
    } else if (PlotRect().contains(event->position().toPoint())) {
        const int x = event->position().toPoint().x();
        drag_ = Drag{x, Place().At(x - PlotRect().left()), x};
    }
}

void Chart::mouseMoveEvent(QMouseEvent *event)
{
    pointer_ = event->position().toPoint();
    if (drag_ && !(event->buttons() & Qt::LeftButton))
        StopDrag(); // it was released outside the window
    if (drag_) {
        drag_->toX = std::clamp(pointer_->x(), PlotRect().left(), PlotRect().right());
        update();
    } else {
        setCursor(LegendAt(event->position()) ? Qt::PointingHandCursor : Qt::ArrowCursor);
    }
    Hover();
}

void Chart::mouseReleaseEvent(QMouseEvent *event)
{
    event->accept();
    if (event->button() != Qt::LeftButton || !drag_)
        return;
    const double to = Place().At(drag_->toX - PlotRect().left());
    const auto samples = IsDragged() ? SamplesBetween(drag_->at, to, Samples()) : std::nullopt;
    StopDrag();
    if (samples)
        Zoom(SampleWindow::Of(samples->first, samples->second, Samples()));
}

void Chart::mouseDoubleClickEvent(QMouseEvent *event)
{
    event->accept();
    if (event->button() != Qt::LeftButton)
        return;
    if (const std::optional<Drawing> drawing = LegendAt(event->position()))
        ToggleHidden(*drawing); // a double click there is two clicks
    else
        ZoomBack();
}

} // namespace px40
