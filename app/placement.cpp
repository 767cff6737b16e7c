#include "app/placement.h"

#include "platform/twips.h"
#include "platform/userstore.h"

#include <algorithm>
#include <cmath>

namespace px40 {

namespace {

constexpr int SmallestWindow = 200;
constexpr int TitleBarHeight = 32;
constexpr int GraspableWidth = 80;

QString Section()
{
    return QStringLiteral("Settings");
}

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

Placement LoadMainPlacement(const UserStore &store, double dotsPerInch)
{
    const auto pixels = [&](QStringView key, double fallback) {
        return TwipsToPixels(store.GetNumber(Section(), key.toString(), fallback), dotsPerInch);
    };
    Placement placement;
    const int left = pixels(u"MainLeft", 1000);
    const int top = pixels(u"MainTop", 1000);
    const int width = pixels(u"MainWidth", 10000);
    const int height = pixels(u"MainHeight", 6500);
    placement.normal = QRect(left, top, std::max(0, width), std::max(0, height));
    placement.state = store.Get(Section(), QStringLiteral("MainState"), QString()).toInt();
    return placement;
}

void SaveMainPlacement(UserStore &store, const Placement &placement, double dotsPerInch)
{
    const auto save = [&](QStringView key, int pixels) {
        store.Save(Section(), key.toString(), QString::number(PixelsToTwips(pixels, dotsPerInch)));
    };
    if (placement.state != WindowMinimised)
        store.Save(Section(), QStringLiteral("MainState"), QString::number(placement.state));
    save(u"MainLeft", placement.normal.left());
    save(u"MainTop", placement.normal.top());
    save(u"MainWidth", placement.normal.width());
    save(u"MainHeight", placement.normal.height());
}

} // namespace px40
