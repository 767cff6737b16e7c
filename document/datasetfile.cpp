// A data set and its file. Reading and writing both go through the work file, so that half a file never
// appears under the user's name, and the user's file is never held open. If the work file cannot be written,
// one in the folder for temporary files stands in for it; if that cannot be written either, the data go
// straight from or to the user's file, which is only ever replaced as a whole.

#include "document/dataset.h"

#include "platform/filenames.h"
#include "platform/files.h"
#include "platform/replacefile.h"
#include "resources/strings.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryFile>

#include <exception>
#include <memory>
#include <utility>

namespace px40 {

namespace {

struct RemoveFile
{
    void operator()(QFile *file) const
    {
        file->close();
        if (file->exists()) {
            SetHidden(file->fileName(), false);
            file->remove(); // if that fails, the next one overwrites it
        }
        delete file;
    }
};

/// The work file, which is removed when this goes.
using WorkFile = std::unique_ptr<QFile, RemoveFile>;

/// `path`: empty for one in the folder for temporary files.
Result<WorkFile> FilledFile(const QString &path, const WriteTo &write)
{
    if (path.isEmpty() && QDir::tempPath().isEmpty())
        return Fail(Text(Str::FolderNotThere));
    WorkFile file(path.isEmpty() ? new QTemporaryFile(QDir::tempPath() + QStringLiteral("/px40-XXXXXX.tmp"))
                                 : new QFile(path));
    if (!path.isEmpty())
        SetHidden(path, false);
    if (!file->open(QIODevice::ReadWrite | QIODevice::Truncate | QIODevice::Unbuffered))
        return Fail(file->errorString());
    if (!path.isEmpty())
        SetHidden(path, true);
    const Result<> written = write(*file);
    if (!written)
        return Fail(written.error());
    file->seek(0);
    return file;
}

void NoteWork(DocumentShared *shared, Str note, const QString &reason)
{
    if (std::exchange(shared->WorkNoted, true))
        return;
    shared->WorkNote = Text(note).arg(shared->WorkPath, reason);
}

/// The work file or its stand-in, filled by `write`; null if neither can be written.
Result<WorkFile> FilledWork(DocumentShared *shared, const WriteTo &write)
{
    if (shared->WorkPath.isEmpty())
        return nullptr;
    QString reason;
    for (const QString &path : {shared->WorkPath, QString()}) {
        Result<WorkFile> filled = FilledFile(path, write);
        if (filled) {
            if (!reason.isEmpty())
                NoteWork(shared, Str::WorkFileElsewhere, reason);
            return filled;
        }
        if (filled.error().code == FailureCode::Unreadable) // no other work file helps
            return Fail(filled.error());
        if (reason.isEmpty())
            reason = filled.error().text;
    }
    NoteWork(shared, Str::WorkFileNowhere, reason);
    return nullptr;
}

Result<DataFile> ReadThroughWork(const QString &name, DocumentShared *shared)
{
    // A folder or a device opens as well, and a device may never answer or never end.
    const QFileInfo info(name);
    if (info.exists() && !info.isFile())
        return Fail(Text(Str::FileNotRegular));
    QFile from(name);
    if (!from.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return Fail(from.errorString());
    const auto copy = [&from](QIODevice &to) {
        from.seek(0);
        return CopyBytes(from, to);
    };
    const auto work = FilledWork(shared, copy);
    if (!work)
        return Fail(work.error());
    from.seek(0);
    return ReadDataFile(*work ? **work : from);
}

Result<> WriteThroughWork(const WriteTo &write, const QString &name, DocumentShared *shared)
{
    const auto work = FilledWork(shared, write);
    if (!work)
        return Fail(work.error());
    if (!*work)
        return ReplaceContents(name, write);
    return ReplaceContents(name, [&work](QIODevice &to) { return CopyBytes(**work, to); });
}

} // namespace

QString NothingSaved(const QString &name)
{
    return Text(QFileInfo(name).isFile() ? Str::NothingSavedOld : Str::NothingSaved);
}

Result<> DataSet::OpenFile(const QString &name)
{
    // The work file is removed after use, and with it the user's data would be lost.
    if (SameFile(name, shared_->WorkPath))
        return Fail(Text(Str::FileIsWorkFile));
    try {
        Result<DataFile> contents = ReadThroughWork(name, shared_);
        if (!contents)
            return Fail(contents.error());
        Adopt(std::move(*contents));
    } catch (const std::exception &problem) { // out of memory
        return Fail(QString::fromLocal8Bit(problem.what()));
    }
    DispCalculation();
    PaintGraphtop();
    Keep(name);
    return {};
}

void DataSet::Adopt(DataFile &&file)
{
    const DataFileHeader &header = file.header;
    SetKind(header.kind);
    shape_ = header.shape;
    if (header.kind == KindRealtime) {
        SetInterval(header.interval);
        SetPeriod(header.periodNone, header.period);
    } else if (header.kind == KindMemory) {
        interval_ = header.interval; // saved again as it was read
        if (!header.interval.Sec.isEmpty())
            DispInterval(header.interval.Sec);
    }
    graph_.SetSettings(header.graph); // including what automatic axes ignore
    SetPanel(Panel::X, Text(header.graph.xAuto ? Str::Automatic : Str::Custom));
    table_.Adopt(std::move(file.rows), file.tableRows);
    readings_ = std::move(file.readings);
}

DataFileHeader DataSet::Header() const
{
    return {kind_, shape_, interval_, periodNone_, period_, graph_.Settings()};
}

Result<> DataSet::Write(QIODevice &to) const
{
    return WriteDataFile(Header(), table_.Rows(), table_.TableRows(), to);
}

Result<> DataSet::SaveFile(const QString &name)
{
    if (SameFile(name, shared_->WorkPath))
        return Fail(Text(Str::FileIsWorkFile));
    try {
        const auto write = [this](QIODevice &to) { return Write(to); };
        Result<> written = WriteThroughWork(write, name, shared_);
        if (!written)
            return written;
    } catch (const std::exception &problem) {
        return Fail(QString::fromLocal8Bit(problem.what()));
    }
    Keep(name);
    return {};
}

void DataSet::Keep(const QString &name)
{
    savedRows_ = table_.Samples();
    recovered_ = false;
    BelongTo(name);
    SetSaved(true);
}

void DataSet::BelongTo(const QString &name)
{
    fileName_ = name;
    caption_ = name;
    Q_EMIT captionChanged(caption_);
}

} // namespace px40
