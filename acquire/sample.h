#pragma once

#include "link/reply.h"

#include <QString>

namespace px40 {

/// What a row of real-time data keeps of a status reply: the measured and the source side, as texts. A reply
/// that begins with "ERR" gives "ERROR" and nothing else; while measuring is off the measured side is empty.
/// `sourceFunctionCode`: that of the last decoded status, for a temperature source shown as a signal.
ReadingTexts DecodeSample(const QString &reply, int sourceFunctionCode);

} // namespace px40
