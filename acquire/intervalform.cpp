#include "acquire/intervalform.h"

#include "document/dataset.h"

namespace px40 {

namespace {

/// Beside ones, a text decides alone whether the duration is valid. When each passes, they are all 0 and the
/// first stands for them.
std::size_t FirstFaultyPart(const Duration &duration)
{
    const QString one = QStringLiteral("1");
    for (std::size_t part = 0; part < DurationParts.size(); ++part) {
        Duration probe = {one, one, one, one};
        probe.*DurationParts[part] = duration.*DurationParts[part];
        if (!ValidateDuration(&probe, false))
            return part;
    }
    return 0;
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
    if (!ValidateDuration(&form->interval, !fixed))
        return IntervalFault{Str::IllegalInterval, FirstFaultyPart(form->interval)};
    if (!form->periodNone && !ValidateDuration(&form->period, true))
        return IntervalFault{Str::IllegalPeriod, FirstFaultyPart(form->period)};
    dataSet->SetInterval(form->interval);
    dataSet->SetPeriod(form->periodNone, form->period);
    return std::nullopt;
}

} // namespace px40
