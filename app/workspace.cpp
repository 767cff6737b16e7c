#include "app/workspace.h"

#include "resources/strings.h"

#include <QPaintEvent>
#include <QPainter>

namespace px40 {

Workspace::Workspace(QWidget *parent) : QMdiArea(parent)
{
    setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    setActivationOrder(QMdiArea::ActivationHistoryOrder);
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
    const QRect room = viewport()->rect().adjusted(40, 40, -40, -40);
    painter.drawText(room, Qt::AlignCenter | Qt::TextWordWrap, Text(Str::EmptyWorkspace));
}

} // namespace px40
