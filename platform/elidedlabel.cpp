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
    QFont strong = font();
    strong.setWeight(QFont::DemiBold);
    const qsizetype end = at + strong_.size();
    const QString after = at < 0 ? text() : text().mid(end);
    const int whole =
        QFontMetrics(strong).horizontalAdvance(strong_) + fontMetrics().horizontalAdvance(after);
    QPainter painter(this);
    for (const auto &[piece, font] :
         {std::pair{at < 0 ? QString() : Before(at, area.width() - whole), this->font()},
          std::pair{at < 0 ? QString() : strong_, strong}, std::pair{after, this->font()}}) {
        const QFontMetrics metrics(font);
        const QString fits = metrics.elidedText(piece, Qt::ElideRight, area.width());
        painter.setFont(font);
        style()->drawItemText(&painter, area, Qt::AlignLeft | Qt::AlignVCenter, palette(), isEnabled(), fits,
                              foregroundRole());
        area.setLeft(area.left() + metrics.horizontalAdvance(fits));
    }
}

/// The strong part and what follows it are shown whole while they can be; of what comes before it at `end`,
/// as many whole items as there is room for.
QString ElidedLabel::Before(qsizetype end, int room) const
{
    const QString gap = QStringLiteral("   "); // between items
    QString fits = text().left(end);
    QStringList items = fits.split(gap, Qt::SkipEmptyParts);
    while (fontMetrics().horizontalAdvance(fits) > room && !items.isEmpty()) {
        items.removeLast();
        fits = (items + QStringList(QString(u'…'))).join(gap) + gap;
    }
    return fits;
}

} // namespace px40
