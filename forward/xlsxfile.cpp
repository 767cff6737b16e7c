#include "forward/xlsxfile.h"

#include "forward/book.h"
#include "forward/bookfault.h"
#include "forward/bookholder.h"
#include "forward/filekind.h"
#include "forward/sheetpart.h"
#include "forward/zipdevice.h"
#include "platform/replacefile.h"
#include "resources/strings.h"

#include <QFileInfo>

namespace px40 {

namespace {

void ThrowUnless(const QString &reason)
{
    if (!reason.isEmpty())
        throw BookFault{reason};
}

/// What that means for the file of that name.
QString NotWritten(const QString &reason, const QString &name)
{
    return Text(PrintOf(name).size >= 0 ? Str::BookNotWritten : Str::BookNotMade).arg(reason);
}

/// Why an archive could not be closed into the file of that name.
QString CloseFault(const ZipDevice &device, const SheetPart &sheet, const SheetContent &content,
                   zip_t *archive, const QString &name)
{
    if (sheet.HasFailed())
        return content.ErrorText();
    if (!device.WriteError().isEmpty())
        return NotWritten(device.WriteError(), name);
    if (!device.ReadError().isEmpty())
        return Text(Str::BookNotRead).arg(device.ReadError());
    return Text(Str::BookDamaged).arg(QString::fromUtf8(zip_strerror(archive)));
}

enum class Outcome { Done, Cancelled, InUse, Taken, Changed };

} // namespace

struct XlsxFile::Parts
{
    void SetName(const QString &newName);
    /// These throw `BookFault`.
    Outcome WriteOnce(WriteWatch *watch);
    Outcome WriteFile(const QString &real, const FilePrint &before, WriteWatch *watch);
    Outcome PutInPlace(Replacement &file, const QString &real, const FilePrint &before, WriteWatch *watch);
    bool IsTaken(const FilePrint &now) const { return isNew && now.size >= 0 && now != agreed; }

