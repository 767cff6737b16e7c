#include "platform/geometry.h"

#include "platform/userstore.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWidget>

#include <algorithm>
#include <cmath>

namespace px40 {

namespace {

constexpr double TwipsPerInch = 1440;
constexpr int SmallestWindow = 200;
constexpr int TitleBarHeight = 32;
constexpr int ReachableWidth = 80;

bool IsTitleBarReachable(const QRect &window, const QRect &screen)
{
    const QRect titleBar(window.left(), window.top(), window.width(), TitleBarHeight);
    const QRect seen = titleBar.intersected(screen);
    return seen.height() == TitleBarHeight && seen.width() >= std::min(ReachableWidth, window.width());
}

const QString Section = QStringLiteral("Settings");

} // namespace

int TwipsToPixels(double twips, double dotsPerInch)
{
    constexpr double Furthest = 1e6; // a broken setting must not overflow a coordinate
    return static_cast<int>(std::lround(std::clamp(twips * dotsPerInch / TwipsPerInch, -Furthest, Furthest)));
}

int PixelsToTwips(int pixels, double dotsPerInch)
{
    return static_cast<int>(std::lround(pixels * TwipsPerInch / dotsPerInch));
}

QList<QRect> UsableScreens()
{
    QList<QRect> areas;
    const QList<QScreen *> screens = QGuiApplication::screens(); // the primary one first
    for (const QScreen *const screen : screens)
        areas.append(screen->availableGeometry().adjusted(0, TitleBarHeight, 0, 0));
    return areas;
}

QRect OntoScreen(const QRect &wanted, const QList<QRect> &screens)
{
    if (screens.isEmpty())
        return wanted;
    const auto found = std::find_if(screens.begin(), screens.end(),
                                    [&](const QRect &screen) { return IsTitleBarReachable(wanted, screen); });
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
        // Moved sideways onto the screen; where that covers the field again, the next place is tried.
        place.moveLeft(std::clamp(place.left(), found->left(),
                                  std::max(found->left(), found->right() + 1 - size.width())));
        if (found->contains(place) && !place.intersects(field))
            return place.topLeft();
    }
    return middle.topLeft();
}

void SaveGeometry(const QWidget &window, const QString &prefix, UserStore &store)
{
    const bool normal = !window.isMinimized() && !window.isMaximized();
    const QRect place = normal ? window.geometry() : window.normalGeometry();
    const auto save = [&](const char *key, int pixels) {
        const int twips = PixelsToTwips(pixels, window.logicalDpiX());
        store.Save(Section, prefix + QLatin1StringView(key), QString::number(twips));
    };
    save("Left", place.left());
    save("Top", place.top());
    save("Width", place.width());
    save("Height", place.height());
}

void RestoreGeometry(QWidget &window, const QString &prefix, const QRect &usual, const UserStore &store)
{
    const auto kept = [&](const char *key, int usually) {
        const double twips = PixelsToTwips(usually, window.logicalDpiX());
        return TwipsToPixels(store.GetNumber(Section, prefix + QLatin1StringView(key), twips),
                             window.logicalDpiX());
    };
    const QPoint corner(kept("Left", usual.left()), kept("Top", usual.top()));
    const QSize size(kept("Width", usual.width()), kept("Height", usual.height()));
    window.setGeometry(OntoScreen(QRect(corner, size.expandedTo(window.minimumSize())), UsableScreens()));
}

} // namespace px40
