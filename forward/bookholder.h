#pragma once

#include <QString>

namespace px40 {

/// Who has a workbook open in another program, as the file says that such a program lays beside it: "NAME on
/// HOST", or as much of that as is there; empty when nobody has.
QString BookHolder(const QString &workbook);

} // namespace px40
