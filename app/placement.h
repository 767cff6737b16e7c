#pragma once

#include <QList>
#include <QRect>

namespace px40 {

class UserStore;

/// The window states as they are kept.
enum WindowStateCode : int { WindowNormal = 0, WindowMinimised = 1, WindowMaximised = 2 };

struct Placement
{
    QRect normal; ///< in pixels: place and size in the normal state
    int state = WindowNormal;
};

/// Moves a window wholly onto its screen, one that lies off every screen (or whose title bar could not be
/// grasped) onto the first one, and cuts what is larger than its screen. `screens` are the usable areas, the
/// first one preferred.
QRect OntoScreen(const QRect &wanted, const QList<QRect> &screens);

/// The main window's placement between runs. A minimised window leaves the state kept last.
Placement LoadMainPlacement(const UserStore &store, double dotsPerInch);
void SaveMainPlacement(UserStore &store, const Placement &placement, double dotsPerInch);

} // namespace px40
