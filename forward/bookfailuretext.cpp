#include "forward/bookfailuretext.h"

#include "resources/strings.h"
#include "xlsx/bookfailure.h"
#include "xlsx/bookholder.h"

#include <QDir>

#include <map>

namespace px40 {

namespace {

/// What is said of a problem; "%1" stands for its detail, if it has one.
struct Sentence
{
    Str text;
    Str detail = {}; ///< a sentence in place of "%1", which itself names the detail; none: the detail alone
};

Sentence SentenceOf(BookProblem problem)
{
    static const std::map<BookProblem, Sentence> sentences = {
        {BookProblem::Missing, {Str::ForwardFileNotFound}},
        {BookProblem::NoWorkbook, {Str::BookNone}},
        {BookProblem::OlderKind, {Str::BookLegacy}},
        {BookProblem::Encrypted, {Str::BookEncrypted}},
        {BookProblem::Binary, {Str::BookBinary}},
        {BookProblem::OpenDocument, {Str::BookOpenDocument}},
        {BookProblem::Signed, {Str::BookSigned}},
        {BookProblem::Protected, {Str::BookProtected}},
        {BookProblem::TooLarge, {Str::BookTooLarge}},
        {BookProblem::Unreadable, {Str::BookNotRead}},
        {BookProblem::Damaged, {Str::BookDamaged}},
        {BookProblem::EndMissing, {Str::BookDamaged, Str::BookEndMissing}},
        {BookProblem::DirectoryDamaged, {Str::BookDamaged, Str::BookDirectoryDamaged}},
        {BookProblem::PartDamaged, {Str::BookDamaged, Str::BookPartBroken}},
        {BookProblem::PartTwice, {Str::BookDamaged, Str::BookPartTwice}},
        {BookProblem::FolderMissing, {Str::FolderNotThere}},
        {BookProblem::NoFile, {Str::FileNotRegular}},
        {BookProblem::ReadOnly, {Str::BookReadOnly}},
        {BookProblem::NewReadOnly, {Str::FileReadOnly}},
        {BookProblem::FolderReadOnly, {Str::BookFolderReadOnly}},
        {BookProblem::FolderClosed, {Str::BookFolderClosed}},
        {BookProblem::NotReplaced, {Str::BookNotWritten}},
        {BookProblem::NotMade, {Str::BookNotMade}},
        {BookProblem::InUse, {Str::BookInUse}},
        {BookProblem::Taken, {Str::BookTaken}},
        {BookProblem::KeepsChanging, {Str::BookKeepsChanging}},
        {BookProblem::Cancelled, {Str::Canceled}},
        {BookProblem::Failed, {Str::ExportFailed}},
    };
    return sentences.at(problem);
}

/// `text` with the detail in place of "%1", if it has one.
QString With(const QString &detail, const QString &text)
{
    return text.contains(u"%1") ? text.arg(detail) : text;
}

} // namespace

QString BookFailureText(const BookFailure &failure)
{
    const Sentence sentence = SentenceOf(failure.problem);
    const QString around = Text(sentence.detail);
    return With(around.isEmpty() ? failure.detail : With(failure.detail, around), Text(sentence.text));
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
