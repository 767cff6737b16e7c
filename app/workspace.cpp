#include "app/workspace.h"

#include "resources/strings.h"

#include <QMdiSubWindow>
#include <QPaintEvent>
#include <QPainter>
#include <QStyle>

#include <algorithm>

namespace px40 {

Workspace::Workspace(QWidget *parent) : QMdiArea(parent)
{
    setObjectName(QStringLiteral("workspace"));
    setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setActivationOrder(QMdiArea::ActivationHistoryOrder);
}

void Workspace::Place(QMdiSubWindow *window)
{
    constexpr int Steps = 4; // after so many windows the cascade begins again
    const QRect area = viewport()->rect();
    const int step = window->style()->pixelMetric(QStyle::PM_TitleBarHeight, nullptr, window);
    const int offset = static_cast<int>((subWindowList().size() - 1) % Steps) * step;
    const QSize most = area.size() * 0.85;
    const QSize wanted = window->size().expandedTo(most).boundedTo(area.size() - QSize(offset, offset));
    window->setGeometry(QRect(area.topLeft() + QPoint(offset, offset), wanted));
}

void Workspace::MoveIntoView(QMdiSubWindow *window)
{
    const QSize beside = viewport()->size() - window->size();
    window->move(std::min(window->x(), std::max(0, beside.width())),
                 std::min(window->y(), std::max(0, beside.height())));
}

void Workspace::EnableWindows(bool enabled)
{
    enabled_ = enabled;
    if (!enabled)
        activeBefore_ = activeSubWindow();
    const QList<QMdiSubWindow *> windows = subWindowList();
    for (QMdiSubWindow *const window : windows)
        window->setEnabled(enabled);
    if (!enabled)
        return;
    ReturnFocus();
    ReturnFocusSoon();
}

void Workspace::ReturnFocusSoon()
{
    const auto giveBack = [this] {
        if (!window()->isActiveWindow() || !enabled_)
            return;
        ReturnFocus();
        activeBefore_ = nullptr;
    };
    QMetaObject::invokeMethod(this, giveBack, Qt::QueuedConnection);
}

void Workspace::ReturnFocus()
{
    if (!activeBefore_)
        return;
    setFocus(); // or another data window gets it while the table of this one is hidden
    activeBefore_->setFocus();
}

void Workspace::paintEvent(QPaintEvent *event)
{
    QPainter painter(viewport());
    painter.fillRect(event->rect(), palette().window().color().darker(112));
    if (!subWindowList().isEmpty())
        return;
    QColor ink = palette().windowText().color();
    ink.setAlphaF(0.7F);
    painter.setPen(ink);
    const QRect area = viewport()->rect().adjusted(40, 40, -40, -40);
    painter.drawText(area, Qt::AlignCenter | Qt::TextWordWrap, Text(Str::EmptyWorkspace));
}

} // namespace px40
