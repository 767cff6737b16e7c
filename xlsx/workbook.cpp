#include "xlsx/workbook.h"

#include "xlsx/archive.h"
#include "xlsx/book.h"
#include "xlsx/bookfile.h"
#include "xlsx/sheetxml.h"

#include <utility>

namespace px40 {

namespace {

/// The source from which libzip reads the sheet; its text is made as it is read.
class SheetPart : public ZipSource
{
  public:
    /// Both must outlive it.
    SheetPart(SheetXml &xml, WriteWatch &watch) : xml_(&xml), watch_(&watch) {}

    /// How much work the sheet is, in the time of copying a byte.
    qint64 Work() const { return xml_->Size() * Weight; }

  protected:
    zip_int64_t Do(zip_source_cmd_t command, void *data, zip_uint64_t length) override
    {
        switch (command) {
        case ZIP_SOURCE_SUPPORTS:
            return ZIP_SOURCE_SUPPORTS_READABLE;
        case ZIP_SOURCE_STAT:
            // Without the size libzip writes a header for more than 4 GB, which strict readers refuse.
            return TellSize(data, xml_->Size());
        case ZIP_SOURCE_OPEN:
            xml_->Rewind();
            return 0;
        case ZIP_SOURCE_READ:
            return Read(static_cast<char *>(data), static_cast<qint64>(length));
        case ZIP_SOURCE_CLOSE:
        case ZIP_SOURCE_FREE:
            return 0;
        default:
            return Fail(ZIP_ER_OPNOTSUPP);
        }
    }

  private:
    /// Making and compressing a byte of the sheet takes as long as copying this many.
    static constexpr qint64 Weight = 6;

    zip_int64_t Read(char *to, qint64 size)
    {
        const qint64 made = xml_->Read(to, size);
        return watch_->Advance(made * Weight) ? made : Fail(ZIP_ER_CANCELLED);
    }

    SheetXml *xml_;
    WriteWatch *watch_;
};

bool Exists(const FileFingerprint &fingerprint)
{
    return fingerprint.size >= 0;
}

/// The failure to write: tells whether an old file is unchanged or there is still none.
tl::unexpected<BookFailure> NotWritten(const QString &reason, const QString &name)
{
    return Refuse(Exists(FingerprintOf(name)) ? BookProblem::NotReplaced : BookProblem::NotMade, reason);
}

/// One attempt to write a sheet into a file.
class Attempt
{
  public:
    Attempt(const WorkbookFile &file, const Sheet &sheet, WriteWatch *watch)
        : file_(&file), sheet_(&sheet), watch_(watch), name_(RealName(file.name)),
          before_(FingerprintOf(name_))
    {
    }

    BookResult<> Make()
    {
        BookResult<> done = Check();
        if (!done)
            return done;
        Replacement to(name_);
        done = WriteArchive(to);
        if (done)
            done = TakePlace(to);
        if (!done && watch_->cancelled)
            return Refuse(BookProblem::Cancelled);
        return done;
    }

    /// Somebody else has written to the workbook since the attempt began.
    bool IsOvertaken() const { return !file_->isNew && FingerprintOf(name_) != before_; }

  private:
    BookResult<> Check() const;
    BookResult<> CheckOthers(const FileFingerprint &now) const;
    BookResult<> WriteArchive(Replacement &to);
    BookResult<> TakePlace(Replacement &from);

