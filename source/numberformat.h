#pragma once

#include <QString>

namespace px40 {

/// The text as the number format "00" gives it: a number is rounded to a whole one, a half away from zero,
/// and filled up to two digits behind its sign ("7" gives "07", "1.5" "02", "-3" "-03", "123" "123"). A text
/// that is no plain decimal number comes out as it is, an empty one empty.
QString TwoDigits(const QString &text);

} // namespace px40
