#pragma once

#include "testing/files.h"
#include "xlsx/workbook.h"

#include <QByteArray>
#include <QList>
#include <QMap>
#include <QStringList>
#include <QTemporaryDir>

#include <pugixml.hpp>

#include <utility>

namespace px40 {

/// Names and bytes of the entries of a package, in their order.
using BookParts = QList<std::pair<QByteArray, QByteArray>>;

/// A workbook of one sheet, "One", with much around it that nobody here understands.
BookParts PlainBook();

/// That workbook without the part of that name.
BookParts Without(const QByteArray &name);

/// The parts with `after` in place of `before`, which must be there, in the part of that name; an empty name:
/// in all of them.
BookParts Changed(BookParts parts, const QByteArray &name, const QByteArray &before, const QByteArray &after);

/// What an entry is in an archive: what a copy must keep, and its text.
struct EntryState
{
    QByteArray kept;
    QByteArray text;
};

/// The entries of a package by their names. `strict`: of one in which each header says what the directory
/// says, else there are none.
QMap<QByteArray, EntryState> ReadPackage(const QString &file, bool strict = true);

/// The sheets of a workbook, in their order.
QStringList SheetNames(const QString &workbook);

/// A sheet of so many rows with a chart.
Sheet SampleSheet(const QString &title, int rows = 1);

/// Writes it. Empty when that is done, else why not.
QString Write(const WorkbookFile &file, const Sheet &sheet = SampleSheet({}));
QString AddTo(const QString &workbook, const QString &title);

/// Why that is; of a result that is good nothing.
QString Why(const BookResult<> &result);
QString Why(BookProblem problem, const QString &detail = {});

/// A workbook in a folder of its own.
struct BookRig
{
    explicit BookRig(const BookParts &parts = PlainBook(), const QString &fileName = u"book.xlsx"_qs);

    /// What is there beside the workbook.
    QStringList Neighbours() const;

    QTemporaryDir folder;
    QString name;
};

} // namespace px40
