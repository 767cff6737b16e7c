#include "platform/elidedlabel.h"

#include <QPainter>
#include <QStyle>
#include <QTextDocument>

#include <algorithm>
#include <tuple>

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
    // The strong part and what follows it are shown whole while they can be; what comes before is elided.
    QFont strong = font();
    strong.setWeight(QFont::DemiBold);
    const QFontMetrics strongMetrics(strong);
    const qsizetype end = at + strong_.size();
    const QString before = at < 0 ? QString() : text().left(at);
    const QString after = at < 0 ? text() : text().mid(end);
    const int whole = at < 0
                          ? area.width()
                          : strongMetrics.horizontalAdvance(strong_) + fontMetrics().horizontalAdvance(after);
    const bool isCut = fontMetrics().horizontalAdvance(before) + whole > area.width();
    const int gap = isCut ? 2 * fontMetrics().horizontalAdvance(u' ') : 0; // behind the dots
    QPainter painter(this);
    for (const auto &[piece, font, width] :
         {std::tuple{before, this->font(), std::max(0, area.width() - whole - gap)},
          std::tuple{at < 0 ? QString() : strong_, strong, area.width()},
          std::tuple{after, this->font(), area.width()}}) {
        const QFontMetrics metrics(font);
        const QString fits = metrics.elidedText(piece, Qt::ElideRight, std::min(width, area.width()));
        painter.setFont(font);
        style()->drawItemText(&painter, area, Qt::AlignLeft | Qt::AlignVCenter, palette(), isEnabled(), fits,
                              foregroundRole());
        area.setLeft(area.left() + metrics.horizontalAdvance(fits) + (fits != piece ? gap : 0));
    }
}

} // namespace px40
