#pragma once

#include <QRect>

class QString;

namespace px40 {

class UserStore;

/// Where a window stood when it was closed: four texts in section "Settings", in twips, under the names
/// `prefix` + "Left", "Top", "Width" and "Height". What was not kept is taken from `usual`, in pixels.
QRect LoadPlace(const UserStore &store, const QString &prefix, const QRect &usual, double dotsPerInch);
void KeepPlace(UserStore &store, const QString &prefix, const QRect &place, double dotsPerInch);

} // namespace px40
