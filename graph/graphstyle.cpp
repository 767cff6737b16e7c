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
    // Apart in lightness, not in hue alone.
    style.reading = dark ? QColor(0x6c, 0xb6, 0xff) : QColor(0x0b, 0x5f, 0xb0);
    style.maximum = dark ? QColor(0xd9, 0x69, 0x5b) : QColor(0xdd, 0x5b, 0x45);
    style.minimum = dark ? QColor(0xb9, 0xf5, 0xc6) : QColor(0x0a, 0x4d, 0x24);
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
