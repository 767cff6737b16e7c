#pragma once

#include <QList>
#include <QRect>

namespace px40 {

/// Where windows may lie: each screen without its task bars and a title bar's height, the primary one first.
QList<QRect> UsableScreens();

} // namespace px40
