#pragma once

#include <QList>
#include <QRect>

namespace px40 {

/// Moves a window wholly onto its screen, one that lies off every screen (or whose title bar could not be
/// grasped) onto the first one, and cuts what is larger than its screen. `screens` are the usable areas, the
/// first one preferred.
QRect OntoScreen(const QRect &wanted, const QList<QRect> &screens);

} // namespace px40
