#include "graph/graphstyle.h"

#include <QPalette>

namespace px40 {

GraphStyle GraphStyle::ForPalette(const QPalette &palette, bool enabled)
{
    const QPalette::ColorGroup group = enabled ? QPalette::Active : QPalette::Disabled;
    GraphStyle style;
    style.background = palette.color(group, QPalette::Base);
    style.text = palette.color(group, QPalette::Text);
    const bool dark = style.background.lightness() < 128;
    style.reading = dark ? QColor(0x6c, 0xb6, 0xff) : QColor(0x0b, 0x5f, 0xb0);
    style.maximum = dark ? QColor(0xff, 0x8f, 0x80) : QColor(0xb8, 0x32, 0x26);
    style.minimum = dark ? QColor(0x7b, 0xd8, 0x8f) : QColor(0x1a, 0x77, 0x3c);
    if (!enabled)
        style.reading = style.maximum = style.minimum = style.text;
    return style;
}

GraphStyle GraphStyle::Paper()
{
    QPalette palette;
    palette.setColor(QPalette::Base, Qt::white);
    palette.setColor(QPalette::Text, Qt::black);
    GraphStyle style = ForPalette(palette, true);
    style.lineWidth = 2;
    style.hiddenInLegend = false;
    return style;
}

} // namespace px40
