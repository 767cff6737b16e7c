#pragma once

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QString>

#include <utility>

namespace px40 {

/// Names and bytes of the entries of a package, in their order.
using BookParts = QList<std::pair<QByteArray, QByteArray>>;

/// A workbook of one sheet, "One", with much around it that nobody here understands.
BookParts PlainBook();

/// That workbook in another guise: "prefixed", "strict", "without styles", "macros", "chart sheet",
/// "200 sheets", "absolute targets", "other case", "names taken", "prefix on each sheet", "bare styles".
BookParts BookLike(const QByteArray &guise);

/// Replaces `before`, which must be there, in the part of that name; an empty name: in all of them.
void Change(BookParts &parts, const QByteArray &name, const QByteArray &before, const QByteArray &after);

/// False when it cannot be written.
bool WritePackage(const QString &file, const BookParts &parts);

/// What an entry is in an archive: everything that a copy must keep, and its text.
struct EntryState
{
    QByteArray kept;
    QByteArray text;
};
using BookEntries = QMap<QByteArray, EntryState>;
BookEntries ReadPackage(const QString &file);

} // namespace px40
