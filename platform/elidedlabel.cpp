#include "platform/elidedlabel.h"

#include <QPainter>
#include <QStyle>
#include <QTextDocument>

namespace px40 {

ElidedLabel::ElidedLabel(QWidget *parent) : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
}

void ElidedLabel::SetText(const QString &text)
{
    constexpr int LongestToolTip = 500; // noise can be any length
    const QString told = text.left(LongestToolTip);
    setText(text);
    setToolTip(Qt::mightBeRichText(told) ? told.toHtmlEscaped() : told);
}

void ElidedLabel::paintEvent(QPaintEvent *event)
{
    const QRect room = contentsRect();
    const QString shown = fontMetrics().elidedText(text(), Qt::ElideRight, room.width());
    if (wordWrap() || shown == text() || hasSelectedText()) {
        QLabel::paintEvent(event);
        return;
    }
    QPainter painter(this);
    style()->drawItemText(&painter, room, Qt::AlignLeft | Qt::AlignVCenter, palette(), isEnabled(), shown,
                          foregroundRole());
}

} // namespace px40
