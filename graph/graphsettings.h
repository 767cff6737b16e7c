#pragma once

#include <QString>

namespace px40 {

/// How many samples a graph shows and how its axes are divided.
struct GraphSettings
{
    int count = 20; ///< samples shown at once

    bool xAuto = true;
    int xLabels = 1; ///< categories between tick-mark labels
    int xTicks = 1;  ///< categories between tick marks

    bool yAuto = true;
    QString yMinimum = QStringLiteral("0"); ///< the limits are kept as texts, as they were given
    QString yMaximum = QStringLiteral("10");
    int yMajor = 1; ///< major divisions
    int yMinor = 1; ///< minor divisions

    bool operator==(const GraphSettings &) const = default;
};

/// Which samples the graph shows: as many as the settings say, after the first `value` ones.
struct GraphScroll
{
    int maximum = 0;
    int value = 0;
};

} // namespace px40
