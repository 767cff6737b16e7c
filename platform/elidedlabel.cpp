#include "platform/elidedlabel.h"

#include <QPainter>
#include <QStyle>
#include <QTextDocument>

#include <utility>

namespace px40 {

ElidedLabel::ElidedLabel(QWidget *parent) : QLabel(parent)
{
    setTextFormat(Qt::PlainText);
}

void ElidedLabel::SetText(const QString &text)
{
    constexpr int LongestToolTip = 500; // noise can be any length
    const QString toolTip = text.left(LongestToolTip);
    setText(text);
    setToolTip(Qt::mightBeRichText(toolTip) ? toolTip.toHtmlEscaped() : toolTip);
}

void ElidedLabel::SetStrong(const QString &part)
{
    strong_ = part;
    update();
}

void ElidedLabel::paintEvent(QPaintEvent *event)
{
    QRect area = contentsRect();
    const QString shown = fontMetrics().elidedText(text(), Qt::ElideRight, area.width());
    const qsizetype at = strong_.isEmpty() ? -1 : text().indexOf(strong_);
    if (wordWrap() || (shown == text() && at < 0) || hasSelectedText()) {
        QLabel::paintEvent(event);
        return;
    }
    QPainter painter(this);
    // Piece by piece, until one does not fit.
    const qsizetype end = at + strong_.size();
    for (const auto &[piece, weight] :
         {std::pair{at < 0 ? text() : text().left(at), QFont::Normal}, std::pair{strong_, QFont::DemiBold},
          std::pair{at < 0 ? QString() : text().mid(end), QFont::Normal}}) {
        if (piece.isEmpty() || (at < 0 && weight == QFont::DemiBold))
            continue;
        QFont font = this->font();
        font.setWeight(weight);
        painter.setFont(font);
        const QString fits = painter.fontMetrics().elidedText(piece, Qt::ElideRight, area.width());
        style()->drawItemText(&painter, area, Qt::AlignLeft | Qt::AlignVCenter, palette(), isEnabled(), fits,
                              foregroundRole());
        if (fits != piece)
            return;
        area.setLeft(area.left() + painter.fontMetrics().horizontalAdvance(piece));
    }
}

} // namespace px40
