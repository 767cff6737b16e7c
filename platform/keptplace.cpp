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

QRect LoadPlace(const UserStore &store, const QString &prefix, const QRect &usual, double dotsPerInch)
{
    const auto kept = [&](const char *key, int usually) {
        const double twips = PixelsToTwips(usually, dotsPerInch);
        return TwipsToPixels(store.GetNumber(Section(), prefix + QLatin1StringView(key), twips), dotsPerInch);
    };
    return {kept("Left", usual.left()), kept("Top", usual.top()), kept("Width", usual.width()),
            kept("Height", usual.height())};
}

void KeepPlace(UserStore &store, const QString &prefix, const QRect &place, double dotsPerInch)
{
    const auto keep = [&](const char *key, int pixels) {
        store.Save(Section(), prefix + QLatin1StringView(key),
                   QString::number(PixelsToTwips(pixels, dotsPerInch)));
    };
    keep("Left", place.left());
    keep("Top", place.top());
    keep("Width", place.width());
    keep("Height", place.height());
}

} // namespace px40
