#pragma once

#include <QStringList>

namespace px40 {

/// What a new sheet is called: the title as far as the name of a sheet can hold it, unlike every name in
/// `taken` whatever the case; without a title "PX40 1", "PX40 2", and so on.
QString NewSheetName(const QString &title, const QStringList &taken);

} // namespace px40
