#include "acquire/intervalform.h"

#include "document/dataset.h"
#include "resources/strings.h"

#include <utility>

namespace px40 {

namespace {

/// Checks a duration and writes it with two digits.
Result<void, FieldFault> CheckDuration(Duration *duration, bool ofPeriod)
{
    constexpr Str units[] = {Str::Day, Str::Hour, Str::Minute, Str::Second};
    const std::optional<DurationFault> fault = ValidateDuration(duration);
    if (!fault)
        return {};
    QString allowed = Text(Str::SecondAtLeast);
    if (!fault->isZero) {
        const QString range = Text(Str::WholeNumberAllowed)
                                  .arg(QStringLiteral("0"), QString::number(DurationLimits[fault->part]));
        const Str frame = ofPeriod ? Str::PeriodFrame : Str::IntervalFrame;
        allowed = Text(Str::FieldAllows).arg(Text(frame), Text(units[fault->part]), range);
    }
    const QString illegal = Text(ofPeriod ? Str::IllegalPeriod : Str::IllegalInterval);
    const std::size_t field = fault->part + (ofPeriod ? DurationParts.size() : 0);
    return tl::unexpected(FieldFault{field, illegal + QStringLiteral("\r\n") + allowed});
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

Result<void, FieldFault> StoreIntervalForm(IntervalForm *form, DataSet *dataSet)
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
