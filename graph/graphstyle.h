#pragma once

#include <QColor>

class QPalette;

namespace px40 {

/// Colours and strength of a graph's picture.
struct GraphStyle
{
    QColor background;
    QColor text;
    QColor reading;
    QColor maximum;
    QColor minimum;
    double lineWidth = 1;
    bool hiddenInLegend = true; ///< the legend shows, faintly, also what is hidden, to be clicked at

    static GraphStyle ForPalette(const QPalette &palette, bool enabled);
    static GraphStyle Paper();
};

} // namespace px40