    const WorkbookFile *file_;
    const Sheet *sheet_;
    WriteWatch *watch_;
    QString name_;
    FileFingerprint before_;
};

BookResult<> Attempt::Check() const
{
    const BookResult<> package = file_->isNew ? BookResult<>() : CheckPackage(name_);
    if (!package)
        return package;
    const BookResult<> place = file_->isNew ? CheckMakeable(name_) : CheckReplaceable(name_);
    if (!place)
        return place;
    return CheckOthers(before_);
}

/// Refuses a file that another program has open or has just created.
BookResult<> Attempt::CheckOthers(const FileFingerprint &now) const
{
    if (HolderOf(file_->name))
        return Refuse(BookProblem::InUse);
    if (file_->isNew && Exists(now) && now != file_->replaced)
        return Refuse(BookProblem::Taken);
    return {};
}

BookResult<> Attempt::WriteArchive(Replacement &to)
{
    SheetXml xml(*sheet_);
    SheetPart part(xml, *watch_);
    ArchiveFile from(file_->isNew ? QString() : name_);
    from.WriteTo(&to, watch_);
    BookResult<Zip> archive = from.Open();
    if (!archive)
        return Refuse(archive.error());
    Package package(archive->get());
    if (file_->isNew)
        Book::PutNew(package);
    BookResult<Book> book = Book::Open(package);
    if (!book)
        return Refuse(book.error());
    const BookResult<std::string> partName = book->AddSheet(*sheet_, xml);
    if (!partName)
        return Refuse(partName.error());
    const BookResult<> stored = package.Store(*partName, part);
    if (!stored)
        return stored;

    watch_->Begin(2 * from.Size() + part.Work()); // read twice: to be checked and to be copied
    const BookResult<> whole = package.CheckContents(from.Size());
    if (!whole)
        return whole;
    const Result<> opened = to.Open();
    if (!opened)
        return NotWritten(opened.error().text, name_);
    if (zip_close(archive->get()) != 0) {
        if (!from.WriteError().isEmpty())
            return NotWritten(from.WriteError(), name_);
        if (!from.ReadError().isEmpty())
            return Refuse(BookProblem::Unreadable, from.ReadError());
        return Refuse(BookProblem::Damaged, QString::fromUtf8(zip_strerror(archive->get())));
    }
    static_cast<void>(archive->release());
    return {};
}

BookResult<> Attempt::TakePlace(Replacement &from)
{
    if (watch_->cancelled)
        return Refuse(BookProblem::Cancelled);
    const FileFingerprint now = FingerprintOf(name_);
    const BookResult<> others = CheckOthers(now);
    if (!others)
        return others;
    if (IsOvertaken())
        return Refuse(BookProblem::KeepsChanging);
    const Result<> placed = from.TakePlace(Exists(now));
    if (!placed && !Exists(now) && Exists(FingerprintOf(name_)))
        return Refuse(BookProblem::Taken);
    if (!placed)
        return NotWritten(placed.error().text, name_);
    constexpr int whole = 1000;
    watch_->permille = whole;
    return {};
}

} // namespace

WorkbookFile WorkbookFile::New(const QString &name)
{
    return {name, true, FingerprintOf(RealName(name))};
}

BookResult<> CheckWorkbook(const QString &name)
{
    const QString real = RealName(name);
    BookResult<> fit = CheckPackage(real);
    if (fit)
        fit = CheckReplaceable(real);
    if (!fit)
        return fit;
    ArchiveFile file(real);
    const BookResult<Zip> archive = file.Open();
    if (!archive)
        return Refuse(archive.error());
    Package package(archive->get());
    const BookResult<Book> book = Book::Open(package);
    if (!book)
        return Refuse(book.error());
    return {};
}

BookResult<> CheckNewWorkbook(const QString &name)
{
    return CheckMakeable(RealName(name));
}

BookResult<> AddSheet(const WorkbookFile &file, const Sheet &sheet, WriteWatch *watch)
{
    constexpr int tries = 5;
    SweepWorkbook(file.name);
    for (int i = 0; i < tries; ++i) {
        Attempt attempt(file, sheet, watch);
        BookResult<> made = attempt.Make();
        if (made || !attempt.IsOvertaken() || made.error().problem == BookProblem::InUse ||
            made.error().problem == BookProblem::Cancelled)
            return made;
    }
    return Refuse(BookProblem::KeepsChanging);
}

void SweepWorkbook(const QString &name)
{
    Replacement::Sweep(RealName(name));
}

} // namespace px40
