#include "graph/graphaxis.h"

#include <algorithm>
#include <cmath>

namespace px40 {

namespace {

constexpr int SureDigits = 15;            // decimal digits that a double always keeps
constexpr double LabelGap = 8;            // between two labels
constexpr double LeastTickGap = 3;        // where the user set the divisions
constexpr double AutomaticTickGap = 4;    // where the program chooses them
constexpr double LeastLabelDistance = 12; // from label to label, however short they are
constexpr int LeastValueLabels = 2;

constexpr int Minute = 60;
constexpr int Hour = 60 * Minute;
constexpr int RoundSeconds[] = {1,      2,          5,          10,          15,          30,
                                Minute, 2 * Minute, 5 * Minute, 10 * Minute, 15 * Minute, 30 * Minute,
                                Hour,   2 * Hour,   3 * Hour,   6 * Hour,    12 * Hour,   24 * Hour};

/// The next step after `step` in the sequence 1, 2, 5, 10, 20, 50 ...
qint64 NextStep(qint64 step)
{
    qint64 power = 1;
    while (step >= power * 10)
        power *= 10;
    return step < 2 * power ? 2 * power : step < 5 * power ? 5 * power : 10 * power;
}

/// The smallest of these steps for which `width` times the step is at least `least`.
qint64 StepFor(double width, double least)
{
    qint64 step = 1;
    while (width * static_cast<double>(step) < least && step < (qint64(1) << 40))
        step = NextStep(step);
    return step;
}

/// With one to four decimals.
QString WithDecimals(double value)
{
    constexpr double Parts = 10'000; // of one
    const double parts = std::round(QString::number(value * Parts, 'g', SureDigits).toDouble());
    QString text = QString::number(parts / Parts, 'f', 4);
    while (text.endsWith(u'0') && !text.endsWith(u".0"))
        text.chop(1);
    return text == u"-0.0" ? text.mid(1) : text;
}

/// The smallest number of at least `least` that is 1, 2 or 5 times a power of ten.
double NiceStep(double least)
{
    const double power = std::pow(10.0, std::floor(std::log10(least)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (factor * power >= least * (1 - 1e-9))
            return factor * power;
    }
    return 10 * power;
}

QString StepNumber(double value, double step)
{
    const int decimals = std::max(0, -static_cast<int>(std::floor(std::log10(step) + 1e-6)));
    if (std::abs(value) < step / 2)
        value = 0; // a rounding error, or a negative zero
    if (decimals <= 7 && std::abs(value) < 1e8)
        return QString::number(value, 'f', decimals);
    const double digits = value == 0 ? 1 : std::log10(std::abs(value) / step) + 2;
    return QString::number(value, 'g', std::clamp(static_cast<int>(digits), 1, SureDigits));
}

/// Samples that are `step` apart, one of which is `origin`.
struct Sequence
{
    qint64 step;
    qint64 origin = 1;

    /// The first one that is not below `sample`.
    qint64 From(qint64 sample) const { return sample + ((origin - sample) % step + step) % step; }
};

/// The first sample from there on that may get a label; one behind the last for none.
using NextSample = std::function<qint64(qint64)>;

/// Those that get a label; nothing when two labels touch.
std::optional<std::vector<qint32>> Labels(const CategoryPlace &place, const NextSample &next,
                                          const std::function<double(qint32)> &labelWidth)
{
    std::vector<qint32> samples;
    double taken = -place.reachLeft;
    for (qint64 at = next(place.first); at <= place.last; at = next(at + 1)) {
        const auto sample = static_cast<qint32>(at);
        const double x = place.X(sample);
        const double width = labelWidth(sample);
        if (width <= 0 || x - width / 2 < -place.reachLeft ||
            x + width / 2 > place.plotWidth + place.reachRight)
            continue;
        if (!samples.empty() && x - width / 2 < taken + LabelGap)
            return std::nullopt;
        samples.push_back(sample);
        taken = x + width / 2;
    }
    return samples;
}

/// The least step between ticks that can be told apart and that every label is on.
qint64 AutomaticTickStep(const CategoryPlace &place, qint64 labelStep)
{
    qint64 step = StepFor(place.Width(), AutomaticTickGap);
    while (step < labelStep && labelStep % step != 0)
        step = NextStep(step);
    return std::min(step, labelStep);
}

void AddTicks(CategoryTicks *chosen, const CategoryPlace &place, const Sequence &sequence)
{
    const qint64 end = qint64(place.first) + place.count;
    for (qint64 at = sequence.From(place.first); at < end; at += sequence.step)
        chosen->ticks.push_back(static_cast<qint32>(at));
}

/// The first sample from `from` on whose time is round. `interval`: between samples, in seconds, where none
/// was missed.
qint64 NextRound(const CategoryPlace &place, qint64 from, int round, int interval,
                 const std::function<std::optional<int>(qint32)> &second)
{
    constexpr int MostLooks = 64; // in vain: round times lie between the samples
    const auto at = [&second](qint64 sample) { return second(static_cast<qint32>(sample)).value_or(0); };
    for (int look = 0; look < MostLooks && from <= place.last; ++look) {
        const int taken = at(from);
        const int wait = (round - taken % round) % round;
        if (wait == 0)
            return from;
        const qint64 next = std::min<qint64>(from + std::max(1, wait / interval), place.last);
        const int beyond = at(next) - taken - wait; // after missed samples; midnight ends a round time, too
        const qint64 back = beyond > 0 ? (beyond + interval - 1) / interval : 0;
        from = std::max(from + 1, next - back);
    }
    return qint64(place.last) + 1;
}

/// With a label at every multiple of a round step of at least that share of the range.
ValueTicks ValueTicksOf(const ValueRange &range, double length, double share)
{
    ValueTicks ticks;
    const double span = range.maximum - range.minimum;
    const double step = NiceStep(span * share);
    const bool stepIsTwo = std::round(step / std::pow(10.0, std::floor(std::log10(step) + 1e-6))) == 2;
    const int parts = stepIsTwo ? 4 : 5;
    const double part = step / parts;
    const bool showMinor = part / span * length >= AutomaticTickGap;
    const auto from = static_cast<qint64>(std::ceil(range.minimum / part - 1e-6));
    const auto to = static_cast<qint64>(std::floor(range.maximum / part + 1e-6));
    for (qint64 k = from; k <= to; ++k) {
        const double value = static_cast<double>(k) * part;
        if (k % parts == 0) {
            ticks.labelled.push_back(value);
            ticks.labels.push_back(StepNumber(value, step));
        } else if (showMinor) {
            ticks.plain.push_back(value);
        }
    }
    return ticks;
}

} // namespace

QString AxisNumber(double value, AxisFormat format)
{
    if (format == AxisFormat::Plain)
        return WithDecimals(value);
    const QString text = QString::number(value, 'e', SureDigits - 1);
    const qsizetype mark = text.indexOf(u'e');
    QString number = WithDecimals(text.left(mark).toDouble());
    int exponent = text.mid(mark + 1).toInt();
    if (number.endsWith(u"10.0")) { // rounded up from 9.99996, for example
        number.remove(number.size() - 3, 1);
        ++exponent;
    }
    return number + u'E' + QString::number(exponent);
}

std::optional<ValueRange> CustomValueRange(const GraphSettings &settings)
{
    const ValueRange range{settings.yMinimum.toDouble(), settings.yMaximum.toDouble()};
    if (settings.yAuto || !(range.maximum > range.minimum))
        return std::nullopt;
    return range;
}

ValueRange AutomaticValueRange(double lowest, double highest)
{
    if (lowest > highest)
        return {0, 10};
    double span = highest - lowest;
    const double size = std::max(std::abs(lowest), std::abs(highest));
    if (span <= size * 1e-6) { // constant except for the last digit of single precision
        const double padding = size > 0 ? size / 10 : 1;
        lowest -= padding;
        highest += padding;
        span = highest - lowest;
    }
    // The limits are multiples of a coarse grid, so that similar new readings do not change the axis.
    const double grid = NiceStep(span / 5) / 5;
    const double margin = span * 0.02;
    return {std::floor((lowest - margin) / grid) * grid, std::ceil((highest + margin) / grid) * grid};
}

ValueTicks CustomValueTicks(const ValueRange &range, int major, int minor, double length, double labelHeight)
{
    const AxisFormat format = range.maximum - range.minimum < 0.01 ? AxisFormat::Exponent : AxisFormat::Plain;
    major = std::max(1, major);
    minor = std::max(1, minor);
    const double width = length / major;
    const qint64 labelStep = StepFor(width, labelHeight * 1.5);
    qint64 tickStep = 1;
    while (tickStep < labelStep &&
           (width * static_cast<double>(tickStep) < LeastTickGap || labelStep % tickStep != 0))
        tickStep = NextStep(tickStep);
    const qint64 minorStep = StepFor(width / minor, LeastTickGap);

    ValueTicks ticks;
    const auto value = [&](double division) {
        return range.minimum + division * (range.maximum - range.minimum) / major;
    };
    const bool onlyOne = labelStep > major; // label: the maximum gets the second one
    for (qint64 k = 0; k <= major; k += onlyOne ? major : tickStep) {
        const double at = value(static_cast<double>(k));
        if (k % labelStep == 0 || onlyOne) {
            ticks.labelled.push_back(at);
            ticks.labels.push_back(AxisNumber(at, format));
        } else {
            ticks.plain.push_back(at);
        }
        if (tickStep > 1 || k == major)
            continue;
        for (qint64 j = minorStep; j + minorStep <= minor; j += minorStep)
            ticks.plain.push_back(value(static_cast<double>(k) + static_cast<double>(j) / minor));
    }
    return ticks;
}

ValueTicks AutomaticValueTicks(const ValueRange &range, double length, double labelHeight)
{
    const double apart = std::max(labelHeight * 1.7, length / 8);
    ValueTicks ticks = ValueTicksOf(range, length, std::min(1.0, apart / std::max(1.0, length)));
    // On a short axis the round step may be so large that it has a single multiple in the range.
    for (double share = 0.5; ticks.labels.size() < LeastValueLabels; share /= 2)
        ticks = ValueTicksOf(range, length, share);
    const auto gaps = static_cast<double>(ticks.labelled.size() - 1);
    const double labelledPart =
        (ticks.labelled.back() - ticks.labelled.front()) / (range.maximum - range.minimum);
    if (labelledPart * length < gaps * labelHeight) { // they would touch: only the ends
        ticks.labelled = {ticks.labelled.front(), ticks.labelled.back()};
        ticks.labels = {ticks.labels.front(), ticks.labels.back()};
    }
    return ticks;
}

std::optional<qint32> CategoryPlace::Nearest(double x) const
{
    if (last < first || !(plotWidth > 0))
        return std::nullopt;
    const double sample = std::floor(x / Width()) + first;
    return static_cast<qint32>(std::clamp(sample, static_cast<double>(first), static_cast<double>(last)));
}

std::optional<std::pair<qint32, qint32>> SamplesBetween(double a, double b, qint32 samples)
{
    const double from = std::max(std::floor(std::min(a, b)), 1.0);
    const double to = std::min<double>(std::floor(std::max(a, b)), samples);
    if (!(from <= to))
        return std::nullopt;
    return std::pair(static_cast<qint32>(from), static_cast<qint32>(to));
}

CategoryTicks ChooseCategories(const CategoryPlace &place, const GraphSettings &settings,
                               const std::function<double(qint32)> &labelWidth)
{
    CategoryTicks chosen;
    if (!(place.plotWidth > 0))
        return chosen;
    const double width = place.Width();
    const qint64 labels = settings.xAuto ? 1 : std::max(1, settings.xLabels);
    const qint64 ticks = settings.xAuto ? 1 : std::max(1, settings.xTicks);

    qint64 multiple = StepFor(width * static_cast<double>(labels), LeastLabelDistance);
    const auto next = [&](qint64 from) { return Sequence{labels * multiple}.From(from); };
    std::optional<std::vector<qint32>> labelled = Labels(place, next, labelWidth);
    while (!labelled) {
        multiple = NextStep(multiple);
        labelled = Labels(place, next, labelWidth);
    }
    chosen.labelled = *labelled;
    const qint64 labelStep = labels * multiple;

    qint64 tickStep = ticks * StepFor(width * static_cast<double>(ticks), LeastTickGap);
    if (settings.xAuto) { // every label has a tick
        tickStep = AutomaticTickStep(place, labelStep);
    }
    chosen.labelsHaveTicks = labelStep % tickStep == 0;
    AddTicks(&chosen, place, {tickStep});
    return chosen;
}

std::optional<CategoryTicks> ChooseRoundTimes(const CategoryPlace &place,
                                              const std::function<double(qint32)> &labelWidth,
                                              const std::function<std::optional<int>(qint32)> &second)
{
    if (!(place.plotWidth > 0) || place.last <= place.first)
        return std::nullopt;
    const std::optional<int> begin = second(place.first);
    const std::optional<int> next = second(place.first + 1);
    if (!begin || !next)
        return std::nullopt;
    const int interval = std::max(1, *next - *begin); // or midnight lies between them
    for (const int round : RoundSeconds) {
        const qint64 step = std::max(1, round / interval);
        if (place.Width() * static_cast<double>(step) < LeastLabelDistance)
            continue;
        const auto nextRound = [&](qint64 from) { return NextRound(place, from, round, interval, second); };
        const std::optional<std::vector<qint32>> labelled = Labels(place, nextRound, labelWidth);
        if (!labelled || labelled->empty())
            continue;
        CategoryTicks chosen{*labelled, {}, true};
        const Sequence ticks{AutomaticTickStep(place, step), labelled->front()};
        if (std::all_of(labelled->begin(), labelled->end(), [&](qint32 at) { return ticks.From(at) == at; }))
            AddTicks(&chosen, place, ticks);
        else
            chosen.ticks = *labelled;
        return chosen;
    }
    return std::nullopt;
}

} // namespace px40
