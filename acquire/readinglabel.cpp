#include "acquire/readinglabel.h"

#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>
#include <numeric>

namespace px40 {

namespace {

double DigitWidth(const QFontMetricsF &metrics)
{
    double widest = 0;
    for (char16_t digit = u'0'; digit <= u'9'; ++digit)
        widest = std::max(widest, metrics.horizontalAdvance(QChar(digit)));
    return widest;
}

double CellWidth(const QFontMetricsF &metrics, QChar character)
{
    const double digit = DigitWidth(metrics);
    if (character == u'.')
        return digit / 2;
    const bool isSign = character == u'-' || character == u'+'; // whose ink is no wider than a digit
    return isSign ? digit : std::max(digit, metrics.horizontalAdvance(character));
}

double TextWidth(const QFontMetricsF &metrics, const QString &text)
{
    return std::accumulate(text.begin(), text.end(), 0.0, [&metrics](double width, QChar character) {
        return width + CellWidth(metrics, character);
    });
}

/// The bar of a minus sign in a cell that begins at `left`. A font's hyphen is too short and too low to be
/// read from afar, and its minus signs touch where there are several in a row.
QRectF MinusBar(const QFontMetricsF &metrics, double left, double baseline)
{
    const double digit = DigitWidth(metrics);
    const double height = metrics.capHeight();
    return {left + digit * 0.12, baseline - height * 0.49, digit * 0.76, height * 0.12};
}

} // namespace

double ReadingLabel::Baseline() const
{
    return (height() + QFontMetricsF(font()).capHeight()) / 2;
}

void ReadingLabel::paintEvent(QPaintEvent *)
{
    const QString reading = text();
    QFont sized = font();
    const double needed = TextWidth(QFontMetricsF(sized), reading);
    if (needed > width())
        sized.setPixelSize(std::max(1, static_cast<int>(sized.pixelSize() * width() / needed)));
    const QFontMetricsF metrics(sized);

    QPainter painter(this);
    painter.setFont(sized);
    const QColor ink = palette().color(foregroundRole());
    painter.setPen(ink);
    double left =
        alignment().testFlag(Qt::AlignHCenter) ? (width() + TextWidth(metrics, reading)) / 2 : width();
    for (qsizetype i = reading.size(); i-- > 0;) {
        const QChar character = reading.at(i);
        const double cell = CellWidth(metrics, character);
        left -= cell;
        if (character == u'-')
            painter.fillRect(MinusBar(metrics, left, Baseline()), ink);
        else
            painter.drawText(QPointF(left + (cell - metrics.horizontalAdvance(character)) / 2, Baseline()),
                             character);
    }
}

} // namespace px40
