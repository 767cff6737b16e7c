#pragma once

#include <QList>
#include <QPoint>
#include <QRect>
#include <QSize>

namespace px40 {

/// Moves a window wholly onto its screen, one that lies off every screen (or whose title bar could not be
/// grasped) onto the first one, and cuts what is larger than its screen. `screens` are the usable areas, the
/// first one preferred.
QRect OntoScreen(const QRect &wanted, const QList<QRect> &screens);

/// Where a window of that size, frame included, stands in the middle of `window` but clear of `field`, which
/// it speaks of: below it, above it, or beside `window`, wherever it fits onto the screen. `screens` are the
/// usable areas.
QPoint PlaceClearOf(const QSize &size, const QRect &window, const QRect &field, const QList<QRect> &screens);

} // namespace px40
