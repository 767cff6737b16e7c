#pragma once

#include "document/duration.h"

#include <tl/expected.hpp>

#include <cstddef>

namespace px40 {

class DataSet;

/// What stands in the dialog "Interval and period setup": texts as the user typed them, checked or not.
struct IntervalForm
{
    Duration interval;
    Duration period;
    bool periodNone = true; ///< acquire until stopped: the texts of the period do not count
};

struct IntervalFault
{
    bool ofPeriod = false;
    std::size_t part = 0; ///< the first faulty text, 0-based as in DurationParts
    QString complaint;    ///< what is wrong, and on a second line which field it is and what is allowed there
};

/// The settings that the data set has now.
IntervalForm LoadIntervalForm(const DataSet &dataSet);

/// A data set with readings keeps the interval at which they were taken.
bool IsIntervalFixed(const DataSet &dataSet);

/// Gives the form's settings to the data set, which then counts as changed, or tells what is wrong with them
/// and changes nothing. A fixed interval is the data set's own, whatever the form says, and that of stored
/// readings may be none at all; the form gets it. A duration that passes is rewritten in the form with two
/// digits, also when the other one is faulty. The two durations are not compared.
[[nodiscard]] tl::expected<void, IntervalFault> StoreIntervalForm(IntervalForm *form, DataSet *dataSet);

} // namespace px40
