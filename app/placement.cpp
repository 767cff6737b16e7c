#include "app/placement.h"

#include "platform/twips.h"
#include "platform/userstore.h"

#include <algorithm>

namespace px40 {

namespace {

QString Section()
{
    return QStringLiteral("Settings");
}

} // namespace

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
