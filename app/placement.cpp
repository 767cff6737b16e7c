#include "app/placement.h"

#include "platform/keptplace.h"
#include "platform/twips.h"
#include "platform/userstore.h"

namespace px40 {

namespace {

QString Section()
{
    return QStringLiteral("Settings");
}

} // namespace

Placement LoadMainPlacement(const UserStore &store, double dotsPerInch)
{
    const auto pixels = [&](double twips) { return TwipsToPixels(twips, dotsPerInch); };
    const QRect usual(pixels(1000), pixels(1000), pixels(10000), pixels(6500));
    Placement placement;
    placement.normal = LoadPlace(store, QStringLiteral("Main"), usual, dotsPerInch);
    placement.normal.setSize(placement.normal.size().expandedTo(QSize(0, 0)));
    placement.state = store.Get(Section(), QStringLiteral("MainState"), QString()).toInt();
    return placement;
}

void SaveMainPlacement(UserStore &store, const Placement &placement, double dotsPerInch)
{
    if (placement.state != WindowMinimised)
        store.Save(Section(), QStringLiteral("MainState"), QString::number(placement.state));
    KeepPlace(store, QStringLiteral("Main"), placement.normal, dotsPerInch);
}

} // namespace px40
