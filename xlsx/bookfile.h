#pragma once

#include "xlsx/bookfailure.h"

namespace px40 {

// What can be told of the file of a workbook without looking into it. Names are real ones, see `RealName`.

/// Whether it may be a package: its first bytes decide, not its name.
BookResult<> CheckPackage(const QString &name);

/// Whether something can be put in the place of a workbook.
BookResult<> CheckReplaceable(const QString &name);

/// Whether a new file can be put there, in the place of another or not; tries to make one beside it.
BookResult<> CheckMakeable(const QString &name);

} // namespace px40
