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
    setText(text);
    setToolTip(Qt::mightBeRichText(text) ? text.toHtmlEscaped() : text);
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
