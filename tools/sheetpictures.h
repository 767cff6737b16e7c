#pragma once

#include <QString>
#include <QStringList>

namespace px40 {

/// What keeps sheets from being drawn, as one line to be printed; empty when nothing does.
QString WhyNoSheetPictures();

/// Lets a spreadsheet program draw each sheet of the workbook on one page. PNG files below `folder`, in the
/// order of the sheets. Throws RigError when that cannot be done. Takes some seconds.
QStringList DrawSheets(const QString &workbook, const QString &folder);

} // namespace px40
