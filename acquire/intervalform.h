#pragma once

#include "document/duration.h"
#include "document/fieldfault.h"
#include "platform/result.h"

namespace px40 {

class DataSet;

/// What is in the dialog "Interval and period setup": texts as the user typed them, checked or not.
struct IntervalForm
{
    Duration interval;
    Duration period;
    bool periodNone = true; ///< acquire until stopped: the texts of the period do not count
};

/// The settings that the data set has now.
IntervalForm LoadIntervalForm(const DataSet &dataSet);

/// A data set with readings keeps the interval at which they were taken.
bool IsIntervalFixed(const DataSet &dataSet);

/// Gives the form's settings to the data set, which then counts as changed. Where it fails it changes
/// nothing. The fields are the parts of the interval, then those of the period, as in `DurationParts`. A
/// fixed interval is the data set's own, whatever the form says, and that of stored readings may be none at
/// all; the form gets it. A duration that passes is rewritten in the form with two digits, also when the
/// other one is faulty. The two durations are not compared.
Result<void, FieldFault> StoreIntervalForm(IntervalForm *form, DataSet *dataSet);

} // namespace px40
