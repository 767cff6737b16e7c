#pragma once

#include <QString>

#include <optional>

namespace px40 {

/// Who has a workbook open in another program. At least one of the two is there.
struct BookHolder
{
    QString name; ///< of the user, or else of the program
    QString host; ///< the user's computer
};

/// From the lock file that such a program puts beside an open workbook; nothing when there is none.
std::optional<BookHolder> HolderOf(const QString &workbook);

} // namespace px40
