#include "acquire/intervalform.h"

#include "document/dataset.h"

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

} // namespace

IntervalForm LoadIntervalForm(const DataSet &dataSet)
{
    return {dataSet.GetInterval(), dataSet.GetPeriod(), dataSet.GetPeriodnone()};
}

bool IsIntervalFixed(const DataSet &dataSet)
{
    return dataSet.GetDatacount() > 0;
}

std::optional<IntervalFault> StoreIntervalForm(IntervalForm *form, DataSet *dataSet)
{
    const bool fixed = IsIntervalFixed(*dataSet);
    if (fixed)
        form->interval = dataSet->GetInterval();
    else if (!ValidateDuration(&form->interval, true))
        return IntervalFault{Str::IllegalInterval, FirstFaultyPart(form->interval)};
    if (!form->periodNone && !ValidateDuration(&form->period, true))
        return IntervalFault{Str::IllegalPeriod, FirstFaultyPart(form->period)};
    if (!fixed)
        dataSet->SetInterval(form->interval);
    dataSet->SetPeriod(form->periodNone, form->period);
    return std::nullopt;
}

QString IntervalComplaint(const IntervalForm &form, const IntervalFault &fault)
{
    constexpr std::array<std::pair<Str, int>, DurationParts.size()> parts = {
        {{Str::Day, 99}, {Str::Hour, 23}, {Str::Minute, 59}, {Str::Second, 59}}};
    const bool interval = fault.complaint == Str::IllegalInterval;
    QString allowed = Text(Str::SecondAtLeast);
    if (IsFaultyByItself(interval ? form.interval : form.period, fault.part)) {
        const auto [unit, most] = parts.at(fault.part);
        const QString range = Text(Str::WholeNumberAllowed).arg(QStringLiteral("0"), QString::number(most));
        allowed = Text(Str::FieldAllows)
                      .arg(Text(interval ? Str::IntervalFrame : Str::PeriodFrame), Text(unit), range);
    }
    return Text(fault.complaint) + QStringLiteral("\r\n") + allowed;
}

} // namespace px40
