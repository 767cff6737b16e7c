#pragma once

#include <QString>
#include <QStringList>

namespace px40 {

// Small pictures of the program as it is meant to look. Each is named as the picture of the tour that it was
// made from.

/// What has come to look different: for each small picture in the folder `golden`, the one of that name in
/// `taken` is made as small and compared. `density`: device pixels to a pixel in the pictures taken.
///
/// What differs by a pixel here and there is the same, so that another version of a font's renderer passes,
/// but not what has moved, changed its colour or gone.
QStringList Differences(const QString &golden, const QString &taken, double density);

/// Makes the small pictures anew from those taken.
void RenewGolden(const QString &golden, const QString &taken, double density);

// The guide's pictures are those taken, as they are. Those of worksheets are left alone where none was taken,
// which needs a spreadsheet program.

/// Which of the guide's show another program than the one that the pictures were taken of.
QStringList Outdated(const QString &guide, const QString &taken);

void RenewGuide(const QString &guide, const QString &taken);

} // namespace px40
