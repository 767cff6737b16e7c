#include "acquire/readinglabel.h"

#include <QFontMetricsF>
#include <QPainter>

#include <algorithm>

namespace px40 {

namespace {

/// Widths of the cells of one font.
class Cells
{
  public:
    explicit Cells(const QFont &font) : metrics_(font)
    {
        for (char16_t digit = u'0'; digit <= u'9'; ++digit)
            digit_ = std::max(digit_, metrics_.horizontalAdvance(QChar(digit)));
    }

    double Advance(QChar character) const { return metrics_.horizontalAdvance(character); }

    double Width(QChar character) const
    {
        if (character == u'.')
            return digit_ / 2;
        return character == u'-' ? digit_ : std::max(digit_, Advance(character));
    }

    /// The bar of a minus sign in a cell that begins at `left`. A font's hyphen is too short and too low to
    /// be read from afar, and its minus signs touch where several stand in a row.
    QRectF Bar(double left, double baseline) const
    {
        const double height = metrics_.capHeight();
        return QRectF(left + digit_ * 0.12, baseline - height * 0.49, digit_ * 0.76, height * 0.12);
    }

    double Width(const QString &text) const
    {
        double width = 0;
        for (const QChar character : text)
            width += Width(character);
        return width;
    }

  private:
    QFontMetricsF metrics_;
    double digit_ = 0;
};

} // namespace

double ReadingLabel::Baseline() const
{
    return (height() + QFontMetricsF(font()).capHeight()) / 2;
}

void ReadingLabel::paintEvent(QPaintEvent *)
{
    const QString reading = text();
    QFont sized = font();
    const double needed = Cells(sized).Width(reading);
    if (needed > width())
        sized.setPixelSize(std::max(1, static_cast<int>(sized.pixelSize() * width() / needed)));
    const Cells cells(sized);

    QPainter painter(this);
    painter.setFont(sized);
    const QColor ink = palette().color(foregroundRole());
    painter.setPen(ink);
    double left = alignment().testFlag(Qt::AlignHCenter) ? (width() + cells.Width(reading)) / 2 : width();
    for (qsizetype i = reading.size(); i-- > 0;) {
        const QChar character = reading.at(i);
        const double cell = cells.Width(character);
        left -= cell;
        if (character == u'-')
            painter.fillRect(cells.Bar(left, Baseline()), ink);
        else
            painter.drawText(QPointF(left + (cell - cells.Advance(character)) / 2, Baseline()), character);
    }
}

} // namespace px40
