#pragma once

#include <QString>

#include <algorithm>
#include <optional>

namespace px40 {

/// What the graph of a data set shows and how its axes are divided.
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
};

// What users type and data files hold, if it is a setting; nothing otherwise.

/// Samples shown at once: 2 to 32767.
std::optional<int> GraphCountOf(QStringView text);
/// Divisions of an axis, categories between labels or ticks: 1 to 32767.
std::optional<int> DivisionsOf(QStringView text);
/// A limit of the value axis in its plain form: -60000 to 60000 in single precision.
std::optional<QString> AxisLimitOf(QStringView text);

/// Which samples the graph shows: `count` of them behind `value` (0 shows samples 1 to `count`).
struct GraphScroll
{
    int maximum = 0;
    int value = 0;

    /// Back to the first sample.
    void ToTop(int samples, int count)
    {
        maximum = std::max(0, samples - count);
        value = 0;
    }

    /// One more sample came in: a full graph follows it.
    void Follow(int samples, int count)
    {
        if (samples <= count)
            return;
        ++maximum;
        value = maximum;
    }
};

} // namespace px40
