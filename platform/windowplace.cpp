#include "platform/windowplace.h"

#include <algorithm>

namespace px40 {

namespace {

constexpr int SmallestWindow = 200;
constexpr int TitleBarHeight = 32;
constexpr int GraspableWidth = 80;

bool CanBeGrasped(const QRect &window, const QRect &screen)
{
    const QRect titleBar(window.left(), window.top(), window.width(), TitleBarHeight);
    const QRect seen = titleBar.intersected(screen);
    return seen.height() == TitleBarHeight && seen.width() >= std::min(GraspableWidth, window.width());
}

} // namespace

QRect OntoScreen(const QRect &wanted, const QList<QRect> &screens)
{
    if (screens.isEmpty())
        return wanted;
    const auto found = std::find_if(screens.begin(), screens.end(),
                                    [&](const QRect &screen) { return CanBeGrasped(wanted, screen); });
    const QRect screen = found != screens.end() ? *found : screens.first();
    QRect window = wanted;
    window.setWidth(std::clamp(window.width(), std::min(SmallestWindow, screen.width()), screen.width()));
    window.setHeight(std::clamp(window.height(), std::min(SmallestWindow, screen.height()), screen.height()));
    window.moveLeft(std::clamp(window.left(), screen.left(), screen.right() + 1 - window.width()));
    window.moveTop(std::clamp(window.top(), screen.top(), screen.bottom() + 1 - window.height()));
    return window;
}

QPoint PlaceClearOf(const QSize &size, const QRect &window, const QRect &field, const QList<QRect> &screens)
{
    constexpr int Gap = 12;
    QRect middle(QPoint(), size);
    middle.moveCenter(window.center());
    const auto found = std::find_if(screens.begin(), screens.end(),
                                    [&](const QRect &screen) { return screen.contains(field.center()); });
    if (found == screens.end())
        return middle.topLeft();
    const QPoint candidates[] = {
        middle.topLeft(),
        {middle.left(), field.bottom() + 1 + Gap},
        {middle.left(), field.top() - Gap - size.height()},
        {window.right() + 1 + Gap, middle.top()},
        {window.left() - Gap - size.width(), middle.top()},
    };
    for (const QPoint &corner : candidates) {
        QRect place(corner, size);
        if (place.intersects(field))
            continue;
        // Along the field it may be pushed onto the screen, across it would be pushed back onto the field.
        place.moveLeft(std::clamp(place.left(), found->left(),
                                  std::max(found->left(), found->right() + 1 - size.width())));
        if (found->contains(place) && !place.intersects(field))
            return place.topLeft();
    }
    return middle.topLeft();
}

} // namespace px40
