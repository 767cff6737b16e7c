#pragma once

#include "graph/graphsettings.h"

#include <QString>
#include <QVector>
#include <QtGlobal>

#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace px40 {

// How the axes of a graph are scaled, divided and labelled. All lengths are in pixels, sample numbers are
// 1-based.

enum class AxisFormat {
    Plain,    ///< one to four decimals: 0.0, 12.3456
    Exponent, ///< the same with a power of ten: 1.0E-3
};

/// Rounds half away from zero, as the number reads with fifteen digits. It must be finite.
QString AxisNumber(double value, AxisFormat format);

struct ValueRange
{
    double minimum;
    double maximum;
};

/// The limits that the user gave. Nothing when the axis is automatic, and when the maximum is not above the
/// minimum, as a data file can have it.
std::optional<ValueRange> CustomValueRange(const GraphSettings &settings);

/// A range with round limits that holds all values from `lowest` to `highest`; without any values `lowest` is
/// above `highest`.
ValueRange AutomaticValueRange(double lowest, double highest);

struct ValueTicks
{
    QVector<double> labelled;
    QVector<QString> labels; ///< as many
    QVector<double> plain;   ///< between them
};

/// Divides the range into `major` parts, and each of these into `minor` ones, and leaves out what would not
/// be seen on an axis of that length. A narrow range is labelled with exponents.
ValueTicks CustomValueTicks(const ValueRange &range, int major, int minor, double length, double labelHeight);

ValueTicks AutomaticValueTicks(const ValueRange &range, double length, double labelHeight);

/// Where the categories of a graph lie: `count` of them share `plotWidth`, those up to `last` have a sample.
/// Labels may reach beyond it by `reachLeft` and `reachRight`.
struct CategoryPlace
{
    qint32 first = 1;
    int count = 1;
    qint32 last = 0; ///< below `first`: no sample is seen
    double plotWidth = 0;
    double reachLeft = 0;
    double reachRight = 0;

    double Width() const { return plotWidth / count; }
    /// The middle of a sample's category.
    double X(double sample) const { return EdgeOf(sample) + Width() / 2; }
    /// A place among the samples, each of which reaches from its number to the next, and its x.
    double At(double x) const { return first + x / Width(); }
    double EdgeOf(double at) const { return (at - first) * Width(); }
    /// The sample nearest to `x`; nothing when none is seen.
    std::optional<qint32> Nearest(double x) const;
};

/// The first and the last of `samples` that lie between two places among them, even if only in part; nothing
/// when none does.
std::optional<std::pair<qint32, qint32>> SamplesBetween(double a, double b, qint32 samples);

struct CategoryTicks
{
    std::vector<qint32> labelled;
    std::vector<qint32> ticks;
    bool labelsHaveTicks = true;
};

/// Chooses samples 1, 1 + n, 1 + 2n and so on, so that labels travel with the data when the view scrolls: n
/// as the user set it, or the least that fits. Labels that would touch are thinned out. Only labels that
/// could be drawn are measured.
CategoryTicks ChooseCategories(const CategoryPlace &place, const GraphSettings &settings,
                               const std::function<double(qint32)> &labelWidth);

/// A label on a time axis: a place among the samples, which may lie between two of them, and the time there
/// in seconds of the day.
struct TimeLabel
{
    double at;
    int second;

    bool operator==(const TimeLabel &) const = default;
};

struct TimeTicks
{
    std::vector<TimeLabel> labels;
    std::vector<TimeLabel> plain; ///< on whole parts of the time from label to label, also behind the data
};

/// Labels on round times: whole 1, 2, 5, 10, 15, 30 seconds, minutes, then hours. `second`: of the day at
/// which a sample was taken. Empty when the samples have no times.
TimeTicks ChooseRoundTimes(const CategoryPlace &place, double labelWidth,
                           const std::function<std::optional<int>(qint32)> &second);

} // namespace px40