    SheetContent content;
    QString title;
    QString name;
    bool isNew = true;
    FilePrint agreed; ///< the file that a new workbook may replace
    QString error;
};

XlsxFile::XlsxFile(const QString &title) : parts_(std::make_unique<Parts>())
{
    parts_->title = title;
}

XlsxFile::~XlsxFile() = default;

QString XlsxFile::WhyNot(const QString &workbook)
{
    try {
        const QString real = RealName(workbook);
        ThrowUnless(WhyNoPackage(real));
        ThrowUnless(WhyNotReplaced(real));
        ZipDevice device(real);
        const Zip archive = device.Open();
        Package package(archive.get());
        Book book(package);
    } catch (const BookFault &fault) {
        return fault.sentence;
    }
    return {};
}

QString XlsxFile::HolderOf(const QString &workbook)
{
    return BookHolder(workbook);
}

void XlsxFile::Sweep(const QString &workbook)
{
    Replacement::Sweep(RealName(workbook));
}

SheetStep XlsxFile::Attach()
{
    return SheetStep::Done;
}

SheetStep XlsxFile::OpenOrAdd(const std::string &workbook)
{
    if (workbook.empty())
        return SheetStep::Done;
    parts_->SetName(QString::fromStdString(workbook));
    parts_->isNew = false;
    parts_->error = WhyNot(parts_->name);
    return parts_->error.isEmpty() ? SheetStep::Done : SheetStep::Failed;
}

SheetStep XlsxFile::SetVisible(bool)
{
    return SheetStep::Done;
}

SheetStep XlsxFile::SetInteractive(bool)
{
    return SheetStep::Done;
}

SheetStep XlsxFile::SetCell(int row, int column, CellFormat format, std::string_view text)
{
    if (parts_->content.SetCell(row, column, format, text))
        return SheetStep::Done;
    parts_->error = parts_->content.ErrorText();
    return SheetStep::Failed;
}

SheetStep XlsxFile::SetBorder(const CellRange &range, Edge edge, BorderWeight weight)
{
    parts_->content.SetBorder(range, edge, weight);
    return SheetStep::Done;
}

SheetStep XlsxFile::Centre(const CellRange &range)
{
    parts_->content.Centre(range);
    return SheetStep::Done;
}

SheetStep XlsxFile::Activate(int row, int column)
{
    parts_->content.Activate(row, column);
    return SheetStep::Done;
}

SheetStep XlsxFile::AddChart(const SheetChart &chart)
{
    parts_->content.SetChart(chart);
    return SheetStep::Done;
}

std::string XlsxFile::ErrorText() const
{
    return parts_->error.toStdString();
}

void XlsxFile::SetNewName(const QString &name)
{
    parts_->SetName(name);
    parts_->isNew = true;
    parts_->agreed = PrintOf(RealName(name));
}

QString XlsxFile::Name() const
{
    return parts_->name;
}

WriteResult XlsxFile::Write(WriteWatch *watch)
{
    constexpr int tries = 5;
    parts_->error.clear();
    Sweep(parts_->name);
    try {
        for (int i = 0; i < tries; ++i) {
            switch (parts_->WriteOnce(watch)) {
            case Outcome::Done:
                return WriteResult::Done;
            case Outcome::Cancelled:
                return WriteResult::Cancelled;
            case Outcome::InUse:
                parts_->error = Text(Str::BookInUse).arg(HolderOf(parts_->name));
                return WriteResult::InUse;
            case Outcome::Taken:
                parts_->error = Text(Str::BookTaken);
                return WriteResult::Taken;
            case Outcome::Changed:
                break;
            }
        }
        parts_->error = Text(Str::BookKeepsChanging);
    } catch (const BookFault &fault) {
        parts_->error = fault.sentence;
    }
    return WriteResult::Failed;
}

void XlsxFile::Parts::SetName(const QString &newName)
{
    name = newName;
    content.SetOtherFolder(QFileInfo(RealName(name)).path());
}

Outcome XlsxFile::Parts::WriteOnce(WriteWatch *watch)
{
    const QString real = RealName(name);
    const FilePrint before = PrintOf(real);
    if (!isNew)
        ThrowUnless(WhyNoPackage(real));
    ThrowUnless(isNew ? WhyNotMade(real) : WhyNotReplaced(real));
    if (!BookHolder(name).isEmpty())
        return Outcome::InUse;
    if (IsTaken(before))
        return Outcome::Taken;

    try {
        return WriteFile(real, before, watch);
    } catch (const BookFault &) {
        if (watch->cancelled)
            return Outcome::Cancelled;
        if (!isNew && PrintOf(real) != before)
            return Outcome::Changed;
        throw;
    }
}

Outcome XlsxFile::Parts::WriteFile(const QString &real, const FilePrint &before, WriteWatch *watch)
{
    Replacement file(real);
    WriteProgress progress(watch);
    ZipDevice device(isNew ? QString() : real);
    device.WriteTo(&file, &progress);
    std::unique_ptr<SheetPart> sheet; // the archive goes before it
    Zip archive = device.Open();
    Package package(archive.get());
    if (isNew)
        Book::PutNew(package);
    sheet = Book(package).AddSheet(content, title);
    if (sheet->HasFailed())
        throw BookFault{content.ErrorText()};

    sheet->Watch(&progress);
    progress.Begin(2 * device.Size() + sheet->Work()); // it is read twice
    package.CheckContents(device.Size());
    const Result<> opened = file.Open();
    if (!opened)
        throw BookFault{NotWritten(opened.error().text, real)};
    if (zip_close(archive.get()) != 0)
        throw BookFault{CloseFault(device, *sheet, content, archive.get(), real)};
    static_cast<void>(archive.release());
    device.Close(); // an open file cannot be replaced everywhere
    return PutInPlace(file, real, before, watch);
}

Outcome XlsxFile::Parts::PutInPlace(Replacement &file, const QString &real, const FilePrint &before,
                                    WriteWatch *watch)
{
    if (watch->cancelled)
        return Outcome::Cancelled;
    if (!BookHolder(name).isEmpty())
        return Outcome::InUse;
    const FilePrint now = PrintOf(real);
    if (IsTaken(now))
        return Outcome::Taken;
    if (!isNew && now != before)
        return Outcome::Changed;
    const bool mayReplace = now.size >= 0;
    const Result<> renamed = file.TakePlace(mayReplace);
    if (!renamed && !mayReplace && PrintOf(real).size >= 0)
        return Outcome::Taken;
    if (!renamed)
        throw BookFault{NotWritten(renamed.error().text, real)};
    constexpr int whole = 1000;
    watch->permille = whole;
    return Outcome::Done;
}

} // namespace px40
