#pragma once

#include <QString>

namespace px40 {

struct SideDisplay;

/// What a screen reader reads of the display of one side of the instrument: "3.1390 volts DC", "minus 40.4
/// degrees Celsius type K". `value`: the reading as it is shown. Why there is no number, where there is none.
QString SpokenReading(const SideDisplay &display, const QString &value);

} // namespace px40
