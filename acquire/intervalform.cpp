#include "acquire/intervalform.h"

#include "document/dataset.h"
#include "resources/strings.h"

#include <utility>

namespace px40 {

namespace {

/// Beside ones, a text decides alone whether the duration is valid.
bool IsFaultyByItself(const Duration &duration, std::size_t part)
{
    const QString one = QStringLiteral("1");
    Duration probe = {one, one, one, one};
    probe.*DurationParts[part] = duration.*DurationParts[part];
    return !ValidateDuration(&probe, false);
}

/// Of a duration that is not valid. When each part passes, they are all 0 and the seconds stand for them.
std::size_t FirstFaultyPart(const Duration &duration)
{
    for (std::size_t part = 0; part < DurationParts.size(); ++part) {
        if (IsFaultyByItself(duration, part))
            return part;
    }
    return DurationParts.size() - 1;
}

/// Checks a duration and writes it with two digits.
tl::expected<void, IntervalFault> CheckDuration(Duration *duration, bool ofPeriod)
{
    constexpr std::array<std::pair<Str, int>, DurationParts.size()> parts = {
        {{Str::Day, 99}, {Str::Hour, 23}, {Str::Minute, 59}, {Str::Second, 59}}};
    if (ValidateDuration(duration, true))
        return {};
    const std::size_t part = FirstFaultyPart(*duration);
    QString allowed = Text(Str::SecondAtLeast);
    if (IsFaultyByItself(*duration, part)) {
        const auto [unit, most] = parts.at(part);
        const QString range = Text(Str::WholeNumberAllowed).arg(QStringLiteral("0"), QString::number(most));
        allowed = Text(Str::FieldAllows)
                      .arg(Text(ofPeriod ? Str::PeriodFrame : Str::IntervalFrame), Text(unit), range);
    }
    const QString fault = Text(ofPeriod ? Str::IllegalPeriod : Str::IllegalInterval);
    return tl::unexpected(IntervalFault{ofPeriod, part, fault + QStringLiteral("\r\n") + allowed});
}

} // namespace

IntervalForm LoadIntervalForm(const DataSet &dataSet)
{
    return {dataSet.GetInterval(), dataSet.GetPeriod(), dataSet.GetPeriodnone()};
}

bool IsIntervalFixed(const DataSet &dataSet)
{
    return dataSet.GetDatacount() > 0;
}

tl::expected<void, IntervalFault> StoreIntervalForm(IntervalForm *form, DataSet *dataSet)
{
    const bool fixed = IsIntervalFixed(*dataSet);
    if (fixed)
        form->interval = dataSet->GetInterval();
    else if (auto checked = CheckDuration(&form->interval, false); !checked)
        return checked;
    if (!form->periodNone) {
        if (auto checked = CheckDuration(&form->period, true); !checked)
            return checked;
    }
    if (!fixed)
        dataSet->SetInterval(form->interval);
    dataSet->SetPeriod(form->periodNone, form->period);
    return {};
}

} // namespace px40
