#pragma once

#include "platform/result.h"

#include <string>

namespace px40 {

/// Why a workbook takes no sheet.
enum class BookProblem {
    Missing,          ///< there is no such file
    NoWorkbook,       ///< it is something else
    OlderKind,        ///< .xls
    Encrypted,        ///< needs a password
    Binary,           ///< .xlsb
    OpenDocument,     ///< .ods
    Signed,           ///< a change would break the signature
    Protected,        ///< its list of sheets is
    TooLarge,         ///< a part that would have to be changed
    Unreadable,       ///< detail: what the disk said
    Damaged,          ///< detail: a part, and what is wrong with it
    EndMissing,       ///< damaged: no directory of the archive is to be found
    DirectoryDamaged, ///< damaged: that directory
    PartDamaged,      ///< damaged: the contents of a part; detail: its name
    PartTwice,        ///< damaged: two parts have that name; detail: the name
    FolderMissing,
    NoFile,         ///< a folder has that name
    ReadOnly,       ///< the workbook
    NewReadOnly,    ///< the file that a new workbook is to replace
    FolderReadOnly, ///< nothing can take the workbook's place
    FolderClosed,   ///< no new file can be made there
    NotReplaced,    ///< the file is as it was; detail: what the disk said
    NotMade,        ///< there is no new file; detail: what the disk said
    InUse,          ///< another program has it open: `HolderOf` says who
    Taken,          ///< of a new workbook: another file has its name by now
    KeepsChanging,  ///< somebody else writes to it again and again
    Cancelled,
    Failed, ///< for want of memory, or the like
};

/// Not a `Failure`, because this folder has no texts for the user: the caller makes a sentence of it.
struct BookFailure
{
    BookProblem problem = BookProblem::NoWorkbook;
    QString detail; ///< where the problem says so
};

template <typename T = void>
using BookResult = Result<T, BookFailure>;

/// `return Refuse(problem);` in a function that gives a `BookResult`.
inline tl::unexpected<BookFailure> Refuse(BookProblem problem, const QString &detail = {})
{
    return tl::unexpected<BookFailure>(BookFailure{problem, detail});
}

/// `return Damaged(what);`: a part, and what is wrong with it.
inline tl::unexpected<BookFailure> Damaged(const std::string &what)
{
    return Refuse(BookProblem::Damaged, QString::fromStdString(what));
}

/// `return Refuse(result.error());` hands on why another one failed.
inline tl::unexpected<BookFailure> Refuse(const BookFailure &failure)
{
    return tl::unexpected<BookFailure>(failure);
}

} // namespace px40
