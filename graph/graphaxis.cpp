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
constexpr int Day = 24 * Hour;
constexpr int RoundSeconds[] = {1,      2,          5,          10,          15,          30,
                                Minute, 2 * Minute, 5 * Minute, 10 * Minute, 15 * Minute, 30 * Minute,
                                Hour,   2 * Hour,   3 * Hour,   6 * Hour,    12 * Hour};

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

/// The first number of the sequence 1, 1 + step, 1 + 2 step ... that is not below `first`.
qint64 FirstInSequence(qint64 first, qint64 step)
{
    return (first - 1 + step - 1) / step * step + 1;
}

/// The samples that get a label at that step; nothing when two labels touch.
std::optional<std::vector<qint32>> Labels(const CategoryPlace &place, qint64 step,
                                          const std::function<double(qint32)> &labelWidth)
{
    std::vector<qint32> samples;
    double taken = -place.reachLeft;
    for (qint64 at = FirstInSequence(place.first, step); at <= place.last; at += step) {
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

void AddTicks(std::vector<qint32> *ticks, const CategoryPlace &place, qint64 step)
{
    const qint64 end = qint64(place.first) + place.count;
    for (qint64 at = FirstInSequence(place.first, step); at < end; at += step)
        ticks->push_back(static_cast<qint32>(at));
}

/// The times of the samples in view, in seconds that go on counting at midnight.
class SampleTimes
{
  public:
    SampleTimes(const CategoryPlace &place, const std::function<std::optional<int>(qint32)> &second)
        : place_(&place), second_(&second)
    {
        begin_ = second(place.first);
        const std::optional<int> next = second(place.first + 1);
        const std::optional<int> last = second(place.last);
        const std::optional<int> before = second(place.last - 1);
        if (!begin_ || !next || !last || !before)
            return;
        // Two looks, because a sample may be missing at one of them.
        interval_ = std::min((*next - *begin_ + Day) % Day, (*last - *before + Day) % Day);
    }

    /// Between samples, in seconds; 0: they have no times.
    int Interval() const { return interval_; }

    /// Behind the last sample as if there were more of them.
    qint64 At(qint32 sample) const
    {
        if (sample > place_->last)
            return At(place_->last) + qint64{sample - place_->last} * interval_;
        const int second = (*second_)(sample).value_or(*begin_);
        const double expected = static_cast<double>(sample - place_->first) * interval_ + *begin_;
        return second + Day * std::lround((expected - second) / Day);
    }

    /// The last sample at that time or before it.
    qint32 Until(qint64 time) const
    {
        const qint64 even = place_->first + (time - *begin_) / interval_; // where none was missed
        qint32 before = place_->first;
        qint32 after = place_->first + place_->count;
        if (even > before && even + 1 < after && At(static_cast<qint32>(even)) <= time)
            before = static_cast<qint32>(even);
        if (before == even && At(before + 1) > time)
            return before;
        while (after - before > 1) {
            const qint32 middle = before + (after - before) / 2;
            (At(middle) <= time ? before : after) = middle;
        }
        return before;
    }

  private:
    const CategoryPlace *place_;
    const std::function<std::optional<int>(qint32)> *second_;
    std::optional<int> begin_;
    int interval_ = 0;
};

/// The multiples of `step` seconds up to `last`, as far as marks of `width` pixels have `gap` between them.
/// `inPauses`: also between samples that are more than the interval apart.
std::vector<TimeLabel> RoundTimes(const CategoryPlace &place, const SampleTimes &times, qint32 last,
                                  qint64 step, double width, double gap, bool inPauses)
{
    std::vector<TimeLabel> marks;
    const auto roundUp = [step](qint64 time) { return (time + step - 1) / step * step; };
    const qint64 end = times.At(last);
    double free = -place.reachLeft;
    for (qint64 time = roundUp(times.At(place.first)); time <= end; time += step) {
        const qint32 sample = times.Until(time);
        const qint64 taken = times.At(sample);
        const qint64 next = sample < last ? times.At(sample + 1) : taken;
        const double share =
            next > taken ? static_cast<double>(time - taken) / static_cast<double>(next - taken) : 0;
        const double left = place.X(sample + share) - width / 2;
        const bool fits = left >= free && left + width <= place.plotWidth + place.reachRight;
        if (fits && (inPauses || share == 0 || next - taken <= times.Interval())) {
            marks.push_back({sample + share, static_cast<int>(time % Day)});
            free = left + width + gap;
        } else if (next > time) { // no two of them within a pause
            time = roundUp(next) - step;
        }
    }
    return marks;
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
    std::optional<std::vector<qint32>> labelled = Labels(place, labels * multiple, labelWidth);
    while (!labelled) {
        multiple = NextStep(multiple);
        labelled = Labels(place, labels * multiple, labelWidth);
    }
    chosen.labelled = *labelled;
    const qint64 labelStep = labels * multiple;

    qint64 tickStep = ticks * StepFor(width * static_cast<double>(ticks), LeastTickGap);
    if (settings.xAuto) { // every label has a tick
        tickStep = AutomaticTickStep(place, labelStep);
    }
    chosen.labelsHaveTicks = labelStep % tickStep == 0;
    AddTicks(&chosen.ticks, place, tickStep);
    return chosen;
}

TimeTicks ChooseRoundTimes(const CategoryPlace &place, double labelWidth,
                           const std::function<std::optional<int>(qint32)> &second)
{
    TimeTicks ticks;
    if (!(place.plotWidth > 0) || place.last <= place.first)
        return ticks;
    const SampleTimes times(place, second);
    if (times.Interval() == 0)
        return ticks;
    const double perSecond = place.Width() / times.Interval();
    const auto first = [&](const auto &fits) {
        const auto *const found = std::find_if(std::begin(RoundSeconds), std::end(RoundSeconds), fits);
        return found != std::end(RoundSeconds) ? *found : Day;
    };
    const int labelStep = first([&](int step) { return step * perSecond >= labelWidth + LabelGap; });
    const int plainStep = first([&](int step) {
        return step == labelStep ||
               (labelStep % step == 0 && step >= times.Interval() && step * perSecond >= AutomaticTickGap);
    });
    ticks.labels = RoundTimes(place, times, place.last, labelStep, labelWidth, LabelGap, true);
    const qint32 end = place.first + place.count - 1;
    ticks.plain = RoundTimes(place, times, end, plainStep, 0, AutomaticTickGap - 1, false);
    return ticks;
}

} // namespace px40
