#include "platform/screens.h"

#include <QGuiApplication>
#include <QScreen>

namespace px40 {

namespace {
constexpr int TitleBarRoom = 32;
}

QList<QRect> UsableScreens()
{
    QList<QRect> areas;
    const QList<QScreen *> screens = QGuiApplication::screens(); // the primary one first
    for (const QScreen *const screen : screens)
        areas.append(screen->availableGeometry().adjusted(0, TitleBarRoom, 0, 0));
    return areas;
}

} // namespace px40
