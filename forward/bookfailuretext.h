#pragma once

#include <QString>

namespace px40 {

struct BookFailure;
struct BookHolder;

/// Why a workbook takes no sheet, in one sentence for the user.
QString BookFailureText(const BookFailure &failure);

/// Who has a workbook open: "NAME on HOST", or as much of that as is known.
QString BookHolderText(const BookHolder &holder);

/// A sentence and, in a line below it, the file that it is about.
QString AboutFile(const QString &sentence, const QString &file);

} // namespace px40
