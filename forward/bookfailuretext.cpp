#include "forward/bookfailuretext.h"

#include "resources/strings.h"
#include "xlsx/bookfailure.h"
#include "xlsx/bookholder.h"

#include <QDir>

#include <map>

namespace px40 {

namespace {

/// With a place for the detail where the problem has one.
Str SentenceOf(BookProblem problem)
{
    static const std::map<BookProblem, Str> sentences = {
        {BookProblem::Missing, Str::ForwardFileNotFound},
        {BookProblem::NoWorkbook, Str::BookNone},
        {BookProblem::OlderKind, Str::BookLegacy},
        {BookProblem::Encrypted, Str::BookEncrypted},
        {BookProblem::Binary, Str::BookBinary},
        {BookProblem::OpenDocument, Str::BookOpenDocument},
        {BookProblem::Signed, Str::BookSigned},
        {BookProblem::Protected, Str::BookProtected},
        {BookProblem::TooLarge, Str::BookTooLarge},
        {BookProblem::Unreadable, Str::BookNotRead},
        {BookProblem::Damaged, Str::BookDamaged},
        {BookProblem::EndMissing, Str::BookDamaged},
        {BookProblem::DirectoryDamaged, Str::BookDamaged},
        {BookProblem::PartDamaged, Str::BookDamaged},
        {BookProblem::PartTwice, Str::BookDamaged},
        {BookProblem::FolderMissing, Str::FolderNotThere},
        {BookProblem::NoFile, Str::FileNotRegular},
        {BookProblem::ReadOnly, Str::BookReadOnly},
        {BookProblem::NewReadOnly, Str::FileReadOnly},
        {BookProblem::FolderReadOnly, Str::BookFolderReadOnly},
        {BookProblem::FolderClosed, Str::BookFolderClosed},
        {BookProblem::NotReplaced, Str::BookNotWritten},
        {BookProblem::NotMade, Str::BookNotMade},
        {BookProblem::InUse, Str::BookInUse},
        {BookProblem::Taken, Str::BookTaken},
        {BookProblem::KeepsChanging, Str::BookKeepsChanging},
        {BookProblem::Cancelled, Str::Canceled},
        {BookProblem::Failed, Str::ExportFailed},
    };
    return sentences.at(problem);
}

QString DetailOf(const BookFailure &failure)
{
    switch (failure.problem) {
    case BookProblem::EndMissing:
        return Text(Str::BookEndMissing);
    case BookProblem::DirectoryDamaged:
        return Text(Str::BookDirectoryDamaged);
    case BookProblem::PartDamaged:
        return Text(Str::BookPartBroken).arg(failure.detail);
    case BookProblem::PartTwice:
        return Text(Str::BookPartTwice).arg(failure.detail);
    default:
        return failure.detail;
    }
}

} // namespace

QString BookFailureText(const BookFailure &failure)
{
    const QString sentence = Text(SentenceOf(failure.problem));
    return sentence.contains(u"%1") ? sentence.arg(DetailOf(failure)) : sentence;
}

QString BookHolderText(const BookHolder &holder)
{
    if (holder.host.isEmpty())
        return holder.name;
    const QString name = holder.name.isEmpty() ? Text(Str::BookOtherProgram) : holder.name;
    return Text(Str::BookHolderOn).arg(name, holder.host);
}

QString AboutFile(const QString &sentence, const QString &file)
{
    return sentence + QStringLiteral("\r\n") + QDir::toNativeSeparators(file);
}

} // namespace px40
