#pragma once

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

/// The main window's placement between runs. A minimised window leaves the state kept last.
Placement LoadMainPlacement(const UserStore &store, double dotsPerInch);
void SaveMainPlacement(UserStore &store, const Placement &placement, double dotsPerInch);

} // namespace px40
