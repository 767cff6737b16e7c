#pragma once

#include <QList>
#include <QPoint>
#include <QRect>
#include <QSize>

class QString;
class QWidget;

namespace px40 {

class UserStore;

// Lengths of windows are kept in twips, 1/1440 inch, of which a pixel takes 1440 / logical dots per inch.

int TwipsToPixels(double twips, double dotsPerInch);
int PixelsToTwips(int pixels, double dotsPerInch);

/// Where windows may lie: each screen without its task bars and a title bar's height, the primary one first.
QList<QRect> UsableScreens();

/// Moves a window wholly onto its screen, one that lies off every screen (or whose title bar could not be
/// grasped) onto the first one, and cuts what is larger than its screen. `screens` are the usable areas, the
/// first one preferred.
QRect OntoScreen(const QRect &wanted, const QList<QRect> &screens);

/// Where a window of that size, frame included, stands in the middle of `window` but clear of `field`, which
/// it speaks of: below it, above it, or beside `window`, wherever it fits onto the screen. `screens` are the
/// usable areas.
QPoint PlaceClearOf(const QSize &size, const QRect &window, const QRect &field, const QList<QRect> &screens);

/// Keeps place and size of a window in its normal state: four texts in section "Settings", in twips, under
/// the names `prefix` + "Left", "Top", "Width" and "Height".
void SaveGeometry(const QWidget &window, const QString &prefix, UserStore &store);

/// Puts a window where it was kept, always wholly onto a screen. What was not kept is taken from `usual`, in
/// pixels.
void RestoreGeometry(QWidget &window, const QString &prefix, const QRect &usual, const UserStore &store);

} // namespace px40
